// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The cases of iterators. What they call writes down where it was called and with what, and may
// fail or stop in the middle.

#include <atomic>
#include <memory>

#include "CheckWorlds.h"
#include "VX/VX_Iterate.h"

// Draws what a walk meets, and digests the calls that it makes in their order.
struct Walk {
  explicit Walk(Trial& trial)
      : stop_pixel(trial.Draw(4) == 0 ? trial.Draw(60) : -1),
        stop_row(trial.Draw(4) == 0 ? trial.Draw(4) : -1),
        throws(trial.Draw(4) == 0),
        row_code(trial.Draw(2) == 0 ? VX_ErrStopped : 77),
        base(trial.Draw(5)),
        final(trial.Draw(4) == 0 ? 0 : 1 + trial.Draw(20)) {
    progress.progress_func = trial.Draw(8) == 0 ? nullptr : &OnRow;
    progress.progress_refcon = this;
  }
  Walk(const Walk&) = delete;

  // Gives the pixel from its place and its input.
  template <size_t size>
  static VX_Err OnPixel(void* refcon, int32_t x, int32_t y, void* in, void* out) {
    Walk& walk = *static_cast<Walk*>(refcon);
    uint8_t pixel[size] = {};
    if (in != nullptr) std::memcpy(pixel, in, size);
    walk.Note(in != nullptr);
    walk.Note(static_cast<uint32_t>(x));
    walk.Note(static_cast<uint32_t>(y));
    for (uint8_t& byte : pixel) {
      walk.Note(byte);
      byte = static_cast<uint8_t>(byte + 3 * x + 7 * y + 1);
    }
    if (walk.pixels++ == walk.stop_pixel) return walk.Fail(99);
    std::memcpy(out, pixel, size);
    return VX_Ok;
  }

  static VX_Err OnRow(void* refcon, int32_t step, int32_t final_step) {
    Walk& walk = *static_cast<Walk*>(refcon);
    walk.Note(static_cast<uint32_t>(step));
    walk.Note(static_cast<uint32_t>(final_step));
    return walk.rows++ == walk.stop_row ? walk.Fail(walk.row_code) : VX_Ok;
  }

  void Give(Trial& trial) const {
    trial.Gave(pixels);
    trial.Gave(rows);
    trial.Gave(&digest, sizeof digest, sizeof digest);
  }

  const int32_t stop_pixel, stop_row;
  const bool throws;
  const VX_Err row_code;
  const int32_t base, final;
  VX_ProgressInfo progress{};
  int32_t pixels = 0, rows = 0;
  uint64_t digest = 1469598103934665603u;

 private:
  void Note(uint32_t word) { digest = (digest ^ word) * 1099511628211u; }
  VX_Err Fail(VX_Err code) const {
    if (throws) throw int32_t{code};
    return code;
  }
};

// `call(walk, src, area, function, dst)` over a source, over none, and in place; sometimes depths
// differ.
template <class Call>
void ForEachWalk(Trial& trial, Call call) {
  ForEachDepth([&]<class Pixel>(Frame<Pixel>&& dst) {
    Frame<Pixel> same(3);
    Frame<VX_Pixel16> other(2);
    for (int32_t i = 0; i < 3 * kWorldCases * trial.rounds(); ++i) {
      LayWorld(trial, dst);
      LayWorld(trial, same);
      LayWorld(trial, other);
      VX_LayerDef* const sources[] = {&same.world, &same.world, &dst.world, nullptr};
      VX_LayerDef* const src = trial.Draw(16) == 0 ? &other.world : sources[i % 4];
      const M_Rect rect = AnyRect(trial);
      const M_Rect* const area = trial.Draw(3) == 0 ? nullptr : &rect;
      Walk walk(trial);
      trial.Case("depth %d, case %d, source %s, %d x %d, area %d %d %d %d%s, pixel %d, row %d",
                 VXp_WorldDepth(&dst.world), i,
                 src == nullptr ? "none" : (src == &dst.world ? "itself" : "another"),
                 dst.world.width, dst.world.height, rect.left, rect.top, rect.right, rect.bottom,
                 area == nullptr ? " not given" : "", walk.stop_pixel, walk.stop_row);
      trial.Gave(call(walk, src, area, &Walk::OnPixel<sizeof(Pixel)>, &dst.world));
      walk.Give(trial);
      same.ExpectUntouched(trial);
      other.ExpectUntouched(trial);
      dst.Give(trial);
    }
  });
}

inline void CheckSlot(Trial& trial, VX_IterateFunc routine) {
  ForEachWalk(trial, [&](Walk& walk, VX_LayerDef* src, const M_Rect* area, VX_PixelFunc function,
                         VX_LayerDef* dst) {
    return routine(&walk.progress, walk.base, walk.final, src, area, &walk, function, dst);
  });
}

inline void CheckSlot(Trial& trial, VX_IterateOriginFunc routine) {
  ForEachWalk(trial, [&](Walk& walk, VX_LayerDef* src, const M_Rect* area, VX_PixelFunc function,
                         VX_LayerDef* dst) {
    const M_Point origin{static_cast<int16_t>(trial.Draw(9) - 4),
                         static_cast<int16_t>(trial.Draw(60) - 30)};
    return routine(&walk.progress, walk.base, walk.final, src, area,
                   trial.Draw(8) == 0 ? nullptr : &origin, &walk, function, dst);
  });
}

// Each table in a frame of its own, at the end of its page.
inline void CheckSlot(Trial& trial, VX_IterateLUTFunc routine) {
  Frame<VX_Pixel8> tables[4] = {Frame<VX_Pixel8>(1), Frame<VX_Pixel8>(1), Frame<VX_Pixel8>(1),
                                Frame<VX_Pixel8>(1)};
  ForEachWalk(
      trial, [&](Walk& walk, VX_LayerDef* src, const M_Rect* area, VX_PixelFunc, VX_LayerDef* dst) {
        const uint8_t* table[4];
        for (size_t i = 0; i < 4; ++i) {
          tables[i].Lay(trial, 64, 1, 0, kAtPageEnd);
          const auto* bytes = reinterpret_cast<const uint8_t*>(tables[i].data());
          table[i] = trial.Draw(4) == 0 ? nullptr : bytes;
        }
        return routine(&walk.progress, walk.base, walk.final, src, area, table[0], table[1],
                       table[2], table[3], dst);
      });
}

// A replacement may run on threads, so that only how often each turn came is compared, and the code
// where every turn fails alike.
inline void CheckSlot(Trial& trial, VX_IterateGenericFunc routine) {
  struct Turns {
    std::unique_ptr<std::atomic<int32_t>[]> count { new std::atomic<int32_t>[ 100 ]() };
    std::atomic<int32_t> wrong = 0;
    int32_t expected;
    VX_Err code;
  };
  const auto turn = [](void* refcon, int32_t thread, int32_t i, int32_t iterations) -> VX_Err {
    Turns& turns = *static_cast<Turns*>(refcon);
    const bool good = thread >= 0 && thread < U_GetNumThreads() && i >= 0 && i < 100 &&
                      iterations == turns.expected;
    ++(good ? turns.count[static_cast<size_t>(i)] : turns.wrong);
    return turns.code;
  };
  for (int32_t iterations = -3; iterations < 100; ++iterations) {
    for (const VX_Err code : {0, 99}) {
      trial.Case("%d iterations that give %d", iterations, code);
      Turns turns;
      turns.expected = iterations == -1 ? 1 : iterations;
      turns.code = code;
      trial.Gave(routine(iterations, &turns, turn));
      if (turns.wrong != 0) trial.Fail("calls with wrong arguments");
      for (size_t i = 0; code == VX_Ok && i < 100; ++i) trial.Gave(turns.count[i].load());
    }
  }
  trial.Case("no function");
  trial.Gave(routine(1, nullptr, nullptr));
}
