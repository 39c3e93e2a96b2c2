// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "COR_Profile.h"

#include <algorithm>
#include <cmath>

using host::Require;

namespace {

constexpr size_t kHeaderBytes = 128;
constexpr cmsTagSignature kPrimaryTags[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag,
                                            cmsSigBlueColorantTag};
constexpr cmsTagSignature kCurveTags[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};

// Returns the largest block that Little CMS may allocate for a profile of this size: a copy of its
// bytes, or a text in 32-bit characters.
constexpr size_t LargestBlock(size_t size) { return (size_t{1} << 20) + 4 * size; }

uint32_t WordAt(const uint8_t* bytes, size_t offset) {
  const uint8_t* p = bytes + offset;
  return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}

// Checks the header and returns the size of the profile.
size_t CheckedSize(const uint8_t* bytes, size_t size) {
  constexpr size_t kSize = 0, kClass = 12, kModel = 16, kMagic = 36;
  Require(size <= COR_QCE_MaxProfileBytes, QCE_TooLarge);
  Require(size >= kMagic + 4 && WordAt(bytes, kMagic) == cmsMagicNumber, QCE_Damaged);
  const size_t claim = WordAt(bytes, kSize);
  Require(claim <= size, QCE_Truncated);
  Require(claim >= kHeaderBytes + 4, QCE_Damaged);
  const uint32_t profile_class = WordAt(bytes, kClass);
  Require(profile_class == cmsSigDisplayClass || profile_class == cmsSigInputClass ||
              profile_class == cmsSigOutputClass || profile_class == cmsSigColorSpaceClass,
          QCE_WrongClass);
  Require(WordAt(bytes, kModel) == cmsSigRgbData, QCE_WrongModel);
  return claim;
}

// Returns whether the tag table contains `tag`, whatever its offset is.
bool NamesTag(const std::vector<uint8_t>& bytes, cmsTagSignature tag) {
  constexpr size_t kEntryBytes = 12;
  const size_t capacity = (bytes.size() - kHeaderBytes - 4) / kEntryBytes;
  const size_t count = std::min<size_t>(WordAt(bytes.data(), kHeaderBytes), capacity);
  for (size_t i = 0; i < count; ++i) {
    if (WordAt(bytes.data(), kHeaderBytes + 4 + i * kEntryBytes) == tag) return true;
  }
  return false;
}

// Converts a description to valid UTF-16, up to the first zero. The input may contain any values.
// Depending on its version, Little CMS returns characters or UTF-16 units.
std::u16string CleanUtf16(const std::vector<wchar_t>& units) {
  std::u16string text;
  const auto is = [&](size_t i, wchar_t first, wchar_t last) {
    return i < units.size() && units[i] >= first && units[i] <= last;
  };
  for (size_t i = 0; i < units.size() && units[i] != 0; ++i) {
    if (is(i, 0xD800, 0xDBFF) && is(i + 1, 0xDC00, 0xDFFF)) {
      text += static_cast<char16_t>(units[i]);
      text += static_cast<char16_t>(units[++i]);
    } else if (is(i, 0x10000, 0x10FFFF)) {
      text += static_cast<char16_t>(0xD800 + ((units[i] - 0x10000) >> 10));
      text += static_cast<char16_t>(0xDC00 + (units[i] & 0x3FF));
    } else {
      const bool is_character = is(i, 1, 0xD7FF) || is(i, 0xE000, 0xFFFF);
      text += is_character ? static_cast<char16_t>(units[i]) : u'\uFFFD';
    }
  }
  return text;
}

}  // namespace

COR_QCE_Profile::COR_QCE_Profile(const uint8_t* bytes, size_t size)
    : bytes_(bytes, bytes + CheckedSize(bytes, size)), context_(LargestBlock(bytes_.size())) {
  const host::LcmsProfile profile(
      context_.Check(cmsOpenProfileFromMemTHR(context_.get(), bytes_.data(),
                                              static_cast<cmsUInt32Number>(bytes_.size())),
                     QCE_Damaged));
  for (int c = 0; c < 3; ++c) {
    Require(NamesTag(bytes_, kPrimaryTags[c]) && NamesTag(bytes_, kCurveTags[c]), QCE_NoPrimaries);
  }
  ReadPrimaries(profile.get());
  ReadCurves(profile.get());
  ReadDescription(profile.get());
  context_.Finish();
}

void COR_QCE_Profile::ReadPrimaries(cmsHPROFILE profile) {
  for (int c = 0; c < 3; ++c) {
    const auto* xyz = static_cast<const cmsCIEXYZ*>(
        context_.Check(cmsReadTag(profile, kPrimaryTags[c]), QCE_Damaged));
    primaries_.v[0].n[c] = xyz->X;
    primaries_.v[1].n[c] = xyz->Y;
    primaries_.v[2].n[c] = xyz->Z;
  }
  for (const cmsVEC3& row : primaries_.v) {
    Require(row.n[0] + row.n[1] + row.n[2] > 0.01, QCE_Damaged);
  }
  cmsMAT3 inverse;
  Require(_cmsMAT3inverse(&primaries_, &inverse), QCE_Damaged);
}

void COR_QCE_Profile::ReadCurves(cmsHPROFILE profile) {
  curves_.reserve(3);
  for (const cmsTagSignature tag : kCurveTags) {
    const void* curve = context_.Check(cmsReadTag(profile, tag), QCE_Damaged);
    curves_.emplace_back(context_, static_cast<const cmsToneCurve*>(curve));
  }
}

// Reads the description. If it is missing or invalid, it stays empty; this is not an error.
void COR_QCE_Profile::ReadDescription(cmsHPROFILE profile) {
  const cmsUInt32Number bytes =
      cmsGetProfileInfo(profile, cmsInfoDescription, "en", "US", nullptr, 0);
  std::vector<wchar_t> units(bytes / sizeof(wchar_t));
  if (units.empty()) return;
  cmsGetProfileInfo(profile, cmsInfoDescription, "en", "US", units.data(),
                    static_cast<cmsUInt32Number>(units.size() * sizeof(wchar_t)));
  description_ = CleanUtf16(units);
}

bool COR_QCE_Profile::IsLinear() const {
  return std::all_of(curves_.begin(), curves_.end(),
                     [](const host::ToneCurve& curve) { return curve.IsIdentity(); });
}

_t_QCE_ID COR_QCE_Profile::Id() const {
  const host::LcmsContext context(/*largest_block=*/1 << 20);
  const cmsHANDLE digest = context.Check(cmsMD5alloc(context.get()));
  cmsMD5add(digest, bytes_.data(), static_cast<cmsUInt32Number>(bytes_.size()));
  cmsProfileID id;
  cmsMD5finish(&id, digest);
  return {{WordAt(id.ID8, 0), WordAt(id.ID8, 4), WordAt(id.ID8, 8), WordAt(id.ID8, 12)}};
}
