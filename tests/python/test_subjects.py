# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Channels, bitmaps, colour spaces, short forms, compared with NumPy and the standard library."""

import colorsys
import gc

import numpy as np
import pytest

import vx
from pictures import DTYPES, FULL, argb, noise

DEPTHS = pytest.mark.parametrize("depth", [8, 16, 32])


@DEPTHS
def test_alpha_and_edges(depth):
    picture, full = noise(6, 7, depth), FULL[depth]
    for call, alpha in ((vx.fill_alpha, full), (vx.invert_alpha, full - picture[..., 3])):
        expected = picture.copy()
        expected[..., 3] = alpha
        np.testing.assert_allclose(call(picture), expected, rtol=1e-6)
    kept = np.zeros_like(picture)
    kept[2:4, 1:5] = picture[2:4, 1:5]
    np.testing.assert_array_equal(vx.clear_outside(picture, (1, 2, 5, 4)), kept)
    kept[..., :3] = picture[..., :3]
    np.testing.assert_array_equal(vx.clear_alpha_outside(picture, (1, 2, 5, 4)), kept)


@pytest.mark.parametrize("order", ["rgba", "argb"])
def test_channels_out_and_back(order):
    picture, other = noise(5, 6, 16), noise(5, 6, 16, seed=2)
    channels = ("red", "green", "blue", "alpha") if order == "rgba" else ("alpha", "red", "green", "blue")
    for i, name in enumerate(channels):
        plane = vx.deinterleave(other, name, order=order)
        np.testing.assert_array_equal(plane, other[..., i])
        expected = picture.copy()
        expected[..., i] = other[..., i]
        np.testing.assert_array_equal(
            vx.interleave(picture, np.asfortranarray(plane), name, order=order), expected)
    numbers = np.zeros((5, 6, 2), picture.dtype)
    got = vx.copy_channel(numbers, picture, 1, 3)
    np.testing.assert_array_equal(got, np.stack([numbers[..., 0], picture[..., 3]], -1))


def test_planes_of_bytes_and_refusals():
    picture, other = noise(5, 6), noise(5, 6, seed=2)
    planes = vx.extract_planes(picture, "bra")
    np.testing.assert_array_equal(planes, picture[..., [3, 0, 2]])
    expected = other.copy()
    expected[..., [3, 0, 2]] = planes
    np.testing.assert_array_equal(vx.insert_planes(other, planes, "arb"), expected)
    for error, call in (
            (ValueError, lambda: vx.extract_planes(noise(2, 2, 16))),
            (ValueError, lambda: vx.extract_planes(picture, "x")),
            (ValueError, lambda: vx.insert_planes(picture, planes, "ab")),
            (ValueError, lambda: vx.interleave(picture, planes[..., 0][1:], "red")),
            (ValueError, lambda: vx.deinterleave(picture, "luma")),
            (TypeError, lambda: vx.copy_channel(planes.astype(complex), planes, 0, 0)),
            (vx.Error, lambda: vx.copy_channel(planes, planes, 0, 3))):
        with pytest.raises(error):
            call()


def test_bitmaps():
    picture = noise(9, 12)
    bitmap, turned = vx.Bitmap(12, 9), vx.Bitmap(12, 9, channel_order="bgra")
    assert not np.asarray(bitmap).any() and np.asarray(bitmap).shape == (9, 12, 4)
    vx.copy(bitmap.world(), vx.World(picture), out=bitmap.world())
    np.testing.assert_array_equal(np.asarray(bitmap), argb(picture))
    assert vx.copy_bitmap(bitmap, turned) is turned
    np.testing.assert_array_equal(np.asarray(turned), picture[..., [2, 1, 0, 3]])
    small = vx.Bitmap(5, 4)
    vx.copy_bitmap(bitmap, small, src_rect=(1, 1, 11, 9), quality="high", premultiplied=True)
    expected = vx.copy(np.zeros((4, 5, 4), np.uint8), picture, src_rect=(1, 1, 11, 9), quality="high",
                       premultiplied=True)
    np.testing.assert_array_equal(np.asarray(small), argb(expected))
    seen = np.asarray(bitmap.world())
    del bitmap
    gc.collect()
    np.testing.assert_array_equal(seen, argb(picture))
    for call in (turned.world, lambda: vx.Bitmap(0, 4), lambda: vx.Bitmap(4, 4, 16, "bgra"),
                 lambda: vx.copy_bitmap(turned, turned),
                 lambda: vx.copy_bitmap(turned, vx.Bitmap(3, 3), quality="high")):
        with pytest.raises(ValueError):
            call()


@DEPTHS
def test_colour_spaces(depth):
    colors, full = noise(6, 7, depth), FULL[depth]
    parts, yiq = vx.rgb_to_hls(colors), vx.rgb_to_yiq(argb(colors), order="argb")
    for color, hls, y in zip(colors.reshape(-1, 4), parts.reshape(-1, 3), yiq.reshape(-1, 3)):
        r, g, b = (float(c) / full for c in color[:3])
        h, l, s = colorsys.rgb_to_hls(r, g, b)
        np.testing.assert_allclose(hls, (h * 360, l, s), rtol=1e-5, atol=2e-5)
        np.testing.assert_allclose(y[0], 0.299 * r + 0.587 * g + 0.114 * b, atol=2e-5)
    for back in (vx.hls_to_rgb(parts, depth), vx.yiq_to_rgb(yiq, depth)):
        assert back.dtype == DTYPES[depth] and back.shape == (6, 7, 3)
        np.testing.assert_allclose(back.astype(float), colors[..., :3], atol=2e-6 if depth == 32 else 1)
    for call, expected in ((vx.hue, parts[..., 0]), (vx.lightness, parts[..., 1]), (vx.saturation, parts[..., 2]),
                           (vx.luminance, yiq[..., 0])):
        assert call(colors).dtype == (np.float32 if depth == 32 else np.int32)
        np.testing.assert_allclose(call(colors), expected * full, rtol=1e-4, atol=1e-4 if depth == 32 else 1.5)


def test_single_colours_and_refusals():
    assert vx.rgb_to_hls((1, 0.5, 0)).tolist() == [30, 0.5, 1]
    assert vx.hls_to_rgb((390, 0.5, 1), 8).tolist() == [255, 128, 0]
    assert vx.luminance((255, 255, 255), 8) == 255
    assert vx.hls_to_rgb((float("nan"), 1e30, 1), 8).shape == (3,)
    for error, call in ((ValueError, lambda: vx.rgb_to_hls((1, 2))),
                        (ValueError, lambda: vx.rgb_to_hls((0, 0, 256), 8)),
                        (ValueError, lambda: vx.rgb_to_hls((0, 0, 0), 12)),
                        (TypeError, lambda: vx.rgb_to_hls((0.5, 0, 0), 8)),
                        (TypeError, lambda: vx.rgb_to_hls(["r", "e", "d"])), (ValueError, lambda: vx.hue(3)),
                        (ValueError, lambda: vx.yiq_to_rgb((1, 2, 3, 4)))):
        with pytest.raises(error):
            call()


@DEPTHS
def test_short_forms_of_the_transfer(depth):
    below, above = noise(6, 7, depth), noise(4, 5, depth, seed=2)
    options = {"at": (2, -1), "rect": (1, 0, 5, 4), "field": "even"}
    np.testing.assert_array_equal(vx.composite_rect(below, above, mode="overlay", **options),
                                  vx.transfer(below, above, mode="overlay", **options))
    np.testing.assert_array_equal(
        vx.composite_rect(below, above, premultiplied=True, quality="draft", **options),
        vx.transfer(below, above, mode="premul-over", **options))
    np.testing.assert_array_equal(vx.composite_rect(below, above, opacity=0), below)
    with pytest.raises(ValueError, match="opacity"):
        vx.composite_rect(below, above, opacity=256)
    assert vx.transfer_flags("screen") == 1 and vx.transfer_flags("hue") in (0, 1)
    s, d = above[0], below[0, :5]
    np.testing.assert_array_equal(vx.blend_pixel(s, d), vx.transfer(d[None].copy(), s[None].copy())[0])


def test_blit_stretches_levels():
    source, dst = noise(5, 5, 16), noise(8, 9, seed=4)
    low, high = (0.1, 0.2, 0.0, 0.0), (0.6, 0.8, 1.0, 1.0)
    got = vx.blit(dst, source, at=(2, 1), rect=(1, 0, 4, 3), low=low, high=high, invert_alpha=True)
    stretched = np.clip((source[0:3, 1:4] / 32768 - low) / (np.array(high) - low), 0, 1) * 255
    stretched[..., 3] = 255 - stretched[..., 3]
    expected = dst.astype(float)
    expected[1:4, 2:5] = stretched
    np.testing.assert_allclose(got.astype(float), expected, atol=1)
    with pytest.raises(ValueError, match="8 bits"):
        vx.blit(noise(2, 2, 16), source)


def test_sample_all_in():
    x, y = np.meshgrid(np.arange(-1, 6) + 0.5, np.arange(-1, 5) + 0.25)
    pixels, inside = vx.sample_all_in(noise(4, 5), x, y)
    np.testing.assert_array_equal(inside, (x > 0) & (x < 4) & (y > 0) & (y < 3))
    np.testing.assert_array_equal(pixels, vx.sample(noise(4, 5), x, y))


def test_settings_for_callers_without_any():
    settings = vx.ColorSettings.emergency()
    assert "sRGB" in settings.name and not settings.linearize and not settings.linear_blending
    settings.linear_blending = True
    assert not vx.ColorSettings.emergency().linear_blending
    vx.host.free_memory()
    assert vx.host.object_version() >> 16 == 17
