# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Calls: known values, agreement with the command, refusals, interrupts, threads, memory."""

import os
import resource
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import vx
from pictures import argb, noise


def test_the_command_gives_the_same_pictures(tmp_path):
    below, above = noise(40, 50), noise(30, 20, seed=2)
    a, b, out = (tmp_path / name for name in ("a.png", "b.png", "out.png"))
    vx.write(a, below, keep_alpha=True)
    vx.write(b, above, keep_alpha=True)
    cases = [
        (["composite", a, "--layer", b, "--mode", "soft-light", "--opacity", "0.6", "--at", "7,-3"],
         lambda: vx.transfer(below, above, mode="soft-light", opacity=0.6, at=(7, -3))),
        (["composite", a, "--linear", "--layer", b, "--mode", "screen"],
         lambda: vx.transfer(below, above, mode="screen",
                             tables=vx.LinearTables(vx.Profile.named("sRGB")))),
        (["blur", a, "--gaussian", "3.5"], lambda: vx.blur(below, 3.5)),
        (["blur", a, "--box", "2.5", "--iterations", "3", "--grow"],
         lambda: vx.blur(below, 2.5, kind="box", iterations=3, edge="fade", grow=True)),
        (["resize", a, "--size", "23x61"], lambda: vx.resize(below, 23, 61)),
        (["transform", b, "--over", a, "--anchor", "3,4", "--scale", "0.2", "--to", "--scale", "1", "--rotate", "360",
          "--motion-samples", "9"],
         lambda: vx.transform(below, above, vx.matrices_between(vx.Parts((3, 4), scale=(0.2, 0.2)),
                                                                vx.Parts((3, 4), rotate=360), 10))),
        (["convert", a, "--depth", "16"], lambda: vx.convert(below, 16)),
        (["premultiply", a], lambda: vx.premultiply(below)),
        (["matte", a, "--feather", "4", "--feather-kind", "gaussian"],
         lambda: vx.uno.to_picture(vx.uno.feather(vx.uno.from_picture(below, "alpha"), 4, kind="gaussian"))),
        (["matte", a, "--from", "luma", "--feather", "4", "--invert"],
         lambda: vx.uno.to_picture(vx.uno.invert(
             vx.uno.feather(vx.uno.from_picture(below, "luma"), 4)))),
    ]
    for words, call in cases:
        subprocess.run([os.environ["VX_COMMAND"], *map(str, words), "-o", out], check=True, capture_output=True)
        np.testing.assert_array_equal(vx.read(out), call(), err_msg=" ".join(map(str, words)))


P, DEEP, PROFILE, FLAT = noise(4, 4), noise(4, 4, 16), vx.Profile.named("sRGB"), noise(4, 4)[..., 0].copy()
# Invalid options of vx.transfer: each kind of option once; then other calls with the name of their invalid argument.
OPTIONS = [
    (ValueError, dict(mode="scren")), (ValueError, dict(mode=1 << 70)), (TypeError, dict(mode=None)),
    (ValueError, dict(opacity=float("nan"))), (ValueError, dict(opacity=10**400)), (TypeError, dict(at=(0.5, 0))),
    (ValueError, dict(at=(10**5000, 0))), (ValueError, dict(rect=(5, 5, 5, 9))), (TypeError, dict(keep_alpha=np.zeros(3))),
    (ValueError, dict(field="upper")), (TypeError, dict(tables=PROFILE)), (TypeError, dict(linear="sRGB")),
    (ValueError, dict(linear=PROFILE, tables=vx.LinearTables(PROFILE))), (TypeError, dict(progress=3)),
    (ValueError, dict(mask=DEEP)), (ValueError, dict(mask_at=(40000, 0), mask=P))]
CALLS = [
    (ValueError, "radius", lambda: vx.blur(P, (1, 2, 3))),
    (ValueError, "width", lambda: vx.resize(P, 1 << 64, 3)),
    (ValueError, "color", lambda: vx.fill(noise(2, 2, 32), (np.nan, 0, 0))),
    (ValueError, "kernel", lambda: vx.convolve(P, np.full((3, 3), 2**64 - 1))),
    (TypeError, "kernel", lambda: vx.convolve(P, np.eye(3))),
    (TypeError, "gains", lambda: vx.uno.accumulate(FLAT, FLAT, gains=5)),
    (ValueError, "mask", lambda: vx.uno.feather(FLAT[:0], 3)),
    (TypeError, "mask", lambda: vx.uno.fade(FLAT.astype(int), 1)),
    (TypeError, "target", lambda: vx.convert_colors(P, PROFILE, "sRGB")),
    (TypeError, "folders", lambda: vx.host.set_module_folders("here")),
    (TypeError, "out", lambda: vx.copy_bitmap(vx.Bitmap(2, 2), P)),
    (ValueError, "x, y", lambda: vx.sample(P, float("nan"), 0)),
    (ValueError, "matrices", lambda: vx.transform(P, P, np.eye(2)))]
# Calls whose message is not checked.
OTHERS = [
    (FileNotFoundError, lambda: vx.host.set_module_folders([".", "none"])),
    (ValueError, lambda: vx.sample(P, 3, 0, "inside-sse2")), (ValueError, lambda: vx.extract_planes(P, "x")),
    (ValueError, lambda: vx.interleave(P, FLAT[1:], "red")), (vx.Error, lambda: vx.copy_channel(P, P, 0, 4)),
    (ValueError, lambda: vx.Bitmap(4, 4, 16, "bgra")), (ValueError, lambda: vx.rgb_to_hls((0, 0, 256), 8)),
    (TypeError, lambda: vx.rgb_to_hls(["r", "e", "d"]))]
REFUSALS = [(error, f"^{next(iter(o))}: ", lambda o=o: vx.transfer(P, noise(3, 3), out=P, **o)) for error, o in OPTIONS]
REFUSALS += [(error, f"^{name}: ", call) for error, name, call in CALLS]
REFUSALS += [(error, "", call) for error, call in OTHERS]


@pytest.mark.parametrize("error,message,call", REFUSALS)
def test_wrong_arguments_change_nothing(error, message, call):
    with pytest.raises(error, match=message):
        call()
    np.testing.assert_array_equal(P, noise(4, 4))


def test_errors_of_the_library_have_a_code_and_a_text():
    with pytest.raises(vx.Error, match="mix") as caught:
        vx.transfer(P, P, mode="mask-mix")
    assert caught.value.code == 3 and isinstance(caught.value, RuntimeError)


def test_interrupts_stop_long_work():
    script = ("import numpy, vx\n"
              "print('ready', flush=True)\n"
              "while True: vx.convolve(numpy.zeros((2000, 2000, 4), numpy.float32),"
              " numpy.ones((63, 63), int))\n")
    child = subprocess.Popen([sys.executable, "-c", script], stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True)
    assert child.stdout.readline() == "ready\n"
    time.sleep(0.5)
    child.send_signal(2)
    assert "KeyboardInterrupt" in child.communicate(timeout=60)[1]


def test_the_interpreter_is_unlocked_during_a_call():
    picture, rounds = argb(noise(1500, 1500, 32)), 0
    thread = threading.Thread(target=lambda: vx.blur(picture, 12, order="argb"))
    thread.start()
    while thread.is_alive():
        rounds += 1
        time.sleep(0.001)
    assert rounds > 5


def test_calls_leave_no_memory_allocated():
    below, above = argb(noise(64, 64)), noise(64, 64)

    def calls(count):
        for i in range(count):
            vx.transfer(below, argb(above), out=below, order="argb")
            if i % 10 == 0:
                vx.transfer(above, above, mask=above, mode="hue")
                with pytest.raises(ValueError):
                    vx.transfer(above, above, mode="none such")
        return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss  # KiB

    before = calls(500)
    assert calls(5000) - before < 4096


def test_processor_levels_and_slots():
    vx.host.set_processor("none")
    assert vx.host.processor() == "none"
    assert vx.host.build_level() in ("baseline", "x86-64-v3", "x86-64-v4")
    vx.host.set_processor("all")
    slots = {slot.number: slot for slot in vx.host.slots()}
    assert slots[98].name == "VX_GetInnerBlendingMask16" and slots[98].state == "built-in"
