// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <memory>

#include "VX/VX_ColorSettings.h"
#include "color/VXp_ColorBirth.h"

namespace {

struct DisposePool {
  void operator()(COR_QCE_ProfilePool* pool) const { COR_QCE_DisposeProfilePool(pool); }
};
using PoolPtr = std::unique_ptr<COR_QCE_ProfilePool, DisposePool>;

// Freed by VX_Death, but not at process exit, because the colour engine may be unloaded by then.
constinit COR_QCE_ProfilePool* emergency_pool = nullptr;
constinit VX_ColorSettings* emergency_settings = nullptr;

PoolPtr NewPool() {
  COR_QCE_ProfilePool* pool = nullptr;
  QCE_Error(COR_QCE_NewProfilePool(&pool));
  return PoolPtr(pool);
}

}  // namespace

VX_ColorSettings* VX_GetEmergencyColorSettings() {
  if (emergency_settings == nullptr) {
    PoolPtr pool = NewPool();
    auto settings = std::make_unique<VX_ColorSettings>(pool.get());
    COR_QCE_ProfilePtr profile;
    QCE_Error(COR_QCE_ProfileFromName("sRGB", &profile));
    settings->SetProfile(profile);
    emergency_pool = pool.release();
    emergency_settings = settings.release();
  }
  return emergency_settings;
}

void VXp_DeathEmergencyColorSettings() {
  delete emergency_settings;
  emergency_settings = nullptr;
  PoolPtr(emergency_pool).reset();
  emergency_pool = nullptr;
}
