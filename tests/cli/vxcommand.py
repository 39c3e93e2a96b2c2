# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Runs the command, and reads and writes pictures without any of its code."""

import os
import shutil
import struct
import subprocess
import tempfile
import unittest
import zlib

import numpy as np

VX = os.environ.get("VX_COMMAND", "vx")


class CommandTest(unittest.TestCase):
    """Each test works in an empty folder of its own."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="vx-cli-")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def vx(self, *words, code=0, **options):
        """Runs vx in the folder; gives what it printed, and on the standard error."""
        done = subprocess.run([VX, *map(str, words)], cwd=self.folder, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, timeout=120, **options)
        self.assertEqual(done.returncode, code, f"vx {' '.join(map(str, words))}\n{done.stderr}")
        return done.stdout, done.stderr

    def names(self):
        return sorted(os.listdir(self.folder))

    def all_contents(self):
        return {name: os.path.isdir(self.path(name)) or contents(self.path(name))
                for name in self.names()}

    def refuse(self, code, said, *words, **options):
        """One line that matches, and every file as it was."""
        before = self.all_contents()
        out, error = self.vx(*words, code=code, **options)
        self.assertRegex(error, r"\Avx: [^\n]*\n\Z", f"one line: {error!r}")
        self.assertRegex(error, said)
        self.assertEqual(out, "")
        self.assertEqual(before, self.all_contents(), "files have changed")

    def png(self, name, pixels):
        write_png(self.path(name), pixels)
        return name

    def pixels(self, name):
        return read_png(self.path(name))


def random_pixels(seed, height, width, dtype=np.uint8, channels=4):
    """Noise with fully transparent, fully opaque and in-between pixels; colour everywhere."""
    rng = np.random.default_rng(seed)
    full = np.iinfo(dtype).max
    pixels = rng.integers(0, full + 1, (height, width, channels)).astype(dtype)
    if channels == 4:
        pixels[: height // 4, :, 3] = 0
        pixels[-(height // 4):, :, 3] = full
    return pixels


def contents(path):
    with open(path, "rb") as file:
        return file.read()


# --- PNG ------------------------------------------------------------------------------------------

def write_png(path, pixels):
    """uint8 or uint16, 1 to 4 channels."""
    if pixels.ndim == 2:
        pixels = pixels[:, :, None]
    height, width, channels = pixels.shape
    bits = pixels.dtype.itemsize * 8
    rows = pixels.astype(pixels.dtype.newbyteorder(">")).reshape(height, -1)
    data = b"".join(b"\0" + row.tobytes() for row in rows)
    kind = {1: 0, 2: 4, 3: 2, 4: 6}[channels]

    def chunk(name, body):
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))

    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n"
                   + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, bits, kind, 0, 0, 0))
                   + chunk(b"IDAT", zlib.compress(data, 1)) + chunk(b"IEND", b""))


def read_png(path):
    data = contents(path)
    position, packed = 8, b""
    while position < len(data):
        size, name = struct.unpack(">I4s", data[position:position + 8])
        body = data[position + 8:position + 8 + size]
        if name == b"IHDR":
            width, height, bits, kind = struct.unpack(">IIBB", body[:10])
        if name == b"IDAT":
            packed += body
        position += 12 + size
    channels = {0: 1, 4: 2, 2: 3, 6: 4}[kind]
    step = channels * bits // 8
    raw = np.frombuffer(zlib.decompress(packed), np.uint8).reshape(height, 1 + width * step)
    out = np.zeros((height, width * step), np.uint8)
    above = np.zeros(width * step, np.int32)
    for y in range(height):
        kind, line = raw[y, 0], raw[y, 1:].astype(np.int32)
        if kind == 2:
            line = (line + above) & 255
        elif kind:
            for i in range(len(line)):
                a = line[i - step] if i >= step else 0
                b, c = above[i], above[i - step] if i >= step else 0
                p = a + b - c
                near = min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]
                line[i] = (line[i] + {1: a, 3: (a + b) // 2, 4: near}[kind]) & 255
        out[y] = above = line
    return np.frombuffer(out.tobytes(), ">u1" if bits == 8 else ">u2").reshape(height, width, channels)


# --- TIFF and EXR, uncompressed: the command keeps a file's compression ---------------------------

def write_tiff(path, pixels, associated=False):
    """uint8, uint16 or float32 RGBA in one strip."""
    height, width, channels = pixels.shape
    body = pixels.tobytes()
    bits, sample = pixels.dtype.itemsize * 8, 3 if pixels.dtype == np.float32 else 1
    entries = [(256, 4, width), (257, 4, height), (258, 3, None), (259, 3, 1), (262, 3, 2),
               (273, 4, 8), (277, 3, channels), (278, 4, height), (279, 4, len(body)),
               (338, 3, 1 if associated else 2), (339, 3, None)]
    end = 8 + len(body)
    with open(path, "wb") as file:
        file.write(struct.pack("<2sHI", b"II", 42, end + 16) + body)
        file.write(struct.pack("<4H", *[bits] * 4) + struct.pack("<4H", *[sample] * 4))
        file.write(struct.pack("<H", len(entries)))
        for tag, kind, value in entries:
            if value is None:
                file.write(struct.pack("<HHII", tag, kind, 4, end if tag == 258 else end + 8))
            else:
                file.write(struct.pack("<HHII", tag, kind, 1, value))
        file.write(struct.pack("<I", 0))


def read_tiff(path):
    data = contents(path)
    start = struct.unpack("<I", data[4:8])[0]
    tags = {}
    for i in range(struct.unpack("<H", data[start:start + 2])[0]):
        tag, kind, count, value = struct.unpack("<HHII", data[start + 2 + 12 * i:start + 14 + 12 * i])
        size = {3: 2, 4: 4}.get(kind, 0) * count
        where = value if size > 4 else start + 10 + 12 * i
        if size:
            tags[tag] = np.frombuffer(data[where:where + size], "<u2" if kind == 3 else "<u4")
    assert tags[259][0] == 1, "compressed"
    body = b"".join(data[o:o + n] for o, n in zip(tags[273], tags[279]))
    kind = {8: "u1", 16: "<u2", 32: "<f4"}[int(tags[258][0])]
    return np.frombuffer(body, kind).reshape(tags[257][0], tags[256][0], tags[277][0]), tags


def write_exr(path, pixels):
    """float32 RGBA, whose colours the caller has multiplied by alpha."""
    height, width, _ = pixels.shape
    box = struct.pack("<4i", 0, 0, width - 1, height - 1)
    channels = b"".join(n + struct.pack("<I4xII", 2, 1, 1) for n in (b"A\0", b"B\0", b"G\0", b"R\0"))

    def attribute(name, kind, body):
        return name + b"\0" + kind + b"\0" + struct.pack("<I", len(body)) + body

    head = struct.pack("<II", 20000630, 2) + attribute(b"channels", b"chlist", channels + b"\0") \
        + attribute(b"compression", b"compression", b"\0") + attribute(b"dataWindow", b"box2i", box) \
        + attribute(b"displayWindow", b"box2i", box) + attribute(b"lineOrder", b"lineOrder", b"\0") \
        + attribute(b"pixelAspectRatio", b"float", struct.pack("<f", 1)) \
        + attribute(b"screenWindowCenter", b"v2f", struct.pack("<2f", 0, 0)) \
        + attribute(b"screenWindowWidth", b"float", struct.pack("<f", 1)) + b"\0"
    size = 8 + width * 16
    with open(path, "wb") as file:
        file.write(head)
        for y in range(height):
            file.write(struct.pack("<Q", len(head) + 8 * height + y * size))
        for y in range(height):
            file.write(struct.pack("<iI", y, width * 16) + pixels[y, :, ::-1].T.astype("<f4").tobytes())


def read_exr(path, height, width):
    """Colours as they lie in an uncompressed float RGBA file: multiplied by alpha."""
    data = contents(path)
    size = 8 + width * 16
    rows = [data[len(data) - (height - y) * size + 8:][:width * 16] for y in range(height)]
    return np.frombuffer(b"".join(rows), "<f4").reshape(height, 4, width).transpose(0, 2, 1)[:, :, ::-1]
