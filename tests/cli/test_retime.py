# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""retime: instants and counts against exact fractions, pictures, cuts, duplicates, reports, refusals."""

import json
import math
import os
import re
import subprocess
import unittest
from fractions import Fraction

import numpy as np
from test_flow import psnr, texture
from vxcommand import INPUT, OUTPUT, SOME_FAILED, USAGE, CommandTest


class RetimeTest(CommandTest):
    def sequence(self, pictures, first=1, name="a.%04d.png"):
        for number, picture in enumerate(pictures, first):
            self.png(name % number, picture)

    def retime(self, *options, code=0):
        return self.vx("retime", "a.####.png", "-o", "out.####.png", *options, code=code)

    def outputs(self):
        return [name for name in self.names() if name.startswith("out.")]

    def frames(self, *options):
        """Makes all frames; returns their records."""
        out, _ = self.retime("--json", *options)
        records = [json.loads(line) for line in out.splitlines()]
        return [record for record in records if "frame" in record]


class Instants(RetimeTest):
    """A dry run prints the instant of each frame; the expected ones are computed with fractions."""

    def setUp(self):
        super().setUp()
        self.sequence([np.full((2, 2, 3), 9 * i, np.uint8) for i in range(12)])

    def planned(self, *options, frames=12, code=0):
        out, _ = self.retime("--dry-run", "--frames", f"1-{frames}", *options, code=code)
        instants = []
        for number, line in enumerate(out.splitlines(), 1):
            match = re.fullmatch(r"frame (\d+): .*, show frame (\d+)( \+ (\S+))?, write out.(\d+).png", line)
            self.assertEqual((int(match[1]), int(match[5])), (number, number))
            instants.append((int(match[2]) - 1, float(match[4] or 0)))
            sources = re.findall(r"a\.(\d+)\.png", line)
            self.assertEqual([int(s) - 1 for s in sources], [instants[-1][0], instants[-1][0] + 1][:1 + bool(match[3])])
        return instants

    def expect(self, instants, times, frames):
        self.assertEqual(len(instants), len(times))
        for (first, position), instant in zip(instants, times):
            instant = min(max(Fraction(instant), Fraction(0)), Fraction(frames - 1))
            self.assertEqual(first, math.floor(instant))
            self.assertEqual(position == 0, instant.denominator == 1)
            self.assertAlmostEqual(position, float(instant - math.floor(instant)), places=12)

    def test_speed_and_rate(self):
        ntsc = Fraction(24000, 1001)
        for options, step in ((("--speed", "0.25"), Fraction(1, 4)), (("--speed", "1"), 1), (("--speed", "3"), 3),
                              (("--speed", "1/3"), Fraction(1, 3)), (("--speed", "1.37"), Fraction("1.37")),
                              (("--speed", "0.7"), Fraction("0.7")), (("--speed", "100"), 100),
                              (("--fps", "60", "--input-fps", "24"), Fraction(24, 60)),
                              (("--fps", "24", "--input-fps", "24000/1001"), ntsc / 24),
                              (("--fps", "24000/1001", "--input-fps", "23.976"), Fraction("23.976") / ntsc),
                              (("--fps", "29.97", "--input-fps", "25"), 25 / Fraction("29.97"))):
            for frames in (1, 5, 12):
                with self.subTest(options=options, frames=frames):
                    count = max(1, math.floor(frames / Fraction(step) + Fraction(1, 2)))
                    self.expect(self.planned(*options, frames=frames), [k * Fraction(step) for k in range(count)],
                                frames)

    def test_maps(self):
        def linear(pairs, t):
            pairs = [(Fraction(a), Fraction(b)) for a, b in pairs]
            for (a, x), (b, y) in zip(pairs, pairs[1:]):
                if a <= t <= b:
                    return x + (t - a) * (y - x) / (b - a)
            return pairs[0][1] if t < pairs[0][0] else pairs[-1][1]

        fps = ("--input-fps", "24")
        for text, options, pairs, count in (
                ("0f 11f\n11f 0f", (), ((0, 11), (11, 0)), 12),                  # backwards
                ("# map\n\n0f 0f # begin\n23f 5.5f\n", (), ((0, 0), (23, "5.5")), 24),  # longer, the end is a frame
                ("0 0\n1 0.25", fps, ((0, 0), (24, 6)), 24),                     # the end is a time
                ("3f 2f\n5f 8f\n6f 1.5f", (), ((3, 2), (5, 8), (6, "1.5")), 12),  # held on both sides
                ("0.125 -1f\n8f 20f", fps, ((3, -1), (8, 20)), 12),              # outside of the input
                ('[[0, 0.125],\n ["6f", 0.5]]', fps, ((0, 3), (6, 12)), 12),
                ('[["0f", "1f"], ["12f", "7f"]]', (), ((0, 1), (12, 7)), 13)):
            with self.subTest(text=text):
                self.text("map.txt", text)
                self.expect(self.planned("--map", "map.txt", *options), [linear(pairs, k) for k in range(count)], 12)

    def test_one_pair_of_times_per_shutter_sample(self):
        out, _ = self.retime("--dry-run", "--speed", "0.5", "--shutter-samples", 3, "--shutter-angle", 360,
                             "--output-frames", "2-3")
        numbers = [[float(n) for n in re.findall(r"[\d.]+", re.search("show (.*), write", line)[1])]
                   for line in out.splitlines()]
        np.testing.assert_allclose(numbers[0], [1, 1 / 3, 1, 1 / 2, 1, 2 / 3])
        np.testing.assert_allclose(numbers[1], [1, 5 / 6, 2, 2, 1 / 6])


class Pictures(RetimeTest):
    MOVES = [(4 * i, -4 * i) for i in range(4)]

    def setUp(self):
        super().setUp()
        self.sources = [texture(*move) for move in self.MOVES]
        self.sequence(self.sources, first=8)

    def picture(self, number):
        return self.pixels(f"out.{number:04}.png")[..., :3]

    def test_speed(self):
        records = self.frames("--speed", 0.25, "--resolution", 100, "--report", "report.json", "--input-fps", "8")
        self.assertEqual(len(self.outputs()), 16)
        for k in range(16):
            made, record = self.picture(8 + k), records[k]
            self.assertEqual((record["instant"], record["time"]), (min(k / 4, 3), k / 8))
            if k % 4 == 0 or k > 12:
                np.testing.assert_array_equal(made, self.sources[min(k // 4, 3)])
                self.assertEqual(record["method"], "hold" if k > 12 else "copy")
            else:
                truth = texture(k, -k)
                self.assertGreater(psnr(made[20:-20, 20:-20], truth[20:-20, 20:-20]), 34)
                self.assertEqual((record["method"], record["pair"], record["position"]),
                                 ("motion", [8 + k // 4, 9 + k // 4], k / 4 % 1))
        report = json.loads(self.contents("report.json"))
        self.assertEqual((report["input_frames"], report["output_frames"], report["input_rate"], report["cuts"],
                          report["duplicates"]), (4, 16, "8", [], []))
        for made, record in zip(report["frames"], records):
            for name in ("frame", "instant", "time", "pair", "position", "method", "cut"):
                self.assertEqual(made[name], record[name])

    def test_backwards_methods_and_numbers(self):
        self.text("map.txt", "0f 3f\n3f 0f")
        self.retime("--map", "map.txt")
        for k in range(4):
            np.testing.assert_array_equal(self.picture(8 + k), self.sources[3 - k])
        self.retime("--speed", 0.4, "--method", "copy")
        for k, source in enumerate((0, 0, 1, 1, 2, 2, 2, 3, 3, 3)):  # 0.4 k to nearest, 2.8 is 3
            np.testing.assert_array_equal(self.picture(8 + k), self.sources[source])
        self.vx("retime", "a.####.png", "--speed", 0.5, "--method", "mix", "-o", "one.png", "--output-frames", 9)
        mean = np.floor(self.sources[0] + (self.sources[1].astype(float) - self.sources[0]) * 0.5 + 0.5)
        np.testing.assert_array_equal(self.pixels("one.png"), mean)

    def test_cache(self):
        made = []
        for options in ((), ("--cache", "motion"), ("--cache", "motion")):
            self.retime("--speed", 0.5, *options)
            made.append([self.contents(name) for name in self.outputs()])
        self.assertEqual(made, made[:1] * 3)
        self.assertEqual(len(os.listdir(self.path("motion"))), 3)
        self.refuse(OUTPUT, "--cache", "retime", "a.####.png", "-o", "out.####.png", "--speed", 1, "--cache", "a.0008.png")


class Cuts(RetimeTest):
    def setUp(self):
        super().setUp()
        self.first = [texture(2 * i, 0) for i in range(2)]
        self.second = [255 - texture(0, 2 * i)[::-1, ::-1] for i in range(2)]
        self.sequence(self.first + self.second)

    def test_hold_mix_off(self):
        records = self.frames("--speed", 0.25, "--report", "report.json")
        self.assertEqual([r["frame"] for r in records if r["cut"]], [6, 7, 8])
        for number, source in ((6, self.first[1]), (7, self.second[0]), (8, self.second[0])):
            np.testing.assert_array_equal(self.pixels(f"out.{number:04}.png")[..., :3], source)
            self.assertEqual(records[number - 1]["method"], "hold")
        self.assertEqual([cut["pair"] for cut in json.loads(self.contents("report.json"))["cuts"]], [[2, 3]])
        records = self.frames("--speed", 0.25, "--on-cut", "mix")
        self.assertEqual([r["method"] for r in records[4:9]], ["copy", "mix", "mix", "mix", "copy"])
        self.assertEqual([r["cut"] for r in self.frames("--speed", 0.25, "--cut-threshold", "off")], [False] * 16)

    def test_tween(self):
        for at, source in ((0.49, self.first[1]), (0.5, self.second[0])):
            _, error = self.vx("tween", "a.0002.png", "a.0003.png", "--at", at, "-o", "t.png")
            self.assertIn("a cut is between the pictures", error)
            np.testing.assert_array_equal(self.pixels("t.png")[..., :3], source)
        record = json.loads(self.vx("tween", "a.0002.png", "a.0003.png", "-o", "t.png", "--cut-threshold", "off",
                                    "--json")[0])
        self.assertEqual((record["cut"], record["method"]), (False, "motion"))


class Repeats(RetimeTest):
    def test_duplicates(self):
        self.sequence([texture(2 * i, 0) for i in (0, 1, 1, 1, 4, 5, 5)])
        records = self.frames("--speed", 0.5, "--report", "r.json")
        self.assertEqual(json.loads(self.contents("r.json"))["duplicates"], [3, 4, 7])
        self.assertEqual([r["method"] for r in records[2:7]], ["copy"] * 5)
        records = self.frames("--speed", 0.5, "--skip-duplicates", "--report", "r.json")
        self.assertEqual(json.loads(self.contents("r.json"))["duplicates"], [3, 4, 7])
        self.assertEqual(len(records), 14)
        # Frames 2 (at the time 1) and 5 (at 4) are neighbours; 6 is the last one.
        expected = {2: (2, 2, 0), 3: (2, 5, 0.5 / 3), 4: (2, 5, 1 / 3), 6: (2, 5, 2 / 3), 8: (5, 5, 0), 12: (6, 6, 0)}
        for k, (first, second, position) in expected.items():
            self.assertEqual(records[k]["pair"], [first, second])
            self.assertAlmostEqual(records[k]["position"], position)
        truth = texture(4, 0)[20:-20, 20:-20]
        self.assertGreater(psnr(self.pixels("out.0005.png")[20:-20, 20:-20, :3], truth), 30)

    def test_missing_frames(self):
        self.sequence([np.full((4, 4, 3), 10 * i, np.uint8) for i in range(6)])
        os.remove(self.path("a.0003.png"))
        self.refuse(INPUT, "frame 3 is missing", "retime", "a.####.png", "-o", "out.####.png", "--speed", 2)
        mix = ("--speed", 1, "--method", "mix", "--missing")
        for how, value in (("skip", 20), ("hold", 10), ("black", 0)):
            self.retime(*mix, how)
            self.assertEqual(self.pixels("out.0003.png")[0, 0, 0], value)
        self.retime(*mix, "error", "--keep-going", code=SOME_FAILED)


class Runs(RetimeTest):
    def test_clip(self):
        subprocess.run([os.environ["VX_MAKE_CLIPS"], self.folder], check=True, stdout=subprocess.DEVNULL)
        clip = sorted(n for n in self.names() if n.endswith((".mkv", ".mov")))[0]
        self.vx("convert", clip, "-o", "c.####.png")
        count = len([n for n in self.names() if n.startswith("c.")])
        self.vx("retime", clip, "-o", "out.####.png", "--speed", 0.5, "--report", "r.json")
        self.assertEqual(len(self.outputs()), 2 * count)
        for i in range(count):
            np.testing.assert_array_equal(self.pixels(f"out.{2 * i:04}.png"), self.pixels(f"c.{i:04}.png"))
        self.assertIsNotNone(json.loads(self.contents("r.json"))["input_rate"])
        # The frames of this clip last 2, 1 and 1 frames of 30000/1001 a second.
        fps = ("--fps", "30000/1001", "--method", "mix", "--dry-run")
        for options, shown in (((), ["0", "0 + 0.5", "1", "2"]), (("--input-fps", "30000/1001"), ["0", "1", "2"])):
            out, _ = self.vx("retime", "movie.mov", "-o", "m.####.png", *fps, *options)
            self.assertEqual(re.findall("show frame (.*), write", out), shown)
        # A clip that breaks off: the frames before the damage are written.
        self.text("broken.mkv", self.contents("plain.mkv")[:-100])
        self.vx("retime", "plain.mkv", "-o", "p.####.png", "--speed", 0.5)
        self.vx("retime", "plain.mkv", "-o", "slow.mkv", "--speed", 0.5)
        self.vx("convert", "slow.mkv", "-o", "s.####.png")
        frames = [n for n in self.names() if n.startswith("p.")]
        self.assertEqual(len(frames), 6)
        for name in frames:
            np.testing.assert_array_equal(self.pixels("s" + name[1:])[..., :3], self.pixels(name)[..., :3])
        _, error = self.vx("retime", "broken.mkv", "-o", "q.####.png", "--speed", 0.5, code=INPUT)
        self.assertRegex(error, "frame \\d+: broken.mkv: is truncated or damaged")
        names = [n for n in self.names() if n.startswith("q.")]
        self.assertTrue(names)
        for name in names:
            self.assertEqual(self.contents(name), self.contents("p" + name[1:]))

    def test_tiny_pictures_and_sizes(self):
        self.sequence([np.full((1, 1, 3), 40 * i, np.uint8) for i in range(3)])
        self.retime("--speed", 0.5)
        self.assertEqual(len(self.outputs()), 6)
        self.png("a.0003.png", np.zeros((1, 2, 3), np.uint8))
        _, error = self.retime("--speed", 0.5, "--threads", 1, code=INPUT)
        self.assertIn("frame 4: a.0003.png is 2 x 1, a.0001.png is 1 x 1", error)

    def test_refusals(self):
        self.sequence([np.zeros((2, 2, 3), np.uint8)] * 3)
        maps = {"one": "0 0", "order": "0f 0f\n5f 2f\n5f 3f", "nan": "0 0\nnan 1", "columns": "0 0\n1", "word": "0 x\n1 1",
                "empty": "", "json": "[[0, 0],\n[1, ]]", "pair": "[[0, 0], [1]]", "seconds": "0f 0f\n1 2"}
        for name, text in maps.items():
            self.text(name, text)
        base = ("retime", "a.####.png", "-o", "out.####.png")
        for words, code, message in (
                ((), USAGE, "one of --speed, --fps and --map"),
                (("--speed", 2, "--fps", 3), USAGE, "only one"),
                (("--speed", 0), USAGE, "must be a number above 0.*--map"),
                (("--speed", -1), USAGE, "above 0.*run backwards"),
                (("--speed", "nan"), USAGE, "--speed"), (("--fps", "24/0"), USAGE, "--fps"),
                (("--speed", "1e-3"), USAGE, "--speed"), (("--speed", "0.000001"), USAGE, None),
                (("--fps", 30), USAGE, "no frame rate; give it with --input-fps"),
                (("--map", "one"), USAGE, "1 pairs"), (("--map", "empty"), USAGE, "0 pairs"),
                (("--map", "order"), USAGE, "line 3: the time of the output must be after"),
                (("--map", "nan"), USAGE, "line 2: 'nan' is no time"), (("--map", "columns"), USAGE, "line 2"),
                (("--map", "word"), USAGE, "line 1: 'x' is no time"), (("--map", "json"), USAGE, "line 2: is not JSON"),
                (("--map", "pair"), USAGE, "pair 2"), (("--map", "none"), INPUT, "none"),
                (("--map", "seconds"), USAGE, "line 2: has seconds.*--input-fps"),
                (("--speed", 1, "--output-frames", 9), USAGE, "has the frames 1 to 3"),
                (("--speed", 1, "--cut-threshold", 2), USAGE, "--cut-threshold"),
                (("--speed", 1, "--report", "none/r.json"), OUTPUT, "none/r.json")):
            with self.subTest(words=words):
                if message:
                    self.refuse(code, message, *base, *words)
        self.refuse(INPUT, "no such file", "retime", "none.mkv", "-o", "out.####.png", "--speed", 2)
        self.refuse(USAGE, "is a folder", "retime", ".", "-o", "out.####.png", "--speed", 2)
        self.refuse(USAGE, "is a single picture", "retime", "a.0001.png", "-o", "o.png", "--speed", 2)
        self.refuse(USAGE, "would replace a.0001.png, which is an input", "retime", "a.####.png", "-o", "a.####.png",
                    "--speed", 2)


if __name__ == "__main__":
    unittest.main()
