// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_Scratch.h"

#include <algorithm>

#include "VX/VX_Package.h"
#include "VX/VX_Sampling.h"
#include "frame/VXp_Report.h"

namespace {

constexpr uint32_t kScratchCheck = kVXp_PackageWord | 0x47;
constexpr int32_t kScratchLabel = 15;
constexpr int32_t kRows = 3;

struct SharedScratch {
  void* rows[kRows];
  size_t capacity;  // bytes per row of pixels; 0 after a failure: the rows must not be used
  void* motion[kVXp_MotionBlocks];
  bool has_motion;
};
constinit SharedScratch shared{};

constexpr size_t kIntervals = 256;
constexpr size_t kMatrixSize = sizeof(M_Matrix3);

struct Block {
  const char* label;
  size_t size;
};
constexpr Block kMotionBlocks[kVXp_MotionBlocks] = {
    {"motion blur scratch data1", kIntervals * 2 * sizeof(VX_Fixed)},
    {"motion blur scratch data2", kIntervals * 2 * sizeof(VX_Fixed)},
    {"motion blur scratch data3", kIntervals * 2 * sizeof(VX_Fixed)},
    {"motion blur scratch data4", kIntervals * 16},
    {"motion blur scratch data5", kIntervals * 16},
    {"motion blur scratch data6", kIntervals* kMatrixSize},
    {"motion blur scratch data7", kIntervals * sizeof(VX_SampPB)},
};

void FreeAll(void* const* blocks, int32_t count) {
  for (int32_t i = 0; i < count; ++i) U_FreePtr(blocks[i]);
}

// Replaces the rows. If the allocation fails, the old rows remain allocated but are no longer used.
VX_Err ReplaceRows(size_t channel_row, size_t pixel_row) {
  const char* label = U_ZLookupLStrCache(&VX_G_zref, kScratchLabel);
  void* new_rows[kRows] = {};
  for (int32_t i = 0; i < kRows; ++i) {
    new_rows[i] = U_AllocatePtr(kScratchCheck, label, i == 0 ? channel_row : pixel_row, 0);
    if (new_rows[i] == nullptr) {
      FreeAll(new_rows, i);
      shared.capacity = 0;
      return VX_ErrOutOfMemory;
    }
  }
  FreeAll(shared.rows, kRows);
  std::copy_n(new_rows, kRows, shared.rows);
  shared.capacity = pixel_row;
  return VX_Ok;
}

}  // namespace

VX_Err VXp_ReallocScratch(int32_t pixels, int32_t depth_code, VXp_Regrow regrow,
                          VX_BlendScratch* out) {
  if (depth_code != 1 && depth_code != 2 && depth_code != 4) {
    VXp_FailVerification("Unexpected bitdepth in VXp_ReallocScratch()");
    return VX_Ok;
  }
  if (!shared.has_motion) {
    VXp_ThrowIf(VX_AllocateMotionBlurScratch(shared.motion));
    shared.has_motion = true;
  }
  std::copy_n(shared.motion, kVXp_MotionBlocks, out->motion);

  const size_t channel_row = static_cast<size_t>(pixels) * static_cast<size_t>(depth_code);
  const size_t pixel_row = 4 * channel_row;
  const bool fits = shared.capacity != 0 && pixel_row <= shared.capacity;
  if (!fits || regrow == VXp_Regrow::Always) {
    const VX_Err error = ReplaceRows(channel_row, pixel_row);
    if (error != VX_Ok) return error;
  }
  out->alpha_row = shared.rows[0];
  out->mask_row = shared.rows[1];
  out->third_row = shared.rows[2];
  return VX_Ok;
}

void VXp_DisposeScratch() {
  FreeAll(shared.rows, kRows);
  VX_DisposeMotionBlurScratch(shared.motion);
  shared = {};
}

VX_Err VX_AllocateMotionBlurScratch(void* (&blocks)[kVXp_MotionBlocks]) {
  std::fill_n(blocks, kVXp_MotionBlocks, nullptr);
  for (int32_t i = 0; i < kVXp_MotionBlocks; ++i) {
    blocks[i] = U_AllocatePtr(kScratchCheck, kMotionBlocks[i].label, kMotionBlocks[i].size, 0);
    if (blocks[i] == nullptr) {
      VX_DisposeMotionBlurScratch(blocks);
      return VX_ErrOutOfMemory;
    }
  }
  return VX_Ok;
}

void VX_DisposeMotionBlurScratch(void* (&blocks)[kVXp_MotionBlocks]) {
  for (void*& block : blocks) {
    U_FreePtr(block);
    block = nullptr;
  }
}
