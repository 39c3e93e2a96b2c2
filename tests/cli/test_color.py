# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Colour: blending in linear light, profiles and conversions, vx profile."""

import json
import os
import unittest

import numpy as np
from PIL import Image, ImageCms
from vxcommand import INPUT, CommandTest, random_pixels, write_exr

# Three colours in Display P3 and in sRGB, computed from the curve and the primaries of both.
P3 = np.uint8([[[120, 100, 150], [180, 140, 110], [100, 150, 90]]])
IN_SRGB = np.array([[[123.956, 99.048, 153.589], [187.530, 137.983, 105.141], [83.465, 151.662, 82.674]]])


def encode(v):
    return np.where(v <= .0031308, v * 12.92, 1.055 * v ** (1 / 2.4) - .055)


def decode(v):
    v = np.array(v)
    return np.where(v <= .04045, v / 12.92, ((v + .055) / 1.055) ** 2.4)


class ColorTest(CommandTest):
    def profile(self, name):
        """The bytes of a built-in profile."""
        path = name.replace(" ", "-") + ".icc"
        if not os.path.exists(self.path(path)):
            self.vx("profile", name, "--write", path)
        return self.contents(path)

    def picture(self, name, pixels, profile=None):
        """uint8 RGB or RGBA; a profile by name or as bytes."""
        return self.png(name, pixels, self.profile(profile) if isinstance(profile, str) else profile)

    def flat(self, name, color, profile=None):
        return self.picture(name, np.full((4, 4, len(color)), color, np.uint8), profile)

    def composite(self, below, layer, *words, out="o.png", code=0):
        """Returns the record of --json and the messages."""
        record, said = self.vx("composite", below, "--layer", layer, "-o", out, "--json", *words, code=code)
        return json.loads(record) if record else None, said

    def embedded(self, name):
        with Image.open(self.path(name)) as image:
            return image.info.get("icc_profile")


class LinearLight(ColorTest):
    def test_half_white_over_black(self):
        self.flat("white.png", (255, 255, 255))
        self.flat("plain.png", (0, 0, 0))
        half = 128 / 255  # opacity 0.5 at 8 bits
        for name, value, below, source, words in (
                ("Display P3", encode(half), self.flat("own.png", (0, 0, 0), "Display P3"), "background", ()),
                ("gamma 1.8", half ** (1 / 1.8), "plain.png", "option", ("--profile", "GAMMA 1.8")),
                ("sRGB built-in", encode(half), "plain.png", "assumed", ())):
            record, said = self.composite(below, "white.png", "--opacity", .5, "--linear", *words)
            self.assertLess(np.abs(self.pixels("o.png").astype(int) - 255 * value).max(), 0.75, name)
            self.assertEqual(self.embedded("o.png"), None if source == "assumed" else self.profile(name))
            self.assertEqual((record["color"]["profile_from"], record["color"]["linear"]), (source, True))
            self.assertIn(f"{below}: blended in linear light by the curve of " + record["color"]["profile"], said)
        # Float pictures are blended by the curve itself; a transparent pixel of the layer changes nothing.
        for name, alpha, stored in (("half.tif", .5, .05), ("clear.tif", 0, .02)):
            self.tif(name, np.float32([[[stored, .5, 1, alpha]] * 4] * 4))
            for words in (("composite", "black.tif", "--layer", name),
                          ("transform", name, "--over", "black.tif", "--translate", ".5,0")):
                self.tif("black.tif", np.float32([[[.02, 0, .3, 1]] * 4] * 4))
                self.vx(*words, "--linear", "-o", "o.tif")
                light = alpha * decode([stored, .5, 1]) + (1 - alpha) * decode([.02, 0, .3])
                self.assertLess(np.abs(self.deep("o.tif")[1, 1, :3] - encode(light)).max(), 1e-5, words)
        record, said = self.composite("plain.png", "white.png", "--opacity", .5)
        self.assertEqual(self.pixels("o.png")[0, 0].tolist(), [128] * 3)
        self.assertEqual((said, "color" in record), ("", False))

    def test_exr_counts_as_linear(self):
        write_exr(self.path("b.exr"), np.float32([[[0, 0, 0, 1]] * 4] * 4))
        self.flat("grey.png", (188, 100, 20))
        said = self.composite("b.exr", "grey.png", "--linear", out="o.exr")[1]
        self.assertRegex(said, r"note: grey\.png: converted from .*\(assumed\) to .*\(assumed\)")
        self.assertNotIn("the result is in", said)
        for below, out, counts_as in (("b.exr", "o.jpg", "sRGB"), ("grey.png", "o.exr", "gamma 1.0")):
            said = self.composite(below, "grey.png", "--linear", out=out)[1]
            self.assertRegex(said, rf"note: {below}: the result is in .*--profile '{counts_as}' converts")
        write_exr(self.path("l.exr"), np.float32([[[.5, .05, .01, 1]] * 4] * 4))
        self.composite("grey.png", "l.exr", "--depth", 8, "--profile", "sRGB")
        want = 255 * encode(np.array([.5, .05, .01]))
        self.assertLess(np.abs(self.pixels("o.png")[0, 0] - want).max(), 0.75)  # rounded after the conversion
        _, said = self.composite("grey.png", "l.exr", "--depth", 8)
        self.assertRegex(said, r"\Avx: note: l\.exr: is in .*; drawn without conversion, --profile or --linear")
        self.assertEqual(self.pixels("o.png")[0, 0].tolist(), [128, 13, 3])


class Conversion(ColorTest):
    def test_a_layer_in_another_profile(self):
        pixels = np.dstack([P3, [[0, 128, 255]]]).astype(np.uint8)
        self.tif("b.tif", np.zeros((1, 3, 4), np.uint8))
        self.picture("l.png", pixels, "Display P3")
        record, said = self.composite("b.tif", "l.png", "--mode", "copy", "--linear")
        got = self.pixels("o.png")
        self.assertLess(np.abs(got[..., :3] - IN_SRGB).max(), 0.6)  # the transparent pixel too
        np.testing.assert_array_equal(got[..., 3], pixels[..., 3])
        self.assertIn("P3", record["layers"][0]["converted_from"])
        self.assertRegex(said, r"note: l\.png: converted from .*P3.* to ")
        _, said = self.composite("b.tif", "l.png", "--mode", "copy")
        np.testing.assert_array_equal(self.pixels("o.png"), pixels)
        self.assertRegex(said, r"\Avx: note: l\.png: is in .*P3, the background in [^\n]*\n\Z")

    def test_the_profile_of_the_composition(self):
        for name, profile in (("plain.png", None), ("p3.png", "Display P3")):
            self.picture(name, np.tile(P3, (8, 2, 1)), profile)
        self.picture("clear.png", np.zeros((1, 1, 4), np.uint8), "Display P3")
        record, said = self.composite("p3.png", "plain.png", "--profile", "sRGB", "--opacity", 0)
        self.assertEqual(self.embedded("o.png"), self.profile("sRGB"))
        self.assertLess(np.abs(self.pixels("o.png")[:1, :3] - IN_SRGB).max(), 0.6)
        self.assertIn("P3", record["color"]["background_converted_from"])
        self.assertNotIn("converted_from", record["layers"][0])
        for word in ("Display-P3.icc", "p3.png"):  # a profile file, and a picture with an embedded profile
            self.composite("plain.png", "p3.png", "--profile", word, "--at", "3,0")
            self.assertEqual(self.embedded("o.png"), self.profile("Display P3"))
            np.testing.assert_array_equal(self.pixels("o.png")[:1, 3:], P3)
        said = self.composite("plain.png", "clear.png", "--profile", "display p3", out="o.bmp")[1]
        self.assertRegex(said, r"warning: o\.bmp: bmp holds no profile; .*P3, count as sRGB")
        said = self.composite("plain.png", "clear.png", "--profile", "gamma 1.0", out="o.exr")[1]
        self.assertNotIn("warning", said)

    def test_no_conversion_between_equal_profiles(self):
        other = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()  # other bytes, the same colours
        pixels = random_pixels(3, 8, 8, channels=3)
        self.picture("b.png", np.zeros((8, 8, 3), np.uint8), other)
        self.picture("l.png", pixels, "sRGB")
        record, said = self.composite("b.png", "l.png", "--mode", "copy", "--linear")
        np.testing.assert_array_equal(self.pixels("o.png"), pixels)
        self.assertNotIn("converted", said + str(record))

    def test_invalid_profiles_count_as_absent(self):
        good = self.profile("gamma 1.0")
        self.flat("white.png", (255, 255, 255))
        words = ("--opacity", .5, "--linear")
        for name, bits in {"truncated.jpg": good[:200], "garbage.tif": b"not a profile at all. " * 20,
                           "CMYK.png": good[:16] + b"CMYK" + good[20:],
                           "huge.tif": (100 << 20).to_bytes(4, "big") + good[4:]}.items():
            bad = self.flat(name, (0, 0, 0), bits)
            record, said = self.composite(bad, "white.png", *words)
            self.assertRegex(said, rf"vx: warning: {bad}: its embedded profile .*absent\n")
            self.assertEqual((self.pixels("o.png")[0, 0, 0], record["color"]["profile_from"]), (188, "assumed"))
            self.assertNotIn("libpng", said)
            for below, layer in ((bad, "white.png"), ("white.png", bad)):
                _, said = self.composite(below, layer, *words, "--strict", out="strict.png", code=INPUT)
                self.assertRegex(said.splitlines()[-1], rf"\Avx: {bad}: its embedded .* \(--strict\)\Z")
        self.assertNotIn("strict.png", self.names())
        # A verb that does not use the profile copies its bytes, if the format takes them.
        self.assertEqual(self.vx("convert", "truncated.jpg", "-o", "t.tif")[1], "")
        self.assertEqual(self.embedded("t.tif"), good[:200])
        # The illuminant of the second one is not that of the standard, which libpng alone objects to.
        for name in ("truncated.jpg", self.flat("odd.tif", (0, 0, 0), good[:68] + bytes(12) + good[80:])):
            said = self.vx("convert", name, "--overwrite", "-o", "t.png")[1]
            self.assertRegex(said, r"\Avx: warning: t\.png: png does not take the profile [^\n]*\n\Z")

    def test_each_frame_uses_the_profile_of_its_background(self):
        self.flat("white.png", (255, 255, 255))
        for frame, gamma in enumerate((1.8, 2.2, 1.8, 2.2)):
            self.flat(f"b.{frame}.png", (0, 0, 0), f"gamma {gamma}")
        _, said = self.vx("composite", "b.#.png", "--layer", "white.png", "--opacity", .5, "--linear", "-o", "o.#.png",
                          "--threads", 3)
        self.assertEqual(said.count("blended in linear light"), 2, "once for each profile")
        self.assertEqual(said.count("white.png: converted"), 2)
        for frame, gamma in enumerate((1.8, 2.2, 1.8, 2.2)):
            self.assertLess(np.abs(self.pixels(f"o.{frame}.png") - 255 * (128 / 255) ** (1 / gamma)).max(), .75)


class Profiles(ColorTest):
    def test_built_in(self):
        listed = json.loads(self.vx("profile", "--list", "--json")[0])
        self.assertEqual([p["name"] for p in listed], ["sRGB", "gamma 1.0", "gamma 1.8", "gamma 2.2", "gamma 2.4",
                                                       "Rec.709", "Display P3", "ProPhoto"])
        self.assertIn("Rec.709", self.vx("profile", "--list")[0])
        record = json.loads(self.vx("profile", "gamma 2.2", "--json", "--plot", "c.png")[0])
        self.assertIn([record["id"], record["exponent"]], [[p["id"], p["exponent"]] for p in listed])
        want = (np.arange(256) / 255) ** 2.2
        self.assertLess(np.abs(record["curve"] - want * record["curve_full"]).max(), 12)
        red = np.subtract(*np.moveaxis(self.pixels("c.png").astype(int), 2, 0)[:2]) > 100
        rows = 268 - np.nonzero(red[:, 12 + 128])[0]
        self.assertLess(abs(rows.mean() - 256 * want[128]), 2)

    def test_files_and_pictures(self):
        record = json.loads(self.vx("profile", "Display P3", "--json", "--write", "p.icm")[0])
        self.assertEqual(len(self.contents("p.icm")), record["bytes"])
        os.rename(self.path("p.icm"), self.path("p.bin"))  # recognized by its contents
        self.picture("p.png", random_pixels(1, 4, 4), self.contents("p.bin"))
        for word, source in (("p.bin", "file"), ("p.png", "embedded")):
            again = json.loads(self.vx("profile", word, "--json")[0])
            self.assertEqual(again, record | {"profile": again["profile"], "from": source})
        text = self.vx("profile", "p.png")[0]
        for word in (record["id"], "embedded", "128  0.2158", "255  1.00000"):
            self.assertIn(word, text)

    def test_every_verb_keeps_the_profile_of_its_first_input(self):
        self.picture("second.png", random_pixels(2, 12, 10), "gamma 1.8")
        kept = self.profile("Display P3")
        self.picture("a.png", random_pixels(1, 12, 10, channels=3), kept)
        for verb, words in {"composite": "--layer second.png", "copy": "--from 2,2,9,9", "resize": "--scale 2",
                            "blur": "--gaussian 2", "premultiply": "", "fill": "--color 9,8,7,6"}.items():
            self.vx(verb, "a.png", *words.split(), "-o", "o.png")
            self.assertEqual(self.embedded("o.png"), kept, verb)
        self.vx("modes", "--sheet", "a.png", "second.png", "-o", "o.png", "--tile", 20)
        self.vx("compare", "a.png", "second.png", "--diff", "d.png", code=1)
        self.assertEqual((self.embedded("o.png"), self.embedded("d.png")), (kept, kept))


if __name__ == "__main__":
    unittest.main()
