# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Channels out of pictures and back."""

from __future__ import annotations

from typing import Literal

import numpy

from . import _vx
from ._types import Order, Picture

Channel = Literal["alpha", "red", "green", "blue"]


def _array(name: str, value: numpy.ndarray) -> numpy.ndarray:
    if not isinstance(value, numpy.ndarray):
        raise TypeError(f"{name}: needs a NumPy array, not {type(value).__name__}")
    return numpy.ascontiguousarray(value)


def deinterleave(picture: Picture, channel: Channel, *, order: Order = "rgba") -> numpy.ndarray:
    """One channel as an array of height x width, of the dtype of the picture.

    Raises TypeError, ValueError, Error.
    """
    return _vx.deinterleave(picture, channel, order)


def interleave(picture: Picture, plane: numpy.ndarray, channel: Channel, *,
               out: Picture | None = None, order: Order = "rgba") -> Picture:
    """The picture with one channel from a plane of its height, width and dtype.

    Raises TypeError, ValueError, Error.
    """
    return _vx.interleave(picture, _array("plane", plane), channel, out, order)


def extract_planes(picture: Picture, channels: str = "argb", *,
                   order: Order = "rgba") -> numpy.ndarray:
    """Some channels of an 8-bit picture: height x width x their number.

    channels: letters of argb; alpha, red, green, blue come in this order, whatever theirs is.

    Raises TypeError, ValueError, Error.
    """
    return _vx.extract_planes(picture, channels, order)


def insert_planes(picture: Picture, planes: numpy.ndarray, channels: str = "argb", *,
                  out: Picture | None = None, order: Order = "rgba") -> Picture:
    """The 8-bit picture with the channels of extract_planes() from `planes`; the others stay.

    Raises TypeError, ValueError, Error.
    """
    return _vx.insert_planes(picture, _array("planes", planes), channels, out, order)


def copy_channel(dst: numpy.ndarray, src: numpy.ndarray, dst_channel: int, src_channel: int, *,
                 out: numpy.ndarray | None = None) -> numpy.ndarray:
    """dst with one channel of `src`: arrays of height x width x channels of any equal dtype.

    The numbers of channels may differ; they count from 0. Integers of 8, 16 and 32 bits, float32
    and float64. Raises TypeError, ValueError; Error for channels that are not there and for sizes or
    dtypes that differ.
    """
    result = _array("dst", dst).copy()
    _vx.copy_channel(result, _array("src", src), dst_channel, src_channel)
    return result if out is None else put(out, result)


def put(out: numpy.ndarray, result: numpy.ndarray) -> numpy.ndarray:
    """The result in `out`, which must have its shape and dtype."""
    if not isinstance(out, numpy.ndarray):
        raise TypeError(f"out: needs a NumPy array, not {type(out).__name__}")
    if out.shape != result.shape or out.dtype != result.dtype:
        raise ValueError(f"out: shape {out.shape}, dtype {out.dtype}; the result has shape "
                         f"{result.shape}, dtype {result.dtype}")
    if not out.flags.writeable:
        raise ValueError("out: it is read-only and cannot take a result")
    out[...] = result
    return out
