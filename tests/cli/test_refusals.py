# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""What must not work: one line, the right exit code, nothing left behind, the old output as it was."""

import os
import resource
import signal
import struct
import subprocess
import time
import unittest
import zlib

import numpy as np
from PIL import Image
from vxcommand import VX, CommandTest, contents, random_pixels, write_exr, write_tiff

USAGE, INPUT, OUTPUT = 2, 3, 4


class Refusals(CommandTest):
    def setUp(self):
        super().setUp()
        self.png("b.png", random_pixels(1, 12, 16))
        self.png("old.png", random_pixels(2, 5, 5))

    def composite(self, code, said, *words, layer="b.png", below="b.png", out="old.png", **options):
        with self.subTest(words=words, layer=layer, below=below, out=out):
            self.refuse(code, said, "composite", below, "--layer", layer, *words, "-o", out, **options)

    def test_usage(self):
        for words, said in {
                ("--mode", "sceren"): r"--mode 'sceren'.*did you mean screen\?.* in-front .*darker-color",
                ("--mode", "-1"): "--mode '-1'.*-3, -2 and 0 to 36",
                ("--mode", "37"): "--mode '37'", ("--mode", "2.0"): "--mode",
                ("--mode", "mask-mix"): "mask-mix: needs --mask",
                ("--opacity", "1.5"): "--opacity '1.5': must be a number from 0 to 1",
                ("--opacity", "-0.1"): "--opacity '-0.1'", ("--opacity", "nan"): "--opacity 'nan'",
                ("--opacity", "1x"): "--opacity '1x'", ("--opacity", ""): "--opacity",
                ("--at", "3"): "--at '3': must be two whole numbers X,Y",
                ("--at", "3,4,5"): "--at", ("--at", "99999999999,0"): "--at '99999999999'",
                ("--rect", "5,5,5,9"): "--rect '5,5,5,9'.*R greater than L", ("--rect", "1,2,3"): "--rect",
                ("--seed", "4294967296"): "--seed", ("--field", "upper"): "--field 'upper'.*both even odd",
                ("--mask-use", "alpha"): "--mask-use.*--mask FILE",
                ("--mask", "b.png", "--mask-use", "red"): "--mask-use 'red'.*inverse-luma",
                ("--mask", "b.png", "--mask-at", "40000,0"): "--mask-at '40000'",
                ("--depth", "12"): "--depth '12': must be 8, 16, 32 or keep",
                ("--progress", "loud"): "--progress 'loud'",
                ("--opacity",): "--opacity: needs a value",
                ("--frobnicate",): "not expected.*--frobnicate.*vx composite --help",
                ("--overwrite", "--no-clobber"): "excludes",
                ("--opacity", "1", "--opacity", "1"): "--opacity"}.items():
            self.composite(USAGE, said, *words)
        self.png("wide.png", random_pixels(1, 4, 1024))
        for words, said in {
                (): "verbs are composite transform fill", ("paint",): "verbs are composite transform fill", ("composite", "b.png", "-o", "o.png"): "--layer FILE",
                ("composite", "b.png", "--opacity", "1", "--layer", "b.png", "-o", "o.png"):
                    "--opacity: belongs to a layer",
                ("composite", "b.png", "--layer"): "--layer: needs a value",
                ("composite", "--layer", "b.png", "-o", "o.png"): "BACKGROUND",
                ("composite", "b.png", "--layer", "b.png"): "--output",
                ("fill", "0x5", "--color", "1,1,1,1", "-o", "o.png"): "width '0'.*1 to 30000",
                ("fill", "5x30001", "--color", "1,1,1,1", "-o", "o.png"): "height '30001'",
                ("fill", "5x5", "--color", "256,1,1,1", "-o", "o.png"): "--color '256'.*0 to 255",
                ("fill", "5x5", "--color", "1,1,1", "-o", "o.png"): "--color.*A,R,G,B",
                ("fill", "5x5", "--color", "1,1,inf,1", "--depth", "32", "-o", "o.exr"): "finite",
                ("fill", "5x5", "--color", "1,1,1,1", "--depth", "keep", "-o", "o.png"): "8, 16 or 32",
                ("list", "verbs"): "list 'verbs'.*modes slots formats processors",
                ("copy", "b.png", "--from", "", "-o", "o.png"): "after --from must not be empty",
                ("convert", "b.png", "--alpha=", "-o", "o.png"): "--alpha=: must not be empty",
                ("compare", "b.png", "b.png", "--tolerance", "-1"): "--tolerance",
                ("modes", "--sheet", "b.png", "-o", "o.png"): "--sheet",
                ("modes", "--sheet", "wide.png", "wide.png", "--tile", "1024", "--columns", "39", "-o",
                 "o.png"): "30000 pixels",
                ("--processor", "fast", "list", "modes"): "--processor 'fast'"}.items():
            with self.subTest(words=words):
                self.refuse(USAGE, said, *words)

    def hostile_png(self, name, width, height):
        head = b"IHDR" + struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
        body = b"".join(struct.pack(">I", len(c) - 4) + c + struct.pack(">I", zlib.crc32(c))
                        for c in (head, b"IDAT" + zlib.compress(b""), b"IEND"))
        with open(self.path(name), "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n" + body)
        return name

    def test_pictures_that_are_none(self):
        with open(self.path("text.png"), "w") as file:
            file.write("This is not a picture.\n")
        open(self.path("empty.png"), "w").close()
        os.mkdir(self.path("folder.png"))
        for name, said in (("missing.png", "missing.png: no such file"), ("empty.png", "empty"),
                           ("text.png", "text.png: is not a picture of a known format .*png, jpeg"),
                           ("folder.png", "folder.png: is a folder")):
            self.composite(INPUT, said, layer=name)
            self.composite(INPUT, said, below=name)
            self.composite(INPUT, said, "--mask", name)
        os.mkfifo(self.path("pipe.png"))
        _, error = self.vx("info", "pipe.png", code=INPUT)
        self.assertIn("pipe.png: is not a regular file", error)
        os.remove(self.path("pipe.png"))
        self.hostile_png("wide.png", 30001, 1)
        self.hostile_png("zero.png", 0, 7)
        self.hostile_png("vast.png", 2**31 - 1, 2**31 - 1)
        self.hostile_png("liar.png", 30000, 30000)  # promises 3.6 GB and holds nothing
        Image.new("L", (30001, 1)).save(self.path("wide.tif"))
        Image.new("L", (1, 30001)).save(self.path("tall.jpg"))
        for name, said in (("wide.png", "wide.png: is 30001 x 1 pixels; at most 30000"),
                           ("wide.tif", "30001 x 1"), ("tall.jpg", "1 x 30001"),
                           ("zero.png", "has no pixels .0 x 7"), ("vast.png", "2147483647")):
            self.composite(INPUT, said, layer=name)
        _, error = self.vx("composite", "liar.png", "--layer", "b.png", "-o", "o.png", code=INPUT)
        self.assertIn("liar.png: is truncated or damaged", error)
        self.assertNotIn("o.png", self.names())

    def test_truncated_files_of_each_format(self):
        image = Image.fromarray(random_pixels(3, 64, 64), "RGBA")
        image.save(self.path("t.png"))
        image.convert("RGB").save(self.path("t.jpg"))
        image.convert("RGB").save(self.path("t.ppm"))
        image.save(self.path("t.tga"))
        image.save(self.path("t.bmp"))
        write_tiff(self.path("t.tif"), random_pixels(3, 64, 64))
        image.save(self.path("z.tif"), compression="tiff_adobe_deflate")
        write_exr(self.path("t.exr"), np.ones((64, 64, 4), np.float32))
        self.vx("composite", "t.png", "--layer", "b.png", "-o", "t.dpx")
        vast = bytearray(contents(self.path("t.dpx")))
        vast[32:36] = b"\x7f\xff\xff\x7f"  # two gigabytes of user's header, by its own word
        with open(self.path("vast.dpx"), "wb") as file:
            file.write(vast)
        self.composite(INPUT, "vast.dpx: is truncated", below="vast.dpx")
        for name in ("t.png", "t.jpg", "t.ppm", "t.tga", "t.bmp", "t.tif", "z.tif", "t.exr", "t.dpx"):
            whole = contents(self.path(name))
            self.vx("composite", name, "--layer", "b.png", "-o", "whole.tif")
            os.remove(self.path("whole.tif"))
            for size in (len(whole) * 2 // 3, 30):
                with open(self.path(name), "wb") as file:
                    file.write(whole[:size])
                self.composite(INPUT, rf"{name}: (is truncated|has no pixels)", below=name)

    def test_outputs_that_cannot_be(self):
        os.mkdir(self.path("folder.png"))
        for out, said in (("no/such/o.png", "no/such/o.png: the folder no/such cannot be used.*create"),
                          ("o.gif", "o.gif: the extension names no format.*png, jpeg"), ("o", "o: the ext"),
                          ("folder.png", "folder.png: is a folder"),
                          ("b.png/o.png", "b.png/o.png: ")):
            self.composite(OUTPUT, said, out=out)
        self.composite(OUTPUT, "old.png: exists and may not be overwritten", "--no-clobber")
        os.symlink("/dev/full", self.path("full.png"))
        _, error = self.vx("composite", "b.png", "--layer", "b.png", "-o", "full.png", code=OUTPUT)
        self.assertIn("full.png: is not a regular file", error)
        os.remove(self.path("full.png"))
        if os.geteuid() != 0:
            os.mkdir(self.path("locked"), 0o500)
            self.composite(OUTPUT, "locked cannot be written", out="locked/o.png")

    def test_a_full_disk(self):
        # A limit on file sizes makes writes fail half-way, as a full disk does.
        self.png("big.png", random_pixels(5, 300, 300))
        self.png("old.jpg", random_pixels(6, 4, 4))
        for extension in ("png", "jpg", "tif", "exr", "tga", "bmp", "dpx", "ppm"):
            self.vx("composite", "b.png", "--layer", "b.png", "-o", "old." + extension)
            for limit in (20, 100000):
                before = {name: contents(self.path(name)) for name in self.names()}
                _, error = self.vx(
                    "composite", "big.png", "--layer", "b.png", "-o", "old." + extension, code=OUTPUT,
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
                last = error.strip().splitlines()[-1]
                self.assertRegex(last, rf"vx: old\.{extension}: .*(too large|cannot be written)")
                self.assertEqual(before, {name: contents(self.path(name)) for name in self.names()})
        _, error = self.vx("list", "modes", code=OUTPUT, preexec_fn=lambda: os.dup2(
            os.open("/dev/full", os.O_WRONLY), 1))
        self.assertIn("standard output", error)

    def test_signals_leave_nothing_behind(self):
        old = contents(self.path("old.png"))
        several = (signal.SIGHUP, signal.SIGTERM, signal.SIGINT) * 7  # one while another is handled
        for numbers in ((signal.SIGINT,), (signal.SIGTERM,), several):
            run = subprocess.Popen([VX, "fill", "7000x6000", "--color", "255,1,2,3", "-o", "old.png"],
                                   cwd=self.folder, stderr=subprocess.PIPE)
            self.addCleanup(run.kill)
            deadline = time.time() + 60
            while not any(name.startswith(".vx-") for name in self.names()) and run.poll() is None:
                self.assertLess(time.time(), deadline)
                time.sleep(0.005)
            for number in numbers:
                run.send_signal(number)
                time.sleep(0.00005)
            run.communicate(timeout=10)
            self.assertIn(run.returncode, [128 + number for number in numbers])
            self.assertEqual(self.names(), ["b.png", "old.png"])
            self.assertEqual(contents(self.path("old.png")), old)


if __name__ == "__main__":
    unittest.main()
