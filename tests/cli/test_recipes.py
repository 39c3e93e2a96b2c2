# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Runs the shell blocks of README.md and docs/recipes.md on the sample pictures."""

import os
import pathlib
import re
import subprocess
import sys
import unittest

from vxcommand import VX, CommandTest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Recipes(CommandTest):
    def run_blocks(self, page):
        subprocess.run([sys.executable, ROOT / "scripts/make_samples", self.path("demo-out/samples")], check=True)
        os.makedirs(self.path("build/release/bin"))
        os.symlink(VX, self.path("build/release/bin/vx"))
        os.mkdir(self.path("out"))
        blocks = re.findall(r"```sh\n(.*?)```", (ROOT / page).read_text(), re.S)
        self.assertTrue(blocks)
        environment = {**os.environ, "PATH": os.path.dirname(VX) + ":" + os.environ["PATH"]}
        for block in blocks:
            done = subprocess.run(["bash", "-euo", "pipefail", "-c", block], cwd=self.folder, env=environment,
                                  capture_output=True, text=True, timeout=120)
            self.assertEqual(done.returncode, 0, f"{page}:\n{block}\n{done.stderr}")
            for output in re.findall(r"-o '?([^' \n]+)", block):
                pattern = re.sub("#+", "*", output)
                self.assertTrue(list(pathlib.Path(self.folder).glob(pattern)), f"{page}: no {output}")

    def test_readme(self):
        self.run_blocks("README.md")

    def test_recipes(self):
        self.run_blocks("docs/recipes.md")


if __name__ == "__main__":
    unittest.main()
