// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "ProfilePlot.h"

#include <algorithm>

#include "Errors.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Copy.h"
#include "VX/VX_Fill.h"
#include "Worlds.h"

namespace vxcli {

namespace {

// Drawn four times as large and scaled down, so that the lines are smooth.
constexpr int32_t kScale = 4, kSide = 256 * kScale, kMargin = 12 * kScale;
constexpr int32_t kWhole = kSide + 2 * kMargin;

constexpr VX_Pixel8 kPaper = {255, 250, 250, 250}, kGrid = {255, 215, 215, 215},
                    kFrame = {255, 120, 120, 120}, kCurve = {255, 200, 40, 20};

void Paint(const VX_Pixel8& color, int32_t left, int32_t top, int32_t right, int32_t bottom,
           VX_World* world) {
  M_Rect rect{};
  rect.left = static_cast<int16_t>(left);
  rect.top = static_cast<int16_t>(top);
  rect.right = static_cast<int16_t>(right);
  rect.bottom = static_cast<int16_t>(bottom);
  Check(VX_Fill(/*ref=*/nullptr, &color, &rect, world), "plot");
}

// A line from one column to the next, thick in both directions.
void Join(const VX_Pixel8& color, int32_t x, int32_t from, int32_t to, int32_t thick,
          VX_World* world) {
  const int32_t low = kMargin + kSide - std::min(from, to),
                high = kMargin + kSide - std::max(from, to);
  Paint(color, kMargin + x - thick / 2, high - thick / 2, kMargin + x + thick / 2 + 1,
        low + thick / 2 + 1, world);
}

}  // namespace

VXIO_WorldPtr PlotCurve(const VX_LinearBlendingTables& tables) {
  VXIO_WorldPtr large = NewWorld(kWhole, kWhole, 8);
  Paint(kPaper, 0, 0, kWhole, kWhole, large.get());
  for (int32_t i = 0; i <= 4; ++i) {
    const VX_Pixel8& color = i % 4 == 0 ? kFrame : kGrid;
    const int32_t at = kMargin + i * kSide / 4 - kScale / 2, end = kMargin + kSide + kScale / 2;
    Paint(color, at, kMargin, at + kScale, end, large.get());
    Paint(color, kMargin, at, end, at + kScale, large.get());
  }
  for (int32_t x = 0; x < kSide; ++x) Join(kFrame, x, x, x + 1, kScale, large.get());
  auto height = [&](int32_t stored) {
    return static_cast<int32_t>(tables.linearize[stored] * int64_t{kSide} / 32768);
  };
  for (int32_t x = 0; x < kSide; ++x) {
    // Between two stored values the line is straight.
    auto at = [&](int32_t column) {
      const int32_t position = column * 255, stored = position / kSide, part = position % kSide;
      const int32_t next = std::min(stored + 1, 255);
      return height(stored) + (height(next) - height(stored)) * part / kSide;
    };
    Join(kCurve, x, at(x), at(x + 1), 2 * kScale, large.get());
  }
  VXIO_WorldPtr plot = NewWorld(kWhole / kScale, kWhole / kScale, 8);
  Check(VX_ResizeWorld(/*progress=*/nullptr, VX_Quality_High, large.get(), plot.get()), "plot");
  return plot;
}

}  // namespace vxcli
