# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""blur, convolve, kernel: what each option does. The blur's own arithmetic is tested with the library."""

import json
import unittest

import numpy as np
from vxcommand import CommandTest, random_pixels


class Blur(CommandTest):
    def test_options(self):
        pixels = np.ones((5, 7, 4), np.float32)
        self.tif("white.tif", pixels)
        pixels[..., 3] = 0
        pixels[2, 3, 3] = 1  # one opaque pixel
        self.tif("dot.tif", pixels)
        one = np.ones(3) / 3
        three = np.convolve(np.convolve(one, one), one)
        dot = lambda down, across: np.pad(np.outer(down, across), (((5 - len(down)) // 2,) * 2, ((7 - len(across)) // 2,) * 2))
        for source, words, want in (
                ("dot.tif", (), dot(one, one)),
                ("dot.tif", ("--axis", "y"), dot(one, [1])),
                ("dot.tif", ("--axis", "x", "--iterations", 3), dot([1], three)),
                ("dot.tif", ("--axis", "x", "--grow"), np.pad(dot([1], one), ((0, 0), (1, 1)))),
                ("white.tif", ("--axis", "y"), np.ones((5, 7))),
                ("white.tif", ("--axis", "y", "--edge", "fade"), np.outer([2 / 3, 1, 1, 1, 2 / 3], np.ones(7)))):
            record = json.loads(self.vx("blur", source, "--box", 1, *words, "-o", "out.tif", "--json")[0])
            got = self.deep("out.tif")
            alpha = got[..., 3] if got.shape[2] == 4 else np.ones(got.shape[:2])
            np.testing.assert_allclose(alpha, want, atol=2e-6, err_msg=str(words))
            self.assertEqual(record["at"], [-1, 0] if "--grow" in words else [0, 0])

    def test_channels_and_radius_0(self):
        picture = random_pixels(2, 13, 33, channels=3)
        self.png("in.png", picture)
        results = []
        for words in (("--gaussian", 3), ("--gaussian", 3, "--channels", "g"), ("--gaussian", 0), ("--box", 0)):
            self.vx("blur", "in.png", *words, "-o", "out.png")
            results.append(self.pixels("out.png"))
        self.assertTrue((results[0] != picture).mean() > 0.5)
        green = np.dstack([picture[..., 0], results[0][..., 1], picture[..., 2]])
        np.testing.assert_array_equal(results[1:], [green, picture, picture])


class Convolve(CommandTest):
    def kernel(self, *blocks):
        return self.text("k.txt", "\n\n".join("\n".join(" ".join(map(str, row)) for row in np.atleast_2d(b))
                                              for b in blocks))

    def test_kernels(self):
        picture = random_pixels(2, 13, 17, channels=3)
        self.png("in.png", picture)
        kernels = np.zeros((4, 9), int)
        for kernel, (at, weight) in zip(kernels, ((4, 5), (0, 256), (5, 512), (7, 128))):
            kernel[at] = weight  # alpha, red, green, blue take one neighbour each
        up_left, right, down = (np.pad(picture, ((1, 1), (1, 1), (0, 0)), "edge")[y:y + 13, x:x + 17]
                                for y, x in ((0, 0), (1, 2), (2, 1)))
        blocks = kernels.reshape(4, 3, 3)
        for text, words, want in (
                (blocks, (), np.dstack([up_left[..., 0] // 9, right[..., 1].astype(int) * 2 // 9, down[..., 2] // 18])),
                (blocks, ("--normalize",), np.dstack([up_left[..., 0], right[..., 1], down[..., 2]])),
                ([blocks[2]], ("--normalize",), right),
                ([[0, 0, 768]], ("--one-dimensional", "x"), right), ([[0, 0, 768]], ("--one-dimensional", "y"), down)):
            self.vx("convolve", "in.png", "--kernel", self.kernel(*text), *words, "-o", "out.png")
            np.testing.assert_array_equal(self.pixels("out.png"), want, str(words))

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
        self.kernel(*[[[0, -1, 0], [-1, 5, -1], [0, -1, 0]]] * 4)
        # Commas, signs, comments, a byte order mark and a missing line feed are allowed.
        self.text("same.txt", "\ufeff# Schärfen\r\n 0,-1,\t0 # oben\r\n# mitten\r\n-1, +5, -1\r\n0 -1 0")
        self.text("gaussian.txt", self.vx("kernel", "--gaussian", "2.5", "--one-dimensional")[0])
        line = ("--one-dimensional", "y")
        for words, same in ((("--kernel", "k.txt"), ("--kernel", "same.txt")),
                            (("--gaussian", "2.5", *line), ("--kernel", "gaussian.txt", *line))):
            self.vx("convolve", "in.png", *words, "--normalize", "-o", "a.png")
            self.vx("convolve", "in.png", *same, "--normalize", "-o", "b.png")
            self.assertEqual(self.contents("a.png"), self.contents("b.png"))

    def test_kernel(self):
        record = json.loads(self.vx("kernel", "--gaussian", 2.5, "--json")[0])
        weights = np.array(record["weights"])
        np.testing.assert_array_equal(weights, weights.T[::-1])
        self.assertEqual((record["diameter"], record["sum"], weights[3, 3]), (7, weights.sum(), 255))
        row = json.loads(self.vx("kernel", "--gaussian", 2.5, "--json", "--one-dimensional", "--multiplier", 0.5)[0])
        np.testing.assert_allclose(row["weights"], [weights[3] / 2], atol=0.51)


if __name__ == "__main__":
    unittest.main()
