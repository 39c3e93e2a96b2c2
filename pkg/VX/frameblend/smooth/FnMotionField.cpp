// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/smooth/FnMotionField.h"

#include "frame/VXp_Dispatch.h"
#include "frameblend/motion/FnLuminance.h"
#include "frameblend/smooth/FnPyramid.h"
#include "frameblend/smooth/FnSmooth.h"

namespace {

constexpr int32_t kOverlap = 2;
constexpr int32_t kMostLevels = 1000;
constexpr float kBlurPerRatio = 3.0f;  // the deviation of the blur is the ratio divided by this

FnBlockSize SizeOfBlocks(const VX_Veltor_AlgoParams& settings) {
  return {settings.BlockSize, settings.BlockSize, kOverlap};
}

bool Allocated(FnInterruptState* interrupt, bool done) {
  if (!done) interrupt->set(VX_ErrOutOfMemory);
  return done;
}

template <class Pixel>
bool MakeLuminance(const VX_LayerDef& world, const VX_Veltor_AlgoParams& settings,
                   FnInterruptState* interrupt, FnFloatMap* out) {
  using Color = typename FnColorOfPixel<Pixel>::Type;
  const FnMap<Color> source(world);
  FnMotionEstimateLuminanceFrameGenerator<Color, FnColorOfPixel<Pixel>::kFull> luminance;
  luminance.interrupt = interrupt;
  luminance.setWeights(static_cast<float>(settings.LumaR), static_cast<float>(settings.LumaG),
                       static_cast<float>(settings.LumaB));
  luminance.process(&source, out);
  return FnPoll(interrupt) == VX_Ok;
}

// Spreads the vectors of blocks over the pixels of the frame: bilinear between the centres.
void ZoomBlocksToPixels(const FnVectorMap& blocks, const FnBlockSize& size,
                        FnInterruptState* interrupt, FnVectorMap* out) {
  const auto axis = [](int32_t block, int32_t step) {
    return FnZoomAxis{1.0 / step, (0.5 - 0.5 * block) / step, 1.0f};
  };
  ImageZoomerGP<HvVec2> zoom;
  zoom.interrupt = interrupt;
  zoom.xAxis = axis(size.width, size.StepX());
  zoom.yAxis = axis(size.height, size.StepY());
  zoom.process(&blocks, out);
}

}  // namespace

FnAnalysisSize FnAnalysisSizeOf(const VX_LayerDef& world, const VX_Veltor_AlgoParams& settings) {
  const auto reduced = [&](int32_t side) {
    return std::max(static_cast<int32_t>(static_cast<float>(side) * settings.Resolution), 1);
  };
  return {reduced(world.width), reduced(world.height)};
}

void FnPrepareAnalysis(const VX_LayerDef& world, const VX_Veltor_AlgoParams& settings,
                       FnInterruptState* interrupt, FnAnalysisPicture* out) {
  const auto [width, height] = FnAnalysisSizeOf(world, settings);
  out->ratio = static_cast<float>(world.width) / static_cast<float>(width);

  FnFloatMap luminance(world.width, world.height), blurred(world.width, world.height);
  if (!Allocated(interrupt, !isInvalid(&luminance) && !isInvalid(&blurred) &&
                                out->luminance.allocate(width, height))) {
    return;
  }
  luminance.setEdgeModes(FnEdge_Hold, FnEdge_Hold);
  blurred.setEdgeModes(FnEdge_Hold, FnEdge_Hold);
  out->luminance.setEdgeModes(FnEdge_Hold, FnEdge_Hold);
  VXp_SelectPixel(
      VXp_WorldDepth(&world),
      [&](auto tag) {
        return MakeLuminance<typename decltype(tag)::Pixel>(world, settings, interrupt, &luminance);
      },
      [] { return false; });
  if (FnPoll(interrupt) != VX_Ok) return;

  FnMoveSampler move;
  move.interrupt = interrupt;
  move.scale = 1.0f / out->ratio;
  BlurGeneralGauss blur;
  blur.interrupt = interrupt;
  blur.setDeviations(out->ratio / kBlurPerRatio, out->ratio / kBlurPerRatio);
  blur.limitTo(move, width, height);
  blur.process(&luminance, &blurred);
  if (FnPoll(interrupt) != VX_Ok) return;
  move.process(&blurred, &out->luminance);
  out->pyramid.build(out->luminance, FnLevelCount(width, height), interrupt);
}

void FnEstimateBlocks(const FnAnalysisPicture& from, const FnAnalysisPicture& to,
                      const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt,
                      FnVectorMap* field) {
  const FnFloatMap& frame = from.luminance;
  const FnBlockSize size = SizeOfBlocks(settings);
  const int32_t columns = size.Columns(frame.width()), rows = size.Rows(frame.height());
  if (!Allocated(interrupt, field->allocate(frame.width(), frame.height()))) return;
  if (columns == 0 || rows == 0) {
    FnClear(interrupt, field);
    return;
  }
  FnVectorMap blocks(columns, rows);
  if (!Allocated(interrupt, !isInvalid(&blocks))) return;

  FnMotionEstimateGradientPyramid pyramid;
  pyramid.interrupt = interrupt;
  FnMotionEstimateGradientPyramidParameters& p = pyramid.parameters;
  p.frames0 = to.pyramid.levels();
  p.frames1 = from.pyramid.levels();
  p.levels = static_cast<int32_t>(p.frames0.size());
  p.overlap = kOverlap;
  p.threshold = settings.ErrorThreshold;
  p.blockWidths.assign(kMostLevels, settings.BlockSize);
  p.blockHeights = p.blockWidths;
  const FnSmoothWeights detail = FnSmoothWeightsOf(settings.VectorDetail);
  p.weightA = detail.a;
  p.weightB = detail.b;
  pyramid.process(&blocks);
  if (FnPoll(interrupt) != VX_Ok) return;

  ZoomBlocksToPixels(blocks, size, interrupt, field);
}

void FnSmoothField(const FnAnalysisPicture& from, const FnAnalysisPicture& to,
                   const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt,
                   FnVectorMap* field) {
  FnMotionEstimateGradientSmoothVectors smoothing;
  smoothing.interrupt = interrupt;
  smoothing.passes = settings.SmoothPasses;
  const FnSmoothWeights weights = FnSmoothWeightsOf(settings.VectorSmoothing);
  smoothing.weightA = weights.a;
  smoothing.weightB = weights.b;
  smoothing.spacingX = smoothing.spacingY = SizeOfBlocks(settings).StepX();
  smoothing.frame0 = &to.luminance;
  smoothing.frame1 = &from.luminance;
  smoothing.process(field);
}
