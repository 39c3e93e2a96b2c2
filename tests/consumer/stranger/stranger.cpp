// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// A program of somebody else, who has the installed headers and libraries and nothing more.

#include <VX/VX.h>
#include <host/VXHost.h>

#include <cstdio>
#include <memory>

namespace {

int failures = 0;

void Expect(bool good, const char* what) {
  std::printf("%s: %s\n", good ? "good" : "BAD", what);
  if (!good) ++failures;
}

bool Same(const VX_Pixel8& p, int a, int r, int g, int b) {
  return p.alpha == a && p.red == r && p.green == g && p.blue == b;
}

using World = std::unique_ptr<VX_World>;

template <class Pixel>
Pixel At(const World& world, int x, int y) {
  // Across the library's border the type of a world is still known.
  const auto* typed = dynamic_cast<const VX_WorldX<Pixel>*>(world.get());
  return typed != nullptr ? typed->Row(y)[x] : Pixel{};
}

// Half of a colour over another: 200 + (0 - 200) 128 / 255 = 99.6, 100 + (40 - 100) 128 / 255
// = 69.9, 50 + (250 - 50) 128 / 255 = 150.4.
void TransferARectangle() {
  const World canvas(VX_World::New(4, 3, 8, VX_WorldFlag_Clear));
  const World title(VX_World::New(2, 2, 8, 0));
  const VX_Pixel8 below{255, 200, 100, 50};
  const VX_Pixel8 above{255, 0, 40, 250};
  VX_Fill(nullptr, &below, nullptr, canvas.get());
  VX_Fill(nullptr, &above, nullptr, title.get());
  const VX_CompositeModePlus half(VX_Xfer_InFront, 0.5f, nullptr, false, 0);
  const VX_Err error =
      VX_TransferRect(nullptr, 1, 0, VX_Field_Both, nullptr, title.get(), &half, nullptr, nullptr,
                      /*x=*/1, /*y=*/1, canvas.get());
  const auto p = At<VX_Pixel8>(canvas, 2, 2);
  std::printf("half over: %d %d %d %d\n", p.alpha, p.red, p.green, p.blue);
  Expect(error == VX_Ok && Same(p, 255, 100, 70, 150), "the rectangle's pixels are half of each");
  Expect(Same(At<VX_Pixel8>(canvas, 3, 1), 255, 200, 100, 50), "pixels beside it are untouched");
}

int calls = 0;
VX_Err CountCalls(void*, int32_t, const M_Rect*, VX_LayerDef*) {
  ++calls;
  return VX_Ok;
}

// Exported data must be one object for the program and the library, not a copy in each.
void ShareData() {
  constexpr int32_t kPremulSlot = 52;
  const auto built_in = VXp_G_OverFuncs.VX_PremulRect_S;
  VXp_G_OverFuncs.VX_PremulRect_S = CountCalls;
  VX_SlotDescription slot{};
  VX_DescribeSlot(kPremulSlot, &slot);
  const World world(VX_World::New(1, 1, 8, 0));
  VX_PremulRect(nullptr, 1, nullptr, world.get());
  Expect(calls == 1 && slot.state == VX_SlotState_Replaced,
         "a routine put into the table is called");
  VXp_G_OverFuncs.VX_PremulRect_S = built_in;

  VX_Pixel8 destination{255, 10, 20, 30};
  const VX_Pixel8 source{255, 1, 2, 3};
  VXp_G_Xfer1_table8[VX_Xfer_Add](&source, nullptr, &destination);
  Expect(Same(destination, 255, 11, 22, 33), "a pixel through the exported tables");
  Expect(VXp_G_fcm_table[128 * 256 + 255] == 128 && VXp_G_ByteToFloat[200] == 200.0f,
         "tables that birth fills");
  Expect(VX_G_zref.self == &VX_G_zref, "the string table knows its own address");
}

void CatchACode() {
  int32_t caught = 0;
  try {
    delete VX_World::New(0, 5, 8, 0);
  } catch (int32_t code) {
    caught = code;
  }
  Expect(caught == VX_ErrReported, "a thrown code arrives as what it is");
  Expect(!VXHost_TakeReports().empty(), "and the embedded host has the words for it");
}

}  // namespace

int main() {
  Expect(VX_CheckVersions(0, VX_PKG_VERSION) == VX_Ok && VX_Birth() == VX_Ok, "birth");
  TransferARectangle();
  ShareData();
  CatchACode();
  Expect(VX_Death() == VX_Ok && VXHost_GetMemory().frames == 0, "death, and nothing is left");
  return failures == 0 ? 0 : 1;
}
