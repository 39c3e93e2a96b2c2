# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Pictures for the tests."""

import numpy as np

DTYPES = {8: np.uint8, 16: np.uint16, 32: np.float32}
FULL = {8: 255, 16: 32768, 32: 1.0}


def noise(height, width, depth=8, channels=4, seed=1):
    """Random channels over the whole scale, with transparent and opaque pixels among them."""
    random = np.random.default_rng(seed)
    picture = random.random((height, width, channels))
    if channels == 4:
        picture[..., 3] = np.clip(picture[..., 3] * 2 - 0.5, 0, 1)
    scaled = picture * FULL[depth]
    return (scaled if depth == 32 else np.round(scaled)).astype(DTYPES[depth])


def argb(rgba):
    """The same pixels in the library's order."""
    return np.ascontiguousarray(rgba[..., [3, 0, 1, 2]])
