# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""VX: fills, copies, samples, scales, blurs, transforms and composites pictures.

A picture is a NumPy array of height x width x 4 (red, green, blue, alpha; straight alpha) or x 3
(opaque), or a vx.World. uint8 is 0..255, uint16 is 0..32768 (white is 32768, not 65535), float32 is
0..1 nominal. Functions change nothing but `out`; without it they give a new array (a new World for
a World). The interpreter's lock is free while pixels are worked on.

The library works on alpha, red, green, blue: with order="argb" arrays are used where they lie; in
the default order each call converts them once on the way in and once on the way out.
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
