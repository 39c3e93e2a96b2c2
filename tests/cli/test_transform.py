# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""vx transform: places and matrices, motion, paths, and all options of a layer."""

import json
import unittest

import numpy as np
from PIL import Image, ImageCms
from vxcommand import CommandTest, contents, random_pixels, read_tiff, write_tiff

USAGE, INPUT = 2, 3


# --- by definition: rows (x y 1) times a matrix, bilinear in colours times alpha ------------------

def move(x, y):
    return np.array([[1, 0, 0], [0, 1, 0], [x, y, 1.0]])


def place(size, anchor=None, scale=(1, 1), skew=(0, 0), rotate=0, translate=(0, 0)):
    """Around the anchor scale, skew and rotation, one after the other; then the translation."""
    ax, ay = ((side - 1) / 2 for side in size) if anchor is None else anchor
    tan_x, tan_y = np.tan(np.radians(skew))
    c, s = np.cos(np.radians(rotate)), np.sin(np.radians(rotate))
    lean = np.array([[1, tan_y, 0], [tan_x, 1, 0], [0, 0, 1]])
    turn = np.array([[c, s, 0], [-s, c, 0], [0, 0, 1]])
    return move(-ax, -ay) @ np.diag([*scale, 1]) @ lean @ turn @ move(ax, ay) @ move(*translate)


def drawn(pixels, matrix, size):
    """The layer on transparent ground, colours times alpha; outside of it is transparent."""
    width, height = size
    y, x = np.mgrid[0:height, 0:width]
    source = np.stack([x, y, np.ones_like(x)], -1) @ np.linalg.inv(matrix)
    at = source[..., :2] / source[..., 2:]
    padded = np.pad(times_alpha(pixels.astype(np.float64)), ((1, 2), (1, 2), (0, 0)))
    at = np.clip(at + 1, 0, [pixels.shape[1] + 1, pixels.shape[0] + 1])
    whole = np.floor(at).astype(int)
    u, v = np.moveaxis(at - whole, -1, 0)[..., None]
    i, j = whole[..., 0], whole[..., 1]
    return ((padded[j, i] * (1 - u) + padded[j, i + 1] * u) * (1 - v)
            + (padded[j + 1, i] * (1 - u) + padded[j + 1, i + 1] * u) * v)


def times_alpha(pixels):
    return np.dstack([pixels[..., :3] * pixels[..., 3:], pixels[..., 3:]])


class TransformTest(CommandTest):
    SIZE = 22, 17  # of the layer

    def setUp(self):
        super().setUp()
        self.layer = (random_pixels(1, 17, 22, np.uint16) / 65535).astype(np.float32)
        write_tiff(self.path("l.tif"), self.layer)

    def draw(self, *words, layer="l.tif", out="o.tif", code=0):
        """Gives the result in float, colours times alpha, and what is told."""
        told, said = self.vx("transform", layer, "-o", out, "--json", *words, code=code)
        return times_alpha(read_tiff(self.path(out))[0]), json.loads(told), said

    # Positions go in steps that are rounded to 1/65536 pixel, 40 of them at most, on two axes.
    def assertNear(self, got, want, tolerance=80 * 0.5 / 65536, what=""):
        self.assertEqual(got.shape, want.shape)
        self.assertLess(np.abs(got - want).max(), tolerance, what)


class Places(TransformTest):
    def test_places_and_matrices(self):
        for words, parts in {
                ("--translate", "3.3,-1.6"): {"translate": (3.3, -1.6)},
                ("--translate", "-7,2"): {"translate": (-7, 2)},
                ("--rotate", "17"): {"rotate": 17}, ("--rotate=-90",): {"rotate": -90},
                ("--scale", "1.7"): {"scale": (1.7, 1.7)},
                ("--scale", "2,-1", "--anchor", "4,9"): {"scale": (2, -1), "anchor": (4, 9)},
                ("--skew", "30,0"): {"skew": (30, 0)},
                ("--skew", "-12,20", "--anchor=center"): {"skew": (-12, 20)},
                # The order of the words is of no matter.
                ("--translate", "5,4.5", "--rotate", "200", "--skew", "15,5", "--anchor", "-3.5,2",
                 "--scale", "1.4,2"): {"translate": (5, 4.5), "rotate": 200, "skew": (15, 5),
                                       "anchor": (-3.5, 2), "scale": (1.4, 2)}}.items():
            matrix = place(self.SIZE, **parts)
            got, told, _ = self.draw(*words, "--size", "40x30")
            self.assertNear(got, drawn(self.layer, matrix, (40, 30)), what=words)
            np.testing.assert_allclose(told["layer"]["matrix"], matrix.ravel(), atol=1e-9)
        nine = (1.5, 0.25, 0, -0.5, 1.25, 0, -2.5, 3, 1)
        for words in (nine, ("1.5,0.25,0,", "-0.5,1.25,0", "-2.5,3,1"), (",".join(map(str, nine)),)):
            got, _, _ = self.draw("--matrix", *words, "--quality", "high")
            self.assertNear(got, drawn(self.layer, np.reshape(nine, (3, 3)), self.SIZE), what=words)
        plain, _, _ = self.draw()
        self.assertNear(plain, times_alpha(self.layer), 1e-6)
        bent, _, said = self.draw("--matrix", "1,0,0.01,0,1,0.02,0,0,1")  # a perspective
        self.assertTrue((bent != plain).any() and not said)

    def test_quarter_turns_and_mirrors_are_exact(self):
        pixels = random_pixels(3, 9, 9)
        self.png("s.png", pixels)
        for words, want in {("--rotate", 90): np.rot90(pixels, -1), ("--rotate", 180): pixels[::-1, ::-1],
                            ("--rotate", -450): np.rot90(pixels), ("--scale", "-1,1"): pixels[:, ::-1]}.items():
            for quality in ("draft", "high"):
                self.vx("transform", "s.png", *words, "--quality", quality, "-o", "o.png")
                seen = want[..., 3] > 0
                np.testing.assert_array_equal(self.pixels("o.png")[seen], want[seen], str(words))
                self.assertFalse(self.pixels("o.png")[~seen][:, 3].any())

    def test_a_reduction_averages_all_that_a_pixel_covers(self):
        def shares(size, count):
            """A box of ten source pixels around the middle of each target pixel."""
            start = 10 * np.arange(count)[:, None] - 5
            edge = np.arange(size) - 0.5
            return np.clip(np.minimum(start + 10, edge + 1) - np.maximum(start, edge), 0, None) / 10

        pixels = (random_pixels(5, 70, 90, np.uint16) / 65535).astype(np.float32)
        write_tiff(self.path("w.tif"), pixels)
        got, _, _ = self.draw("--scale", "0.1", "--anchor", "0,0", "--size", "12x10", layer="w.tif")
        want = np.einsum("ya,xb,abc->yxc", shares(70, 10), shares(90, 12), times_alpha(pixels))
        self.assertNear(got, want, 1e-4)
        nearest, _, _ = self.draw("--scale", "0.1", "--anchor", "0,0", "--quality", "draft", "--size",
                                  "9x7", layer="w.tif")
        self.assertNear(nearest, times_alpha(pixels[::10, ::10]), 1e-6)

    def test_a_pan_of_fractions_moves_in_every_frame(self):
        dot = np.zeros((9, 30, 4), np.uint8)
        dot[3:6, 3:6] = 255
        self.png("dot.png", dot)
        with open(self.path("pan.txt"), "w") as file:
            file.writelines(f"--translate {0.3 * i:.1f},0\n" for i in range(8))
        self.vx("transform", "dot.png", "--path", "pan.txt", "--shutter-angle", 0, "-o", "o.#.png")
        for i in range(8):
            cover = self.pixels(f"o.{i + 1}.png")[..., 3].astype(float)
            self.assertAlmostEqual((cover * np.arange(30)).sum() / cover.sum(), 4 + 0.3 * i, delta=0.01)
            self.assertLess(abs(cover.sum() - 9 * 255), 4)

    def test_what_is_not_seen_is_told(self):
        for words, said in ((("--translate", "100,0"), "lies wholly outside the picture"),
                            (("--translate", "1e300,0"), "lies wholly outside"),
                            (("--translate", "65536,0"), "lies wholly outside"),  # does not come round
                            # Between two sub-samples it flies over.
                            (("--translate", "-90,0", "--to", "--translate", "200,0", "--motion-samples", 2),
                             "lies wholly outside"),
                            (("--scale", "0,1"), "flattened by a scale of 0"),
                            (("--matrix", 1, 1, 0, 1, 1, 0, 0, 0, 1), "flattened"),
                            (("--scale", "1e308", "--translate", "9,9"), "flattened .* beyond all"),
                            (("--matrix", 0, 0, 0, 0, 0, 0, 0, 0, 1), "flattened")):
            got, _, error = self.draw(*words)
            self.assertRegex(error, r"\Avx: note: l\.tif: [^\n]*" + said + "[^\n]*nothing is drawn\n")
            self.assertFalse(got.any())
        _, _, error = self.draw("--translate", "21.5,0")
        self.assertEqual(error, "")


class Ground(TransformTest):
    """What lies below, and the options that a layer of vx composite has."""

    def test_a_whole_step_is_a_composite(self):
        for name, size, dtype in (("b.png", (20, 30), np.uint8), ("l.png", (11, 12), np.uint8),
                                  ("m.png", (20, 30), np.uint8), ("d.png", (9, 9), np.uint16)):
            self.png(name, random_pixels(size[0], *size, dtype))
        for words in ((), ("--mode", "screen", "--opacity", 0.4), ("--mode", "dissolve", "--opacity", 0.5,
                                                                   "--seed", -7),
                      ("--field", "odd", "--keep-alpha"), ("--mask", "m.png", "--mask-at", "2,-3"),
                      ("--mask", "m.png", "--mask-use", "inverse-luma"), ("--mode", "stencil-luma"),
                      ("--matte", "d.png", "--matte-use", "inverse-luma", "--feather", 2,
                       "--feather-kind", "box"), ("--linear",), ("--profile", "Display P3"),
                      ("--depth", 16), ("--mode", "mask-mix", "--mask", "m.png")):
            with self.subTest(words):
                self.vx("composite", "b.png", "--layer", "l.png", "--at=-3,5", *words, "-o", "want.png")
                for quality in ("draft", "high"):
                    self.vx("transform", "l.png", "--over", "b.png", "--translate=-3,5", *words,
                            "--quality", quality, "-o", "got.png")
                    self.assertEqual(contents(self.path("got.png")), contents(self.path("want.png")))

    def test_without_a_background_the_picture_is_the_layers(self):
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        Image.fromarray(random_pixels(1, 8, 9, channels=3)).save(self.path("l.png"), icc_profile=profile)
        for words, size, mode in ((("--rotate", 30), (9, 8), "RGBA"), ((), (9, 8), "RGB"),
                                  (("--size", "20x3"), (20, 3), "RGBA"), (("--scale", 9), (9, 8), "RGB"),
                                  (("--size", "5x4"), (5, 4), "RGB"), (("--linear",), (9, 8), "RGB")):
            self.vx("transform", "l.png", *words, "-o", "o.png")
            with Image.open(self.path("o.png")) as image:
                self.assertEqual((image.size, image.mode), (size, mode), words)
                self.assertEqual(image.info["icc_profile"], profile)
        with open(self.path("p.txt"), "w") as file:
            file.write("1:\n--rotate 30\n")
        self.vx("transform", "l.png", "--path", "p.txt", "--shutter-angle", 0, "-o", "s.#.png")
        for frame in (1, 2):  # all frames of a sequence are of one kind
            with Image.open(self.path(f"s.{frame}.png")) as image:
                self.assertEqual(image.mode, "RGBA")
        told, _ = self.vx("transform", "l.png", "--profile", "Display P3", "-o", "o.png", "--json")
        self.assertEqual(json.loads(told)["color"]["layer_converted_from"], "sRGB built-in")
        self.png("b.png", random_pixels(2, 30, 40, np.uint16))
        told, _ = self.vx("transform", "l.png", "--over", "b.png", "-o", "o.png", "--json")
        told = json.loads(told)
        self.assertEqual((told["width"], told["height"], told["depth"]), (40, 30, 16))
        self.assertEqual(self.pixels("o.png").dtype.itemsize, 2)

    def test_all_depths(self):
        matrix = place((20, 24), rotate=33, scale=(1.2, 1.2), translate=(2.5, 1))
        for dtype, tolerance in ((np.uint8, 1.6 / 255), (np.uint16, 2 / 32768)):
            pixels = random_pixels(4, 24, 20, dtype)
            full = np.iinfo(dtype).max
            write_tiff(self.path("p.tif"), pixels)
            self.vx("transform", "p.tif", "--rotate", 33, "--scale", 1.2, "--translate", "2.5,1", "-o", "o.tif")
            got = read_tiff(self.path("o.tif"))[0] / full
            self.assertNear(times_alpha(got), drawn(pixels / full, matrix, (20, 24)), tolerance + 6e-4)


class Motions(TransformTest):
    def still(self, *words):
        return self.draw(*words, out="still.tif")[0]

    def test_a_motion_is_the_mean_of_its_sub_samples(self):
        nine = np.array([1, 0, 0, 0, 1, 0, 0, 0, 1]), np.array([1.5, 0.2, 0, -0.4, 1.1, 0, 4, 2, 1])
        ways = (
                ("--translate 1,2", "--translate 9,-2.5", lambda t: f"--translate {1 + 8 * t},{2 - 4.5 * t}"),
                ("", "--rotate 80", lambda t: f"--rotate {80 * t}"),
                ("", "--rotate -360", lambda t: f"--rotate {-360 * t}"),
                ("--rotate 10", "--rotate 370 --translate 6,0",
                 lambda t: f"--rotate {10 + 360 * t} --translate {6 * t},0"),
                ("--scale 1", "--scale 3", lambda t: f"--scale {1 + 2 * t}"),
                ("--scale 2 --anchor 3,3", "--scale 0", lambda t: f"--scale {2 - 2 * t} --anchor 3,3"),
                ("--scale 0", "--scale 1.5", lambda t: f"--scale {1.5 * t}"),
                ("--anchor 0,0 --rotate 20", "--anchor 20,8", lambda t: f"--rotate 20 --anchor {20 * t},{8 * t}"),
                ("--matrix " + " ".join(map(str, nine[0])), "--matrix " + ",".join(map(str, nine[1])),
                 lambda t: "--matrix " + ",".join(map(str, nine[0] * (1 - t) + nine[1] * t))))
        shutters = ((("--motion-samples", 4), 4, 1), (("--motion-samples", 1), 1, 1),
                    (("--motion-samples", 3, "--shutter-angle", 180), 3, 0.5),
                    (("--motion-samples", 2, "--shutter-angle", 450), 2, 1.25), (("--shutter-angle", 0), 1, 0))
        for i, (start, end, at) in enumerate(ways):
            for words, count, share in shutters if i in (0, 1, 8) else shutters[:1]:
                got, told, said = self.draw(*start.split(), "--to", *end.split(), *words)
                stills = [self.still(*at(share * k / count).split()) for k in range(count)]
                self.assertNear(got, np.mean(stills, axis=0), what=(start, end, words))
                if count > 1:
                    self.assertEqual((told["layer"]["matrices"], said), (count + 1, ""))

    def test_how_many_sub_samples_there_are_by_themselves(self):
        for words, count in ((("--to", "--rotate", "3"), 16), (("--to", "--translate", "40,0"), 40),
                             (("--to", "--translate", "80,0", "--shutter-angle", "90"), 20),
                             (("--to", "--translate", "0,5000"), 128), (("--to", "--rotate", "9999"), 128),
                             (("--to", "--matrix", 1, 0, 0, 0, 1, 0, 30, 40, 1), 50),
                             (("--to", "--rotate", "3", "--quality", "draft"), 8),
                             (("--to", "--rotate", "3", "--motion-samples", "256"), 256),
                             (("--to",), 0), (("--rotate", "5", "--to", "--rotate", "5"), 0)):
            _, told, _ = self.draw(*words)
            self.assertEqual(told["layer"]["matrices"], count + 1, words)

    def test_draft_takes_eight_sub_samples(self):
        for start, step in ((0, 1), (-48, 12)):  # at its ends the second is out of sight
            got, _, said = self.draw("--translate", f"{start},0", "--to", "--translate", f"{start + 8 * step},0",
                                     "--quality", "draft")
            stills = [self.still("--translate", f"{start + i * step},0") for i in range(8)]
            self.assertNear(got, np.mean(stills, axis=0))
            self.assertEqual(said, "")


class Paths(TransformTest):
    LINES = "--translate 1,0 --rotate 4", "--translate 5,2", "", "--scale 1.5 --translate 3.5,0"

    def write(self, name, text):
        with open(self.path(name), "w") as file:
            file.write(text)
        return name

    def want(self, layer, index, *words):
        """A frame of its own, from its line to the next."""
        end = ["--to", *self.LINES[index + 1].split()] if index + 1 < len(self.LINES) else []
        # What the next line does not name is as at the beginning, not as in the line before.
        for name, value in (("--translate", "0,0"), ("--rotate", "0"), ("--scale", "1")):
            if end and name not in end and name in self.LINES[index].split():
                end += [name, value]
        still = [] if end else ["--to"]
        self.vx("transform", layer, "--anchor", "2,3", *self.LINES[index].split(), *end, *still,
                "--motion-samples", 6, *words, "-o", "want.png")
        return contents(self.path("want.png"))

    def test_lines_belong_to_frames(self):
        shots = {1001 + i: random_pixels(i, 12, 14) for i in range(4)}
        for frame, pixels in shots.items():
            self.png(f"s.{frame}.png", pixels)
        rest = "# a comment\n" + self.LINES[0] + " # another\n\n1002: " + self.LINES[1] + "\n1003:\r\n" \
            + self.LINES[3] + "\n"
        self.write("p.txt", rest)
        words = ("s.####.png", "--path", "p.txt", "--anchor", "2,3", "--motion-samples", 6)
        _, said = self.vx("transform", *words, "-o", "o.####.png")
        self.assertEqual(said, "vx: note: s.1004.png: frame 1004 is drawn without motion; its path has no "
                               "line for frame 1005, where it would go\n")
        whole = [contents(self.path(f"o.{frame}.png")) for frame in shots]
        self.assertEqual(whole, [self.want(f"s.{frame}.png", i) for i, frame in enumerate(shots)])
        # A part of the frames is the same as in the whole.
        self.vx("transform", *words, "-o", "part.####.png", "--frames", "1003,1002")
        self.assertEqual([contents(self.path(f"part.{frame}.png")) for frame in (1002, 1003)], whole[1:3])
        # A still over the sequence, and a sequence made of a still alone.
        self.png("l.png", random_pixels(9, 12, 14))
        self.vx("transform", "l.png", "--over", *words, "-o", "over.####.png")
        self.assertEqual(contents(self.path("over.1002.png")), self.want("l.png", 1, "--over", "s.1002.png"))
        self.write("p.txt", "\n".join(line or "7:" for line in self.LINES[:2]) + "\n7: --rotate 3\n")
        told, _ = self.vx("transform", "l.png", *words[1:], "-o", "alone.##.png", "--json")
        frames = [json.loads(line) for line in told.splitlines()[:-1]]
        self.assertEqual([frame["frame"] for frame in frames], [1, 2, 7])
        self.assertEqual(contents(self.path("alone.01.png")), self.want("l.png", 0))

    def test_resume_does_what_a_new_line_changes(self):
        self.png("l.png", random_pixels(9, 12, 14))
        words = ("transform", "l.png", "--path", "p.txt", "-o", "o.#.png", "--resume", "--json")
        lines = [f"--translate {i},0" for i in range(5)]
        self.write("p.txt", "\n".join(lines))
        self.vx(*words)
        lines[2] = "--rotate 9"
        self.write("p.txt", "# new\n" + "\n".join(lines))
        told, _ = self.vx(*words)
        self.assertEqual([json.loads(line)["status"] for line in told.splitlines()[:-1]],
                         ["up_to_date", "done", "done", "up_to_date", "up_to_date"])

    def test_refusals(self):
        for i in (1, 2):
            self.png(f"s.{i}.png", random_pixels(i, 4, 4))
        self.png("old.png", random_pixels(1, 4, 4))
        for text, said in (("", "holds no line"), ("# nothing\n\n", "holds no line"),
                           ("--rotate\n", "line 1: --rotate: needs a value"),
                           ("--rotate 1\nrotate 3", "line 2: 'rotate': must be --anchor"),
                           ("--rotate 1\n--rotate x", "line 2: --rotate 'x': must be a finite number"),
                           ("--to --rotate 3", "line 1: --to: the next line"),
                           ("--opacity 0.5", "line 1: '--opacity': must be"),
                           ("2:\n1:\n--rotate 3", "line 3: frame 2 has line 1 already"),
                           ("x:--rotate 3", "line 1: frame 'x': must be a whole number"),
                           ("-1: --rotate 3", "line 1: frame '-1'"),
                           ("--matrix 1 0 0 0 1 0 0 0 1\n--rotate 3", "line 2: --matrix: .*both ends"),
                           ("--rotate 3", "has no line for frame 2, only for 1"),
                           ("5: --rotate 3\n", "has no line for frame 1, only for 5"), ("\0", "is binary")):
            with self.subTest(text):
                self.write("p.txt", text)
                self.refuse(INPUT, r"p\.txt: .*" + said, "transform", "s.#.png", "--path", "p.txt", "-o", "o.#.png")
        for code, said, words in ((INPUT, "none.txt: no such file", ("--path", "none.txt", "-o", "o.#.png")),
                                  (USAGE, "name the output like", ("--path", "p.txt", "-o", "old.png")),
                                  (USAGE, "--to: the lines of --path",
                                   ("--path", "p.txt", "--to", "--rotate", 1, "-o", "o.#.png"))):
            self.refuse(code, said, "transform", "l.tif", *words)

    def test_words_that_are_refused(self):
        self.png("old.png", random_pixels(1, 4, 4))
        nine = (1, 0, 0, 0, 1, 0, 0, 0, 1)
        for words, said in (
                (("--translate", "3"), "--translate '3': must be two numbers X,Y"),
                (("--rotate", "--size", "4x4"), "--rotate: needs a value"), (("--matrix", "--to"), "--matrix: needs"),
                (("--translate", "nan,0"), "--translate 'nan': must be a finite number"),
                (("--rotate", "inf"), "--rotate 'inf'"), (("--rotate", "1,2"), "--rotate '1,2'"),
                (("--scale", "1,2,3"), "--scale .* S or two SX,SY"), (("--scale", "50%"), "--scale '50%'"),
                (("--skew", "90,0"), "--skew '90,0': must be degrees from -89.999 to 89.999"),
                (("--anchor", "middle"), "--anchor 'middle': .* X,Y or center"),
                (("--rotate", "1", "--rotate", "2"), "--rotate: is given twice"),
                (("--matrix", *nine[:8]), "--matrix '1,0,0,0,1,0,0,0': must be 9 numbers"),
                (("--matrix", *nine, 1), "not expected: 1"), (("--matrix", "nan", *nine[1:]), "--matrix 'nan'"),
                (("--matrix", *nine, "--rotate", 3), "--matrix: stands alone"),
                (("--matrix", *nine, "--to", "--rotate", 3), "--matrix: stands alone, at both ends"),
                (("--rotate", 3, "--to", "--matrix", *nine), "--matrix: stands alone, at both ends"),
                (("--to", "--rotate", 1, "--to"), "--to: stands once"),
                (("--to", "--motion-samples", "257"), "--motion-samples '257': .* 1 to 256"),
                (("--to", "--motion-samples", "0"), "--motion-samples '0'"),
                (("--to", "--shutter-angle", "721"), "--shutter-angle '721': .* 0 to 720"),
                (("--motion-samples", "4"), "mean nothing without --to or --path"),
                (("--shutter-angle", "90"), "mean nothing without --to or --path"),
                (("--over", "l.tif", "--size", "4x4"), "--size: is that of the background"),
                (("--size", "0x4"), "width '0'"), (("--quality", "best"), "--quality 'best'"),
                (("--mode", "mask-mix"), "needs --mask"), (("--layer", "l.tif"), "--layer"),
                (("--feather", "2"), "without --matte"), (("--at", "1,1"), "--at")):
            with self.subTest(words):
                self.refuse(USAGE, said, "transform", "l.tif", *words, "-o", "old.png")
        self.refuse(USAGE, "--rotate: needs a value", "transform", "l.tif", "-o", "old.png", "--rotate")
        self.refuse(INPUT, "none.png: no such file", "transform", "none.png", "-o", "old.png")
        self.refuse(INPUT, "none.png: no such file", "transform", "l.tif", "--over", "none.png", "-o", "old.png")


if __name__ == "__main__":
    unittest.main()
