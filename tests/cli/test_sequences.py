# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Sequences: missing frames, overwriting, --resume, failures, threads, signals."""

import json
import os
import signal
import subprocess
import time
import unittest

import numpy as np
from vxcommand import INPUT, OUTPUT, SOME_FAILED, USAGE, VX, CommandTest, random_pixels

STORE = ".o.####.png.vx-resume"


class SequenceTest(CommandTest):
    def shots(self, frames, height=8, width=9, channels=4, name="a.%04d.png"):
        for frame in frames:
            self.png(name % frame, random_pixels(frame, height, width, channels=channels))

    def fill(self, *words, code=0, source="a.####.png", out="o.####.png", color="9,8,7,6"):
        """Fills the corner of each frame; returns the lines of --json and the messages."""
        lines, said = self.vx("fill", source, "--color", color, "--area", "0,0,2,2", "-o", out, "--json", *words, code=code)
        return [json.loads(line) for line in lines.splitlines()], said

    def check(self, frame, pixels=None):
        """Compares an output with the filled picture."""
        want = (random_pixels(frame, 8, 9) if pixels is None else pixels).copy()
        want[:2, :2] = (8, 7, 6, 9)
        np.testing.assert_array_equal(self.pixels("o.%04d.png" % frame), want)

    def outputs(self):
        return {int(name[2:6]): self.contents(name) for name in self.names() if name.startswith("o.")}

    def statuses(self, records):
        self.assertEqual(records[-1]["frames"], len(records) - 1)
        return {line["frame"]: line["status"] for line in records[:-1]}


class Frames(SequenceTest):
    def test_gaps(self):
        self.shots((2, 3, 6))
        self.fill("--frames", "2-3,6")
        whole = self.outputs()
        for frame in (2, 3, 6):
            self.check(frame)
        records, said = self.fill("--missing", "skip", out="s.####.png")
        self.assertIn("note: a.####.png: frames 4-5 are missing: skipped", said)
        self.assertEqual(self.statuses(records), {2: "done", 3: "done", 4: "missing", 5: "missing", 6: "done"})
        self.assertNotIn("s.0004.png", self.names())
        self.fill("--missing", "hold", "--frames", "5", source="a.%04d.png")  # a part of the frames
        self.assertEqual(self.outputs(), {**whole, 5: whole[3]})
        self.fill("--missing", "black", "--frames", "4")
        self.check(4, np.zeros((8, 9, 4), np.uint8))
        self.shots((3,), channels=3, name="b.%d.png")
        self.vx("fill", "b.#.png", "--missing", "black", "--frames", "9", "--color", "255,5,5,5", "-o", "k.#.png")
        self.assertEqual(self.pixels("k.9.png").shape[2], 3, "the other frames have no alpha")
        records, said = self.fill("--keep-going", "--failed-list", "f.txt", code=SOME_FAILED)
        self.assertRegex(said, "frame 4: a.0004.png: no such file[^$]*vx: 2 of 5 frames failed: 4-5\n")
        self.assertEqual(self.contents("f.txt"), b"4\n5\n")
        self.fill("--keep-going", "--failed-list", "f.txt", "--frames", "2,6")
        self.assertEqual(self.contents("f.txt"), b"")

    def test_refused_combinations(self):
        self.shots((1, 2, 5))
        for code, said, words, options in (
                (INPUT, r"a\.#\.png: no file matches.*did you mean a\.####\.png", "", {"source": "a.#.png"}),
                (INPUT, "the folder cannot be read", "", {"source": "no/a.####.png"}),
                (INPUT, r"a\.####\.png: frames 3-4 are missing; .*--missing", "", {}),
                (INPUT, "frame 0 is missing, without an earlier frame to hold", "--missing hold --frames 0-2", {}),
                (INPUT, r"a\.\*\.png: no such file; .*'a\.####\.png'", "", {"source": "a.*.png"}),
                (USAGE, r"one argument in quotes: 'a\.####\.png'", "a.0002.png a.0005.png", {"source": "a.0001.png"}),
                (OUTPUT, r"\.: is a folder; name a file in it: \./out\.####\.png", "", {"out": "."}),
                (INPUT, "no frame is left", "--missing skip --frames 7-9", {}),
                (USAGE, "o.png: the input .* is a sequence.*out.####.png", "", {"out": "o.png"}),
                (USAGE, "o.#.png: is a sequence, but the input", "", {"source": "a.0001.png"}),
                (USAGE, "without an input; --frames is required", "", {"source": "8x8"}),
                (USAGE, "more than one placeholder", "", {"source": "a#.#.png"}),
                (USAGE, "--frames: belongs to", "--frames 1", {"source": "a.0001.png", "out": "o.png"}),
                (USAGE, "--frames '1-': must be", "--frames 2,1-", {}), (USAGE, "--missing 'holt'", "--missing holt", {}),
                (USAGE, "--threads '0'", "--threads 0", {}), (USAGE, "--memory '2X'", "--memory 2X", {}),
                (USAGE, "a frame needs about 576 bytes, the limit is 100 bytes", "--memory 100 --frames 1", {}),
                (USAGE, "excludes", "--resume --no-clobber", {}),
                (USAGE, "frame 2 would replace a.0002.png, which frame 3 reads", "--frames 3,2 --missing hold",
                 {"out": "a.####.png"}),
                (USAGE, "--resume: the output replaces", "--resume --frames 1", {"out": "a.####.png"}),
                (OUTPUT, "f.txt: the folder no", "--failed-list no/f.txt --frames 1", {}),
                (OUTPUT, "frames 1-2,5 exist and may not be overwritten", "--no-clobber --keep-going --missing skip",
                 {"source": "a.####.png", "out": "./a.%04d.png"})):
            options = {"source": "a.####.png", "out": "o.#.png", **options}
            with self.subTest(words=words, **options):
                self.refuse(code, said, "fill", options["source"], "--color", "9,8,7,6", "-o", options["out"],
                            *words.split())

    def test_a_file_may_be_named_like_a_pattern(self):
        self.shots((0,), name="take #%d.png")
        os.rename(self.path("take #0.png"), self.path("take #2#.png"))
        self.fill(source="take #2#.png", out="o #.png")
        self.assertIn("o #.png", self.names())

    def test_dry_run_writes_nothing(self):
        self.shots((1, 2))
        before = self.names()
        out, _ = self.vx("fill", "a.####.png", "--color", "1,1,1,1", "-o", "o.%010d.png", "--dry-run",
                         "--resume", "--frames", "3-1", "--missing", "hold")
        self.assertEqual(out.splitlines(), [f"frame {i}: read a.000{min(i, 2)}.png, write o.000000000{i}.png"
                                            for i in (3, 2, 1)])
        self.text("a.0002.png", "")
        self.fill("--dry-run", code=INPUT)
        self.assertEqual(self.names(), before)


class Outputs(SequenceTest):
    def test_strict_writes_no_frame_with_a_warning(self):
        self.shots((1, 2))
        self.shots((3,), channels=3)
        records, said = self.fill("--strict", "--keep-going", color="255,1,1,1", out="o.####.jpg", code=SOME_FAILED)
        self.assertEqual(self.statuses(records), {1: "failed", 2: "failed", 3: "done"})
        self.assertIn("frame 1: o.0001.jpg: jpeg holds no alpha", said)
        self.assertEqual([name for name in self.names() if "o." in name], ["o.0003.jpg"])
        self.assertEqual(self.fill(out="o.####.jpg")[1].count("warning: o.000"), 3)

    def test_resume(self):
        self.shots(range(1, 6))

        def redone(*words, color="9,8,7,6"):
            """The frames that a run writes again."""
            records = self.fill("--resume", *words, color=color)[0]
            frames = {f for f, status in self.statuses(records).items() if status != "up_to_date"}
            self.assertEqual(records[-1]["up_to_date"], 5 - len(frames))
            for frame in range(1, 6):
                self.assertEqual(self.pixels("o.%04d.png" % frame)[0, 0, :3].tolist(), [*map(int, color[2:].split(","))])
            return frames

        times = lambda: [os.stat(self.path("o.%04d.png" % frame)).st_mtime_ns for frame in range(1, 6)]
        self.assertEqual(redone(), {1, 2, 3, 4, 5})
        first = times()
        os.utime(self.path("a.0002.png"))  # another time, the same contents
        self.assertEqual((redone("--threads", 3), times()), (set(), first))
        self.shots((3,), height=7)
        out, _ = self.vx("fill", "a.####.png", "--color", "9,8,7,6", "--area", "0,0,2,2", "-o", "o.%04d.png", "--resume",
                         "--dry-run")
        self.assertEqual([line for line in out.splitlines() if "up to date" not in line],
                         ["frame 3: read a.0003.png, write o.0003.png"])
        self.assertEqual(redone(), {3})
        self.png("o.0004.png", random_pixels(1, 8, 9))  # changed since
        os.remove(self.path("o.0005.png"))
        self.assertEqual(redone(), {4, 5})
        self.assertEqual(redone(color="9,3,2,1"), {1, 2, 3, 4, 5})
        record = self.contents(STORE)
        last = int(record.splitlines()[-1].split()[1])
        self.text(STORE, record[:-20])  # the last line is incomplete, as after a crash
        self.assertEqual(redone(color="9,3,2,1"), {last})
        self.assertEqual(redone(color="9,3,2,1"), set())
        self.text(STORE, record * 300 + b"an invalid line\n")  # as after many runs
        self.assertEqual(redone(color="9,3,2,1"), set())
        self.assertEqual(len(self.contents(STORE).splitlines()), 5)


class Running(SequenceTest):
    def test_broken_frames(self):
        self.shots(range(1, 8))
        self.text("a.0003.png", self.contents("a.0003.png")[:60])
        records, said = self.fill("--keep-going", "--threads", 4, "--failed-list", "f.txt", code=SOME_FAILED)
        self.assertEqual([line.get("frame") for line in records], [1, 2, 3, 4, 5, 6, 7, None])
        self.assertEqual((records[2]["status"], records[2]["exit"]), ("failed", INPUT))
        self.assertEqual((records[-1]["done"], records[-1]["failed"], records[-1]["exit"]), (6, 1, SOME_FAILED))
        self.assertIn("a.0003.png: is truncated", records[2]["message"])
        self.assertEqual(set(self.outputs()), {1, 2, 4, 5, 6, 7})
        self.assertEqual(self.contents("f.txt"), b"3\n")
        records, said = self.fill("--threads", 1, code=INPUT, out="p.####.png")
        self.assertRegex(said, r"\Avx: frame 3: a\.0003\.png: is truncated[^\n]*\n\Z")
        self.assertEqual((records[-1]["done"], records[-1]["not_run"]), (2, 4))
        self.assertNotIn("p.0004.png", self.names())

    def test_threads_and_memory_change_no_byte(self):
        self.shots(range(1, 13), height=120, width=100)
        results = []
        for words in (("--threads", 1), ("--threads", 4), ("--threads", 16, "--memory", "100K")):
            records, _ = self.fill(*words)
            self.assertEqual([line["frame"] for line in records[:-1]], list(range(1, 13)))
            results.append({name: self.contents(name) for name in self.names() if name.startswith("o.")})
            for name in results[-1]:
                os.remove(self.path(name))
        self.assertEqual(len(results[0]), 12)
        self.assertEqual(results, results[:1] * 3)

    def test_composite_of_sequences_and_single_files(self):
        self.shots(range(1, 5))
        self.shots((1, 2, 4, 7), height=5, width=6, name="l%d.png")
        self.png("m.png", random_pixels(50, 8, 9, channels=1))
        words = ("--at", "2,1", "--mask", "m.png", "--opacity", 0.7, "--compression", "zip")
        records, said = self.vx("composite", "a.####.png", "--layer", "l#.png", *words, "-o", "o.%04d.png", "--missing",
                             "hold", "--threads", 3, "--json")
        self.assertIn("l#.png: frames after 4, the last one of a.####.png, are not used", said)
        layers = [json.loads(line)["layers"][0]["file"] for line in records.splitlines()[:-1]]
        self.assertEqual(layers, ["l1.png", "l2.png", "l2.png", "l4.png"])
        for frame, layer in enumerate(layers, 1):
            self.vx("composite", "a.%04d.png" % frame, "--layer", layer, *words, "-o", "one.png")
            self.assertEqual(self.outputs()[frame], self.contents("one.png"))

    def test_after_a_signal_all_files_are_whole(self):
        frames = range(1, 31)
        self.shots(frames, height=160, width=200)
        run = subprocess.Popen([VX, "fill", "a.####.png", "--color", "9,8,7,6", "--area", "0,0,2,2",
                                "-o", "o.####.png", "--threads", "4", "--resume"], cwd=self.folder)
        deadline = time.time() + 60
        while len(self.outputs()) < 5 and run.poll() is None:
            self.assertLess(time.time(), deadline)
            time.sleep(0.001)
        run.send_signal(signal.SIGTERM)
        self.assertEqual(run.wait(timeout=10), 128 + signal.SIGTERM)
        self.assertEqual([name for name in self.names() if name.startswith(".vx-")], [])
        done = list(self.outputs())
        self.assertTrue(5 <= len(done) < 30, done)
        for frame in done:
            self.check(frame, random_pixels(frame, 160, 200))
        records, _ = self.fill("--resume")
        self.assertGreaterEqual(records[-1]["up_to_date"], len(done) - 4)  # 4 threads
        self.assertEqual(set(self.outputs()), set(frames))

    def test_a_closed_pipe(self):
        run = subprocess.Popen([VX, "fill", "99x99", "--color", "9,8,7,6", "-o", "o.####.png", "--threads",
                                "4", "--frames", "1-300", "--json"], cwd=self.folder, stdout=subprocess.PIPE)
        run.stdout.readline()
        run.stdout.close()
        self.assertEqual(run.wait(timeout=20), 128 + signal.SIGPIPE)
        self.assertEqual([name for name in self.names() if name.startswith(".")], [])
        self.assertLess(len(self.names()), 300)


if __name__ == "__main__":
    unittest.main()
