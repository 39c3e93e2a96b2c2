# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""flow: known motion, files of motion, colours, refusals. Its files are read without its code."""

import json
import os
import struct
import unittest

import numpy as np
from vxcommand import INPUT, OUTPUT, USAGE, CommandTest, write_exr

HEIGHT, WIDTH, MARGIN = 130, 170, 24


def texture(dx=0, dy=0, dtype=np.uint8):
    """Smooth noise whose contents are moved by (dx, dy) from those of texture()."""
    noise = np.random.default_rng(5).random((HEIGHT + 2 * MARGIN, WIDTH + 2 * MARGIN, 3))
    for axis in (0, 1):
        for _ in range(3):
            noise = sum(np.roll(noise, i, axis) for i in range(-4, 5)) / 9
    noise = (noise - noise.min()) / (noise.max() - noise.min()) * np.iinfo(dtype).max
    return noise[MARGIN - dy:MARGIN - dy + HEIGHT, MARGIN - dx:MARGIN - dx + WIDTH].round().astype(dtype)


def read_flo(data):
    mark, width, height = struct.unpack_from("<fii", data)
    assert mark == 202021.25 and data[:4] == b"PIEH" and len(data) == 12 + 8 * width * height
    return np.frombuffer(data, "<f4", offset=12).reshape(height, width, 2)


def moved(picture, field):
    """Bilinear samples at (x + u, y + v); the border continues outside."""
    height, width = picture.shape[:2]
    y, x = np.mgrid[0:height, 0:width]
    x, y = np.clip(x + field[..., 0], 0, width - 1), np.clip(y + field[..., 1], 0, height - 1)
    x0, y0 = np.minimum(x.astype(int), width - 2), np.minimum(y.astype(int), height - 2)
    s, t = (x - x0)[..., None], (y - y0)[..., None]
    return ((1 - t) * ((1 - s) * picture[y0, x0] + s * picture[y0, x0 + 1]) +
            t * ((1 - s) * picture[y0 + 1, x0] + s * picture[y0 + 1, x0 + 1])).round()


def psnr(a, b):
    """Over four channels; alpha is equal."""
    return 10 * np.log10(255 ** 2 / (np.mean((a.astype(float) - b) ** 2) * 3 / 4))


class Flow(CommandTest):
    def pair(self, dx, dy):
        self.png("a.png", texture())
        self.png("b.png", texture(dx, dy))
        return "flow", "a.png", "b.png"

    def test_known_motion(self):
        for dx, dy, words in ((6, 0, ()), (-4, 3, ("--backward",)), (0, -5, ("--resolution", 100, "--block", 8)),
                              (2, 2, ("--resolution", 50, "--smoothing", 0, "--detail", 1000))):
            record = json.loads(self.vx(*self.pair(dx, dy), *words, "-o", "f.exr", "--data", "F.FLO", "--json")[0])
            backward = "--backward" in words
            a, b = (texture(dx, dy), texture()) if backward else (texture(), texture(dx, dy))
            want = (-dx, -dy) if backward else (dx, dy)
            field = read_flo(self.contents("F.FLO"))
            inner = field[20:-20, 20:-20]
            pixel = 100 / record["settings"]["resolution"]  # of the pictures in which the motion is estimated
            np.testing.assert_allclose(inner.mean((0, 1)), want, atol=0.15 * pixel, err_msg=str(words))
            self.assertLess(np.abs(inner - want).mean(), 0.15 * pixel)
            info = json.loads(self.vx("info", "f.exr", "--json")[0])
            self.assertEqual((info["channels"], info["sample_type"]), (["u", "v"], "float"))
            np.testing.assert_allclose(record["mean"], field.mean((0, 1), float), atol=1e-4)
            self.assertAlmostEqual(record["longest"], np.hypot(*field.transpose(2, 0, 1).astype(float)).max(), 4)
            self.assertAlmostEqual(record["psnr"]["unmoved"], psnr(a, b), 6)
            self.assertAlmostEqual(record["psnr"]["predicted"], psnr(a, moved(b, field)), 2)
            self.assertGreater(record["psnr"]["predicted"], record["psnr"]["unmoved"] + 6)
            self.assertEqual((record["width"], record["height"], record["depth"], record["unknown"], record["data"],
                              record["backward"]), (WIDTH, HEIGHT, 8, 0, "F.FLO", backward))

    def test_pictures_without_motion(self):
        self.png("a.png", texture())
        said = self.vx("flow", "a.png", "a.png", "-o", "f.png")[0]
        self.assertIn("mean u 0.000, mean v 0.000, longest 0.000", said)
        self.assertRegex(said, r"predicted from a.png: infinite \(equal\); of a.png unmoved: infinite \(equal\)")
        self.assertEqual(self.pixels("f.png").max(), 0)
        odd = texture().astype(np.float32) / 255
        self.tif("b.tif", odd)
        odd[50, 60] = np.nan
        odd[70:, :, 1] = np.inf
        self.tif("a.tif", odd)
        said = self.vx("flow", "a.tif", "b.tif", "-o", "f.flo")[0]
        self.assertEqual(said.count("undefined (the difference has NaN or infinite values)"), 2)
        self.assertTrue(np.isfinite(read_flo(self.contents("f.flo"))).all())

    def test_colours(self):
        for dx, dy, color in ((6, 0, [1, 0, 0]), (-6, 0, [0, 1, 1]), (0, 6, [.5, 1, 0]), (0, -6, [.5, 0, 1])):
            self.vx(*self.pair(dx, dy), "-o", "f.png", "--longest", 12)
            middle = self.pixels("f.png")[HEIGHT // 2, WIDTH // 2]
            np.testing.assert_allclose(middle, np.multiply(color, 255 / 2), atol=16)
        self.vx("flow", "a.png", "b.png", "-o", "g.png", "--longest", 12, "--arrows")
        drawn = (self.pixels("g.png") == 255).all(-1)
        self.assertGreater(drawn.sum(), 60)
        shaft = np.argwhere(drawn[70:104, 70:104])  # one or two arrows: longer down than across
        self.assertGreater(np.ptp(shaft[:, 0]), 6)

    def test_depths_windows_and_streams(self):
        self.png("a.png", texture())
        deep = np.dstack([texture(3, 0, np.uint16), np.full((HEIGHT, WIDTH), 65535, np.uint16)])
        self.tif("b.tif", deep)
        record = json.loads(self.vx("flow", "a.png", "b.tif", "-o", "f.exr", "--json", "--resolution", 50)[0])
        self.assertEqual(record["depth"], 16)
        self.assertAlmostEqual(record["mean"][0], 3, delta=0.3)
        out, said = self.vx("flow", "a.png", "b.tif", "-o", "-", "--format", "exr", "--resolution", 50, text=False)
        self.assertEqual(out, self.contents("f.exr"))
        self.assertIn(b"PSNR of a.png", said)
        # The display window is used: the data windows have the same size, but other positions.
        floats = np.dstack([texture() / 255, np.ones((HEIGHT, WIDTH))]).astype(np.float32)
        for name, x, y in (("a.exr", 0, 0), ("b.exr", 20, 10)):
            write_exr(self.path(name), floats[y:y + 120, x:x + 150], (x, y), (0, 0, WIDTH, HEIGHT))
        self.vx("flow", "a.exr", "b.exr", "-o", "w.flo")
        field = read_flo(self.contents("w.flo"))
        self.assertEqual(field.shape, (HEIGHT, WIDTH, 2))
        np.testing.assert_allclose(field[40:90, 50:120], 0, atol=0.5)

    def test_sequences(self):
        for frame in (3, 4):
            self.png(f"a.{frame}.png", texture(frame, 0))
            self.png(f"b.{frame}.png", texture(2 * frame, 0))
        words = ("flow", "a.#.png", "b.#.png", "--resolution", 50)
        out = self.vx(*words, "-o", "c.#.png", "--data", "f.#.flo", "--json")[0]
        records = [json.loads(line) for line in out.splitlines()]
        for frame, record in zip((3, 4), records):
            self.assertAlmostEqual(record["mean"][0], frame, delta=0.4)
            self.assertAlmostEqual(read_flo(self.contents(f"f.{frame}.flo"))[..., 0].mean(), frame, delta=0.4)
            self.assertEqual(self.pixels(f"c.{frame}.png").shape[:2], (HEIGHT, WIDTH))
        self.refuse(OUTPUT, "f.4.flo.* exists|f.3.flo.* exists", *words, "-o", "d.#.png", "--data", "f.#.flo",
                    "--no-clobber")
        self.refuse(USAGE, "--data f.flo: must be a pattern", *words, "-o", "d.#.png", "--data", "f.flo")
        self.refuse(USAGE, "--data b.%d.exr|--data b.%d.png", *words, "-o", "d.#.png", "--data", "b.%d.png")
        self.vx(*words, "-o", "f.#.exr", "--resume")
        self.assertEqual(self.vx(*words, "-o", "f.#.exr", "--resume", "--dry-run")[0].count("(up to date)"), 2)

    def test_refusals(self):
        self.pair(1, 0)
        self.png("small.png", texture()[:40, :50])
        self.text("old.flo", "old")
        os.mkdir(self.path("folder"))
        flow = "flow", "a.png", "b.png"
        for code, message, *words in (
                (USAGE, r"a.png is 170 x 130, small.png is 50 x 40; .*same size", "flow", "a.png", "small.png", "-o", "f.flo"),
                (INPUT, "none.png: no such file", "flow", "a.png", "none.png", "-o", "f.flo"),
                (OUTPUT, "f.dat: .*extension", *flow, "-o", "f.dat"),
                (OUTPUT, "f.png: motion data need the extension .flo or .exr", *flow, "-o", "g.png", "--data", "f.png"),
                (OUTPUT, "none/f.flo: .*folder", *flow, "-o", "f.png", "--data", "none/f.flo"),
                (OUTPUT, "old.flo: exists", *flow, "-o", "f.png", "--data", "old.flo", "--no-clobber"),
                (OUTPUT, "folder: is a folder", *flow, "-o", "folder"),
                (USAGE, "--data ./f.exr: would replace f.exr", *flow, "-o", "f.exr", "--data", "./f.exr"),
                (USAGE, "--resume: not together with --data", *flow, "-o", "f.png", "--data", "f.flo", "--resume"),
                (USAGE, "--arrows: belongs to a picture", *flow, "-o", "f.flo", "--arrows"),
                (USAGE, "--longest: belongs to a picture", *flow, "-o", "f.exr", "--longest", 3),
                (USAGE, "--bits", *flow, "-o", "f.exr", "--bits", "half"),
                (USAGE, "--resolution '4'.*5 to 100", *flow, "-o", "f.flo", "--resolution", 4),
                (USAGE, "--block '3'.*4 to 40", *flow, "-o", "f.flo", "--block", 3),
                (USAGE, "--detail '1001'", *flow, "-o", "f.flo", "--detail", 1001)):
            self.refuse(code, message, *words)
        for words in ((), ("--resolution", 5), ("--block", 40, "--error-threshold", 0.1, "--smooth-passes", 1)):
            self.vx("flow", "small.png", "small.png", *words, "-o", "ends.flo")
            self.assertEqual(read_flo(self.contents("ends.flo")).shape, (40, 50, 2))


if __name__ == "__main__":
    unittest.main()
