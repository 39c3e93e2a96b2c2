# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Clips: frames, times, chosen frames, info, invalid clips."""

import fractions
import gc
import os
import subprocess

import numpy as np
import pytest

import vx


@pytest.fixture(scope="module")
def clips(tmp_path_factory):
    folder = tmp_path_factory.mktemp("clips")
    subprocess.run([os.environ["VX_MAKE_CLIPS"], folder], check=True)
    return folder


def codes(frame, channels):
    """The pixels that vx_make_clips writes, red first."""
    y, x, c = np.mgrid[:9, :17, :channels]
    return ((frame * 50 + c * 20 + x * 3 + y * 7) & 255).astype(np.uint8)


def test_frames_of_a_clip(clips):
    seen = 0
    for frame in vx.frames(clips / "plain.mkv"):
        assert (frame.number, frame.path) == (seen, str(clips / "plain.mkv"))
        assert frame.time == pytest.approx(seen / 25)
        np.testing.assert_array_equal(frame.picture[..., :3], codes(seen, 3))
        assert (frame.picture[..., 3] == 255).all() and frame.picture.dtype == np.uint8
        seen += 1
    assert seen == 3
    deep = list(vx.frames(str(clips / "deep.mkv"), order="argb"))
    expected = np.roll(codes(2, 4).astype(np.int64) * 256, 1, axis=2)
    np.testing.assert_array_equal(deep[2].picture, (expected * 32768 + 32767) // 65535)


def test_chosen_frames(clips):
    def numbers(words):
        return [(f.number, f.picture[0, 0, 0]) for f in vx.frames(clips / "movie.mov", words)]
    assert numbers("1-2") == [(1, 50), (2, 100)]
    assert numbers("2,0-1") == [(2, 100), (0, 0), (1, 50)]
    times = [f.time for f in vx.frames(clips / "movie.mov")]
    assert times == pytest.approx([0, .06673, .1001], abs=1e-5)
    with pytest.raises(ValueError, match="movie.mov, which has 3 frames"):
        numbers("0,7")
    for words in ("1-", "x"):
        with pytest.raises(ValueError):
            numbers(words)


def test_what_a_clip_says(clips):
    told = vx.info(clips / "movie.mov")
    assert told["frame_count"] == 3 and told["frame_rate"].denominator == 1001
    assert (told["width"], told["height"], told["depth"]) == (17, 9, 8)
    assert (told["codec"], told["pixel_format"], told["alpha"]) == ("png", "rgba", "straight")
    told = vx.info(clips / "deep.mkv")
    assert told["frame_rate"] == fractions.Fraction(25) and told["frame_count"] is None
    assert told["depth"] == 16 and told["duration"] == pytest.approx(0.12)


def test_frames_keep_what_they_carry(clips, tmp_path):
    frame = next(vx.frames(clips / "plain.mkv", "1"))
    assert frame.metadata.profile()[2] is False
    vx.write(tmp_path / "a.png", frame.picture, metadata=frame.metadata, strict=True)
    np.testing.assert_array_equal(vx.read(tmp_path / "a.png"), frame.picture)
    vx.write(tmp_path / "a.exr", frame.picture, metadata=frame.metadata, strict=True)
    assert float(vx.info(tmp_path / "a.exr")["metadata"]["vx:Time"]) == pytest.approx(0.04)


def test_iterators_are_lazy_and_let_go(clips):
    def held():
        return sum("plain.mkv" in os.readlink(f"/proc/self/fd/{fd}")
                   for fd in os.listdir("/proc/self/fd") if os.path.islink(f"/proc/self/fd/{fd}"))
    frames = vx.frames(clips / "plain.mkv")
    assert held() == 0
    next(frames)
    assert held() == 1
    del frames
    gc.collect()
    assert held() == 0


def test_refusals(clips, tmp_path, capfd):
    with pytest.raises(FileNotFoundError):
        list(vx.frames(tmp_path / "none.mkv"))
    (tmp_path / "empty.mkv").touch()
    (tmp_path / "text.mkv").write_text("words\n")
    for path, words in [(clips / "sound.mkv", "holds no video"), (tmp_path, "is a folder"),
                        (tmp_path / "empty.mkv", "is empty"), (tmp_path / "text.mkv", "neither")]:
        for call in (vx.info, lambda p: list(vx.frames(p))):
            with pytest.raises(OSError, match=words):
                call(path)
    with pytest.raises(OSError, match="is a clip .*vx.frames"):
        vx.read(clips / "plain.mkv")
    whole = (clips / "plain.mkv").read_bytes()
    (tmp_path / "cut.mkv").write_bytes(whole[:len(whole) * 8 // 10])
    read = []
    with pytest.raises(OSError, match="cut.mkv: ") as caught:
        for frame in vx.frames(tmp_path / "cut.mkv"):
            read.append(frame.picture)
    assert 0 < len(read) < 3 and f"at frame {len(read)};" in str(caught.value)
    np.testing.assert_array_equal(read[0][..., :3], codes(0, 3))
    vx.write(tmp_path / "one.png", codes(0, 3))
    with pytest.raises(ValueError, match="one picture"):
        list(vx.frames(tmp_path / "one.png", "0-1"))
    assert capfd.readouterr() == ("", "")
