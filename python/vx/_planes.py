# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Extracts channels from pictures and inserts them."""

from __future__ import annotations

from typing import Literal

import numpy

from . import _vx
from ._types import Order, OutT, Picture, PictureT

Channel = Literal["alpha", "red", "green", "blue"]


def _array(name: str, value: numpy.ndarray) -> numpy.ndarray:
    if not isinstance(value, numpy.ndarray):
        raise TypeError(f"{name}: needs a NumPy array, not {type(value).__name__}")
    return numpy.ascontiguousarray(value)


def deinterleave(picture: Picture, channel: Channel, *, order: Order = "rgba") -> numpy.ndarray:
    """Returns one channel as an array of height x width with the dtype of the picture.

    picture: any depth.
    channel: "alpha", "red", "green" or "blue".

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.deinterleave(picture, channel, order)


def interleave(picture: PictureT, plane: numpy.ndarray, channel: Channel, *,
               out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Returns the picture with one channel replaced.

    picture: any depth.
    plane: array with the height, width and dtype of the picture.
    channel: "alpha", "red", "green" or "blue".

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.interleave(picture, _array("plane", plane), channel, out, order)


def extract_planes(picture: Picture, channels: str = "argb", *,
                   order: Order = "rgba") -> numpy.ndarray:
    """Returns some channels of an 8-bit picture: height x width x number of channels.

    picture: 8 bits per channel.
    channels: letters of "argb" in any order. The result has the order alpha, red, green, blue.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.extract_planes(picture, channels, order)


def insert_planes(picture: PictureT, planes: numpy.ndarray, channels: str = "argb", *,
                  out: OutT | None = None, order: Order = "rgba") -> PictureT | OutT:
    """Returns an 8-bit picture with some channels replaced; the others are unchanged.

    picture: 8 bits per channel.
    planes: uint8, height x width x number of channels, in the order alpha, red, green, blue.
    channels: letters of "argb" in any order.

    Raises TypeError, ValueError, vx.Error.
    """
    return _vx.insert_planes(picture, _array("planes", planes), channels, out, order)


def copy_channel(dst: numpy.ndarray, src: numpy.ndarray, dst_channel: int, src_channel: int, *,
                 out: numpy.ndarray | None = None) -> numpy.ndarray:
    """Returns `dst` with one channel replaced by a channel of `src`.

    dst, src: arrays of height x width x channels with equal height, width and dtype: integers of 8,
    16 or 32 bits, float32 or float64. The numbers of channels may differ.
    dst_channel, src_channel: index of the channel, from 0.

    Raises TypeError, ValueError, and vx.Error for a channel that does not exist and for different
    sizes or dtypes.
    """
    result = _array("dst", dst).copy()
    _vx.copy_channel(result, _array("src", src), dst_channel, src_channel)
    return result if out is None else put(out, result)


def put(out: numpy.ndarray, result: numpy.ndarray) -> numpy.ndarray:
    """Copies `result` into `out`, which must have its shape and dtype, and returns `out`."""
    if not isinstance(out, numpy.ndarray):
        raise TypeError(f"out: needs a NumPy array, not {type(out).__name__}")
    if out.shape != result.shape or out.dtype != result.dtype:
        raise ValueError(f"out: shape {out.shape}, dtype {out.dtype}; the result has shape "
                         f"{result.shape}, dtype {result.dtype}")
    if not out.flags.writeable:
        raise ValueError("out: is read-only and cannot receive a result")
    out[...] = result
    return out
