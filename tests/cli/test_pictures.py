# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""copy, resize, convert, premultiply, unpremultiply, guess-alpha: values and refusals."""

import json
import unittest

import numpy as np
from vxcommand import CommandTest, contents, random_pixels, read_exr, read_tiff, write_exr, write_tiff

FULL = {np.uint8: 255, np.uint16: 65535, np.float32: 1}


def deep(codes):
    """16-bit codes of a file on the scale of 32768."""
    return (codes.astype(np.int64) * 32768 + 32767) // 65535


def codes(values):
    """And back."""
    return (values * 65535 + 16384) >> 15


def axis(source, target):
    """The share of each source pixel in each target pixel, along one axis."""
    shares = np.zeros((target, source))
    for i in range(target):
        left, right = i * source / target, (i + 1) * source / target
        if target > source:  # a window of one pixel; beyond the border stands the border pixel
            left, right = (left + right - 1) / 2, (left + right + 1) / 2
        for j in range(int(np.floor(left)), int(np.ceil(right))):
            covered = max(0, min(right, j + 1) - max(left, j))
            shares[i, min(max(j, 0), source - 1)] += covered / (right - left)
    return shares


def nearest(source, target, first=0):
    """The source pixel of each target pixel, along one axis: a position of 16.16 that steps on."""
    return first + (np.arange(target) * ((source << 16) // target) >> 16)


def resized(pixels, width, height):
    """Both ends on the scale of 0 to 1, alpha last."""
    rows, columns = axis(pixels.shape[0], height), axis(pixels.shape[1], width)
    mix = lambda plane: rows @ plane @ columns.T
    alpha = mix(pixels[..., 3])
    with np.errstate(invalid="ignore", divide="ignore"):
        colour = [np.where(alpha > 0, mix(pixels[..., c] * pixels[..., 3]) / alpha, 0)
                  for c in range(3)]
    return np.dstack(colour + [alpha])


class PictureTest(CommandTest):
    def run_on(self, pixels, verb, *words, name="in.png", out="out.png"):
        """What the verb makes of the pixels, and what it says."""
        self.png(name, pixels)
        said = self.vx(verb, name, *words, "-o", out)
        return self.pixels(out), said[1]


class Copy(PictureTest):
    def test_placing(self):
        picture = random_pixels(1, 10, 14)
        small = picture[nearest(10, 21)][:, nearest(14, 9)]
        # A cut of the target takes its share of the source: 5 * 10 / 21 and 4 * 14 / 9 whole pixels.
        cut = picture[nearest(10, 21, 2)[:7]][:, nearest(14, 9, 6)[:5]]

        def canvas(width, height, part=None, x=0, y=0):
            out = np.zeros((height, width, 4), np.uint8)
            if part is not None:
                out[y:y + part.shape[0], x:x + part.shape[1]] = part
            return out

        for words, want in {
                (): picture,
                ("--from", "3,2,9,5"): picture[2:5, 3:9],
                ("--from", "-3,-2,5,4"): canvas(8, 6, picture[:4, :5], 3, 2),
                ("--size", "20x4"): canvas(20, 4, picture[:4]),
                ("--to", "-2,5,12,15"): canvas(14, 10, picture[:5, 2:], 0, 5),
                ("--from", "10,1,16,4", "--to", "2,3,8,6", "--size", "6x9"):
                    canvas(6, 9, picture[1:4, 10:14], 2, 3),
                ("--to", "0,0,9,21", "--size", "9x21", "--quality", "draft"): small,
                ("--to", "-4,-5,5,16", "--size", "6x7", "--quality", "draft"): canvas(6, 7, cut)
        }.items():
            with self.subTest(words):
                got, said = self.run_on(picture, "copy", *words)
                np.testing.assert_array_equal(got, want)
                self.assertEqual(said, "")
        for words in (("--from", "50,0,60,10"), ("--to", "0,10,14,20"),
                      # on the canvas lies only what overhangs the picture
                      ("--from", "-10,0,14,10", "--to", "0,0,48,20", "--size", "20x20")):
            got, said = self.run_on(picture, "copy", *words)
            self.assertIn("note: in.png: nothing is copied", said)
            self.assertFalse(got.any())

    def test_scaled_parts_are_pictures_of_their_own(self):
        self.png("in.png", random_pixels(2, 20, 30))
        for part, sides, place in (("5,4,21,16", "40x7", (3, 2)), ("-4,6,10,26", "9x33", (-2, -5))):
            self.vx("copy", "in.png", "--from", part, "-o", "part.png")
            self.vx("resize", "part.png", "--size", sides, "-o", "scaled.png")
            width, height = map(int, sides.split("x"))
            x, y = place
            self.vx("copy", "scaled.png", "--to", f"{x},{y},{x + width},{y + height}", "--size",
                    "50x25", "-o", "want.png")
            self.vx("copy", "in.png", "--from", part, "--to",
                    f"{x},{y},{x + width},{y + height}", "--size", "50x25", "-o", "out.png")
            np.testing.assert_array_equal(self.pixels("out.png"), self.pixels("want.png"))

    def test_alpha_comes_only_with_transparent_pixels(self):
        opaque = random_pixels(3, 8, 8, channels=3)
        for words, channels in ((("--to", "-1,-1,30,30"), 3), (("--from", "2,2,6,6"), 3),
                                (("--size", "9x8"), 4)):
            got, _ = self.run_on(opaque, "copy", *words)
            self.assertEqual(got.shape[2], channels, words)


class Resize(PictureTest):
    def test_values_at_each_depth(self):
        for dtype, step in ((np.uint8, 1 / 255), (np.uint16, 1 / 32768), (np.float32, 2e-6)):
            for width, height in ((6, 5), (7, 3), (48, 51), (5, 40), (24, 20)):
                with self.subTest(dtype=dtype, size=(width, height)):
                    pixels = random_pixels(4, 20, 24, np.uint16 if dtype == np.float32 else dtype)
                    pixels = (pixels / np.float32(65535)) if dtype == np.float32 else pixels
                    write_tiff(self.path("in.tif"), pixels)
                    self.vx("resize", "in.tif", "--size", f"{width}x{height}", "-o", "out.tif")
                    got = read_tiff(self.path("out.tif"))[0] / FULL[dtype]
                    want = resized(pixels.astype(float) / FULL[dtype], width, height)
                    # Half a step of rounding, and what positions of 1/65536 pixel come to.
                    solid = want[..., 3] > 0.05
                    near = np.abs(got - want)
                    self.assertLess(near[..., 3].max(), 0.6 * step + 3e-5)
                    self.assertLess(near[solid].max(), 0.6 * step + 4e-4)

    def test_draft_and_same_size(self):
        pixels = random_pixels(5, 12, 10)
        for width, height in ((25, 5), (10, 12)):
            got, _ = self.run_on(pixels, "resize", "--size", f"{width}x{height}", "--quality", "draft")
            want = pixels[nearest(12, height)][:, nearest(10, width)]
            np.testing.assert_array_equal(got, want)
        # Nothing to mix: the colours under alpha 0 stay.
        np.testing.assert_array_equal(self.run_on(pixels, "resize", "--scale", 1)[0], pixels)

    def test_sizes(self):
        for words, (width, height) in {
                ("--size", "9x0"): (9, 5), ("--size", "0x40"): (80, 40), ("--scale", "0.25"): (5, 3),
                ("--scale", "1.55"): (31, 16), ("--scale", "0.001"): (1, 1)}.items():
            got, _ = self.run_on(random_pixels(6, 10, 20), "resize", *words)
            self.assertEqual(got.shape[:2], (height, width), words)

    def test_opaque_pictures_stay_opaque(self):
        write_tiff(self.path("in.tif"), random_pixels(7, 11, 13))
        for depth in (8, 16, 32):  # in float, one rounding would be enough to need an alpha
            self.vx("convert", "in.tif", "--depth", depth, "--planes", "rgb", "-o", "opaque.tif")
            for size in ("40x37", "5x7", "40x3", "3x31"):
                self.vx("resize", "opaque.tif", "--size", size, "-o", "out.tif")
                self.assertEqual(read_tiff(self.path("out.tif"))[0].shape[2], 3, (depth, size))


class Convert(PictureTest):
    def through(self, pixels, *words):
        write_tiff(self.path("in.tif"), pixels)
        said = self.vx("convert", "in.tif", *words, "-o", "out.tif")[1]
        return read_tiff(self.path("out.tif"))[0], said

    def test_depths(self):
        wide = np.arange(65536, dtype=np.uint16).reshape(128, 128, 4)
        got, said = self.through(wide, "--depth", 8)
        np.testing.assert_array_equal(got, (deep(wide) * 255 + 16384) >> 15)
        self.assertEqual(said, "")
        np.testing.assert_array_equal(self.through(got, "--depth", 16)[0],
                                      codes((got.astype(int) * 32768 + 128) // 255))
        np.testing.assert_allclose(self.through(wide, "--depth", 32)[0], wide / 65535, rtol=1e-7)
        _, said = self.run_on(wide[:2], "convert", "--depth", 32)
        self.assertIn("warning: out.png: png holds at most 16 bits", said)

    def test_dither(self):
        ramp = np.linspace(20000, 20600, 128 * 128).astype(np.uint16).reshape(128, 128, 1).repeat(4, 2)
        for frame in (1, 2):
            write_tiff(self.path(f"in.{frame}.tif"), ramp)
        self.vx("convert", "in.#.tif", "--depth", 8, "--dither", "-o", "out.#.tif", "--threads", 4)
        self.assertEqual(contents(self.path("out.1.tif")), contents(self.path("out.2.tif")))
        got = read_tiff(self.path("out.1.tif"))[0]
        off = got - deep(ramp) * 255 / 32768
        self.assertLess(np.abs(off).max(), 1)
        self.assertLess(abs(off.mean()), 0.02)
        self.assertGreater((got != self.through(ramp, "--depth", 8)[0]).mean(), 0.1)
        # Grey noise on a grey picture, when one channel is asked for.
        grey, _ = self.through(ramp, "--depth", 8, "--dither", "--planes", "g")
        self.assertTrue((grey == grey[..., :1]).all() and len(np.unique(grey)) > 2)
        for words in (("--depth", 16), (), ("--depth", 32)):
            got, said = self.through(ramp, "--dither", *words)
            self.assertIn("note: in.tif: --dither has no effect", said)
            if 32 not in words:
                np.testing.assert_array_equal(got, codes(deep(ramp)))

    def test_meaning_of_alpha(self):
        pixels = random_pixels(8, 16, 9)
        alpha = pixels[..., 3:].astype(float)
        with np.errstate(invalid="ignore", divide="ignore"):
            ratio = np.floor(pixels[..., :3] * 255.0 / alpha + 0.5)
        divided = np.where(alpha > 0, np.minimum(np.nan_to_num(ratio), 255), 0)
        for associated in (False, True):
            write_tiff(self.path("in.tif"), pixels, associated)
            for word, want in (("straight", pixels), ("premultiplied", np.dstack([divided, alpha])),
                               ("ignore", pixels[..., :3])):
                with self.subTest(word, associated=associated):
                    self.vx("convert", "in.tif", "--alpha", word, "-o", "out.png")
                    np.testing.assert_array_equal(self.pixels("out.png"), want)
        _, said = self.run_on(pixels[..., :3], "convert", "--alpha", "ignore")
        self.assertIn("note: in.png: has no alpha: --alpha has no effect", said)

    def test_planes(self):
        pixels = random_pixels(9, 8, 8)
        for word in ("a", "r", "g", "b", "rb", "ag", "bgr", "argb"):
            with self.subTest(word):
                got, _ = self.run_on(pixels, "convert", "--planes", word)
                if len(word) == 1:
                    want = pixels[..., ["rgba".index(word)] * 3]
                else:
                    want = np.where([c in word for c in "rgba"], pixels, [0, 0, 0, 255])
                    want = want if "a" in word else want[..., :3]
                np.testing.assert_array_equal(got, want)


class Premultiply(PictureTest):
    def test_there_and_back(self):
        straight = random_pixels(10, 40, 40)
        alpha = straight[..., 3:].astype(float) / 255
        for matte in ((0, 0, 0), (255, 255, 255), (10, 200, 90)):
            words = ("--matte", ",".join(map(str, (7, *matte)))) if any(matte) else ()
            got, said = self.run_on(straight, "premultiply", *words)
            self.assertEqual(said, "")
            want = straight[..., :3] * alpha + matte * (1 - alpha)
            self.assertLessEqual(np.abs(got[..., :3] - want).max(), 1.01 if words else 0.51)
            np.testing.assert_array_equal(got[..., 3], straight[..., 3])
            back, _ = self.run_on(got, "unpremultiply", *words)
            # What rounding did to the product grows by 1 / alpha.
            off = np.abs(back[..., :3] - straight[..., :3].astype(float)) * alpha
            self.assertLessEqual(off[alpha[..., 0] > 0].max(), 1.6 if words else 1.02)
            self.assertFalse(back[alpha[..., 0] == 0][:, :3].any())

    def test_deeper_mattes(self):
        wide = np.array([[[60000, 30000, 0, 16384]]], np.uint16)
        got, _ = self.run_on(wide, "premultiply", "--matte", "0,32768,0,16384")
        np.testing.assert_allclose(got[0, 0], [64151, 7500, 24575, 16384], atol=3)
        write_tiff(self.path("in.tif"), np.array([[[2, -1, 0.5, 0.25]]], np.float32))
        self.vx("premultiply", "in.tif", "--matte", "0,1,2,-4", "-o", "out.tif")
        np.testing.assert_allclose(read_tiff(self.path("out.tif"))[0][0, 0],
                                   [1.25, 1.25, -2.875, 0.25], rtol=1e-6)

    def test_formats_that_multiply_by_themselves(self):
        self.png("in.png", random_pixels(11, 8, 8))
        warned = self.vx("premultiply", "in.png", "-o", "out.exr")[1]
        self.assertIn("warning: in.png: is multiplied twice: exr", warned)
        self.vx("premultiply", "in.png", "-o", "new.exr", "--strict", code=4)
        self.assertNotIn("new.exr", self.names())
        warned = self.vx("unpremultiply", "out.exr", "-o", "out.png")[1]
        self.assertIn("warning: out.exr: is divided twice", warned)
        self.png("rgb.png", random_pixels(11, 8, 8, channels=3))
        said = self.vx("premultiply", "rgb.png", "-o", "out.exr")[1]
        self.assertIn("note: rgb.png: has no alpha", said)
        self.assertNotIn("twice", said)


class GuessAlpha(PictureTest):
    def test_kinds(self):
        straight = random_pixels(12, 16, 16)
        alpha = straight[..., 3:].astype(int)
        black = (straight[..., :3] * alpha + 127) // 255
        kinds = {"straight": straight[..., :3], "premultiplied with black": black,
                 "premultiplied with white": black + 255 - alpha}
        partly = (alpha > 0) & (alpha < 255)
        for kind, colours in kinds.items():
            pixels = np.dstack([colours, alpha]).astype(np.uint8)
            self.png("in.png", pixels)
            self.assertEqual(self.vx("guess-alpha", "in.png"), (f"in.png: {kind}\n", ""))
            told = json.loads(self.vx("guess-alpha", "in.png", "--json")[0])
            self.assertEqual(told["alpha"], kind)
            self.assertEqual(told["partly_transparent"], partly.sum())
            self.assertEqual(told["beyond_black"], ((colours > alpha).any(-1, keepdims=True) & partly).sum())
            # Files that say otherwise are looked at as their samples stand.
            write_tiff(self.path("in.tif"), pixels, associated=True)
            out, said = self.vx("guess-alpha", "in.tif")
            self.assertEqual(out, f"in.tif: {kind}\n")
            self.assertEqual("the file itself says" in said, kind != "premultiplied with black")

    def test_undecided(self):
        for channels in (3, 4):
            pixels = random_pixels(13, 8, 8, channels=channels)
            pixels[..., 3:] = 255
            self.png("in.png", pixels)
            out, said = self.vx("guess-alpha", "in.png")
            self.assertEqual(out, "in.png: undecided\n")
            self.assertEqual(said, "vx: note: in.png: has no alpha\n" if channels == 3 else "")


class Refusals(CommandTest):
    def test_one_line_and_nothing_written(self):
        self.png("in.png", random_pixels(1, 8, 8))
        for words, said in {
                ("copy", "--from", "4,4,4,8"): "--from '4,4,4,8'.*R greater than L",
                ("copy", "--from", "-20000,0,20000,9"): "--from.*at most 30000",
                ("copy", "--to", "1,2,3"): "--to '1,2,3': must be four",
                ("copy", "--size", "0x5"): "--size width '0'.*1 to 30000",
                ("copy", "--size", "5"): "--size '5': must be WIDTHxHEIGHT",
                ("copy", "--quality", "best"): "--quality 'best': must be one of draft high",
                ("resize",): "--size WxH or --scale F",
                ("resize", "--size", "4x4", "--scale", "2"): "--size WxH or --scale F",
                ("resize", "--size", "0x0"): "only one side may be 0",
                ("resize", "--size", "-4x4"): "--size", ("resize", "--size", "4x30001"): "--size height '30001'",
                ("resize", "--scale", "0"): "--scale '0'.*0.00001 to 30000",
                ("resize", "--scale", "4000"): "in.png: would become 32000 pixels.*at most 30000",
                ("resize", "--size", "4x4", "--quality", ""): "--quality",
                ("convert", "--depth", "10"): "--depth '10': must be 8, 16, 32 or keep",
                ("convert", "--alpha", "yes"): "--alpha 'yes'.*straight premultiplied ignore",
                ("convert", "--planes", "rgbx"): "--planes 'rgbx'.*argb",
                ("convert", "--planes", "rr"): "--planes 'rr'",
                ("premultiply", "--matte", "1,2,3"): "--matte '1,2,3': must be four numbers",
                ("premultiply", "--matte", "0,256,0,0"): "--matte '256'.*0 to 255",
                ("unpremultiply", "--matte", "0,x,0,0"): "--matte 'x'"}.items():
            with self.subTest(words):
                verb, *rest = words
                out, error = self.vx(verb, "in.png", *rest, "-o", "out.png", code=2)
                self.assertRegex(error, rf"\Avx: [^\n]*{said}[^\n]*\n\Z")
                self.assertEqual((out, self.names()), ("", ["in.png"]))
        for verb in ("copy", "convert", "premultiply", "guess-alpha"):
            output = () if verb == "guess-alpha" else ("-o", "out.png")
            self.assertIn("no such file", self.vx(verb, "no.png", *output, code=3)[1])
        self.vx("copy", "in.png", "-o", "in.gif", code=4)
        self.vx("copy", "in.png", code=2)
        self.vx("guess-alpha", "in.png", "-o", "out.png", code=2)
        for verb in ("copy", "resize", "convert", "premultiply", "unpremultiply", "guess-alpha"):
            self.assertRegex(self.vx(verb, "--help")[0], rf"Examples?:\n  vx {verb} ")


if __name__ == "__main__":
    unittest.main()
