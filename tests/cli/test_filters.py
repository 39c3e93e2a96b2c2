# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""blur, convolve, kernel: values and refusals."""

import json
import os
import unittest

import numpy as np
from vxcommand import CommandTest, contents, random_pixels, read_tiff, write_tiff


def profile(d):
    return np.where(d > 1, 0, 1 - (1 - np.exp(-2.378 * d * d)) * 1.102)


def gaussian(radius):
    reach = int(np.ceil(radius))
    return np.floor(profile(np.abs(np.arange(-reach, reach + 1)) / (radius + 1)) * 255)


def box(radius):
    reach = int(np.ceil(radius))
    weights = np.full(2 * reach + 1, 1024.0)
    weights[[0, -1]] -= np.floor((reach - radius) * 1024)
    return weights


def spread(weights, size, grow, hold):
    """The share of each source pixel in each target pixel, along one axis."""
    reach = len(weights) // 2
    full = np.array([np.convolve(row, weights) for row in np.eye(size)]).T / weights.sum()
    shares = full if grow else full[reach:reach + size]
    return shares / shares.sum(1, keepdims=True) if hold else shares


def straight(picture, rows, columns):
    """Colours weighted by alpha; float, alpha last."""
    mix = lambda plane: rows @ plane @ columns.T
    alpha = mix(picture[..., 3])
    with np.errstate(invalid="ignore", divide="ignore"):
        return np.dstack([np.where(alpha > 0, mix(picture[..., c] * picture[..., 3]) / alpha, 0)
                          for c in range(3)] + [alpha])


def hide(pixels):
    """Glaring colour where nothing is to be seen."""
    pixels = pixels.copy()
    pixels[pixels[..., 3] == 0, :3] = 60000 if pixels.dtype == np.float32 else np.iinfo(pixels.dtype).max
    return pixels


def impulse_and_noise():
    pixels = random_pixels(2, 13, 33, channels=3)
    pixels[:, :20] = 0
    pixels[6, 9] = 255, 200, 90
    return pixels


class FilterTest(CommandTest):
    def deep(self, seed=1):
        """A 32-bit picture, written as in.tif."""
        pixels = hide((random_pixels(seed, 24, 20, np.uint16) / np.float32(65535)).astype(np.float32))
        write_tiff(self.path("in.tif"), pixels)
        return pixels.astype(float)

    def text(self, name, *blocks):
        with open(self.path(name), "w") as file:
            file.write("\n\n".join("\n".join(" ".join(map(str, row)) for row in block) for block in blocks))
        return name


class Blur(FilterTest):
    def test_straight_pixels(self):
        pixels = self.deep()
        still = np.array([1.0])
        boxes = lambda r, n: box(r) if n == 1 else np.convolve(boxes(r, n - 1), box(r))
        for words, across, down, hold in (
                (("--gaussian", "3.5"), gaussian(3.5), gaussian(3.5), True),
                (("--gaussian", "3.5", "--edge", "fade"), gaussian(3.5), gaussian(3.5), False),
                (("--gaussian", 40, "--axis", "x"), gaussian(40), still, True),
                (("--gaussian", 2, "--grow"), gaussian(2), gaussian(2), False),
                (("--box", "2.25"), box(2.25), box(2.25), True),
                (("--box", 4, "--axis", "y", "--grow"), still, box(4), False),
                (("--box", "1.5", "--iterations", 3, "--edge", "fade"), *[boxes(1.5, 3)] * 2, False),
                (("--box", "1.5", "--iterations", 3, "--grow"), *[boxes(1.5, 3)] * 2, False)):
            with self.subTest(words):
                self.vx("blur", "in.tif", *words, "-o", "out.tif")
                got = read_tiff(self.path("out.tif"))[0]
                grow = "--grow" in words
                want = straight(pixels, spread(down, 24, grow, hold), spread(across, 20, grow, hold))
                self.assertEqual(got.shape, want.shape)
                np.testing.assert_allclose(got[..., 3], want[..., 3], atol=2e-6)
                seen = want[..., 3] > 1e-3
                np.testing.assert_allclose(got[seen], want[seen], atol=3e-5)

    def test_impulse_and_noise_at_8_bits(self):
        def run(pixels, weights):  # opaque; each pass rounds
            for axis in (1, 0):
                shares = spread(weights, pixels.shape[axis], False, True)
                moved = np.moveaxis(pixels, axis, 0)
                pixels = np.moveaxis(np.floor(np.tensordot(shares, moved, 1) + 0.5 + 1e-9), 0, axis)
            return pixels

        picture = impulse_and_noise()
        self.png("in.png", picture)
        for words, weights in ((("--box", "1.75"), box(1.75)), (("--gaussian", 3), gaussian(3))):
            self.vx("blur", "in.png", *words, "-o", "out.png")
            np.testing.assert_array_equal(self.pixels("out.png"), run(picture, weights), str(words))
            self.vx("blur", "in.png", *words, "--channels", "g", "-o", "out.png")
            want = picture.copy()
            want[..., 1] = run(picture, weights)[..., 1]
            np.testing.assert_array_equal(self.pixels("out.png"), want)

    def test_borders_and_alpha(self):
        write_tiff(self.path("in.tif"), np.full((9, 12, 4), (200, 31, 7, 5), np.uint8))
        for depth in (8, 16, 32):
            self.vx("convert", "in.tif", "--alpha", "ignore", "--depth", depth, "-o", "even.tif")
            plain = read_tiff(self.path("even.tif"))[0]
            for words in (("--gaussian", "12.5"), ("--box", "3.3", "--iterations", 3), ("--box", 500)):
                self.vx("blur", "even.tif", *words, "-o", "out.tif")
                np.testing.assert_allclose(read_tiff(self.path("out.tif"))[0], plain, rtol=1e-6)
            for words, shape in ((("--edge", "fade"), (9, 12, 4)), (("--grow",), (13, 16, 4))):
                told = self.vx("blur", "even.tif", "--box", 2, *words, "-o", "out.tif", "--json")[0]
                got = read_tiff(self.path("out.tif"))[0]
                self.assertEqual(got.shape, shape)
                self.assertLess(got[0, 0, 3], got[4, 4, 3])
                np.testing.assert_allclose(got[2:-2, 2:-2, :3],  # no border darkens
                                           np.broadcast_to(plain[0, 0], (shape[0] - 4, shape[1] - 4, 3)),
                                           rtol=1e-5, atol={8: 2, 16: 4, 32: 0}[depth])
                self.assertEqual(json.loads(told)["at"], [-2, -2] if "--grow" in words else [0, 0])
        pixels = random_pixels(3, 8, 8)
        self.png("in.png", pixels)
        for radius in (("--gaussian", 0), ("--box", 0, "--iterations", 9)):
            self.vx("blur", "in.png", *radius, "-o", "out.png")
            np.testing.assert_array_equal(self.pixels("out.png"), pixels)


class Convolve(FilterTest):
    def filtered(self, kernels, line="", edge="edge"):
        """Sums over the window of planes, before any division. Kernels and planes alike."""
        def sums(plane, kernel):
            kernel = np.atleast_2d(kernel) if line != "y" else np.reshape(kernel, (-1, 1))
            down, across = (side // 2 for side in kernel.shape)
            padded = np.pad(plane, ((down, down), (across, across)), edge)
            return sum(kernel[y, x] * padded[y:y + plane.shape[0], x:x + plane.shape[1]]
                       for y in range(kernel.shape[0]) for x in range(kernel.shape[1]))
        return lambda planes: np.dstack([sums(planes[..., c], kernels[c]) for c in range(len(kernels))])

    def test_opaque_pictures(self):
        rng = np.random.default_rng(4)
        picture = impulse_and_noise()
        self.png("in.png", picture)
        for size, line, normalize in ((3, "", True), (3, "", False), (5, "x", True), (5, "y", False), (1, "", False)):
            shape = (size,) if line else (size, size)
            a, r, g, b = rng.integers(-200 if normalize else -900, 2500, (4, *shape))
            for name, blocks in (("one", [r]), ("four", [a, r, g, b])):
                self.text("k.txt", *[np.atleast_2d(k) for k in blocks])
                kernels = [r, g, b] if name == "four" else [r, r, r]
                with self.subTest(size=size, line=line, normalize=normalize, blocks=name):
                    self.vx("convolve", "in.png", "--kernel", "k.txt", "-o", "out.png",
                            *(("--normalize",) if normalize else ()),
                            *(("--one-dimensional", line) if line else ()))
                    sums = self.filtered(kernels, line)(picture.astype(np.int64))
                    over = np.array([k.sum() if normalize else 256 * k.size for k in kernels])
                    np.testing.assert_array_equal(self.pixels("out.png"),
                                                  np.clip(np.trunc(sums / over), 0, 255))

    def test_sums_beyond_32_bits(self):
        self.text("k.txt", [[30000] * 3] * 3)
        write_tiff(self.path("in.tif"), np.full((5, 5, 4), 65535, np.uint16))
        self.vx("convert", "in.tif", "--alpha", "ignore", "-o", "white.tif")
        self.vx("convolve", "white.tif", "--kernel", "k.txt", "--normalize", "-o", "out.tif")
        np.testing.assert_array_equal(read_tiff(self.path("out.tif"))[0], np.full((5, 5, 3), 65535))

    def test_alpha(self):
        pixels = self.deep(6)
        sharpen = np.array([[0, -1, 0], [-1, 5, -1], [0, -1, 0]])
        centre = np.array([[0, 0, 0], [0, 1, 0], [0, 0, 0]])
        contours = np.array([[-1, -1, -1], [-1, 8, -1], [-1, -1, -1]])
        products = np.dstack([pixels[..., :3] * pixels[..., 3:], pixels[..., 3]])
        for alpha, colour in ((sharpen, sharpen), (centre, contours), (centre, centre)):
            for edge, mode in (("fade", "constant"), ("repeat", "edge")):
                for words in ((), ("--no-clamp",)):
                    self.text("k.txt", alpha, colour, colour, colour)
                    self.vx("convolve", "in.tif", "--kernel", "k.txt", "--normalize", *words,
                            *(() if edge == "fade" else ("--edge", edge)), "-o", "out.tif")
                    sums = self.filtered([colour] * 3 + [alpha], edge=mode)(products)
                    seen = sums[..., 3] > 0.01
                    want = sums[seen][:, :3] / sums[seen][:, 3:]
                    got = read_tiff(self.path("out.tif"))[0]
                    np.testing.assert_allclose(got[seen][:, :3], want if words else np.clip(want, 0, 1),
                                               rtol=1e-4, atol=1e-4)
                    np.testing.assert_allclose(got[..., 3], np.clip(sums[..., 3], 0, 1), atol=1e-5)

    def test_even_colour_stays_even(self):
        pixels = random_pixels(7, 30, 30)
        pixels[..., :3] = 180, 90, 20
        self.png("in.png", hide(pixels))
        self.text("k.txt", [[-1, -2, -1], [-2, 16, -2], [-1, -2, -1]])
        for words in (("--kernel", "k.txt", "--normalize"), ("--gaussian", "4.5")):
            self.vx("convolve", "in.png", *words, "-o", "out.png")
            got = self.pixels("out.png")
            self.assertTrue((got[got[..., 3] > 0][:, :3] == (180, 90, 20)).all(), words)

    def test_notes(self):
        self.text("k.txt", [[-1, -1, -1], [-1, 8, -1], [-1, -1, -1]])
        self.png("in.png", random_pixels(8, 6, 6))
        said = self.vx("convolve", "in.png", "--kernel", "k.txt", "--no-clamp", "-o", "out.png")[1]
        self.assertRegex(said, r"note: in.png: --no-clamp has no effect[^\n]*\n"
                               r"vx: note: in.png: becomes transparent [^\n]*sum to 0")

    def test_resuming_sees_the_kernel(self):
        for frame in (1, 2):
            self.png(f"in.{frame}.png", random_pixels(frame, 5, 5))
        words = ("convolve", "in.#.png", "--kernel", "k.txt", "-o", "out.#.png", "--resume", "--json")
        status = lambda: [json.loads(line)["status"] for line in self.vx(*words)[0].splitlines()[:2]]
        self.text("k.txt", [[256]])
        self.assertEqual(status(), ["done"] * 2)
        self.text("k.txt", [["256 # the same"]])
        self.assertEqual(status(), ["up_to_date"] * 2)
        self.text("k.txt", [[255]])
        self.assertEqual(status(), ["done"] * 2)


class Kernel(FilterTest):
    def test_values(self):
        for radius in (0, 2.5, 7):
            reach = int(np.ceil(radius))
            x = np.arange(-reach, reach + 1)
            real = profile(np.hypot(x, x[:, None]) / (radius + 1)) * 255
            told = json.loads(self.vx("kernel", "--gaussian", radius, "--json")[0])
            np.testing.assert_array_equal(told["weights"], np.floor(real + 0.5).clip(0, 255))
            self.assertEqual((told["diameter"], told["sum"]), (2 * reach + 1, np.sum(told["weights"])))
            row = json.loads(self.vx("kernel", "--gaussian", radius, "--json", "--one-dimensional",
                                     "--normalize", "--multiplier", "0.5")[0])["weights"]
            half = real[reach] * 0.5
            np.testing.assert_array_equal(
                row, [np.floor(np.floor(half + 0.5) * (255 * x.size / half.sum()) + 1e-9)])

    def test_is_read_back(self):
        self.png("in.png", random_pixels(9, 20, 20))
        for line in ((), ("--one-dimensional", "x"), ("--one-dimensional", "y")):
            with open(self.path("k.txt"), "w") as file:
                file.write(self.vx("kernel", "--gaussian", "2.5", *line[:1])[0])
            self.vx("convolve", "in.png", "--kernel", "k.txt", "--normalize", *line, "-o", "a.png")
            self.vx("convolve", "in.png", "--gaussian", "2.5", *line, "-o", "b.png")
            self.assertEqual(contents(self.path("a.png")), contents(self.path("b.png")))


class Refusals(FilterTest):
    def refuse(self, code, said, *words):
        with self.subTest(words):
            before = self.names()
            out, error = self.vx(*words, code=code)
            self.assertRegex(error, rf"\Avx: [^\n]*{said}[^\n]*\n\Z")
            self.assertEqual((out, self.names()), ("", before))

    def test_usage(self):
        self.png("in.png", random_pixels(1, 8, 8))
        self.png("long.png", random_pixels(1, 4, 30000, channels=3))
        self.text("k.txt", [[1] * 3] * 3)
        self.text("huge.txt", [[2**31 - 1] * 3] * 3)
        for i, radius in enumerate(("-1", "nan", "inf", "1e9", "32768", "4x", "-0.001")):
            kind = ("--gaussian", "--box")[i % 2]
            self.refuse(2, f"{kind} '{radius}': must be a number from 0 to 32767",
                        "blur", "in.png", kind, radius, "-o", "out.png")
        for words, said in {
                (): "needs either --gaussian R or --box R", ("--gaussian", 1, "--box", 1): "either",
                ("--gaussian", 1, "--iterations", 2): "--iterations: belongs to --box",
                ("--box", 1, "--iterations", 0): "--iterations '0'.*1 to 100",
                ("--box", 1, "--iterations", "1.5"): "--iterations",
                ("--box", "2621.5", "--iterations", 100): "2621.5 reaches 262200 pixels; at most 262144",
                ("--box", 1, "--axis", "z"): "--axis 'z'.*both x y", ("--box", 1, "--channels", "rgx"): "argb",
                ("--box", 1, "--channels", "rr"): "argb", ("--box", 1, "--edge", "repeat"): "fade hold-level",
                ("--box", 15000, "--grow"): "in.png: --grow makes it 30008 x 30008"}.items():
            self.refuse(2, said, "blur", "in.png", *words, "-o", "out.png")
        for words, said in {
                (): "needs either --kernel FILE or --gaussian R",
                ("--kernel", "k.txt", "--gaussian", 1): "either",
                ("--gaussian", "512"): "from 0 to 511", ("--gaussian", "-2"): "0 to 511",
                ("--kernel", "k.txt", "--one-dimensional", "z"): "--one-dimensional 'z'",
                ("--kernel", "k.txt", "--edge", "hold"): "fade repeat",
                ("--kernel", "huge.txt", "--normalize"): "huge.txt sum to 19327352823.*32 bits"}.items():
            self.refuse(2, said, "convolve", "in.png", *words, "-o", "out.png")
        self.refuse(2, "long.png: --edge repeat needs 30002 x 6.*use --edge fade",
                    "convolve", "long.png", "--kernel", "k.txt", "-o", "out.png")
        for words in (("--gaussian", "-1"), ("--gaussian", "512"), ("--gaussian", "nan"), (),
                      ("--gaussian", 1, "--multiplier", "inf"), ("--gaussian", 1, "--multiplier", "-1")):
            self.refuse(2, "", "kernel", *words)
        for verb in ("blur", "convolve", "kernel"):
            self.assertRegex(self.vx(verb, "--help")[0], rf"Examples?:\n  vx {verb} ")

    def test_kernel_files(self):
        self.png("in.png", random_pixels(1, 8, 8))
        os.mkdir(self.path("folder"))
        nine = "1 1 1\n1 1 1\n1 1 1\n"
        for text, said, *line in (
                ("", "is empty"), ("# nothing\n\n \n", "is empty"),
                ("1 2 3\n4 5\n6 7 8\n", "line 2: row of 2 numbers, the first row has 3"),
                ("1 2 3\n4 5 6\n", "line 1: kernel of 2 rows with 3 numbers each; .*as many rows"),
                ("1 2\n3 4\n", "2 rows with 2 numbers each; the count must be odd"),
                ("1 2 3\n", "1 row with 3 numbers each; .*--one-dimensional x or y"),
                ("1\n2\n3\n", "3 rows with 1 number each; .*--one-dimensional"),
                (nine, "3 rows with 3 numbers each; --one-dimensional needs one row", "x"),
                ("1 2\n", "1 row with 2 numbers each; the count must be odd", "y"),
                ("1 " * 1025, "at most 1023", "x"),
                ("\n# so\n1 0 0\n0 1.5 0\n", r"line 4: '1\.5' is not a whole number"),
                ("1 2 3x\n", "line 1: '3x'"), ("0x10\n", "'0x10'"), ("1 - 2\n", "'-'"),
                ("1, ,2\n", "line 1: a comma"), ("2147483648\n", "'2147483648' is beyond 32 bits"),
                (f"{nine}\n{nine}", "2 blocks"), (f"{nine}\n5\n\n{nine}\n{nine}", "line 5: kernel of size 1"),
                ("1 \0 2\n", "is binary"), (contents(self.path("in.png")), "is binary")):
            with open(self.path("k.txt"), "wb") as file:
                file.write(text if isinstance(text, bytes) else text.encode())
            self.refuse(3, f"k.txt: .*{said}", "convolve", "in.png", "--kernel", "k.txt", "-o", "out.png",
                        *(("--one-dimensional", *line) if line else ()))
        for name, said in (("no.txt", "no such file"), ("folder", "cannot be read"), ("/dev/zero", "64 MiB")):
            self.refuse(3, f"{name}: .*{said}", "convolve", "in.png", "--kernel", name, "-o", "out.png")
        # What may stand in one: commas, signs, comments, a mark in front, no line feed at the end.
        with open(self.path("k.txt"), "wb") as file:
            file.write("\ufeff# Schärfen\r\n 0,-1,\t0 # oben\r\n# mitten\r\n-1, +5, -1\r\n0 -1 0".encode())
        self.vx("convolve", "in.png", "--kernel", "k.txt", "--normalize", "-o", "a.png")
        self.text("k.txt", *[[[0, -1, 0], [-1, 5, -1], [0, -1, 0]]] * 4)
        self.vx("convolve", "in.png", "--kernel", "k.txt", "--normalize", "-o", "b.png")
        self.assertEqual(contents(self.path("a.png")), contents(self.path("b.png")))


if __name__ == "__main__":
    unittest.main()
