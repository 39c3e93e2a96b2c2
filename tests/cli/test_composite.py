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
        self.check(("--at", "500,-500"), message="l.png: is completely outside")
        self.check(("--field", "even", "--at", "4,3"), (np.s_[4:13:2, 4:16], layer[1::2]))

    def test_positions(self):
        layer = self.layer
        for words, corner in (("--at center", (5, 9)), ("--at 100%,0%", (0, 18)), ("--at left,bottom", (10, 0)),
                              ("--at 25%,3", (3, 4)), ("--at right,center --translate -2,1", (6, 16))):
            y, x = corner
            self.check(words.split(), (np.s_[y:y + 10, x:x + 12], layer))
        self.check("--rect 2,1,8,7 --at center".split(), (np.s_[7:13, 12:18], layer[1:7, 2:8]))
        # --at places the transformed layer, or with --anchor X,Y the layer before that.
        turned = np.rot90(layer, -1)
        self.check("--rotate 90 --at 2,1".split(), (np.s_[1:13, 2:12], turned))
        self.check("--rotate 90 --at 20,0 --anchor 0,0".split(), (np.s_[0:12, 11:21], turned))
        self.check("--rotate 90 --at 100%,2 --rect -1,0,6,9".split(), (np.s_[3:9, 21:30], np.rot90(layer[:9, :6], -1)))
        self.png("l.png", layer.repeat(2, 0).repeat(2, 1))
        self.check("--scale 0.5 --at right,bottom".split(), (np.s_[10:, 18:], layer))
        words = "--scale 0.7 --rotate 20 --skew 3,0 --translate 3.5,2 --mode screen --opacity 60%".split()
        self.vx("composite", "b.png", "--layer", "l.png", *words, "-o", "o.png")
        self.vx("transform", "l.png", "--over", "b.png", *words, "-o", "p.png")
        self.assertEqual(self.contents("o.png"), self.contents("p.png"))

    def test_blur_and_shadow(self):
        """The effects equal layers that are made of the blurred alpha."""
        self.png("l.png", random_pixels(3, 9, 8))
        for words, blur, softness, opacity in (("--shadow 2,-3", 0, 8, .7), ("--blur 2.5", 2.5, None, 0),
                                               ("--blur 2 --shadow -4,1 --shadow-softness 1.5 --shadow-opacity 90% "
                                                "--shadow-color #ff8001 --opacity 0.5", 2, 1.5, .45)):
            self.vx("composite", "b.png", "--layer", "l.png", "--at", "7,5", *words.split(), "-o", "o.png")
            layers = []
            self.vx("blur", "l.png", "--gaussian", blur, "--grow", "-o", "layer.png")
            reach = int(np.ceil(blur))
            if opacity:
                self.vx("blur", "layer.png", "--gaussian", softness, "--grow", "-o", "shadow.png")
                shadow = self.pixels("shadow.png").copy()
                shadow[..., :3] = (255, 128, 1) if "#" in words else 0
                self.png("shadow.png", shadow)
                x, y = map(int, words.split("--shadow ")[1].split()[0].split(","))
                corner = 7 + x - reach - int(np.ceil(softness)), 5 + y - reach - int(np.ceil(softness))
                layers = ["--layer", "shadow.png", "--at={},{}".format(*corner), "--opacity", opacity]
            self.vx("composite", "b.png", *layers, "--layer", "layer.png", f"--at={7 - reach},{5 - reach}",
                    "--opacity", 0.5 if "--opacity" in words else 1, "-o", "p.png")
            np.testing.assert_allclose(self.pixels("o.png"), self.pixels("p.png").astype(int), atol=1, err_msg=words)
        self.assertIn("outside the background", self.vx("composite", "b.png", "--layer", "l.png", "--at", "-900,0",
                                                        "--shadow", "5,5", "-o", "o.png")[1])

    def test_alpha_of_layers_and_output(self):
        layer = random_pixels(5, 20, 30)
        share = layer[..., 3:] / 255
        product = np.round(np.concatenate([layer[..., :3] * share, layer[..., 3:]], -1)).astype(np.uint8)
        self.png("product.png", product)
        for how, tolerance, want in (
                ("premultiplied", 2, self.below[..., :3] * (1 - share) + product[..., :3]),
                ("straight", 1, self.below[..., :3] * (1 - share) + product[..., :3] * share), ("ignore", 0, product[..., :3])):
            self.vx("composite", "b.png", "--layer", "product.png", "--alpha", how, "-o", "o.png")
            np.testing.assert_allclose(self.pixels("o.png")[..., :3], want, atol=tolerance, err_msg=how)
        self.png("b.png", product)
        self.png("l.png", np.zeros((1, 1, 4), np.uint8))
        for name in ("o.png", "o.tif"):
            read = self.pixels if name == "o.png" else self.deep
            self.vx("composite", "b.png", "--layer", "l.png", "--background-alpha", "premultiplied", "--output-alpha",
                    "premultiplied", "-o", name)
            if name == "o.tif":
                self.assertEqual(json.loads(self.vx("info", name, "--json")[0])["alpha"], "premultiplied")
            else:
                np.testing.assert_allclose(read(name), product.astype(int), atol=1)
        self.vx("composite", "b.png", "--layer", "l.png", "--output-alpha", "ignore", "-o", "o.png")
        np.testing.assert_array_equal(self.pixels("o.png"), product[..., :3])

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

    def test_masks(self):
        grey = np.zeros((10, 12), np.uint8)
        grey[2:5, 3:9] = 255
        self.png("m.png", grey)
        self.png("ma.png", np.dstack([grey * 0 + 9] * 3 + [grey]))
        inside, drawn = np.zeros((2, 20, 30), bool)
        inside[3:6, 2:8] = True  # --mask-at counts from the background's corner
        drawn[0:10, 0:12] = True
        for mask, use, chosen in (("m.png", (), inside), ("m.png", ("--mask-use", "inverse-luma"), ~inside),
                                  ("ma.png", (), inside), ("ma.png", ("--mask-use", "inverse-alpha"), ~inside)):
            both = chosen & drawn
            self.check(("--mask", mask, "--mask-at", "-1,1", *use), (both, self.layer[both[:10, :12]]),
                       message=f"note: {mask}: mask is 12 x 10, the background 30 x 20")

    def test_keep_alpha_and_depth(self):
        below = self.below.copy()
        below[..., 3] = 99
        self.png("b.png", below)
        self.check(("--keep-alpha",), (np.s_[..., 3], 99), (np.s_[:10, :12, :3], self.layer[..., :3]))
        # The deepest picture decides. A mask does not count, and its conversion is reported.
        self.tif("l.tif", random_pixels(2, 20, 30, np.uint16))
        for words, depth in (("l.tif", 16), ("b.png --mask l.tif", 8)):
            record, said = self.vx("composite", "b.png", "--layer", *words.split(), "-o", "o.png", "--json")
            self.assertEqual(json.loads(record)["depth"], depth)
        self.assertIn("note: l.tif: mask converted from 16 to 8 bits", said)


def channel(pixels, use):
    """The channel that --from and --matte-use select, 0 to 1."""
    pixels = pixels / 255
    source, inverse = use.replace("inverse-", ""), use.startswith("inverse-")
    value = pixels[..., 3] if source == "alpha" else pixels[..., :3] @ [0.299, 0.587, 0.114] * pixels[..., 3] \
        if source == "luma" else pixels[..., ("red", "green", "blue").index(source)]
    return 1 - value if inverse else value


class Mattes(CommandTest):
    def matte(self, *words):
        """The one channel of the result."""
        self.vx("matte", "p.png", *words, "-o", "m.png")
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
        for name, channels, depth in (("m.bmp", 3, 8), ("m.png", 1, 16)):
            self.vx("matte", "p.png", "--depth", depth, "-o", name)
            info = json.loads(self.vx("info", name, "--json")[0])
            self.assertEqual((len(info["channels"]), info["depth"]), (channels, depth))
        self.png("p.png", pixels[..., :3])
        _, said = self.vx("matte", "p.png", "-o", "m.png")
        self.assertIn("warning: p.png: has no alpha, so that the matte is full; --from luma", said)
        np.testing.assert_array_equal(self.pixels("m.png"), 255)
        self.refuse(OUTPUT, "has no alpha", "matte", "p.png", "--strict", "-o", "s.png")

    def test_the_order_of_invert_fade_and_combine(self):
        values = np.arange(256, dtype=np.uint8).reshape(16, 16)
        other = np.random.default_rng(3).integers(0, 256, (10, 12)).astype(np.uint8)
        self.png("p.png", values)
        self.png("o.png", other)
        for mode, combined in (("add", lambda a, b: np.minimum(a + b, 255)), ("replace", lambda a, b: b),
                               ("subtract", lambda a, b: np.maximum(a - b, 0))):
            want = (255.0 - values) * 0.6
            want[:10, :12] = combined(want[:10, :12], other)
            self.assertNear(self.matte("--from", "luma", "--combine", "o.png", "--combine-mode", mode, "--fade", 0.6,
                                       "--invert"), want)
        _, said = self.vx("matte", "p.png", "--from", "luma", "--combine", "o.png", "-o", "m.png")
        self.assertIn("note: o.png: is 12 x 10, the matte 16 x 16", said)

    def test_mattes_of_layers(self):
        layer, matte = random_pixels(1, 12, 16), random_pixels(5, 8, 20)
        self.png("l.png", layer)
        self.png("b.png", random_pixels(2, 12, 16))
        self.png("m.png", matte)
        self.png("g.png", matte[..., 0])
        for name, words, use in (("m.png", (), "alpha"), ("m.png", ("--matte-use", "inverse-luma"), "inverse-luma"),
                                 ("g.png", (), "red")):
            weight = np.full((12, 16), float(use == "inverse-luma"))
            weight[:8] = channel(matte, use)[:, :16]
            said = self.vx("composite", "b.png", "--layer", "l.png", "--mode", -3, "--matte", name, *words, "-o", "o.png")[1]
            self.assertNear(self.pixels("o.png")[..., 3], layer[..., 3] * weight, 1.51, use)
            np.testing.assert_array_equal(self.pixels("o.png")[..., :3], layer[..., :3])
            self.assertIn(f"note: {name}: matte is 20 x 8, its layer 16 x 12; outside of the matte it counts as "
                          + ("full" if use == "inverse-luma" else "0"), said)
        # --feather has the same effect as in vx matte.
        words = ("--feather", 2, "--feather-kind", "box")
        self.vx("matte", "l.png", *words, "-o", "soft.png")
        for matte, words, out in (("l.png", words, "got.png"), ("soft.png", (), "want.png")):
            self.vx("composite", "b.png", "--layer", "l.png", "--matte", matte, *words, "-o", out)
        np.testing.assert_array_equal(self.pixels("got.png"), self.pixels("want.png"))


if __name__ == "__main__":
    unittest.main()
