// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The smallest complete acceleration module, to copy for a new one. It replaces the routine that
// multiplies a row of 8-bit samples by an opacity (slot 62) by a loop over the multiply table.
// include/VX/VX_Accel.h describes the rules.

#include <VX/VX_Accel.h>

namespace {

const uint8_t* multiply = nullptr;  // entry a * 256 + v is a * v / 255 rounded to nearest

VX_Err FadeRow(int32_t count, uint8_t opacity, uint8_t* row) {
  const uint8_t* const product = multiply + opacity * 256;
  for (int32_t i = 0; i < count; ++i) row[i] = product[row[i]];
  return VX_Ok;
}

VX_Err Entry(int32_t selector, int32_t*, void* block, const uint16_t*) {
  if (selector != VX_ModuleSelector_Load) return VX_Ok;
  const auto* const vx = static_cast<VX_ModuleBlock*>(block);
  multiply = vx->fcm_table;
  vx->slots->VX_UnoFadeRow = FadeRow;
  return VX_Ok;
}

}  // namespace

VX_MODULE("skeleton: fade of 8-bit rows", Entry)
