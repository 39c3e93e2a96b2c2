# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""VX: fills, copies, samples, scales, blurs, transforms and composites pictures.

A picture is a vx.World or a NumPy array. Arrays are height x width x 4 (red, green, blue, alpha;
straight alpha), height x width x 3 (opaque) or height x width (opaque grey: red, green and blue are
equal). Results are height x width x 4. The dtype gives the depth: uint8 is 0..255, uint16 is
0..32768 (white is 32768, not 65535; from_uint16() and to_uint16() convert), float32 is 0..1
nominal. Width and height are 1 to 30000 pixels. Arrays may have any strides, such as
bgr[..., ::-1], except those whose memory is used: `out`, World.view(), and arrays of four channels
with order="argb". There channels and pixels must be contiguous and rows in increasing order.

These arguments have the same meaning in all functions:

out: receives the result and is returned. It must have the size and the depth of the result, and
four or three channels (three: alpha is dropped). No other argument is changed. None: the result is
a new array, or a new World if the first picture is a World.
order: order of the channels in arrays and colours, "rgba" or "argb". It applies to the result,
too. The library works in the order alpha, red, green, blue: with "argb" it uses the memory of the
arrays, with "rgba" each call converts the arrays before and after the operation.
rect: (left, top, right, bottom) in pixels, -32768..32767. right and bottom are exclusive and larger
than left and top. The part outside the picture is ignored. None: the whole picture.
at: (x, y) in pixels from the top left corner of the picture.
progress: function that is called with (steps done, total steps). If it returns a true value, the
call stops and raises vx.Error with code 517. If it raises an exception, the call stops and raises
that exception. After a stop an array in the order "rgba" is unchanged; an array in the order
"argb" or a World may contain a part of the result.

Errors: a wrong argument raises TypeError or ValueError, and the message begins with the name of
the argument. An array of uint16 with values above 32768 raises ValueError; Worlds and `out` are not
checked. Operations that the library refuses or cannot complete raise vx.Error; a failed
allocation raises MemoryError.

Threads: several threads may call at once if their destinations are different. The interpreter's
lock is released during work on pixels. Ctrl-C stops long calls.
"""

from . import host, uno
from ._blend import blend_pixel, composite_rect, modes, transfer, transfer_flags
from ._color import (convert_colors, hls_to_rgb, hue, lightness, luminance, rgb_to_hls, rgb_to_yiq,
                     saturation, yiq_to_rgb)
from ._files import ClipWriter, Frame, Read, encode, frames, info, read, read_all, write
from ._filters import blur, blur_pass, convolve, gaussian_kernel, gaussian_value
from ._iterate import iterate, iterate_generic, iterate_rows
from ._motion import (AdvancedFrameBlending, MotionCache, draw_flow, flow, motion_cache, predict,
                      read_flow, tween, write_flow)
from ._pixels import (blit, clear_alpha_outside, clear_outside, convert, copy, copy_bitmap, fill,
                      fill_alpha, from_uint16, guess_alpha, hypot, invert_alpha, look_up, mix,
                      premultiply, rand, reset_dither, resize, to_uint16, unpremultiply)
from ._planes import copy_channel, deinterleave, extract_planes, insert_planes, interleave
from ._samples import sample, sample_all_in, samplers
from ._transform import Parts, matrices_between, transform
from ._vx import (Bitmap, ColorSettings, Error, LinearTables, Metadata, Profile, World,
                  __version__, birth, death)

__all__ = [
    "AdvancedFrameBlending", "Bitmap", "ClipWriter", "ColorSettings", "Error", "Frame",
    "LinearTables", "Metadata", "MotionCache", "Parts", "Profile", "Read", "World", "birth",
    "blend_pixel", "blit", "blur", "blur_pass", "clear_alpha_outside", "clear_outside", "composite_rect", "convert", "convert_colors",
    "convolve", "copy", "copy_bitmap", "copy_channel", "death", "deinterleave", "draw_flow",
    "encode", "extract_planes", "fill", "fill_alpha", "flow", "frames", "from_uint16",
    "gaussian_kernel", "gaussian_value", "guess_alpha", "hls_to_rgb", "host", "hue", "hypot",
    "info", "insert_planes", "interleave", "invert_alpha", "iterate", "iterate_generic",
    "iterate_rows", "lightness", "look_up", "luminance", "matrices_between", "mix", "modes",
    "motion_cache", "predict", "premultiply", "rand", "read", "read_all", "read_flow",
    "reset_dither", "resize", "rgb_to_hls", "rgb_to_yiq", "sample", "sample_all_in", "samplers",
    "saturation", "to_uint16", "transfer", "transfer_flags", "transform", "tween", "uno",
    "unpremultiply", "write", "write_flow", "yiq_to_rgb",
]
