// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The row buffers of one transfer, held for the length of the call, so that transfers on several
// threads do not meet. Only what the call needs is allocated.

#include "VX/VX_Package.h"
#include "VX/VX_Transfer.h"
#include "frame/VXp_Report.h"

class VXp_RowBuffers {
 public:
  // Rows of a caller's scratch, or none.
  explicit VXp_RowBuffers(const VX_BlendScratch* given) {
    if (given == nullptr) return;
    alpha_ = given->alpha_row;
    mask_ = given->mask_row;
    owns_ = false;
  }
  ~VXp_RowBuffers() {
    if (!owns_) return;
    U_FreePtr(alpha_);
    U_FreePtr(mask_);
  }
  VXp_RowBuffers(const VXp_RowBuffers&) = delete;
  VXp_RowBuffers& operator=(const VXp_RowBuffers&) = delete;

  // Sizes in bytes; 0 for a row that is not needed. 0, or 4 out of memory.
  VX_Err Reserve(size_t alpha_bytes, size_t mask_bytes) {
    if (!owns_) return VX_Ok;
    if (!Get(alpha_bytes, &alpha_) || !Get(mask_bytes, &mask_)) return VX_ErrOutOfMemory;
    return VX_Ok;
  }

  void* alpha() const { return alpha_; }
  void* mask() const { return mask_; }

 private:
  static bool Get(size_t bytes, void** row) {
    if (bytes == 0) return true;
    const char* label = U_ZLookupLStrCache(&VX_G_zref, 15);
    *row = U_AllocatePtr(kVXp_PackageWord | 0x47, label, bytes, 0);
    return *row != nullptr;
  }

  void* alpha_ = nullptr;
  void* mask_ = nullptr;
  bool owns_ = true;
};
