# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Arrays and worlds: accepted and refused layouts, copies, lifetimes, overlapping memory."""

import gc

import numpy as np
import pytest

import vx
from pictures import DTYPES, FULL, argb, noise


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
    ("empty", lambda a: a[:0], ValueError, "shape (0, 5, 4)"),
    ("flat", lambda a: a.ravel(), ValueError, "shape (120,)"),
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


# Layouts of pictures that are converted. As a destination, and where their memory is used, they are refused.
INPUTS = {
    "fortran": np.asfortranarray, "upside down": lambda a: a[::-1], "mirrored": lambda a: a[:, ::-1],
    "every other": lambda a: a[:, ::2], "turned": lambda a: a.transpose(1, 0, 2), "abgr": lambda a: a[..., ::-1],
    "bgr": lambda a: a[..., 2::-1], "all reversed": lambda a: a[::-1, ::-1, ::-1], "grey": lambda a: a[..., 0].copy(),
    "channel": lambda a: a[..., 1], "turned grey": lambda a: a[::-1, :, 2].T, "pixel": lambda a: a[:1, :1, ::-1],
    "one row again": lambda a: np.broadcast_to(a[:1], a.shape)}


@pytest.mark.parametrize("depth", DTYPES)
@pytest.mark.parametrize("name", INPUTS)
def test_layouts_of_inputs(name, depth):
    view = INPUTS[name](noise(6, 5, depth))
    expected = np.full((*view.shape[:2], 4), FULL[depth], view.dtype)
    expected[..., :view.shape[2] if view.ndim == 3 else 3] = view if view.ndim == 3 else view[..., None]
    for order in ("rgba", "argb") if expected.shape != view.shape else ("rgba",):
        np.testing.assert_array_equal(vx.World(view, order=order).array(), expected)
    with pytest.raises(ValueError, match="^out: "):
        vx.fill(expected, (0, 0, 0), out=view)
    with pytest.raises(ValueError, match="ascontiguousarray|vx.World|four channels"):
        vx.World.view(view)
    if view.ndim == 3 and view.shape[2] == 4:
        with pytest.raises(ValueError, match="^picture: .*ascontiguousarray"):
            vx.fill_alpha(view, order="argb")


def test_the_values_of_a_grey_mask_are_weights():
    for depth in (8, 16):
        below, above, mask = noise(9, 8, depth), noise(9, 8, depth, seed=2), noise(7, 5, depth, seed=3)
        for use in ("alpha", "inverse-alpha"):
            by_alpha, *by_grey = (vx.transfer(below, above, mask=m, mask_use=u, mask_at=(1, -2)) for m, u in (
                (mask, use), (mask[..., 3], use), (mask[..., 3], use.replace("alpha", "luma"))))
            for result in by_grey:
                np.testing.assert_array_equal(result, by_alpha)


def test_values_above_the_16_bit_scale_are_refused():
    fine, high = noise(4, 9, 16), noise(4, 9, 16)
    high[2, 5, 1] = 32769
    plane, layer = high[..., 1].copy(), vx.World(fine)
    for call in (lambda: vx.blur(high, 1), lambda: vx.blur(high, 1, order="argb"), lambda: vx.World(high[::-1]),
                 lambda: vx.fill_alpha(high[..., :3]), lambda: vx.fill_alpha(plane), lambda: vx.transfer(layer, high),
                 lambda: vx.transfer(fine, fine, mask=high, mask_use="luma"), lambda: vx.uno.feather(plane, 1),
                 lambda: vx.uno.merge(fine, plane), lambda: vx.uno.accumulate(plane, plane),
                 lambda: vx.uno.box_scan(plane[2], 1), lambda: vx.interleave(fine, plane, "red"), lambda: vx.uno.blend_alpha(fine, plane, 0),
                 lambda: vx.iterate_rows(fine, lambda x, y, band: high)):
        with pytest.raises(ValueError, match="up to 32769, .*vx.from_uint16"):
            call()
    np.testing.assert_array_equal(vx.fill_alpha(fine, out=high), vx.fill_alpha(fine))  # contents of out are not read
    for width in range(1, 35):  # every position in the vectors of the check, and after them
        for x in range(width):
            row = np.full((1, width, 4), 32768, np.uint16)
            vx.World(row)
            row[0, x, x % 4] = (32769, 65535)[x % 2]
            for order in ("rgba", "argb"):
                with pytest.raises(ValueError, match="from_uint16"):
                    vx.fill_alpha(row, order=order)


def test_conversion_of_values_up_to_65535():
    scale, values = np.arange(32769, dtype=np.uint16), np.arange(65536, dtype=np.uint16)
    np.testing.assert_array_equal(vx.from_uint16(values), np.rint(values * 32768.0 / 65535))  # never a half
    np.testing.assert_array_equal(vx.to_uint16(scale), np.floor(scale * 65535.0 / 32768 + 0.5))
    np.testing.assert_array_equal(vx.from_uint16(vx.to_uint16(scale)), scale)
    for function, wrong, error in (
            (vx.to_uint16, values, ValueError), (vx.to_uint16, scale.astype(int), TypeError),
            (vx.from_uint16, values.astype(np.float32), TypeError), (vx.from_uint16, [1], TypeError)):
        with pytest.raises(error, match="^values: "):
            function(wrong)


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
