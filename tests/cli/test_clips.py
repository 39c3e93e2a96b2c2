# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Clips: told by vx info, refused by everything else with a word on what to do."""

import json
import os
import subprocess
import unittest

from vxcommand import CommandTest


class Clips(CommandTest):
    def setUp(self):
        super().setUp()
        subprocess.run([os.environ["VX_MAKE_CLIPS"], self.folder], check=True)

    def test_info(self):
        told = json.loads(self.vx("info", "movie.mov", "--json")[0])
        self.assertEqual(told, told | {
            "format": "mov", "codec": "png", "width": 17, "height": 9, "depth": 8, "frames": 3,
            "alpha": "straight", "matrix": "rgb", "pixel_aspect": "1:1", "orientation": 1})
        text = self.vx("info", "deep.mkv")[0]
        for words in ("matroska, ffv1, 17 x 9", "gbrap16le, 16 bits", "unknown, 25/1 a second"):
            self.assertIn(words, text)

    def test_refusals(self):
        self.refuse(3, "plain.mkv: is a clip .*vx.frames", "convert", "plain.mkv", "-o", "o.png")
        self.refuse(3, "sound.mkv: holds no video", "info", "sound.mkv")


if __name__ == "__main__":
    unittest.main()
