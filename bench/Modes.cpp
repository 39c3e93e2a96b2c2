// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Every mode and depth compared with its entry in the per-pixel table.

#include <cstdio>
#include <string>

#include "Library.h"
#include "Rounds.h"
#include "Sections.h"

namespace {

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 270;
constexpr float kFaded = 0.6f;

struct Tally {
  int rows = 0;
  int below = 0;
  int ratios_below = 0;
};

template <class Pixel>
VX_ChannelOf<Pixel> FadedChannel() {
  if constexpr (kDepthOf<Pixel> == 32) return kFaded;
  return static_cast<VX_ChannelOf<Pixel>>(double{kFaded} * kFullScaleOf<Pixel> + 0.5);
}

// Measures the library (first) and the loop over the table (second).
template <class Pixel>
std::vector<Timing> Measure(Scene<Pixel>& scene, int32_t mode, bool faded, int rounds) {
  const auto reset = [&] { scene.ResetDestination(); };
  const auto rect = [&] { TransferScene(scene, mode, faded ? kFaded : 1.0f, false); };
  const auto table = [&] {
    if (faded) {
      PixelByPixelFaded(scene, mode, FadedChannel<Pixel>());
    } else {
      PixelByPixel(scene, mode);
    }
  };
  return RunRounds({{reset, rect}, {reset, table}}, rounds);
}

template <class Pixel>
void RunDepth(const Options& options, Tally* tally) {
  Scene<Pixel> partly(Content::kPartly, kWidth, kHeight);
  Scene<Pixel> sprite(Content::kSprite, kWidth, kHeight);
  for (const vx::ModeInfo& info : vx::modes()) {
    if (!info.per_pixel) continue;
    const auto mode = static_cast<int32_t>(info.mode);
    const std::string name = std::to_string(kDepthOf<Pixel>) + "/" + info.name + "/";
    if (!options.Takes(name)) continue;
    const bool counts = mode != VX_Xfer_Dissolve;
    std::printf("%-24s", name.c_str());
    bool below = false;
    for (Scene<Pixel>* const scene : {&partly, &sprite}) {
      for (const bool faded : {false, true}) {
        const std::vector<Timing> times = Measure(*scene, mode, faded, options.rounds);
        const double ratio = TimesFaster(times[0], times[1]);
        const bool slow = counts && ratio < 1.0;
        const double mpixels = 1e-6 * static_cast<double>(scene->dst.pixels.size());
        std::printf(" %8.1f %7.1f %5.2f%s", mpixels / times[0].Median(),
                    mpixels / times[1].Median(), ratio, slow ? "<" : " ");
        below = below || slow;
        tally->ratios_below += slow;
      }
    }
    std::printf("%s\n", counts ? "" : "  (the table's entry does nothing)");
    std::fflush(stdout);
    ++tally->rows;
    tally->below += below;
  }
}

}  // namespace

bool RunModes(const Options& options) {
  std::printf(
      "\nModes: Mpixel/s of VX_TransferRect on %dx%d, those of its mode's entry in the per-pixel\n"
      "table called in a loop, and the ratio, with opacity 1 and %.1f. A change that slows the\n"
      "table raises the ratio too: look at the speeds.\n\n",
      int{kWidth}, int{kHeight}, double{kFaded});
  std::printf("%-24s %22s %22s %22s %22s\n", "row", "partly, 1 ", "partly, 0.6 ", "sprite, 1 ",
              "sprite, 0.6 ");
  Tally tally;
  RunDepth<VX_Pixel8>(options, &tally);
  RunDepth<VX_Pixel16>(options, &tally);
  RunDepth<VX_PixelFloat>(options, &tally);
  std::printf("\nrows slower than their per-pixel table: %d of %d (%d of %d ratios)\n", tally.below,
              tally.rows, tally.ratios_below, 4 * tally.rows);
  return true;
}
