# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Kernels, convolution and blurs."""

from __future__ import annotations

from typing import Literal

import numpy
import numpy.typing

from . import _vx
from ._channels import pair
from ._types import Order, Picture, Progress

Edge = Literal["fade", "hold-level"]
BlurKind = Literal["gaussian", "box"]
Axis = Literal["x", "y"]
Kernel = numpy.typing.ArrayLike


def gaussian_value(d: float) -> float:
    """The profile of the kernels: `d` is the distance from the centre, 1 is the edge.

    Raises TypeError.
    """
    return _vx.gaussian_value(d)


def gaussian_kernel(radius: float, *, one_dimensional: bool = False, normalize: bool = False,
                    multiplier: float = 1.0) -> numpy.ndarray:
    """Weights of int32, 2 ceil(radius) + 1 a side: a square, or one_dimensional.

    radius: pixels, 0..4096.
    multiplier: of the weights, which are then held to 0..255.
    normalize: scaled after that so that they sum to about 255 a tap.

    Raises TypeError, ValueError, Error.
    """
    return _vx.gaussian_kernel(radius, one_dimensional, normalize, multiplier)


def convolve(picture: Picture, kernel: Kernel | tuple[Kernel, Kernel, Kernel, Kernel], *,
             normalize: bool = False, clamp: bool = True, axis: Axis = "x",
             progress: Progress | None = None, out: Picture | None = None,
             order: Order = "rgba") -> Picture:
    """Every channel by a kernel of whole numbers, plainly: colours are not weighted by alpha.

    kernel: odd x odd, or of one dimension along `axis`; or a tuple of four in `order`. Its first
    number weighs the pixel above and to the left. 256 is 1.
    normalize: divide by the sum of the kernel in place of 256 times its taps.
    clamp: hold results to the scale of the depth; else integers keep their low bits.

    What hangs over the edge is left out: edges fade. Raises TypeError, ValueError, Error.
    """
    return _vx.convolve(picture, kernel, normalize, clamp, axis, progress, out, order)


def blur(picture: Picture, radius: float | tuple[float, float], *, kind: BlurKind = "gaussian",
         iterations: int = 1, channels: str = "argb", edge: Edge = "hold-level",
         grow: bool = False, progress: Progress | None = None, out: Picture | None = None,
         order: Order = "rgba") -> Picture:
    """Blurs along both axes; colours count by their alpha, so hidden ones never show.

    radius: pixels, 0..32767, for both axes or (x, y); 0 leaves an axis.
    kind: "gaussian", whose cost grows with the radius, or "box", whose cost does not.
    iterations: of the box.
    channels: letters of argb; the others stay.
    edge: "hold-level" divides by the weights that were used, "fade" lets borders go transparent.
    grow: the result is larger on each side by what the blur spreads; gives what lies there too.

    Raises TypeError, ValueError, Error.
    """
    x, y = pair("radius", radius)
    return _vx.blur(picture, x, y, kind, iterations, channels, edge, grow, progress, out, order)


def blur_pass(picture: Picture, radius: float, *, kind: BlurKind = "gaussian", iterations: int = 1,
              channels: str = "argb", edge: Edge = "fade", axis: Axis = "x",
              transpose: bool = False, src_premultiplied: bool = False,
              dst_premultiplied: bool = False, progress: Progress | None = None,
              out: Picture | None = None, order: Order = "rgba") -> Picture:
    """One pass of a blur along one axis; with `transpose` rows become columns of the result.

    src_premultiplied, dst_premultiplied: colours are, or come out, multiplied by alpha; for passes
    in a row, which then divide once.

    The rest as in blur(). Raises TypeError, ValueError, Error.
    """
    return _vx.blur_pass(picture, radius, kind, iterations, channels, edge, axis, transpose,
                         src_premultiplied, dst_premultiplied, progress, out, order)
