# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Types of arguments, for annotations."""

from __future__ import annotations

from collections.abc import Callable, Sequence
from typing import Literal, TypeVar, Union

import numpy

from ._vx import LinearTables, Profile, World

__all__ = ["Color", "Field", "LinearTables", "MaskUse", "Order", "OutT", "Picture", "PictureT",
           "Place", "Profile", "Progress", "Quality", "Rect"]

# A picture: height x width x 4, x 3 or height x width of uint8, uint16 or float32; or a World.
Picture = Union[numpy.ndarray, World]
# The result of a function is an array or a World like its first picture (PictureT), or it is `out`
# (OutT). Without `out` a type checker finds no type for OutT and reduces PictureT | OutT to PictureT.
PictureT = TypeVar("PictureT", numpy.ndarray, World, Picture)
OutT = TypeVar("OutT", bound=Picture)
Order = Literal["rgba", "argb"]
Place = tuple[int, int]
Rect = tuple[int, int, int, int]
Color = Sequence[float]
Field = Literal["both", "even", "odd"]
Quality = Literal["draft", "high"]
MaskUse = Literal["alpha", "inverse-alpha", "luma", "inverse-luma"]
Progress = Callable[[int, int], object]
