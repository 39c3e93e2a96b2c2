// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Conversion between stored and linear values, by the tables of a profile.
//
// In linear light, integer pixels of both depths blend at 16 bits, float pixels as floats.
// VXp_LinearLight<Pixel> defines the type of the pixel that is blended and the conversions in both
// directions. Alpha is not encoded with a tone curve: only its scale changes.

#include "VX/VX_LinearBlendingTables.h"
#include "blend/VXp_PowLanes.h"
#include "blend/modes/VXp_Mode.h"
#include "blend/modes/VXp_SoftLightCurves.h"

// Converts alpha from 8 to 16 bits. The product does not fit signed 32 bits, but fits unsigned.
constexpr uint16_t VXp_AlphaTo16(uint8_t a) {
  return static_cast<uint16_t>((a * 8421504u + 33200u) >> 16);
}

constexpr uint8_t VXp_AlphaTo8(uint16_t a) {
  return static_cast<uint8_t>((a * 255u + 16384u) >> 15);
}

// Converts a linear value 0..32768 to a stored one 0..32768.
inline uint16_t VXp_Delinearize(const VX_LinearBlendingTables& tables, uint16_t x) {
  return static_cast<uint16_t>(VXp_LookUpEighths(tables.delinearize, x));
}

template <class Pixel>
struct VXp_LinearLight;

template <>
struct VXp_LinearLight<VX_Pixel8> {
  using Working = VX_Pixel16;

  static uint16_t ToWorking(uint8_t a) { return VXp_AlphaTo16(a); }
  static uint8_t AlphaBack(uint16_t a) { return VXp_AlphaTo8(a); }

  static VX_Pixel16 ToLinear(const VX_Pixel8& p, const VX_LinearBlendingTables& t) {
    return {VXp_AlphaTo16(p.alpha), t.linearize[p.red], t.linearize[p.green], t.linearize[p.blue]};
  }
  static VX_Pixel8 FromLinear(const VX_Pixel16& p, const VX_LinearBlendingTables& t) {
    return {VXp_AlphaTo8(p.alpha), Stored(p.red, t), Stored(p.green, t), Stored(p.blue, t)};
  }

 private:
  static uint8_t Stored(uint16_t x, const VX_LinearBlendingTables& t) {
    return VXp_AlphaTo8(VXp_Delinearize(t, x));
  }
};

template <>
struct VXp_LinearLight<VX_Pixel16> {
  using Working = VX_Pixel16;

  static uint16_t ToWorking(uint16_t a) { return a; }
  static uint16_t AlphaBack(uint16_t a) { return a; }

  static VX_Pixel16 ToLinear(const VX_Pixel16& p, const VX_LinearBlendingTables& t) {
    return {p.alpha, Linear(p.red, t), Linear(p.green, t), Linear(p.blue, t)};
  }
  static VX_Pixel16 FromLinear(const VX_Pixel16& p, const VX_LinearBlendingTables& t) {
    return {p.alpha, VXp_Delinearize(t, p.red), VXp_Delinearize(t, p.green),
            VXp_Delinearize(t, p.blue)};
  }

 private:
  // Interpolates between the two entries around the stored value at 8-bit scale. Values above white
  // use the last entry.
  static uint16_t Linear(uint16_t c, const VX_LinearBlendingTables& t) {
    const int32_t p = 255 * std::min<int32_t>(c, 32768);
    const int32_t j = p >> 15;
    const int32_t f = p & 32767;
    const int32_t v = t.linearize[j];
    if (f == 0) return static_cast<uint16_t>(v);
    return static_cast<uint16_t>(v + ((f * (t.linearize[j + 1] - v) + 16384) >> 15));
  }
};

template <>
struct VXp_LinearLight<VX_PixelFloat> {
  using Working = VX_PixelFloat;

  static float ToWorking(float a) { return a; }
  static float AlphaBack(float a) { return a; }

  static VX_PixelFloat ToLinear(const VX_PixelFloat& p, const VX_LinearBlendingTables& t) {
    return Raised(p, t.gamma);
  }
  static VX_PixelFloat FromLinear(const VX_PixelFloat& p, const VX_LinearBlendingTables& t) {
    return Raised(p, t.invGamma);
  }

 private:
  static VX_PixelFloat Raised(const VX_PixelFloat& p, double exponent) {
    return {p.alpha, VXp_PowLanes::Of(p.red, exponent), VXp_PowLanes::Of(p.green, exponent),
            VXp_PowLanes::Of(p.blue, exponent)};
  }
};

// Converts s and d to linear light, calls blend(source, destination) on the results, and converts
// the destination back if `blend` returns true. For modes that change only alpha, the colours of
// the destination are not converted.
template <bool kWritesColor, class Pixel, class Blend>
void VXp_BlendLinear(const Pixel& s, const VX_LinearBlendingTables& tables, Pixel& d,
                     Blend&& blend) {
  using Light = VXp_LinearLight<Pixel>;
  using Argb = VXp_Argb<VXp_PixelTraits<typename Light::Working>>;
  const Argb source = Argb::Of(Light::ToLinear(s, tables));
  Argb dest{};
  if constexpr (kWritesColor) dest = Argb::Of(Light::ToLinear(d, tables));
  dest.alpha = Light::ToWorking(d.alpha);
  if (!blend(source, dest)) return;
  if constexpr (kWritesColor) {
    d = Light::FromLinear(dest.Pixel(), tables);
  } else {
    d.alpha = Light::AlphaBack(dest.Pixel().alpha);
  }
}
