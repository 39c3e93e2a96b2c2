# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""The list of options: each option that decides pixels changes the fingerprint of --resume."""

import json
import unittest

from vxcommand import CommandTest, random_pixels

# Options of all verbs that do not decide pixels: a run with --resume ignores changes of them.
IGNORED = ("-o,--output --overwrite --no-clobber --resume --format --frames --at-time --missing --keep-going "
           "--failed-list --dry-run --threads --memory --progress --json --output-frames --report --cache").split()
# A first run of each kind of option, and changes of it: option and value. None removes the option. All other options
# are recorded as the texts given, like --depth and --opacity.
CASES = {
    "composite b.png --layer a.png --mask b.png --matte b.png": [
        ("--depth", "16"), ("--linear", ""), ("--profile", "gamma 1.8"), ("--strict", ""), ("--opacity", "0.5"),
        ("--layer", "b.png"), ("--mask", None), ("--matte", None), ("--field", "even")],
    "transform a.png --over b.png --scale 2 --to --rotate 9": [
        ("--over", None), ("--quality", "draft"), ("--shutter-angle", "90"), ("--scale", "3"), ("--rotate", "8"),
        ("--to", None), ("--mask", "b.png")],
    "fill 9x9 --color 255,1,2,3": [("9x9", "9x8"), ("9x9", "a.png"), ("--color", "255,1,2,4"), ("--area", "1,1,3,3")],
    "convolve a.png --kernel k.txt": [("--kernel", "other.txt"), ("--normalize", ""), ("--no-clamp", "")],
}


class Options(CommandTest):
    def test_the_fingerprint_of_resume(self):
        for i, name in enumerate(("a.png", "b.png")):
            self.png(name, random_pixels(i, 8, 9))
        for name, text in (("k.txt", "256"), ("same.txt", "256 # a comment"), ("other.txt", "255")):
            self.text(name, text)
        listed = json.loads(self.vx("list", "options", "--json")[0])
        verbs = {row["verb"] for row in listed if row["option"] == "--resume"}
        self.assertEqual(len(verbs), 14)
        self.assertEqual({row["option"] for row in listed if row["verb"] in verbs and row["decides"] == "nothing"},
                         set(IGNORED))

        def status(words, *more):
            return json.loads(self.vx(*words, "-o", f"{words[0]}.png", "--resume", "--json", *more)[0])["status"]

        for line, changes in CASES.items():
            words = line.split()
            self.assertEqual(status(words), "done")
            self.assertEqual(status(words, "--threads", "1", "--memory", "1G"), "up_to_date")
            for option, value in changes:
                changed = list(words)
                at = words.index(option) if option in words else len(words)
                given = [] if value is None else [value] if option in words[:2] else [option, value]
                changed[at:at + (1 if option in (*words[:2], "--to") else 2)] = filter(None, given)
                with self.subTest(line, option=option, value=value):
                    self.assertEqual(status(changed, "--dry-run"), "planned")
        self.assertEqual(status("convolve a.png --kernel same.txt".split()), "up_to_date")

    def test_suggestions(self):
        for words, near in (("blur a.png --boks 2 -o o.png", "--box"), ("composit a.png --layer b.png", "composite"),
                            ("blur a.png --outptu o.png", "--output"), ("--verson", "--version"), ("list mods", "modes"),
                            ("transform a.png --rotat=3 -o o.png", "--rotate")):
            self.refuse(2, f"did you mean {near}", *words.split())


if __name__ == "__main__":
    unittest.main()
