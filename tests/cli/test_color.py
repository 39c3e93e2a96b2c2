# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Colour: blending in linear light, profiles and what is converted, vx profile."""

import json
import os
import unittest

import numpy as np
from PIL import Image, ImageCms
from vxcommand import (CommandTest, contents, random_pixels, read_exr, read_tiff, write_exr,
                       write_tiff)

USAGE, INPUT, OUTPUT = 2, 3, 4

# Red, green and blue as columns of X, Y, Z, both with white at D65.
SRGB = np.array([[.4123908, .3575843, .1804808], [.2126390, .7151687, .0721923],
                 [.0193308, .1191948, .9505322]])
P3 = np.array([[.4865709, .2656677, .1982173], [.2289746, .6917385, .0792869], [0, .0451134, 1.0439444]])


def decode(v):
    return np.where(v <= .04045, v / 12.92, ((v + .055) / 1.055) ** 2.4)


def encode(v):
    v = np.clip(v, 0, 1)
    return np.where(v <= .0031308, v * 12.92, 1.055 * v ** (1 / 2.4) - .055)


def p3_to_srgb(v):
    return encode(decode(v) @ np.linalg.solve(SRGB, P3).T)


class ColorTest(CommandTest):
    def profile(self, name):
        """The bytes of a built-in profile."""
        path = name.replace(" ", "-") + ".icc"
        if not os.path.exists(self.path(path)):
            self.vx("profile", name, "--write", path)
        return contents(self.path(path))

    def picture(self, name, pixels, profile=None):
        """uint8 RGB or RGBA; a profile by name or as bytes."""
        bits = self.profile(profile) if isinstance(profile, str) else profile
        Image.fromarray(pixels).save(self.path(name), icc_profile=bits)
        return name

    def flat(self, name, color, profile=None):
        return self.picture(name, np.full((4, 4, len(color)), color, np.uint8), profile)

    def composite(self, below, layer, *words, out="o.png", code=0):
        """Gives the JSON record and what was said."""
        told, said = self.vx("composite", below, "--layer", layer, "-o", out, "--json", *words, code=code)
        return json.loads(told) if told else None, said

    def embedded(self, name):
        with Image.open(self.path(name)) as image:
            return image.info.get("icc_profile")


class LinearLight(ColorTest):
    def test_half_white_over_black(self):
        self.flat("white.png", (255, 255, 255))
        self.flat("plain.png", (0, 0, 0))
        half = 128 / 255  # opacity 0.5 at 8 bits
        want = {"sRGB": encode(half), "gamma 1.0": half, "gamma 1.8": half ** (1 / 1.8),
                "gamma 2.2": half ** (1 / 2.2), "gamma 2.4": half ** (1 / 2.4),
                "Rec.709": 1.099 * half ** .45 - .099, "Display P3": encode(half),
                "ProPhoto": half ** (1 / 1.8)}
        for name, value in want.items():
            for below, words in ((self.flat("own.png", (0, 0, 0), name), ()),
                                 ("plain.png", ("--profile", name.upper()))):
                told, said = self.composite(below, "white.png", "--opacity", .5, "--linear", *words)
                near = np.abs(self.pixels("o.png").astype(int) - 255 * value).max()
                self.assertLess(near, 0.75, f"{name} {words}")
                self.assertEqual(self.embedded("o.png"), self.profile(name))
                self.assertEqual(told["color"]["profile_from"], "option" if words else "background")
                self.assertIn(f"{below}: blended in linear light by the curve of "
                              + told["color"]["profile"], said)
        told, said = self.composite("plain.png", "white.png", "--opacity", .5, "--linear")
        self.assertEqual(self.pixels("o.png")[0, 0].tolist(), [188] * 3)
        self.assertEqual((told["color"]["linear"], told["color"]["profile_from"]), (True, "assumed"))
        self.assertIn("note: plain.png: blended in linear light by the curve of", said)
        self.assertIsNone(self.embedded("o.png"))
        told, said = self.composite("plain.png", "white.png", "--opacity", .5)
        self.assertEqual(self.pixels("o.png")[0, 0].tolist(), [128] * 3)
        self.assertEqual((said, "color" in told), ("", False))

    def test_deeper_pictures(self):
        self.flat("white.png", (255, 255, 255))
        self.png("b16.png", np.zeros((4, 4, 3), np.uint16))
        self.composite("b16.png", "white.png", "--opacity", .5, "--linear")
        self.assertLess(np.abs(self.pixels("o.png") / 65535. - encode(.5)).max(), 2 / 4096)
        write_tiff(self.path("bf.tif"), np.float32([[[0, 0, 0, 1]] * 4] * 4))
        self.composite("bf.tif", "white.png", "--opacity", .5, "--linear", out="o.tif")
        exponent = json.loads(self.vx("profile", "sRGB", "--json")[0])["exponent"]
        np.testing.assert_allclose(read_tiff(self.path("o.tif"))[0][..., :3], .5 ** (1 / exponent), 1e-6)

    def test_exr_counts_as_linear(self):
        write_exr(self.path("b.exr"), np.float32([[[0, 0, 0, 1]] * 4] * 4))
        self.flat("white.png", (255, 255, 255))
        told, _ = self.composite("b.exr", "white.png", "--opacity", .5, "--linear", out="o.exr")
        self.assertEqual(told["color"]["profile_from"], "assumed")
        np.testing.assert_allclose(read_exr(self.path("o.exr"), 4, 4)[..., :3], .5, rtol=1e-6)
        # What is stored as sRGB becomes linear under it, and the other way round.
        self.flat("grey.png", (188, 100, 20))
        told, said = self.composite("b.exr", "grey.png", "--linear", out="o.exr")
        self.assertNotIn("the result is in", said)
        np.testing.assert_allclose(read_exr(self.path("o.exr"), 4, 4)[0, 0, :3],
                                   decode(np.array([188, 100, 20]) / 255), atol=2e-4)
        self.assertRegex(said, r"note: grey\.png: converted from .*\(assumed\) to .*\(assumed\)")
        for below, out, counts_as in (("b.exr", "o.jpg", "sRGB"), ("grey.png", "o.exr", "gamma 1.0")):
            said = self.composite(below, "grey.png", "--linear", out=out)[1]
            self.assertRegex(said, rf"note: {below}: the result is in .*--profile '{counts_as}' converts")
        write_exr(self.path("l.exr"), np.float32([[[.5, .05, .01, 1]] * 4] * 4))
        for words in (("--linear",), ("--profile", "sRGB")):
            self.composite("grey.png", "l.exr", "--depth", 8, *words)
            near = self.pixels("o.png")[0, 0] - 255 * encode(np.array([.5, .05, .01]))
            self.assertLess(np.abs(near).max(), 0.75)  # not rounded to 8 bits while it was linear
        _, said = self.composite("grey.png", "l.exr", "--depth", 8)
        self.assertRegex(said, r"\Avx: note: l\.exr: is in .*; drawn as it stands, --profile or --linear")
        self.assertEqual(self.pixels("o.png")[0, 0].tolist(), [128, 13, 3])


class Conversion(ColorTest):
    def test_a_layer_in_another_profile(self):
        pixels = random_pixels(1, 16, 9)
        pixels[..., :3] = pixels[..., :3] // 4 + 90  # within sRGB
        below = "b.tif"
        write_tiff(self.path(below), np.zeros((16, 9, 4), np.uint8))
        self.picture("l.png", pixels, "Display P3")
        want = 255 * p3_to_srgb(pixels[..., :3] / 255)
        for depth in (8, 16, 32):
            told, said = self.composite(below, "l.png", "--mode", "copy", "--linear", "--depth", depth,
                                        out="o.tif")
            got = read_tiff(self.path("o.tif"))[0] * {8: 1., 16: 1 / 257, 32: 255.}[depth]
            self.assertLess(np.abs(got[..., :3] - want).max(), {8: 1.01, 16: .1, 32: .1}[depth])
            self.assertLess(np.abs(got[..., 3] - pixels[..., 3]).max(), .005)  # hidden colours move too
            self.assertIn("P3", told["layers"][0]["converted_from"])
            self.assertRegex(said, r"note: l\.png: converted from .*P3.* to ")
        _, said = self.composite(below, "l.png", "--mode", "copy")
        np.testing.assert_array_equal(self.pixels("o.png"), pixels)
        self.assertRegex(said, r"\Avx: note: l\.png: is in .*P3, the background in [^\n]*\n\Z")

    def test_the_profile_of_the_composition(self):
        pixels = random_pixels(2, 8, 8, channels=3) // 4 + 90
        self.picture("plain.png", pixels)
        self.picture("p3.png", pixels, "Display P3")
        self.picture("clear.png", np.zeros((1, 1, 4), np.uint8), "Display P3")
        told, said = self.composite("p3.png", "plain.png", "--profile", "sRGB", "--opacity", 0)
        self.assertEqual(self.embedded("o.png"), self.profile("sRGB"))
        self.assertLess(np.abs(self.pixels("o.png") - 255 * p3_to_srgb(pixels / 255)).max(), 1.01)
        self.assertIn("P3", told["color"]["background_converted_from"])
        self.assertNotIn("converted_from", told["layers"][0])
        # A file, and a picture that holds one; there and back is the same within a step.
        for word in ("Display-P3.icc", "p3.png", "display p3"):
            self.composite("plain.png", "p3.png", "--profile", word, "--at", "4,0", out="q.png")
            self.assertEqual(self.embedded("q.png"), self.profile("Display P3"))
            np.testing.assert_array_equal(self.pixels("q.png")[:, 4:], pixels[:, :4])
            self.composite("q.png", "clear.png", "--profile", "sRGB")
            self.assertLessEqual(np.abs(self.pixels("o.png")[:, :4].astype(int) - pixels[:, :4]).max(), 1)
        # What a format without profiles loses.
        said = self.composite("plain.png", "clear.png", "--profile", "display p3", out="o.bmp")[1]
        self.assertRegex(said, r"warning: o\.bmp: bmp holds no profile; .*P3, count as sRGB")
        for profile, out in (("sRGB", "o.bmp"), ("gamma 1.0", "o.exr")):
            said = self.composite("plain.png", "clear.png", "--profile", profile, out=out)[1]
            self.assertNotIn("warning", said)

    def test_the_same_colours_by_another_program_are_not_converted(self):
        other = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        self.assertNotEqual(other, self.profile("sRGB"))
        pixels = random_pixels(3, 8, 8, channels=3)
        for below, layer in ((None, other), (other, None), (other, "sRGB")):
            self.picture("b.png", np.zeros((8, 8, 3), np.uint8), below)
            self.picture("l.png", pixels, layer)
            told, said = self.composite("b.png", "l.png", "--mode", "copy", "--linear")
            np.testing.assert_array_equal(self.pixels("o.png"), pixels)
            self.assertNotIn("converted", said + str(told))
            self.assertEqual(self.composite("b.png", "l.png")[1], "")

    def test_masks_are_numbers(self):
        self.flat("b.png", (0, 0, 0))
        self.flat("white.png", (255, 255, 255))
        self.flat("mask.png", (128, 128, 128), "gamma 1.0")
        for words, want in ((("--profile", "sRGB"), 128), (("--linear",), 188)):
            said = self.composite("b.png", "white.png", "--mask", "mask.png", *words)[1]
            self.assertEqual(self.pixels("o.png")[0, 0, 0], want)
            self.assertNotIn("mask.png", said)

    def test_profiles_that_cannot_be_used(self):
        good = self.profile("gamma 1.0")
        broken = {"truncated": good[:200], "garbage": b"not a profile at all. " * 20,
                  "CMYK": good[:16] + b"CMYK" + good[20:],
                  "huge": (100 << 20).to_bytes(4, "big") + good[4:]}
        self.flat("white.png", (255, 255, 255))
        self.flat("black.png", (0, 0, 0))
        words = ("--opacity", .5, "--linear")
        for what, bits in broken.items():
            for kind in ("tif", "jpg", "png"):
                bad = self.flat(f"{what}.{kind}", (0, 0, 0), bits)
                with self.subTest(what, kind=kind):
                    told, said = self.composite(bad, "white.png", *words)
                    self.assertRegex(said, rf"vx: warning: {bad}: its embedded profile .*absent\n")
                    self.assertEqual((self.pixels("o.png")[0, 0, 0], told["color"]["profile_from"]),
                                     (188, "assumed"))
                    self.assertIsNone(self.embedded("o.png"))
                    self.assertNotIn("libpng", said)
        os.remove(self.path("o.png"))
        for bad in ("truncated.tif", "garbage.jpg", "CMYK.png", "huge.tif"):
            with self.subTest(bad):
                for below, layer in ((bad, "white.png"), ("black.png", bad)):
                    _, said = self.composite(below, layer, *words, "--strict", code=INPUT)
                    self.assertRegex(said.splitlines()[-1], rf"\Avx: {bad}: its embedded .* \(--strict\)\Z")
                self.assertNotIn("o.png", self.names())
                _, said = self.vx("profile", bad, code=INPUT)
                self.assertRegex(said.splitlines()[-1], rf"\Avx: {bad}: .*; name an .icc file or")
        # Bytes that nobody looked into travel as they are, where the format does not mind.
        self.assertEqual(self.vx("convert", "truncated.jpg", "-o", "t.tif")[1], "")
        self.assertEqual(self.embedded("t.tif"), broken["truncated"])
        said = self.vx("convert", "truncated.jpg", "-o", "t.png")[1]
        self.assertRegex(said, r"\Avx: warning: t\.png: png does not take the profile [^\n]*\n\Z")


class Sequences(ColorTest):
    def test_each_frame_has_its_background_s_tables(self):
        self.flat("white.png", (255, 255, 255))
        want = {}
        for frame in range(1, 13):
            name, exponent = (("gamma 1.0", 1), ("gamma 1.8", 1.8), ("gamma 2.2", 2.2))[frame % 3]
            self.flat("b.%02d.png" % frame, (0, 0, 0), name)
            want[frame] = 255 * (128 / 255) ** (1 / exponent)
        words = ("composite", "b.##.png", "--layer", "white.png", "--opacity", .5, "--linear", "--resume")
        _, said = self.vx(*words, "-o", "o.##.png", "--threads", 6)
        self.assertEqual(said.count("blended in linear light"), 3, "once for each profile")
        self.assertEqual(said.count("white.png: converted"), 0 + 3)
        self.vx(*words, "-o", "p.##.png", "--threads", 1)
        for frame, value in want.items():
            self.assertLess(np.abs(self.pixels("o.%02d.png" % frame) - value).max(), .75)
            self.assertEqual(*(contents(self.path(f"{n}.{frame:02d}.png")) for n in "op"))
        for more, status in (((), "up_to_date"), (("--profile", "sRGB"), "done")):
            told = self.vx(*words, *more, "-o", "o.##.png", "--json")[0].splitlines()
            self.assertEqual({json.loads(line)["status"] for line in told[:-1]}, {status})


class Profiles(ColorTest):
    def test_built_in(self):
        listed = json.loads(self.vx("profile", "--list", "--json")[0])
        curves = {"sRGB": decode, "Display P3": decode, "gamma 1.0": lambda v: v,
                  "Rec.709": lambda v: np.where(v < .081, v / 4.5, ((v + .099) / 1.099) ** (1 / .45))}
        self.assertEqual([p["name"] for p in listed],
                         ["sRGB", "gamma 1.0", "gamma 1.8", "gamma 2.2", "gamma 2.4", "Rec.709",
                          "Display P3", "ProPhoto"])
        at = np.linspace(.1, .9, 16)
        for p in listed:
            name = p["name"]
            self.assertIn(name, self.vx("profile", "--list")[0])
            told = json.loads(self.vx("profile", name, "--json")[0])
            self.assertEqual((told["id"], told["exponent"], told["from"]), (p["id"], p["exponent"], "built in"))
            if name in curves:
                want = curves[name](np.arange(256) / 255) * told["curve_full"]
                self.assertLess(np.abs(told["curve"] - want).max(), 12, name)
                powers = at ** np.arange(.5, 3, .0005)[:, None]
                fit = np.arange(.5, 3, .0005)[((powers - curves[name](at)) ** 2).sum(1).argmin()]
                self.assertAlmostEqual(told["exponent"], fit, delta=.001)
            elif name.startswith("gamma"):
                self.assertAlmostEqual(told["exponent"], float(name[6:]), 4)
        self.assertEqual(len({p["id"] for p in listed}), 8)

    def test_files_and_pictures(self):
        told = json.loads(self.vx("profile", "Display P3", "--json", "--write", "p.icm")[0])
        self.assertEqual(len(contents(self.path("p.icm"))), told["bytes"])
        os.rename(self.path("p.icm"), self.path("p.bin"))  # known by its mark
        self.picture("p.png", random_pixels(1, 4, 4), contents(self.path("p.bin")))
        for word, where in (("p.bin", "file"), ("p.png", "embedded")):
            again = json.loads(self.vx("profile", word, "--json")[0])
            self.assertEqual({**again, "profile": 0, "from": 0}, {**told, "profile": 0, "from": 0})
            self.assertEqual(again["from"], where)
        text = self.vx("profile", "p.png")[0]
        for word in (told["id"], "embedded", "128  0.2158", "255  1.00000"):
            self.assertIn(word, text)

    def test_plot(self):
        for name, curve in (("gamma 2.2", lambda v: v ** 2.2), ("gamma 1.0", lambda v: v)):
            self.vx("profile", name, "--plot", "c.png")
            got = self.pixels("c.png").astype(int)
            self.assertEqual(got.shape, (280, 280, 3))
            red = got[..., 0] - got[..., 1] > 100
            for x in (40, 128, 200):
                rows = 268 - np.nonzero(red[:, 12 + x])[0]
                self.assertLess(abs(rows.mean() - 256 * curve(x / 256)), 2, f"{name} at {x}")

    def test_refusals(self):
        self.flat("plain.png", (1, 2, 3))
        with open(self.path("bad.icc"), "wb") as file:
            file.write(self.profile("sRGB")[:100])
        before = self.names()
        builtins = "sRGB, gamma 1.0, .*ProPhoto"
        for code, said, words in (
                (USAGE, "needs a FILE or NAME", ()),
                (USAGE, "profile 'sRBG': is neither a file nor .*" + builtins, ("sRBG",)),
                (USAGE, "must end in .icc", ("sRGB", "--write", "o.png")),
                (USAGE, "--list: stands alone", ("sRGB", "--list")),
                (INPUT, "no.icc: no such file", ("no.icc",)),
                (INPUT, "no/sRGB: no such file", ("no/sRGB",)),
                (INPUT, "bad.icc: claims more bytes than it has", ("bad.icc",)),
                (INPUT, "plain.png: has no embedded profile", ("plain.png",)),
                (OUTPUT, "bad.icc: exists", ("sRGB", "--write", "bad.icc", "--no-clobber")),
                (OUTPUT, "o.gif: the extension", ("sRGB", "--write", "o.icc", "--plot", "o.gif"))):
            with self.subTest(words):
                _, error = self.vx("profile", *words, code=code)
                self.assertRegex(error, rf"\Avx: [^\n]*{said}[^\n]*\n\Z")
        for code, word in ((USAGE, "sRBG"), (INPUT, "no.icc"), (INPUT, "bad.icc"), (INPUT, "plain.png")):
            _, error = self.composite("plain.png", "plain.png", "--profile", word, code=code)
            self.assertRegex(error, r"\Avx: [^\n]*\n\Z")
        self.assertEqual(self.names(), before)


class EveryVerb(ColorTest):
    def test_keeps_the_profile_of_its_first_input(self):
        with open(self.path("k.txt"), "w") as file:
            file.write("0 1 0\n1 4 1\n0 1 0\n")
        self.picture("second.png", random_pixels(2, 24, 20), "gamma 1.8")
        verbs = {"composite": ("--layer", "second.png"), "copy": ("--from", "2,2,9,9"),
                 "resize": ("--scale", 2), "blur": ("--gaussian", 2), "convolve": ("--kernel", "k.txt"),
                 "convert": ("--depth", 16), "premultiply": (), "unpremultiply": (),
                 "fill": ("--color", "9,8,7,6", "--area", "0,0,2,2")}
        kept = self.profile("Display P3")

        def check(verb, source, target, *words):
            self.vx(verb, source, *words, "-o", target)
            self.assertEqual(self.embedded(target), kept, f"{verb} {source} {target}")

        for kind in ("png", "tif", "jpg"):
            self.picture("a." + kind, random_pixels(1, 24, 20, channels=3), kept)
        for verb, words in verbs.items():
            check(verb, "a.png", "o.png", *words)
        for source, target in (("tif", "png"), ("jpg", "tif"), ("png", "jpg"), ("tif", "tif")):
            check("convert", "a." + source, "o." + target)
        self.vx("modes", "--sheet", "a.png", "second.png", "-o", "o.png", "--tile", 20)
        self.assertEqual(self.embedded("o.png"), kept)
        self.vx("compare", "a.png", "second.png", "--diff", "d.png", code=1)
        self.assertEqual(self.embedded("d.png"), kept)


if __name__ == "__main__":
    unittest.main()
