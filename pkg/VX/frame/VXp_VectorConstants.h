// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Constants for vector loops, in addition to those of VX/VX_Package.h.
//
// The exported constants and VXp_G_Vectors are set by birth, only on processors with SSE2.
// Otherwise they are zero, so code without SSE2 must not read them. The constexpr constants are
// always valid.

#include <bit>
#include <cstdint>

#include "VX/VX_Package.h"

struct VXp_VectorConstants {
  VX_Vector128 low_bytes_16;  // 0x00FF in all eight lanes
  VX_Vector128 half_byte_16;  // 0x0080 in all eight lanes
  VX_Vector128 d255_0;        // doubles, lane 0 first
  VX_Vector128 d32768_32768;
  VX_Vector128 d1_0;
  VX_Vector128 dHalf_Half;
  VX_Vector128 fHalf_0_0_0;  // floats, lane 0 first
  VX_Vector128 f0_1_0_1;
  VX_Vector128 f0_0_1_1;
  VX_Vector128 f1_0_0_0;
  VX_Vector128 colors_mask;  // lane 0 zero, the others all ones
  VX_Vector128 alpha_mask;   // lane 0 all ones
};
extern VXp_VectorConstants VXp_G_Vectors;

// VXp_BuildVectorConstants sets the constants, VXp_ClearVectorConstants sets them to zero.
void VXp_BuildVectorConstants();
void VXp_ClearVectorConstants();

// --- constants of the blending loops -------------------------------------------------------------

constexpr VX_Vector128 VXp_VectorOf(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
  return {{a, b, c, d}};
}
constexpr VX_Vector128 VXp_VectorOf(uint32_t lane) { return VXp_VectorOf(lane, lane, lane, lane); }
constexpr VX_Vector128 VXp_VectorOf16(uint16_t lane) { return VXp_VectorOf(lane * 0x10001u); }
constexpr VX_Vector128 VXp_VectorOfFloats(float a, float b, float c, float d) {
  return VXp_VectorOf(std::bit_cast<uint32_t>(a), std::bit_cast<uint32_t>(b),
                      std::bit_cast<uint32_t>(c), std::bit_cast<uint32_t>(d));
}
constexpr VX_Vector128 VXp_VectorOfDoubles(double a, double b) {
  const uint64_t low = std::bit_cast<uint64_t>(a);
  const uint64_t high = std::bit_cast<uint64_t>(b);
  return VXp_VectorOf(static_cast<uint32_t>(low), static_cast<uint32_t>(low >> 32),
                      static_cast<uint32_t>(high), static_cast<uint32_t>(high >> 32));
}

inline constexpr VX_Vector128 kVXp_8000_16 = VXp_VectorOf16(0x8000);
inline constexpr VX_Vector128 kVXp_4000_16 = VXp_VectorOf16(0x4000);
inline constexpr VX_Vector128 kVXp_7FFF_32 = VXp_VectorOf(0x7FFF);
inline constexpr VX_Vector128 kVXp_4000_32 = VXp_VectorOf(0x4000);
inline constexpr VX_Vector128 kVXp_3FFF_32 = VXp_VectorOf(0x3FFF);
inline constexpr VX_Vector128 kVXp_FFFF_32 = VXp_VectorOf(0xFFFF);
inline constexpr VX_Vector128 kVXp_ClearAlpha8 = VXp_VectorOf(0xFFFFFF00);  // alpha is byte 0
inline constexpr VX_Vector128 kVXp_f0_1_1_1 = VXp_VectorOfFloats(0.0f, 1.0f, 1.0f, 1.0f);
inline constexpr VX_Vector128 kVXp_fHalf = VXp_VectorOfFloats(0.5f, 0.5f, 0.5f, 0.5f);
// Operand of a byte shuffle (pshufb) that copies the alpha of two 16-bit pixels to their colours.
inline constexpr VX_Vector128 kVXp_SpreadAlpha16 =
    VXp_VectorOf(0x0100FFFF, 0x01000100, 0x0908FFFF, 0x09080908);
