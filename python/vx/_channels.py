# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Conversion of arguments: pixels, depths, channel orders and pairs."""

from __future__ import annotations

from typing import Any

import numpy
import numpy.typing

from ._types import Order

KINDS: dict[int, numpy.dtype[Any]] = {
    8: numpy.dtype(numpy.uint8), 16: numpy.dtype(numpy.uint16), 32: numpy.dtype(numpy.float32)}


def kind_of(depth: object, value: numpy.typing.ArrayLike) -> numpy.dtype[Any] | None:
    """Returns the dtype of a depth. None: the dtype of `value`, or None if no picture has it."""
    if depth is None:
        kind = numpy.asarray(value).dtype
        return kind if kind in KINDS.values() else None
    if isinstance(depth, int) and depth in KINDS:
        return KINDS[depth]
    raise ValueError(f"depth: 8, 16 or 32 bits a channel, not {depth!r}")


def pixels(name: str, value: numpy.typing.ArrayLike, kind: numpy.dtype[Any], order: Order, *,
           opaque: bool = False) -> numpy.ndarray:
    """Returns a new array of ... x 4 in the order ARGB. With `opaque`, `value` may have 3 channels.
    """
    array = numpy.asarray(value)
    full = {"u1": 255, "u2": 32768, "f4": 1}[kind.str[1:]]
    if array.ndim == 0 or array.shape[-1] not in ((3, 4) if opaque else (4,)):
        wanted = "three or four channels" if opaque else "four channels"
        raise ValueError(f"{name}: shape {array.shape}; the last axis has {wanted}")
    if array.dtype.kind not in ("iu" if kind.kind == "u" else "iuf"):
        wanted = "whole numbers" if kind.kind == "u" else "numbers"
        raise TypeError(f"{name}: dtype {array.dtype}; needs {wanted}")
    if kind.kind == "u" and array.size and (array.min() < 0 or array.max() > full):
        raise ValueError(f"{name}: channels are 0..{full}")
    result = numpy.full((*array.shape[:-1], 4), full, kind)
    if array.shape[-1] == 3:
        result[..., 1:] = array
    else:
        result[...] = array[..., argb_indices(order)]
    return result


def argb_indices(order: Order) -> list[int]:
    """Returns the indices of alpha, red, green and blue in a pixel of that order."""
    if order not in ("rgba", "argb"):
        raise ValueError(f'order: one of "rgba", "argb", not {order!r}')
    return [3, 0, 1, 2] if order == "rgba" else [0, 1, 2, 3]


def in_order(argb: numpy.ndarray, order: Order) -> numpy.ndarray:
    """Converts pixels from the order ARGB to `order`."""
    return argb[..., [1, 2, 3, 0]] if order == "rgba" else argb


def pair(name: str, value: Any) -> tuple[Any, Any]:
    """Returns the values for x and y. `value` is one for both axes, or two."""
    if isinstance(value, (tuple, list, numpy.ndarray)) and numpy.ndim(value) > 0:
        if len(value) != 2:
            raise ValueError(f"{name}: one number or (x, y), not {value!r}")
        return value[0], value[1]
    return value, value
