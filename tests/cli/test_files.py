# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Pictures from and to files: alpha, depth, channels, profile and metadata."""

import json
import os
import time
import unittest

import numpy as np
from PIL import Image, ImageCms
from vxcommand import (CommandTest, contents, random_pixels, read_exr, read_tiff, write_exr,
                       write_tiff)


class FileTest(CommandTest):
    def through(self, source, target, *words):
        """Reads a picture and writes it again, with a layer that covers nothing drawn over it."""
        self.png("nothing.png", np.zeros((1, 1, 4), np.uint8))
        return self.vx("composite", source, "--layer", "nothing.png", "-o", target, *words)[1]

    def info(self, name):
        return json.loads(self.vx("info", name, "--json")[0])


class Alpha(FileTest):
    def test_straight_files_come_back_byte_for_byte_with_hidden_colours(self):
        pixels = random_pixels(1, 16, 9)
        self.assertTrue((pixels[pixels[..., 3] == 0][:, :3] != 0).any())
        self.png("a.png", pixels)
        for extension in ("png", "tif", "tga", "bmp", "dpx"):
            with self.subTest(extension):
                said = self.through("a.png", "b." + extension)
                self.assertNotIn("warning", said)
                self.through("b." + extension, "c.png")
                np.testing.assert_array_equal(self.pixels("c.png"), pixels)

    def test_tiff_alpha_mark_is_believed(self):
        pixels = random_pixels(2, 16, 9)
        write_tiff(self.path("straight.tif"), pixels)
        self.through("straight.tif", "s.png")
        np.testing.assert_array_equal(self.pixels("s.png"), pixels)
        alpha = pixels[..., 3:].astype(int)
        multiplied = pixels.copy()
        multiplied[..., :3] = (pixels[..., :3].astype(int) * alpha + 127) // 255
        write_tiff(self.path("multiplied.tif"), multiplied, associated=True)
        self.assertEqual(self.info("multiplied.tif")["alpha"], "premultiplied")
        self.through("multiplied.tif", "m.png")
        got = self.pixels("m.png").astype(int)
        np.testing.assert_array_equal(got[..., 3:], alpha)
        near = np.abs(got - pixels)[..., :3] * alpha  # one level of the product, brought back
        self.assertLessEqual(near.max(), 255)

    def test_exr_holds_multiplied_colours(self):
        rng = np.random.default_rng(3)
        straight = rng.uniform(-0.5, 3, (6, 5, 4)).astype(np.float32)
        straight[..., 3] = rng.uniform(0.1, 1, (6, 5))
        straight[0, 0] = 0
        multiplied = straight * np.concatenate([straight[..., 3:]] * 3 + [np.ones((6, 5, 1))], -1)
        write_exr(self.path("a.exr"), multiplied.astype(np.float32))
        write_tiff(self.path("plain.tif"), np.zeros((6, 5, 4), np.float32))
        self.vx("composite", "plain.tif", "--layer", "a.exr", "--mode", "copy", "-o", "b.tif")
        np.testing.assert_allclose(read_tiff(self.path("b.tif"))[0], straight, rtol=1e-6)
        self.assertNotIn("warning", self.through("a.exr", "b.exr"))
        np.testing.assert_allclose(read_exr(self.path("b.exr"), 6, 5), multiplied, rtol=1e-6)

    def test_losses_of_alpha_are_told(self):
        self.png("a.png", random_pixels(1, 16, 9))
        self.assertRegex(self.through("a.png", "o.exr"), r"warning: o\.exr: .*transparent pixels are lost")
        said = self.through("a.png", "o.jpg")
        self.assertRegex(said, r"warning: o\.jpg: jpeg holds no alpha")
        glow = np.zeros((2, 2, 4), np.float32)
        glow[0, 0, 0] = 1
        write_exr(self.path("glow.exr"), glow)
        self.assertRegex(self.through("glow.exr", "o.tif"), r"warning: glow\.exr: 1 pixels have light")

    def test_opaque_pictures_get_no_alpha(self):
        self.png("a.png", random_pixels(1, 8, 8, channels=3))
        self.through("a.png", "b.png")
        self.assertEqual(self.pixels("b.png").shape, (8, 8, 3))


class Depth(FileTest):
    def test_sixteen_bits(self):
        codes = np.arange(65536, dtype=np.uint16).reshape(256, 256)
        self.png("a.png", np.dstack([codes] * 3))
        self.through("a.png", "b.png")
        wide = codes.astype(np.int64)
        want = ((wide * 32768 + 32767) // 65535 * 65535 + 16384) >> 15
        got = self.pixels("b.png")
        np.testing.assert_array_equal(got, np.dstack([want] * 3))
        for bits in (8, 10, 12, 14):  # a code of fewer bits, spread over 16 as writers do
            few = np.arange(1 << bits)
            spread = (few * 65535 + (1 << bits) // 2) // ((1 << bits) - 1)
            back = got.reshape(-1, 3)[spread, 0].astype(np.int64)
            again = (back * ((1 << bits) - 1) + 32767) // 65535
            np.testing.assert_array_equal(again, few)
        self.assertIn("warning: c.png: png holds at most 16 bits",
                      self.through("a.png", "c.png", "--depth", 32))
        np.testing.assert_array_equal(self.pixels("c.png"), np.dstack([codes] * 3))

    def test_lossy_steps_are_told_and_right(self):
        values = np.linspace(-0.25, 1.25, 64, dtype=np.float32).reshape(8, 8)
        pixels = np.dstack([values] * 3 + [np.ones((8, 8), np.float32)])
        pixels[0, 0, 0] = np.nan
        write_tiff(self.path("f.tif"), pixels)
        self.assertIn("warning: f.png: png holds at most 16 bits", self.through("f.tif", "f.png"))
        want = np.clip(np.nan_to_num(pixels.astype(np.float64)), 0, 1) * 65535
        got = self.pixels("f.png")
        self.assertEqual(got.shape[2], 4)
        np.testing.assert_array_equal(got, np.floor(want + 0.5))
        self.assertIn("warning: f.jpg: jpeg holds at most 8 bits; the float picture",
                      self.through("f.tif", "f.jpg"))
        self.assertNotIn("warning", self.through("f.tif", "g.tif"))
        np.testing.assert_array_equal(read_tiff(self.path("g.tif"))[0], pixels)


class Channels(FileTest):
    def test_kinds_of_picture(self):
        rgba = random_pixels(5, 8, 12)
        grey, alpha = rgba[..., 0], rgba[..., 3]
        opaque = np.full_like(grey, 255)
        self.png("grey.png", grey)
        self.png("both.png", np.dstack([grey, alpha]))
        palette = Image.fromarray(np.arange(96, dtype=np.uint8).reshape(8, 12) % 5, "P")
        palette.putpalette([3, 1, 4, 1, 5, 9, 2, 6, 5, 3, 5, 8, 9, 7, 9])
        palette.save(self.path("palette.png"))
        colours = np.array(palette.convert("RGB"))
        for name, want in (("grey.png", np.dstack([grey] * 3)),
                           ("both.png", np.dstack([grey] * 3 + [alpha])),
                           ("palette.png", colours)):
            self.through(name, "o.png")
            np.testing.assert_array_equal(self.pixels("o.png"), want, name)
        self.vx("composite", "both.png", "--layer", "grey.png", "--mode", "copy", "-o", "o.png")
        np.testing.assert_array_equal(self.pixels("o.png"), np.dstack([grey] * 3 + [opaque]))

    def test_camera_orientation_is_carried_out(self):
        pixels = np.zeros((16, 32, 3), np.uint8)
        pixels[:8, :8] = (255, 0, 0)
        pixels[8:, 24:] = (0, 0, 255)
        turns = {2: Image.FLIP_LEFT_RIGHT, 3: Image.ROTATE_180, 4: Image.FLIP_TOP_BOTTOM,
                 5: Image.TRANSPOSE, 6: Image.ROTATE_270, 7: Image.TRANSVERSE, 8: Image.ROTATE_90}
        for mark, turn in turns.items():
            image = Image.fromarray(pixels)
            exif = image.getexif()
            exif[0x112] = mark
            image.save(self.path("t.tif"), tiffinfo={274: mark})
            self.through("t.tif", "o.png")
            np.testing.assert_array_equal(self.pixels("o.png"), np.array(image.transpose(turn)),
                                          f"orientation {mark}")
            self.assertEqual(self.info("o.png")["orientation"], 1)


class Metadata(FileTest):
    def test_profile_travels_or_its_loss_is_told(self):
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        image = Image.fromarray(random_pixels(1, 8, 8), "RGBA")
        image.save(self.path("a.png"), icc_profile=profile)
        self.assertTrue(self.info("a.png")["profile"])
        previous = "a.png"
        for name in ("b.tif", "c.jpg", "d.png"):
            self.assertNotIn("ICCProfile", self.through(previous, name))
            with Image.open(self.path(name)) as written:
                self.assertEqual(written.info.get("icc_profile"), profile, name)
            previous = name
        self.assertRegex(self.through("a.png", "e.bmp"), r"warning: e\.bmp: bmp does not keep ICCProfile")
        self.assertNotIn("DEBUG", self.through("a.png", "e.exr"))
        grey = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        grey = grey[:16] + b"GRAY" + grey[20:]
        Image.fromarray(random_pixels(1, 8, 8)[..., 0], "L").save(self.path("g.tif"), icc_profile=grey)
        self.assertIn("warning: o.png: the profile of the input is not one for RGB",
                      self.through("g.tif", "o.png"))
        self.assertIsNone(self.info("o.png")["profile"])

    def test_no_time_of_day_in_files(self):
        self.png("a.png", random_pixels(1, 8, 8))
        kinds = ("png", "jpg", "tif", "exr", "tga", "bmp", "dpx", "ppm")
        first = {}
        for kind in kinds:
            self.through("a.png", "o." + kind)
            first[kind] = contents(self.path("o." + kind))
        time.sleep(1.1)
        for kind in kinds:
            self.through("a.png", "o." + kind)
            self.assertEqual(contents(self.path("o." + kind)), first[kind], kind)

    def test_words_travel_or_their_loss_is_told(self):
        Image.fromarray(random_pixels(1, 8, 8), "RGBA").save(
            self.path("a.tif"), tiffinfo={270: "a plant", 315: "somebody"})
        self.assertNotIn("warning", self.through("a.tif", "b.tif"))
        kept = self.info("b.tif")["metadata"]
        self.assertEqual((kept["ImageDescription"], kept["Artist"]), ("a plant", "somebody"))
        self.assertRegex(self.through("a.tif", "c.bmp"), r"c\.bmp: bmp does not keep .*Artist")

    def test_the_result_replaces_the_file_behind_a_link_with_its_rights(self):
        self.png("a.png", random_pixels(1, 8, 8))
        self.png("real.png", random_pixels(2, 8, 8))
        os.chmod(self.path("real.png"), 0o640)
        os.symlink("real.png", self.path("link.png"))
        self.through("a.png", "link.png")
        self.assertTrue(os.path.islink(self.path("link.png")))
        self.assertEqual(os.stat(self.path("real.png")).st_mode & 0o777, 0o640)
        np.testing.assert_array_equal(self.pixels("real.png"), self.pixels("a.png"))
        self.assertTrue(contents(self.path("link.png")).startswith(b"\x89PNG"))


if __name__ == "__main__":
    unittest.main()
