// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_Tables.h"

#include <cmath>

#include "VX/VX_Package.h"
#include "host/M.h"

constinit const uint8_t* VXp_G_fcm_table = nullptr;
constinit const uint8_t* VXp_G_fcd_table = nullptr;
constinit float VXp_G_ByteToFloat[256] = {};
constinit const uint8_t VX_G_ZeroData[64] = {};

constinit float VXp_G_SoftLightF[2][kVXp_SoftLightEntries + 1] = {};
constinit uint16_t VXp_G_SoftLight16[2][kVXp_SoftLightEntries + 1] = {};

void VXp_FillByteToFloat() {
  for (int32_t i = 0; i < 256; ++i) VXp_G_ByteToFloat[i] = static_cast<float>(i);
}

void VXp_BuildSoftLightTables() {
  for (int32_t i = 0; i < kVXp_SoftLightEntries; ++i) {
    const double x = i / 4096.0;
    const double curve = x <= 0.25 ? ((16.0 * x - 12.0) * x + 4.0) * x : std::sqrt(x);
    const double values[] = {x * (1.0 - x), curve - x};
    for (int32_t up = 0; up < 2; ++up) {
      VXp_G_SoftLightF[up][i] = static_cast<float>(values[up]);
      VXp_G_SoftLight16[up][i] = static_cast<uint16_t>(32768.0 * values[up] + 0.5);
    }
  }
}

VX_Err VXp_PrepareByteTables() {
  uint8_t* multiply = nullptr;
  uint8_t* divide = nullptr;
  const VX_Err error = M_PrepareFCMD(1, 0, 0, &multiply, &divide);
  if (error != VX_Ok) return error;
  VXp_G_fcm_table = multiply;
  VXp_G_fcd_table = divide;
  return VX_Ok;
}

VX_Err VXp_UnprepareByteTables() {
  VXp_G_fcm_table = nullptr;
  VXp_G_fcd_table = nullptr;
  return M_UnprepareFCMD();
}
