// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Profile.h"

#include <algorithm>
#include <cstdlib>

#include "VX/cpp/Color.hpp"
#include "VXIO_Codecs.h"

namespace {

void AppendUtf8(uint32_t point, std::string* text) {
  auto put = [&](uint32_t byte) { text->push_back(static_cast<char>(byte)); };
  if (point < 0x80) {
    put(point);
  } else if (point < 0x800) {
    put(0xC0 | point >> 6);
    put(0x80 | (point & 63));
  } else if (point < 0x10000) {
    put(0xE0 | point >> 12);
    put(0x80 | (point >> 6 & 63));
    put(0x80 | (point & 63));
  } else {
    put(0xF0 | point >> 18);
    put(0x80 | (point >> 12 & 63));
    put(0x80 | (point >> 6 & 63));
    put(0x80 | (point & 63));
  }
}

}  // namespace

std::string VXIO_ProfileName(const COR_QCE_ProfilePtr& profile) {
  const std::u16string units = vx::Profile(profile).description();
  std::string text;
  for (size_t i = 0; i < units.size(); ++i) {
    uint32_t point = units[i];
    const uint32_t next = i + 1 < units.size() ? units[i + 1] : 0;
    if ((point & 0xFC00) == 0xD800 && (next & 0xFC00) == 0xDC00) {
      point = 0x10000 + ((point & 0x3FF) << 10 | (next & 0x3FF));
      ++i;
    } else if ((point & 0xF800) == 0xD800) {
      point = 0xFFFD;  // unpaired surrogate
    }
    const bool control =
        point < 0x20 || (point >= 0x7F && point < 0xA0) || point == 0x2028 || point == 0x2029;
    AppendUtf8(control ? ' ' : point, &text);
  }
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "a profile without a name";
  return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

bool VXIO_SameColors(const COR_QCE_ProfilePtr& a, const COR_QCE_ProfilePtr& b) {
  _t_QCE_ID id_a, id_b;
  vx::detail::check_color(COR_QCE_GetProfileID(/*pool=*/nullptr, a, &id_a));
  vx::detail::check_color(COR_QCE_GetProfileID(/*pool=*/nullptr, b, &id_b));
  if (id_a == id_b) return true;
  constexpr int32_t kWhite = vx::PixelTraits<vx::Pixel16>::full_scale;
  constexpr int32_t kSteps = 6, kHalfStep = kWhite / 255 / 2;
  std::vector<vx::Pixel16> before;
  auto level = [](int32_t step, int32_t steps) {
    return static_cast<uint16_t>(step * kWhite / (steps - 1));
  };
  for (int32_t i = 0; i < kSteps * kSteps * kSteps; ++i) {
    before.push_back({kWhite, level(i / kSteps / kSteps, kSteps),
                      level(i / kSteps % kSteps, kSteps), level(i % kSteps, kSteps)});
  }
  for (int32_t i = 0; i < 64; ++i) {
    const uint16_t grey = level(i, 64);
    before.push_back({kWhite, grey, grey, grey});
  }
  std::vector<vx::Pixel16> after = before;
  const auto count = static_cast<int32_t>(after.size());
  vx::ColorTransform(vx::Profile(a), vx::Profile(b), 16)
      .apply(vx::View<vx::Pixel16>(after.data(), count, 1));
  auto near = [](uint16_t x, uint16_t y) { return std::abs(int32_t{x} - int32_t{y}) <= kHalfStep; };
  return std::equal(before.begin(), before.end(), after.begin(),
                    [&](const vx::Pixel16& x, const vx::Pixel16& y) {
                      return near(x.red, y.red) && near(x.green, y.green) && near(x.blue, y.blue);
                    });
}

// --- calls of libVXIO_codecs ---------------------------------------------------------------------

VXIO_PictureProfile VXIO_ProfileOf(const std::string& path, const VXIO_Metadata& metadata) {
  return VXIOp_LoadCodecs().ProfileOf(path, metadata);
}

bool VXIO_SameProfile(const VXIO_Metadata& a, const VXIO_Metadata& b) {
  return VXIOp_LoadCodecs().SameProfile(a, b);
}

VXIO_Metadata VXIO_WithProfile(const VXIO_Metadata& metadata, const COR_QCE_ProfilePtr& profile) {
  return VXIOp_LoadCodecs().WithProfile(metadata, profile);
}
