# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Invalid use: one line, the right exit code, no partial file, the old output unchanged."""

import fcntl
import os
import resource
import shlex
import signal
import struct
import subprocess
import time
import unittest
import zlib

import numpy as np
from PIL import Image
from vxcommand import INPUT, OUTPUT, USAGE, VX, CommandTest, random_pixels, write_exr

# Values and combinations of options that a verb refuses. "-o old.png" is added to those of VERBS.
VERBS = {
    "composite b.png --layer b.png": [
        ("--mode sceren", r"--mode 'sceren'.*did you mean screen\?.* in-front .*darker-color"),
        ("--shadow-opacity 1", "no effect without --shadow"), ("--shadow 1,1 --shadow-color #12345", "must be '#RRGGBB'"),
        ("--matrix 1 0 0 0 1 0 0 0 1 --at 1,1", "--at: not together with --matrix"),
        ("--matrix 1 0 0.1 0 1 0 0 0 1 --blur 1", "--blur, --shadow: .*perspective"), ("--mode -1", "--mode '-1'.*-3, -2 and 0 to 36"), ("--mode mask-mix", "mask-mix: needs --mask"),
        ("--opacity 1.5", "--opacity '1.5': must be a number from 0 to 1"), ("--opacity nan", "--opacity 'nan'"), ("--opacity", "--opacity: needs a value"), ("--opacity 1 --opacity 1", "--opacity"),
        ("--at 3", "--at '3': must be center, or X,Y"), ("--at 1,5px", "'1,5px': must be"),
        ("--rect 5,5,5,9", "--rect '5,5,5,9'.*R greater than L"),
        ("--mask-use alpha", "--mask-use.*--mask FILE"), ("--matte-use luma", "without --matte"),
        ("--matte b.png --feather-kind box", "without --feather"),
        ("--frobnicate", "--frobnicate: no such option; see 'vx composite --help'"), ("--overwrite --no-clobber", "excludes"),
        ("--profile sRBG", "profile 'sRBG': is neither a file nor .*sRGB, gamma 1.0, .*ProPhoto")],
    "copy b.png": [
        ("--from -20000,0,20000,9", "--from.*at most 30000"), ("--from ''", "after --from must not be empty"), ("--size 5", "--size '5': must be WIDTHxHEIGHT")],
    "resize b.png": [
        ("", "--size WxH or --scale F"), ("--scale 0", "--scale '0'.*0.00001 to 30000"),
        ("--scale 4000", "b.png: would become 64000 pixels.* 30000")],
    "convert b.png": [
        ("--alpha=", "--alpha=: must not be empty"), ("--planes rgbx", "--planes 'rgbx'.*argb"),
        ("--bits 12", "--bits 12: png has 8, 16"),
        ("--compression zip:0", "--compression zip:0: png has zip:1-9, none"), ("--compression lzw", "--compression lzw"),
        ("--quality 90", "--quality 90: png has no choice")],
    "premultiply b.png": [("--matte 1,2,3", "or four numbers"), ("--matte 0,256,0,0", "--matte '256'.*0 to 255")],
    "fill": [
        ("5x5 --color 1,1,inf,1 --depth 32", "finite"),
        ("5x5 --color 1,1,1,1 --depth keep", "8, 16 or 32")],
    "blur b.png": [
        ("", "needs one of --gaussian R, --sigma S and --box R"),
        ("--gaussian 1 --iterations 2", "--iterations: belongs to --box"), ("--axis z", "--axis 'z'.*both x y"),
        ("--box 2621.5 --iterations 100", "2621.5 reaches 262200 pixels; at most 262144"),
        ("--box 15000 --grow", "b.png: --grow makes it 30016 x 30012")],
    "convolve b.png": [
        ("", "needs either --kernel FILE or --gaussian R"),
        ("--kernel huge.txt --normalize", "huge.txt sum to 19327352823.*32 bits")],
    "convolve long.png": [("--kernel k.txt", "long.png: --edge repeat needs 30002 x 6.*use --edge fade")],
    "matte b.png": [("--from hue", "--from 'hue'.*inverse-luma"), ("--combine-mode add", "without --combine")],
    "transform b.png": [
        ("--translate 3", "--translate '3': must be two numbers X,Y"), ("--rotate --size 4x4", "--rotate: needs a value"),
        ("--skew 90,0", "--skew '90,0': must be degrees from -89.999 to 89.999"),
        ("--anchor middle", "--anchor 'middle': .* X,Y or center"), ("--rotate 1 --rotate 2", "--rotate: is given twice"),
        ("--matrix 1,0,0,0,1,0,0,0", "--matrix '1,0,0,0,1,0,0,0': must be 9 numbers"),
        ("--matrix 1 0 0 0 1 0 0 0 1 1", "not expected: 1"),
        ("--rotate 3 --to --matrix 1 0 0 0 1 0 0 0 1", "--matrix: cannot be combined with .* for both ends"),
        ("--to --rotate 1 --to", "--to: may be given once"), ("--motion-samples 4", "without --to or --path"),
        ("--over b.png --size 4x4", "--size: not together with --over"), ("--path k.txt", "name the output like"),
        ("--path k.txt --to", "--to: not together with --path")],
}
USES = {
    "": "verbs are composite transform fill", "paint": "verbs are composite transform fill",
    "copy b.png -o -": "-o -: needs --format", "copy b.png -o - --format png --json": "not together with --json",
    "copy b.png -o o.png --format png": "--format: belongs to -o -", "copy b.png -o - --format gif": "must be png",
    "composite b.png -o o.png": "--layer FILE", "composite --layer b.png -o o.png": "BACKGROUND",
    "composite b.png --opacity 1 --layer b.png -o o.png": "--opacity: belongs to a layer",
    "composite b.png --layer b.png": "--output", "list verbs": "list 'verbs'.*modes slots formats processors",
    "modes --sheet long.png long.png --tile 1024 --columns 39 -o o.png": "30000 pixels",
    "--processor fast list modes": "--processor 'fast'", "profile": "needs a FILE or NAME",
    "profile sRGB --write o.png": "must end in .icc", "profile sRGB --list": "--list: cannot be combined",
}
# Files that cannot be read or written, by exit code.
FILES = {
    INPUT: {"transform b.png --path none.txt -o o.#.png": "none.txt: no such file",
            "matte b.png --combine none.png -o o.png": "none.png: no such file",
            "composite b.png --layer b.png --matte none.png -o o.png": "none.png: no such file",
            "compare b.png none.png": "none.png: no such file", "profile none.icc": "none.icc: no such file",
            "profile b.png": "b.png: has no embedded profile",
            "profile k.icc": "k.icc: is not a profile, or a damaged one",
            "composite b.png --layer b.png --profile b.png -o o.png": "b.png: has no embedded profile",
            "--modules none list modules": "--modules none: cannot be read",
            "copy - -o o.png": "-: the standard input is empty", "info pipe.png": "pipe.png: is not a regular file"},
    OUTPUT: {"copy b.png -o no/such/o.png": "no/such/o.png: the folder no/such cannot be used.*create",
             "copy b.png -o o.gif": "o.gif: the extension names no format.*png, jpeg",
             "copy b.png -o folder.png": "folder.png: is a folder", "copy b.png -o b.png/o.png": "b.png/o.png: ",
             "copy b.png -o old.png --no-clobber": "old.png: exists and may not be overwritten",
             "copy b.png -o full.png": "full.png: is not a regular file",
             "profile sRGB --write k.icc --no-clobber": "k.icc: exists",
             "profile sRGB --write o.icc --plot o.gif": "o.gif: the extension"},
}


class Refusals(CommandTest):
    def setUp(self):
        super().setUp()
        self.png("b.png", random_pixels(1, 12, 16))
        self.png("old.png", random_pixels(2, 5, 5))

    def table(self, code, rows):
        for words, message in rows:
            with self.subTest(words):
                self.refuse(code, message, *shlex.split(words))

    def test_usage(self):
        self.png("long.png", random_pixels(1, 4, 30000, channels=3))
        self.text("k.txt", "1 1 1\n" * 3)
        self.text("huge.txt", f"{2**31 - 1} {2**31 - 1} {2**31 - 1}\n" * 3)
        for verb, rows in VERBS.items():
            self.table(USAGE, [(f"{verb} {words} -o old.png", message) for words, message in rows])
        self.table(USAGE, USES.items())
        self.refuse(USAGE, "--rotate: needs a value", "transform", "b.png", "-o", "old.png", "--rotate")

    def test_files(self):
        os.mkdir(self.path("folder.png"))
        self.text("k.icc", "not a profile " * 20)
        os.symlink("/dev/full", self.path("full.png"))
        os.mkfifo(self.path("pipe.png"))
        self.all_contents = self.names  # neither of the two can be read
        for code, rows in FILES.items():
            self.table(code, rows.items())

    def hostile_png(self, name, width, height):
        head = b"IHDR" + struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
        return self.text(name, b"\x89PNG\r\n\x1a\n" + b"".join(
            struct.pack(">I", len(c) - 4) + c + struct.pack(">I", zlib.crc32(c))
            for c in (head, b"IDAT" + zlib.compress(b""), b"IEND")))

    def test_invalid_pictures(self):
        self.text("text.png", "This is not a picture.\n")
        self.text("empty.png", "")
        self.hostile_png("wide.png", 30001, 1)
        self.hostile_png("vast.png", 2**31 - 1, 2**31 - 1)
        self.hostile_png("short.png", 30000, 30000)  # its header says 3.6 GB, its data are empty
        for name, message in (
                ("missing.png", "missing.png: no such file"), ("empty.png", "empty"), (".", ": is a folder"),
                ("text.png", "text.png: is not a picture of a known format .*png, jpeg"),
                ("wide.png", "wide.png: is 30001 x 1 pixels; at most 30000"), ("vast.png", "2147483647")):
            self.table(INPUT, [(words + " -o old.png", message) for words in (
                f"composite {name} --layer b.png", f"composite b.png --layer {name} --mask {name}")])
        _, error = self.vx("composite", "short.png", "--layer", "b.png", "-o", "o.png", code=INPUT)
        self.assertRegex(error, r"\Avx: [^\n]*short\.png: is truncated or damaged[^\n]*\n\Z")  # no second line
        self.assertNotIn("o.png", self.names())

    def test_truncated_files_of_each_format(self):
        image = Image.fromarray(random_pixels(3, 64, 64), "RGBA")
        names = ["t.png", "t.tga", "t.bmp", "t.tif", "z.tif", "t.jpg", "p.jpg", "t.ppm", "t.exr", "t.dpx", "10.dpx"]
        how = {"z.tif": {"compression": "tiff_adobe_deflate"}, "p.jpg": {"progressive": True}}
        for name in names[:8]:
            image.convert("RGB" if name[2:] in ("jpg", "ppm") else "RGBA").save(self.path(name), **how.get(name, {}))
        write_exr(self.path("t.exr"), np.ones((64, 64, 4), np.float32))
        self.vx("convert", "t.png", "-o", "t.dpx")
        whole = self.contents("t.dpx")
        self.text("vast.dpx", whole[:32] + b"\x7f\xff\xff\x7f" + whole[36:])  # a user's header of two gigabytes
        self.table(INPUT, [("copy vast.dpx -o old.png", "vast.dpx: is truncated")])
        self.text("10.dpx", whole[:800] + b"\x32" + whole[801:803] + b"\x0a" + whole[804:])  # RGB of 10 bits
        for name in names:
            self.vx("copy", name, "-o", "whole.bmp")
            whole = self.contents(name)
            for size in (len(whole) * 2 // 3, 30):
                self.text(name, whole[:size])
                self.table(INPUT, [(f"copy {name} -o old.png", rf"{name}: (is truncated|has no pixels)")])

    def test_damaged_data(self):
        image = Image.fromarray(random_pixels(4, 64, 64, channels=3))
        image.save(self.path("z.tif"), compression="tiff_adobe_deflate")
        image.save(self.path("a.jpg"), quality=20)
        image.save(self.path("b.jpg"), progressive=True)
        for name in ("z.tif", "a.jpg", "b.jpg"):
            data = bytearray(self.contents(name))
            data[len(data) // 2:len(data) // 2 + 2] = b"\xff\xd0"  # in a JPEG a marker that does not belong there
            self.text(name, bytes(data))
        self.table(INPUT, [("copy z.tif -o old.png", "z.tif: is truncated or damaged")])
        for name in ("a.jpg", "b.jpg"):
            self.assertRegex(self.vx("copy", name, "-o", "out.png")[1], f"warning: {name}: is damaged.*Corrupt JPEG")
            self.table(INPUT, [(f"copy {name} -o old.png --strict", f"{name}: is damaged")])

    def test_kernel_files(self):
        nine = "1 1 1\n1 1 1\n1 1 1\n"
        for text, message, *line in (
                ("# nothing\n\n \n", "is empty"),
                ("1 2 3\n4 5\n6 7 8\n", "line 2: row of 2 numbers, the first row has 3"),
                ("1 2 3\n4 5 6\n", "line 1: kernel of 2 rows with 3 numbers each; .*as many rows"),
                ("1 2\n3 4\n", "2 rows with 2 numbers each; the count must be odd"),
                ("1 2 3\n", "1 row with 3 numbers each; .*--one-dimensional x or y"),
                ("1 " * 1025, "at most 1023", "x"), ("1 - 2\n", "'-'"), ("1, ,2\n", "line 1: a comma"),
                ("\n# so\n1 0 0\n0 1.5 0\n", r"line 4: '1\.5' is not a whole number"),
                ("2147483648\n", "'2147483648' does not fit in 32 bits"),
                (f"{nine}\n{nine}", "2 blocks"), (f"{nine}\n5\n\n{nine}\n{nine}", "line 5: kernel of size 1"),
                ("1 \0 2\n", "is binary")):
            self.text("k.txt", text)
            with self.subTest(text):
                self.refuse(INPUT, f"k.txt: .*{message}", "convolve", "b.png", "--kernel", "k.txt", "-o", "out.png",
                            *(("--one-dimensional", *line) if line else ()))
        self.table(INPUT, [(f"convolve b.png --kernel {name} -o out.png", f"{name}: .*{message}")
                           for name, message in ((".", "cannot be read"), ("/dev/zero", "64 MiB"))])

    def test_path_files(self):
        for i in (1, 2):
            self.png(f"s.{i}.png", random_pixels(i, 4, 4))
        for text, message in (("# nothing\n\n", "contains no line"), ("--rotate\n", "line 1: --rotate: needs a value"),
                              ("--rotate 1\nrotate 3", "line 2: 'rotate': must be --anchor"),
                              ("--rotate 1\n--rotate x", "line 2: --rotate 'x': must be a finite number"),
                              ("--to --rotate 3", "line 1: --to: .* the next line is the end"),
                              ("2:\n1:\n--rotate 3", "line 3: frame 2 has line 1 already"),
                              ("x:--rotate 3", "line 1: frame 'x': must be a whole number"),
                              ("--matrix 1 0 0 0 1 0 0 0 1\n--rotate 3", "line 2: --matrix: .*both ends"),
                              ("--rotate 3", "has no line for frame 2, only for 1")):
            self.text("p.txt", text)
            self.table(INPUT, [("transform s.#.png --path p.txt -o o.#.png", r"p\.txt: .*" + message)])

    def test_a_full_disk(self):
        # A limit on file sizes makes writes fail half-way, as a full disk does.
        self.png("big.png", random_pixels(5, 200, 200))
        for extension in ("png", "jpg", "tif", "exr", "tga", "bmp", "dpx", "ppm"):
            self.vx("copy", "b.png", "-o", "old." + extension)
            for limit in (20, 40000):
                before = self.all_contents()
                _, error = self.vx(
                    "copy", "big.png", "-o", "old." + extension, code=OUTPUT,
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
                self.assertRegex(error.splitlines()[-1], rf"vx: old\.{extension}: .*(too large|cannot be written)")
                self.assertEqual(before, self.all_contents())
        _, error = self.vx("list", "modes", code=OUTPUT, preexec_fn=lambda: os.dup2(
            os.open("/dev/full", os.O_WRONLY), 1))
        self.assertIn("standard output", error)

    def test_signals_leave_no_file(self):
        old = self.contents("old.png")
        several = (signal.SIGHUP, signal.SIGTERM, signal.SIGINT) * 7  # the next before the last is handled
        for numbers in ((signal.SIGINT,), several):
            for _ in range(20):  # on a loaded machine the run may end before the signal arrives
                self.text("old.png", old)
                run = subprocess.Popen([VX, "fill", "7000x6000", "--color", "255,1,2,3", "-o", "old.png"],
                                       cwd=self.folder, stderr=subprocess.PIPE, preexec_fn=lambda: os.nice(10))
                self.addCleanup(run.kill)
                while not any(name.startswith(".vx-") for name in self.names()) and run.poll() is None:
                    time.sleep(0.005)
                for number in numbers:
                    run.send_signal(number)
                    time.sleep(0.00005)
                run.communicate(timeout=60)
                if run.returncode != 0:
                    break
            self.assertIn(run.returncode, [128 + number for number in numbers])
            self.assertEqual(self.names(), ["b.png", "old.png"])
            self.assertEqual(self.contents("old.png"), old)

    def test_files_left_by_a_killed_run(self):
        run = subprocess.Popen([VX, "fill", "7000x6000", "--color", "255,1,2,3", "-o", "old.png"], cwd=self.folder)
        while not (left := [name for name in self.names() if name.startswith(".vx-")]):
            self.assertIsNone(run.poll())
            time.sleep(0.005)
        run.kill()
        run.wait()
        _, host, boot, process, count = left[0].split("-")
        other_boot = f".vx-{host}-00000000-{process}-{count}"
        kept = [f".vx-other_{host}-{boot}-{process}-{count}", f".vx-{host}-{boot}-{os.getpid()}-{count}",
                f".vx-{host}-{boot}-{process}-locked.png"]
        for name in (other_boot, *kept):
            self.text(name, "")
        with open(self.path(kept[2])) as locked:  # its process is invisible, as in another container
            fcntl.flock(locked, fcntl.LOCK_EX)
            self.vx("copy", "b.png", "-o", "new.png")
        known = os.path.exists("/etc/machine-id") and os.path.getsize("/etc/machine-id") > 0
        self.assertEqual(self.names(), sorted(["b.png", "new.png", "old.png", *kept, *([] if known else [other_boot])]))


if __name__ == "__main__":
    unittest.main()
