// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Blending in linear light compared with blending of stored values, and the creation of the tables.

#include <cstdio>
#include <string>

#include "Library.h"
#include "Rounds.h"
#include "Sections.h"
#include "VX/VX_ColorSettings.h"
#include "VX/VX_LightCurves.h"

namespace {

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;

constexpr int32_t kLinearModes[] = {VX_Xfer_InFront, VX_Xfer_Screen, VX_Xfer_Multiply};

constexpr double kBound8 = 6.0, kBoundCurves = 4.0;

struct Tally {
  double slowest8 = 0.0, slowest_curves = 0.0;
  bool agree = true;
};

// Checks that a rectangle in mode in-front is equal to the per-pixel table's result.
template <class Pixel>
void CheckInFront(Scene<Pixel>& scene, const VX_LinearBlendingTables* tables,
                  const std::string& name, Tally* tally) {
  scene.ResetDestination();
  PixelByPixel(scene, VX_Xfer_InFront, tables);
  const std::vector<Pixel> one_by_one = scene.dst.pixels;
  scene.ResetDestination();
  TransferScene(scene, VX_Xfer_InFront, 1.0f, false, tables);
  const double step = GreatestStep(one_by_one, scene.dst.pixels);
  if (step == 0.0) return;
  std::printf("%s: the per-pixel table differs by %g\n", name.c_str(), step);
  tally->agree = false;
}

template <class Pixel>
void RunDepth(const Options& options, const VX_LinearBlendingTables* tables, Tally* tally) {
  for (const Content content : {Content::kPartly, Content::kSprite}) {
    Scene<Pixel> scene(content, kWidth, kHeight);
    const auto reset = [&] { scene.ResetDestination(); };
    for (const int32_t mode : kLinearModes) {
      const std::string name =
          std::to_string(kDepthOf<Pixel>) + "/" + ModeName(mode) + "/" + ContentName(content);
      if (!options.Takes(name)) continue;
      if (mode == VX_Xfer_InFront) CheckInFront(scene, tables, name, tally);
      const auto blend = [&](const VX_LinearBlendingTables* used) {
        TransferScene(scene, mode, 1.0f, false, used);
      };
      const std::vector<Timing> times = RunRounds(
          {{reset, [&] { blend(nullptr); }}, {reset, [&] { blend(tables); }}}, options.rounds);
      const double times_slower = TimesFaster(times[0], times[1]);
      const double mpixels = 1e-6 * static_cast<double>(scene.dst.pixels.size());
      std::printf("%-24s %10.1f %10.1f %8.2f\n", name.c_str(), mpixels / times[0].Median(),
                  mpixels / times[1].Median(), times_slower);
      std::fflush(stdout);
      if (kDepthOf<Pixel> == 8) tally->slowest8 = std::max(tally->slowest8, times_slower);
    }
  }
}

// Float pixels by the curves of the profile, in all modes.
void RunCurves(const Options& options, Tally* tally) {
  const auto curves = VX_MakeLightCurves(VX_GetEmergencyColorSettings()->GetProfile());
  for (const Content content : {Content::kPartly, Content::kSprite}) {
    Scene<VX_PixelFloat> scene(content, kWidth, kHeight);
    const auto reset = [&] { scene.ResetDestination(); };
    for (const vx::ModeInfo& info : vx::modes()) {
      const std::string name = std::string("curves/") + info.name + "/" + ContentName(content);
      if (!options.Takes(name)) continue;
      const VX_CompositeModePlus mode(static_cast<int32_t>(info.mode), 1.0f, nullptr, false,
                                      kDissolveSeed);
      const auto blend = [&](const VX_LightCurves* used) {
        const VX_LayerDef src = scene.src.Layer();
        VX_LayerDef mask_layer = scene.mask.Layer(), dst = scene.dst.Layer();
        const VX_MaskSpec mask{&mask_layer, 0, 0, VX_MaskUse_Alpha};
        VX_TransferRectLinear(nullptr, VX_Field_Both, nullptr, &src, &mode, used,
                              info.mode == vx::Mode::mask_mix ? &mask : nullptr, 0, 0, &dst);
      };
      const std::vector<Timing> times =
          RunRounds({{reset, [&] { blend(nullptr); }}, {reset, [&] { blend(curves.get()); }}},
                    options.rounds);
      const double times_slower = TimesFaster(times[0], times[1]);
      const double mpixels = 1e-6 * static_cast<double>(scene.dst.pixels.size());
      std::printf("%-32s %10.1f %10.1f %8.2f\n", name.c_str(), mpixels / times[0].Median(),
                  mpixels / times[1].Median(), times_slower);
      std::fflush(stdout);
      tally->slowest_curves = std::max(tally->slowest_curves, times_slower);
    }
  }
  if (tally->slowest_curves > 0.0) {
    std::printf("\nslowest by curves: %.2f times (at most %.0f is the aim)\n\n",
                tally->slowest_curves, kBoundCurves);
  }
}

void RunMaking(const Options& options) {
  if (!options.Takes("tables")) return;
  for (int32_t i = 0; COR_QCE_BuiltInProfileName(i) != nullptr; ++i) {
    COR_QCE_ProfilePtr profile;
    QCE_Error(COR_QCE_ProfileFromName(COR_QCE_BuiltInProfileName(i), &profile));
    const auto times =
        RunRounds({{nullptr, [&] { VX_MakeLinearizationTables(profile); }}}, options.rounds);
    std::printf("tables of %-14s %8.3f ms\n", COR_QCE_BuiltInProfileName(i),
                1e3 * times[0].Median());
  }
}

}  // namespace

bool RunLinear(const Options& options) {
  std::printf("\nLinear light: Mpixel/s of VX_TransferRect on %dx%d as stored and with the tables "
              "of sRGB,\n"
              "and how many times slower the tables are. Float channels need three powers "
              "each;\nrows \"curves\" are float pixels by the curves of sRGB.\n\n",
              int{kWidth}, int{kHeight});
  std::printf("%-24s %10s %10s %8s\n", "row", "stored", "linear", "times");
  const VX_LinearBlendingTables* const tables =
      VX_GetEmergencyColorSettings()->GetLinearBlendingTables(true);
  Tally tally;
  RunDepth<VX_Pixel8>(options, tables, &tally);
  RunDepth<VX_Pixel16>(options, tables, &tally);
  RunDepth<VX_PixelFloat>(options, tables, &tally);
  if (tally.slowest8 > 0.0) {
    std::printf("\nslowest at 8 bits: %.2f times (at most %.0f is the aim)\n\n", tally.slowest8,
                kBound8);
  }
  RunCurves(options, &tally);
  RunMaking(options);
  return tally.agree;
}
