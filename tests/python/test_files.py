# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Files: written and read again, sequences, profiles, missing files."""

import io
import os

import numpy as np
import pytest

import vx
from pictures import noise


@pytest.mark.parametrize("name,depth", [("a.png", 8), ("a.png", 16), ("a.tif", 16), ("a.tif", 32)])
def test_there_and_back(tmp_path, name, depth):
    picture = noise(5, 6, depth)
    if depth == 16:  # values made from 8 bits pass the 16-bit scale of a file exactly
        picture = vx.convert(noise(5, 6), 16)
    vx.write(tmp_path / name, picture, keep_alpha=True)
    read = vx.read_all(tmp_path / name)
    np.testing.assert_array_equal(read.picture, picture)
    assert read.has_alpha and vx.info(tmp_path / name)["depth"] == depth
    assert vx.read(tmp_path / name, world=True, depth=8).depth == 8


def test_bytes(tmp_path):
    picture = noise(5, 6)
    for name, options in (("png", {}), ("tiff", {"compression": "lzw"}), ("bmp", {}), ("jpg", {"quality": 50})):
        if name in ("bmp", "jpg"):
            picture = picture[..., :3].copy()
        vx.write(tmp_path / f"picture.{name}", picture, **options)
        data = vx.encode(picture, name, **options)
        assert data == (tmp_path / f"picture.{name}").read_bytes()
        for contents in (data, bytearray(data), memoryview(data), memoryview(data[::-1])[::-1]):
            np.testing.assert_array_equal(vx.read(contents), vx.read(tmp_path / f"picture.{name}"))
        assert vx.info(data) == vx.info(tmp_path / f"picture.{name}")
    with pytest.warns(UserWarning, match="^picture.png: "):
        vx.encode(noise(3, 3, 32), "png")
    wide = vx.read_all(vx.encode(picture, "png")).metadata.with_profile(bytes(vx.Profile.named("Display P3")))
    assert vx.read_all(vx.encode(picture, "png", metadata=wide)).metadata.profile()[2]
    before = len(os.listdir("/proc/self/fd"))
    for error, words, call in (
            (OSError, "^data: is truncated", lambda: vx.read(vx.encode(picture, "png")[:-20])),
            (OSError, "^data: is not a picture", lambda: vx.read(b"text")),
            (ValueError, "0 bytes", lambda: vx.read(b"")), (OSError, "^data: ", lambda: vx.info(b"text")),
            (TypeError, "file.read", lambda: vx.read(io.BytesIO(data))),
            (ValueError, "format: one of png", lambda: vx.encode(picture, "gif")),
            (TypeError, "^format: ", lambda: vx.encode(picture, None)),
            (ValueError, "png has", lambda: vx.encode(picture, "png", bits=12)),
            (OSError, "16 bits", lambda: vx.encode(noise(3, 3, 32), "png", strict=True)),
            (TypeError, "^path: ", lambda: vx.write(b"picture.png", picture)),
            (TypeError, "^path: ", lambda: list(vx.frames(b"picture.png")))):
        with pytest.raises(error, match=words):
            call()
    assert len(os.listdir("/proc/self/fd")) == before


def test_grey_arrays_become_grey_files():
    grey = noise(5, 6)[..., 0]
    for options, channels in (({}, 1), ({"keep_alpha": True}, 4)):
        data = vx.encode(grey, "png", **options)
        assert len(vx.info(data)["channels"]) == channels
        np.testing.assert_array_equal(vx.read(data), vx.uno.to_picture(grey))


def test_profiles_travel(tmp_path):
    wide = vx.Profile.named("Display P3")
    vx.write(tmp_path / "a.png", noise(4, 4)[..., :3].copy())
    plain = vx.read_all(tmp_path / "a.png")
    assert plain.metadata.profile()[2] is False
    vx.write(tmp_path / "b.png", plain.picture, metadata=plain.metadata.with_profile(bytes(wide)))
    back, description, embedded = vx.read_all(tmp_path / "b.png").metadata.profile()
    assert (back, embedded) == (bytes(wide), True) and "P3" in description
    for bad in (b"", b"no profile", bytes(wide)[:200]):
        with pytest.raises(ValueError, match="profile"):
            vx.Profile(bad)
    settings = vx.ColorSettings(wide)
    assert settings.tables() is None and settings.tables(force=True) is not None
    settings.linear_blending = True
    assert settings.tables().linearize[255] == 32768 and settings == settings.copy()


def test_sequences(tmp_path):
    for number in (3, 1, 10):
        vx.write(tmp_path / f"s.{number:03d}.png", np.full((2, 2, 3), number, np.uint8))
    pattern = tmp_path / "s.###.png"
    assert [(f.number, f.picture[0, 0, 0]) for f in vx.frames(pattern)] == [(1, 1), (3, 3), (10, 10)]
    for name, words in (("s.###.png", "1-3"), ("t.###.png", "1")):
        with pytest.raises(FileNotFoundError):
            list(vx.frames(tmp_path / name, words))
    assert [f.number for f in vx.frames(tmp_path / "s.001.png")] == [0]


def test_refusals(tmp_path):
    vx.write(tmp_path / "a.png", noise(2, 2))
    before = (tmp_path / "a.png").read_bytes()
    for error, words, call in (
            (FileNotFoundError, "none.png", lambda: vx.read(tmp_path / "none.png")),
            (OSError, "overwritten", lambda: vx.write(tmp_path / "a.png", noise(3, 3), overwrite=False)),
            (OSError, "16 bits", lambda: vx.write(tmp_path / "a.png", noise(3, 3, 32), strict=True)),
            (TypeError, "", lambda: vx.write(3, noise(2, 2)))):
        with pytest.raises(error, match=words):
            call()
    assert (tmp_path / "a.png").read_bytes() == before
    with pytest.warns(UserWarning, match="b.png"):
        vx.write(tmp_path / "b.png", noise(3, 3, 32))
