// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Faults of the kind that vector routines have, each put into a slot for one run of the checker.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "Checker.h"
#include "VX/VX_OverrideTable.h"

namespace {

VXp_OverrideTable real;  // the routines that the faults stand before

// One bit, in the pixels that remain after groups of four, in rows that have such groups.
VX_Err WrongTail(int32_t count, const VX_Pixel8* src, VX_Pixel8* dst) {
  const VX_Err error = real.VX_MatteGray(count, src, dst);
  if (count > 4 && count % 4 == 3) dst[count - 1].blue ^= 1;
  return error;
}

VX_Err WritesBehindTheRow(int32_t count, const VX_Pixel8* src, uint8_t opacity,
                          const VX_Pixel8* mask, VX_Pixel8* dst) {
  const VX_Err error = real.VX_AlphaUnion(count, src, opacity, mask, dst);
  if (count == 13) reinterpret_cast<uint8_t*>(dst)[count * 4] ^= 0x80;
  return error;
}

// Whole groups are loaded where the row ends within one.
VX_Err ReadsBehindTheRow(int32_t count, const VX_Pixel16* src, VX_Pixel16* dst) {
  uint8_t group[32];
  if (src != nullptr && count % 4 == 3) std::memcpy(group, src + count - 3, sizeof group);
  static_cast<void>(*const_cast<volatile uint8_t*>(group));
  return real.VX_UnmatteWhite16(count, src, dst);
}

// Right only at addresses that are multiples of the vector width.
VX_Err NeedsAlignment(int32_t count, const VX_PixelFloat* src, VX_PixelFloat* dst) {
  const VX_Err error = real.VX_MatteBlackFloat(count, src, dst);
  if (count > 0 && reinterpret_cast<uintptr_t>(dst) % 16 == 12) std::memset(dst, 0, 1);
  return error;
}

VX_ScanFunc<VX_Pixel16> real_scan;

// Takes the opacity before full for full.
VX_Err TakesItForFull(int32_t count, const VX_BlendingMode<VX_Pixel16>* mode,
                      const VX_LinearBlendingTables* tables, const VX_Pixel16* src,
                      const VX_Pixel16* mask, VX_Pixel16* dst) {
  VX_BlendingMode<VX_Pixel16> changed = *mode;
  if (changed.opacity == 32767) changed.opacity = 32768;
  return real_scan(count, &changed, tables, src, mask, dst);
}
VX_Err ChoosesOneWrong(int32_t mode, VX_InnerBlendingFunc<VX_Pixel16>* out) {
  const VX_Err error = real.VX_GetInnerBlendingMaskLinear16(mode, out);
  if (mode != VX_Xfer_InFront || error != VX_Ok) return error;
  real_scan = out->scan;
  out->scan = TakesItForFull;
  return error;
}

VX_Err WritesIntoPadding(void* ref, int32_t forward, const M_Rect* area, VX_LayerDef* world) {
  const int32_t row = world->width * VXp_WorldDepth(world) / 2;
  if (world->rowbytes > row && world->height > 1) static_cast<char*>(world->data)[row] ^= 1;
  return real.VX_PremulRect_S(ref, forward, area, world);
}

VX_Err ForgetsTheField(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t,
                       const M_Rect* rect, const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                       const VX_LinearBlendingTables* tables, const VX_MaskSpec* mask, int32_t x,
                       int32_t y, VX_LayerDef* dst) {
  return real.VX_TransferRect_S(progress, quality, flags, VX_Field_Both, rect, src, mode, tables,
                                mask, x, y, dst);
}

// The neighbour below is loaded though its share is nothing.
VX_Err ReadsBelowTheWorld(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                          const VX_SampPB* record, VX_Pixel8* out) {
  const VX_LayerDef& src = *record->src;
  const int32_t row = (y >> 16) + 1, column = x >> 16;
  if (row > 0 && row <= src.height && column >= 0 && column < src.width) {
    const auto* pixels = static_cast<const volatile uint8_t*>(src.data);
    static_cast<void>(pixels[static_cast<ptrdiff_t>(row) * src.rowbytes + column * 4]);
  }
  return real.VX_SubpixelSample_Straight(progress, x, y, record, out);
}

// The double precision rule where the single precision one is due.
VX_Err RoundsAsOtherLevels(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                           const VX_SampPB* record, VX_Pixel8* out) {
  return VX_SubpixelSampleNoClip_Straight(progress, x, y, record, out);
}

VX_Err ForgetsTheCut(void* ref, const VX_LayerDef* src, VX_LayerDef* dst, const M_Rect* src_rect,
                     const M_Rect* dst_rect) {
  M_Rect cut{};
  if (dst_rect != nullptr) cut = *dst_rect;
  cut.left = std::max<int16_t>(cut.left, 0);
  return real.VX_CopyBits_Draft_Static(ref, src, dst, src_rect,
                                       dst_rect != nullptr ? &cut : nullptr);
}

VX_Err CountsFromNothing(VX_ProgressInfo* progress, int32_t, int32_t final, const VX_LayerDef* src,
                         const M_Rect* area, void* refcon, VX_PixelFunc function,
                         VX_LayerDef* dst) {
  return real.VX_Iterate_S(progress, 0, final, src, area, refcon, function, dst);
}

VX_Err StandsStill(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                   const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                   const VX_LinearBlendingTables* tables, const VX_TransformMask* mask,
                   const M_Matrix3* matrices, int32_t, uint8_t src2dst, const M_Rect* dst_rect,
                   VX_LayerDef* dst) {
  return real.VX_TransformWorld_S(progress, quality, flags, field, src, mode, tables, mask,
                                  matrices, 1, src2dst, dst_rect, dst);
}

struct Fault {
  const char* what;
  const char* slot;
  void* routine;
};

template <class Routine>
Fault MakeFault(const char* what, const char* slot, Routine routine) {
  return {what, slot, reinterpret_cast<void*>(routine)};
}

void PutInSlot(const Slot& slot, void* routine) {
  std::memcpy(static_cast<void*>(&real), &VXp_G_OverFuncs, sizeof real);
  VX_SetOverrideFunc(slot.number, routine);
}

// In a process of its own, because finding it may be a crash. A null routine leaves the slot.
bool Finds(const Slot& slot, void* routine, Plan plan) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    if (routine != nullptr) plan.tamper = [&] { PutInSlot(slot, routine); };
    const Verdict verdict = CheckAtAllLevels(slot, plan);
    std::fflush(stdout);
    _exit(verdict == Verdict::kBad ? 1 : 0);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return false;
  return WEXITSTATUS(status) == 1 || WEXITSTATUS(status) == kCrashed;
}

}  // namespace

int SelfTest(const Plan& plan) {
  const Fault faults[] = {
      MakeFault("one bit in a tail", "VX_MatteGray", WrongTail),
      MakeFault("a write behind the row", "VX_AlphaUnion", WritesBehindTheRow),
      MakeFault("a read behind the row", "VX_UnmatteWhite16", ReadsBehindTheRow),
      MakeFault("wrong at some addresses", "VX_MatteBlackFloat", NeedsAlignment),
      MakeFault("a wrong loop for one mode", "VX_GetInnerBlendingMaskLinear16", ChoosesOneWrong),
      MakeFault("a write between rows", "VX_PremulRect_S", WritesIntoPadding),
      MakeFault("an argument forgotten", "VX_TransferRect_S", ForgetsTheField),
      MakeFault("a read below the world", "VX_SubpixelSample_Straight", ReadsBelowTheWorld),
      MakeFault("another level's rule", "VX_SubpixelSampleNoClip_Straight", RoundsAsOtherLevels),
      MakeFault("a cut forgotten", "VX_CopyBits_Draft_Static", ForgetsTheCut),
      MakeFault("progress from nothing", "VX_Iterate_S", CountsFromNothing),
      MakeFault("a motion forgotten", "VX_TransformWorld_S", StandsStill)};
  int missed = 0;
  const auto expect = [&](const char* what, const Slot& slot, void* routine) {
    const bool found = Finds(slot, routine, plan);
    std::printf("%s: %s\n", found ? "found" : "MISSED", what);
    if (!found) ++missed;
  };
  for (const Fault& fault : faults) {
    for (const Slot& slot : AllSlots()) {
      if (std::strcmp(slot.name, fault.slot) == 0) expect(fault.what, slot, fault.routine);
    }
  }
  expect("a type without a checker", SlotOfUnknownType(), nullptr);
  return missed;
}
