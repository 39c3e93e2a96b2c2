# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Clips: frames, times, chosen frames, info, invalid clips."""

import gc
import os
import subprocess
from fractions import Fraction

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
    frames = list(vx.frames(clips / "plain.mkv"))
    assert [frame.number for frame in frames] == [0, 1, 2] and frames[0].path == str(clips / "plain.mkv")
    for i, frame in enumerate(frames):
        assert frame.time == pytest.approx(i / 25)
        np.testing.assert_array_equal(frame.picture, np.dstack([codes(i, 3), np.full((9, 17), 255)]))
    deep = list(vx.frames(str(clips / "deep.mkv"), order="argb"))
    expected = np.roll(codes(2, 4).astype(np.int64) * 256, 1, axis=2)
    np.testing.assert_array_equal(deep[2].picture, (expected * 32768 + 32767) // 65535)


def test_chosen_frames_and_times(clips):
    def numbers(words):
        return [(f.number, f.picture[0, 0, 0]) for f in vx.frames(clips / "movie.mov", words)]
    assert numbers("2,0-1") == [(2, 100), (0, 0), (1, 50)]
    times = [f.time for f in vx.frames(clips / "movie.mov")]
    assert times == pytest.approx([0, .06673, .1001], abs=1e-5)
    for words in ("0,7", "1-", "x"):
        with pytest.raises(ValueError, match="which has 3 frames" if words == "0,7" else words):
            numbers(words)


def test_info_and_metadata(clips, tmp_path):
    told = vx.info(clips / "movie.mov")
    assert told["frame_count"] == 3 and told["frame_rate"].denominator == 1001
    assert (told["codec"], told["pixel_format"], told["alpha"]) == ("png", "rgba", "straight")
    told = vx.info(clips / "deep.mkv")
    assert (told["frame_rate"], told["frame_count"], told["depth"]) == (25, None, 16)
    frame = next(vx.frames(clips / "plain.mkv", "1"))
    vx.write(tmp_path / "a.exr", frame.picture, metadata=frame.metadata, strict=True)
    assert float(vx.info(tmp_path / "a.exr")["metadata"]["vx:Time"]) == pytest.approx(0.04)


def test_iterators_are_lazy_and_close_the_file(clips):
    def is_open():
        paths = [f"/proc/self/fd/{fd}" for fd in os.listdir("/proc/self/fd")]
        return any("plain.mkv" in os.readlink(path) for path in paths if os.path.islink(path))
    frames = vx.frames(clips / "plain.mkv")
    assert not is_open()
    next(frames)
    assert is_open()
    del frames
    gc.collect()
    assert not is_open()


def test_refusals(clips, tmp_path, capfd):
    whole = (clips / "plain.mkv").read_bytes()
    (tmp_path / "cut.mkv").write_bytes(whole[:len(whole) * 8 // 10])
    for path, words in ((clips / "sound.mkv", "holds no video"), (tmp_path, "is a folder")):
        for call in (vx.info, lambda p: list(vx.frames(p))):
            with pytest.raises(OSError, match=words):
                call(path)
    with pytest.raises(OSError, match="is a clip .*vx.frames"):
        vx.read(clips / "plain.mkv")
    read = []
    with pytest.raises(OSError, match="cut.mkv: .*at frame [12];"):
        for frame in vx.frames(tmp_path / "cut.mkv"):
            read.append(frame.picture)
    np.testing.assert_array_equal(read[0][..., :3], codes(0, 3))
    assert capfd.readouterr() == ("", "")


def test_writer(tmp_path):
    rng = np.random.default_rng(3)
    pictures = {8: rng.integers(0, 256, (3, 7, 9, 4), np.uint8), 16: rng.integers(0, 32769, (3, 7, 9, 4), np.uint16)}
    for depth, frames in pictures.items():
        for name, options in (("a.mkv", {}), ("a.mov", {"codec": "png"})):
            with vx.ClipWriter(tmp_path / name, Fraction(24000, 1001), **options) as clip:
                for frame in frames:
                    clip.write(frame)
                assert not (tmp_path / name).exists()
            np.testing.assert_array_equal([f.picture for f in vx.frames(tmp_path / name)], frames)
            assert vx.info(tmp_path / name)["frame_rate"] == Fraction(24000, 1001)
            (tmp_path / name).unlink()
    with vx.ClipWriter(tmp_path / "a.mkv", 25, alpha=False) as clip:
        clip.write(pictures[8][0], order="argb")
    np.testing.assert_array_equal(next(vx.frames(tmp_path / "a.mkv")).picture[..., :3], pictures[8][0][..., 1:])
    with pytest.raises(OSError, match="may not be overwritten"):
        vx.ClipWriter(tmp_path / "a.mkv", 25, overwrite=False)


def test_writer_refuses(tmp_path):
    picture = np.zeros((4, 4, 4), np.uint8)
    for name, options, message in (("a.avi", {}, "use mkv, mov"), ("a.mkv", {"fps": 0}, "fps")):
        with pytest.raises(ValueError, match=message):
            vx.ClipWriter(tmp_path / name, **{"fps": 25, **options})
    with pytest.raises(OSError, match="no frame was written"):
        with vx.ClipWriter(tmp_path / "a.mkv", 25):
            pass
    with pytest.raises(RuntimeError, match="mine"):
        with vx.ClipWriter(tmp_path / "a.mkv", 25) as clip:
            clip.write(picture)
            raise RuntimeError("mine")
    with pytest.warns(UserWarning, match="h264 stores no alpha"):
        with vx.ClipWriter(tmp_path / "b.mp4", 25) as clip:
            clip.write(picture)
    with pytest.raises(OSError, match="is closed"):
        clip.write(picture)
    assert [path.name for path in tmp_path.iterdir()] == ["b.mp4"]
