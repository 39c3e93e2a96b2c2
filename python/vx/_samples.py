# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Samplers."""

from __future__ import annotations

import numpy
import numpy.typing

from . import _vx
from ._channels import in_order, pair
from ._types import Order, Picture


def samplers() -> list[str]:
    """The names for sample(): those that begin with "inside" need all four neighbours."""
    return _vx.samplers()


def sample(picture: Picture, x: numpy.typing.ArrayLike, y: numpy.typing.ArrayLike,
           sampler: str = "bilinear", *, radius: float | tuple[float, float] = 0.5,
           order: Order = "rgba") -> numpy.ndarray:
    """The picture at positions in pixels: an array of the shape of x and y, with four channels.

    Pixel centres lie on whole numbers; outside is transparent black. Positions are rounded to
    1/65536.

    sampler: a name of samplers().
    radius: half the side of the footprint of the box samplers, pixels up to 127, or (x, y).

    Raises TypeError, ValueError for positions that are no numbers or beyond -32768..32767.
    """
    across, down = _positions(x, y)
    wide, high = pair("radius", radius)
    pixels = _vx.sample(picture, across.flatten(), down.flatten(), sampler, wide, high, order)
    return in_order(pixels, order).reshape(across.shape + (4,))


def sample_all_in(picture: Picture, x: numpy.typing.ArrayLike, y: numpy.typing.ArrayLike, *,
                  order: Order = "rgba") -> tuple[numpy.ndarray, numpy.ndarray]:
    """sample() by the bilinear sampler that also tells whether all four neighbours lie inside.

    Gives pixels, and booleans of the shape of x and y. On whole positions the sampler of integer
    depths answers False, as it needs no neighbours there. Raises TypeError, ValueError.
    """
    across, down = _positions(x, y)
    pixels, inside = _vx.sample_all_in(picture, across.flatten(), down.flatten(), order)
    return (in_order(pixels, order).reshape(across.shape + (4,)),
            inside.astype(bool).reshape(across.shape))


def _positions(x: numpy.typing.ArrayLike,
               y: numpy.typing.ArrayLike) -> tuple[numpy.ndarray, numpy.ndarray]:
    across, down = numpy.broadcast_arrays(numpy.asarray(x, numpy.float64),
                                          numpy.asarray(y, numpy.float64))
    return across, down
