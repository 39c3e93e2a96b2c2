// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Texts of reports, in the form "key=text". The key identifies translations.

#include "VX/VX_Package.h"

namespace {

constexpr U_ZEntry kTexts[] = {
    {"$$$/RZ/VX/LStr/0000=invalid callback selector", {}},
    {"$$$/RZ/VX/LStr/0001=invalid parameter", {}},
    {"$$$/RZ/VX/LStr/0002=effects modules should only dispose worlds they have allocated", {}},
    {"$$$/RZ/VX/LStr/0003=image plane buffer", {}},
    {"$$$/RZ/VX/LStr/0004=bad parameter passed to effect callback", {}},
    {"$$$/RZ/VX/LStr/0005=problem opening plug-in acceleration module.", {}},
    {"$$$/RZ/VX/LStr/0006=unimplemented blending mode.", {}},
    {"$$$/RZ/VX/LStr/0007=noise table.", {}},
    {"$$$/RZ/VX/LStr/0008=Unable to guess alpha channel.", {}},
    {"$$$/RZ/VX/LStr/0009=Obsolete routine", {}},
    {"$$$/RZ/VX/LStr/0010=memory for blurring", {}},
    {"$$$/RZ/VX/LStr/0011=memory for mask buffer", {}},
    {"$$$/RZ/VX/LStr/0012=damaged mask buffer", {}},
    {"$$$/RZ/VX/LStr/0013=can#{rsquo}t unlock VX Mask Buffer", {}},
    {"$$$/RZ/VX/LStr/0014=gaussian weight array", {}},
    {"$$$/RZ/VX/LStr/0015=blending scratch buffer", {}},
    {"$$$/RZ/VX/LStr/0016=can#{rsquo}t copy different channel worlds", {}},
    {"$$$/RZ/VX/LStr/0017=out of memory for channel chunk", {}},
    {"$$$/RZ/VX/LStr/0018=image buffer", {}},
    {"$$$/RZ/VX/LStr/0019=effect plug-in passed invalid world to get_platform_refs", {}},
    {"$$$/RZ/VX/LStr/0020=", {}},  // unused; the count of 21 is part of the interface
};
constexpr int32_t kCount = 21;
static_assert(sizeof(kTexts) / sizeof(kTexts[0]) == kCount);

}  // namespace

constinit const U_ZRef VX_G_zref = {&VX_G_zref, "VX", kCount, kTexts};
