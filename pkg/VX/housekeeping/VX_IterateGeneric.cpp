// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Iterate.h"
#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Report.h"

VX_Err VX_IterateGeneric_Static(int32_t iterations, void* refcon, VX_GenericFunc function) {
  constexpr uint32_t kGenericNumber = 70;
  if (function == nullptr) return VXp_BadParameter(kGenericNumber);
  const int32_t count = iterations == -1 ? 1 : iterations;
  return VXp_Guarded([&]() -> VX_Err {
    for (int32_t i = 0; i < count; ++i) {
      const VX_Err error = function(refcon, /*thread=*/0, i, count);
      if (error != VX_Ok) return error;
    }
    return VX_Ok;
  });
}

VX_Err VX_IterateGeneric(int32_t iterations, void* refcon, VX_GenericFunc function) {
  return VXp_G_OverFuncs.VX_IterateGeneric_Static(iterations, refcon, function);
}
