# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Pictures from and to files: alpha, depth, channels, profile and metadata; what vx says of clips."""

import json
import os
import subprocess
import unittest

import numpy as np
from PIL import Image, ImageCms
from vxcommand import INPUT, OUTPUT, USAGE, CommandTest, random_pixels, times_alpha, write_exr


class FileTest(CommandTest):
    def convert(self, source, target, *words):
        return self.vx("convert", source, "-o", target, *words)[1]

    def info(self, name):
        return json.loads(self.vx("info", name, "--json")[0])


class Pixels(FileTest):
    def test_straight_files_keep_every_byte(self):
        pixels = random_pixels(1, 16, 9)
        self.png("a.png", pixels)
        for extension in ("png", "tif", "tga", "bmp", "dpx"):
            self.assertNotIn("warning", self.convert("a.png", "b." + extension))
            self.convert("b." + extension, "c.png")
            np.testing.assert_array_equal(self.pixels("c.png"), pixels, extension)

    def test_premultiplied_files(self):
        pixels = random_pixels(2, 16, 9)
        alpha = pixels[..., 3:].astype(int)
        multiplied = np.dstack([(pixels[..., :3] * alpha + 127) // 255, alpha]).astype(np.uint8)
        self.tif("m.tif", multiplied, associated=True)
        self.assertEqual(self.info("m.tif")["alpha"], "premultiplied")
        self.convert("m.tif", "m.png")
        got = self.pixels("m.png").astype(int)
        np.testing.assert_array_equal(got[..., 3:], alpha)
        self.assertLessEqual((np.abs(got - pixels)[..., :3] * alpha).max(), 255)  # one level of the product
        straight = np.random.default_rng(3).uniform(0.1, 1, (6, 5, 4)).astype(np.float32)
        straight[0, 0] = 0
        straight[1:, :, :3] *= (3, -1, 1)
        write_exr(self.path("a.exr"), times_alpha(straight))
        for source in ("a.exr", "b.exr"):
            self.tif("f.tif", np.zeros((6, 5, 4), np.float32))
            self.vx("composite", "f.tif", "--layer", source, "--mode", "copy", "-o", "f.tif")
            np.testing.assert_allclose(self.deep("f.tif"), straight, rtol=1e-5)
            self.assertNotIn("warning", self.convert("f.tif", "b.exr"))

    def test_losses_are_reported(self):
        self.png("a.png", random_pixels(1, 16, 9))
        self.png("rgb.png", random_pixels(1, 8, 8, channels=3))
        glow = np.zeros((2, 2, 4), np.float32)
        glow[0, 0, 0] = 1
        write_exr(self.path("glow.exr"), glow)
        self.tif("f.tif", random_pixels(1, 8, 8, np.float32))
        for source, target, words, message in (
                ("a.png", "o.exr", (), r"warning: o\.exr: .*transparent pixels are lost"),
                ("a.png", "o.jpg", (), r"warning: o\.jpg: jpeg holds no alpha"),
                ("glow.exr", "o.tif", (), r"warning: glow\.exr: 1 pixels have light"),
                ("rgb.png", "o.png", ("--depth", 32), "warning: o.png: png holds at most 16 bits"),
                ("f.tif", "o.jpg", (), "warning: o.jpg: jpeg holds at most 8 bits; the float picture")):
            self.assertRegex(self.convert(source, target, *words), message)

    def test_depths(self):
        codes = np.arange(65536, dtype=np.uint16)
        pixels = np.dstack([codes.reshape(256, 256)] * 3 + [np.full((256, 256), 65535, np.uint16)])
        self.tif("a.tif", pixels)
        self.convert("a.tif", "b.tif")
        want = ((codes.astype(np.int64) * 32768 + 32767) // 65535 * 65535 + 16384) >> 15
        np.testing.assert_array_equal(self.deep("b.tif")[..., 0].ravel(), want)
        floats = np.linspace(-0.25, 1.25, 256, dtype=np.float32).reshape(8, 8, 4)
        floats[0, 0, 0] = np.nan
        self.tif("f.tif", floats)
        self.convert("f.tif", "g.tif")
        np.testing.assert_array_equal(self.deep("g.tif"), floats)
        self.convert("f.tif", "f.png", "--depth", 8)
        want = np.floor(np.clip(np.nan_to_num(floats.astype(float)), 0, 1) * 255 + 0.5)
        np.testing.assert_array_equal(self.pixels("f.png"), want)

    def test_channels(self):
        rgba = random_pixels(5, 8, 12)
        grey, alpha = rgba[..., 0], rgba[..., 3]
        self.png("grey.png", grey)
        self.png("both.png", np.dstack([grey, alpha]))
        palette = Image.fromarray(np.arange(96, dtype=np.uint8).reshape(8, 12) % 5, "P")
        palette.putpalette([3, 1, 4, 1, 5, 9, 2, 6, 5, 3, 5, 8, 9, 7, 9])
        palette.save(self.path("palette.png"))
        for name, want in (("grey.png", np.dstack([grey] * 3)), ("both.png", np.dstack([grey] * 3 + [alpha])),
                           ("palette.png", np.array(palette.convert("RGB")))):
            self.convert(name, "o.png")
            np.testing.assert_array_equal(self.pixels("o.png"), want, name)

    def test_camera_orientation(self):
        pixels = random_pixels(6, 8, 16, channels=3)
        turns = {2: Image.FLIP_LEFT_RIGHT, 3: Image.ROTATE_180, 4: Image.FLIP_TOP_BOTTOM,
                 5: Image.TRANSPOSE, 6: Image.ROTATE_270, 7: Image.TRANSVERSE, 8: Image.ROTATE_90}
        image = Image.fromarray(pixels)
        for tag, turn in turns.items():
            image.save(self.path("t.tif"), tiffinfo={274: tag})
            self.convert("t.tif", "o.png")
            np.testing.assert_array_equal(self.pixels("o.png"), np.array(image.transpose(turn)), f"orientation {tag}")
        self.assertEqual(self.info("o.png")["orientation"], 1)


class Encodings(FileTest):
    def jpeg_tables(self, name):
        with Image.open(self.path(name)) as image:
            return image.quantization

    def tiff_compression(self, name):
        with Image.open(self.path(name)) as image:
            return image.tag_v2[259]

    def png_level(self, name):
        """The two bits of the zlib header: 0 for level 0 and 1, 1 for 2 to 5, 2 for 6, 3 for 7 to 9."""
        data = self.contents(name)
        return data[data.index(b"IDAT") + 5] >> 6

    def test_bits(self):
        pixels = random_pixels(8, 6, 10, np.uint8, 3)
        self.png("a.png", pixels)
        self.convert("a.png", "a.dpx", "--bits", 10)
        self.convert("a.dpx", "b.dpx")  # 10 bits are kept
        for name in ("a.dpx", "b.dpx"):
            data = self.contents(name)
            order = "big" if data[:4] == b"SDPX" else "little"
            words = np.frombuffer(data, np.dtype("u4").newbyteorder(order), offset=int.from_bytes(data[4:8], order))
            codes = np.stack([words.reshape(6, 10) >> shift & 1023 for shift in (22, 12, 2)], -1)
            np.testing.assert_array_equal(codes, np.rint(pixels / 255 * 1023))
        floats = np.ones((2, 2, 4), np.float32)
        floats[0, 0, :3], floats[1, 1, :3] = (1 / 3, 2.5e-7, -7), (1, 1e5, np.inf)
        write_exr(self.path("f.exr"), floats)
        self.assertRegex(self.convert("f.exr", "h.exr", "--bits", "half", "--compression", "piz"),
                         r"\Avx: warning: h\.exr: half .* 65504; 1 larger ones became infinity.*\n\Z")
        self.vx("copy", "h.exr", "-o", "h2.exr")
        self.convert("h2.exr", "f.tif", "--compression", "none")
        with np.errstate(over="ignore"):
            np.testing.assert_array_equal(self.deep("f.tif")[..., :3], np.float16(floats)[..., :3])
        for name in ("h.exr", "h2.exr"):
            self.assertEqual(self.info(name)["sample_type"], "half")
            self.assertIn(b"compression\0compression\0\1\0\0\0\4", self.contents(name))  # 4: piz
        self.convert("h.exr", "f2.exr", "--bits", "float", "--compression", "dwaa:80")
        self.convert("f2.exr", "f3.exr")
        for name in ("f2.exr", "f3.exr"):
            self.assertEqual(self.info(name)["sample_type"], "float")
            self.assertIn(b"dwaCompressionLevel\0float\0\4\0\0\0" + np.float32(80).tobytes(), self.contents(name))

    def test_compression_and_quality(self):
        pixels = random_pixels(9, 40, 40, np.uint8, 3)
        self.png("a.png", pixels)
        for words, quality in (((), 95), (("--quality", 60), 60), (("--compression", "jpeg:30"), 30)):
            self.convert("a.png", "o.jpg", *words)
            Image.fromarray(pixels).save(self.path("p.jpg"), quality=quality)
            self.assertEqual(self.jpeg_tables("o.jpg"), self.jpeg_tables("p.jpg"))
        self.vx("resize", "a.png", "--scale", 2, "--quality", 30, "-o", "large.jpg")
        self.assertEqual(self.jpeg_tables("large.jpg"), self.jpeg_tables("p.jpg"))
        for words, code in (((), 8), (("--compression", "lzw"), 5), (("--compression", "packbits"), 32773)):
            self.convert("a.png", "a.tif", *words)
            self.vx("copy", "a.tif", "-o", "b.tif")
            self.assertEqual((self.tiff_compression("a.tif"), self.tiff_compression("b.tif")), (code, code))
        self.png("s.1.png", pixels)
        for words, single, frame in (((), 2, 0), (("--compression", "zip:9"), 3, 3), (("--compression", "zip"), 2, 2),
                                     (("--compression", "none"), 0, 0)):
            self.convert("a.png", "o.png", *words)
            self.convert("s.#.png", "o.#.png", *words)
            self.assertEqual((self.png_level("o.png"), self.png_level("o.1.png")), (single, frame))
            np.testing.assert_array_equal(self.pixels("o.1.png"), pixels)


class Windows(FileTest):
    """The frame is the display window -2,1,10,9: 12 x 8."""

    FRAME = (-2, 1, 10, 9)

    def exr(self, name, left, top, right, bottom, seed=1, layer=b""):
        pixels = times_alpha(random_pixels(seed, bottom - top, right - left, np.float32).clip(0.2, 1))
        pixels[..., 3] = 1
        write_exr(self.path(name), pixels, (left, top), self.FRAME, layer)
        return pixels

    def framed(self, pixels, left, top, width=12, height=8):
        """The pixels at this position of a transparent picture."""
        out = np.zeros((height + 20, width + 20, 4), np.float32)
        out[top + 10:top + 10 + pixels.shape[0], left + 10:left + 10 + pixels.shape[1]] = pixels
        return out[10:-10, 10:-10]

    def bytes_of(self, pixels):
        return np.floor(pixels * 255 + 0.5)

    def windows(self, name):
        info = self.info(name)
        return info["data_window"], info["display_window"]

    def test_layers_are_placed_by_the_display_window(self):
        part = self.exr("part.exr", 3, 4, 6, 7)
        self.assertEqual(self.windows("part.exr"), ([3, 4, 6, 7], list(self.FRAME)))
        self.convert("part.exr", "part.png")
        np.testing.assert_allclose(self.pixels("part.png"), self.bytes_of(self.framed(part, 5, 3)), atol=1)
        self.png("clear.png", np.zeros((8, 12, 4), np.uint8))
        for words, at, shown in (
                ((), (5, 3), part), (("--at", "-6,1"), (-1, 4), part),
                (("--at", "1,2", "--rect", "5,3,7,20"), (1, 2), part[:, :2]),
                (("--rotate", "180", "--at", "1,0", "--shadow", "0,0", "--shadow-opacity", "0"), (5, 2), part[::-1, ::-1])):
            self.vx("composite", "clear.png", "--layer", "part.exr", *words, "-o", "out.png")
            np.testing.assert_allclose(self.pixels("out.png"), self.bytes_of(self.framed(shown, *at)), atol=1)
        self.vx("transform", "part.exr", "--over", "clear.png", "--translate", "1,1", "-o", "out.png")
        np.testing.assert_allclose(self.pixels("out.png"), self.bytes_of(self.framed(part, 6, 4)), atol=1)

    def test_overscan_is_kept(self):
        over = self.exr("over.exr", -5, 0, 12, 10)
        self.png("dot.png", np.full((1, 1, 4), 255, np.uint8))
        self.vx("composite", "over.exr", "--layer", "dot.png", "--at", "0,0", "--layer", "dot.png", "--at", "-3,-1",
                "-o", "out.exr")
        self.assertEqual(self.windows("out.exr"), ([-5, 0, 12, 10], list(self.FRAME)))
        want = over.copy()
        want[1, 3] = want[0, 0] = 1
        said = self.convert("out.exr", "out.png")
        self.assertIn("outside of its display window", said)
        np.testing.assert_allclose(self.pixels("out.png"), self.bytes_of(want)[1:9, 3:15, :self.pixels("out.png").shape[2]],
                                   atol=1)
        part = self.exr("part.exr", 3, 4, 6, 7)
        self.vx("composite", "part.exr", "--layer", "dot.png", "--at", "0,0", "-o", "out.exr")
        self.assertEqual(self.windows("out.exr"), (list(self.FRAME), list(self.FRAME)))
        self.vx("blur", "over.exr", "--box", 1, "-o", "out.exr")
        self.assertEqual(self.windows("out.exr"), ([-5, 0, 12, 10], list(self.FRAME)))
        said = self.vx("resize", "over.exr", "--size", "3x3", "-o", "out.exr")[1]
        self.assertIn("windows of the input are left out", said)

    def test_layers_by_name(self):
        self.exr("a.exr", 0, 2, 3, 5, layer=b"diffuse.")
        self.exr("b.exr", 0, 2, 3, 5)
        self.assertEqual(self.info("a.exr")["layers"], ["diffuse"])
        self.convert("b.exr", "b.png")
        for name in ("a.exr@diffuse", "a.exr@diffuse.R"):
            self.convert(name, "a.png")
            want = self.pixels("b.png")[..., [0, 0, 0] if name.endswith("R") else [0, 1, 2, 3]]
            np.testing.assert_array_equal(self.pixels("a.png"), want, name)
        self.refuse(INPUT, "a.exr@z: has no layer of this name; it has diffuse", "copy", "a.exr@z", "-o", "c.png")
        self.refuse(INPUT, "b.png@z: only exr has layers", "copy", "b.png@z", "-o", "c.png")
        self.exr("a.exr@diffuse", 0, 2, 1, 5)
        self.assertEqual(self.info("a.exr@diffuse")["width"], 1)


class OtherFormats(FileTest):
    def test_formats_that_are_only_read(self):
        pixels = random_pixels(5, 9, 7)
        image = Image.fromarray(pixels)
        image.save(self.path("a.webp"), lossless=True, exact=True)
        image.save(self.path("a.jp2"))
        image.save(self.path("a.sgi"))
        for name in ("a.webp", "a.jp2", "a.sgi"):
            self.convert(name, "out.png")
            np.testing.assert_array_equal(self.pixels("out.png"), pixels, name)
        image.convert("L").save(self.path("a.gif"))
        self.convert("a.gif", "out.png")
        np.testing.assert_array_equal(self.pixels("out.png")[..., 0], np.asarray(image.convert("L")))
        for name in ("a.webp", "a.jp2", "a.sgi", "a.gif"):
            data = self.contents(name)
            self.text(name, data[:len(data) * 2 // 3])
            self.refuse(INPUT, f"{name}: is truncated", "copy", name, "-o", "new.png")
            self.refuse(OUTPUT, "names no format that can be written", "copy", "out.png", "-o", name)


class Metadata(FileTest):
    def test_profile_and_text_are_kept_or_their_loss_is_reported(self):
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        self.png("a.png", random_pixels(1, 8, 8), profile)
        self.assertTrue(self.info("a.png")["profile"])
        for source, target in (("a.png", "b.tif"), ("b.tif", "c.jpg"), ("c.jpg", "d.png")):
            self.assertNotIn("ICCProfile", self.convert(source, target))
            with Image.open(self.path(target)) as written:
                self.assertEqual(written.info.get("icc_profile"), profile, target)
        self.assertRegex(self.convert("a.png", "e.bmp"), r"warning: e\.bmp: bmp does not keep ICCProfile")
        Image.fromarray(random_pixels(1, 8, 8)[..., 0]).save(
            self.path("g.tif"), icc_profile=profile[:16] + b"GRAY" + profile[20:], tiffinfo={270: "a plant"})
        self.assertIn("warning: o.png: the profile of the input is not one for RGB", self.convert("g.tif", "o.png"))
        self.assertIsNone(self.info("o.png")["profile"])
        self.convert("g.tif", "b.tif")
        self.assertEqual(self.info("b.tif")["metadata"]["ImageDescription"], "a plant")
        self.assertRegex(self.convert("g.tif", "c.bmp"), r"c\.bmp: bmp does not keep .*ImageDescription")

    def test_an_output_link_keeps_its_target_and_permissions(self):
        self.png("a.png", random_pixels(1, 8, 8))
        self.png("real.png", random_pixels(2, 8, 8))
        os.chmod(self.path("real.png"), 0o640)
        os.symlink("real.png", self.path("link.png"))
        self.convert("a.png", "link.png")
        self.assertTrue(os.path.islink(self.path("link.png")))
        self.assertEqual(os.stat(self.path("real.png")).st_mode & 0o777, 0o640)
        np.testing.assert_array_equal(self.pixels("real.png"), self.pixels("a.png"))

    def test_standard_streams(self):
        self.png("a.png", random_pixels(1, 9, 8))
        self.png("b.png", random_pixels(2, 9, 8))
        before = self.names()
        words = ("composite", "b.png", "--layer", "-", "--opacity", 0.4, "-o", "-", "--format", "tif")
        with open(self.path("a.png"), "rb") as stdin:
            piped, said = self.vx(*words, stdin=stdin, text=False)
        self.assertEqual((said, self.names()), (b"", before))
        self.vx(*words[:3], "a.png", *words[4:7], "o.tif")
        self.assertEqual(piped, self.contents("o.tif"))
        with open(self.path("a.png"), "rb") as stdin:
            self.assertEqual(json.loads(self.vx("info", "-", "--json", stdin=stdin)[0])["file"], "-")
        with open(self.path("o.tif"), "rb") as stdin:
            stdin.seek(100)
            said = self.vx("copy", "-", "-o", "-", "--format", "png", stdin=stdin, code=INPUT)[1]
            self.assertRegex(said, r"\Avx: -: is not a picture")

    def test_clips(self):
        subprocess.run([os.environ["VX_MAKE_CLIPS"], self.folder], check=True)
        info = self.info("movie.mov")
        self.assertEqual([info[key] for key in ("format", "codec", "width", "height", "frames", "alpha", "pixel_aspect")],
                         ["mov", "png", 17, 9, 3, "straight", "1:1"])
        text = self.vx("info", "deep.mkv")[0]
        self.assertIn("unknown, 25/1 a second", text)
        self.refuse(INPUT, "sound.mkv: holds no video", "info", "sound.mkv")
        x, y, c = np.meshgrid(np.arange(17), np.arange(9), np.arange(4))
        frames = [np.uint8(f * 50 + c * 20 + x * 3 + y * 7) for f in range(3)]
        self.vx("convert", "movie.mov", "-o", "f.##.png", "--threads", 3)
        for f, frame in enumerate(frames):
            np.testing.assert_array_equal(self.pixels(f"f.{f:02}.png"), frame)
        for words, frame in (("--frames 2", 2), ("--at-time 0", 0), ("--at-time 0.066", 0), ("--at-time 0.067", 1),
                             ("--at-time 0.1001", 2), ("--at-time 0.13", 2)):
            self.vx("convert", "movie.mov", *words.split(), "-o", "o.png")
            np.testing.assert_array_equal(self.pixels("o.png"), frames[frame], words)
        self.vx("convert", "movie.mov", "--frames", "2,0,5", "--missing", "hold", "--threads", 2, "-o", "h.#.png")
        for f in (0, 2, 5):
            np.testing.assert_array_equal(self.pixels(f"h.{f}.png"), frames[min(f, 2)])
        for words, message in (("--at-time 0.2", "ends at 0.133467 seconds"), ("--frames 1-4", "frames 3-4 are .*last one is 2")):
            self.refuse(INPUT, message, "convert", "movie.mov", *words.split(), "-o", "p.#.png")
        self.refuse(USAGE, "movie.mov is a clip.*--at-time", "convert", "movie.mov", "-o", "o.png")
        with open(self.path("cut.mov"), "wb") as cut:
            cut.write(self.contents("movie.mov").replace(b"IDAT", b"DATA"))
        self.refuse(INPUT, "cut.mov: is truncated or damaged before its first", "convert", "cut.mov", "-o", "p.#.png")


if __name__ == "__main__":
    unittest.main()
