// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What can be timed of a slot's routine: the routine itself, or each row loop that a chooser gives.
// Chosen by the routine's type, as the checkers are.

#include <functional>
#include <memory>

#include "CheckRows.h"

struct BenchItem {
  std::string name;
  void* routine;              // the same at two levels: nothing to compare
  std::function<void()> run;  // works once on kBenchCount pixels; empty when nobody wrote how
};

inline constexpr int32_t kBenchCount = 1024;

template <class Pixel>
struct BenchRows : Rows<Pixel> {
  BenchRows() : Rows<Pixel>(8) {
    Record unused;
    Trial trial("benchmark", "none", 1, 1, Trial::Kind::kRecord, unused);
    for (Frame<Pixel>* row : {&this->src, &this->mask, &this->dst}) {
      row->Lay(trial, kBenchCount, 1, 0, 4, Look::kMixed);
    }
  }
};

template <class Routine>
std::vector<BenchItem> ItemsOf(const char* slot, Routine routine) {
  return {{slot, reinterpret_cast<void*>(routine), nullptr}};
}

template <class Pixel>
std::vector<BenchItem> ItemsOf(const char* slot, VX_GetInnerBlendingSlot<Pixel> choose) {
  const auto rows = std::make_shared<BenchRows<Pixel>>();
  std::vector<BenchItem> items;
  for (const ModeName& mode : kModes) {
    VX_InnerBlendingFunc<Pixel> chosen{};
    if (choose(mode.mode, &chosen) != VX_Ok) continue;
    const VX_ScanFunc<Pixel> scan = chosen.scan;
    using Channel = VX_ChannelOf<Pixel>;
    for (const bool full : {false, true}) {
      const auto opacity = static_cast<Channel>(kFullScale<Channel> / (full ? 1 : 2));
      const VX_BlendingMode<Pixel> record{mode.mode, 1, opacity, 0};
      items.push_back({std::string(slot) + " " + mode.name + (full ? " full" : " half"),
                       reinterpret_cast<void*>(scan), [=] {
                         rows->dst.Restore();
                         scan(kBenchCount, &record, &PowerTables(), rows->src.data(),
                              rows->mask.data(), rows->dst.data());
                       }});
    }
  }
  return items;
}
