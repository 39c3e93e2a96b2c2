// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The shortest road to a composite: VX with its embedded host. Two worlds are made and filled, and
// one is screened over the other at half opacity.

#include <VX/VX.h>
#include <host/VXHost.h>

#include <cstdio>
#include <memory>

namespace {

// Worlds are destroyed with delete, so a unique_ptr serves.
using World = std::unique_ptr<VX_World>;

// The embedded host keeps what the library had to say.
int PrintReports() {
  for (const VXHost_Report& report : VXHost_TakeReports()) {
    std::fprintf(stderr, "%s\n", report.text.c_str());
  }
  return 1;
}

int Composite() {
  const World canvas(VX_World::New(3, 2, 8, VX_WorldFlag_Clear));
  const World light(VX_World::New(3, 2, 8, VX_WorldFlag_Clear));
  const VX_Pixel8 rose{255, 200, 100, 128};
  const VX_Pixel8 amber{255, 255, 185, 0};
  if (VX_Fill(nullptr, &rose, nullptr, canvas.get()) != VX_Ok) return PrintReports();
  if (VX_Fill(nullptr, &amber, nullptr, light.get()) != VX_Ok) return PrintReports();

  const VX_CompositeModePlus screen(VX_Xfer_Screen, /*opacity=*/0.5f, /*tables=*/nullptr,
                                    /*keep_dst_alpha=*/false, /*dissolve_seed=*/0);
  const VX_Err error =
      VX_TransferRect(/*progress=*/nullptr, /*quality=*/1, /*flags=*/0, VX_Field_Both,
                      /*rect=*/nullptr, light.get(), &screen, /*tables=*/nullptr,
                      /*mask=*/nullptr, /*x=*/0, /*y=*/0, canvas.get());
  if (error != VX_Ok) return PrintReports();

  const VX_Pixel8 middle = static_cast<VX_Pixel8*>(canvas->data)[1];
  std::printf("%d x %d pixels, middle: alpha %d red %d green %d blue %d\n", canvas->width,
              canvas->height, middle.alpha, middle.red, middle.green, middle.blue);
  return 0;
}

}  // namespace

int main() {
  // What this program was compiled against is what it runs with.
  if (VX_CheckVersions(0, VX_PKG_VERSION) != VX_Ok || VX_Birth() != VX_Ok) return PrintReports();
  int result = 1;
  try {
    result = Composite();
  } catch (VX_Err) {  // worlds that cannot be made are thrown
    PrintReports();
  }
  return VX_Death() == VX_Ok ? result : 1;
}
