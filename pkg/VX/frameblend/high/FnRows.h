// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Loops over rows on all threads.

#include "frameblend/imgproc/FnInterrupt.h"
#include "frameblend/imgproc/FnThreads.h"

// Calls work(y) for each row, rows of a band in ascending order on one thread. After an
// interruption some rows are left out.
template <class Work>
void FnForRows(FnInterruptState* interrupt, int32_t rows, const Work& work) {
  if (FnPoll(interrupt) != VX_Ok) return;
  const auto band = [&] {
    const FnBand mine = FnBandOfThread(rows);
    for (int32_t y = mine.first; y < mine.end; ++y) {
      if (y % 16 == 0 && FnPoll(interrupt) != VX_Ok) return;
      work(y);
    }
  };
  const auto run = [](void* const* arguments, int32_t) {
    (*static_cast<const decltype(band)*>(arguments[0]))();
  };
  if (!FnRunInParallel(run, 1, &band) && interrupt != nullptr) interrupt->set(VX_ErrOutOfMemory);
}
