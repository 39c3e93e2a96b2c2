# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Rules of all functions: `out`, channel orders, worlds, progress, calls after death."""

import inspect

import numpy as np
import pytest

import vx
from pictures import argb, noise

PICTURE, OTHER, SMALL = noise(300, 6), noise(300, 6, seed=2), noise(9, 4, seed=3)
MASK, SOFT = OTHER[..., 0].copy(), OTHER[..., 1].copy()
TABLE = np.arange(255, -1, -1, dtype=np.uint8)
SRGB, WIDE = vx.Profile.named("sRGB"), vx.Profile.named("Display P3")
SHIFT = vx.matrices_between(vx.Parts(translate=(0.5, 0)), vx.Parts(translate=(2, 9)), 5)
AREA = (1, 2, 5, 250)
MOVES = np.full((300, 6, 2), (0.5, -3), np.float32)

# A call of each function on a picture. `turn` converts its other pictures to the same order or to worlds.
PICTURES = {
    "AdvancedFrameBlending.render":
        lambda p, turn, **o: vx.AdvancedFrameBlending(instant=0.3).render(p, turn(OTHER), **o),
    "blit": lambda p, turn, **o: vx.blit(p, turn(SMALL), at=(1, 1), invert_alpha=True, **o),
    "blur": lambda p, turn, **o: vx.blur(p, (2, 5), **o),
    "blur_pass": lambda p, turn, **o: vx.blur_pass(p, 2, kind="box", transpose=True, **o),
    "clear_alpha_outside": lambda p, turn, **o: vx.clear_alpha_outside(p, AREA, **o),
    "clear_outside": lambda p, turn, **o: vx.clear_outside(p, AREA, **o),
    "composite_rect": lambda p, turn, **o: vx.composite_rect(p, turn(OTHER), opacity=99, **o),
    "convert": lambda p, turn, **o: vx.convert(p, 16, **o),
    "convert_colors": lambda p, turn, **o: vx.convert_colors(p, SRGB, WIDE, **o),
    "convolve": lambda p, turn, **o: vx.convolve(p, [[1, 2, 1], [2, 4, 2], [1, 2, 1]], normalize=True, **o),
    "copy": lambda p, turn, **o: vx.copy(p, turn(SMALL), dst_rect=AREA, quality="high", **o),
    "fill": lambda p, turn, **o: vx.fill(p, (9, 8, 7), rect=AREA, **o),
    "fill_alpha": lambda p, turn, **o: vx.fill_alpha(p, **o),
    "insert_planes": lambda p, turn, **o: vx.insert_planes(p, OTHER[..., :2].copy(), "ag", **o),
    "interleave": lambda p, turn, **o: vx.interleave(p, MASK, "green", **o),
    "invert_alpha": lambda p, turn, **o: vx.invert_alpha(p, **o),
    "iterate": lambda p, turn, **o: vx.iterate(p, lambda x, y, a, b: a, src=turn(SMALL), **o),
    "iterate_rows": lambda p, turn, **o: vx.iterate_rows(p, lambda x, y, band: 255 - band, **o),
    "look_up": lambda p, turn, **o: vx.look_up(p, red=TABLE, alpha=TABLE, rect=AREA, **o),
    "mix": lambda p, turn, **o: vx.mix(p, turn(OTHER), 0.3, **o),
    "predict": lambda p, turn, **o: vx.predict(p, MOVES, **o),
    "tween": lambda p, turn, **o: vx.tween(p, turn(OTHER), 0.3, **o),
    "premultiply": lambda p, turn, **o: vx.premultiply(p, color=(9, 8, 7), **o),
    "resize": lambda p, turn, **o: vx.resize(p, 9, 77, **o),
    "transfer": lambda p, turn, **o: vx.transfer(p, turn(OTHER), mode="hue", mask=turn(OTHER), **o),
    "transform": lambda p, turn, **o: vx.transform(p, turn(OTHER), SHIFT, mask=turn(OTHER), **o),
    "unpremultiply": lambda p, turn, **o: vx.unpremultiply(p, **o),
    "uno.blend_alpha": lambda p, turn, **o: vx.uno.blend_alpha(p, MASK, 200, **o),
    "uno.merge": lambda p, turn, **o: vx.uno.merge(p, MASK, **o),
}
# A call of each function on an array that is not a picture.
MASKS = {
    "copy_channel": lambda m, **o: vx.copy_channel(m.reshape(300, 6, 1), OTHER, 0, 1, **o),
    "draw_flow": lambda m, **o: vx.draw_flow(np.stack([m, m], -1).astype(np.float32), arrows=30, **o),
    "uno.accumulate": lambda m, **o: vx.uno.accumulate(m, SOFT, "subtract", gains=(0.5, 1), **o),
    "uno.box_scan": lambda m, **o: vx.uno.box_scan(m[:, 0], 4, **o),
    "uno.convert": lambda m, **o: vx.uno.convert(m, 32, **o),
    "uno.fade": lambda m, **o: vx.uno.fade(m, 0.3, **o),
    "uno.feather": lambda m, **o: vx.uno.feather(m, (2, 9), **o),
    "uno.fill": lambda m, **o: vx.uno.fill(m, 7, rect=AREA, **o),
    "uno.gaussian_scan": lambda m, **o: vx.uno.gaussian_scan(m[:, 0], 4, **o),
    "uno.invert": lambda m, **o: vx.uno.invert(m, opacity=0.5, **o),
    "uno.to_picture": lambda m, **o: vx.uno.to_picture(m, **o),
    "uno.transfer": lambda m, **o: vx.uno.transfer(m, SOFT, mask=MASK, at=(1, 0), **o),
}
CALLS = {name: (PICTURE, lambda p, f=f, **o: f(p, lambda q: q, **o)) for name, f in PICTURES.items()}
CALLS |= {name: (PICTURE[..., 0].copy(), f) for name, f in MASKS.items()}
FUNCTIONS = {prefix + name: getattr(module, name)
             for prefix, module in (("", vx), ("uno.", vx.uno)) for name in module.__all__
             if inspect.isfunction(getattr(module, name))}
FUNCTIONS["AdvancedFrameBlending.render"] = vx.AdvancedFrameBlending.render
PROGRESS = [name for name in CALLS if "progress" in inspect.signature(FUNCTIONS[name]).parameters]


def test_the_tables_are_complete_and_all_functions_say_what_they_raise():
    with_out = {name for name, function in FUNCTIONS.items()
                if "out" in inspect.signature(function).parameters}
    assert with_out - {"copy_bitmap"} == set(CALLS)
    for name, function in FUNCTIONS.items():
        assert "Raises" in function.__doc__ or not inspect.signature(function).parameters, name


@pytest.mark.parametrize("name", CALLS)
def test_out_takes_the_result_and_nothing_else_is_changed(name):
    argument, call = CALLS[name]
    before = argument.copy()
    given = [array.copy() for array in (OTHER, SMALL, MASK, SOFT)]
    result = call(argument)
    assert not np.shares_memory(result, argument)
    out = np.full_like(result, 55)
    assert call(argument, out=out) is out
    np.testing.assert_array_equal(out, result)
    if result.ndim > 1:
        spaced = np.concatenate([result, result], axis=1)
        spaced[:, :result.shape[1]] = 7
        call(argument, out=spaced[:, :result.shape[1]])
        np.testing.assert_array_equal(spaced, np.concatenate([result, result], axis=1))
    np.testing.assert_array_equal(argument, before)
    for now, then in zip((OTHER, SMALL, MASK, SOFT), given):
        np.testing.assert_array_equal(now, then)
    if result.shape == argument.shape and result.dtype == argument.dtype:
        np.testing.assert_array_equal(call(before, out=before), result)


@pytest.mark.parametrize("name", CALLS)
def test_other_outs_are_refused(name):
    argument, call = CALLS[name]
    result = call(argument)
    frozen = result.copy()
    frozen.setflags(write=False)
    for bad in (frozen, result[1:].copy(), result.astype(np.float64), result.tolist(), 5,
                np.zeros(result.shape, np.uint16 if result.dtype == np.uint8 else np.uint8)):
        with pytest.raises((TypeError, ValueError), match="^out: "):
            call(argument, out=bad)


@pytest.mark.parametrize("name", PICTURES)
def test_orders_and_worlds_give_the_same_pixels(name):
    call = PICTURES[name]
    result = call(PICTURE, lambda q: q)
    np.testing.assert_array_equal(call(argb(PICTURE), argb, order="argb"), argb(result))
    world = call(vx.World(PICTURE), vx.World)
    assert isinstance(world, vx.World)
    np.testing.assert_array_equal(world.array(), result)


@pytest.mark.parametrize("name", PROGRESS)
def test_progress_of_every_function(name):
    argument, call = CALLS[name]
    told = []
    calm = call(argument, progress=lambda *step: told.append(step))
    np.testing.assert_array_equal(calm, call(argument))
    assert told and all(0 <= done <= steps for done, steps in told)
    out = np.full_like(calm, 55)
    for function, kind in ((lambda *_: 1 / 0, ZeroDivisionError), (lambda *_: 1, vx.Error)):
        with pytest.raises(kind) as caught:
            call(argument, progress=function, out=out)
        assert kind is ZeroDivisionError or caught.value.code == 517
        assert (out == 55).all()


def test_after_the_end_every_call_says_so():
    world, tables = vx.World(SMALL), vx.LinearTables(SRGB)
    calls = [lambda f=f, a=a: f(a) for a, f in CALLS.values()]
    calls += [lambda: vx.World.new(2, 2), lambda: vx.World.view(argb(SMALL)), lambda: vx.Bitmap(2, 2),
              lambda: vx.sample(SMALL, 0, 0), lambda: vx.guess_alpha(SMALL), lambda: vx.hue(SMALL),
              lambda: vx.blend_pixel(SMALL, SMALL, tables=tables), lambda: vx.gaussian_kernel(2),
              lambda: vx.Profile.named("sRGB"), lambda: vx.LinearTables(SRGB), vx.ColorSettings.emergency,
              lambda: vx.iterate_generic(1, print), lambda: vx.Parts().matrix(), vx.host.free_memory]
    vx.death()
    vx.death()
    try:
        vx.host.set_threads(vx.host.threads())  # does not call birth
        for call in calls:
            with pytest.raises(vx.Error, match="birth"):
                call()
        np.testing.assert_array_equal(world.array(), SMALL)
    finally:
        vx.birth()
    np.testing.assert_array_equal(vx.fill_alpha(world).array()[..., :3], SMALL[..., :3])
