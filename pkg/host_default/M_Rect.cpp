// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <algorithm>

#include "host/M.h"

namespace {

bool IsEmpty(const M_Rect& r) { return r.right <= r.left || r.bottom <= r.top; }

bool Store(const M_Rect& r, M_Rect* out) {
  const bool empty = IsEmpty(r);
  *out = empty ? M_Rect{} : r;
  return !empty;
}

int16_t Saturate(int32_t v) { return static_cast<int16_t>(std::clamp(v, -32768, 32767)); }

}  // namespace

bool M_SectRect(const M_Rect& a, const M_Rect& b, M_Rect* out) {
  return Store({std::max(a.top, b.top), std::max(a.left, b.left), std::min(a.bottom, b.bottom),
                std::min(a.right, b.right)},
               out);
}

bool M_UnionRect(const M_Rect& a, const M_Rect& b, M_Rect* out) {
  if (IsEmpty(a)) return Store(b, out);
  if (IsEmpty(b)) return Store(a, out);
  return Store({std::min(a.top, b.top), std::min(a.left, b.left), std::max(a.bottom, b.bottom),
                std::max(a.right, b.right)},
               out);
}

void M_InsetRect(M_Rect* rect, int16_t dh, int16_t dv) {
  if (!rect) return;
  rect->left = Saturate(rect->left + dh);
  rect->right = Saturate(rect->right - dh);
  rect->top = Saturate(rect->top + dv);
  rect->bottom = Saturate(rect->bottom - dv);
}
