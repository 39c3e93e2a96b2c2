# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""vx composite: values, placing, masks, fields, and which option belongs to which layer."""

import json
import unittest

import numpy as np
from vxcommand import CommandTest, contents, random_pixels, read_tiff, write_tiff

# Depth: sample type of the file, and how far the command may be from exact arithmetic, in full scale.
DEPTHS = {8: (np.uint8, 1.01 / 255), 16: (np.uint16, 2.0 / 32768), 32: (np.float32, 2e-6)}


def unit(pixels):
    """Samples as float64 with 1 as full scale."""
    full = np.iinfo(pixels.dtype).max if pixels.dtype.kind == "u" else 1
    return pixels.astype(np.float64) / full


def in_front(s, d, opacity=1.0, weight=1.0):
    sa = s[..., 3:] * opacity * weight
    alpha = sa + d[..., 3:] * (1 - sa)
    mixed = s[..., :3] * sa + d[..., :3] * d[..., 3:] * (1 - sa)
    with np.errstate(invalid="ignore", divide="ignore"):
        colour = np.where(alpha > 0, mixed / alpha, d[..., :3])
    return np.concatenate([np.where(sa > 0, colour, d[..., :3]), alpha], axis=-1)


def multiply_on_opaque(s, d, opacity=1.0):
    sa = s[..., 3:] * opacity
    return np.concatenate([d[..., :3] * (1 - sa) + s[..., :3] * d[..., :3] * sa, d[..., 3:]], -1)


class Values(CommandTest):
    def make(self, name, pixels):
        write_tiff(self.path(name), pixels)
        return name

    def pictures(self, dtype):
        if dtype == np.float32:
            s, d = (unit(random_pixels(i, 24, 20, np.uint16)).astype(np.float32) for i in (1, 2))
        else:
            s, d = random_pixels(1, 24, 20, dtype), random_pixels(2, 24, 20, dtype)
        # Where almost nothing covers, integer colours are coarse by nature: keep to solid coverage.
        d[..., 3] = np.where(d[..., 3] > 0, np.maximum(d[..., 3], 0.6 * unit_full(dtype)), 0)
        return s, d

    def test_in_front_at_each_depth(self):
        for depth, (dtype, tolerance) in DEPTHS.items():
            with self.subTest(depth=depth):
                s, d = self.pictures(dtype)
                self.make("s.tif", s)
                self.make("d.tif", d)
                self.vx("composite", "d.tif", "--layer", "s.tif", "--opacity", 0.6, "-o", "o.tif")
                got, tags = read_tiff(self.path("o.tif"))
                self.assertEqual(got.dtype.itemsize * 8, depth)
                self.assertEqual(tags[338][0], 2, "alpha is marked as straight")
                want = in_front(unit(s), unit(d), np.floor(0.6 * 255 + 0.5) / 255 if depth == 8 else 0.6)
                covered = want[..., 3] > 0.5
                self.assertLess(np.abs(unit(got) - want)[covered].max(), 2 * tolerance)
                self.assertLess(np.abs(unit(got) - want)[..., 3].max(), tolerance)
                hidden = (s[..., 3] == 0) & (d[..., 3] == 0)
                self.assertTrue(hidden.any())
                step = 1 if depth == 16 else 0  # a 16-bit code may move by 1 on the 32768 scale
                self.assertLessEqual(
                    np.abs(got.astype(float) - d.astype(float))[hidden].max(), step)

    def test_multiply_at_each_depth(self):
        for depth, (dtype, tolerance) in DEPTHS.items():
            with self.subTest(depth=depth):
                s, d = self.pictures(dtype)
                d[..., 3] = unit_full(dtype)
                self.make("s.tif", s)
                self.make("d.tif", d)
                self.vx("composite", "d.tif", "--layer", "s.tif", "--mode", "multiply", "-o", "o.tif")
                got, _ = read_tiff(self.path("o.tif"))
                worst = np.abs(unit(got) - multiply_on_opaque(unit(s), unit(d))).max()
                self.assertLess(worst, 2 * tolerance)

    def test_keep_takes_the_deepest_of_the_pictures(self):
        self.png("b8.png", random_pixels(1, 8, 8))
        self.png("l16.png", random_pixels(2, 8, 8, np.uint16))
        out, _ = self.vx("composite", "b8.png", "--layer", "l16.png", "-o", "o.png", "--json")
        self.assertEqual(json.loads(out)["depth"], 16)
        self.assertEqual(self.pixels("o.png").dtype.itemsize, 2)
        # A mask does not count, and its conversion is told.
        _, said = self.vx("composite", "b8.png", "--layer", "b8.png", "--mask", "l16.png", "-o",
                          "o.png")
        self.assertEqual(self.pixels("o.png").dtype.itemsize, 1)
        self.assertIn("note: l16.png: mask converted from 16 to 8 bits", said)

    def test_processor_levels_give_the_same_bytes(self):
        self.png("b.png", random_pixels(1, 40, 37))
        self.png("l.png", random_pixels(2, 40, 37))
        for mode in ("in-front", "copy", "soft-light", "dissolve"):
            outs = []
            for level in ("none", "sse2", "all"):
                self.vx("--processor", level, "composite", "b.png", "--layer", "l.png", "--mode", mode,
                        "--opacity", 0.7, "-o", "o.png")
                outs.append(contents(self.path("o.png")))
            self.assertEqual(len(set(outs)), 1, mode)


def unit_full(dtype):
    return 1 if dtype == np.float32 else np.iinfo(dtype).max


class Placing(CommandTest):
    """Opaque layers in copy mode, so that the result is a matter of slicing arrays."""

    def setUp(self):
        super().setUp()
        self.below = random_pixels(1, 20, 30)
        self.layer = random_pixels(2, 10, 12)
        self.below[..., 3] = self.layer[..., 3] = 255
        self.png("b.png", self.below)
        self.png("l.png", self.layer)

    def composite(self, *words, layer="l.png"):
        out = self.vx("composite", "b.png", "--layer", layer, *words, "-o", "o.png")
        return self.pixels("o.png"), out[1]

    def test_at_and_rect(self):
        got, _ = self.composite("--at", "-5,14")
        want = self.below.copy()
        want[14:20, 0:7] = self.layer[0:6, 5:12]
        np.testing.assert_array_equal(got, want)
        got, _ = self.composite("--rect", "3,2,9,30", "--at", "28,1")  # clipped twice
        want = self.below.copy()
        want[1:9, 28:30] = self.layer[2:10, 3:5]
        np.testing.assert_array_equal(got, want)
        got, said = self.composite("--at", "500,-500")
        np.testing.assert_array_equal(got, self.below)
        self.assertIn("l.png: lies wholly outside", said)

    def test_fields_are_rows_of_the_background_and_make_a_whole(self):
        even, _ = self.composite("--field", "even", "--at", "4,3")
        want = self.below.copy()
        want[4:13:2, 4:16] = self.layer[1::2]
        np.testing.assert_array_equal(even, want)
        whole, _ = self.composite("--at", "4,3")
        self.vx("composite", "b.png", "--layer", "l.png", "--at", "4,3", "--field", "odd",
                "--layer", "l.png", "--field", "even", "--at", "4,3", "-o", "two.png")
        np.testing.assert_array_equal(self.pixels("two.png"), whole)

    def test_options_belong_to_the_layer_before_them(self):
        red, blue = (np.full((4, 4, 4), c, np.uint8) for c in ((255, 0, 0, 255), (0, 0, 255, 255)))
        self.png("red.png", red)
        self.png("blue.png", blue)
        out, _ = self.vx("composite", "--layer", "red.png", "--at=2,0", "--opacity", 0.5, "b.png",
                         "--json", "--layer", "blue.png", "-o", "o.png", "--seed", -3)
        layers = json.loads(out)["layers"]
        self.assertEqual([(l["file"], l["at"], l["opacity"]) for l in layers],
                         [("red.png", [2, 0], 0.5), ("blue.png", [0, 0], 1)])
        got = self.pixels("o.png").astype(int)
        np.testing.assert_array_equal(got[:4, :4], blue)  # the later layer lies above
        want = (self.below[0, 4].astype(int) + red[0, 0]) / 2
        self.assertLessEqual(np.abs(got[0, 4] - want).max(), 1)

    def test_dissolve_takes_whole_pixels_and_repeats_by_seed(self):
        def run(seed):
            return self.composite("--mode", 3, "--opacity", 0.5, "--seed", seed)[0]

        one = run(7)
        taken = (one[:10, :12] == self.layer).all(-1)
        left = (one[:10, :12] == self.below[:10, :12]).all(-1)
        self.assertTrue((taken | left).all() and taken.sum() > 20 and left.sum() > 20)
        np.testing.assert_array_equal(one, run(7))
        self.assertTrue((one != run(8)).any())

    def test_masks(self):
        grey = np.zeros((10, 12), np.uint8)
        grey[2:5, 3:9] = 255
        self.png("m.png", grey)
        alpha = np.dstack([grey * 0 + 9] * 3 + [grey])
        self.png("ma.png", alpha)
        inside = np.zeros((20, 30), bool)
        inside[3:6, 2:8] = True  # the mask's frame is the background's, moved by --mask-at
        layer = np.zeros_like(self.below)
        layer[0:10, 0:12] = self.layer
        drawn = np.zeros((20, 30), bool)
        drawn[0:10, 0:12] = True
        for words, chosen in (((), inside), (("--mask-use", "luma"), inside),
                              (("--mask-use", "inverse-luma"), ~inside)):
            got, said = self.composite("--mask", "m.png", "--mask-at", "-1,1", *words)
            want = np.where((chosen & drawn)[..., None], layer, self.below)
            np.testing.assert_array_equal(got, want, str(words))
            self.assertIn("note: m.png: mask is 12 x 10, the background 30 x 20", said)
        for words, chosen in (((), inside), (("--mask-use", "inverse-alpha"), ~inside)):
            got, _ = self.composite("--mask", "ma.png", "--mask-at=-1,1", *words)
            want = np.where((chosen & drawn)[..., None], layer, self.below)
            np.testing.assert_array_equal(got, want, str(words))

    def test_keep_alpha_and_numbers_for_modes(self):
        below = random_pixels(4, 20, 30)
        self.png("b.png", below)
        got, _ = self.composite("--keep-alpha", "--opacity", "0.9")
        np.testing.assert_array_equal(got[..., 3], below[..., 3])
        self.assertTrue((got != below).any())
        got, _ = self.composite("--mode", -3, "--opacity", "0.2")
        np.testing.assert_array_equal(got[:10, :12, 3], 51)
        np.testing.assert_array_equal(got[:10, :12, :3], self.layer[..., :3])


if __name__ == "__main__":
    unittest.main()
