# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""blur, convolve, kernel: what each option does. The blur's own arithmetic is tested with the library."""

import json
import unittest

import numpy as np
from vxcommand import CommandTest, random_pixels


def box(radius):
    """The weights of one pass of --box."""
    reach = int(np.ceil(radius))
    weights = np.full(2 * reach + 1, 1024.0)
    weights[[0, -1]] -= np.floor((reach - radius) * 1024)
    return weights / weights.sum()


def spread(weights, size, grow, hold):
    """The share of each source pixel in each target pixel, along one axis."""
    reach = len(weights) // 2
    full = np.array([np.convolve(row, weights) for row in np.eye(size)]).T
    shares = full if grow else full[reach:reach + size]
    return shares / shares.sum(1, keepdims=True) if hold else shares


class Blur(CommandTest):
    def test_options(self):
        pixels = random_pixels(1, 24, 20, np.float32)
        self.tif("in.tif", pixels)
        one, still = box(1.5), np.ones(1)
        three = np.convolve(np.convolve(one, one), one)
        for words, across, down, hold in (
                ((), one, one, True), (("--axis", "x"), one, still, True),
                (("--axis", "y", "--grow"), still, one, False),
                (("--iterations", 3, "--edge", "fade"), three, three, False),
                (("--iterations", 3, "--grow"), three, three, False)):
            record = json.loads(self.vx("blur", "in.tif", "--box", 1.5, *words, "-o", "out.tif", "--json")[0])
            got, grow = self.deep("out.tif")[..., 3], "--grow" in words
            rows, columns = spread(down, 24, grow, hold), spread(across, 20, grow, hold)
            np.testing.assert_allclose(got, rows @ pixels[..., 3] @ columns.T, atol=2e-6, err_msg=str(words))
            self.assertEqual(record["at"], [(20 - got.shape[1]) // 2, (24 - got.shape[0]) // 2])

    def test_gaussian_channels_and_none(self):
        picture = random_pixels(2, 13, 33, channels=3)
        self.png("in.png", picture)
        self.vx("blur", "in.png", "--gaussian", 3, "-o", "all.png")
        self.vx("blur", "in.png", "--gaussian", 3, "--channels", "g", "-o", "one.png")
        whole, one = self.pixels("all.png"), self.pixels("one.png")
        self.assertTrue((whole != picture).mean() > 0.5)
        np.testing.assert_array_equal(one, np.dstack([picture[..., 0], whole[..., 1], picture[..., 2]]))
        for words in (("--gaussian", 0), ("--box", 0, "--iterations", 9)):
            self.vx("blur", "in.png", *words, "-o", "out.png")
            np.testing.assert_array_equal(self.pixels("out.png"), picture)


class Convolve(CommandTest):
    def kernel(self, *blocks):
        return self.text("k.txt", "\n\n".join("\n".join(" ".join(map(str, row)) for row in np.atleast_2d(b))
                                              for b in blocks))

    def test_kernels(self):
        rng = np.random.default_rng(4)
        picture = random_pixels(2, 13, 17, channels=3)
        self.png("in.png", picture)
        for size, line, normalize in ((3, "", True), (3, "", False), (5, "x", True), (5, "y", False)):
            shape = (size,) if line else (size, size)
            alpha, *colours = rng.integers(-200 if normalize else -900, 2500, (4, *shape))
            for blocks in ([alpha, *colours], [colours[0]]):
                self.kernel(*blocks)
                self.vx("convolve", "in.png", "--kernel", "k.txt", "-o", "out.png", *["--normalize"] * normalize,
                        *(("--one-dimensional", line) if line else ()))
                for c in range(3):
                    kernel = np.atleast_2d(blocks[1 + c] if len(blocks) == 4 else blocks[0])
                    kernel = kernel.T if line == "y" else kernel
                    padded = np.pad(picture[..., c].astype(int), [(side // 2, side // 2) for side in kernel.shape], "edge")
                    windows = np.lib.stride_tricks.sliding_window_view(padded, kernel.shape)
                    sums = (windows * kernel).sum((2, 3)) / (kernel.sum() if normalize else 256 * kernel.size)
                    np.testing.assert_array_equal(self.pixels("out.png")[..., c], np.clip(np.trunc(sums), 0, 255))

    def test_edge_and_clamp(self):
        pixels = np.full((5, 5, 4), [0.5, 0.5, 0.5, 1], np.float32)
        pixels[2, 2, :3] = 1
        self.tif("in.tif", pixels)
        for kernel, words, pixel in (
                ([[1, 1, 1]] * 3, ("--edge", "repeat"), (0, 0, [0.5, 0.5, 0.5, 1])),
                ([[1, 1, 1]] * 3, (), (0, 0, [0.5, 0.5, 0.5, 4 / 9])),
                ([[0, -1, 0], [-1, 7, -1], [0, -1, 0]], (), (2, 2, [1, 1, 1, 1])),
                ([[0, -1, 0], [-1, 7, -1], [0, -1, 0]], ("--no-clamp",), (2, 2, [5 / 3, 5 / 3, 5 / 3, 1]))):
            self.vx("convolve", "in.tif", "--kernel", self.kernel(kernel), "--normalize", *words, "-o", "out.tif")
            y, x, want = pixel
            got = self.deep("out.tif")[y, x]
            np.testing.assert_allclose(got, want[:got.size], rtol=1e-5, err_msg=str(words))
        said = self.vx("convolve", self.png("in.png", random_pixels(8, 6, 6)), "--kernel",
                       self.kernel([[-1, -1, -1], [-1, 8, -1], [-1, -1, -1]]), "--no-clamp", "-o", "out.png")[1]
        self.assertRegex(said, r"note: in.png: --no-clamp has no effect[^\n]*\n"
                               r"vx: note: in.png: becomes transparent [^\n]*sum to 0")

    def test_the_text_of_a_kernel(self):
        self.png("in.png", random_pixels(9, 20, 20))
        # Commas, signs, comments, a byte order mark and a missing line feed are allowed.
        self.text("k.txt", "\ufeff# Schärfen\r\n 0,-1,\t0 # oben\r\n# mitten\r\n-1, +5, -1\r\n0 -1 0")
        self.vx("convolve", "in.png", "--kernel", "k.txt", "--normalize", "-o", "a.png")
        self.kernel(*[[[0, -1, 0], [-1, 5, -1], [0, -1, 0]]] * 4)
        self.vx("convolve", "in.png", "--kernel", "k.txt", "--normalize", "-o", "b.png")
        self.assertEqual(self.contents("a.png"), self.contents("b.png"))
        for line in ((), ("--one-dimensional", "y")):
            self.text("k.txt", self.vx("kernel", "--gaussian", "2.5", *line[:1])[0])
            self.vx("convolve", "in.png", "--kernel", "k.txt", "--normalize", *line, "-o", "a.png")
            self.vx("convolve", "in.png", "--gaussian", "2.5", *line, "-o", "b.png")
            self.assertEqual(self.contents("a.png"), self.contents("b.png"))

    def test_resume_reads_the_kernel(self):
        self.png("in.png", random_pixels(1, 5, 5))
        for text, status in (("256", "done"), ("256 # the same", "up_to_date"), ("255", "done")):
            record = json.loads(self.vx("convolve", "in.png", "--kernel", self.text("k.txt", text), "-o", "out.png",
                                        "--resume", "--json")[0])
            self.assertEqual(record["status"], status, text)

    def test_kernel(self):
        record = json.loads(self.vx("kernel", "--gaussian", 2.5, "--json")[0])
        x = np.arange(-3, 4)
        distance = np.hypot(x, x[:, None]) / 3.5
        weights = np.where(distance > 1, 0, 1 - (1 - np.exp(-2.378 * distance ** 2)) * 1.102) * 255
        np.testing.assert_array_equal(record["weights"], np.floor(weights + 0.5).clip(0, 255))
        self.assertEqual((record["diameter"], record["sum"]), (7, np.sum(record["weights"])))
        row = json.loads(self.vx("kernel", "--gaussian", 2.5, "--json", "--one-dimensional", "--normalize",
                                 "--multiplier", "0.5")[0])["weights"]
        half = weights[3] * 0.5
        np.testing.assert_array_equal(row, [np.floor(np.floor(half + 0.5) * (255 * x.size / half.sum()) + 1e-9)])


if __name__ == "__main__":
    unittest.main()
