// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// A module with two routines. A definition selects the case.

#include <VX/VX_Accel.h>

#include <cstring>
#include <stdexcept>

namespace {

#ifdef LATER
constexpr VX_Err kResult = 102;
#else
constexpr VX_Err kResult = 101;
#endif

[[maybe_unused]] VX_Err Fade(int32_t, uint8_t, uint8_t*) { return kResult; }

// Kept for the unload calls, which report the number of the routine.
VX_Err (*report)(uint32_t number, const char* text) = nullptr;

VX_Err First(int32_t selector, int32_t* command, void* data, const uint16_t* version) {
  if (selector == VX_ModuleSelector_Unload) {
    report(kResult, "unloaded");
    return command || data || version ? VX_ErrReported : VX_Ok;
  }
  auto& block = *static_cast<VX_ModuleBlock*>(data);
  void* const memory = block.realloc(block.calloc(1, 8), 16);
  const bool usable = memory && *static_cast<int64_t*>(memory) == 0 &&
                      block.fcm_table[255 * 256 + 7] == 7 && block.fcd_table[255 * 256 + 7] == 7 &&
                      block.callbacks->fill && block.exit &&
                      std::memcmp(&block.saved, block.slots, sizeof(block.saved)) == 0;
  block.free(memory);
  if (!usable || *command != 2 || version[0] != 2 || version[1] != 1) return VX_ErrReported;
#if defined(FAILS) || defined(THROWS)
  // Half of the table is replaced, and the copy in the block too.
  std::memset(static_cast<void*>(block.slots), 1, sizeof(*block.slots) / 2);
  std::memset(static_cast<void*>(&block.saved), 1, sizeof(block.saved));
  block.report(7, "the module cannot work here");
#ifdef THROWS
  throw std::runtime_error("thrown by a module");
#endif
  return 77;
#else
  block.slots->VX_UnoFadeRow = Fade;
  return VX_Ok;
#endif
}

VX_Err Second(int32_t selector, int32_t*, void* data, const uint16_t*) {
  if (selector == VX_ModuleSelector_Unload) return report(kResult + 100, "unloaded");
  report = static_cast<VX_ModuleBlock*>(data)->report;
  return VX_Ok;
}

#ifdef OTHER_VERSION
constexpr uint32_t kVersion = (VX_ModuleVersion + 1) << 16;
#else
constexpr uint32_t kVersion = VX_ModuleVersion << 16 | 9;
#endif
#ifdef OTHER_LAYOUT
constexpr uint32_t kLayout = PLUG_ModuleLayout + 1;
#else
constexpr uint32_t kLayout = PLUG_ModuleLayout;
#endif

const uint32_t version_word = kVersion;
const PLUG_Property properties[] = {{0x6E616D65, 4, "text"},
                                    {VX_ModuleVersionKey, 4, &version_word}};
const PLUG_RoutineDescriptor routines[] = {
    {"first", VX_ModuleRoutineType, VX_ModuleFlag_Accelerates, 2, properties, First},
    {"of another type", 0x41424344, VX_ModuleFlag_Accelerates, 2, properties, First},
    {"without the flag", VX_ModuleRoutineType, 0, 2, properties, First},
    {"second", VX_ModuleRoutineType, VX_ModuleFlag_Accelerates, 2, properties, Second}};

}  // namespace

#ifndef NOTHING
extern "C" __attribute__((visibility("default"))) const PLUG_ModuleDescriptor PLUG_Module;
const PLUG_ModuleDescriptor PLUG_Module = {kLayout, 4, routines};
#endif
