// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// A function of one's own over every pixel: a vignette, which darkens a picture towards its
// corners. It runs at any depth, tells how far it is, and could be stopped.

#include <VX/VX.h>
#include <host/VXHost.h>

#include <cstdio>
#include <memory>

namespace {

// Keeps the percentage. A program with a window would draw its bar here, and return 517 to stop.
VX_Err ShowProgress(void* refcon, int32_t step, int32_t final_step) {
  *static_cast<int*>(refcon) = 100 * step / final_step;
  return VX_Ok;
}

// Full light in the middle, a quarter of it in the corners, and between by the square of distance.
VX_Err Vignette(VX_World* world, VX_ProgressInfo* progress) {
  const float middle_x = static_cast<float>(world->width - 1) / 2;
  const float middle_y = static_cast<float>(world->height - 1) / 2;
  const float corner = middle_x * middle_x + middle_y * middle_y;
  const auto darken = [=](int32_t x, int32_t y, auto* pixel) {
    const float dx = static_cast<float>(x) - middle_x;
    const float dy = static_cast<float>(y) - middle_y;
    const float light = 1 - 0.75f * (dx * dx + dy * dy) / corner;
    using Channel = decltype(pixel->red);
    pixel->red = static_cast<Channel>(static_cast<float>(pixel->red) * light);
    pixel->green = static_cast<Channel>(static_cast<float>(pixel->green) * light);
    pixel->blue = static_cast<Channel>(static_cast<float>(pixel->blue) * light);
  };
  return VX_ForEachPixel(world, darken, {.progress = progress, .progress_final = world->height});
}

}  // namespace

int main() {
  if (VX_CheckVersions(0, VX_PKG_VERSION) != VX_Ok || VX_Birth() != VX_Ok) return 1;
  int percent = 0;
  VX_ProgressInfo progress{};
  progress.progress_func = ShowProgress;
  progress.progress_refcon = &percent;

  std::unique_ptr<VX_World> picture(VX_World::New(321, 181, 8, VX_WorldFlag_Clear));
  const VX_Pixel8 amber{255, 240, 160, 80};
  VX_Err error = VX_Fill(nullptr, &amber, nullptr, picture.get());
  if (error == VX_Ok) error = Vignette(picture.get(), &progress);

  const auto* row = static_cast<const VX_Pixel8*>(picture->data);
  const auto* middle = reinterpret_cast<const VX_Pixel8*>(static_cast<char*>(picture->data) +
                                                          90 * picture->rowbytes);
  std::printf("%d %% done, corner %d %d %d, middle %d %d %d\n", percent, row[320].red,
              row[320].green, row[320].blue, middle[160].red, middle[160].green, middle[160].blue);
  picture.reset();
  return VX_Death() == VX_Ok ? error : 1;
}
