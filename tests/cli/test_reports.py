# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Reports of the command: comparisons, lists, progress, help; fills and the contact sheet."""

import json
import math
import os
import shutil
import unittest
from xml.etree import ElementTree

import jsonschema
import numpy as np
from vxcommand import INPUT, OUTPUT, SOME_FAILED, USAGE, VX, CommandTest, random_pixels


class Reports(CommandTest):
    def test_compare(self):
        a = random_pixels(1, 10, 14)
        b = a.copy()
        b[3, 4, 1] ^= 40
        b[9, 13, 3] = 255 - 7
        b[0, 0, 2] = a[0, 0, 2] ^ 1  # where alpha is 0
        self.png("a.png", a)
        self.png("b.png", b)
        off = np.abs(a.astype(float) - b)
        out, _ = self.vx("compare", "a.png", "b.png", "--json", "--diff", "d.png", code=1)
        record = json.loads(out)
        self.assertFalse(record["equal"] or record["within_tolerance"])
        self.assertEqual(record["different_pixels"], 3)
        self.assertAlmostEqual(record["psnr"], 10 * math.log10(255**2 / (off**2).mean()), places=6)
        for i, name in enumerate(("red", "green", "blue", "alpha")):
            self.assertAlmostEqual(record["channels"][name]["largest"], off[..., i].max())
            self.assertAlmostEqual(record["channels"][name]["mean"], off[..., i].mean())
        want = np.maximum(off[..., :3], off[..., 3:])
        np.testing.assert_array_equal(self.pixels("d.png"), want)
        self.vx("compare", "a.png", "b.png", "--tolerance", off.max())
        self.vx("compare", "a.png", "b.png", "--tolerance", off.max() - 0.5, code=1)
        self.assertIsNone(json.loads(self.vx("compare", "a.png", "a.png", "--json")[0])["psnr"])
        self.png("c.png", a[:5])
        self.assertIn("14 x 10", self.vx("compare", "a.png", "c.png", code=1)[0])
        floats = np.full((2, 2, 4), np.nan, np.float32)
        self.tif("n.tif", floats)
        self.vx("compare", "n.tif", "n.tif")
        floats[1, 1] = 0.5
        self.tif("m.tif", floats)
        self.vx("compare", "n.tif", "m.tif", "--tolerance", 1000, code=1)

    def test_fill(self):
        self.vx("fill", "7x5", "--color", "128,1,2,3", "--area", "-2,1,3,9", "-o", "f.png")
        want = np.zeros((5, 7, 4), np.uint8)
        want[1:, :3] = (1, 2, 3, 128)
        np.testing.assert_array_equal(self.pixels("f.png"), want)
        self.tif("z.tif", np.zeros((5, 7, 4), np.float32))
        self.vx("fill", "z.tif", "--color", "-0.5,2,.25,-1e3", "-o", "g.tif")
        np.testing.assert_array_equal(self.deep("g.tif")[2, 2], np.float32([2, .25, -1e3, -.5]))
        for text, color in (("#f80", (255, 136, 0)), ("80ff0140", (128, 255, 1, 64)), ("#80FF01", (128, 255, 1))):
            self.vx("fill", "2x2", "--color", text, "-o", "h.png")
            np.testing.assert_array_equal(self.pixels("h.png")[0, 0], color)
        want = random_pixels(1, 5, 7)
        self.png("b.png", want)
        self.vx("fill", "b.png", "--color", "0,9,9,9", "--area", "0,0,1,1", "-o", "b.png")
        want[0, 0] = (9, 9, 9, 0)
        np.testing.assert_array_equal(self.pixels("b.png"), want)

    def test_lists(self):
        modes = json.loads(self.vx("list", "modes", "--json")[0])
        self.assertEqual([m["number"] for m in modes], [-3, -2, *range(37)])
        self.assertEqual({m["name"]: m["number"] for m in modes}["lighter-color"], 35)
        self.assertIn("normal", modes[4]["other_names"])
        slots = json.loads(self.vx("list", "slots", "--json")[0])
        self.assertEqual(sum(s["state"] == "empty" for s in slots), 22)
        states = {s["name"]: s["state"] for s in slots}
        self.assertEqual(states["VX_TransferRect_S"], "built in")
        self.assertEqual(states["VX_IterateGeneric_Static"], "replaced")  # by the module parallel
        loaded = json.loads(self.vx("list", "modules", "--json")[0])
        self.assertEqual([(os.path.basename(m["file"]), m["state"]) for m in loaded], [("parallel.RZX", "loaded")])
        for level, name in (("none", "plain"), ("sse2", "sse2")):
            listed = json.loads(self.vx("--processor", level, "list", "processors", "--json")[0])
            self.assertEqual([p["name"] for p in listed if p["in_use"] and p["option"]], [name])
            loaded = [p["name"] for p in listed if p["in_use"] and not p["option"]]
            self.assertEqual(len(loaded), 1)
            self.assertIn(loaded[0].replace("libVX for", "build for"), self.vx("--version")[0])
        os.mkdir(self.path("modules"))
        self.text("modules/bad.RZX", "text")
        listed = json.loads(self.vx("--modules", "modules", "list", "modules", "--json", code=INPUT)[0])
        self.assertEqual(listed, [{"file": "modules/bad.RZX", "routines": [], "state": "failed",
                                   "reason": "file too short"}])
        self.refuse(INPUT, "modules/bad.RZX: .*not loaded: file too short", "fill", "--modules", "modules", "2x2",
                    "--color", "255,0,0,0", "-o", "o.png")
        self.assertEqual(json.loads(self.vx("--no-modules", "list", "modules", "--json")[0]), [])

    def test_bench(self):
        words = ("bench", "--seconds", 0.1, "--size", "64x48", "--threads")
        record = json.loads(self.vx(*words, 2, "--json", "--plot", "b.svg")[0])
        self.assertEqual((record["threads"], record["width"], record["height"]), (2, 64, 48))
        self.assertIn(f"build for {record['build']}\n", self.vx("--version")[0])
        results = record["results"]
        self.assertEqual([r["depth"] for r in results], [8] * 8 + [16] * 8 + [32] * 8)
        texts = [text.text for text in ElementTree.parse(self.path("b.svg")).iter("{http://www.w3.org/2000/svg}text")]
        self.assertLess({r["work"] for r in results} | {"2 threads"}, set(texts))
        table = self.vx(*words, 1)[0]
        self.assertEqual(len(table.splitlines()), 4 + len(results))
        self.assertNotIn("speedup", table)
        self.refuse(OUTPUT, "b.xyz", *words, 1, "--plot", "b.xyz")

    def test_progress(self):
        self.png("a.png", random_pixels(1, 300, 20))
        words = ("composite", "a.png", "--layer", "a.png", "--layer", "a.png", "-o", "o.png")
        self.assertEqual(self.vx(*words)[1], "")  # not a terminal
        self.assertIn("4/4 write o.png", self.vx(*words, "--progress", "plain")[1])
        lines = self.vx(*words, "--progress", "openjd")[0].splitlines()
        self.assertTrue({"openjd_status: write o.png", "openjd_progress: 100"} <= set(lines), lines)
        self.vx(*words, "--progress", "openjd", "--json", code=USAGE)
        self.assertIn("openjd_fail: ", self.vx("copy", "no.png", "-o", "o.png", "--progress", "openjd", code=INPUT)[0])

    def test_events(self):
        with open(os.path.join(os.path.dirname(__file__), "../../docs/progress.schema.json")) as file:
            schema = jsonschema.Draft7Validator(json.load(file))
        for frame in (1, 2, 4):
            self.png(f"a.{frame}.png", random_pixels(frame, 300, 20))
        self.text("a.2.png", "no picture")
        several = ["error", "frame", "frame", "frame", "frame"]
        for words, code, kinds in (
                ("composite a.1.png --layer a.1.png --at 9,9 -o o.png", 0, ["start", "frame"]),
                ("convert a.#.png -o o.#.jpg --missing skip --keep-going", SOME_FAILED,
                 ["start", "note", *several, "warning", "warning", "error"]),
                ("convert a.#.png -o o.#.png --missing skip --threads 1", INPUT, ["start", "note", "frame", "frame", "error"]),
                ("convert a.1.png --dry-run -o o.png", 0, ["start", "frame"]),
                ("copy no.png -o o.png", INPUT, ["start", "frame", "error"]),
                ("copy a.1.png -o o.png --frobnicate", USAGE, ["error"]), ("paint", USAGE, ["error"])):
            for extra in ((), ("--json",)):
                out, lines = self.vx(*words.split(), "--progress", "json", *extra, code=code)
                events = [json.loads(line) for line in lines.splitlines()]
                for event in events:
                    schema.validate(event)
                self.assertEqual(events[-1], {"event": "done", "exit": code})
                found = [e["event"] for e in events if e["event"] != "progress"]
                self.assertEqual(sorted(found[:-1]), sorted(kinds), words)
                self.assertEqual([found[0], found[-2]], [kinds[0], kinds[-1]])
                percents = [e["percent"] for e in events if e["event"] == "progress"]
                self.assertEqual(percents, sorted(percents))
                self.assertTrue(code != 0 or percents[-1] == 100, percents)
                if extra:
                    self.assertEqual(json.loads(out.splitlines()[-1]).get("exit", 0), code)

    def test_codecs_are_loaded_when_needed(self):
        self.assertRegex(self.vx("list", "libraries")[0], r"(?s)name +version\nOpenImageIO +2.*libavcodec +\d")
        self.png("a.png", random_pixels(1, 4, 4))
        alone = self.path("alone")
        os.mkdir(alone)
        libraries = os.path.join(os.path.dirname(VX), "../lib")
        shutil.copy(os.path.join(libraries, "libVXIO.so.1"), alone)
        environment = {**os.environ, "LD_LIBRARY_PATH": alone}
        for words, code in (("--version", 0), ("list formats", 0), ("list options", 0), ("blur", USAGE),
                            ("copy a.png -o b.txt", OUTPUT)):
            self.assertNotIn("loaded", self.vx(*words.split(), code=code, env=environment)[1])
        for words, code in (("copy a.png -o b.png", INPUT), ("info a.png", INPUT), ("list libraries", INPUT)):
            self.refuse(code, alone + r"/libVXIO_codecs.so.1: cannot be loaded: .*; install ", *words.split(), env=environment)
        shutil.copy(os.path.join(libraries, "libVXIO_codecs.so.1"), alone)
        self.vx("copy", "a.png", "-o", "b.png", env=environment)

    def test_sheet_and_help(self):
        self.png("a.png", random_pixels(1, 20, 20))
        self.png("b.png", random_pixels(2, 40, 60, channels=3))
        self.vx("modes", "--sheet", "a.png", "b.png", "-o", "s.png", "--tile", 64, "--columns", 10)
        sheet = self.pixels("s.png")
        self.assertEqual(sheet.shape, (8 + 4 * (40 + 22 + 8), 8 + 10 * (60 + 8), 3))
        tiles = [sheet[8 + i // 10 * 70:, 8 + i % 10 * 68:][:40, :60] for i in range(39)]
        self.assertEqual(len({tile.tobytes() for tile in tiles}), 38, "scale and copy have the same result")
        options = json.loads(self.vx("list", "options", "--json")[0])
        for verb in sorted({row["verb"] for row in options}):
            text = self.vx(verb, "--help")[0]
            self.assertRegex(text, rf"Examples?:\n  vx {verb} ")
            for row in options:
                self.assertTrue(row["verb"] != verb or row["option"] in text, (verb, row["option"]))


if __name__ == "__main__":
    unittest.main()
