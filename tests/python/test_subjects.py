# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Channels, bitmaps, colour spaces, short forms: each call against NumPy or the standard library."""

import colorsys
import gc

import numpy as np
import pytest

import vx
from pictures import DTYPES, FULL, argb, noise


def replaced(picture, channel, values):
    """The picture with other values in these channels."""
    picture = picture.copy()
    picture[..., channel] = values
    return picture


def test_channels():
    picture, other = noise(5, 6, 16), noise(5, 6, 16, seed=2)
    octets, planes = noise(5, 6), noise(5, 6, channels=3, seed=2)
    inside = np.zeros((5, 6), bool)
    inside[2:4, 1:5] = True
    for got, want in (
            (vx.fill_alpha(picture), replaced(picture, 3, 32768)),
            (vx.invert_alpha(picture), replaced(picture, 3, 32768 - picture[..., 3])),
            (vx.clear_outside(picture, (1, 2, 5, 4)), picture * inside[..., None]),
            (vx.clear_alpha_outside(picture, (1, 2, 5, 4)), replaced(picture, 3, picture[..., 3] * inside)),
            (vx.deinterleave(picture, "blue"), picture[..., 2]),
            (vx.deinterleave(argb(picture), "blue", order="argb"), picture[..., 2]),
            (vx.interleave(picture, np.asfortranarray(other[..., 1]), "green"), replaced(picture, 1, other[..., 1])),
            (vx.copy_channel(picture, other, 1, 3), replaced(picture, 1, other[..., 3])),
            (vx.extract_planes(octets, "bra"), octets[..., [3, 0, 2]]),  # in the order alpha, red, green, blue
            (vx.insert_planes(octets, planes, "arb"), replaced(octets, [3, 0, 2], planes))):
        np.testing.assert_array_equal(got, want)


def test_bitmaps():
    picture = noise(9, 12)
    bitmap, turned, small = vx.Bitmap(12, 9), vx.Bitmap(12, 9, channel_order="bgra"), vx.Bitmap(5, 4)
    assert not np.asarray(bitmap).any() and np.asarray(bitmap).shape == (9, 12, 4)
    vx.copy(bitmap.world(), vx.World(picture), out=bitmap.world())
    assert vx.copy_bitmap(bitmap, turned) is turned
    np.testing.assert_array_equal(np.asarray(turned), picture[..., [2, 1, 0, 3]])
    options = {"src_rect": (1, 1, 11, 9), "quality": "high", "premultiplied": True}
    vx.copy_bitmap(bitmap, small, **options)
    np.testing.assert_array_equal(np.asarray(small), argb(vx.copy(noise(4, 5) * 0, picture, **options)))
    seen = np.asarray(bitmap.world())
    del bitmap
    gc.collect()
    np.testing.assert_array_equal(seen, argb(picture))


@pytest.mark.parametrize("depth", [8, 16, 32])
def test_colour_spaces(depth):
    colors, full = noise(6, 7, depth), FULL[depth]
    hls, yiq = vx.rgb_to_hls(colors), vx.rgb_to_yiq(argb(colors), order="argb")
    rgb = colors[..., :3].astype(float) / full
    want = np.apply_along_axis(lambda c: colorsys.rgb_to_hls(*c), -1, rgb) * (360, 1, 1)
    np.testing.assert_allclose(hls, want, rtol=1e-5, atol=2e-5)
    np.testing.assert_allclose(yiq[..., 0], rgb @ [0.299, 0.587, 0.114], atol=2e-5)
    for back in (vx.hls_to_rgb(hls, depth), vx.yiq_to_rgb(yiq, depth)):
        assert back.dtype == DTYPES[depth]
        np.testing.assert_allclose(back.astype(float), colors[..., :3], atol=2e-6 if depth == 32 else 1)
    for call, part in ((vx.hue, hls[..., 0]), (vx.lightness, hls[..., 1]), (vx.saturation, hls[..., 2]),
                       (vx.luminance, yiq[..., 0])):
        assert call(colors).dtype == (np.float32 if depth == 32 else np.int32)
        np.testing.assert_allclose(call(colors), part * full, rtol=1e-4, atol=1e-4 if depth == 32 else 1.5)


def test_short_forms_of_the_transfer():
    below, above = noise(6, 7), noise(4, 5, seed=2)
    options = {"at": (2, -1), "rect": (1, 0, 5, 4), "field": "even"}
    for short, mode in (({"mode": "overlay"}, "overlay"), ({"premultiplied": True, "quality": "draft"}, "premul-over")):
        np.testing.assert_array_equal(vx.composite_rect(below, above, **short, **options),
                                      vx.transfer(below, above, mode=mode, **options))
    np.testing.assert_array_equal(vx.composite_rect(below, above, opacity=0), below)
    assert vx.transfer_flags("screen") == 1 and vx.transfer_flags("hue") in (0, 1)
    s, d = above[0], below[0, :5]
    np.testing.assert_array_equal(vx.blend_pixel(s, d), vx.transfer(d[None].copy(), s[None].copy())[0])
    # In single precision 0.7 * 255 is below 178.5.
    assert vx.blend_pixel((1, 2, 3, 255), (4, 5, 6, 255), "copy", 8, opacity=.7).tolist() == [1, 2, 3, 178]


def test_blit_stretches_levels():
    source, dst = noise(5, 5, 16), noise(8, 9, seed=4)
    low, high = np.array((0.1, 0.2, 0.0, 0.0)), np.array((0.6, 0.8, 1.0, 1.0))
    got = vx.blit(dst, source, at=(2, 1), rect=(1, 0, 4, 3), low=low, high=high, invert_alpha=True)
    expected = dst.astype(float)
    expected[1:4, 2:5] = np.clip((source[0:3, 1:4] / 32768 - low) / (high - low), 0, 1) * 255
    expected[1:4, 2:5, 3] = 255 - expected[1:4, 2:5, 3]
    np.testing.assert_allclose(got.astype(float), expected, atol=1)
