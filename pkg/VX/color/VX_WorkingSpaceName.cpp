// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_ColorSettings.h"
#include "color/VXp_Utf16.h"
#include "host/U.h"

std::u16string VX_GetWorkingSpaceProfileName(const VX_ColorSettings* settings) {
  const char* const prefix =
      U_ZLookup("$$$/RZ/VX/VX_ColorManagement/ColorProfile/PWS=Working Space - ");
  const char* const none = U_ZLookup("$$$/RZ/VX/VX_ColorManagement/ColorProfile/None=None");
  COR_QCE_ProfilePtr profile;
  if (settings != nullptr && settings->IsValid()) profile = settings->GetAdjustedProfile();
  if (profile == nullptr) return VXp_Utf16(none);
  std::u16string description;
  QCE_Error(COR_QCE_GetProfileDescription(profile, &description));
  return VXp_Utf16(prefix) + description;
}
