// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_LightCurves.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cmath>
#include <limits>

#include "VX/VX_ColorSettings.h"
#include "color/VXp_LightCurves.h"

namespace {

// The largest error of a stored value that the interpolation of a segment may cause, relative to
// the greater of 1 and the value.
constexpr float kTolerance = 1e-6f;

using Pixels = std::vector<VX_PixelFloat>;

void Apply(const COR_QCE_TransformPtr& engine, Pixels* pixels) {
  QCE_Error(COR_QCE_Apply(engine, QCE_Format_ArgbFloat, pixels->data(), QCE_Format_ArgbFloat,
                          pixels->data(), static_cast<int32_t>(pixels->size()), nullptr));
}

// Returns one pixel for each value, with three equal colours.
Pixels Greys(size_t count, const auto& value_of) {
  Pixels pixels(count);
  for (size_t i = 0; i < count; ++i) {
    const float value = value_of(static_cast<int32_t>(i));
    pixels[i] = {1.0f, value, value, value};
  }
  return pixels;
}

float ChannelOf(const VX_PixelFloat& pixel, size_t channel) {
  return channel == 0 ? pixel.red : channel == 1 ? pixel.green : pixel.blue;
}
void SetChannel(VX_PixelFloat* pixel, size_t channel, float value) {
  (channel == 0 ? pixel->red : channel == 1 ? pixel->green : pixel->blue) = value;
}

bool IsPrecise(float value, float exact) {
  return std::abs(value - exact) <= kTolerance * std::max(1.0f, std::abs(exact));
}

}  // namespace

VX_LightCurves::VX_LightCurves(const COR_QCE_ProfilePtr& profile)
    : tables_(VX_MakeLinearizationTables(profile)) {
  COR_QCE_ProfilePtr linear;
  QCE_Error(COR_QCE_GetLinearRGBProfile(profile, &linear));
  if (linear == profile) return;
  QCE_Error(COR_QCE_NewTransform(profile, linear, QCE_Format_ArgbFloat, &to_linear_));
  QCE_Error(COR_QCE_NewTransform(linear, profile, QCE_Format_ArgbFloat, &to_stored_));
}

VXp_FloatLanes VX_LightCurves::ByEngine(const COR_QCE_TransformPtr& engine, VXp_FloatLanes pixel) {
  COR_QCE_Apply(engine, QCE_Format_ArgbFloat, &pixel, QCE_Format_ArgbFloat, &pixel, 1, nullptr);
  return pixel;
}

void VX_LightCurves::Prepare() const {
  if (!IsIdentity()) std::call_once(filled_, [this] { Fill(); });
}

// The precision of both tables is measured in stored values: linear values are converted to stored
// ones by the engine before they are compared.
void VX_LightCurves::Fill() const {
  constexpr int32_t kSegments = VXp_CurveTable::kSegments;
  const auto middle = [](int32_t i) {
    const float start = i == 0 ? 0.0f : VXp_CurveTable::StartOf(i);
    return start + (VXp_CurveTable::StartOf(i + 1) - start) / 2;
  };
  const auto start = [](int32_t i) { return i == 0 ? 0.0f : VXp_CurveTable::StartOf(i); };
  for (VXp_CurveTable* const table : {&linear_, &stored_}) {
    const bool is_linear = table == &linear_;
    const COR_QCE_TransformPtr& engine = is_linear ? to_linear_ : to_stored_;
    Pixels ends = Greys(kSegments + 1, start), exact = Greys(kSegments, middle);
    Apply(engine, &ends);
    Apply(engine, &exact);
    Pixels between(exact.size());
    for (size_t c = 0; c < 3; ++c) {
      for (size_t i = 0; i < between.size(); ++i) {
        const float low = ChannelOf(ends[i], c), high = ChannelOf(ends[i + 1], c);
        SetChannel(&between[i], c, low + (high - low) * 0.5f);
      }
    }
    if (is_linear) {
      Apply(to_stored_, &between);
      Apply(to_stored_, &exact);
    }
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    for (size_t c = 0; c < 3; ++c) {
      std::vector<float>& entries = table->entries_[c];
      entries.assign(kSegments + 3, kNone);
      for (size_t i = 0; i < ends.size(); ++i) entries[i] = ChannelOf(ends[i], c);
      for (size_t i = 0; i < exact.size(); ++i) {
        if (!IsPrecise(ChannelOf(between[i], c), ChannelOf(exact[i], c))) entries[i] = kNone;
      }
      // Negative values are mirrored. If the curve is not 0 at 0, the mirrored curve has a step
      // there, so the engine converts the values of segment 0.
      if (ChannelOf(ends[0], c) != 0.0f) entries[0] = kNone;
      table->values_[c] = entries.data();
    }
    for (const size_t c : {size_t{1}, size_t{2}}) {
      if (std::memcmp(table->values_[c], table->values_[0],
                      table->entries_[0].size() * sizeof(float)) != 0) {
        continue;
      }
      table->values_[c] = table->values_[0];
      table->entries_[c] = {};
    }
  }
}

boost::shared_ptr<const VX_LightCurves> VX_MakeLightCurves(
    const boost::shared_ptr<COR_QCE_Profile>& profile) {
  return boost::make_shared<const VX_LightCurves>(profile);
}
