# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Motion: agreement with the command, arguments, files, prediction by hand, interrupts."""

import os
import struct
import subprocess
import warnings

import numpy as np
import pytest

import vx

NAN = np.nan


def waves(dx, dy):
    y, x = np.mgrid[0:90, 0:120].astype(float)
    x, y = x - dx, y - dy
    waves = [np.sin(x * p + y * q + s) for p, q, s in ((.2, .05, 0), (-.07, .22, 1), (.13, .17, 2), (.3, -.25, 3))]
    return np.repeat((127.5 + 31 * sum(waves)).round().astype(np.uint8)[..., None], 3, 2)


def test_the_command_gives_the_same_vectors(tmp_path):
    for name, picture in (("a.png", waves(0, 0)), ("b.png", waves(3, -2))):
        vx.write(tmp_path / name, picture)
    for words, options in (((), {}), (("--resolution", 55, "--detail", -90, "--smoothing", 20, "--block", 9),
                                     dict(resolution=.55, detail=-90, smoothing=20, block=9)),
                           (("--smooth-passes", 2, "--error-threshold", .03, "--backward"),
                            dict(smooth_passes=2, error_threshold=.03, backward=True))):
        subprocess.run([os.environ["VX_COMMAND"], "flow", "a.png", "b.png", "-o", "f.flo", "--data", "f.exr", *map(str, words)],
                       cwd=tmp_path, check=True, capture_output=True)
        field = vx.flow(waves(0, 0), waves(3, -2), **options)
        for name in ("f.flo", "f.exr"):
            np.testing.assert_array_equal(vx.read_flow(tmp_path / name), field)


def test_predict_and_draw_by_hand():
    picture = np.float32([[[0, 0, 0, 1], [1, .5, 0, 1], [0, 1, 0, .5]]])
    field = np.float32([[[.25, 0], [NAN, 0], [9, 9]]])
    np.testing.assert_allclose(vx.predict(picture, field), [[[.25, .125, 0, 1], picture[0, 1], picture[0, 2]]])
    colors = vx.draw_flow(np.float32([[[4, 0], [-2, 0], [NAN, NAN], [0, 0]]]))
    np.testing.assert_allclose(colors[0], [[255, 0, 0, 255], [0, 127.5, 127.5, 255], [0] * 4, [0, 0, 0, 255]], atol=.5)
    assert vx.draw_flow(field, longest=8, depth=16, order="argb").dtype == np.uint16


def test_files(tmp_path):
    field = np.float32([[[1, -2], [NAN, 3]], [[.1, 1e-20], [np.inf, 0]], [[-0., 4e4], [2e9, 1]]])
    known = np.array([[1, 0], [1, 0], [1, 0]], bool)
    for name in ("f.flo", "f.exr"):
        vx.write_flow(tmp_path / name, field)
        np.testing.assert_array_equal(vx.read_flow(tmp_path / name), np.where(known[..., None], field, NAN))
    data = (tmp_path / "f.flo").read_bytes()
    assert data == struct.pack("<4s2i", b"PIEH", 2, 3) + np.where(known[..., None], field, np.float32(1e10)).tobytes()
    vx.write(tmp_path / "picture.exr", np.ones((2, 2, 4), np.float32))
    cases = {"short.flo": data[:-1], "long.flo": data + b"\0", "mark.flo": b"P" + data, "head.flo": data[:7],
             "wide.flo": data[:4] + struct.pack("<2i", 30001, 1), "none.flo": data[:4] + bytes(8), "empty.flo": b"",
             "cut.exr": (tmp_path / "f.exr").read_bytes()[:-9], "kind.dat": data}
    for name, content in cases.items():
        (tmp_path / name).write_bytes(content)
    for name in [*cases, "picture.exr"]:
        with pytest.raises(OSError, match=name):
            vx.read_flow(tmp_path / name)
    with pytest.raises(FileNotFoundError):
        vx.read_flow(tmp_path / "missing.flo")
    for name, options in (("f.png", {}), ("f.flo", {"overwrite": False})):
        with pytest.raises(OSError, match=name):
            vx.write_flow(tmp_path / name, field, **options)
    assert (tmp_path / "f.flo").read_bytes() == data and not (tmp_path / "f.png").exists()


def test_cache(tmp_path):
    a, b = waves(0, 0), waves(3, -2)
    assert (vx.tween(a, b, .25, quality="high") != vx.tween(a, b, .25)).any()
    want = vx.tween(a, b, .25, block=7)
    start = vx.motion_cache(clear=True)
    assert start[:3] == (0, 0, 0)
    for cache in (True, True, str(tmp_path)):
        np.testing.assert_array_equal(vx.tween(a, b, .25, block=7, cache=cache), want)
    now = vx.motion_cache(memory=0)
    assert (now.entries, now.memory, now.disk) == (1, 0, 216 + 16 * 24 * 18)
    assert (now.found - start.found, now.read - start.read, now.estimated - start.estimated) == (2, 0, 1)
    file, = tmp_path.iterdir()
    vx.motion_cache(memory=2**28, clear=True)
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        np.testing.assert_array_equal(vx.tween(a, b, .25, block=7, cache=tmp_path), want)
    assert vx.motion_cache(clear=True).read == now.read + 1
    data = file.read_bytes()
    file.write_bytes(data[:-1])
    with pytest.warns(UserWarning, match=f"{file.name} is not used: it has {len(data) - 1} bytes"):
        np.testing.assert_array_equal(vx.tween(a, b, .25, block=7, cache=tmp_path), want)
    assert file.read_bytes() == data


Blending = vx.AdvancedFrameBlending


def test_advanced_frame_blending():
    a, b = waves(0, 0), waves(3, -2)
    options = dict(block=7, sinc=True, shutter_samples=2, shutter_angle=40)
    for instant, steps in ((0, 0), (.25, 50), (.3333, 67), (.9974, 199), (.998, 200), (1, 0), (-.255, 149), (7.5, 100)):
        at = np.float32(steps) * np.float32(.005)
        np.testing.assert_array_equal(Blending(instant=instant, **options).render(a, b), vx.tween(a, b, at, **options))
    blue = [np.where([False, False, True], picture, 0).astype(np.uint8) for picture in (a, b)]
    np.testing.assert_array_equal(Blending(instant=.5, luma=(0, 0, 1)).render(*blue)[..., 2],
                                  Blending(instant=.5, luma=(1, 0, 0)).render(a, b)[..., 2])
    made = Blending.from_percentages(resolution=20, error_threshold=10, luma=(30, 30, 40), instant=.5)
    assert (made.resolution, made.instant) == (np.float32(0.199999988), .5)


PICTURE, FIELD = waves(0, 0), np.zeros((90, 120, 2), np.float32)


@pytest.mark.parametrize("error, name, call", [
    (ValueError, "detail", lambda: vx.flow(PICTURE, PICTURE, detail=1001)),
    (ValueError, "block", lambda: vx.flow(PICTURE, PICTURE, block=3)),
    (TypeError, "backward", lambda: vx.flow(PICTURE, PICTURE, backward=1)),
    (ValueError, "b", lambda: vx.flow(PICTURE, PICTURE[1:])),
    (ValueError, "field", lambda: vx.predict(PICTURE, FIELD[1:])),
    (TypeError, "field", lambda: vx.predict(PICTURE, FIELD.astype(float))),
    (ValueError, "cache", lambda: vx.tween(PICTURE, PICTURE, cache="missing/folder")),
    (ValueError, "quality", lambda: vx.tween(PICTURE, PICTURE, quality="best")),
    (ValueError, "method", Blending(method="best").check_range),
    (ValueError, "mode", Blending(mode=4).check_range),
    (ValueError, "luma", Blending(luma=(.3, .3, .3)).check_range),
    (ValueError, "instant", Blending(instant=NAN).check_range),
    (TypeError, "time_b", Blending(time_b=.5).check_range),
    (ValueError, "identity", Blending(identity="clip").check_range),
    (ValueError, "memory", lambda: vx.motion_cache(memory=-1)),
    (ValueError, "arrows", lambda: vx.draw_flow(FIELD, arrows=-1))])
def test_refusals(error, name, call):
    with pytest.raises(error, match=f"^{name}"):
        call()


def test_stop():
    with pytest.raises(vx.Error) as stopped:
        vx.flow(PICTURE, waves(3, -2), resolution=1, progress=lambda *_: True)
    assert stopped.value.code == 517
    with pytest.raises(ZeroDivisionError):
        vx.flow(PICTURE, waves(3, -2), resolution=1, progress=lambda *_: 1 / 0)
