// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Converts a group of pixels between stored and linear values, with the same results as
// VXp_LinearLight.h.
//
// Most of the time is spent on loading table entries. Therefore entries i and i + 1 are loaded
// together as the two 16-bit halves of a lane.

#include <cstring>

#include "blend/VXp_LinearLight.h"
#include "frame/VXp_PixelGroup.h"
#include "frame/VXp_Rows.h"

// --- tables --------------------------------------------------------------------------------------

// Returns v + (f (next - v) + half) >> bits for entries v and next of a table, where the lanes of
// `index` have the number of v. The entry after the last one of a table is loaded from the memory
// after it; then f must be 0.
template <int32_t bits, class Ints>
Ints VXp_BetweenEntries(const uint16_t* table, Ints index, Ints f) {
  const Ints pair = VXp_Gathered<2>(table, index);
  const Ints v = pair & 0xFFFF;
  const auto next = reinterpret_cast<Ints>(reinterpret_cast<VXp_WordsLike<Ints>>(pair) >> 16);
  return v + ((VXp_WrappedProduct(f, next - v) + (1 << (bits - 1))) >> bits);
}

// Returns the low 16 bits of each lane, at most white.
template <class Ints>
Ints VXp_ClampedToWhite(Ints v) {
  const Ints low = v & 0xFFFF;
  return low < 32768 ? low : Ints{} + 32768;
}

// Converts linear values to stored ones, both at 16 bits.
template <class Ints>
Ints VXp_DelinearizeLanes(const VX_LinearBlendingTables& tables, Ints value) {
  const Ints x = VXp_ClampedToWhite(value);
  return VXp_BetweenEntries<3>(tables.delinearize, x >> 3, x & 7);
}

// Converts stored values to linear ones, both at 16 bits.
template <class Ints>
Ints VXp_LinearizeLanes(const VX_LinearBlendingTables& tables, Ints value) {
  const Ints x = VXp_ClampedToWhite(value), p = (x << 8) - x;
  return VXp_BetweenEntries<15>(tables.linearize, p >> 15, p & 32767);
}

// --- pixels --------------------------------------------------------------------------------------

// Stores the pixels for which `acts` is set, and leaves the others unchanged.
template <class Pixel, class L>
void VXp_StoreWhere(typename L::Ints acts, VXp_Argb<L> p, Pixel* to) {
  if (L::Any(~acts)) {
    const VXp_Argb<L> old = VXp_LoadAs<L>(to);
    p = {acts ? p.alpha : old.alpha, acts ? p.red : old.red, acts ? p.green : old.green,
         acts ? p.blue : old.blue};
  }
  VXp_StoreGroup(to, p);
}

// Replaces the class RoundTrip for pixels of more than 8 bits, which have too many values for a
// table.
struct VXp_NoRoundTrip {
  static constexpr bool Serves(int32_t /*count*/) { return false; }
  template <class... Arguments>
  static void Store(const Arguments&...) {}
};

// The conversions of a group of `lanes` pixels: Working are the linear values, Stored the others.
template <class Pixel, int32_t lanes = kVXp_TargetLanes>
struct VXp_LinearLanes;

template <int32_t lanes>
struct VXp_LinearLanes<VX_Pixel8, lanes> {
  using Working = VXp_GroupOf<VX_Pixel16, lanes>;
  using Stored = VXp_GroupOf<VX_Pixel8, lanes>;
  using Ints = VXp_Lanes<int32_t, lanes>;

  static Ints AlphaToWorking(Ints a) { return (a << 7) + (((a << 15) + (a << 7) + 33200) >> 16); }
  static Ints AlphaBack(Ints a) { return (255 * (a & 0xFFFF) + 16384) >> 15; }

  static Working ToLinear(const Stored& p, const VX_LinearBlendingTables& t) {
    const auto channel = [&](Ints c) { return VXp_Gathered<2>(t.linearize, c) & 0xFFFF; };
    return {AlphaToWorking(p.alpha), channel(p.red), channel(p.green), channel(p.blue)};
  }
  static Stored FromLinear(const Working& p, const VX_LinearBlendingTables& t) {
    const auto channel = [&](Ints c) { return AlphaBack(VXp_DelinearizeLanes(t, c)); };
    return {AlphaBack(p.alpha), channel(p.red), channel(p.green), channel(p.blue)};
  }

  // Stores colours that a mode copies without change. They are converted to linear light and back
  // like other colours, because the rounding is part of the result. A table of 256 bytes does both
  // conversions; building it is worthwhile for long rows only.
  class RoundTrip {
   public:
    bool Serves(int32_t count) const { return count >= kValues; }

    void Store(const VX_Pixel8* from, Ints alpha, Ints acts, const VX_LinearBlendingTables& t,
               VX_Pixel8* to) {
      if (!ready_) Prepare(t);
      const auto channel = [&](Ints c) { return VXp_Gathered<1>(back_, c) & 0xFF; };
      const Stored p = VXp_LoadGroup<lanes>(from);
      VXp_StoreWhere(
          acts, Stored{AlphaBack(alpha), channel(p.red), channel(p.green), channel(p.blue)}, to);
    }

   private:
    static constexpr int32_t kValues = 256;

    void Prepare(const VX_LinearBlendingTables& t) {
      for (int32_t v = 0; v < kValues; ++v) {
        back_[v] = VXp_AlphaTo8(VXp_Delinearize(t, t.linearize[v]));
      }
      ready_ = true;
    }

    bool ready_ = false;
    uint8_t back_[kValues + 3];  // four entries are loaded at once
  };
};

template <int32_t lanes>
struct VXp_LinearLanes<VX_Pixel16, lanes> {
  using Working = VXp_GroupOf<VX_Pixel16, lanes>;
  using Stored = Working;
  using Ints = VXp_Lanes<int32_t, lanes>;
  using RoundTrip = VXp_NoRoundTrip;

  static Ints AlphaToWorking(Ints a) { return a; }
  static Ints AlphaBack(Ints a) { return a; }

  static Working ToLinear(const Stored& p, const VX_LinearBlendingTables& t) {
    return {p.alpha, VXp_LinearizeLanes(t, p.red), VXp_LinearizeLanes(t, p.green),
            VXp_LinearizeLanes(t, p.blue)};
  }
  static Stored FromLinear(const Working& p, const VX_LinearBlendingTables& t) {
    return {p.alpha, VXp_DelinearizeLanes(t, p.red), VXp_DelinearizeLanes(t, p.green),
            VXp_DelinearizeLanes(t, p.blue)};
  }
};

// The conversions of float pixels, by powers.
template <int32_t lanes>
struct VXp_LinearLanes<VX_PixelFloat, lanes> {
  using Working = VXp_GroupOf<VX_PixelFloat, lanes>;
  using Stored = Working;
  using Floats = VXp_Lanes<float, lanes>;
  using Ints = VXp_Lanes<int32_t, lanes>;
  using RoundTrip = VXp_NoRoundTrip;

  static Floats AlphaToWorking(Floats a) { return a; }
  static Floats AlphaBack(Floats a) { return a; }

  static Working ToLinear(const Stored& p, const VX_LinearBlendingTables& t) {
    return Raised(p, VXp_PowLanes(t.gamma));
  }
  static Stored FromLinear(const Working& p, const VX_LinearBlendingTables& t) {
    return Raised(p, VXp_PowLanes(t.invGamma));
  }

 private:
  static Working Raised(const Working& p, const VXp_PowLanes& power) {
    return {p.alpha, power(p.red), power(p.green), power(p.blue)};
  }
};
