# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Runs the command; reads and writes pictures without using its code."""

import io
import os
import shutil
import struct
import subprocess
import tempfile
import unittest

import numpy as np
from PIL import Image
from PIL.TiffImagePlugin import ImageFileDirectory_v2

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
                              stderr=subprocess.PIPE, timeout=120,
                              **{"text": True, "stdin": subprocess.DEVNULL, **options})
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
    sample = 3 if pixels.dtype == np.float32 else 1
    tags = ImageFileDirectory_v2(prefix=b"II")
    for tag, value in {256: width, 257: height, 258: [pixels.itemsize * 8] * 4, 259: 1, 262: 2, 273: 0, 277: channels,
                       278: height, 279: len(body), 338: 1 if associated else 2, 339: [sample] * 4}.items():
        tags[tag] = value
    with open(path, "wb") as file:
        file.write(struct.pack("<2sHI", b"II", 42, 8) + tags.tobytes(8) + body)  # tag 273 becomes the position of body


def read_tiff(data):
    """An uncompressed file. The command keeps the compression of its input."""
    tags, file = ImageFileDirectory_v2(data[:8]), io.BytesIO(data)
    file.seek(tags.next)
    tags.load(file)
    assert tags[259] == 1, "compressed"
    body = b"".join(data[o:o + n] for o, n in zip(tags[273], tags[279]))
    kind = {8: "u1", 16: "<u2", 32: "<f4"}[tags[258][0]]
    return np.frombuffer(body, kind).reshape(tags[257], tags[256], tags[277])


def write_exr(path, pixels, corner=(0, 0), display=None, layer=b""):
    """float32 RGBA with premultiplied colours, uncompressed. display: left, top, right, bottom; exclusive."""
    height, width, _ = pixels.shape
    (x, y0), display = corner, display or (0, 0, width, height)
    box = struct.pack("<4i", x, y0, x + width - 1, y0 + height - 1)
    frame = struct.pack("<4i", *display[:2], display[2] - 1, display[3] - 1)
    channels = b"".join(layer + n + struct.pack("<I4xII", 2, 1, 1) for n in (b"A\0", b"B\0", b"G\0", b"R\0"))
    head = struct.pack("<II", 20000630, 2)
    for name, kind, body in (
            (b"channels", b"chlist", channels + b"\0"), (b"compression", b"compression", b"\0"),
            (b"dataWindow", b"box2i", box), (b"displayWindow", b"box2i", frame),
            (b"lineOrder", b"lineOrder", b"\0"), (b"pixelAspectRatio", b"float", struct.pack("<f", 1)),
            (b"screenWindowCenter", b"v2f", bytes(8)), (b"screenWindowWidth", b"float", struct.pack("<f", 1))):
        head += name + b"\0" + kind + b"\0" + struct.pack("<I", len(body)) + body
    head += b"\0"
    size = 8 + width * 16
    rows = [struct.pack("<iI", y0 + y, width * 16) + pixels[y, :, ::-1].T.astype("<f4").tobytes()
            for y in range(height)]
    with open(path, "wb") as file:
        file.write(head + b"".join(struct.pack("<Q", len(head) + 8 * height + y * size) for y in range(height))
                   + b"".join(rows))
