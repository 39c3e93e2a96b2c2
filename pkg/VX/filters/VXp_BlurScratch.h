// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The buffers of a blur, allocated for one call.

#include <cstdint>

// One buffer whose address is a multiple of 64. It is allocated through U_PurgeLoop, so that the
// host can free memory if it is short. The buffer is included in the host's memory accounting until
// it is freed.
class VX_BlurScratchRow {
 public:
  VX_BlurScratchRow() = default;
  ~VX_BlurScratchRow();
  VX_BlurScratchRow(const VX_BlurScratchRow&) = delete;
  VX_BlurScratchRow& operator=(const VX_BlurScratchRow&) = delete;

  // Allocates the buffer, or nothing for 0 bytes. Call at most once per object. `label` is an entry
  // of the string table. Throws the host's error.
  void Allocate(int64_t bytes, int32_t label);

  char* data() const { return aligned_; }
  int64_t size() const { return size_; }

 private:
  void* allocated_ = nullptr;
  char* aligned_ = nullptr;
  int64_t size_ = 0;
};

// Owns up to two rows of scratch for each thread that the generic iterator may use.
class VXp_BlurScratch {
 public:
  static constexpr int32_t kMostRows = 2;

  // Allocates the rows. On failure frees all of them and throws the host's error.
  VXp_BlurScratch(int32_t rows, int64_t bytes_a_row);
  ~VXp_BlurScratch();
  VXp_BlurScratch(const VXp_BlurScratch&) = delete;
  VXp_BlurScratch& operator=(const VXp_BlurScratch&) = delete;

  int32_t threads() const { return threads_; }
  char* Row(int32_t thread, int32_t row) const { return rows_[thread * kMostRows + row].data(); }

 private:
  int32_t threads_;
  VX_BlurScratchRow* rows_;
};
