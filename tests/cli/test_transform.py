# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""vx transform: parts and matrices, motion, paths, and the options of a layer."""

import json
import unittest

import numpy as np
from PIL import Image, ImageCms
from vxcommand import CommandTest, random_pixels, times_alpha


class TransformTest(CommandTest):
    def setUp(self):
        super().setUp()
        self.layer = random_pixels(1, 17, 22, np.float32)
        self.tif("l.tif", self.layer)

    def draw(self, *words):
        """The premultiplied result, the record of --json, and the messages."""
        record, said = self.vx("transform", "l.tif", "-o", "o.tif", "--json", *words)
        return times_alpha(self.deep("o.tif")), json.loads(record), said

    # The library rounds positions to 1/65536 pixel at each of at most 40 steps, on both axes.
    def assertNear(self, got, want, tolerance=80 * 0.5 / 65536, what=""):
        self.assertEqual(got.shape, want.shape)
        self.assertLess(np.abs(got - want).max(), tolerance, what)


class Parts(TransformTest):
    def test_parts_give_a_matrix(self):
        for words, matrix in {  # for rows (x y 1)
                "--scale 2,-1 --anchor 4,9": (2, 0, 0, 0, -1, 0, -4, 18, 1),
                "--scale 2": (2, 0, 0, 0, 2, 0, -10.5, -8, 1),  # around the centre, 10.5 and 8
                "--skew 45,0 --anchor=center": (1, 0, 0, 1, 1, 0, -8, 0, 1),
                # Scale, skew, rotation, translation, in any order of the options.
                "--translate 3,4.5 --rotate -270 --skew 45,0 --scale 2,1 --anchor 0,0": (0, 2, 0, -1, 1, 0, 3, 4.5, 1),
                "--matrix 1.5,0.25,0, -0.5,1.25,0 -2.5,3,1": (1.5, .25, 0, -.5, 1.25, 0, -2.5, 3, 1)}.items():
            got, record, _ = self.draw(*words.split(), "--size", "40x30")
            np.testing.assert_allclose(record["layer"]["matrix"], matrix, atol=1e-9, err_msg=words)
            self.assertNear(self.draw("--matrix", *matrix, "--size", "40x30")[0], got, 1e-6, words)
        half, _, _ = self.draw("--matrix", 1, 0, 0, 0, 1, 0, 0.5, 0, 1)
        want = times_alpha(self.layer)
        self.assertNear(half[:, 1:], (want[:, 1:] + want[:, :-1]) / 2)
        bent, _, said = self.draw("--matrix", "1,0,0.01,0,1,0.02,0,0,1")  # a perspective
        self.assertTrue((bent != want).any() and not said)

    def test_invisible_layers_are_reported(self):
        for words, message in (("--translate 1e300,0", "is completely outside"),
                               ("--translate 65536,0", "is completely outside"),  # positions do not wrap around
                               ("--translate -90,0 --to --translate 200,0 --motion-samples 2", "is completely outside"),
                               ("--scale 0,1", "has no area or is too large"),
                               ("--matrix 1 1 0 1 1 0 0 0 1", "has no area or is too large"),
                               ("--scale 1e308 --translate 9,9", "has no area or is too large")):
            got, _, error = self.draw(*words.split())
            self.assertRegex(error, r"\Avx: note: l\.tif: [^\n]*" + message + "[^\n]*nothing is drawn\n")
            self.assertFalse(got.any())
        self.assertEqual(self.draw("--translate", "21.5,0")[2], "")

    def test_a_whole_step_is_a_composite(self):
        for name, size in (("b.png", (20, 30)), ("l.png", (11, 12)), ("m.png", (20, 30)), ("d.png", (9, 9))):
            self.png(name, random_pixels(size[0], *size))
        for words in (("--mode", "dissolve", "--opacity", 0.5, "--seed", -7),
                      ("--field", "odd", "--keep-alpha", "--mask", "m.png", "--mask-use", "inverse-luma", "--linear"),
                      ("--mode", "mask-mix", "--mask", "m.png", "--mask-at", "2,-3"),
                      ("--matte", "d.png", "--matte-use", "inverse-luma", "--feather", 2, "--feather-kind", "box"),
                      ("--profile", "Display P3", "--depth", 16)):
            self.vx("composite", "b.png", "--layer", "l.png", "--at=-3,5", *words, "-o", "want.png")
            self.vx("transform", "l.png", "--over", "b.png", "--translate=-3,5", *words, "-o", "got.png")
            self.assertEqual(self.contents("got.png"), self.contents("want.png"), words)

    def test_a_result_without_a_background(self):
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        self.png("l.png", random_pixels(1, 8, 9, channels=3), profile)
        for words, size, mode in ((("--rotate", 30), (9, 8), "RGBA"), (("--size", "20x3"), (20, 3), "RGBA"),
                                  (("--scale", 9), (9, 8), "RGB")):
            self.vx("transform", "l.png", *words, "-o", "o.png")
            with Image.open(self.path("o.png")) as image:
                self.assertEqual((image.size, image.mode), (size, mode), words)
                self.assertEqual(image.info["icc_profile"], profile)


class Motions(TransformTest):
    def test_a_motion_is_the_mean_of_its_sub_samples(self):
        for start, end, at, words, count, share in (
                ("--translate 1,2", "--translate 9,-2.5", lambda t: f"--translate {1 + 8 * t},{2 - 4.5 * t}",
                 "--motion-samples 3 --shutter-angle 180", 3, 0.5),
                ("", "--rotate -360", lambda t: f"--rotate {-360 * t}", "--motion-samples 2 --shutter-angle 450", 2, 1.25),
                ("", "--translate 8,0", lambda t: f"--translate {8 * t},0", "--quality draft", 8, 1),
                ("--matrix 1 0 0 0 1 0 0 0 1", "--matrix 1.5,0.2,0,-0.4,1.1,0,4,2,1",
                 lambda t: f"--matrix {1 + 0.5 * t},{0.2 * t},0,{-0.4 * t},{1 + 0.1 * t},0,{4 * t},{2 * t},1",
                 "--shutter-angle 0", 1, 0)):
            got, record, said = self.draw(*start.split(), "--to", *end.split(), *words.split())
            stills = [self.draw(*at(share * k / count).split())[0] for k in range(count)]
            self.assertNear(got, np.mean(stills, axis=0), what=(start, end, words))
            self.assertEqual((record["layer"]["matrices"], said), (count + 1 if share else 1, ""))

    def test_the_default_number_of_sub_samples(self):
        for words, count in {"--to --rotate 3": 16, "--to --translate 40,0": 40, "--to --translate 0,5000": 128,
                             "--to --translate 80,0 --shutter-angle 90": 20, "--to --rotate 9999": 128,
                             "--to --matrix 1 0 0 0 1 0 30 40 1": 50, "--to": 0, "--rotate 5 --to --rotate 5": 0}.items():
            self.assertEqual(self.draw(*words.split())[1]["layer"]["matrices"], count + 1, words)


class Paths(TransformTest):
    # The lines of a file, and each motion as options of the command: an option that a line does not have is at its
    # default.
    LINES = "--translate 1,0 --rotate 4", "--translate 5,2", "", "--scale 1.5 --translate 3.5,0"
    MOTIONS = f"{LINES[0]} --to {LINES[1]} --rotate 0", f"{LINES[1]} --to --translate 0,0", f"--to {LINES[3]}"
    OPTIONS = "--anchor", "2,3", "--motion-samples", 3, "--compression", "zip:1"

    def want(self, layer, index, *words):
        """The contents of one frame, drawn without a file of lines."""
        self.vx("transform", layer, *self.OPTIONS, *self.MOTIONS[index].split(), *words, "-o", "want.png")
        return self.contents("want.png")

    def test_lines_belong_to_frames(self):
        shots = range(1001, 1005)
        for frame in shots:
            self.png(f"s.{frame}.png", random_pixels(frame, 12, 14))
        self.text("p.txt", f"# a comment\n{self.LINES[0]} # another\n\n1002: {self.LINES[1]}\n1003:\r\n{self.LINES[3]}\n")
        words = ("s.####.png", "--path", "p.txt", *self.OPTIONS)
        _, said = self.vx("transform", *words, "-o", "o.####.png")
        self.assertEqual(said, "vx: note: s.1004.png: frame 1004 is drawn without motion, because the path has no "
                               "line for frame 1005\n")
        whole = [self.contents(f"o.{frame}.png") for frame in shots]
        self.assertEqual(whole[:3], [self.want(f"s.{frame}.png", i) for i, frame in enumerate(shots[:3])])
        # A part of the frames has the same results as all frames.
        self.vx("transform", *words, "-o", "part.####.png", "--frames", "1003,1002")
        self.assertEqual([self.contents(f"part.{frame}.png") for frame in (1002, 1003)], whole[1:3])
        # One layer over a sequence, and a sequence made of one picture and a path.
        self.png("l.png", random_pixels(9, 12, 14))
        self.vx("transform", "l.png", "--over", *words, "-o", "over.####.png")
        self.assertEqual(self.contents("over.1002.png"), self.want("l.png", 1, "--over", "s.1002.png"))
        self.text("p.txt", "\n".join(self.LINES[:2]) + "\n7: --rotate 3\n")
        out, _ = self.vx("transform", "l.png", *words[1:], "-o", "alone.##.png", "--json")
        self.assertEqual([json.loads(line)["frame"] for line in out.splitlines()[:-1]], [1, 2, 7])
        self.assertEqual(self.contents("alone.01.png"), self.want("l.png", 0))


if __name__ == "__main__":
    unittest.main()
