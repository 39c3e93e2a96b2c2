// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Layers.h"

#include "Errors.h"

namespace vxcli {

namespace {

// Larger than any picture, and small enough that sums of positions fit in 32 bits.
constexpr int64_t kFarthest = 1000000;

const std::vector<std::string>& MaskUses() {
  static const std::vector<std::string> uses = {"alpha", "inverse-alpha", "luma", "inverse-luma"};
  return uses;
}

}  // namespace

const char* MaskUseName(int32_t use) { return MaskUses()[static_cast<size_t>(use)].c_str(); }

OptionList DrawOptionList(DrawOptions* to) {
  const auto at = [](const std::string& option, const std::string& text) {
    return ParsePoint(option, text, INT16_MIN, INT16_MAX);
  };
  return {
      Option{"--mode", "NAME", Parsed(&to->mode, ParseMode),
             "Transfer mode, name or number (vx list modes)"}
          .Default("in-front"),
      Option{"--opacity", "NUMBER", Number(&to->opacity, 0, 1), "%r"}.Default("1"),
      Option{"--seed", "NUMBER", Integer(&to->seed, INT32_MIN, INT32_MAX),
             "Of the random pattern of dissolve, 32 bits"}
          .Default("0"),
      {"--keep-alpha", "", Flag(&to->keep_alpha), "Leave the alpha below as it is"},
      Option{"--mask", "FILE", Text(&to->mask), "Picture whose pixels weight the layer's"}.For(
          Decides::Contents),
      Option{"--mask-use", "WHAT", Choice(&to->mask_use, MaskUses()), "%r"}.Without(
          "alpha, or luma when the mask has no alpha"),
      Option{"--mask-at", "X,Y", Parsed(&to->mask_at, at),
             "Where the mask's corner lies on the background; outside of it the mask counts as 0, "
             "inverse uses as full"}
          .Without("0,0"),
      Option{"--matte", "FILE", Text(&to->matte),
             "Picture that the layer's alpha is multiplied by before it is drawn; the upper left "
             "corners of the two are aligned"}
          .For(Decides::Contents),
      Option{"--matte-use", "WHAT", Choice(&to->matte_use, MaskUses()), "%r"}.Without(
          "alpha, or luma when the matte has no alpha"),
      Option{"--feather", "R", Number(&to->feather.radius, 0, kLargestFeather),
             "Soften the matte: radius in pixels, %r"}
          .Without("0"),
      Option{"--feather-kind", "KIND", Choice(&to->feather.kind, FeatherKinds()), "%r"}.Without(
          "soft"),
      Option{"--field", "ROWS", Choice(&to->field, {"both", "even", "odd"}),
             "%r: rows to draw, counted from 0 on the background"}
          .Default("both"),
  };
}

OptionList LayerOptionList(LayerOptions* to) {
  const auto at = [](const std::string& option, const std::string& text) {
    return ParsePoint(option, text, -kFarthest, kFarthest);
  };
  return InGroup("Options of a layer, after its --layer",
                 Join({{
                           Option{"--layer", "FILE", Text(&to->file),
                                  "Picture to draw; repeat it for more layers"}
                               .For(Decides::Contents),
                           Option{"--at", "X,Y", Parsed(&to->at, at),
                                  "Where its corner lands; may be negative"}
                               .Default("0,0"),
                           Option{"--rect", "L,T,R,B", Parsed(&to->rect, ParseRect),
                                  "Draw only this area of it; --at places the area's corner"}
                               .Without("all"),
                       },
                       DrawOptionList(to)}));
}

void CheckDrawOptions(const DrawOptions& options) {
  CheckFeather(options.feather);
  if (options.matte.empty() && (options.matte_use || options.feather.radius)) {
    throw UsageError("--matte-use, --feather: mean nothing without --matte FILE");
  }
  if (options.mask.empty() && (options.mask_use || options.mask_at)) {
    throw UsageError("--mask-use, --mask-at: mean nothing without --mask FILE");
  }
  if (options.mask.empty() && options.mode.number == VX_Xfer_MaskMix) {
    throw UsageError("--mode mask-mix: needs --mask FILE, whose values mix the two pictures");
  }
}

}  // namespace vxcli
