// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VXp_BlurScratch.h"

#include <algorithm>
#include <memory>
#include <new>

#include "VX/VX_Package.h"
#include "frame/VXp_Report.h"
#include "host/U.h"

namespace {

constexpr uint32_t kCheck = kVXp_PackageWord | 0x51;
constexpr int32_t kMemoryForBlurring = 10;  // entry of the string table
constexpr int64_t kAlignment = 64;

struct Wanted {
  int64_t bytes;
  int32_t label;
  void* block;
};

U_Err AllocateOnce(void* context) {
  auto& wanted = *static_cast<Wanted*>(context);
  const char* label = U_ZLookupLStrCache(&VX_G_zref, wanted.label);
  wanted.block = U_AllocatePtr(kCheck, label, static_cast<size_t>(wanted.bytes), 0);
  return wanted.block != nullptr ? VX_Ok : VX_ErrOutOfMemory;
}

void* Obtain(int64_t bytes, int32_t label) {
  Wanted wanted{bytes, label, nullptr};
  VXp_ThrowIf(U_PurgeLoop(bytes, 0, AllocateOnce, &wanted));
  return wanted.block;
}

}  // namespace

void VX_BlurScratchRow::Allocate(int64_t bytes, int32_t label) {
  if (bytes <= 0) return;
  const int64_t whole = bytes + kAlignment - 1;
  allocated_ = Obtain(whole, label);
  size_ = whole;
  const auto past = static_cast<int64_t>(reinterpret_cast<uintptr_t>(allocated_) % kAlignment);
  aligned_ = static_cast<char*>(allocated_) + (past == 0 ? 0 : kAlignment - past);
  U_AccountAllocation(size_);
}

VX_BlurScratchRow::~VX_BlurScratchRow() {
  if (allocated_ == nullptr) return;
  U_FreePtr(allocated_);
  U_AccountAllocation(-size_);
}

VXp_BlurScratch::VXp_BlurScratch(int32_t rows, int64_t bytes_a_row)
    : threads_(std::max(U_GetNumThreads(), 1)) {
  const int64_t count = int64_t{threads_} * kMostRows;
  const auto size = static_cast<int64_t>(sizeof(VX_BlurScratchRow));
  rows_ = static_cast<VX_BlurScratchRow*>(Obtain(count * size, kMemoryForBlurring));
  std::uninitialized_default_construct_n(rows_, count);
  try {
    for (int64_t i = 0; i < count; ++i) {
      if (i % kMostRows < rows) rows_[i].Allocate(bytes_a_row, kMemoryForBlurring);
    }
  } catch (...) {
    this->~VXp_BlurScratch();
    throw;
  }
}

VXp_BlurScratch::~VXp_BlurScratch() {
  std::destroy_n(rows_, threads_ * kMostRows);
  U_FreePtr(rows_);
}
