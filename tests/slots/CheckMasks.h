// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The cases of scans over lines of masks, and of masks merged into rows of pixels.

#include "CheckUno.h"

// Parts of lines with all kinds of windows. The scratch is as large as it must be, and a page that
// nobody may touch lies now behind, now before it.
template <class Channel>
void CheckSlot(Trial& trial, VX_BlurScanFunc<Channel> routine) {
  constexpr int32_t kSpots[] = {kAtPageEnd, kAtPageStart};
  constexpr int32_t kPixels[] = {1, 2, 3, 12, 300};
  Frame<OneSample<Channel>> line(1), scratch(2);
  for (int32_t i = 0; i < 4 * kCounts * trial.rounds(); ++i) {
    const int32_t length = i % kCounts, kind = trial.Draw(4) - 1;
    const int32_t start = trial.Draw(length + 1);
    const int32_t end = start + trial.Draw(length + 1 - start);
    const VX_Fixed radius = trial.Draw((kPixels[trial.Draw(5)] << 16) + 1) - 1;
    const int32_t spot = i % 3 == 0 ? trial.Draw(16) : kSpots[i % 3 - 1];
    trial.Case("kind %d, length %d, part %d to %d, radius %d/65536, line %s", kind, length, start,
               end, radius, SpotName(spot).c_str());
    line.Lay(trial, length, 1, 0, spot);
    scratch.Lay(trial, VX_UnoScanScratch(length, radius), 1, 0, kSpots[i % 2]);
    trial.Gave(routine(kind, length, start, end, radius, SamplesOf(scratch), SamplesOf(line)));
    line.Give(trial);
  }
}

// `merge(count, mask, row)` for rows in all kinds of places.
template <class Channel, class Pixel, class Merge>
void CheckMerge(Trial& trial, Merge merge) {
  Frame<OneSample<Channel>> mask(1);
  Frame<Pixel> row(1);
  for (int32_t i = 0; i < kCounts * trial.rounds(); ++i) {
    const int32_t aligned[] = {i % 16, (i / 16 + i) % 16};
    const int32_t at_end[] = {kAtPageEnd, kAtPageEnd}, at_start[] = {kAtPageStart, kAtPageStart};
    for (const int32_t* spots : {at_end, at_start, aligned}) {
      trial.Case("mask of %zu bytes, count %d, mask %s, row %s", sizeof(Channel), i % kCounts,
                 SpotName(spots[0]).c_str(), SpotName(spots[1]).c_str());
      mask.Lay(trial, i % kCounts, 1, 0, spots[0]);
      row.Lay(trial, i % kCounts, 1, 0, spots[1]);
      trial.Gave(merge(i % kCounts, SamplesOf(mask), row.data()));
      mask.ExpectUntouched(trial);
      row.Give(trial);
    }
  }
}

// Not a mask of pixels: that is the type of a stage from row to row.
template <class Channel>
requires std::is_arithmetic_v<Channel>
void CheckSlot(Trial& trial, VX_MergeMask8Func<Channel> routine) {
  CheckMerge<Channel, VX_Pixel8>(trial, routine);
}

template <class Pixel>
void CheckSlot(Trial& trial, VX_MergeMaskFunc<Pixel> routine) {
  const auto from = [&]<class Channel>(Channel) {
    CheckMerge<Channel, Pixel>(trial, [&](int32_t count, const Channel* mask, Pixel* row) {
      return routine(count, sizeof(Channel) * 8, mask, row);
    });
  };
  from(uint8_t{}), from(uint16_t{}), from(float{});
}
