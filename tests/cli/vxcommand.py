# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Runs the command; reads and writes pictures without using its code."""

import os
import shutil
import struct
import subprocess
import tempfile
import unittest

import numpy as np
from PIL import Image

VX = os.environ.get("VX_COMMAND", "vx")
USAGE, INPUT, OUTPUT, SOME_FAILED = 2, 3, 4, 5  # exit codes


class CommandTest(unittest.TestCase):
    """Each test has an empty folder."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="vx-cli-")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def vx(self, *words, code=0, **options):
        """Runs vx in the folder; returns its output and its messages."""
        done = subprocess.run([VX, *map(str, words)], cwd=self.folder, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, timeout=120, **options)
        self.assertEqual(done.returncode, code, f"vx {' '.join(map(str, words))}\n{done.stderr}")
        return done.stdout, done.stderr

    def names(self):
        return sorted(os.listdir(self.folder))

    def all_contents(self):
        return {name: os.path.isdir(self.path(name)) or self.contents(name) for name in self.names()}

    def refuse(self, code, message, *words, **options):
        """Expects this exit code, one line that matches, no output, and no change of any file."""
        before = self.all_contents()
        out, error = self.vx(*words, code=code, **options)
        self.assertRegex(error, r"\Avx: [^\n]*\n\Z", f"one line: {error!r}")
        self.assertRegex(error, message)
        self.assertEqual(out, "")
        self.assertEqual(before, self.all_contents(), "files have changed")

    def contents(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def text(self, name, text):
        with open(self.path(name), "wb") as file:
            file.write(text if isinstance(text, bytes) else text.encode())
        return name

    def png(self, name, pixels, profile=None):
        """uint8, 1 to 4 channels."""
        if pixels.ndim == 3 and pixels.shape[2] == 1:
            pixels = pixels[..., 0]
        Image.fromarray(np.ascontiguousarray(pixels)).save(self.path(name), icc_profile=profile)
        return name

    def pixels(self, name):
        """Samples of 8 bits, always with an axis of channels."""
        with Image.open(self.path(name)) as image:
            return np.atleast_3d(np.asarray(image))

    def tif(self, name, pixels, associated=False):
        write_tiff(self.path(name), pixels, associated)
        return name

    def deep(self, name):
        """Samples of any depth of a TIFF file."""
        return read_tiff(self.contents(name))


def random_pixels(seed, height, width, dtype=np.uint8, channels=4):
    """Noise; rows at the top are transparent, rows at the bottom opaque, all have colours."""
    rng = np.random.default_rng(seed)
    full = 65535 if dtype == np.float32 else np.iinfo(dtype).max
    pixels = rng.integers(0, full + 1, (height, width, channels))
    if channels == 4:
        pixels[: height // 4, :, 3] = 0
        pixels[-(height // 4):, :, 3] = full
    return (pixels / full if dtype == np.float32 else pixels).astype(dtype)


def times_alpha(pixels):
    """Floats with premultiplied colours."""
    return np.concatenate([pixels[..., :3] * pixels[..., 3:], pixels[..., 3:]], -1)


def write_tiff(path, pixels, associated):
    """uint8, uint16 or float32 RGBA in one strip."""
    height, width, channels = pixels.shape
    body = pixels.tobytes()
    bits, sample = pixels.dtype.itemsize * 8, 3 if pixels.dtype == np.float32 else 1
    end = 8 + len(body)
    entries = [(256, 4, 1, width), (257, 4, 1, height), (258, 3, 4, end), (259, 3, 1, 1), (262, 3, 1, 2),
               (273, 4, 1, 8), (277, 3, 1, channels), (278, 4, 1, height), (279, 4, 1, len(body)),
               (338, 3, 1, 1 if associated else 2), (339, 3, 4, end + 8)]
    with open(path, "wb") as file:
        file.write(struct.pack("<2sHI", b"II", 42, end + 16) + body
                   + struct.pack("<8HH", *[bits] * 4, *[sample] * 4, len(entries))
                   + b"".join(struct.pack("<HHII", *entry) for entry in entries) + bytes(4))


def read_tiff(data):
    """An uncompressed file. The command keeps the compression of its input."""
    start = struct.unpack("<I", data[4:8])[0]
    tags = {}
    for i in range(struct.unpack("<H", data[start:start + 2])[0]):
        tag, kind, count, value = struct.unpack("<HHII", data[start + 2 + 12 * i:start + 14 + 12 * i])
        size = {3: 2, 4: 4}.get(kind, 0) * count
        at = value if size > 4 else start + 10 + 12 * i
        if size:
            tags[tag] = np.frombuffer(data[at:at + size], "<u2" if kind == 3 else "<u4")
    assert tags[259][0] == 1, "compressed"
    body = b"".join(data[o:o + n] for o, n in zip(tags[273], tags[279]))
    kind = {8: "u1", 16: "<u2", 32: "<f4"}[int(tags[258][0])]
    return np.frombuffer(body, kind).reshape(tags[257][0], tags[256][0], tags[277][0])


def write_exr(path, pixels):
    """float32 RGBA with premultiplied colours, uncompressed."""
    height, width, _ = pixels.shape
    box = struct.pack("<4i", 0, 0, width - 1, height - 1)
    channels = b"".join(n + struct.pack("<I4xII", 2, 1, 1) for n in (b"A\0", b"B\0", b"G\0", b"R\0"))
    head = struct.pack("<II", 20000630, 2)
    for name, kind, body in (
            (b"channels", b"chlist", channels + b"\0"), (b"compression", b"compression", b"\0"),
            (b"dataWindow", b"box2i", box), (b"displayWindow", b"box2i", box),
            (b"lineOrder", b"lineOrder", b"\0"), (b"pixelAspectRatio", b"float", struct.pack("<f", 1)),
            (b"screenWindowCenter", b"v2f", bytes(8)), (b"screenWindowWidth", b"float", struct.pack("<f", 1))):
        head += name + b"\0" + kind + b"\0" + struct.pack("<I", len(body)) + body
    head += b"\0"
    size = 8 + width * 16
    rows = [struct.pack("<iI", y, width * 16) + pixels[y, :, ::-1].T.astype("<f4").tobytes()
            for y in range(height)]
    with open(path, "wb") as file:
        file.write(head + b"".join(struct.pack("<Q", len(head) + 8 * height + y * size) for y in range(height))
                   + b"".join(rows))
