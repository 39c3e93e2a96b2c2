# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""VX: fills, copies, samples, scales, blurs, transforms and composites pictures.

A picture is a NumPy array of height x width x 4 (red, green, blue, alpha; straight alpha) or x 3
(opaque), or a vx.World. uint8 is 0..255, uint16 is 0..32768 (white is 32768, not 65535), float32 is
0..1 nominal. Sides are 1 to 30000 pixels.

What arguments of these names are, wherever they come:

out: takes the result, and is what the function gives; it must have its size and depth. Nothing else
is changed. None makes a new array, or a new World where the first picture is one.
order: of the channels of arrays and colours, "rgba" or "argb". The library works on alpha, red,
green, blue: with "argb" arrays are used where they lie, in the default order each call converts them
once on the way in and once on the way out. The result has it, too.
rect: (left, top, right, bottom), pixels of -32768..32767; right and bottom are exclusive. What lies
outside of the picture is cut off. None is the whole picture.
at: (x, y) in pixels, from the left and the top.
progress: a function, called with (steps done, all steps). What is true stops the work, with
vx.Error of code 517; what it raises comes out unchanged. An array of the default order is then as it
was, others may be drawn in part.

What is wrong with an argument is a TypeError or ValueError that begins with its name; what the
library refuses, or cannot do, is a vx.Error or MemoryError. Any number of threads may call at once
with destinations of their own; the interpreter's lock is free while pixels are worked on, and Ctrl-C
stops long work.
"""

from . import host, uno
from ._blend import blend_pixel, composite_rect, modes, transfer, transfer_flags
from ._color import (convert_colors, hls_to_rgb, hue, lightness, luminance, rgb_to_hls, rgb_to_yiq,
                     saturation, yiq_to_rgb)
from ._files import Frame, Read, frames, info, read, read_all, write
from ._filters import blur, blur_pass, convolve, gaussian_kernel, gaussian_value
from ._iterate import iterate, iterate_generic, iterate_rows
from ._pixels import (blit, clear_alpha_outside, clear_outside, convert, copy, copy_bitmap, fill,
                      fill_alpha, guess_alpha, hypot, invert_alpha, look_up, mix, premultiply, rand,
                      reset_dither, resize, unpremultiply)
from ._planes import copy_channel, deinterleave, extract_planes, insert_planes, interleave
from ._samples import sample, sample_all_in, samplers
from ._transform import Parts, matrices_between, transform
from ._vx import (Bitmap, ColorSettings, Error, LinearTables, Metadata, Profile, World,
                  __version__, birth, death)

__all__ = [
    "Bitmap", "ColorSettings", "Error", "Frame", "LinearTables", "Metadata", "Parts", "Profile",
    "Read", "World", "birth", "blend_pixel", "blit", "blur", "blur_pass", "clear_alpha_outside",
    "clear_outside", "composite_rect", "convert", "convert_colors", "convolve", "copy",
    "copy_bitmap", "copy_channel", "death", "deinterleave", "extract_planes", "fill", "fill_alpha",
    "frames", "gaussian_kernel", "gaussian_value", "guess_alpha", "hls_to_rgb", "host", "hue",
    "hypot", "info", "insert_planes", "interleave", "invert_alpha", "iterate", "iterate_generic",
    "iterate_rows", "lightness", "look_up", "luminance", "matrices_between", "mix", "modes",
    "premultiply", "rand", "read", "read_all", "reset_dither", "resize", "rgb_to_hls",
    "rgb_to_yiq", "sample", "sample_all_in", "samplers", "saturation", "transfer",
    "transfer_flags", "transform", "uno", "unpremultiply", "write", "yiq_to_rgb",
]
