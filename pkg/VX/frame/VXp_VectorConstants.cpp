// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_VectorConstants.h"

#include <initializer_list>

constinit VX_Vector128 VX_G_AlphaMask32{};
constinit VX_Vector128 VX_G_BGRMask32{};
constinit VX_Vector128 VX_G_vfHalf{};
constinit VX_Vector128 VX_G_vf255{};
constinit VX_Vector128 VX_G_vi128_32{};
constinit VX_Vector128 VX_G_viLoByteMask32{};
constinit VX_Vector128 VX_G_viLoWordMask{};
constinit VXp_VectorConstants VXp_G_Vectors{};

namespace {
constexpr uint32_t kOnes = 0xFFFFFFFF;
}

void VXp_BuildVectorConstants() {
  VXp_G_Vectors.low_bytes_16 = VXp_VectorOf16(0x00FF);
  VXp_G_Vectors.half_byte_16 = VXp_VectorOf16(0x0080);

  VX_G_AlphaMask32 = VXp_VectorOf(kOnes, 0, 0, 0);
  VX_G_BGRMask32 = VXp_VectorOf(0, kOnes, kOnes, kOnes);
  VX_G_vfHalf = VXp_VectorOfFloats(0.5f, 0.5f, 0.5f, 0.5f);
  VX_G_vf255 = VXp_VectorOfFloats(255.0f, 255.0f, 255.0f, 255.0f);
  VX_G_vi128_32 = VXp_VectorOf(128);
  VX_G_viLoByteMask32 = VXp_VectorOf(0xFF);
  VX_G_viLoWordMask = VXp_VectorOf(0xFFFF);

  VXp_G_Vectors.d255_0 = VXp_VectorOfDoubles(255.0, 0.0);
  VXp_G_Vectors.d32768_32768 = VXp_VectorOfDoubles(32768.0, 32768.0);
  VXp_G_Vectors.d1_0 = VXp_VectorOfDoubles(1.0, 0.0);
  VXp_G_Vectors.dHalf_Half = VXp_VectorOfDoubles(0.5, 0.5);
  VXp_G_Vectors.fHalf_0_0_0 = VXp_VectorOfFloats(0.5f, 0.0f, 0.0f, 0.0f);
  VXp_G_Vectors.f0_1_0_1 = VXp_VectorOfFloats(0.0f, 1.0f, 0.0f, 1.0f);
  VXp_G_Vectors.f0_0_1_1 = VXp_VectorOfFloats(0.0f, 0.0f, 1.0f, 1.0f);
  VXp_G_Vectors.f1_0_0_0 = VXp_VectorOfFloats(1.0f, 0.0f, 0.0f, 0.0f);
  VXp_G_Vectors.colors_mask = VXp_VectorOf(0, kOnes, kOnes, kOnes);
  VXp_G_Vectors.alpha_mask = VXp_VectorOf(kOnes, 0, 0, 0);
}

void VXp_ClearVectorConstants() {
  for (VX_Vector128* exported : {&VX_G_AlphaMask32, &VX_G_BGRMask32, &VX_G_vfHalf, &VX_G_vf255,
                                 &VX_G_vi128_32, &VX_G_viLoByteMask32, &VX_G_viLoWordMask}) {
    *exported = {};
  }
  VXp_G_Vectors = {};
}
