// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// The operations of vx bench and their measurement.

#include "Bench.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "VX/VX_FrameBlending.h"
#include "VX/VX_Iterate.h"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/Filters.hpp"
#include "VX/cpp/Motion.hpp"
#include "VX/cpp/Pixels.hpp"
#include "VX/cpp/Transform.hpp"
#include "host/VXHost.h"

namespace vxcli {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t kDepths[] = {8, 16, 32};
constexpr int32_t kCell = 8;  // side of the details of a picture, in pixels
constexpr int32_t kLeastRepetitions = 3;
constexpr size_t kMostRepetitions = 10000;

// A generator of its own, so that the pictures are the same everywhere.
struct Random {
  uint32_t state = 12345;
  uint8_t operator()(uint32_t low, uint32_t high) {
    state = state * 1664525 + 1013904223;
    return static_cast<uint8_t>(low + (state >> 16) % (high - low + 1));
  }
};

// Returns a picture of soft shapes, with alpha from 1 to 254, so that no operation can leave pixels
// out.
vx::Image Shapes(int32_t width, int32_t height, int32_t depth, uint32_t seed) {
  vx::Image small((width + kCell - 1) / kCell, (height + kCell - 1) / kCell, 8);
  Random random{seed};
  vx::for_each_pixel(small, [&](int32_t, int32_t, auto& pixel) {
    if constexpr (std::is_same_v<decltype(pixel), vx::Pixel8&>) {
      pixel = {random(1, 254), random(0, 255), random(0, 255), random(0, 255)};
    }
  });
  return vx::convert(vx::resize(small, width, height), depth);
}

void CopyRows(vx::AnyView dst, vx::AnyConstView src, int32_t first, int32_t count) {
  const VX_LayerDef &from = *src.descriptor(), &to = *dst.descriptor();
  const auto bytes = static_cast<size_t>(from.width) * static_cast<size_t>(src.depth() / 2);
  for (int32_t y = first; y < first + count; ++y) {
    std::memcpy(static_cast<char*>(to.data) + ptrdiff_t{y} * to.rowbytes,
                static_cast<const char*>(from.data) + ptrdiff_t{y} * from.rowbytes, bytes);
  }
}

// The pictures of a depth.
struct Pictures {
  Pictures(const BenchSettings& settings, int32_t depth)
      : above(Shapes(settings.width, settings.height, depth, 1)),
        below(Shapes(settings.width, settings.height, depth, 2)),
        out(settings.width, settings.height, depth),
        first(
            Shapes(std::max(settings.width / 3, 16), std::max(settings.height / 3, 16), depth, 3)),
        second(first.width(), first.height(), depth),
        between(first.width(), first.height(), depth) {
    vx::copy(second, first);
    vx::transform(second, first, vx::matrix({.translate_x = 3, .translate_y = 1}));
  }

  void Restore() { CopyRows(out, below, 0, below.height()); }

  vx::Image above, below, out;
  vx::Image first, second, between;  // two pictures of a motion, and the one between them
};

// Copies bands of rows through the generic iterator, so that it uses the threads of operations.
void CopyMemory(Pictures& p) {
  struct Copy {
    Pictures& pictures;
    int32_t rows;
  };
  const int32_t height = p.out.height();
  Copy copy{p, std::max(height / (4 * U_GetNumThreads()), 1)};
  vx::detail::run([&] {
    return VX_IterateGeneric((height - 1) / copy.rows + 1, &copy,
                             [](void* refcon, int32_t, int32_t i, int32_t) -> VX_Err {
                               const Copy& c = *static_cast<Copy*>(refcon);
                               const int32_t first = i * c.rows;
                               const int32_t left = c.pictures.out.height() - first;
                               CopyRows(c.pictures.out, c.pictures.below, first,
                                        std::min(c.rows, left));
                               return VX_Ok;
                             });
  });
}

struct Work {
  const char* name;
  void (*run)(Pictures&);
  bool between = false;  // measured on the small pictures
};

const Work kWorks[] = {
    {"memcpy", CopyMemory},
    {"fill",
     [](Pictures& p) {
       vx::fill(p.out, vx::Pixel8{200, 10, 20, 30});
     }},
    {"in front", [](Pictures& p) { vx::composite(p.out, p.above); }},
    {"multiply", [](Pictures& p) { vx::composite(p.out, p.above, {.mode = vx::Mode::multiply}); }},
    {"box blur, radius 10",
     [](Pictures& p) { vx::blur(p.out, p.above, {.kind = vx::BlurKind::box, .radius = 10}); }},
    {"Gaussian blur, radius 10", [](Pictures& p) { vx::blur(p.out, p.above, {.radius = 10}); }},
    {"rotation",
     [](Pictures& p) {
       const double x = (p.out.width() - 1) / 2.0, y = (p.out.height() - 1) / 2.0;
       vx::transform(
           p.out, p.above,
           vx::matrix(
               {.anchor_x = x, .anchor_y = y, .rotation = 30, .translate_x = x, .translate_y = y}));
     }},
    {"in-between picture", [](Pictures& p) { vx::tween(p.between, p.first, p.second, 0.5); }, true},
};

// Repeats the work for about `seconds`, after one call that is not measured.
Speed Measure(const Work& work, Pictures& pictures, double seconds) {
  std::vector<double> times;
  const Clock::time_point begin = Clock::now();
  const auto elapsed = [](Clock::time_point since) {
    return std::chrono::duration<double>(Clock::now() - since).count();
  };
  work.run(pictures);
  while (times.size() < kLeastRepetitions ||
         (elapsed(begin) < seconds && times.size() < kMostRepetitions)) {
    pictures.Restore();
    const Clock::time_point start = Clock::now();
    work.run(pictures);
    times.push_back(std::max(elapsed(start), 1e-9));
  }
  std::sort(times.begin(), times.end());
  const double median = times[times.size() / 2];
  const vx::Image& picture = work.between ? pictures.between : pictures.out;
  const double pixels = static_cast<double>(picture.width()) * picture.height();
  return {pixels / median / 1e6, (times[times.size() * 3 / 4] - times[times.size() / 4]) / median,
          /*of_memcpy=*/1, static_cast<int32_t>(times.size())};
}

void UseThreads(int32_t count) {
  VXHost_SetNumThreads(count);
  VX_SetMotionThreads(std::min(count, 256));
}

}  // namespace

std::vector<BenchRow> RunBench(
    const BenchSettings& settings,
    const std::function<void(int index, int count, const std::string& name)>& announce) {
  const int variants = settings.threads > 1 ? 2 : 1;
  const int count = static_cast<int>(std::size(kWorks) * std::size(kDepths)) * variants;
  const double seconds = settings.seconds / count;
  std::vector<BenchRow> rows;
  int index = 0;
  for (const int32_t depth : kDepths) {
    Pictures pictures(settings, depth);
    const size_t memcpy_row = rows.size();
    for (const Work& work : kWorks) {
      const std::string name = std::string(work.name) + ", " + std::to_string(depth) + " bits";
      const auto measure = [&](int32_t threads) {
        announce(index++, count, name);
        UseThreads(threads);
        return Measure(work, pictures, seconds);
      };
      BenchRow row{work.name, depth, measure(1), {}};
      if (settings.threads > 1) row.all_threads = measure(settings.threads);
      rows.push_back(row);
      const BenchRow& copy = rows[memcpy_row];
      BenchRow& last = rows.back();
      last.one_thread.of_memcpy = last.one_thread.mpixels / copy.one_thread.mpixels;
      if (last.all_threads) {
        last.all_threads->of_memcpy = last.all_threads->mpixels / copy.all_threads->mpixels;
      }
    }
  }
  UseThreads(settings.threads);
  return rows;
}

}  // namespace vxcli
