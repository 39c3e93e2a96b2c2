#!/usr/bin/env python3
# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Clips as outputs: frames, times, tags and sound as ffmpeg reads them; nothing is left of clips that fail."""

import json
import os
import resource
import subprocess
import unittest
from fractions import Fraction

import numpy as np

from vxcommand import INPUT, OUTPUT, USAGE, CommandTest, random_pixels

FRAMES = 5


class Clips(CommandTest):
    def setUp(self):
        super().setUp()
        self.frames = [random_pixels(i, 20, 34, channels=3) for i in range(FRAMES)]
        for i, frame in enumerate(self.frames):
            self.png(f"s.{i}.png", frame)

    def ffmpeg(self, *words, program="ffmpeg"):
        return subprocess.run([program, "-v", "error", *words], cwd=self.folder, check=True, stdout=subprocess.PIPE,
                              stdin=subprocess.DEVNULL, timeout=120).stdout

    def probe(self, name, streams="v"):
        """The properties of the first stream, and the times of its frames."""
        found = json.loads(self.ffmpeg("-of", "json", "-select_streams", streams, "-show_streams", "-show_format",
                                       "-show_entries", "frame=pts_time", name, program="ffprobe"))
        return found["streams"][0], [float(f["pts_time"]) for f in found["frames"]], found["format"].get("tags", {})

    def decode(self, name, form, shape, dtype=np.uint8):
        raw = self.ffmpeg("-i", name, "-fps_mode", "passthrough", "-f", "rawvideo", "-pix_fmt", form, "-")
        return np.frombuffer(raw, dtype).reshape(-1, *shape)

    def source(self, name, *words, seconds=1):
        """A clip with sound, made by ffmpeg."""
        self.ffmpeg("-f", "lavfi", "-i", f"testsrc2=s=34x20:r=30000/1001:d={seconds}", "-f", "lavfi", "-i",
                    f"sine=d={seconds}", "-shortest", *words, "-bitexact", "-y", name)
        return name

    def test_yuv_codes(self):
        """H.264 with CRF 0 is lossless, so the codes are those of the conversion."""
        def halved(x):
            x = np.pad(x, ((0, 0), (1, 1)), mode="edge")
            x = (x[:, :-2] + 2 * x[:, 1:-1] + x[:, 2:])[:, ::2] / 4
            return (x[::2] + x[1::2]) / 2
        for height, red, blue, matrix in ((20, .299, .114, "smpte170m"), (578, .2126, .0722, "bt709")):
            pixels = random_pixels(3, height, 34, channels=3)
            self.png("y.png", pixels)
            self.vx("convert", "y.png", "-o", "t.0.png")
            for full in (False, True):
                self.vx("convert", "t.#.png", "-o", "y.mp4", "--fps", 25, "--codec", "h264:0")
                if full:  # the range of the input is kept
                    tags = ("-bsf:v", "h264_metadata=video_full_range_flag=1", "-c", "copy", "-y", "full.mp4")
                    self.ffmpeg("-i", "y.mp4", *tags)
                    self.vx("composite", "full.mp4", "--layer", "t.#.png", "--mode", "copy", "-o", "y.mp4", "--codec", "h264:0")
                r, g, b = np.moveaxis(pixels / 255, 2, 0)
                y = red * r + (1 - red - blue) * g + blue * b
                spans = (0, 255, 255) if full else (16, 219, 224)
                want = np.concatenate([(spans[0] + spans[1] * y).ravel(),
                                       (128 + spans[2] * halved((b - y) / (2 - 2 * blue))).ravel(),
                                       (128 + spans[2] * halved((r - y) / (2 - 2 * red))).ravel()])
                codes = self.decode("y.mp4", "yuvj420p" if full else "yuv420p", (height * 34 * 3 // 2,))[0]
                difference = np.abs(np.clip(want, 0, 255) - codes)
                self.assertLess(difference.max(), 0.5 + 1e-9)
                stream = self.probe("y.mp4")[0]
                self.assertEqual((stream["color_space"], stream["color_range"], stream["chroma_location"]),
                                 (matrix, "pc" if full else "tv", "left"))

    def test_codecs_and_rates(self):
        for name, words, codec, form, rate in (
                ("o.mkv", "--fps 24000/1001", "ffv1", "bgr0", "24000/1001"),
                ("o.mkv", "--fps 23.976 --bits 16", "ffv1", "gbrp16le", "2997/125"),
                ("o.mkv", "--fps 25 --codec vp9", "vp9", "yuv420p", "25/1"),
                ("o.mkv", "--fps 25 --codec prores4444", "prores", "yuv444p10le", "25/1"),
                ("o.mov", "--fps 24000/1001", "prores", "yuv444p10le", "24000/1001"),
                ("o.mov", "--fps 24000/1001 --clip-alpha yes", "prores", "yuva444p10le", "24000/1001"),
                ("o.mov", "--fps 60 --codec png --bits 16", "png", "rgb48be", "60/1"),
                ("o.webm", "--fps 24000/1001 --bits 10", "vp9", "yuv420p10le", "24000/1001"),
                ("o.mp4", "--fps 30000/1001 --codec h264:30", "h264", "yuv420p", "30000/1001")):
            with self.subTest(name=name, words=words):
                self.vx("convert", "s.#.png", "-o", name, *words.split())
                stream, times, _ = self.probe(name)
                self.assertEqual((stream["codec_name"], stream["pix_fmt"], stream["r_frame_rate"]), (codec, form, rate))
                num, den = map(int, rate.split("/"))
                np.testing.assert_allclose(times, np.arange(FRAMES) * den / num, atol=6e-4)
                rgb = "yuv" not in form
                self.assertEqual((stream.get("color_space"), stream.get("color_range", "pc")),
                                 ("gbr" if rgb and name.endswith("mkv") else None if rgb else "smpte170m", "pc" if rgb else "tv"))

    def test_properties_of_the_input(self):
        tags = ("-colorspace", "bt2020nc", "-color_primaries", "bt2020", "-color_trc", "bt709", "-color_range", "tv",
                "-vf", "setsar=4/3", "-metadata", "title=A title", "-metadata", "comment=Some words")
        self.source("in.mkv", *tags, "-c:v", "libx264", "-c:a", "flac")
        for name in ("o.mov", "o.mkv"):
            self.vx("blur", "in.mkv", "--gaussian", 1, "-o", name, "--codec", "prores4444")
            stream, times, found = self.probe(name)
            self.assertEqual([stream.get(key) for key in ("sample_aspect_ratio", "color_space", "color_primaries",
                                                          "color_transfer", "color_range", "r_frame_rate")],
                             ["4:3", "bt2020nc", "bt2020", "bt709", "tv", "30000/1001"])
            self.assertEqual(len(times), 30)
            found = {key.lower(): value for key, value in found.items()}
            self.assertEqual((found["title"], found["comment"]), ("A title", "Some words"))
        # The frames of movie.mov are shown at 0, 2 and 3 of 1001/30000 seconds.
        subprocess.run([os.environ["VX_MAKE_CLIPS"], self.folder], check=True)
        for name in ("v.mkv", "v.mov"):
            self.vx("convert", "movie.mov", "-o", name, "--codec", "prores4444")
            np.testing.assert_allclose(self.probe(name)[1], [0, 2002 / 30000, 3003 / 30000], atol=6e-4)
            self.vx("convert", "movie.mov", "--frames", "1,0", "-o", name, "--codec", "prores4444")
            np.testing.assert_allclose(self.probe(name)[1], [0, 1001 / 30000], atol=6e-4)
            self.vx("convert", "movie.mov", "--fps", "10", "-o", name, "--codec", "prores4444")
            np.testing.assert_allclose(self.probe(name)[1], [0, .1, .2], atol=6e-4)

    def test_sound(self):
        def packets(name):
            return self.ffmpeg("-i", name, "-map", "0:a", "-c", "copy", "-f", "streamhash", "-")
        def lead(name):
            """Seconds from the first sound to the first picture."""
            first = [min(float(t.strip(b",")) for t in self.ffmpeg("-select_streams", s, "-show_entries", "packet=pts_time", "-of",
                                                       "csv=p=0", name, program="ffprobe").split()) for s in ("a:0", "v")]
            return first[1] - first[0]
        self.source("pcm.mov", "-c:v", "libx264", "-c:a", "pcm_s16le")
        self.source("flac.mkv", "-c:v", "libx264", "-c:a", "flac")
        self.source("aac.mp4", "-c:v", "libx264", "-c:a", "aac", "-ac", "2")
        self.ffmpeg("-i", "flac.mkv", "-i", "aac.mp4", "-map", "0:v", "-map", "0:a", "-map", "1:a", "-c", "copy", "two.mkv")
        for source, outs in (("pcm.mov", "o.mkv o.mov"), ("flac.mkv", "o.mkv o.mp4"), ("aac.mp4", "o.mp4 o.mkv o.mov"),
                             ("two.mkv", "o.mkv")):
            for out in outs.split():
                messages = self.vx("convert", source, "-o", out)[1]
                self.assertEqual(messages, "")
                self.assertEqual(packets(source), packets(out), f"{source} {out}")
                self.assertAlmostEqual(lead(out), lead(source), delta=0.0015)
        for words, message in (("flac.mkv -o o.webm", r"its sound \(flac\) is left out, because the container"),
                               ("aac.mp4 -o o.mkv --fps 25", "its sound is left out, because the video that is written lasts 1.200 s"),
                               ("aac.mp4 -o o.mkv --frames 0-9", "its sound is left out, because not all"),
                               ("aac.mp4 -o o.mkv --frames 29-0", "its sound is left out, because not all")):
            messages = self.vx("convert", *words.split())[1]
            self.assertRegex(messages, message)
            self.assertNotIn(b"audio", self.ffmpeg("-show_streams", words.split()[2], program="ffprobe"))
            os.remove(self.path(words.split()[2]))
            self.refuse(OUTPUT, message + ".*--strict", "convert", *words.split(), "--strict")

    def test_retimed(self):
        self.source("in.mkv", "-c:v", "libx264", "-c:a", "flac")
        for words, frames, rate, sound in (("--fps 60000/1001 --method mix", 60, "60000/1001", True),
                                           ("--speed 2 --method copy", 15, "30000/1001", False),
                                           ("--speed 1", 30, "30000/1001", True)):
            messages = self.vx("retime", "in.mkv", *words.split(), "-o", "o.mkv")[1]
            stream, times, _ = self.probe("o.mkv")
            self.assertEqual(len(times), frames)
            # ffprobe says 19001/317 for 60000/1001 in a Matroska file.
            self.assertAlmostEqual(float(Fraction(stream["r_frame_rate"])), float(Fraction(rate)), places=4)
            self.assertEqual(json.loads(self.vx("info", "o.mkv", "--json")[0])["frame_rate"], rate)
            self.assertEqual("its sound is left out" in messages, not sound)
            self.assertEqual(b"audio" in self.ffmpeg("-show_streams", "o.mkv", program="ffprobe"), sound)
        self.vx("retime", "s.#.png", "--fps", 30, "--input-fps", 15, "--method", "copy", "-o", "o.mov")
        self.assertEqual(self.probe("o.mov")[0]["r_frame_rate"], "30/1")
        os.remove(self.path("o.mov"))
        self.refuse(USAGE, "--input-fps: o.mov needs a frame rate, and s.#.png has none", "retime", "s.#.png", "--speed", 1,
                    "-o", "o.mov")

    def test_jobs(self):
        self.vx("convert", "s.#.png", "-o", "one.mkv", "--fps", 25, "--threads", 1)
        self.vx("convert", "s.#.png", "-o", "four.mkv", "--fps", 25, "--threads", 4)
        self.assertEqual(self.contents("one.mkv"), self.contents("four.mkv"))
        out = self.vx("convert", "s.#.png", "-o", "j.mkv", "--fps", 25, "--json", "--frames", "1-3")[0]
        records = [json.loads(line) for line in out.splitlines()]
        self.assertEqual([(r["frame"], r["status"], r["output"]) for r in records[:-1]],
                         [(i, "done", "j.mkv") for i in (1, 2, 3)])
        self.assertEqual(records[-1]["clip"], {"output": "j.mkv", "streams": "ffv1, bgr0"})
        out = self.vx("convert", "s.#.png", "-o", "dry.mkv", "--fps", 25, "--dry-run")[0]
        self.assertIn("frame 4: read s.4.png, write dry.mkv", out)
        self.assertNotIn("dry.mkv", self.names())
        os.remove(self.path("s.2.png"))
        for how, frames in (("skip", (0, 1, 3, 4)), ("hold", (0, 1, 1, 3, 4))):
            self.vx("convert", "s.#.png", "-o", "m.mkv", "--fps", 25, "--missing", how, "--threads", 3)
            np.testing.assert_array_equal(self.decode("m.mkv", "rgb24", (20, 34, 3)), [self.frames[i] for i in frames])
        self.vx("fill", "8x6", "--color", "255,10,20,30", "--frames", "1-4", "-o", "f.mkv", "--fps", 25)
        np.testing.assert_array_equal(self.decode("f.mkv", "rgb24", (6, 8, 3)), np.full((4, 6, 8, 3), (10, 20, 30)))
        self.vx("convert", "one.mkv", "-o", "one.mkv")
        self.assertEqual(self.contents("one.mkv"), self.contents("four.mkv"))
        self.vx("convert", "one.mkv", "--at-time", "0.08", "-o", "still.mkv")
        np.testing.assert_array_equal(self.decode("still.mkv", "rgb24", (20, 34, 3)), [self.frames[2]])

    def test_refusals(self):
        self.text("old.mkv", "old")
        self.png("odd.0.png", random_pixels(0, 7, 9, channels=3))
        for words, code, message in (
                ("s.#.png -o o.mkv", USAGE, "--fps: o.mkv needs a frame rate, and s.#.png has none"),
                ("s.0.png -o o.mkv --fps 25", USAGE, "o.mkv: is a clip, but the input s.0.png is a single"),
                ("s.#.png -o o.#.mkv --fps 25", USAGE, "a clip contains all frames"),
                ("s.#.png -o o.mkv --fps 24/0", USAGE, "--fps"),
                ("s.#.png -o o.mkv --fps 25 --codec png", USAGE, "--codec png: matroska has ffv1"),
                ("s.#.png -o o.mkv --fps 25 --bits half", USAGE, "--bits half"),
                ("s.#.png -o o.mkv --fps 25 --resume", USAGE, "--resume: o.mkv is a clip.*write a sequence"),
                ("s.#.png -o o.mkv --fps 25 --compression zip", USAGE, "--compression"),
                ("s.#.png -o old.mkv --fps 25 --no-clobber", OUTPUT, "old.mkv: exists"),
                ("s.#.png -o none/o.mkv --fps 25", OUTPUT, "create the folder"),
                ("s.#.png -o o.mkv --fps 25 --frames 3-7", INPUT, "frames 5-7 are missing"),
                ("odd.#.png -o o.mp4 --fps 25", OUTPUT, "h264 needs an even width and height, not 9 x 7")):
            with self.subTest(words=words):
                self.refuse(code, message, "convert", *words.split())
        self.png("s.3.png", random_pixels(0, 7, 9, channels=3))
        self.refuse(OUTPUT, "frame 3: .*frame 3 has 9 x 7 pixels, the frames before it 34 x 20", "convert", "s.#.png", "-o",
                    "old.mkv", "--fps", 25)
        self.text("s.3.png", b"\x89PNG\r\n\x1a\n")
        for threads in (1, 4):
            self.refuse(INPUT, "frame 3: s.3.png", "convert", "s.#.png", "-o", "old.mkv", "--fps", 25, "--threads", threads)

    def test_full_disk(self):
        self.text("old.mkv", "old")
        for limit in (20, 3000):
            self.refuse(OUTPUT, "old.mkv: cannot be written: File too large; raise", "convert", "s.#.png", "-o", "old.mkv",
                        "--fps", 25, "--threads", 1,
                        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))


if __name__ == "__main__":
    unittest.main()
