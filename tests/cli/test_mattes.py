# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""vx matte, and the mattes of layers."""

import json
import unittest

import numpy as np
from PIL import Image
from vxcommand import CommandTest, contents, random_pixels, write_tiff

USAGE, INPUT = 2, 3
LUMA = np.array([0.299, 0.587, 0.114])


def what_of(pixels, use):
    """In full scale."""
    use, inverse = use.replace("inverse-", ""), use.startswith("inverse-")
    value = pixels[..., 3] if use == "alpha" else pixels[..., :3] @ LUMA * pixels[..., 3] if use == "luma" \
        else pixels[..., ("red", "green", "blue").index(use)]
    return 1 - value if inverse else value


class MatteTest(CommandTest):
    def matte(self, *words, out="m.png", source="p.png"):
        """The one channel of the result."""
        self.vx("matte", source, *words, "-o", out)
        got = self.pixels(out)
        self.assertEqual(got.shape[2], 1)
        return got[..., 0].astype(int)

    def grey(self, name, values):
        self.png(name, np.asarray(values, np.uint8))
        return name


class Mattes(MatteTest):
    def test_what_is_taken_at_each_depth(self):
        for dtype, step in ((np.uint8, 1 / 255), (np.uint16, 2 / 32768), (np.float32, 1e-6)):
            pixels = random_pixels(1, 14, 15, np.uint16 if dtype == np.float32 else dtype)
            full = np.iinfo(pixels.dtype).max
            write_tiff(self.path("p.tif"), (pixels / full).astype(dtype) if dtype == np.float32 else pixels)
            for use in ("alpha", "inverse-alpha", "luma", "inverse-luma", "red", "green", "blue"):
                self.vx("matte", "p.tif", "--from", use, "-o", "m.tif")
                with Image.open(self.path("m.tif")) as image:
                    got = np.asarray(image)
                self.assertEqual((got.shape, got.dtype), ((14, 15), dtype), use)
                error = np.abs(got / (1 if dtype == np.float32 else full) - what_of(pixels / full, use))
                self.assertLess(error.max(), step * (1.01 if "luma" in use else 0.51), (use, dtype))
        self.png("p.png", random_pixels(1, 8, 8))
        want = random_pixels(1, 8, 8)[..., 3].astype(float) / 255
        self.vx("matte", "p.png", "--depth", 16, "-o", "m.png")
        self.assertEqual(self.pixels("m.png").dtype.itemsize, 2)
        self.assertLess(np.abs(self.pixels("m.png")[..., 0] / 65535 - want).max(), 1 / 32768)

    def test_each_format_gets_a_grey_picture(self):
        pixels = random_pixels(2, 16, 16)
        pixels[..., 3] = np.arange(16)[:, None] * 17
        self.png("p.png", pixels)
        for kind in ("png", "tif", "tga", "pgm", "jpg", "bmp", "dpx", "exr"):
            self.vx("matte", "p.png", "-o", f"m.{kind}")
            info = json.loads(self.vx("info", f"m.{kind}", "--json")[0])
            self.assertEqual(len(info["channels"]), 3 if kind in ("bmp", "dpx") else 1, kind)
            self.vx("convert", f"m.{kind}", "-o", "back.png", "--depth", 8)
            back = self.pixels("back.png").astype(int)
            self.assertLessEqual(np.abs(back[..., :3] - pixels[..., 3:]).max(), 4 if kind == "jpg" else 0, kind)
        with Image.open(self.path("m.jpg")) as image:
            self.assertEqual(image.mode, "L")

    def test_feather(self):
        dot = np.zeros((41, 41))
        dot[20, 20] = 255
        step = np.zeros((41, 41))
        step[:, 20:] = 255
        self.grey("dot.png", dot)
        self.grey("step.png", step)
        self.grey("flat.png", np.full((9, 12), 137))
        for kind in ("box", "soft", "gaussian"):
            words = ("--from", "luma", "--feather-kind", kind, "--feather")
            flat = self.matte(*words, 6, source="flat.png")
            np.testing.assert_array_equal(flat, 137, kind)
            spread = self.matte(*words, 1.5, "--depth", 16, source="dot.png")
            for turned in (spread.T, spread[::-1], spread[:, ::-1]):
                np.testing.assert_allclose(turned, spread, atol=4)
            self.assertLess(abs(spread.sum() / 65535 - 1), 0.02, kind)
            widths = []
            for radius in (0, 2, 5, 9.5):
                edge = self.matte(*words, radius, source="step.png")
                self.assertLessEqual(np.ptp(edge, axis=0).max(), 1)  # along the edge nothing changes
                self.assertTrue((np.diff(edge[20]) >= 0).all() and edge[20, 0] == 0 and edge[20, -1] == 255)
                self.assertLessEqual(abs(edge[20].sum() / 255 - 21), 0.1)  # spreads both ways alike
                widths.append(((edge[20] > 0) & (edge[20] < 255)).sum())
            self.assertEqual(widths[0], 0)
            self.assertTrue(widths[0] < widths[1] < widths[2] < widths[3], widths)
        np.testing.assert_array_equal(self.matte("--from", "luma", "--feather", 4, source="step.png"),
                                      self.matte("--from", "luma", "--feather", 4, "--feather-kind", "soft",
                                                 source="step.png"))

    def test_invert_fade_and_combine_in_this_order(self):
        values = np.arange(256, dtype=np.uint8).reshape(16, 16)
        other = np.random.default_rng(3).integers(0, 256, (10, 12))
        self.grey("p.png", values)
        self.grey("o.png", other)
        near = lambda got, want, off=1: self.assertLessEqual(np.abs(got - want).max(), off)
        take = lambda *words: self.matte("--from", "luma", *words)
        near(take("--invert"), 255 - values.astype(int), 0)
        near(take("--fade", 0.25), values * 0.25)
        faded = (255.0 - values) * 0.6
        near(take("--invert", "--fade", 0.6), faded)
        for mode, combined in (("add", lambda a, b: np.minimum(a + b, 255)), ("replace", lambda a, b: b),
                               ("subtract", lambda a, b: np.maximum(a - b, 0))):
            want = faded.copy()
            want[:10, :12] = combined(want[:10, :12], other)
            near(take("--combine", "o.png", "--combine-mode", mode, "--fade", 0.6, "--invert"), want)
        _, said = self.vx("matte", "p.png", "--from", "luma", "--combine", "o.png", "-o", "m.png")
        self.assertIn("note: o.png: is 12 x 10, the matte 16 x 16", said)
        near(self.pixels("m.png")[:10, :12, 0].astype(int), np.minimum(values[:10, :12].astype(int) + other, 255), 0)
        # It is feathered first: a hole that was soft before it was turned over.
        near(take("--feather", 3, "--invert"), 255 - take("--feather", 3), 0)

    def test_a_picture_without_alpha_is_told(self):
        self.png("p.png", random_pixels(1, 5, 5, channels=3))
        _, said = self.vx("matte", "p.png", "-o", "m.png")
        self.assertIn("warning: p.png: has no alpha, so that the matte is full; --from luma", said)
        np.testing.assert_array_equal(self.pixels("m.png"), 255)
        self.refuse(4, "has no alpha", "matte", "p.png", "--strict", "-o", "s.png")

    def test_sequences(self):
        for i in (1, 2):
            self.png(f"p.{i}.png", random_pixels(i, 6, 6))
            self.png(f"c.{i}.png", random_pixels(i + 5, 6, 6, channels=1))
        self.vx("matte", "p.#.png", "--combine", "c.#.png", "-o", "m.#.png")
        for i in (1, 2):
            self.assertEqual(contents(self.path(f"m.{i}.png")), self.alone(i))

    def alone(self, i):
        self.matte("--combine", f"c.{i}.png", source=f"p.{i}.png")
        return contents(self.path("m.png"))

    def test_refusals(self):
        self.png("p.png", random_pixels(1, 6, 6))
        for words, said in ((("--from", "hue"), "--from 'hue'.*inverse-luma"), (("--feather", "-1"), "--feather '-1'"),
                            (("--feather", "40000"), "from 0 to 32767"), (("--feather", "nan"), "--feather 'nan'"),
                            (("--feather", "2", "--feather-kind", "oval"), "--feather-kind 'oval'.*gaussian"),
                            (("--feather-kind", "box"), "without --feather R"), (("--fade", "1.1"), "--fade '1.1'"),
                            (("--combine-mode", "add"), "without --combine"), (("--depth", "10"), "--depth '10'"),
                            (("--combine", "p.png", "--combine-mode", "mix"), "--combine-mode 'mix'.*subtract")):
            self.refuse(USAGE, said, "matte", "p.png", *words, "-o", "p.png")
        for words in (("none.png",), ("p.png", "--combine", "none.png")):
            self.refuse(INPUT, "none.png: no such file", "matte", *words, "-o", "p.png")


class MattesOfLayers(MatteTest):
    def setUp(self):
        super().setUp()
        self.layer = random_pixels(1, 12, 16)
        self.png("l.png", self.layer)
        self.png("b.png", random_pixels(2, 12, 16))

    def composite(self, *words, said=""):
        """The layer as it is drawn, in mode copy, so that its alpha is seen."""
        _, told = self.vx("composite", "b.png", "--layer", "l.png", "--mode", -3, *words, "-o", "o.png")
        self.assertIn(said, told)
        return self.pixels("o.png").astype(int)

    def test_the_alpha_is_multiplied(self):
        alpha = self.layer[..., 3].astype(float)
        matte = random_pixels(5, 12, 16)
        self.png("m.png", matte)
        for use in ("alpha", "inverse-alpha", "luma", "inverse-luma"):
            got = self.composite("--matte", "m.png", "--matte-use", use)
            error = np.abs(got[..., 3] - alpha * what_of(matte / 255, use)).max()
            self.assertLessEqual(error, 1.51 if "luma" in use else 0.51, use)  # luma is rounded twice
            np.testing.assert_array_equal(got[..., :3], self.layer[..., :3])
        # By itself the alpha is used or, where there is none, the luminance; at the layer's depth.
        np.testing.assert_array_equal(self.composite("--matte", "m.png"),
                                      self.composite("--matte", "m.png", "--matte-use", "alpha"))
        self.png("g.png", random_pixels(6, 12, 16, np.uint16, channels=1))
        got = self.composite("--matte", "g.png")
        self.assertLessEqual(np.abs(got[..., 3] - alpha * self.pixels("g.png")[..., 0] / 65535).max(), 1.01)

    def test_in_front_with_a_feathered_matte(self):
        hole = np.zeros((12, 16), np.uint8)
        hole[3:9, 4:12] = 255
        self.grey("m.png", hole)
        self.vx("matte", "m.png", "--from", "luma", "--feather", 2, "--feather-kind", "box", "-o", "soft.png")
        soft = self.pixels("soft.png")[..., 0]
        self.assertTrue(((soft > 0) & (soft < 255)).any())
        self.vx("composite", "b.png", "--layer", "l.png", "--matte", "soft.png", "-o", "want.png")
        self.vx("composite", "b.png", "--layer", "l.png", "--matte", "m.png", "--feather", 2, "--feather-kind",
                "box", "-o", "got.png")
        np.testing.assert_array_equal(self.pixels("got.png"), self.pixels("want.png"))
        np.testing.assert_array_equal(self.pixels("got.png")[soft == 0], self.pixels("b.png")[soft == 0])

    def test_a_matte_of_another_size(self):
        values = random_pixels(7, 8, 20, channels=1)
        self.png("m.png", values)
        inside = np.zeros((12, 16))
        inside[:8] = values[:, :16, 0] / 255
        for use, beyond, said in (("luma", inside, "0"), ("inverse-luma", 1 - inside, "full")):
            got = self.composite("--matte", "m.png", "--matte-use", use,
                                 said=f"note: m.png: matte is 20 x 8, its layer 16 x 12; outside of the matte it counts as {said}")
            self.assertLessEqual(np.abs(got[..., 3] - self.layer[..., 3] * beyond).max(), 1.01)

    def test_each_layer_and_each_frame_has_its_own(self):
        for i in (1, 2):
            self.png(f"m.{i}.png", random_pixels(i + 8, 12, 16, channels=1))
            self.png(f"b.{i}.png", random_pixels(i + 3, 12, 16))
        words = lambda n: ("--layer", "l.png", "--matte", f"m.{n}.png", "--layer", "l.png", "--mode", "add")
        self.vx("composite", "b.#.png", *words("#"), "-o", "o.#.png")
        for i in (1, 2):
            self.vx("composite", f"b.{i}.png", *words(i)[:4], "-o", "one.png")
            self.vx("composite", "one.png", *words(i)[4:], "-o", "two.png")
            self.assertEqual(contents(self.path(f"o.{i}.png")), contents(self.path("two.png")))

    def test_refusals(self):
        for words, said in ((("--matte", "b.png", "--matte-use", "red"), "--matte-use 'red'.*inverse-luma"),
                            (("--matte-use", "luma"), "without --matte"), (("--feather", "3"), "without --matte"),
                            (("--feather-kind", "box"), "without --feather"),
                            (("--matte", "b.png", "--feather", "99999"), "--feather '99999'")):
            self.refuse(USAGE, said, "composite", "b.png", "--layer", "l.png", *words, "-o", "b.png")
        self.refuse(INPUT, "none.png: no such file", "composite", "b.png", "--layer", "l.png", "--matte",
                    "none.png", "-o", "b.png")


if __name__ == "__main__":
    unittest.main()
