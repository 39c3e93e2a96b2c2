// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Converts four pixels between stored and linear values, with the same results as
// VXp_LinearLight.h.
//
// Most of the time is spent on loading table entries. Therefore entries i and i + 1 are loaded
// together as the two 16-bit halves of a lane, and 16-bit values are processed eight at a time.

#include <cstring>

#include "blend/VXp_LinearLight.h"
#include "frame/VXp_PixelGroup.h"
#include "frame/VXp_Rows.h"

using VXp_HalfLanes = uint16_t __attribute__((vector_size(16)));

// --- entries of the tables -----------------------------------------------------------------------

// Returns entries i and i + 1 of the table at byte `offset` of `tables`, as the low and high half
// of a word. For the last entry of `linearize`, i + 1 is the first entry of `delinearize`; callers
// must give it the weight 0.
inline uint32_t VXp_EntryPair(const VX_LinearBlendingTables& tables, size_t offset, uint32_t i) {
  uint32_t pair;
  std::memcpy(&pair, reinterpret_cast<const char*>(&tables) + offset + size_t{i} * 2, sizeof pair);
  return pair;
}

// Returns four entries of the table for 8-bit values, one in each lane.
inline VXp_IntLanes VXp_Entries(const uint16_t* table, uint8_t i0, uint8_t i1, uint8_t i2,
                                uint8_t i3) {
#ifdef __SSE2__
  __m128i v = _mm_cvtsi32_si128(table[i0]);
  v = _mm_insert_epi16(v, table[i1], 2);
  v = _mm_insert_epi16(v, table[i2], 4);
  return reinterpret_cast<VXp_IntLanes>(_mm_insert_epi16(v, table[i3], 6));
#else
  return VXp_IntLanes{table[i0], table[i1], table[i2], table[i3]};
#endif
}

// Returns the entry pairs for four 16-bit indices; the first index is in the lowest bits.
inline VXp_WordLanes VXp_EntryPairs(const VX_LinearBlendingTables& tables, size_t offset,
                                    uint64_t indices) {
  const auto pair = [&](int32_t k) {
    return VXp_EntryPair(tables, offset, static_cast<uint16_t>(indices >> (16 * k)));
  };
  return VXp_WordLanes{pair(0), pair(1), pair(2), pair(3)};
}

// Returns (first - 32768) * low + (second - 32768) * high for each lane, where first and second are
// the entries of its pair. The weights low and high are in the corresponding halves of `weights`
// and are 0..32767. The bias makes the entries fit signed 16 bits.
inline VXp_IntLanes VXp_WeighPairs(VXp_WordLanes pairs, VXp_HalfLanes weights) {
  const VXp_WordLanes biased = pairs ^ 0x80008000u;
#ifdef __SSE2__
  return reinterpret_cast<VXp_IntLanes>(
      _mm_madd_epi16(reinterpret_cast<__m128i>(biased), reinterpret_cast<__m128i>(weights)));
#else
  const auto low = [](auto v) { return reinterpret_cast<VXp_IntLanes>(v << 16) >> 16; };
  const auto high = [](auto v) { return reinterpret_cast<VXp_IntLanes>(v) >> 16; };
  const auto factors = reinterpret_cast<VXp_WordLanes>(weights);
  return low(biased) * low(factors) + high(biased) * high(factors);
#endif
}

// --- eight values of 16 bits ---------------------------------------------------------------------

// Interleaves two channels of four pixels, each truncated to 16 bits.
inline VXp_HalfLanes VXp_Paired(VXp_IntLanes even, VXp_IntLanes odd) {
  return reinterpret_cast<VXp_HalfLanes>((even & 0xFFFF) | odd << 16);
}
inline VXp_IntLanes VXp_EvenHalves(VXp_HalfLanes v) {
  return reinterpret_cast<VXp_IntLanes>(v) & 0xFFFF;
}
inline VXp_IntLanes VXp_OddHalves(VXp_HalfLanes v) {
  return reinterpret_cast<VXp_IntLanes>(reinterpret_cast<VXp_WordLanes>(v) >> 16);
}

// Returns min(v, 32768) in each lane.
inline VXp_HalfLanes VXp_ClampedToWhite(VXp_HalfLanes v) {
#ifdef __SSE2__
  return v - reinterpret_cast<VXp_HalfLanes>(
                 _mm_subs_epu16(reinterpret_cast<__m128i>(v), _mm_set1_epi16(-32768)));
#else
  return v < 32768 ? v : VXp_HalfLanes{} + uint16_t{32768};
#endif
}

// Converts linear values to stored ones, both at 16 bits, by interpolation between entries i and i
// + 1. For white, i is the last entry but one, so that entry i + 1 exists.
inline VXp_HalfLanes VXp_DelinearizeHalves(const VX_LinearBlendingTables& tables, VXp_HalfLanes x) {
  x = VXp_ClampedToWhite(x);
  const VXp_HalfLanes i = (x >> 3) - (x >> 15);
  const VXp_HalfLanes high = x - (i << 3);
  const VXp_HalfLanes low = 8 - high;
  uint64_t indices[2];
  std::memcpy(indices, &i, sizeof indices);
  constexpr size_t kOffset = offsetof(VX_LinearBlendingTables, delinearize);
  const auto first = VXp_WeighPairs(VXp_EntryPairs(tables, kOffset, indices[0]),
                                    __builtin_shufflevector(low, high, 0, 8, 1, 9, 2, 10, 3, 11));
  const auto second =
      VXp_WeighPairs(VXp_EntryPairs(tables, kOffset, indices[1]),
                     __builtin_shufflevector(low, high, 4, 12, 5, 13, 6, 14, 7, 15));
  const VXp_IntLanes v0 = (first + 4) >> 3, v1 = (second + 4) >> 3;
#ifdef __SSE2__
  const auto v = reinterpret_cast<VXp_HalfLanes>(
      _mm_packs_epi32(reinterpret_cast<__m128i>(v0), reinterpret_cast<__m128i>(v1)));
#else
  const auto v =
      __builtin_shufflevector(reinterpret_cast<VXp_HalfLanes>(v0),
                              reinterpret_cast<VXp_HalfLanes>(v1), 0, 2, 4, 6, 8, 10, 12, 14);
#endif
  return v ^ uint16_t { 0x8000 };
}

// Returns (255 v + 16384) >> 15, computed as the upper half of 510 v plus 1 if its lower half
// rounds up.
inline VXp_HalfLanes VXp_HalvesToBytes(VXp_HalfLanes v) {
#ifdef __SSE2__
  const auto upper = reinterpret_cast<VXp_HalfLanes>(
      _mm_mulhi_epu16(reinterpret_cast<__m128i>(v), _mm_set1_epi16(510)));
  return upper + (v * 510 >> 15);
#else
  const auto to_byte = [](VXp_IntLanes c) { return (c * 255 + 16384) >> 15; };
  return VXp_Paired(to_byte(VXp_EvenHalves(v)), to_byte(VXp_OddHalves(v)));
#endif
}

// --- four values in lanes ------------------------------------------------------------------------

inline VXp_IntLanes VXp_DelinearizeFour(const VX_LinearBlendingTables& tables, VXp_IntLanes x) {
  const VXp_IntLanes clamped = VXp_EvenHalves(VXp_ClampedToWhite(VXp_Paired(x, VXp_IntLanes{})));
  const VXp_IntLanes i = (clamped >> 3) - (clamped >> 15);
  const VXp_IntLanes f = clamped - (i << 3);
  constexpr size_t kOffset = offsetof(VX_LinearBlendingTables, delinearize);
  const auto pair = [&](int32_t k) {
    return VXp_EntryPair(tables, kOffset, static_cast<uint32_t>(i[k]));
  };
  const VXp_WordLanes pairs = {pair(0), pair(1), pair(2), pair(3)};
  return ((VXp_WeighPairs(pairs, VXp_Paired(8 - f, f)) + 4) >> 3) + 32768;
}

// Converts stored values to linear ones. The weight of the lower entry, 32768 - f, may not fit
// signed 16 bits. Therefore the entry is weighted with 32767 - f and added once more.
inline VXp_IntLanes VXp_LinearizeFour(const VX_LinearBlendingTables& tables, VXp_IntLanes c) {
  const VXp_IntLanes clamped = VXp_EvenHalves(VXp_ClampedToWhite(VXp_Paired(c, VXp_IntLanes{})));
  const VXp_IntLanes p = (clamped << 8) - clamped;
  const VXp_IntLanes j = p >> 15;
  const VXp_IntLanes f = p & 32767;
  constexpr size_t kOffset = offsetof(VX_LinearBlendingTables, linearize);
  const auto pair = [&](int32_t k) {
    return VXp_EntryPair(tables, kOffset, static_cast<uint32_t>(j[k]));
  };
  const VXp_WordLanes pairs = {pair(0), pair(1), pair(2), pair(3)};
  const auto lower = reinterpret_cast<VXp_IntLanes>(pairs & 0xFFFFu) - 32768;
  return ((VXp_WeighPairs(pairs, VXp_Paired(32767 - f, f)) + lower + 16384) >> 15) + 32768;
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

// Stores the alpha of the pixels for which `acts` is set.
template <class Pixel, class Lanes>
void VXp_StoreAlphaWhere(VXp_IntLanes acts, Lanes alpha, Pixel* to) {
  auto p = VXp_LoadGroup<4>(to);
  p.alpha = acts ? alpha : p.alpha;
  VXp_StoreGroup(to, p);
}

template <class Pixel>
struct VXp_LinearLanes;

// Replaces the class RoundTrip for pixels of more than 8 bits, which have too many values for a
// table.
struct VXp_NoRoundTrip {
  static constexpr bool Serves(int32_t /*count*/) { return false; }
  template <class... Arguments>
  static void Store(const Arguments&...) {}
};

template <>
struct VXp_LinearLanes<VX_Pixel8> {
  using Working = VXp_GroupOf<VX_Pixel16, 4>;

  static VXp_IntLanes AlphaToWorking(VXp_IntLanes a) {
    return (a << 7) + (((a << 15) + (a << 7) + 33200) >> 16);
  }
  static VXp_IntLanes AlphaBack(VXp_IntLanes a) {
    return VXp_EvenHalves(VXp_HalvesToBytes(VXp_Paired(a, VXp_IntLanes{})));
  }

  static Working Load(const VX_Pixel8* from, const VX_LinearBlendingTables& t) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(from);
    const auto channel = [&](ptrdiff_t at) {
      return VXp_Entries(t.linearize, bytes[at], bytes[at + 4], bytes[at + 8], bytes[at + 12]);
    };
    return {AlphaToWorking(VXp_LoadGroup<4>(from).alpha), channel(1), channel(2), channel(3)};
  }

  // Alpha and green share a vector of 16-bit values, and so do red and blue.
  static void Store(const Working& p, VXp_IntLanes acts, const VX_LinearBlendingTables& t,
                    VX_Pixel8* to) {
    const VXp_HalfLanes rb = VXp_DelinearizeHalves(t, VXp_Paired(p.red, p.blue));
    const VXp_HalfLanes ag = VXp_Paired(p.alpha, VXp_DelinearizeFour(t, p.green));
    const auto bytes = [](VXp_HalfLanes v) {
      return reinterpret_cast<VXp_IntLanes>(VXp_HalvesToBytes(v) & uint16_t{0xFF});
    };
    const VXp_IntLanes pixels = bytes(ag) | bytes(rb) << 8;
    VXp_StoreLanes(to, 0, acts ? pixels : VXp_LoadLanes<VXp_IntLanes>(to));
  }

  // Stores colours that a mode copies without change. They are converted to linear light and back
  // like other colours, because the rounding is part of the result. A table of 256 bytes does both
  // conversions; building it is worthwhile for long rows only.
  class RoundTrip {
   public:
    bool Serves(int32_t count) const { return count >= 256; }

    void Store(const VX_Pixel8* from, VXp_IntLanes alpha, VXp_IntLanes acts,
               const VX_LinearBlendingTables& t, VX_Pixel8* to) {
      if (!ready_) Prepare(t);
      const auto* const bytes = reinterpret_cast<const uint8_t*>(from);
      const auto color = [&](ptrdiff_t at) {
        return back_[bytes[at + 1]] | back_[bytes[at + 2]] << 8 | back_[bytes[at + 3]] << 16;
      };
      const VXp_IntLanes colors = {color(0), color(4), color(8), color(12)};
      const VXp_IntLanes pixels = AlphaBack(alpha) | colors << 8;
      VXp_StoreLanes(to, 0, acts ? pixels : VXp_LoadLanes<VXp_IntLanes>(to));
    }

   private:
    void Prepare(const VX_LinearBlendingTables& t) {
      using Bytes = uint8_t __attribute__((vector_size(8)));
      for (ptrdiff_t k = 0; k < 32; ++k) {
        const auto light = VXp_LoadLanes<VXp_HalfLanes>(t.linearize, k);
        const VXp_HalfLanes back = VXp_HalvesToBytes(VXp_DelinearizeHalves(t, light));
        const Bytes eight = __builtin_convertvector(back, Bytes);
        std::memcpy(back_ + 8 * k, &eight, sizeof eight);
      }
      ready_ = true;
    }

    bool ready_ = false;
    uint8_t back_[256];
  };
};

template <>
struct VXp_LinearLanes<VX_Pixel16> {
  using Working = VXp_GroupOf<VX_Pixel16, 4>;
  using RoundTrip = VXp_NoRoundTrip;

  static VXp_IntLanes AlphaToWorking(VXp_IntLanes a) { return a; }
  static VXp_IntLanes AlphaBack(VXp_IntLanes a) { return a; }

  static Working Load(const VX_Pixel16* from, const VX_LinearBlendingTables& t) {
    const Working p = VXp_LoadGroup<4>(from);
    return {p.alpha, VXp_LinearizeFour(t, p.red), VXp_LinearizeFour(t, p.green),
            VXp_LinearizeFour(t, p.blue)};
  }
  static void Store(const Working& p, VXp_IntLanes acts, const VX_LinearBlendingTables& t,
                    VX_Pixel16* to) {
    const VXp_HalfLanes rg = VXp_DelinearizeHalves(t, VXp_Paired(p.red, p.green));
    const Working stored = {p.alpha, VXp_EvenHalves(rg), VXp_OddHalves(rg),
                            VXp_DelinearizeFour(t, p.blue)};
    VXp_StoreWhere(acts, stored, to);
  }
};

// The conversions of float pixels. Powers are computed by the C library, one value at a time.
template <>
struct VXp_LinearLanes<VX_PixelFloat> {
  using Working = VXp_GroupOf<VX_PixelFloat, 4>;
  using Light = VXp_LinearLight<VX_PixelFloat>;
  using RoundTrip = VXp_NoRoundTrip;

  static VXp_FloatLanes AlphaToWorking(VXp_FloatLanes a) { return a; }
  static VXp_FloatLanes AlphaBack(VXp_FloatLanes a) { return a; }

  static Working Load(const VX_PixelFloat* from, const VX_LinearBlendingTables& t) {
    VX_PixelFloat four[kVXp_Lanes];
    for (int32_t k = 0; k < kVXp_Lanes; ++k) {
      four[k] = Light::ToLinear(VXp_Load<VX_PixelFloat>(from + k), t);
    }
    return VXp_LoadGroup<4>(four);
  }
  static void Store(const Working& p, VXp_IntLanes acts, const VX_LinearBlendingTables& t,
                    VX_PixelFloat* to) {
    VX_PixelFloat four[kVXp_Lanes];
    VXp_StoreGroup(four, p);
    for (int32_t k = 0; k < kVXp_Lanes; ++k) {
      if (acts[k] != 0) VXp_Store(to + k, Light::FromLinear(four[k], t));
    }
  }
};
