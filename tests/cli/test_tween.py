# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""tween: pictures of a known motion, the ends, files of motion, refusals."""

import json
import os
import unittest

import numpy as np
from test_flow import psnr, texture
from vxcommand import USAGE, CommandTest


class Tween(CommandTest):
    def setUp(self):
        super().setUp()
        self.png("a.png", texture())
        self.png("b.png", texture(8, -4))

    def made(self, *options):
        self.vx("tween", "a.png", "b.png", "-o", "out.png", *options)
        return self.pixels("out.png")[..., :3]

    def test_instants_of_a_known_motion(self):
        for at, dx, dy in ((0.25, 2, -1), (0.5, 4, -2), (0.75, 6, -3)):
            truth, inner = texture(dx, dy), np.s_[20:-20, 20:-20]
            by_motion = psnr(self.made("--at", at, "--resolution", 100)[inner], truth[inner])
            self.assertGreater(by_motion, 36)
            self.assertGreater(by_motion, psnr(self.made("--at", at, "--method", "mix")[inner], truth[inner]) + 6)

    def test_ends_and_methods(self):
        a, b = texture(), texture(8, -4)
        for method in ("motion", "mix", "copy"):
            np.testing.assert_array_equal(self.made("--at", 0, "--method", method), a)
            np.testing.assert_array_equal(self.made("--at", 1, "--method", method), b)
        np.testing.assert_array_equal(self.made("--at", 0.49, "--method", "copy"), a)
        mean = np.floor(a + (b.astype(float) - a) * 0.5 + 0.5)
        np.testing.assert_array_equal(self.made("--method", "mix"), mean)
        # Samples over the whole interval have the same mean.
        blurred = self.made("--method", "mix", "--shutter-angle", 360, "--shutter-samples", 20)
        np.testing.assert_allclose(blurred, mean, atol=1)
        record = json.loads(self.vx("tween", "a.png", "b.png", "-o", "o.png", "--quality", "high", "--json")[0])
        self.assertEqual((record["at"], record["method"]), (0.5, "motion"))

    def test_cache(self):
        want = {at: self.made("--at", at).tobytes() for at in (0.25, 0.5)}
        words = ("tween", "a.png", "b.png", "-o", "out.png", "--overwrite", "--cache", "motion", "--at")
        self.assertEqual(self.vx(*words, 0.25)[1], "")
        name, = os.listdir(self.path("motion"))
        file = f"motion/{name}"
        data, time = self.contents(file), os.stat(self.path(file)).st_mtime_ns
        for damage, message in ((None, None), (data[:-1], "bytes instead of"), (data[:-1] + bytes([data[-1] ^ 1]), "damaged"),
                                (b"?" + data[1:], "not a motion file"), (None, None)):
            if damage:
                with open(self.path(file), "wb") as opened:
                    opened.write(damage)
                time = None  # the file is replaced
            error = self.vx(*words, 0.5)[1]
            self.assertRegex(error, rf"\Avx: .*{file} is not used: .*{message}.*\n\Z" if damage else r"\A\Z")
            self.assertEqual(self.pixels("out.png")[..., :3].tobytes(), want[0.5])
            self.assertEqual(self.contents(file), data)
            now = os.stat(self.path(file)).st_mtime_ns
            self.assertEqual(now, time or now, "a file in order was written again")
            time = now
        # Other settings and other pictures have their own files.
        self.vx(*words, 0.5, "--block", 7)
        self.vx(*words[:1], "b.png", "a.png", *words[3:], 0.5)
        self.assertEqual(len(os.listdir(self.path("motion"))), 3)
        # A folder that cannot store files.
        error = self.vx(*[{"motion": "/proc"}.get(word, word) for word in words], 0.25)[1]
        self.assertRegex(error, r"\Avx: .*/proc cannot store motion: .*\n\Z")
        self.assertEqual(self.pixels("out.png")[..., :3].tobytes(), want[0.25])

    def test_refusals(self):
        self.png("small.png", texture()[:50])
        for words, message in ((("small.png",), "the pictures must have the same size"),
                               (("b.png", "--at", 1.5), "--at"),
                               (("b.png", "--shutter-samples", 21), "--shutter-samples")):
            self.refuse(USAGE, message, "tween", "a.png", *words, "-o", "none.png")


if __name__ == "__main__":
    unittest.main()
