// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// M: the host's mathematics. Rectangles, points, and shared tables of arithmetic.
#pragma once

#include <cstdint>

#include "host/U.h"

// Right and bottom are exclusive. A rectangle with right <= left or bottom <= top is empty.
// The two kinds differ in the order of their fields as well as in width.
struct M_Rect {
  int16_t top, left, bottom, right;
};

struct M_LRect {
  int32_t left, top, right, bottom;
};

// Horizontal, then vertical.
struct M_LPoint {
  int32_t h, v;
};

// Vertical, then horizontal: the short point has the other order, as the short rectangle has.
struct M_Point {
  int16_t v, h;
};

// A size or a distance: horizontal, then vertical.
template <class Number>
struct M_Vector2T {
  Number x, y;
};

inline constexpr int32_t M_PKG_VERSION = 18;

// As U_CheckVersions.
VXHOST_API U_Err M_CheckVersions(uint32_t code, int32_t wanted);

// Stores the common part of a and b. False, with all four fields zero, when there is none. `out`
// may be the address of a or b, and must not be null.
VXHOST_API bool M_SectRect(const M_Rect& a, const M_Rect& b, M_Rect* out);

// Stores the smallest rectangle that holds a and b; an empty one adds nothing. False, with all four
// fields zero, when both are empty. `out` as above.
VXHOST_API bool M_UnionRect(const M_Rect& a, const M_Rect& b, M_Rect* out);

// Moves the left and right edges inwards by dh, top and bottom by dv; negative values grow. Edges
// stop at the ends of 16 bits. Null does nothing.
VXHOST_API void M_InsetRect(M_Rect* rect, int16_t dh, int16_t dv);

// ---- Matrices -----------------------------------------------------------------------------------

// A vector of the plane with a weight: x, y, w.
struct M_Vector3 {
  double x, y, w;
};

// Nine numbers in row order, applied to row vectors: (x', y', w') = (x, y, w) M. A translation
// stands in entries 6 and 7. Sums run x, y, w.
struct M_Matrix3 {
  double m[9];

  // The image of the point (x, y, 1), divided by its w. With a w of 0 the results are infinite or
  // not numbers. Null places are skipped.
  VXHOST_API void TransformPointAndDivide(double x, double y, double* x_out, double* y_out) const;
};
static_assert(sizeof(M_Matrix3) == 72);

// The image of a vector, without a division.
VXHOST_API M_Vector3 M_TransformVector3(const M_Matrix3& matrix, const M_Vector3& vector);

// First a, then b. `out` may be the address of either.
VXHOST_API void M_ConcatMatrix(const M_Matrix3& a, const M_Matrix3& b, M_Matrix3* out);

// Stores the inverse, and in `invertible` whether there is one; without one `out` stays and nothing
// is reported. Entries that are not finite, and an inverse whose entries would not be, count as not
// invertible. `out` may be the address of the matrix. Gives 3 for a null place, else 0.
VXHOST_API U_Err M_InverseMatrixQuiet(const M_Matrix3& matrix, M_Matrix3* out, bool* invertible);

// Whether each pair of entries differs by at most epsilon. Numbers that are not, differ.
VXHOST_API bool M_EqualMatrixWithinEpsilon(const M_Matrix3& a, const M_Matrix3& b, double epsilon);

// What a matrix does, the least that covers it: exactly, without a tolerance.
enum : int32_t {
  M_MatrixType_Identity = 0,
  M_MatrixType_Translation = 1,
  M_MatrixType_Scale = 2,  // along the axes, and a translation
  M_MatrixType_Affine = 3,
  M_MatrixType_Perspective = 4  // the third column is not 0, 0, 1
};
VXHOST_API int32_t M_GetMatrixType(const M_Matrix3& matrix);

// Stores the addresses of the multiply and the divide table of bytes, 65,536 entries each, found by
// index a * 256 + v. Either place may be null.
//   mul: a * v / 255 to the nearest, as (((t + 128) >> 8) + t + 128) >> 8 with t = a * v
//   div: 255 where a is 0 or v >= a, else ((a >> 1) + 255 * v) / a
// The tables must not be written, and hold until the last M_UnprepareFCMD. one, zero1, zero2 are
// 1, 0, 0.
VXHOST_API U_Err M_PrepareFCMD(int32_t one, int32_t zero1, int32_t zero2, uint8_t** mul,
                               uint8_t** div);

// Undoes one M_PrepareFCMD. One too many is harmless.
VXHOST_API U_Err M_UnprepareFCMD();

// Steps of a full turn in the tables of M_PrepareFTrig.
inline constexpr int32_t M_FTRIG_STEPS = 4096;

// Stores the addresses of a sine and a cosine table of M_FTRIG_STEPS entries each: entry i is the
// value at i / 4096 of a full turn as signed 16.16, to the nearest. Arguments as M_PrepareFCMD.
VXHOST_API U_Err M_PrepareFTrig(int32_t one, int32_t zero1, int32_t zero2, int32_t** sine,
                                int32_t** cosine);

// Undoes one M_PrepareFTrig. One too many is harmless.
VXHOST_API U_Err M_UnprepareFTrig();
