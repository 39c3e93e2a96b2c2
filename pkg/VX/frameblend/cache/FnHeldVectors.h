// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The vectors of a pair that a render uses: its own, or checked out of the host's cache.

#include <functional>
#include <string>

#include "frameblend/cache/FnMotionKey.h"
#include "frameblend/smooth/FnVeltorVectors.h"

class FnHeldVectors {
 public:
  FnMotionKey key;
  std::string folder;   // of motion files; "": none
  std::string warning;  // the latest failure with a motion file; "": none

  // Finds the vectors in the cache or in the folder, or calls `estimate` and adds its result to
  // both. Errors are recorded in `interrupt`; nothing is added then. A cache or folder that fails
  // is no error.
  //   dir   the sort directory of the pair and the estimate
  //   size  of the fields
  void Need(const MC_SortDir& dir, FnAnalysisSize size,
            const std::function<void(FnVeltorVectors*)>& estimate, FnInterruptState* interrupt);

  // Null before Need.
  const FnVeltorVectors* get() const { return vectors_; }

 private:
  // Reads the vectors from the folder or estimates them; null after an error.
  std::unique_ptr<FnVeltorVectors> Make(const FnIdentity& identity, FnAnalysisSize size,
                                        const std::function<void(FnVeltorVectors*)>& estimate,
                                        FnInterruptState* interrupt);
  // Takes the vectors and adds them to the cache.
  void Keep(std::unique_ptr<FnVeltorVectors> made, const MC_SortDir& dir);

  std::unique_ptr<FnVeltorVectors> own_;
  MC_ScCheckout checkout_;
  const FnVeltorVectors* vectors_ = nullptr;
};

// Counts since the start of the process.
struct FnCacheCounts {
  int64_t found;      // in the cache of the host
  int64_t read;       // from motion files
  int64_t estimated;  // and added to the cache
};
FnCacheCounts FnGetCacheCounts();
