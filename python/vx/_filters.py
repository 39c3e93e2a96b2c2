# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Kernels, convolution and blurs."""

from __future__ import annotations

from typing import Literal

import numpy
import numpy.typing

from . import _vx
from ._channels import pair
from ._types import Order, OutT, PictureT, Progress

Edge = Literal["fade", "hold-level"]
BlurKind = Literal["gaussian", "box"]
Axis = Literal["x", "y"]
Kernel = numpy.typing.ArrayLike


def gaussian_value(d: float) -> float:
    """Returns the profile of the Gaussian kernels.

    d: distance from the centre; 1 is the edge of the kernel. The profile is 0 above 1.

    Raises TypeError.
    """
    return _vx.gaussian_value(d)


def gaussian_kernel(radius: float, *, one_dimensional: bool = False, normalize: bool = False,
                    multiplier: float = 1.0) -> numpy.ndarray:
    """Returns the weights of a Gaussian kernel as int32: a square of 2 ceil(radius) + 1 a side.

    radius: pixels, 0..4096.
    one_dimensional: return one dimension instead of a square.
    normalize: scale the clamped weights so that their sum is about 255 times their number.
    multiplier: factor of the weights, -1e6..1e6. The products are clamped to 0..255.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.gaussian_kernel(radius, one_dimensional, normalize, multiplier)


def convolve(picture: PictureT, kernel: Kernel | tuple[Kernel, Kernel, Kernel, Kernel], *,
             normalize: bool = False, clamp: bool = True, axis: Axis = "x",
             progress: Progress | None = None, out: OutT | None = None,
             order: Order = "rgba") -> PictureT | OutT:
    """Applies a kernel of integers to each channel. Colours are not weighted by alpha.

    picture: any depth.
    kernel: 32-bit integers, odd x odd, or one dimension of odd length along `axis`, at most 1023 a
    side; or a tuple of four kernels in `order`. The first weight multiplies the pixel above and to
    the left. A kernel with the single weight 256 changes nothing.
    normalize: divide by the sum of the weights instead of 256 times their number.
    clamp: clamp results to the scale of the depth. False: integers keep their low bits.
    axis: direction of a kernel of one dimension, "x" or "y".

    Pixels outside the picture count as 0 and the divisor is not changed, so edges fade. Raises
    TypeError, ValueError, vx.Error.
    """
    return _vx.convolve(picture, kernel, normalize, clamp, axis, progress, out, order)


def blur(picture: PictureT, radius: float | tuple[float, float], *, kind: BlurKind = "gaussian",
         iterations: int = 1, channels: str = "argb", edge: Edge = "hold-level",
         grow: bool = False, progress: Progress | None = None, out: OutT | None = None,
         order: Order = "rgba") -> PictureT | OutT:
    """Blurs along both axes. Colours are weighted by alpha, so hidden colours do not bleed.

    picture: any depth.
    radius: pixels, 0..32767, for both axes or (x, y). 0 does not blur the axis.
    kind: "gaussian" (time grows with the radius) or "box" (time does not depend on the radius).
    iterations: number of box passes per axis, 1 or more.
    channels: letters of "argb"; the other channels are unchanged.
    edge: "hold-level" divides by the weights that are inside the picture; "fade" makes borders
    transparent.
    grow: enlarge the result on each side by the reach of the blur.

    Raises TypeError, ValueError, vx.Error.
    """
    x, y = pair("radius", radius)
    return _vx.blur(picture, x, y, kind, iterations, channels, edge, grow, progress, out, order)


def blur_pass(picture: PictureT, radius: float, *, kind: BlurKind = "gaussian", iterations: int = 1,
              channels: str = "argb", edge: Edge = "fade", axis: Axis = "x",
              transpose: bool = False, src_premultiplied: bool = False,
              dst_premultiplied: bool = False, progress: Progress | None = None,
              out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Blurs along one axis. For single steps of a blur of two axes.

    radius: pixels, 0..32767.
    axis: "x" or "y".
    transpose: rows become columns of the result.
    src_premultiplied, dst_premultiplied: whether the colours of the picture are premultiplied by
    alpha, and whether those of the result shall be. Passes that exchange premultiplied pictures
    divide by alpha only once, at the end.
    picture, kind, iterations, channels, edge: as in blur(); the default of `edge` is "fade".

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.blur_pass(picture, radius, kind, iterations, channels, edge, axis, transpose,
                         src_premultiplied, dst_premultiplied, progress, out, order)
