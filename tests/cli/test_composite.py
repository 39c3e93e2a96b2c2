# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""vx composite and vx matte: positions, masks, fields, mattes, and the layer an option belongs to."""

import json
import unittest

import numpy as np
from vxcommand import OUTPUT, CommandTest, random_pixels


class Placing(CommandTest):
    """Opaque layers: the expected result is made by slicing arrays."""

    def setUp(self):
        super().setUp()
        self.below = random_pixels(1, 20, 30)
        self.layer = random_pixels(2, 10, 12)
        self.below[..., 3] = self.layer[..., 3] = 255
        self.png("b.png", self.below)
        self.png("l.png", self.layer)

    def check(self, words, *changes, message=""):
        """The result is the background with each part of it replaced by an array."""
        said = self.vx("composite", "b.png", "--layer", "l.png", *words, "-o", "o.png")[1]
        want = self.below.copy()
        for area, pixels in changes:
            want[area] = pixels
        np.testing.assert_array_equal(self.pixels("o.png"), want, str(words))
        self.assertIn(message, said)

    def test_at_rect_and_field(self):
        layer = self.layer
        self.check(("--at", "-5,14"), (np.s_[14:20, 0:7], layer[0:6, 5:12]))
        self.check(("--rect", "3,2,9,30", "--at", "28,1"), (np.s_[1:9, 28:30], layer[2:10, 3:5]))
        self.check(("--at", "500,-500"), message="l.png: lies wholly outside")
        self.check(("--field", "even", "--at", "4,3"), (np.s_[4:13:2, 4:16], layer[1::2]))
        self.check(("--at", "4,3", "--field", "odd", "--layer", "l.png", "--field", "even", "--at", "4,3"),
                   (np.s_[3:13, 4:16], layer))

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
        np.testing.assert_array_equal(got[:4, :4], blue)  # the later layer is above
        want = (self.below[0, 4].astype(int) + red[0, 0]) / 2
        self.assertLessEqual(np.abs(got[0, 4] - want).max(), 1)

    def test_dissolve_takes_whole_pixels_and_repeats_by_seed(self):
        def run(seed, level="all"):
            self.vx("--processor", level, "composite", "b.png", "--layer", "l.png", "--mode", 3, "--opacity", 0.5,
                    "--seed", seed, "-o", "o.png")
            return self.pixels("o.png")

        one = run(7)
        taken = (one[:10, :12] == self.layer).all(-1)
        left = (one[:10, :12] == self.below[:10, :12]).all(-1)
        self.assertTrue((taken | left).all() and taken.sum() > 20 and left.sum() > 20)
        np.testing.assert_array_equal(one, run(7, "none"))
        self.assertTrue((one != run(8)).any())

    def test_masks(self):
        grey = np.zeros((10, 12), np.uint8)
        grey[2:5, 3:9] = 255
        self.png("m.png", grey)
        self.png("ma.png", np.dstack([grey * 0 + 9] * 3 + [grey]))
        inside = np.zeros((20, 30), bool)
        inside[3:6, 2:8] = True  # --mask-at counts from the background's corner
        drawn = np.zeros((20, 30), bool)
        drawn[0:10, 0:12] = True
        for mask, use, chosen in (("m.png", (), inside), ("m.png", ("--mask-use", "luma"), inside),
                                  ("m.png", ("--mask-use", "inverse-luma"), ~inside), ("ma.png", (), inside),
                                  ("ma.png", ("--mask-use", "inverse-alpha"), ~inside)):
            both = chosen & drawn
            self.check(("--mask", mask, "--mask-at", "-1,1", *use), (both, self.layer[both[:10, :12]]),
                       message=f"note: {mask}: mask is 12 x 10, the background 30 x 20")

    def test_keep_alpha_and_depth(self):
        below = random_pixels(4, 20, 30)
        self.png("b.png", below)
        self.vx("composite", "b.png", "--layer", "l.png", "--keep-alpha", "--opacity", 0.9, "-o", "o.png")
        np.testing.assert_array_equal(self.pixels("o.png")[..., 3], below[..., 3])
        self.assertTrue((self.pixels("o.png") != below).any())
        # The deepest picture decides. A mask does not count, and its conversion is reported.
        self.tif("l.tif", random_pixels(2, 20, 30, np.uint16))
        out, _ = self.vx("composite", "b.png", "--layer", "l.tif", "-o", "o.png", "--json")
        self.assertEqual(json.loads(out)["depth"], 16)
        _, said = self.vx("composite", "b.png", "--layer", "b.png", "--mask", "l.tif", "-o", "o.png")
        self.assertEqual(json.loads(self.vx("info", "o.png", "--json")[0])["depth"], 8)
        self.assertIn("note: l.tif: mask converted from 16 to 8 bits", said)


def channel(pixels, use):
    """What --from and --matte-use take, 0 to 1."""
    pixels = pixels / 255
    source, inverse = use.replace("inverse-", ""), use.startswith("inverse-")
    value = pixels[..., 3] if source == "alpha" else pixels[..., :3] @ [0.299, 0.587, 0.114] * pixels[..., 3] \
        if source == "luma" else pixels[..., ("red", "green", "blue").index(source)]
    return 1 - value if inverse else value


class Mattes(CommandTest):
    def matte(self, *words, source="p.png"):
        """The one channel of the result."""
        self.vx("matte", source, *words, "-o", "m.png")
        got = self.pixels("m.png")
        self.assertEqual(got.shape[2], 1)
        return got[..., 0].astype(int)

    def assertNear(self, got, want, tolerance=1.01, what=""):
        self.assertLessEqual(np.abs(got - want).max(), tolerance, what)

    def test_from_and_formats(self):
        pixels = random_pixels(1, 14, 15)
        self.png("p.png", pixels)
        for use in ("alpha", "inverse-alpha", "luma", "inverse-luma", "red", "green", "blue"):
            self.assertNear(self.matte("--from", use), channel(pixels, use) * 255, 1.01 if "luma" in use else 0.51, use)
        for kind in ("jpg", "bmp", "exr"):
            self.vx("matte", "p.png", "-o", f"m.{kind}")
            info = json.loads(self.vx("info", f"m.{kind}", "--json")[0])
            self.assertEqual(len(info["channels"]), 3 if kind == "bmp" else 1, kind)
        self.vx("matte", "p.png", "--depth", 16, "-o", "m.png")
        self.assertEqual(json.loads(self.vx("info", "m.png", "--json")[0])["depth"], 16)
        self.png("p.png", pixels[..., :3])
        _, said = self.vx("matte", "p.png", "-o", "m.png")
        self.assertIn("warning: p.png: has no alpha, so that the matte is full; --from luma", said)
        np.testing.assert_array_equal(self.pixels("m.png"), 255)
        self.refuse(OUTPUT, "has no alpha", "matte", "p.png", "--strict", "-o", "s.png")

    def test_feather(self):
        step = np.zeros((9, 41), np.uint8)
        step[:, 20:] = 255
        self.png("p.png", step)
        edges = {kind: self.matte("--from", "luma", "--feather", 5, "--feather-kind", kind)
                 for kind in ("box", "soft", "gaussian")}
        for kind, edge in edges.items():
            self.assertTrue((np.diff(edge[4]) >= 0).all() and 5 <= np.unique(edge).size <= 30, kind)
        self.assertEqual(len({edge.tobytes() for edge in edges.values()}), 3)
        np.testing.assert_array_equal(self.matte("--from", "luma", "--feather", 5), edges["soft"])

    def test_the_order_of_invert_fade_and_combine(self):
        values = np.arange(256, dtype=np.uint8).reshape(16, 16)
        other = np.random.default_rng(3).integers(0, 256, (10, 12)).astype(np.uint8)
        self.png("p.png", values)
        self.png("o.png", other)
        faded = (255.0 - values) * 0.6
        for mode, combined in (("add", lambda a, b: np.minimum(a + b, 255)), ("replace", lambda a, b: b),
                               ("subtract", lambda a, b: np.maximum(a - b, 0))):
            want = faded.copy()
            want[:10, :12] = combined(want[:10, :12], other)
            self.assertNear(self.matte("--from", "luma", "--combine", "o.png", "--combine-mode", mode, "--fade", 0.6,
                                       "--invert"), want)
        _, said = self.vx("matte", "p.png", "--from", "luma", "--combine", "o.png", "-o", "m.png")
        self.assertIn("note: o.png: is 12 x 10, the matte 16 x 16", said)
        np.testing.assert_array_equal(self.matte("--from", "luma", "--feather", 3, "--invert"),
                                      255 - self.matte("--from", "luma", "--feather", 3))

    def test_mattes_of_layers(self):
        layer, matte = random_pixels(1, 12, 16), random_pixels(5, 8, 20)
        self.png("l.png", layer)
        self.png("b.png", random_pixels(2, 12, 16))
        self.png("m.png", matte)
        for use in ("alpha", "inverse-alpha", "luma", "inverse-luma"):
            inverse = use.startswith("inverse")
            weight = np.full((12, 16), float(inverse))
            weight[:8] = channel(matte, use)[:, :16]
            said = self.vx("composite", "b.png", "--layer", "l.png", "--mode", -3, "--matte", "m.png", "--matte-use", use,
                           "-o", "o.png")[1]
            self.assertNear(self.pixels("o.png")[..., 3], layer[..., 3] * weight, 1.51, use)
            np.testing.assert_array_equal(self.pixels("o.png")[..., :3], layer[..., :3])
            self.assertIn("note: m.png: matte is 20 x 8, its layer 16 x 12; outside of the matte it counts as "
                          + ("full" if inverse else "0"), said)
        # Alpha is the default, or luma if there is none; --feather does what vx matte does.
        for name, use, words in (("m.png", "alpha", ()), ("g.png", "luma", ("--feather", 2, "--feather-kind", "box"))):
            self.png("g.png", random_pixels(6, 12, 16, channels=1))
            self.vx("composite", "b.png", "--layer", "l.png", "--matte", name, *words, "-o", "got.png")
            self.vx("matte", name, "--from", use, *words, "-o", "g.png")
            self.vx("composite", "b.png", "--layer", "l.png", "--matte", "g.png", "-o", "want.png")
            np.testing.assert_array_equal(self.pixels("got.png"), self.pixels("want.png"))


if __name__ == "__main__":
    unittest.main()
