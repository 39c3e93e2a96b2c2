# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""copy, resize, convert, premultiply, unpremultiply, guess-alpha: what each option does to a picture."""

import json
import unittest

import numpy as np
from vxcommand import OUTPUT, CommandTest, random_pixels


class PictureTest(CommandTest):
    def result(self, pixels, verb, *words):
        """The result for these pixels, and the messages."""
        self.png("in.png", pixels)
        said = self.vx(verb, "in.png", *words, "-o", "out.png")[1]
        return self.pixels("out.png"), said


class Sizes(PictureTest):
    def test_copy(self):
        picture = random_pixels(1, 10, 14)

        def canvas(width, height, part, x=0, y=0):
            out = np.zeros((height, width, 4), np.uint8)
            out[y:y + part.shape[0], x:x + part.shape[1]] = part
            return out

        for words, want in {
                (): picture, ("--from", "3,2,9,5"): picture[2:5, 3:9],
                ("--from", "-3,-2,5,4"): canvas(8, 6, picture[:4, :5], 3, 2),
                ("--size", "20x4"): canvas(20, 4, picture[:4]),
                ("--from", "10,1,16,4", "--to", "2,3,8,6", "--size", "6x9"): canvas(6, 9, picture[1:4, 10:14], 2, 3),
                ("--to", "0,0,28,40", "--size", "28x40", "--quality", "draft"): picture.repeat(4, 0).repeat(2, 1)}.items():
            got, said = self.result(picture, "copy", *words)
            np.testing.assert_array_equal(got, want, str(words))
            self.assertEqual(said, "")
        got, said = self.result(picture, "copy", "--to", "0,10,14,20")
        self.assertIn("note: in.png: nothing is copied", said)
        self.assertFalse(got.any())
        for words, channels in ((("--to", "-1,-1,30,30"), 3), (("--size", "15x8"), 4)):
            self.assertEqual(self.result(picture[..., :3], "copy", *words)[0].shape[2], channels, words)

    def test_resize(self):
        picture = random_pixels(5, 12, 10, channels=3)
        clear = random_pixels(5, 12, 10)  # without a change of size, hidden colours stay
        for pixels, words, want in ((picture, "--size 5x6", picture.reshape(6, 2, 5, 2, 3).mean((1, 3))),
                                    (picture, "--size 40x24 --quality draft", picture.repeat(2, 0).repeat(4, 1)),
                                    (clear, "--scale 1", clear)):
            np.testing.assert_allclose(self.result(pixels, "resize", *words.split())[0], want, atol=0.51, err_msg=words)
        for words, (width, height) in {
                ("--size", "9x0"): (9, 5), ("--size", "0x40"): (80, 40), ("--scale", "0.25"): (5, 3),
                ("--scale", "1.55"): (31, 16), ("--scale", "0.001"): (1, 1)}.items():
            got, _ = self.result(random_pixels(6, 10, 20), "resize", *words)
            self.assertEqual(got.shape[:2], (height, width), words)
        # The float alpha of an opaque picture stays exactly 1, so that the file has no alpha channel.
        self.tif("in.tif", random_pixels(7, 11, 13))
        self.vx("convert", "in.tif", "--depth", 32, "--planes", "rgb", "-o", "opaque.tif")
        self.vx("resize", "opaque.tif", "--size", "5x37", "-o", "out.tif")
        self.assertEqual(self.deep("out.tif").shape[2], 3)


class Convert(PictureTest):
    def test_dither(self):
        ramp = np.linspace(20000, 20600, 64 * 64).astype(np.uint16).reshape(64, 64, 1).repeat(4, 2)
        for frame in (1, 2):
            self.tif(f"in.{frame}.tif", ramp)
        self.vx("convert", "in.1.tif", "--depth", 8, "-o", "plain.tif")
        np.testing.assert_allclose(self.deep("plain.tif"), ramp / 257, atol=0.51)
        self.vx("convert", "in.#.tif", "--depth", 8, "--dither", "-o", "out.#.tif", "--threads", 2)
        got = self.deep("out.1.tif")
        self.assertLess(abs((got - ramp / 257).mean()), 0.02)
        self.assertGreater((got != self.deep("plain.tif")).mean(), 0.1)
        self.assertEqual(self.contents("out.1.tif"), self.contents("out.2.tif"))  # the same noise in each frame
        said = self.vx("convert", "in.1.tif", "--dither", "-o", "plain.tif")[1]
        self.assertIn("note: in.1.tif: --dither has no effect", said)

    def test_alpha(self):
        pixels = random_pixels(8, 16, 9)
        alpha = pixels[..., 3:].astype(float)
        with np.errstate(invalid="ignore", divide="ignore"):
            ratio = np.floor(pixels[..., :3] * 255.0 / alpha + 0.5)
        divided = np.where(alpha > 0, np.minimum(np.nan_to_num(ratio), 255), 0)
        for associated in (False, True):
            self.tif("in.tif", pixels, associated)
            for word, want in (("straight", pixels), ("premultiplied", np.dstack([divided, alpha])),
                               ("ignore", pixels[..., :3])):
                self.vx("convert", "in.tif", "--alpha", word, "-o", "out.png")
                np.testing.assert_array_equal(self.pixels("out.png"), want, f"{word} {associated}")
        _, said = self.result(pixels[..., :3], "convert", "--alpha", "ignore")
        self.assertIn("note: in.png: has no alpha: --alpha has no effect", said)

    def test_planes(self):
        pixels = random_pixels(9, 8, 8)
        for word in ("a", "g", "rb", "ag"):
            got, _ = self.result(pixels, "convert", "--planes", word)
            want = np.where([c in word for c in "rgba"], pixels, [0, 0, 0, 255])[..., :4 if "a" in word else 3]
            if len(word) == 1:
                want = pixels[..., ["rgba".index(word)] * 3]
            np.testing.assert_array_equal(got, want, word)


class Alpha(PictureTest):
    def test_premultiply_and_back(self):
        self.tif("in.tif", np.array([[[2, -1, 0.5, 0.25]]], np.float32))
        for matte, want in (((), [0.5, -0.25, 0.125, 0.25]), (("--matte", "0,1,2,-4"), [1.25, 1.25, -2.875, 0.25])):
            self.vx("premultiply", "in.tif", *matte, "-o", "out.tif")
            np.testing.assert_allclose(self.deep("out.tif")[0, 0], want, rtol=1e-6)
            self.vx("unpremultiply", "out.tif", *matte, "-o", "back.tif")
            np.testing.assert_allclose(self.deep("back.tif")[0, 0], [2, -1, 0.5, 0.25], rtol=1e-6)

    def test_formats_with_premultiplied_colours(self):
        self.png("in.png", random_pixels(11, 8, 8))
        warned = self.vx("premultiply", "in.png", "-o", "out.exr")[1]
        self.assertIn("warning: in.png: is multiplied twice: exr", warned)
        self.refuse(OUTPUT, "multiplied twice", "premultiply", "in.png", "-o", "new.exr", "--strict")
        warned = self.vx("unpremultiply", "out.exr", "-o", "out.png")[1]
        self.assertIn("warning: out.exr: is divided twice", warned)
        said = self.vx("premultiply", self.png("rgb.png", random_pixels(11, 8, 8, channels=3)), "-o", "out.exr")[1]
        self.assertIn("note: rgb.png: has no alpha", said)
        self.assertNotIn("twice", said)

    def test_guess_alpha(self):
        """The library tests the counts of each kind."""
        pixels = random_pixels(12, 16, 16)
        alpha = pixels[..., 3:].astype(int)
        pixels[..., :3] = (pixels[..., :3] * alpha + 127) // 255 + 255 - alpha
        self.tif("in.tif", pixels, associated=True)  # the samples of a file count, not its alpha tag
        record, said = self.vx("guess-alpha", "in.tif", "--json")
        record = json.loads(record)
        self.assertEqual((record["alpha"], record["partly_transparent"], record["beyond_white"]),
                         ("premultiplied with white", ((alpha > 0) & (alpha < 255)).sum(), 0))
        self.assertIn("the file declares", said)
        said = self.vx("guess-alpha", self.png("in.png", random_pixels(13, 8, 8, channels=3)))
        self.assertEqual(said, ("in.png: undecided\n", "vx: note: in.png: has no alpha\n"))


if __name__ == "__main__":
    unittest.main()
