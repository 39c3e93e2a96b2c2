// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Curves given by a table are evaluated and inverted here, not by Little CMS. Little CMS rounds the
// inputs and the outputs of a table to 16 bits and inverts the table at 4096 positions. Near black,
// where a power curve is steep, this would cause errors of more than one 8-bit code.

#include "COR_Curve.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace host {
namespace {

constexpr double kFull = 65535;

// Smallest value used for fitting an exponent, because 0 has no logarithm.
constexpr double kLeast = 1 / kFull;

float TableAt(const std::vector<uint16_t>& table, float position_0_to_1) {
  if (position_0_to_1 >= 1) return static_cast<float>(table.back() / kFull);
  const double position =
      static_cast<double>(position_0_to_1) * static_cast<double>(table.size() - 1);
  const auto k = static_cast<size_t>(position);
  const double low = table[k];
  return static_cast<float>((low + (position - static_cast<double>(k)) * (table[k + 1] - low)) /
                            kFull);
}

float PositionInTable(const std::vector<uint16_t>& rising, float linear) {
  const double value = linear * kFull;
  if (value <= rising.front()) return 0;
  if (value >= rising.back()) return 1;
  const auto above = std::upper_bound(rising.begin(), rising.end(), value);
  const double low = above[-1];
  const double position =
      static_cast<double>(above - 1 - rising.begin()) + (value - low) / (*above - low);
  return static_cast<float>(position / static_cast<double>(rising.size() - 1));
}

// Evaluates a curve given by a formula. Above kLargest returns the value itself: the formula would
// exceed the range of floats, and Little CMS clamps at 1e22.
float Formula(const cmsToneCurve* curve, float value) {
  constexpr float kLargest = 1e20f;
  return value > kLargest ? value : cmsEvalToneCurveFloat(curve, value);
}

template <class Function>
float Mirrored(float value, Function&& function) {
  if (std::isnan(value)) return value;
  return value < 0 ? -function(-value) : function(value);
}

}  // namespace

ToneCurve::ToneCurve(const LcmsContext& context, const cmsToneCurve* curve)
    : forward_(context.Check(cmsDupToneCurve(curve))) {
  if (const cmsInt32Number type = cmsGetToneCurveParametricType(curve)) {
    Require(type >= 1 && type <= 5, QCE_Damaged);
    backward_.reset(context.Check(cmsReverseToneCurve(curve)));
    if (type == 4) MakePublished(context);
  } else {
    const cmsUInt32Number entries = cmsGetToneCurveEstimatedTableEntries(curve);
    Require(entries >= 2, QCE_Damaged);
    const cmsUInt16Number* values = cmsGetToneCurveEstimatedTable(curve);
    table_.assign(values, values + entries);
    rising_ = table_;
    for (size_t i = 1; i < rising_.size(); ++i) rising_[i] = std::max(rising_[i], rising_[i - 1]);
  }
  // A curve is rejected if white is less than one 8-bit code above black.
  Require(ToLinear(1) - ToLinear(0) >= 1.0f / 255, QCE_BadCurve);
  const double exponent = Exponent();
  Require(exponent > 0 && exponent < std::numeric_limits<float>::max(), QCE_BadCurve);
}

float ToneCurve::ToLinear(float stored) const {
  return Mirrored(stored, [this](float v) {
    return table_.empty() ? Formula(forward_.get(), v) : TableAt(table_, v);
  });
}

float ToneCurve::ToStored(float linear) const {
  return Mirrored(linear, [this](float v) {
    return table_.empty() ? Formula(backward_.get(), v) : PositionInTable(rising_, v);
  });
}

void ToneCurve::MakePublished(const LcmsContext& context) {
  constexpr double kRounding = 0.51 / 65536;
  const double* p = cmsGetToneCurveParams(forward_.get());
  for (const PublishedCurve& published : {kSrgbCurve, kRec709Curve}) {
    const auto close = [](double a, double b) { return std::abs(a - b) <= kRounding; };
    if (!std::equal(published.begin(), published.end(), p, close)) continue;
    published_forward_.reset(
        context.Check(cmsBuildParametricToneCurve(context.get(), 4, published.data())));
    published_backward_.reset(context.Check(cmsReverseToneCurve(published_forward_.get())));
  }
}

float ToneCurve::ToLinearFloat(float stored) const {
  if (!published_forward_) return ToLinear(stored);
  return Mirrored(stored, [this](float v) { return Formula(published_forward_.get(), v); });
}

float ToneCurve::ToStoredFloat(float linear) const {
  if (!published_backward_) return ToStored(linear);
  return Mirrored(linear, [this](float v) { return Formula(published_backward_.get(), v); });
}

double ToneCurve::Exponent() const {
  return IsPurePower() ? cmsGetToneCurveParams(forward_.get())[0] : FittedExponent();
}

cmsInt32Number ToneCurve::Type() const {
  return table_.empty() ? cmsGetToneCurveParametricType(forward_.get()) : 0;
}

// The parameters p[0], p[1], ... by type: 1: g; 2: g a b; 3: g a b c; 4: g a b c d; 5: g a b c d e
// f. All types evaluate (a x + b) ^ g, types 4 and 5 only for x >= d; c (type 3) and e (type 5) are
// offsets that are added.
bool ToneCurve::IsPurePower() const {
  if (Type() <= 1) return Type() == 1;
  const double* p = cmsGetToneCurveParams(forward_.get());
  const bool starts_at_zero = Type() < 4 || p[4] <= 0;
  const double offset = Type() == 3 ? p[3] : Type() == 5 ? p[5] : 0;
  return p[1] == 1 && p[2] == 0 && starts_at_zero && offset == 0;
}

bool ToneCurve::operator==(const ToneCurve& other) const {
  constexpr std::array<size_t, 6> kParameters = {0, 1, 3, 4, 5, 7};
  if (Type() != other.Type() || table_ != other.table_) return false;
  if (Type() == 0) return true;
  const double* p = cmsGetToneCurveParams(forward_.get());
  return std::equal(p, p + kParameters.at(static_cast<size_t>(Type())),
                    cmsGetToneCurveParams(other.forward_.get()));
}

// Gauss-Newton iteration. The start value is the best fit of logarithms. If it is not above 0, the
// curve does not increase, and the start value is returned. A step that does not reduce the error
// is halved: the start value is far from the minimum if the curve is almost 0 at several samples.
double ToneCurve::FittedExponent() const {
  constexpr double kLeastStep = 1e-9;  // relative to the exponent
  std::array<double, 16> x, y;
  double product = 0, square = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    x[i] = 0.1 + 0.8 * static_cast<double>(i) / 15;
    y[i] = ToLinear(static_cast<float>(x[i]));
    product += std::log(x[i]) * std::log(std::max(y[i], kLeast));
    square += std::log(x[i]) * std::log(x[i]);
  }
  const auto error = [&](double exponent) {
    double sum = 0;
    for (size_t i = 0; i < x.size(); ++i) {
      const double d = std::pow(x[i], exponent) - y[i];
      sum += d * d;
    }
    return sum;
  };
  double best = product / square;
  if (!(best > 0)) return best;
  for (int count = 0; count < 50; ++count) {
    product = square = 0;
    for (size_t i = 0; i < x.size(); ++i) {
      const double power = std::pow(x[i], best), slope = power * std::log(x[i]);
      product += slope * (power - y[i]);
      square += slope * slope;
    }
    double step = product / square;
    if (!std::isfinite(step)) break;  // the powers of all samples are 0 or 1
    const auto improves = [&] { return best - step > 0 && error(best - step) < error(best); };
    while (!improves() && std::abs(step) > kLeastStep * best) step /= 2;
    if (!improves()) break;
    best -= step;
  }
  return best;
}

bool ToneCurve::IsIdentity() const {
  if (table_.empty()) return IsPurePower() && Exponent() == 1;
  const double last = static_cast<double>(table_.size() - 1);
  for (size_t i = 0; i < table_.size(); ++i) {
    if (table_[i] != std::lround(kFull * static_cast<double>(i) / last)) return false;
  }
  return true;
}

}  // namespace host
