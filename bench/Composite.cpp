// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Six modes on whole frames.

#include <cstdio>
#include <cstring>
#include <string>

#include "Agreement.h"
#include "Library.h"
#include "Naive.h"
#include "Pixman.h"
#include "Rounds.h"
#include "Sections.h"

namespace {

struct Size {
  int32_t width, height;
};
constexpr Size kSizes[] = {{1920, 1080}, {3840, 2160}};

constexpr int32_t kCompositeModes[] = {VX_Xfer_InFront,   VX_Xfer_Multiply,   VX_Xfer_Screen,
                                       VX_Xfer_SoftLight, VX_Xfer_Luminosity, VX_Xfer_Dissolve};

// The results that are printed at the end.
struct Closing {
  std::vector<double> in_front8;  // ratios to the naive loop: 8 bits, in-front, kPartly, no mask
  std::vector<std::string> below_table;
  int rows = 0;
  int same_bits = 0;
  float farthest_naive = 0.0f;
  float farthest_pixman = 0.0f;
  bool agree = true;
};

template <class Pixel>
struct Row {
  std::string name;
  int32_t mode;
  bool masked;
  Scene<Pixel>* scene;
  PixmanScene* pixman;  // null if pixman does not have the mode or the depth

  NaiveJob<Pixel> Job() const {
    return {scene->src.pixels.data(), masked ? scene->mask.pixels.data() : nullptr,
            scene->dst.pixels.data(), scene->dst.width,
            scene->dst.height,        static_cast<uint32_t>(kDissolveSeed)};
  }
};

// Pixman's formulas of soft light and luminosity are different; they are measured, but not
// compared.
bool PixmanHasSameFormula(int32_t mode) {
  return mode == VX_Xfer_InFront || mode == VX_Xfer_Multiply || mode == VX_Xfer_Screen;
}

// The largest difference that is caused by the two roundings of a premultiplied byte.
constexpr float kNear = 4.0f / 255.0f;

template <class Pixel>
void CheckAgreement(const Row<Pixel>& row, Closing* closing) {
  Scene<Pixel>& scene = *row.scene;
  const bool exact = row.mode == VX_Xfer_InFront || row.mode == VX_Xfer_Dissolve;
  scene.ResetDestination();
  NaiveLoopOf<Pixel>(row.mode, row.masked)(row.Job());
  const std::vector<Pixel> naive = scene.dst.pixels;
  scene.ResetDestination();
  TransferScene(scene, row.mode, 1.0f, row.masked);
  const float distance = GreatestDistance(scene, row.masked, naive, scene.dst.pixels);
  closing->same_bits += distance == 0.0f;
  closing->farthest_naive = std::max(closing->farthest_naive, distance);
  if (distance > (exact ? 0.0f : kNear)) {
    std::printf("%s: the naive loop differs by %.6f\n", row.name.c_str(), double{distance});
    closing->agree = false;
  }
  if (row.pixman == nullptr || !PixmanHasSameFormula(row.mode)) return;
  row.pixman->ResetDestination();
  row.pixman->Composite(row.mode, row.masked);
  const float to_pixman = GreatestDistance(*row.pixman, scene.dst.pixels);
  closing->farthest_pixman = std::max(closing->farthest_pixman, to_pixman);
  if (to_pixman > kNear) {
    std::printf("%s: pixman differs by %.6f\n", row.name.c_str(), double{to_pixman});
    closing->agree = false;
  }
}

// The first contestant is the library. The last is pixman, if it has the operation.
template <class Pixel>
std::vector<Contestant> ContestantsOf(const Row<Pixel>& row) {
  Scene<Pixel>& scene = *row.scene;
  const auto reset = [&scene] { scene.ResetDestination(); };
  std::vector<Contestant> all;
  all.push_back({reset, [&] { TransferScene(scene, row.mode, 1.0f, row.masked); }});
  all.push_back({reset, [&] {
                   std::memcpy(static_cast<void*>(scene.dst.pixels.data()), scene.src.pixels.data(),
                               scene.dst.Bytes());
                 }});
  all.push_back({reset, [&] { NaiveLoopOf<Pixel>(row.mode, row.masked)(row.Job()); }});
  all.push_back({reset, [&] {
                   if (row.masked) {
                     PixelByPixelMasked(scene, row.mode);
                   } else {
                     PixelByPixel(scene, row.mode);
                   }
                 }});
  if (row.pixman != nullptr) {
    all.push_back({[&] { row.pixman->ResetDestination(); },
                   [&] { row.pixman->Composite(row.mode, row.masked); }});
  }
  return all;
}

template <class Pixel>
void RunRow(const Row<Pixel>& row, const Options& options, Closing* closing) {
  CheckAgreement(row, closing);
  const std::vector<Timing> times = RunRounds(ContestantsOf(row), options.rounds);
  const double mpixels = 1e-6 * static_cast<double>(row.scene->dst.pixels.size());
  const double to_naive = TimesFaster(times[0], times[2]);
  const double to_table = TimesFaster(times[0], times[3]);
  std::printf("%-42s %8.1f %4.1f%% %8.3f %8.2f", row.name.c_str(), mpixels / times[0].Median(),
              100.0 * times[0].Spread(), TimesFaster(times[0], times[1]), to_naive);
  if (row.pixman != nullptr) {
    std::printf(" %8.2f", TimesFaster(times[0], times[4]));
  } else {
    std::printf(" %8s", "-");
  }
  if (row.mode == VX_Xfer_Dissolve) {
    std::printf(" %8s\n", "-");  // the table's entry of dissolve does nothing
  } else {
    std::printf(" %8.2f%s\n", to_table, to_table < 1.0 ? " <" : "");
    if (to_table < 1.0) closing->below_table.push_back(row.name);
  }
  std::fflush(stdout);
  ++closing->rows;
  if (kDepthOf<Pixel> == 8 && row.mode == VX_Xfer_InFront && !row.masked &&
      row.name.find("partly") != std::string::npos) {
    closing->in_front8.push_back(to_naive);
  }
}

template <class Pixel>
void RunScene(const Size& size, Content content, const Options& options, Closing* closing) {
  std::unique_ptr<Scene<Pixel>>
      scene;  // created for the first row that is selected, because frames are large
  std::unique_ptr<PixmanScene> pixman;
  for (const int32_t mode : kCompositeModes) {
    for (const bool masked : {false, true}) {
      const std::string name = std::to_string(size.width) + "x" + std::to_string(size.height) +
                               "/" + std::to_string(kDepthOf<Pixel>) + "/" + ModeName(mode) + "/" +
                               ContentName(content) + (masked ? "/mask" : "/plain");
      if (!options.Takes(name)) continue;
      if (!scene) {
        scene = std::make_unique<Scene<Pixel>>(content, size.width, size.height);
        pixman = PixmanScene::Make(*scene);
      }
      PixmanScene* const peer = PixmanScene::Supports(mode) ? pixman.get() : nullptr;
      RunRow(Row<Pixel>{name, mode, masked, scene.get(), peer}, options, closing);
    }
  }
}

void PrintHead() {
  std::puts(
      "\nComposite: whole frames. The ratios say how many times faster VX_TransferRect is than\n"
      "  memcpy  copying as many bytes from the source to the destination\n"
      "  naive   a plain loop with the formula inline\n"
      "  pixman  its operator of that name; it works on premultiplied pixels, so it is spared the\n"
      "          division by alpha, and in soft-light and luminosity its formula is another\n"
      "  table   the exported entry of one pixel, called in a loop (dissolve's does nothing)\n");
  std::printf("%-42s %8s %5s %8s %8s %8s %8s\n", "row", "Mpixel/s", "+-", "memcpy", "naive",
              "pixman", "table");
}

void PrintClosing(const Closing& closing) {
  if (closing.rows == 0) return;
  std::printf("\n%d rows. The naive loops gave the same bits in %d of them, in the others within "
              "%.4f; pixman within %.4f (premultiplied, white is 1).\n",
              closing.rows, closing.same_bits, double{closing.farthest_naive},
              double{closing.farthest_pixman});
  for (const double ratio : closing.in_front8) {
    std::printf("in-front, 8 bits, partly transparent: %.2f times as fast as the naive loop\n",
                ratio);
  }
  std::printf("rows slower than their per-pixel table: %zu\n", closing.below_table.size());
}

}  // namespace

bool RunComposite(const Options& options) {
  PrintHead();
  Closing closing;
  for (const Size& size : kSizes) {
    if (options.quick && &size != kSizes) continue;
    for (const Content content : {Content::kPartly, Content::kSprite}) {
      RunScene<VX_Pixel8>(size, content, options, &closing);
      RunScene<VX_Pixel16>(size, content, options, &closing);
      RunScene<VX_PixelFloat>(size, content, options, &closing);
    }
  }
  PrintClosing(closing);
  return closing.agree;
}
