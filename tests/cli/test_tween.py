# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""tween: pictures of a known motion, the ends, files of motion, refusals."""

import json
import os
import unittest

import numpy as np
from test_flow import texture
from vxcommand import USAGE, CommandTest


class Tween(CommandTest):
    def setUp(self):
        super().setUp()
        self.png("a.png", texture())
        self.png("b.png", texture(8, -4))

    def made(self, *options):
        self.vx("tween", "a.png", "b.png", "-o", "out.png", *options)
        return self.pixels("out.png")[..., :3]

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
        """The library tests the files themselves: here is what the command says about them."""
        want = self.made("--at", 0.5).tobytes()
        words = ("tween", "a.png", "b.png", "-o", "out.png", "--at", 0.5, "--overwrite", "--cache")
        self.assertEqual(self.vx(*words, "motion")[1], "")
        name, = os.listdir(self.path("motion"))
        data = self.contents(f"motion/{name}")
        for content, message in ((data, r"\A\Z"), (data[:-1], rf"\Avx: .*{name} is not used: .*bytes instead of.*\n\Z")):
            with open(self.path(f"motion/{name}"), "wb") as file:
                file.write(content)
            self.assertRegex(self.vx(*words, "motion")[1], message)
            self.assertEqual(self.pixels("out.png")[..., :3].tobytes(), want)
            self.assertEqual(self.contents(f"motion/{name}"), data)
        self.assertRegex(self.vx(*words, "/proc")[1], r"\Avx: .*/proc cannot store motion: .*\n\Z")
        self.assertEqual(self.pixels("out.png")[..., :3].tobytes(), want)

    def test_refusals(self):
        self.png("small.png", texture()[:50])
        for words, message in ((("small.png",), "the pictures must have the same size"),
                               (("b.png", "--at", 1.5), "--at"),
                               (("b.png", "--shutter-samples", 21), "--shutter-samples")):
            self.refuse(USAGE, message, "tween", "a.png", *words, "-o", "none.png")


if __name__ == "__main__":
    unittest.main()
