# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Draws pictures through matrices."""

from __future__ import annotations

import dataclasses

import numpy
import numpy.typing

from . import _vx
from ._channels import pair
from ._types import (Field, LinearTables, MaskUse, Order, OutT, Picture, PictureT, Place, Profile,
                     Progress, Quality, Rect)


def transform(dst: PictureT, src: Picture, matrices: numpy.typing.ArrayLike, *,
              mode: str | int = "in-front", opacity: float = 1.0, quality: Quality = "high",
              inverse: bool = False, rect: Rect | None = None, mask: Picture | None = None,
              mask_use: MaskUse = "alpha", mask_at: Place = (0, 0),
              linear: Profile | None = None, tables: LinearTables | None = None,
              keep_alpha: bool = False, seed: int = 0, field: Field = "both",
              progress: Progress | None = None, out: OutT | None = None,
              order: Order = "rgba") -> PictureT | OutT:
    """Returns `dst` with `src` drawn over it through a matrix, or with motion blur along matrices.

    n matrices give the average of n - 1 sub-samples of equal weight, one at each matrix but the
    last, so that consecutive frames do not overlap. 1 or 2 matrices give one sub-sample: no blur.

    dst, src: pictures of one depth.
    matrices: 3 x 3, or n x 3 x 3 in the order of time (n from 1 to 257), for row vectors: (x, y, 1)
    in src times the matrix is the position in dst; the last row is the translation. Pixel centres
    are whole numbers. Parts and matrices_between() make matrices. A matrix without an inverse draws
    nothing.
    quality: "high" filters, except that quarter turns, mirrors and whole translations copy pixels;
    "draft" takes the nearest pixel.
    inverse: the matrices map dst to src.
    rect: the part of dst that may be changed.
    mode, opacity, mask, mask_use, mask_at, linear, tables, keep_alpha, seed, field: as in
    transfer(). Samples are taken from stored values.

    Raises TypeError, ValueError, vx.Error.
    """
    layer = (mode, opacity, mask, mask_use, mask_at, linear, tables, keep_alpha, seed, field)
    return _vx.transform(dst, src, matrices, layer, quality, inverse, rect, progress, out, order)


@dataclasses.dataclass(frozen=True)
class Parts:
    """A transform as scale, skew, rotation and translation, applied in this order.

    anchor: (x, y) in the source that scale, skew and rotation do not move, in pixels.
    scale: factors (x, y), negative for a mirror image.
    skew: tangents (x, y).
    rotate: degrees, clockwise.
    translate: (x, y) in pixels, right and down.
    """

    anchor: tuple[float, float] = (0.0, 0.0)
    scale: tuple[float, float] = (1.0, 1.0)
    skew: tuple[float, float] = (0.0, 0.0)
    rotate: float = 0.0
    translate: tuple[float, float] = (0.0, 0.0)

    def matrix(self) -> numpy.ndarray:
        """Returns the matrix from source to destination, 3 x 3."""
        return _vx.matrix_of_parts(self._numbers())

    def _numbers(self) -> tuple[float, ...]:
        return (*pair("anchor", self.anchor), *pair("scale", self.scale), *pair("skew", self.skew),
                self.rotate, *pair("translate", self.translate))


def matrices_between(start: Parts, end: Parts, count: int) -> numpy.ndarray:
    """Returns count x 3 x 3 numbers. Each part changes in equal steps: a rotation describes an arc.

    start, end: the first and the last transform.
    count: 1 to 257. N sub-samples of transform() need N + 1 matrices.

    Raises TypeError, ValueError.
    """
    for name, parts in (("start", start), ("end", end)):
        if not isinstance(parts, Parts):
            raise TypeError(f"{name}: needs vx.Parts, not {parts!r}")
    return _vx.matrices_between(start._numbers(), end._numbers(), count)
