// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "host/BM.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/PLUG.h"
#include "host/RZFX.h"
#include "host/STR.h"
#include "host/U.h"

namespace {

U_Err Compare(int32_t wanted, int32_t own) { return wanted == own ? 0 : 7; }

}  // namespace

U_Err U_CheckVersions(uint32_t, int32_t wanted) { return Compare(wanted, U_PKG_VERSION); }
U_Err STR_CheckVersions(uint32_t, int32_t wanted) { return Compare(wanted, STR_PKG_VERSION); }
U_Err BM_CheckVersions(uint32_t, int32_t wanted) { return Compare(wanted, BM_PKG_VERSION); }
U_Err M_CheckVersions(uint32_t, int32_t wanted) { return Compare(wanted, M_PKG_VERSION); }
U_Err FILE_CheckVersions(uint32_t, int32_t wanted) { return Compare(wanted, FILE_PKG_VERSION); }
U_Err LIST_CheckVersions(uint32_t, int32_t wanted) { return Compare(wanted, LIST_PKG_VERSION); }
U_Err RZFX_CheckVersions(uint32_t, int32_t wanted) { return Compare(wanted, RZFX_PKG_VERSION); }
U_Err PLUG_CheckVersions(uint32_t, int32_t wanted) { return Compare(wanted, PLUG_PKG_VERSION); }
