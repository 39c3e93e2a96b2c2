// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// M: the host's mathematics: rectangles, points, matrices, and shared arithmetic tables.
#pragma once

#include <cstdint>

#include "host/U.h"

// Rectangles. Right and bottom are exclusive. A rectangle with right <= left or bottom <= top is
// empty. Note that the two types have different orders of fields.
struct M_Rect {
  int16_t top, left, bottom, right;
};

struct M_LRect {
  int32_t left, top, right, bottom;
};

// A point: horizontal, then vertical.
struct M_LPoint {
  int32_t h, v;
};

// A point: vertical, then horizontal, unlike M_LPoint.
struct M_Point {
  int16_t v, h;
};

// A size or a distance: horizontal, then vertical.
template <class Number>
struct M_Vector2T {
  Number x, y;
};

inline constexpr int32_t M_PKG_VERSION = 18;

// See U_CheckVersions.
VXHOST_API U_Err M_CheckVersions(uint32_t code, int32_t wanted);

// Stores the intersection of a and b in `out`, which may be the address of a or b and must not be
// null. Returns false and stores zeros if it is empty.
VXHOST_API bool M_SectRect(const M_Rect& a, const M_Rect& b, M_Rect* out);

// Stores the smallest rectangle that contains a and b; empty rectangles are ignored. Returns false
// and stores zeros if both are empty. `out` may be the address of a or b and must not be null.
VXHOST_API bool M_UnionRect(const M_Rect& a, const M_Rect& b, M_Rect* out);

// Moves the left and right edges inwards by dh, top and bottom by dv; negative values enlarge.
// Edges are clamped to 16 bits. Null is ignored.
VXHOST_API void M_InsetRect(M_Rect* rect, int16_t dh, int16_t dv);

// ---- Matrices -----------------------------------------------------------------------------------

// A homogeneous vector of the plane.
struct M_Vector3 {
  double x, y, w;
};

// A 3 x 3 matrix in row order, applied to row vectors: (x', y', w') = (x, y, w) M. Entries 6 and 7
// are the translation. Sums are evaluated in the order x, y, w.
struct M_Matrix3 {
  double m[9];

  // Transforms the point (x, y, 1) and divides by w. If w is 0, results are infinite or NaN. Null
  // outputs are skipped.
  VXHOST_API void TransformPointAndDivide(double x, double y, double* x_out, double* y_out) const;
};
static_assert(sizeof(M_Matrix3) == 72);

// Transforms a vector, without division.
VXHOST_API M_Vector3 M_TransformVector3(const M_Matrix3& matrix, const M_Vector3& vector);

// Stores the product a b: a is applied first. `out` may be the address of a or b.
VXHOST_API void M_ConcatMatrix(const M_Matrix3& a, const M_Matrix3& b, M_Matrix3* out);

// Stores the inverse in `out`. `invertible` receives whether the inverse exists; if not, `out` is
// unchanged and nothing is reported. A matrix counts as not invertible if it or its inverse has
// entries that are not finite. `out` may be the address of the matrix. Returns bad argument (3) for
// a null pointer.
VXHOST_API U_Err M_InverseMatrixQuiet(const M_Matrix3& matrix, M_Matrix3* out, bool* invertible);

// Returns whether all entries differ by at most epsilon. NaN differs from everything.
VXHOST_API bool M_EqualMatrixWithinEpsilon(const M_Matrix3& a, const M_Matrix3& b, double epsilon);

// The types of matrices, from special to general. M_GetMatrixType returns the first type that
// describes the matrix exactly, without tolerance.
enum : int32_t {
  M_MatrixType_Identity = 0,
  M_MatrixType_Translation = 1,
  M_MatrixType_Scale = 2,  // scale along the axes, and translation
  M_MatrixType_Affine = 3,
  M_MatrixType_Perspective = 4  // the third column is not 0, 0, 1
};
VXHOST_API int32_t M_GetMatrixType(const M_Matrix3& matrix);

// Stores the addresses of two byte tables of 65,536 entries, with index a * 256 + v. Null addresses
// are skipped.
//   mul   a * v / 255 rounded to nearest: (((t + 128) >> 8) + t + 128) >> 8 with t = a * v
//   div   255 if a is 0 or v >= a, else ((a >> 1) + 255 * v) / a
// The tables are read-only and valid until the last M_UnprepareFCMD. one, zero1, zero2 are always
// 1, 0, 0.
VXHOST_API U_Err M_PrepareFCMD(int32_t one, int32_t zero1, int32_t zero2, uint8_t** mul,
                               uint8_t** div);

// Releases the tables of one call of M_PrepareFCMD. Extra calls are ignored.
VXHOST_API U_Err M_UnprepareFCMD();

// Number of steps of a full turn in the tables of M_PrepareFTrig.
inline constexpr int32_t M_FTRIG_STEPS = 4096;

// Stores the addresses of a sine and a cosine table of M_FTRIG_STEPS entries. Entry i is the value
// at i / 4096 of a full turn, as signed 16.16 rounded to nearest. Arguments as for M_PrepareFCMD.
VXHOST_API U_Err M_PrepareFTrig(int32_t one, int32_t zero1, int32_t zero2, int32_t** sine,
                                int32_t** cosine);

// Releases the tables of one call of M_PrepareFTrig. Extra calls are ignored.
VXHOST_API U_Err M_UnprepareFTrig();
