// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The row buffers of one transfer or transform. They are allocated per call, so that calls may run
// on several threads. Only the rows that the call needs are allocated.

#include "VX/VX_Package.h"
#include "VX/VX_Transfer.h"
#include "frame/VXp_Report.h"

// One block of memory for the duration of a call.
class VXp_CallBlock {
 public:
  VXp_CallBlock() = default;
  ~VXp_CallBlock() { U_FreePtr(block_); }
  VXp_CallBlock(const VXp_CallBlock&) = delete;
  VXp_CallBlock& operator=(const VXp_CallBlock&) = delete;

  // Allocates the block, or nothing for 0 bytes. Call once per object. Returns false if out of
  // memory.
  bool Reserve(size_t bytes) {
    if (bytes == 0) return true;
    const char* label = U_ZLookupLStrCache(&VX_G_zref, 15);
    block_ = U_AllocatePtr(kVXp_PackageWord | 0x47, label, bytes, 0);
    return block_ != nullptr;
  }
  void* get() const { return block_; }

 private:
  void* block_ = nullptr;
};

class VXp_RowBuffers {
 public:
  // Uses the rows of the caller's scratch if `given` is not null.
  explicit VXp_RowBuffers(const VX_BlendScratch* given) : given_(given) {}

  // Allocates the rows. Sizes are in bytes, 0 for a row that is not needed. Returns VX_Ok or
  // VX_ErrOutOfMemory.
  VX_Err Reserve(size_t alpha_bytes, size_t mask_bytes) {
    if (given_ != nullptr) return VX_Ok;
    return alpha_.Reserve(alpha_bytes) && mask_.Reserve(mask_bytes) ? VX_Ok : VX_ErrOutOfMemory;
  }

  void* alpha() const { return given_ != nullptr ? given_->alpha_row : alpha_.get(); }
  void* mask() const { return given_ != nullptr ? given_->mask_row : mask_.get(); }

 private:
  const VX_BlendScratch* given_;
  VXp_CallBlock alpha_, mask_;
};
