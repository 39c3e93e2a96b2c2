// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The cases of routines that work on rows. A checker is chosen by the routine's type.

#include <algorithm>
#include <cmath>
#include <iterator>

#include "Frame.h"
#include "VX/VX_OverrideTable.h"

inline constexpr int32_t kCounts = 68;  // 0..67

// Opacities where shortcuts begin and end; the last place is drawn.
template <class Channel>
Channel AnyOpacity(Trial& trial) {
  constexpr Channel kFull = kFullScale<Channel>;
  if constexpr (std::is_same_v<Channel, float>) {
    const float all[] = {
        0, 1 / 255.f, 0.5f, 1 - 0x1p-24f, 1, static_cast<float>(trial.Draw(1000)) / 999};
    return all[trial.Draw(6)];
  } else {
    const Channel all[] = {0,
                           1,
                           static_cast<Channel>(kFull / 2 + kFull % 2),
                           static_cast<Channel>(kFull - 1),
                           kFull,
                           static_cast<Channel>(trial.Draw(kFull + 1))};
    return all[trial.Draw(6)];
  }
}

// Three rows: source, mask and destination, laid anew for every case.
template <class Pixel>
struct Rows {
  Frame<Pixel> src, mask, dst;
  explicit Rows(size_t pages = 1) : src(pages), mask(pages), dst(pages) {}

  // Runs `check(count)` for every count at the end of a page, at its start, and at addresses that
  // walk through all pairs of places modulo 16 of source and destination in four rounds.
  template <class Check>
  void ForEachCase(Trial& trial, const char* what, Check check) {
    for (int32_t i = 0; i < kCounts * trial.rounds(); ++i) {
      const int32_t count = i % kCounts;
      const int32_t aligned[] = {i % 16, (i / 16 + i) % 16, trial.Draw(16)};
      const int32_t at_end[] = {kAtPageEnd, kAtPageEnd, kAtPageEnd};
      const int32_t at_start[] = {kAtPageStart, kAtPageStart, kAtPageStart};
      for (const int32_t* spots : {at_end, at_start, aligned}) {
        trial.Case("%s, count %d, source %s, destination %s, mask %s", what, count,
                   SpotName(spots[0]).c_str(), SpotName(spots[1]).c_str(),
                   SpotName(spots[2]).c_str());
        src.Lay(trial, count, 1, 0, spots[0]);
        dst.Lay(trial, count, 1, 0, spots[1]);
        mask.Lay(trial, count, 1, 0, spots[2]);
        check(count);
        src.ExpectUntouched(trial);
        mask.ExpectUntouched(trial);
        dst.Give(trial);
      }
    }
  }
};

// A row to another, and in place in both ways of asking for it.
template <class Pixel>
void CheckSlot(Trial& trial, VX_MatteStage<Pixel> routine) {
  Rows<Pixel> rows;
  const char* const ways[] = {"to another row", "onto itself", "null source"};
  for (const char* way : ways) {
    rows.ForEachCase(trial, way, [&](int32_t count) {
      const Pixel* src = rows.src.data();
      if (way == ways[1]) src = rows.dst.data();
      trial.Gave(routine(count, way == ways[2] ? nullptr : src, rows.dst.data()));
    });
  }
}

template <class Pixel>
void CheckSlot(Trial& trial, VX_AlphaUnionStage<Pixel> routine) {
  Rows<Pixel> rows;
  for (const bool masked : {false, true}) {
    rows.ForEachCase(trial, masked ? "with mask" : "no mask", [&](int32_t count) {
      trial.Gave(routine(count, rows.src.data(), AnyOpacity<VX_ChannelOf<Pixel>>(trial),
                         masked ? rows.mask.data() : nullptr, rows.dst.data()));
    });
  }
}

// A plain power curve.
inline const VX_LinearBlendingTables& PowerTables() {
  static const VX_LinearBlendingTables tables = [] {
    VX_LinearBlendingTables t{};
    t.gamma = 2.2f;
    t.invGamma = 1 / 2.2f;
    for (size_t i = 0; i < 256; ++i) {
      t.linearize[i] = static_cast<uint16_t>(std::lround(32768 * std::pow(i / 255.0, 2.2)));
    }
    for (size_t i = 0; i < 4097; ++i) {
      t.delinearize[i] = static_cast<uint16_t>(std::lround(32768 * std::pow(i / 4096.0, 1 / 2.2)));
    }
    return t;
  }();
  return tables;
}

struct ModeName {
  int32_t mode;
  const char* name;
};
// All modes, and numbers that are none.
inline constexpr ModeName kModes[] = {
#define VX_MODE(number, constant, name, piece, ...) {number, name},
#include "VX/VX_TransferModes.def"
#undef VX_MODE
    {-1, "reserved"}, {37, "unknown"}, {-4, "unknown"}};

// A row loop. Variants without mask or tables get null, so that none of them reads what it may not.
struct ScanInputs {
  bool masked, linear;
  explicit ScanInputs(const char* slot)
      : masked(std::strstr(slot, "Mask") != nullptr),
        linear(std::strstr(slot, "Linear") != nullptr) {}
};

template <class Pixel>
void CheckScan(Trial& trial, const ModeName& mode, VX_ScanFunc<Pixel> scan, Rows<Pixel>& rows) {
  const ScanInputs inputs(trial.slot());
  rows.ForEachCase(trial, mode.name, [&](int32_t count) {
    const VX_BlendingMode<Pixel> record{mode.mode, static_cast<int32_t>(trial.random()),
                                        AnyOpacity<VX_ChannelOf<Pixel>>(trial),
                                        static_cast<uint8_t>(trial.Draw(2))};
    trial.Gave(scan(count, &record, inputs.linear ? &PowerTables() : nullptr, rows.src.data(),
                    inputs.masked ? rows.mask.data() : nullptr, rows.dst.data()));
  });
}

// A chooser is as good as every row loop that it gives.
template <class Pixel>
void CheckSlot(Trial& trial, VX_GetInnerBlendingSlot<Pixel> choose) {
  Rows<Pixel> rows;
  for (const ModeName& mode : kModes) {
    trial.Case("choosing the loop of %s (%d)", mode.name, mode.mode);
    VX_InnerBlendingFunc<Pixel> chosen{};
    const VX_Err error = choose(mode.mode, &chosen);
    trial.Gave(error);
    if ((error == VX_Ok) != (chosen.scan != nullptr)) trial.Fail("code and loop do not agree");
    if (error == VX_Ok) CheckScan(trial, mode, chosen.scan, rows);
  }
}
