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

// One row for each thread of a call, in one block.
class VXp_ThreadRows {
 public:
  // Allocates a row of `bytes` for each of `threads` threads, or nothing for 0 bytes. Call once per
  // object. Returns false if out of memory.
  bool Reserve(int32_t threads, size_t bytes) {
    constexpr size_t kCacheLine = 64;
    stride_ = (bytes + kCacheLine - 1) / kCacheLine * kCacheLine;
    return block_.Reserve(threads > 1 ? static_cast<size_t>(threads) * stride_ : bytes);
  }
  // Null if nothing was allocated.
  template <class T>
  T* Row(int32_t thread) const {
    void* const first = block_.get();
    if (first == nullptr) return nullptr;
    return reinterpret_cast<T*>(static_cast<char*>(first) + static_cast<size_t>(thread) * stride_);
  }

 private:
  size_t stride_ = 0;
  VXp_CallBlock block_;
};

// The rows of saved alphas and of mask values.
class VXp_RowBuffers {
 public:
  // Uses the rows of the caller's scratch if `given` is not null; for one thread only.
  explicit VXp_RowBuffers(const VX_BlendScratch* given) : given_(given) {}

  // Allocates the rows. Sizes are in bytes, 0 for a row that is not needed. Returns VX_Ok or
  // VX_ErrOutOfMemory.
  VX_Err Reserve(int32_t threads, size_t alpha_bytes, size_t mask_bytes) {
    if (given_ != nullptr) return VX_Ok;
    return alpha_.Reserve(threads, alpha_bytes) && mask_.Reserve(threads, mask_bytes)
               ? VX_Ok
               : VX_ErrOutOfMemory;
  }

  template <class Pixel>
  VX_ChannelOf<Pixel>* Alpha(int32_t thread) const {
    using Channel = VX_ChannelOf<Pixel>;
    return given_ != nullptr ? static_cast<Channel*>(given_->alpha_row)
                             : alpha_.Row<Channel>(thread);
  }
  template <class Pixel>
  Pixel* Mask(int32_t thread) const {
    return given_ != nullptr ? static_cast<Pixel*>(given_->mask_row) : mask_.Row<Pixel>(thread);
  }

 private:
  const VX_BlendScratch* given_;
  VXp_ThreadRows alpha_, mask_;
};
