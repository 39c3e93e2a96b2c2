// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Creates profiles: the built-in ones, and the linear counterpart of a profile.

#include <strings.h>

#include <algorithm>
#include <string>

#include "COR_Profile.h"

namespace host {
namespace {

constexpr size_t kLargestBlock = size_t{1} << 20;

constexpr cmsCIExyY kD50 = {0.3457, 0.3585, 1};
constexpr cmsCIExyY kD65 = {0.3127, 0.3290, 1};
constexpr cmsCIExyYTRIPLE kRec709 = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
constexpr cmsCIExyYTRIPLE kP3 = {{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}};
constexpr cmsCIExyYTRIPLE kRomm = {{0.7347, 0.2653, 1}, {0.1596, 0.8404, 1}, {0.0366, 0.0001, 1}};

constexpr cmsInt32Number kPower = 1;        // parameters: exponent
constexpr cmsInt32Number kPowerAndToe = 4;  // ((x + offset) / scale) ^ exponent; below x = d: c x

// A tone curve. With kPowerAndToe the parameters are g a b c d: (a x + b) ^ g for x >= d, else c x.
struct Curve {
  cmsInt32Number type;
  double parameters[5];
};
constexpr Curve Power(double exponent) { return {kPower, {exponent}}; }
constexpr Curve PowerAndToe(const PublishedCurve& p) {
  return {kPowerAndToe, {p[0], p[1], p[2], p[3], p[4]}};
}
constexpr Curve kSrgb = PowerAndToe(kSrgbCurve), kRec709Tone = PowerAndToe(kRec709Curve);
constexpr Curve kRommCurve = {kPowerAndToe, {1.8, 1, 0, 1.0 / 16, 1.0 / 32}};

struct BuiltIn {
  const char* name;
  cmsCIExyY white;
  cmsCIExyYTRIPLE primaries;
  Curve curve;
};
constexpr BuiltIn kBuiltIns[] = {
    {"sRGB", kD65, kRec709, kSrgb},           {"gamma 1.0", kD65, kRec709, Power(1.0)},
    {"gamma 1.8", kD65, kRec709, Power(1.8)}, {"gamma 2.2", kD65, kRec709, Power(2.2)},
    {"gamma 2.4", kD65, kRec709, Power(2.4)}, {"Rec.709", kD65, kRec709, kRec709Tone},
    {"Display P3", kD65, kP3, kSrgb},         {"ProPhoto", kD50, kRomm, kRommCurve},
};

void WriteText(const LcmsContext& context, cmsHPROFILE profile, cmsTagSignature tag,
               const std::u16string& text) {
  const LcmsText list(context.Check(cmsMLUalloc(context.get(), 1)));
  const std::wstring wide(text.begin(), text.end());
  context.Check(cmsMLUsetWide(list.get(), "en", "US", wide.c_str()));
  context.Check(cmsWriteTag(profile, tag, list.get()));
}

// Returns the profile as the bytes of a file. The date is fixed, so that equal profiles have equal
// bytes.
std::vector<uint8_t> Serialise(const LcmsContext& context, cmsHPROFILE profile) {
  constexpr size_t kDateOffset = 24;
  constexpr uint8_t kDate[12] = {2026 >> 8, 2026 & 255, 0, 1, 0, 1};
  cmsUInt32Number size = 0;
  context.Check(cmsSaveProfileToMem(profile, nullptr, &size));
  std::vector<uint8_t> bytes(size);
  context.Check(cmsSaveProfileToMem(profile, bytes.data(), &size));
  std::copy(std::begin(kDate), std::end(kDate), bytes.begin() + kDateOffset);
  return bytes;
}

// Copies a tag; a missing or invalid tag is omitted.
void CopyTag(const LcmsContext& context, cmsHPROFILE from, cmsHPROFILE to, cmsTagSignature tag) {
  const void* data = cmsReadTag(from, tag);
  context.Check();
  if (data) context.Check(cmsWriteTag(to, tag, data));
}

}  // namespace

const char* BuiltInProfileName(int32_t index) {
  return index >= 0 && index < int32_t{std::size(kBuiltIns)} ? kBuiltIns[index].name : nullptr;
}

std::vector<uint8_t> MakeBuiltInProfile(const char* name) {
  const auto* built_in = std::find_if(
      std::begin(kBuiltIns), std::end(kBuiltIns),
      [name](const BuiltIn& candidate) { return strcasecmp(candidate.name, name) == 0; });
  Require(built_in != std::end(kBuiltIns), QCE_UnknownName);

  const LcmsContext context(kLargestBlock);
  const LcmsCurve curve(context.Check(cmsBuildParametricToneCurve(
      context.get(), built_in->curve.type, built_in->curve.parameters)));
  cmsToneCurve* const curves[] = {curve.get(), curve.get(), curve.get()};
  const LcmsProfile profile(context.Check(
      cmsCreateRGBProfileTHR(context.get(), &built_in->white, &built_in->primaries, curves)));
  const std::string words = built_in->name;
  WriteText(context, profile.get(), cmsSigProfileDescriptionTag, {words.begin(), words.end()});
  return Serialise(context, profile.get());
}

std::vector<uint8_t> MakeLinearProfile(const COR_QCE_Profile& source) {
  const LcmsContext context(kLargestBlock + 4 * source.bytes().size());
  const LcmsProfile from(context.Check(cmsOpenProfileFromMemTHR(
      context.get(), source.bytes().data(), static_cast<cmsUInt32Number>(source.bytes().size()))));
  const LcmsProfile to(context.Check(cmsCreateProfilePlaceholder(context.get())));
  cmsSetProfileVersion(to.get(), cmsGetProfileVersion(from.get()) < 4 ? 2.1 : 4.3);
  cmsSetDeviceClass(to.get(), cmsSigDisplayClass);
  cmsSetColorSpace(to.get(), cmsSigRgbData);
  cmsSetPCS(to.get(), cmsSigXYZData);
  cmsSetHeaderRenderingIntent(to.get(), INTENT_RELATIVE_COLORIMETRIC);

  WriteText(context, to.get(), cmsSigProfileDescriptionTag, source.description() + u" (linear)");
  WriteText(context, to.get(), cmsSigCopyrightTag, u"No copyright, use freely");
  for (const cmsTagSignature tag :
       {cmsSigMediaWhitePointTag, cmsSigChromaticAdaptationTag, cmsSigRedColorantTag,
        cmsSigGreenColorantTag, cmsSigBlueColorantTag}) {
    CopyTag(context, from.get(), to.get(), tag);
  }
  const LcmsCurve identity(context.Check(cmsBuildGamma(context.get(), 1)));
  for (const cmsTagSignature tag : {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag}) {
    context.Check(cmsWriteTag(to.get(), tag, identity.get()));
  }
  return Serialise(context, to.get());
}

}  // namespace host
