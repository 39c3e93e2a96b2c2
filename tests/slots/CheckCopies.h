// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The cases of copies: every pair of depths, rectangles that fit, overhang, scale or are no
// rectangles at all.

#include <optional>

#include "CheckWorlds.h"
#include "VX/VX_Copy.h"

struct CopyRects {
  std::optional<M_Rect> src, dst;

  CopyRects(Trial& trial, const VX_LayerDef& from, const VX_LayerDef& to)
      : src(AnyOf(trial, from)), dst(AnyOf(trial, to)) {
    if (src && trial.Draw(3) == 0) dst = Moved(trial, *src);
  }
  static const M_Rect* Pointer(const std::optional<M_Rect>& rect) {
    return rect ? &*rect : nullptr;
  }
  static std::string Text(const std::optional<M_Rect>& rect) {
    if (!rect) return "not given";
    return std::to_string(rect->left) + " " + std::to_string(rect->top) + " " +
           std::to_string(rect->right) + " " + std::to_string(rect->bottom);
  }

 private:
  static std::optional<M_Rect> AnyOf(Trial& trial, const VX_LayerDef& world) {
    const auto width = static_cast<int16_t>(world.width);
    const auto height = static_cast<int16_t>(world.height);
    static constexpr int16_t kFar[] = {INT16_MIN, -1, 0, 1, 3, INT16_MAX};
    const auto edge = [&trial] { return kFar[trial.Draw(6)]; };
    switch (trial.Draw(8)) {
      case 0: return std::nullopt;
      case 1: return M_Rect{0, 0, height, width};
      case 2: return M_Rect{edge(), edge(), edge(), edge()};
      case 3: return AnyRect(trial);
      default: break;
    }
    M_Rect inside{static_cast<int16_t>(trial.Draw(height)), static_cast<int16_t>(trial.Draw(width)),
                  0, 0};
    inside.bottom = static_cast<int16_t>(inside.top + 1 + trial.Draw(height - inside.top));
    inside.right = static_cast<int16_t>(inside.left + 1 + trial.Draw(width - inside.left));
    return inside;
  }

  // Of the same size somewhere else, where 16 bits allow it.
  static M_Rect Moved(Trial& trial, const M_Rect& rect) {
    const auto by = [](int16_t edge, int32_t way) {
      return static_cast<int16_t>(std::clamp<int32_t>(edge + way, INT16_MIN, INT16_MAX));
    };
    const int32_t h = trial.Draw(12) - 6;
    const int32_t v = trial.Draw(6) - 3;
    return {by(rect.top, v), by(rect.left, h), by(rect.bottom, v), by(rect.right, h)};
  }
};

// `call(src, dst, src_rect, dst_rect)` for worlds of all pairs of depths.
template <class Call>
void ForEachCopy(Trial& trial, Call call) {
  ForEachDepth([&](auto&& src) {
    ForEachDepth([&](auto&& dst) {
      for (int32_t i = 0; i < kWorldCases * trial.rounds(); ++i) {
        LayWorld(trial, src);
        LayWorld(trial, dst);
        const CopyRects rects(trial, src.world, dst.world);
        trial.Case("depth %d to %d, case %d, %d x %d to %d x %d, from %s, to %s",
                   VXp_WorldDepth(&src.world), VXp_WorldDepth(&dst.world), i, src.world.width,
                   src.world.height, dst.world.width, dst.world.height,
                   CopyRects::Text(rects.src).c_str(), CopyRects::Text(rects.dst).c_str());
        trial.Gave(call(&src.world, &dst.world, CopyRects::Pointer(rects.src),
                        CopyRects::Pointer(rects.dst)));
        src.ExpectUntouched(trial);
        dst.Give(trial);
      }
    });
  });
}

// One of 32 arguments is missing.
template <class Thing>
Thing* Sometimes(Trial& trial, Thing* thing) {
  return trial.Draw(32) == 0 ? nullptr : thing;
}

inline void CheckSlot(Trial& trial, VX_CopyBitsFunc routine) {
  ForEachCopy(trial, [&](VX_LayerDef* src, VX_LayerDef* dst, const M_Rect* from, const M_Rect* to) {
    VX_LayerDef without = *src;
    without.data = Sometimes(trial, src->data);
    return routine(nullptr, Sometimes(trial, &without), Sometimes(trial, dst), from, to);
  });
}

// A host bitmap over the memory of a frame.
class Bitmap {
 public:
  Bitmap(Trial& trial, const VX_LayerDef& world) {
    record_.base = world.data;
    record_.rowbytes = world.rowbytes;
    record_.width = world.width;
    record_.height = world.height;
    record_.bits_per_pixel =
        trial.Draw(32) == 0 ? int16_t{24} : static_cast<int16_t>(VXp_WorldDepth(&world) * 4);
    record_.channel_order = trial.Draw(2) == 0 ? BM_ORDER_ARGB : BM_ORDER_BGRA;
  }
  Bitmap(const Bitmap&) = delete;
  BM_World** handle() { return &pointer_; }

 private:
  BM_World record_{};
  BM_World* pointer_ = &record_;
};

inline void CheckSlot(Trial& trial, VX_WorldCopyFunc routine) {
  ForEachCopy(trial, [&](VX_LayerDef* src, VX_LayerDef* dst, const M_Rect* from, const M_Rect* to) {
    Bitmap in(trial, *src), out(trial, *dst);
    return routine(nullptr, Sometimes(trial, in.handle()), Sometimes(trial, out.handle()), from,
                   to);
  });
}
