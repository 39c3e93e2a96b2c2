// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Motion fields in files. The extension selects the format:
//
//   .flo  "PIEH", width and height as 32-bit integers, then u and v of each pixel in row order as
//         32-bit floats, all little-endian. Unknown vectors are 1e10, 1e10.
//   .exr  two channels of 32-bit floats with the names u and v, compressed without loss. Unknown
//         vectors are NaN. The data window and the display window are 0, 0, width, height.
//
// Both store the same values: pixels, u to the right, v downwards. The rules of VXIO_Picture.h on
// size, errors and threads apply.

#include <cstdint>
#include <string>

#include "VX/cpp/Motion.hpp"
#include "VXIO/VXIO_Picture.h"

// Returns true if the extension is that of motion data, in upper or lower case.
VXIO_API bool VXIO_IsMotionFile(const std::string& path);

// Checks an output name before work begins. Throws VXIO_Error (Output) like VXIO_CheckOutput.
VXIO_API void VXIO_CheckMotionFile(const std::string& path, VXIO_Clobber clobber);

// Writes a complete file or nothing, in the same steps as VXIO_Write. Throws VXIO_Error (Output),
// also for a field without vectors.
VXIO_API void VXIO_WriteMotion(const std::string& path, const vx::MotionField& field,
                               VXIO_Clobber clobber = VXIO_Clobber::Overwrite);

// Returns the contents of the file that VXIO_WriteMotion writes under this name, which begins
// messages. Throws VXIO_Error (Output).
VXIO_API std::string VXIO_EncodeMotion(const std::string& name, const vx::MotionField& field);

// Reads a field that VXIO_WriteMotion or another program wrote. Vectors with a component that is
// not finite or above 1e9 are unknown. In an EXR the area of the data window is read; further
// channels are ignored. Throws VXIO_Error (Input) for a file of another kind and for one that is
// shorter or longer than its header declares.
VXIO_API vx::MotionField VXIO_ReadMotion(const std::string& path);

struct VXIO_MotionSummary {
  int64_t unknown = 0;            // number of vectors
  double mean_u = 0, mean_v = 0;  // of the known vectors; 0 without any
  double longest = 0;             // length of the longest known vector
};
VXIO_API VXIO_MotionSummary VXIO_SummarizeMotion(const vx::MotionField& field);
