# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""The list of options: each option that decides pixels changes the fingerprint of --resume."""

import json
import unittest

from vxcommand import CommandTest, random_pixels

# The options of a first run, and one change for each option that decides pixels. A change may
# replace another option (None removes it).
CASES = {
    "composite": ({"BACKGROUND": "a.png", "--layer": "b.png", "--mask": "b.png", "--matte": "b.png"}, {
        "--depth": "16", "--linear": "", "--profile": "gamma 1.8", "--strict": "", "--layer": None,
        "--at": "1,1", "--rect": "0,0,3,3", "--mode": "screen", "--opacity": "0.5", "--seed": "7",
        "--keep-alpha": "", "--mask": None, "--mask-use": "luma", "--mask-at": "1,0", "--matte": None,
        "--matte-use": "luma", "--feather": "2", "--feather-kind": {"--feather": "2", "--feather-kind": "box"},
        "--field": "even"}),
    "transform": ({"LAYER": "a.png", "--mask": "b.png", "--matte": "b.png", "--to": "", "--rotate": "9"}, {
        "--over": "b.png", "--size": "9x9", "--quality": "draft", "--depth": "16", "--path": None,
        "--motion-samples": "3", "--shutter-angle": "90", "--mode": "screen", "--opacity": "0.5",
        "--seed": "7", "--keep-alpha": "", "--mask": None, "--mask-use": "luma", "--mask-at": "1,0",
        "--matte": None, "--matte-use": "luma", "--feather": "2",
        "--feather-kind": {"--feather": "2", "--feather-kind": "box"}, "--field": "even", "--linear": "",
        "--profile": "gamma 1.8", "--strict": "", "--anchor": "1,1", "--scale": "2", "--skew": "3,0",
        "--rotate": "8", "--translate": "1,1", "--to": None,
        "--matrix": {"--rotate": None, "--matrix": "1,0,0,0,1,0,3,4,1"}}),
    "fill": ({"TARGET": "9x9", "--color": "255,1,2,3"}, {
        "TARGET": "9x8", "--color": "255,1,2,4", "--area": "1,1,3,3", "--depth": "16", "--strict": ""}),
    "copy": ({"IN": "a.png"}, {
        "--from": "0,0,4,4", "--to": "1,1,5,5", "--size": "5x5", "--quality": "draft", "--strict": ""}),
    "resize": ({"IN": "a.png", "--size": "5x5"}, {
        "--size": "5x6", "--scale": {"--size": None, "--scale": "2"}, "--quality": "draft", "--strict": ""}),
    "blur": ({"IN": "a.png", "--box": "1"}, {
        "--gaussian": {"--box": None, "--gaussian": "1"}, "--box": "2", "--iterations": "2", "--axis": "x",
        "--channels": "rgb", "--edge": "fade", "--grow": "", "--strict": ""}),
    "convolve": ({"IN": "a.png", "--kernel": "k.txt"}, {
        "--kernel": "other.txt", "--gaussian": {"--kernel": None, "--gaussian": "1"}, "--normalize": "",
        "--no-clamp": "", "--one-dimensional": "x", "--edge": "fade", "--strict": ""}),
    "matte": ({"IN": "a.png", "--combine": "b.png"}, {
        "--from": "red", "--feather": "2", "--feather-kind": {"--feather": "2", "--feather-kind": "box"},
        "--invert": "", "--fade": "0.5", "--combine": None, "--combine-mode": "replace", "--depth": "16",
        "--strict": ""}),
    "convert": ({"IN": "a.png"}, {
        "--depth": "16", "--dither": "", "--alpha": "ignore", "--planes": "rgb", "--strict": ""}),
    "premultiply": ({"IN": "a.png"}, {"--matte": "255,9,9,9", "--strict": ""}),
    "unpremultiply": ({"IN": "a.png"}, {"--matte": "255,9,9,9", "--strict": ""}),
}
PATH = ("transform", "--path")  # needs a sequence; see test_transform


def arguments(options):
    """Values follow their options; those of a layer and of the end of a motion come last."""
    last = [name for name in ("--to", "--rotate", "--matrix") if name in options]
    order = [name for name in options if name not in last] + last
    return [word for name in order if options[name] is not None
            for word in ((name,) if name.startswith("--") else ()) + ((options[name],) if options[name] else ())]


class Options(CommandTest):
    def test_the_fingerprint_of_resume(self):
        self.png("a.png", random_pixels(1, 8, 9))
        self.png("b.png", random_pixels(2, 8, 9))
        for name, weight in (("k.txt", 256), ("other.txt", 255)):
            with open(self.path(name), "w") as file:
                file.write(f"{weight}\n")
        listed = json.loads(self.vx("list", "options", "--json")[0])
        verbs = {row["verb"] for row in listed if row["option"] == "--resume"}
        self.assertEqual(verbs, set(CASES))
        for verb, (first, changes) in CASES.items():
            deciding = {row["option"] for row in listed if row["verb"] == verb
                        and (row["decides"] == "value" or row["decides"] == "contents")
                        and row["option"] not in ("IN", "BACKGROUND", "LAYER")}
            self.assertEqual(deciding, set(changes), verb)

            def status(changed, *more):
                words = ("-o", f"{verb}.png", "--resume", *more)
                record = json.loads(self.vx(verb, *arguments(changed), *words, "--json")[0])
                return record["status"]

            self.assertEqual(status(first), "done")
            self.assertEqual(status(first, "--threads", "1", "--memory", "1G"), "up_to_date")
            for option, change in changes.items():
                if (verb, option) == PATH or (verb, option) == ("composite", "--layer"):
                    continue
                changed = {**first, **(change if isinstance(change, dict) else {option: change})}
                for name in ("--mask", "--matte"):  # options that need the removed one are removed too
                    if changed.get(name, "") is None:
                        changed = {k: v for k, v in changed.items() if not k.startswith(name + "-")}
                with self.subTest(verb=verb, option=option):
                    self.assertEqual(status(changed, "--dry-run"), "planned")

    def test_suggestions(self):
        for words, near in ((("blur", "a.png", "--boks", "2", "-o", "o.png"), "--box"),
                            (("composit", "a.png"), "composite"),
                            (("transform", "a.png", "--rotat=3", "-o", "o.png"), "--rotate")):
            self.refuse(2, f"did you mean {near}", *words)


if __name__ == "__main__":
    unittest.main()
