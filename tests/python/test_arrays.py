# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Arrays and worlds: accepted and refused layouts, copies, lifetimes, overlapping memory."""

import gc

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

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
    owned = np.asarray(vx.World(noise(3, 3)))
    gc.collect()
    np.testing.assert_array_equal(owned, argb(noise(3, 3)))
    in_place = argb(noise(8, 8))
    assert vx.transfer(in_place, in_place, mode="multiply", out=in_place, order="argb") is in_place


LAYOUTS = [
    ("channels", lambda a: a[..., :2], ValueError, "shape (6, 5, 2)"),
    ("flat", lambda a: a[..., 0], ValueError, "shape (6, 5)"),
    ("doubles", lambda a: a.astype(float), TypeError, "dtype float64"),
    ("signed", lambda a: a.astype(np.int8), TypeError, "dtype int8"),
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


def test_destinations_that_cannot_be_written_are_refused():
    picture = noise(4, 4)
    frozen = argb(noise(4, 4))
    frozen.setflags(write=False)
    for out in (frozen, vx.World.view(frozen)):
        with pytest.raises(ValueError, match="read-only"):
            vx.fill(picture, (0, 0, 0), out=out)
    for out in (noise(4, 5), noise(4, 4, 16), vx.World.new(5, 4)):
        with pytest.raises(ValueError, match="^out: "):
            vx.fill(picture, (0, 0, 0), out=out)


@settings(max_examples=120, deadline=None, database=None)
@given(data=st.data(), depth=st.sampled_from([8, 16, 32]), channels=st.sampled_from([3, 4]))
def test_any_strides_are_honoured_or_refused(data, depth, channels):
    base = noise(9, 8, depth, channels).repeat(2, axis=2)[..., :channels + 1]
    cuts = []
    for side in base.shape:
        step = data.draw(st.sampled_from([1, 1, 1, 2, -1]))
        cuts.append(slice(*sorted(data.draw(st.tuples(st.integers(0, side), st.integers(0, side)))))
                    if step == 1 else slice(None, None, step))
    array = base[tuple(cuts)].transpose(data.draw(st.sampled_from([(0, 1, 2)] * 3 + [(1, 0, 2)])))
    height, width, last = array.shape
    item, pixel = array.itemsize, array.itemsize * last
    fine = (last in (3, 4) and height > 0 and width > 0 and array.strides[2] == item
            and (width == 1 or array.strides[1] == pixel)
            and (height == 1 or array.strides[0] >= width * pixel))
    if fine:
        expected = array[..., [0, 1, 2]]
        np.testing.assert_array_equal(vx.fill_alpha(array)[..., :3], expected)
        out = base.copy()[tuple(cuts)]
        if last == 4:
            assert vx.fill_alpha(array.copy(), out=out) is out
            np.testing.assert_array_equal(out[..., :3], expected)
    else:
        with pytest.raises(ValueError, match="^picture: shape"):
            vx.fill_alpha(array)


def test_overlapping_pictures_and_masks():
    big = argb(noise(20, 20))
    for call in (lambda a, b, m, **o: vx.transfer(a, b, mask=m, order="argb", **o),
                 lambda a, b, m, **o: vx.transform(a, b, np.eye(3), mask=m, order="argb", **o)):
        picture = big.copy()
        dst, src, mask = picture[:12, :12], picture[3:15, 1:13], picture[2:14, 5:17]
        expected = call(dst.copy(), src.copy(), mask.copy())
        call(dst, src, mask, out=dst)
        np.testing.assert_array_equal(dst, expected)
    plane = big[..., 0].copy()
    expected = vx.uno.transfer(plane[:9, :9].copy(), plane[1:10, 2:11].copy(), mask=plane[3:12, :9].copy())
    vx.uno.transfer(plane[:9, :9], plane[1:10, 2:11], mask=plane[3:12, :9], out=plane[:9, :9])
    np.testing.assert_array_equal(plane[:9, :9], expected)
