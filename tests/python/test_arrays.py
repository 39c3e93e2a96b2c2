# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Arrays and worlds: accepted and refused layouts, copies, lifetimes, overlapping memory."""

import gc

import numpy as np
import pytest

import vx
from pictures import argb, noise


def test_a_picture_without_alpha_is_opaque():
    below, above = noise(7, 9), noise(5, 4, seed=2)
    full = below.copy()
    full[..., 3] = 255
    np.testing.assert_array_equal(vx.transfer(below[..., :3].copy(), above), vx.transfer(full, above))


def test_views_share_memory_both_ways_and_keep_it_alive():
    array = argb(noise(4, 6))
    world = vx.World.view(array)
    seen = np.asarray(world)
    assert seen.__array_interface__["data"] == array.__array_interface__["data"]
    vx.fill(world, (1, 2, 3, 4), out=world)
    assert (array == [4, 1, 2, 3]).all()
    address = array.__array_interface__["data"]
    del array, world
    gc.collect()
    assert (seen == [4, 1, 2, 3]).all() and seen.__array_interface__["data"] == address
    in_place = argb(noise(8, 8))
    assert vx.transfer(in_place, in_place, mode="multiply", out=in_place, order="argb") is in_place


LAYOUTS = [
    ("channels", lambda a: a[..., :2], ValueError, "shape (6, 5, 2)"),
    ("doubles", lambda a: a.astype(float), TypeError, "dtype float64"),
    ("other ends", lambda a: a.astype(">u2"), TypeError, "dtype >u2"),
    ("fortran", np.asfortranarray, ValueError, "strides (1, 6, 30)"),
    ("upside down", lambda a: a[::-1], ValueError, "strides (-20, 4, 1)"),
    ("mirrored", lambda a: a[:, ::-1], ValueError, "strides (20, -4, 1)"),
    ("every other", lambda a: a[:, ::2], ValueError, "strides (20, 8, 1)"),
    ("turned", lambda a: a.transpose(1, 0, 2), ValueError, "strides (4, 20, 1)"),
    ("one row again", lambda a: np.broadcast_to(a[:1], a.shape), ValueError, "strides (0, 4, 1)"),
    ("empty", lambda a: a[:0], ValueError, "shape (0, 5, 4)"),
    ("list", lambda a: a.tolist(), TypeError, "list"),
    ("none", lambda a: None, TypeError, "NoneType"),
]


@pytest.mark.parametrize("name,make,error,words", LAYOUTS, ids=[row[0] for row in LAYOUTS])
def test_refused_layouts(name, make, error, words):
    good = noise(6, 5)
    with pytest.raises(error, match="^picture: ") as caught:
        vx.resize(make(good), 3, 3)
    assert words in str(caught.value)
    if name != "none":
        with pytest.raises((ValueError, TypeError), match="^out: "):
            vx.fill(good, (0, 0, 0), out=make(noise(6, 5)))


def test_a_world_that_cannot_be_written_is_refused():
    frozen = argb(noise(4, 4))
    frozen.setflags(write=False)
    with pytest.raises(ValueError, match="read-only"):
        vx.fill(noise(4, 4), (0, 0, 0), out=vx.World.view(frozen))


@pytest.mark.parametrize("make", [
    lambda a: a[2:5, 1:4], lambda a: a[::2], lambda a: a[:, :1], lambda a: a[::-1][:1], lambda a: a[:, ::2][:, :1],
    lambda a: a[..., :3].copy()], ids=["part", "every other row", "column", "last row", "spaced column", "no alpha"])
def test_accepted_layouts(make):
    picture, out = make(noise(6, 5)), make(noise(6, 5, seed=2))
    np.testing.assert_array_equal(vx.fill_alpha(picture)[..., :3], picture[..., :3])
    if picture.shape[2] == 4:
        assert vx.fill_alpha(picture, out=out) is out
        np.testing.assert_array_equal(out[..., :3], picture[..., :3])


def test_overlapping_pictures_and_masks():
    eye, big = np.eye(3), argb(noise(20, 20))
    for picture, call in (
            (big, lambda a, b, m, **o: vx.transfer(a, b, mask=m, order="argb", **o)),
            (big.copy(), lambda a, b, m, **o: vx.transform(a, b, eye, mask=m, order="argb", **o)),
            (big[..., 0].copy(), lambda a, b, m, **o: vx.uno.transfer(a, b, mask=m, **o))):
        dst, src, mask = picture[:12, :12], picture[3:15, 1:13], picture[2:14, 5:17]
        expected = call(dst.copy(), src.copy(), mask.copy())
        call(dst, src, mask, out=dst)
        np.testing.assert_array_equal(dst, expected)
