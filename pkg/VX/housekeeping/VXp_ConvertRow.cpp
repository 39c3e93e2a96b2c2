// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "housekeeping/VXp_ConvertRow.h"

#include <cstring>
#include <type_traits>
#include <utility>

#include "frame/VXp_Convert.h"
#include "frame/VXp_LaneTraits.h"
#include "frame/VXp_Rows.h"

namespace {

using Bytes = VXp_Lanes<uint8_t, 4 * kVXp_TargetLanes>;
using Halves = VXp_Lanes<uint16_t, 2 * kVXp_TargetLanes>;
using Signed = VXp_Lanes<int16_t, 2 * kVXp_TargetLanes>;
using Ints = VXp_Lanes<int32_t, kVXp_TargetLanes>;
using Floats = VXp_Lanes<float, kVXp_TargetLanes>;

constexpr size_t kStep = 4 * kVXp_TargetLanes;  // channels per step

// A simple loop that the compiler vectorises, used if there is no faster vector code.
template <class To, class From>
void ConvertPlainly(const char* from, char* to, size_t channels) {
  using ToChannel = VX_ChannelOf<To>;
  using FromChannel = VX_ChannelOf<From>;
  for (size_t i = 0; i < channels; ++i) {
    const auto channel = VXp_Load<FromChannel>(from + i * sizeof(FromChannel));
    VXp_Store(to + i * sizeof(ToChannel), VXp_ConvertChannel<To, From>(channel));
  }
}

// Converts a row in steps of kStep channels, and the remainder in a simple loop.
template <class To, class From, class Step>
void ConvertBySteps(const char* from, char* to, size_t channels, Step step) {
  constexpr size_t kFromBytes = sizeof(VX_ChannelOf<From>);
  constexpr size_t kToBytes = sizeof(VX_ChannelOf<To>);
  for (; channels >= kStep; channels -= kStep) {
    VXp_PrefetchAt<kStep * kFromBytes>(from, 2048);
    step(from, to);
    from += kStep * kFromBytes;
    to += kStep * kToBytes;
  }
  ConvertPlainly<To, From>(from, to, channels);
}

// Converts 8 bits to 16 bits; `doubled` is 257 c. (257 c + 1) / 2 equals (c * 32768 + 128) / 255
// except at c = 254, where it is 1 too small. (A comparison that is true gives -1.)
Halves WordsOf(Halves doubled) {
  return (doubled >> 1) + (doubled & 1) - reinterpret_cast<Halves>(doubled == 254 * 257);
}

// Distributes 8-byte parts to the sections of 16 bytes: section s gets part s of the lower half of
// the vector, then part s of the upper half.
template <size_t... i>
Bytes Sectioned(Bytes bytes, std::index_sequence<i...>) {
  const auto c = reinterpret_cast<Ints>(bytes);
  return reinterpret_cast<Bytes>(__builtin_shufflevector(
      c, c, static_cast<int32_t>(i % 4 / 2 * (sizeof...(i) / 2) + i / 4 * 2 + i % 2)...));
}

// Doubles each byte of one half of each section.
template <size_t half, size_t... i>
Halves Doubled(Bytes c, std::index_sequence<i...>) {
  return reinterpret_cast<Halves>(
      __builtin_shufflevector(c, c, static_cast<int32_t>(i / 16 * 16 + half * 8 + i % 16 / 2)...));
}

void BytesToWords(const char* from, char* to) {
  constexpr std::make_index_sequence<sizeof(Bytes)> kBytes;
  constexpr std::make_index_sequence<kVXp_TargetLanes> kParts;
  const Bytes c = Sectioned(VXp_Load<Bytes>(from), kParts);
  VXp_Store(to, WordsOf(Doubled<0>(c, kBytes)));
  VXp_Store(to + sizeof(Halves), WordsOf(Doubled<1>(c, kBytes)));
}

// Returns (255 c + 16384) >> 15, computed as (510 c + 32768) >> 16 from the two halves of 510 c.
Halves BytesOf(Halves words) {
  const Halves factor = Halves{} + uint16_t{510};
  return (VXp_MulHigh(words, factor) + (words * factor >> 15)) & uint16_t{0xFF};
}

void WordsToBytes(const char* from, char* to) {
  const Halves low = BytesOf(VXp_Load<Halves>(from));
  const Halves high = BytesOf(VXp_Load<Halves>(from + sizeof low));
  VXp_Store(to, VXp_Unsectioned<2>(VXp_PackedBytes(low, high)));
}

Halves ByteLanes(const char* from) {
  return VXp_PackedHalves(VXp_UnitAsByte(VXp_Load<Floats>(from)),
                          VXp_UnitAsByte(VXp_Load<Floats>(from + sizeof(Floats))));
}

void FloatsToBytes(const char* from, char* to) {
  const Halves low = ByteLanes(from), high = ByteLanes(from + 2 * sizeof(Floats));
  VXp_Store(to, VXp_Unsectioned<4>(VXp_PackedBytes(low, high)));
}

// Converts floats to 16 bits minus 32768, because packing is signed. The product is exact.
Ints WordLanes(const char* from) {
  const Floats product = VXp_ClampUnitLanes(VXp_Load<Floats>(from)) * 32768.0f;
  return VXp_Truncated(product + kVXp_BelowHalf) - 32768;
}

Halves WordsOf(const char* from) {
  const Halves packed = VXp_PackedHalves(WordLanes(from), WordLanes(from + sizeof(Floats)));
  return VXp_Unsectioned<2>(packed + uint16_t{0x8000});
}

void FloatsToWords(const char* from, char* to) {
  VXp_Store(to, WordsOf(from));
  VXp_Store(to + sizeof(Halves), WordsOf(from + 2 * sizeof(Floats)));
}

// Returns the low 8 bits of (255 c + noise) >> 15. Without the highest bit of c, which is set from
// 32768 (white) on, this is (256 c + (noise - c)) >> 15, and the lowest eight bits of noise - c do
// not affect the result, so 16-bit lanes are sufficient. With the highest bit the result is 1 less:
// 255 * 32768 >> 15 is 255, which is -1 modulo 256.
Halves Dithered(Halves c, const uint16_t* noise) {
  const Halves low = c & uint16_t{0x7FFF};
  const auto rest = reinterpret_cast<Signed>(VXp_Load<Halves>(noise) - low) >> 8;
  return (((low + reinterpret_cast<Halves>(rest)) >> 7) - (c >> 15)) & uint16_t{0xFF};
}

template <class From>
Bytes DitheredStep(const char* from, const uint16_t* noise) {
  const auto words = [&](int32_t part) {
    if constexpr (std::is_same_v<From, VX_Pixel16>) {
      return VXp_Load<Halves>(from + part * sizeof(Halves));
    } else {
      return WordsOf(from + part * 2 * sizeof(Floats));
    }
  };
  const Halves low = Dithered(words(0), noise);
  const Halves high = Dithered(words(1), noise + 2 * kVXp_TargetLanes);
  return VXp_Unsectioned<2>(VXp_PackedBytes(low, high));
}

}  // namespace

template <class To, class From>
void VXp_ConvertRow(const char* from, char* to, size_t channels) {
  constexpr int32_t kTo = kVXp_DepthOf<To>;
  constexpr int32_t kFrom = kVXp_DepthOf<From>;
  if constexpr (kTo == kFrom) {
    std::memmove(to, from, channels * sizeof(VX_ChannelOf<To>));
  } else if constexpr (kFrom == 8 && kTo == 16) {
    ConvertBySteps<To, From>(from, to, channels, BytesToWords);
  } else if constexpr (kFrom == 16 && kTo == 8) {
    ConvertBySteps<To, From>(from, to, channels, WordsToBytes);
  } else if constexpr (kFrom == 32 && kTo == 8) {
    ConvertBySteps<To, From>(from, to, channels, FloatsToBytes);
  } else if constexpr (kFrom == 32 && kTo == 16) {
    ConvertBySteps<To, From>(from, to, channels, FloatsToWords);
  } else {
    ConvertPlainly<To, From>(from, to, channels);
  }
}

template <class From>
void VXp_DitherRow(const char* from, char* bytes, size_t channels, const uint16_t* noise) {
  using Channel = VX_ChannelOf<From>;
  size_t i = 0;
  for (; i + kStep <= channels; i += kStep) {
    VXp_Store(bytes + i, DitheredStep<From>(from + i * sizeof(Channel), noise + i));
  }
  for (; i < channels; ++i) {
    const auto channel = VXp_Load<Channel>(from + i * sizeof(Channel));
    const uint32_t c = VXp_ConvertChannel<VX_Pixel16, From>(channel);
    bytes[i] = static_cast<char>((c * 255u + noise[i]) >> 15);
  }
}

template void VXp_DitherRow<VX_Pixel16>(const char*, char*, size_t, const uint16_t*);
template void VXp_DitherRow<VX_PixelFloat>(const char*, char*, size_t, const uint16_t*);
template void VXp_ConvertRow<VX_Pixel8, VX_Pixel8>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel8, VX_Pixel16>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel8, VX_PixelFloat>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel16, VX_Pixel8>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel16, VX_Pixel16>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel16, VX_PixelFloat>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_PixelFloat, VX_Pixel8>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_PixelFloat, VX_Pixel16>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_PixelFloat, VX_PixelFloat>(const char*, char*, size_t);
