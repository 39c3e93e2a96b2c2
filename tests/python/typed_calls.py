# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Calls with results whose type depends on an argument. types.sh passes this file to mypy; it does not run.

An ignored error must occur: mypy --strict reports comments that ignore nothing.
"""

from typing import Any, Union, assert_type

import numpy as np
import numpy.typing as npt

import vx

Array = np.ndarray[Any, Any]


def results(array: npt.NDArray[np.uint8], world: vx.World, either: Union[Array, vx.World], flag: bool) -> None:
    assert_type(vx.read("a.png"), Array)
    assert_type(vx.read("a.png", world=False, depth=8), Array)
    assert_type(vx.read("a.png", world=True), vx.World)
    assert_type(vx.read("a.png", world=flag), Union[Array, vx.World])
    assert_type(vx.read_all("a.png").picture, Array)
    assert_type(vx.read_all("a.png", world=True).picture, vx.World)
    for frame in vx.frames("a.mov", "1-3", world=True):
        assert_type(frame.picture, vx.World)
    assert_type(vx.read(vx.encode(world, "png")), Array)
    assert_type(vx.blur(array, 2), Array)
    assert_type(vx.blur(world, 2), vx.World)
    assert_type(vx.blur(either, 2), Union[Array, vx.World])
    assert_type(vx.transfer(world, array, mask=either, out=world), vx.World)
    assert_type(vx.transfer(array, world, out=None), Array)
    blending = vx.AdvancedFrameBlending.from_percentages(resolution=20, error_threshold=1, luma=(30, 30, 40))
    blending.identity, blending.time_b = "contents", (1001, 24000)
    assert_type(blending.render(array, world), Array)
    assert_type(blending.render(array, array, out=world), Union[Array, vx.World])
    vx.AdvancedFrameBlending(instant="half")  # type: ignore[arg-type]
    assert_type(vx.uno.to_picture(array[..., 0]), Array)
    assert_type(vx.ColorSettings.emergency().tables(force=True), vx.LinearTables)
    print(vx.read("a.png").shape, vx.resize(vx.read("a.png"), 9, 9).mean(), next(vx.frames("a.mov")).picture.shape)
    print(vx.read("a.png", world=True).shape)  # type: ignore[attr-defined]
    vx.fill(3, (0, 0, 0))  # type: ignore[type-var]
    vx.fill(array, (0, 0, 0), out=3)  # type: ignore[arg-type]


def soft(array: npt.NDArray[np.uint8]) -> npt.NDArray[np.uint8]:
    return vx.blur(array, 2)
