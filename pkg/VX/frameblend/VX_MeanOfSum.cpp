// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "frameblend/FnInstant.h"

namespace {

VX_Err CheckSum(const VX_LayerDef* sum, const VX_LayerDef* picture) {
  for (const VX_LayerDef* const world : {sum, picture}) {
    if (world == nullptr || world->data == nullptr || world->width < 1 || world->height < 1) {
      return VXp_FailVerification("the sum of pictures: a world without pixels");
    }
  }
  if (VXp_WorldDepth(sum) != 32 || sum->width != picture->width || sum->height != picture->height) {
    return VXp_FailVerification("the sum of pictures is no 32-bit world of their size");
  }
  return VX_Ok;
}

// Runs `work` with the map of the sum and a tag of the pixel type of a picture.
template <class Work>
VX_Err WithPixel(const VX_LayerDef* sum, const VX_LayerDef* picture, Work&& work) {
  return VXp_Guarded([&]() -> VX_Err {
    if (const VX_Err code = CheckSum(sum, picture); code != VX_Ok) return code;
    FnInterruptState state;
    FnMap<FnColorFloat> map(*sum);
    VXp_SelectPixel(
        VXp_WorldDepth(picture), [&](auto tag) { work(tag, &map, &state); }, [] {});
    return state.error.load();
  });
}

}  // namespace

VX_Err VX_AddToSum(const VX_LayerDef* picture, VX_LayerDef* sum) {
  return WithPixel(sum, picture, [&](auto tag, FnMap<FnColorFloat>* map, FnInterruptState* state) {
    using Color = typename FnColorOfPixel<typename decltype(tag)::Pixel>::Type;
    const FnMap<Color> from(*picture);
    FnIntAccumulator<Color> add;
    add.interrupt = state;
    add.process(&from, map, map);
  });
}

VX_Err VX_MeanOfSum(const VX_LayerDef* sum, int32_t count, VX_LayerDef* dst) {
  if (count < 1) return VXp_FailVerification("the mean of no pictures");
  return WithPixel(sum, dst, [&](auto tag, FnMap<FnColorFloat>* map, FnInterruptState* state) {
    using Pixel = typename decltype(tag)::Pixel;
    FnMap<typename FnColorOfPixel<Pixel>::Type> to(*dst);
    FnFloatDeaccumulator<Pixel> mean;
    mean.interrupt = state;
    mean.part = 1.0f / static_cast<float>(count);
    mean.process(map, &to);
  });
}
