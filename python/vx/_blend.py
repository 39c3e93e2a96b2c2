# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Transfer modes."""

from __future__ import annotations

from . import _vx
from ._types import Field, LinearTables, MaskUse, Order, Picture, Place, Progress, Rect


def transfer(dst: Picture, src: Picture, *, mode: str | int = "in-front", opacity: float = 1.0,
             at: Place = (0, 0), rect: Rect | None = None, mask: Picture | None = None,
             mask_use: MaskUse = "alpha", mask_at: Place = (0, 0),
             tables: LinearTables | None = None, keep_alpha: bool = False, seed: int = 0,
             field: Field = "both", progress: Progress | None = None,
             out: Picture | None = None, order: Order = "rgba") -> Picture:
    """Composites `src` over `dst` and gives the result; `dst` stays unless it is `out`.

    dst, src, mask: pictures of one depth; sizes may differ.
    mode: a name of modes(), or its number.
    opacity: 0..1.
    at: (x, y) in dst where the corner of the rectangle lies, pixels.
    rect: (left, top, right, bottom) of src; None is all of it.
    mask_use: which quantity of the mask weighs a pixel; mask_at: its corner in dst.
    tables: blend in linear light by these; None blends the stored values.
    keep_alpha: colours are written, the alpha of dst stays.
    seed: of the mode dissolve.
    field: "both", "even" or "odd" rows of dst.
    progress: called with (rows done, rows); what is true stops, with Error.code 517.

    Raises TypeError, ValueError, Error. Calls with destinations of their own may run at once.
    """
    return _vx.transfer(dst, src, mode, opacity, at, rect, mask, mask_use, mask_at, tables,
                        keep_alpha, seed, field, progress, out, order)


def modes() -> list[tuple[int, str]]:
    """(number, name) of each transfer mode."""
    return _vx.modes()
