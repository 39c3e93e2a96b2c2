# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Calls: known values, agreement with the command, refusals, interrupts, threads, memory."""

import os
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import vx
from pictures import argb, noise

COMMAND = os.environ["VX_COMMAND"]


def command(*words):
    subprocess.run([COMMAND, *map(str, words)], check=True, capture_output=True)


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
        (["transform", b, "--over", a, "--anchor", "3,4", "--rotate", "30", "--translate", "5,6"],
         lambda: vx.transform(below, above, vx.Parts((3, 4), rotate=30, translate=(5, 6)).matrix())),
        (["transform", b, "--over", a, "--anchor", "3,4", "--scale", "0.2", "--to", "--scale", "1", "--rotate", "360",
          "--motion-samples", "9"],
         lambda: vx.transform(below, above, vx.matrices_between(vx.Parts((3, 4), scale=(0.2, 0.2)),
                                                                vx.Parts((3, 4), rotate=360), 10))),
        (["convert", a, "--depth", "16"], lambda: vx.convert(below, 16)),
        (["premultiply", a], lambda: vx.premultiply(below)),
        (["matte", a, "--from", "luma", "--feather", "4", "--invert"],
         lambda: vx.uno.to_picture(vx.uno.invert(
             vx.uno.feather(vx.uno.from_picture(below, "luma"), 4)))),
    ]
    for words, call in cases:
        command(*words, "-o", out)
        np.testing.assert_array_equal(vx.read(out), call(), err_msg=" ".join(map(str, words)))


def test_values_by_hand():
    red, blue = np.uint8([[[255, 0, 0, 255]]]), np.uint8([[[0, 0, 255, 128]]])
    assert vx.transfer(red, blue).tolist() == [[[127, 0, 128, 255]]]
    assert vx.transfer(red, blue, opacity=0).tolist() == red.tolist()
    assert vx.blend_pixel([0, 0, 255, 128], [255, 0, 0, 255], depth=8).tolist() == [127, 0, 128, 255]
    assert vx.convert(red, 16).tolist() == [[[32768, 0, 0, 32768]]]
    assert vx.rand(1) == (377, 48271) and vx.hypot(3, 4) == 5
    assert vx.gaussian_kernel(0).tolist() == [[255]]
    quarter = vx.Parts(rotate=90).matrix()
    assert quarter.round(15).tolist() == [[0, 1, 0], [-1, 0, 0], [0, 0, 1]]
    half = vx.transfer(np.uint8([[[0, 0, 0]]]), np.uint8([[[255, 255, 255]]]), opacity=0.5,
                       tables=vx.LinearTables(vx.Profile.named("sRGB")))
    assert half[0, 0, 0] == 188  # 0.5 of white, as sRGB stores it


def test_samplers_and_masks():
    for name in vx.samplers():
        picture = noise(6, 7)
        picture[..., 3] = 255
        y, x = np.mgrid[0:5, 0:6]
        np.testing.assert_array_equal(vx.sample(picture, x, y, name, radius=0.5), picture[:5, :6])
        with pytest.raises(ValueError, match="x, y"):
            vx.sample(noise(4, 4), float("nan"), 0, name)
    with pytest.raises(ValueError, match="inside"):
        vx.sample(noise(4, 4), 3, 0, "inside-sse2")
    mask = vx.uno.from_picture(noise(8, 9), "alpha")
    np.testing.assert_array_equal(mask, noise(8, 9)[..., 3])
    np.testing.assert_array_equal(vx.uno.accumulate(mask, mask), np.minimum(mask.astype(int) * 2, 255))
    np.testing.assert_array_equal(
        vx.uno.transfer(mask, mask[:2, :2].copy(), outside="clear", at=(3, 4)).nonzero(),
        np.pad(mask[:2, :2], ((4, 2), (3, 4))).nonzero())
    strided = np.zeros((8, 20), np.float32)[:, ::2]
    assert vx.uno.fill(strided, 0.5, out=strided) is strided and (strided == 0.5).all()
    merged = vx.uno.merge(np.full((4, 4, 4), 255, np.uint8), np.full((2, 2), 99, np.uint8), at=(1, 1))
    assert merged[..., 3].sum() == 4 * 99


REFUSALS = [
    (ValueError, "mode", dict(mode="scren")), (ValueError, "mode", dict(mode=99)),
    (TypeError, "mode", dict(mode=None)), (ValueError, "opacity", dict(opacity=float("nan"))),
    (ValueError, "at", dict(at=(1 << 80, 0))), (TypeError, "at", dict(at=(0.5, 0))),
    (ValueError, "opacity", dict(opacity=10**400)), (ValueError, "at", dict(at=(10**5000, 0))),
    (ValueError, "rect", dict(rect=(0, 0, 1 << 20, 9))), (ValueError, "mode", dict(mode=1 << 70)),
    (TypeError, "keep_alpha", dict(keep_alpha=np.zeros(3))),
    (ValueError, "rect", dict(rect=(5, 5, 5, 9))), (ValueError, "seed", dict(seed=1 << 40)),
    (ValueError, "field", dict(field="upper")), (ValueError, "order", dict(order="bgra")),
    (TypeError, "tables", dict(tables=3)), (TypeError, "progress", dict(progress=3)),
    (ValueError, "mask_at", dict(mask=noise(2, 2), mask_at=(40000, 0))),
    (ValueError, "mask", dict(mask=noise(2, 2, 16))), (ValueError, "mask_use", dict(mask=noise(2, 2), mask_use="red")),
]


@pytest.mark.parametrize("error,word,options", REFUSALS, ids=range(len(REFUSALS)))
def test_wrong_arguments_change_nothing(error, word, options):
    picture = noise(4, 4)
    before = picture.copy()
    with pytest.raises(error, match=f"^{word}: "):
        vx.transfer(picture, noise(3, 3), out=picture, **options)
    np.testing.assert_array_equal(picture, before)


def test_other_words_of_refusal():
    picture, profile = noise(4, 4), vx.Profile.named("sRGB")
    for error, word, call in [
            (ValueError, "radius", lambda: vx.blur(picture, (1, 2, 3))),
            (TypeError, "grow", lambda: vx.blur(picture, 1, grow=None)),
            (ValueError, "width", lambda: vx.resize(picture, 1 << 64, 3)),
            (ValueError, "height", lambda: vx.World.new(3, 0)),
            (ValueError, "depth", lambda: vx.World.new(3, 3, 12)),
            (ValueError, "color", lambda: vx.fill(picture, (0, 0, 10**5000))),
            (ValueError, "color", lambda: vx.fill(noise(2, 2, 32), (np.nan, 0, 0))),
            (ValueError, "kernel", lambda: vx.convolve(picture, np.full((3, 3), 2**64 - 1))),
            (TypeError, "kernel", lambda: vx.convolve(picture, np.eye(3))),
            (TypeError, "gains", lambda: vx.uno.accumulate(picture[..., 0], picture[..., 0], gains=5)),
            (ValueError, "mask", lambda: vx.uno.feather(picture[:0, :, 0], 3)),
            (TypeError, "mask", lambda: vx.uno.fade(picture[..., 0].astype(int), 0.5)),
            (TypeError, "tables", lambda: vx.transfer(picture, picture, tables=profile)),
            (TypeError, "profile", lambda: vx.LinearTables("sRGB")),
            (TypeError, "target", lambda: vx.convert_colors(picture, profile, "sRGB")),
            (TypeError, "end", lambda: vx.matrices_between(vx.Parts(), None, 4)),
            (ValueError, "state", lambda: vx.rand(1 << 32)),
            (TypeError, "folders", lambda: vx.host.set_module_folders("here")),
            (ValueError, "count", lambda: vx.host.set_threads(10**30)),
            (TypeError, "out", lambda: vx.copy_bitmap(vx.Bitmap(2, 2), picture))]:
        with pytest.raises(error, match=f"^{word}: "):
            call()


def test_errors_of_the_library_carry_code_and_words():
    with pytest.raises(vx.Error, match="mix") as caught:
        vx.transfer(noise(4, 4), noise(4, 4), mode="mask-mix")
    assert caught.value.code == 3 and isinstance(caught.value, RuntimeError)
    for matrices in (np.eye(2), np.zeros((258, 3, 3)), "eye"):
        with pytest.raises((ValueError, TypeError), match="matrices"):
            vx.transform(noise(4, 4), noise(4, 4), matrices)
    still = vx.transform(noise(4, 4), noise(4, 4), np.full((3, 3), np.nan))
    np.testing.assert_array_equal(still, noise(4, 4))  # a matrix without inverse draws nothing


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


def test_the_lock_is_free_while_pixels_are_worked_on():
    picture, counted = argb(noise(1500, 1500, 32)), [0]
    stop = threading.Event()

    def count():
        while not stop.is_set():
            counted[0] += 1
            time.sleep(0.001)

    thread = threading.Thread(target=count)
    thread.start()
    before = counted[0]
    vx.blur(picture, 12, order="argb")
    during = counted[0] - before
    stop.set()
    thread.join()
    assert during > 5


def test_calls_leave_nothing_behind():
    import resource
    below, above, mask = argb(noise(64, 64)), argb(noise(64, 64, seed=2)), noise(64, 64)
    def calls(count):
        for i in range(count):
            vx.transfer(below, above, out=below, order="argb")
            if i % 10 == 0:
                vx.transfer(below, above, mask=mask, mode="hue")
                with pytest.raises(ValueError):
                    vx.transfer(below, above, mode="none such")
    calls(500)
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    calls(5000)
    assert resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before < 4096  # KiB


def test_processor_levels():
    assert vx.host.processor() in ("all", "none", "sse2")
    vx.host.set_processor("none")
    assert vx.host.processor() == "none"
    vx.host.set_processor("all")
    slots = {slot.number: slot for slot in vx.host.slots()}
    assert slots[98].name == "VX_GetInnerBlendingMask16" and slots[98].state == "built-in"
