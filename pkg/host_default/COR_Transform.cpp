// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "COR_Transform.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

namespace {

// Full scale of 16-bit pixels (kWhite16) and of the engine (kFull16).
constexpr uint32_t kWhite16 = 32768, kFull16 = 65535;

uint32_t ToEngine(uint32_t value, uint32_t white, uint32_t full) {
  return white == full ? value : (value * full + white / 2) / white;
}

}  // namespace

// The conversions between the channels of a format and linear values ("light").

struct COR_QCE_Transform::Bytes {
  using Channel = uint8_t;
  static constexpr Channel kHighest = 255;
  static float ToLight(const COR_QCE_Transform& transform, size_t c, Channel v) {
    return (*transform.light_[c])[v];
  }
  static Channel ToStored(const COR_QCE_Transform& transform, size_t c, float light) {
    return static_cast<Channel>(transform.codes_[c]->Nearest(light));
  }
};

struct COR_QCE_Transform::Words {
  using Channel = uint16_t;
  static constexpr Channel kHighest = kWhite16;
  static float ToLight(const COR_QCE_Transform& transform, size_t c, Channel v) {
    const uint32_t value = std::min<uint32_t>(v, kWhite16);
    if (transform.light_[c]) return (*transform.light_[c])[value];
    const auto full = static_cast<float>(ToEngine(value, kWhite16, kFull16));
    return transform.from_->curve(static_cast<int>(c)).ToLinear(full / kFull16);
  }
  static Channel ToStored(const COR_QCE_Transform& transform, size_t c, float light) {
    uint32_t full;
    if (transform.codes_[c]) {
      full = transform.codes_[c]->Nearest(light);
    } else {
      const double stored = transform.to_->curve(static_cast<int>(c)).ToStored(light);
      full = static_cast<uint32_t>(std::clamp(stored, 0.0, 1.0) * kFull16 + 0.5);
    }
    return static_cast<Channel>((full * kWhite16 + 32767) / kFull16);
  }
};

struct COR_QCE_Transform::Floats {
  using Channel = float;
  static constexpr Channel kHighest = std::numeric_limits<float>::infinity();
  static float ToLight(const COR_QCE_Transform& transform, size_t c, Channel v) {
    return transform.from_->curve(static_cast<int>(c)).ToLinearFloat(v);
  }
  static Channel ToStored(const COR_QCE_Transform& transform, size_t c, float light) {
    return transform.to_->curve(static_cast<int>(c)).ToStoredFloat(light);
  }
};

COR_QCE_Transform::COR_QCE_Transform(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to,
                                     uint32_t format)
    : from_(from),
      to_(to),
      format_(format),
      is_identity_(from->bytes() == to->bytes()),
      same_primaries_(std::memcmp(&from->primaries(), &to->primaries(), sizeof(cmsMAT3)) == 0) {
  if (is_identity_) return;
  if (!same_primaries_) MultiplyMatrices();
  if (format == QCE_Format_Argb8) Tabulate(255, 255);
  // No table is built for linear targets, because most of these transforms convert only one row of
  // greys.
  if (format == QCE_Format_Argb16 && !to->IsLinear()) Tabulate(kWhite16, kFull16);
}

// Computes the product of the matrices. The white of a profile is the sum of its primaries, and
// rounding in the file moves it away from D50. The rows are scaled to compensate for this, so that
// white stays white and greys stay grey.
void COR_QCE_Transform::MultiplyMatrices() {
  const cmsMAT3& from = from_->primaries();
  const cmsMAT3& to = to_->primaries();
  cmsMAT3 scaled = from, inverse, product;
  for (int row = 0; row < 3; ++row) {
    const auto white = [row](const cmsMAT3& m) {
      return m.v[row].n[0] + m.v[row].n[1] + m.v[row].n[2];
    };
    for (double& n : scaled.v[row].n) n *= white(to) / white(from);
  }
  _cmsMAT3inverse(&to, &inverse);
  _cmsMAT3per(&product, &inverse, &scaled);
  for (size_t row = 0; row < 3; ++row) {
    for (size_t c = 0; c < 3; ++c) matrix_[row][c] = product.v[row].n[c];
  }
}

void COR_QCE_Transform::Tabulate(uint32_t white, uint32_t full) {
  for (int c = 0; c < 3; ++c) {
    const auto place = static_cast<size_t>(c);
    const host::ToneCurve& source = from_->curve(c);
    const host::ToneCurve& target = to_->curve(c);
    if (c > 0 && source == from_->curve(c - 1)) {
      light_[place] = light_[place - 1];
    } else {
      const auto light = std::make_shared<std::vector<float>>();
      light->reserve(white + 1);
      for (uint32_t v = 0; v <= white; ++v) {
        const auto value = static_cast<float>(ToEngine(v, white, full));
        light->push_back(source.ToLinear(value / static_cast<float>(full)));
      }
      light_[place] = light;
    }
    codes_[place] = c > 0 && target == to_->curve(c - 1)
                        ? codes_[place - 1]
                        : std::make_shared<host::Codes>(target, full);
  }
}

// Multiplies linear colours by the matrix. The sums are computed in double; rounding them to float
// removes small deviations from exact white and greys.
COR_QCE_Transform::Light COR_QCE_Transform::ToTarget(const Light& light) const {
  Light target;
  for (size_t row = 0; row < 3; ++row) {
    target[row] = static_cast<float>(matrix_[row][0] * light[0] + matrix_[row][1] * light[1] +
                                     matrix_[row][2] * light[2]);
  }
  return target;
}

template <class Format>
void COR_QCE_Transform::ApplyRow(const void* src, void* dst, int32_t count, bool copy_alpha) const {
  using Channel = typename Format::Channel;
  const auto* from = static_cast<const std::byte*>(src);
  auto* to = static_cast<std::byte*>(dst);
  for (int32_t i = 0; i < count; ++i) {
    Channel pixel[4];
    std::memcpy(pixel, from, sizeof pixel);
    if (!copy_alpha) std::memcpy(pixel, to, sizeof(Channel));
    if (is_identity_) {
      for (size_t c = 1; c < 4; ++c) pixel[c] = std::min(pixel[c], Format::kHighest);
    } else {
      Light light;
      for (size_t c = 0; c < 3; ++c) light[c] = Format::ToLight(*this, c, pixel[c + 1]);
      if (!same_primaries_) light = ToTarget(light);
      for (size_t c = 0; c < 3; ++c) pixel[c + 1] = Format::ToStored(*this, c, light[c]);
    }
    std::memcpy(to, pixel, sizeof pixel);
    from += sizeof pixel;
    to += sizeof pixel;
  }
}

void COR_QCE_Transform::Apply(const void* src, void* dst, int32_t count, bool copy_alpha) const {
  switch (format_) {
    case QCE_Format_Argb8: return ApplyRow<Bytes>(src, dst, count, copy_alpha);
    case QCE_Format_Argb16: return ApplyRow<Words>(src, dst, count, copy_alpha);
    case QCE_Format_ArgbFloat: return ApplyRow<Floats>(src, dst, count, copy_alpha);
  }
}
