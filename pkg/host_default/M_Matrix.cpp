// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <algorithm>
#include <cmath>

#include "host/M.h"

namespace {

bool AllFinite(const M_Matrix3& a) {
  return std::all_of(a.m, a.m + 9, [](double entry) { return std::isfinite(entry); });
}

}  // namespace

void M_Matrix3::TransformPointAndDivide(double x, double y, double* x_out, double* y_out) const {
  const M_Vector3 image = M_TransformVector3(*this, {x, y, 1});
  if (x_out) *x_out = image.x / image.w;
  if (y_out) *y_out = image.y / image.w;
}

M_Vector3 M_TransformVector3(const M_Matrix3& matrix, const M_Vector3& v) {
  const double* m = matrix.m;
  return {v.x * m[0] + v.y * m[3] + v.w * m[6], v.x * m[1] + v.y * m[4] + v.w * m[7],
          v.x * m[2] + v.y * m[5] + v.w * m[8]};
}

void M_ConcatMatrix(const M_Matrix3& a, const M_Matrix3& b, M_Matrix3* out) {
  if (!out) return;
  M_Matrix3 product;
  for (int row = 0; row < 3; ++row) {
    const double* r = a.m + 3 * row;
    const M_Vector3 v = M_TransformVector3(b, {r[0], r[1], r[2]});
    product.m[3 * row] = v.x;
    product.m[3 * row + 1] = v.y;
    product.m[3 * row + 2] = v.w;
  }
  *out = product;
}

// The inverse is the matrix of cofactors divided by the determinant. For affine matrices, the
// determinant and the last cofactor are computed from the same two products, so that the third
// column of the inverse is exactly 0, 0, 1.
U_Err M_InverseMatrixQuiet(const M_Matrix3& matrix, M_Matrix3* out, bool* invertible) {
  if (!out || !invertible) return 3;
  const double* m = matrix.m;
  const double c00 = m[4] * m[8] - m[5] * m[7];
  const double c01 = m[5] * m[6] - m[3] * m[8];
  const double c02 = m[3] * m[7] - m[4] * m[6];
  const double determinant = m[0] * c00 + m[1] * c01 + m[2] * c02;
  M_Matrix3 inverse{{c00, m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],  //
                     c01, m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],  //
                     c02, m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]}};
  for (double& entry : inverse.m) entry /= determinant;
  // An infinite determinant is rejected, because the quotients would all be 0.
  *invertible =
      AllFinite(matrix) && std::isfinite(determinant) && determinant != 0 && AllFinite(inverse);
  if (*invertible) *out = inverse;
  return 0;
}

bool M_EqualMatrixWithinEpsilon(const M_Matrix3& a, const M_Matrix3& b, double epsilon) {
  return std::equal(a.m, a.m + 9, b.m,
                    [=](double p, double q) { return std::fabs(p - q) <= epsilon; });
}

int32_t M_GetMatrixType(const M_Matrix3& matrix) {
  const double* m = matrix.m;
  if (!(m[2] == 0 && m[5] == 0 && m[8] == 1)) return M_MatrixType_Perspective;
  if (!(m[1] == 0 && m[3] == 0)) return M_MatrixType_Affine;
  if (!(m[0] == 1 && m[4] == 1)) return M_MatrixType_Scale;
  return m[6] == 0 && m[7] == 0 ? M_MatrixType_Identity : M_MatrixType_Translation;
}
