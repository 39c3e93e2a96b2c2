# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Callbacks in Python: pixels, bands, indices, exceptions."""

import os
import signal

import numpy as np
import pytest

import vx
from pictures import noise


@pytest.mark.parametrize("order", ["rgba", "argb"])
def test_pixels_and_bands(order):
    dst, src = noise(9, 11, 16), noise(4, 5, 16, seed=2)
    y, x = np.mgrid[:9, :11]
    odd, above_all = (x + y) % 2 == 1, np.zeros_like(dst)
    above_all[2:6, 3:8] = src

    def pixel(x, y, above, below):
        np.testing.assert_array_equal(np.array(below, dst.dtype), dst[y, x])
        return above if (x + y) % 2 else None

    def band(x, y, above, below):
        part = odd[y:y + below.shape[0], x:x + below.shape[1]]
        below[part] = above[part]

    for options, (left, top, right, bottom) in (  # only the area of src, unless uncovered
            ({}, (3, 2, 8, 6)), ({"rect": (1, 4, 7, 9)}, (3, 4, 7, 6)), ({"uncovered": True}, (0, 0, 11, 9))):
        inside = (x >= left) & (x < right) & (y >= top) & (y < bottom)
        expected = np.where((inside & odd)[..., None], above_all, dst)
        for call in (lambda **o: vx.iterate(dst, pixel, **o), lambda **o: vx.iterate_rows(dst, band, rows=3, **o)):
            np.testing.assert_array_equal(call(src=src, at=(3, 2), order=order, **options), expected)


def test_results_of_callbacks_and_progress():
    dst = noise(5, 6)
    world = vx.World(dst)
    assert vx.iterate_rows(world, lambda x, y, band: 7, out=world, rows=2) is world
    assert (world.array() == 7).all()
    assert vx.iterate(dst, lambda x, y, p: (x, y, 9))[4, 3].tolist() == [3, 4, 9, 255]
    told = []
    vx.iterate_rows(dst, lambda *_: None, rows=2, progress=lambda *step: told.append(step))
    vx.iterate(dst, lambda *_: None, progress=lambda *step: told.append(step))
    assert told == [(i, 3) for i in (1, 2, 3)] + [(i, 5) for i in range(1, 6)]


@pytest.mark.parametrize("error,words,function", [
    (ValueError, "0..255", lambda *_: (0, 0, 256)), (ValueError, "three or four", lambda *_: (1, 2)),
    (TypeError, "pixel", lambda *_: 5), (TypeError, "whole", lambda *_: (0.5, 0, 0)),
    (TypeError, "argument", lambda: None), (TypeError, "function", None)])
def test_wrong_functions_change_nothing(error, words, function):
    picture = noise(4, 4)
    with pytest.raises(error, match=words):
        vx.iterate(picture, function, out=picture)
    np.testing.assert_array_equal(picture, noise(4, 4))


def test_exceptions_and_interrupts_come_out_unchanged():
    class Odd(BaseException):
        pass

    picture, error = noise(40, 3), Odd("kept")

    def throw(i):
        if i == 7:
            raise error

    def interrupt(i):
        if i == 7:
            os.kill(os.getpid(), signal.SIGINT)  # as a terminal sends it: helper threads block it

    for function, kind in ((throw, Odd), (interrupt, KeyboardInterrupt)):
        for call in (lambda: vx.iterate(picture, lambda x, y, p: function(y)),
                     lambda: vx.iterate_rows(picture, lambda x, y, band: function(y), rows=1),
                     lambda: vx.iterate_generic(40, lambda thread, i, n: function(i))):
            with pytest.raises(kind) as caught:
                call()
            assert caught.value is error or kind is KeyboardInterrupt


def test_numbers():
    calls = []
    for iterations in (3, -1, 0):
        vx.iterate_generic(iterations, lambda *call: calls.append(call))
    assert sorted(call[1:] for call in calls) == [(0, 1), (0, 3), (1, 3), (2, 3)]
    assert {call[0] for call in calls} <= set(range(vx.host.threads()))
    with pytest.raises(vx.Error) as caught:
        vx.iterate_generic(10000, lambda thread, i, n: calls.append(i) or i == 4)
    assert caught.value.code == 517 and 4 in calls and len(calls) < 10000


def test_callbacks_may_use_the_library_but_not_end_it():
    inner = []

    def function(x, y, band):
        inner.append(vx.blur(band, 1).shape)
        with pytest.raises(RuntimeError, match="at work"):
            vx.death()

    vx.iterate_rows(noise(8, 4), function, rows=4)
    assert inner == [(4, 4, 4)] * 2
