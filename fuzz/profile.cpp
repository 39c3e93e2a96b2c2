// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Reads random bytes as a colour profile. Either the engine refuses them with a status for invalid
// files, or all operations on the profile must succeed.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/COR.h"
#include "host/VXHost.h"

namespace {

void Demand(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "broken promise: %s\n", what);
  std::abort();
}

// Sizes that a file declares must not decide how much memory is allocated.
constinit size_t largest_block = 0;

void* Allocate(size_t size, void*) {
  Demand(size <= largest_block, "blocks are bounded by the size of the file");
  return std::malloc(size);
}

void Release(void* block, void*) { std::free(block); }

bool BindEngine() {
  const VXHost_Allocator allocator = {Allocate, Release, nullptr};
  VXHost_SetAllocator(&allocator);
  COR_AddressProc engine = nullptr;
  return COR_GetQIBAddressProc(&engine) == 0 && COR_BindClient(engine);
}

template <class Channel>
void Convert(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to, uint32_t format,
             Channel white) {
  COR_QCE_TransformPtr transform;
  Demand(COR_QCE_NewTransform(from, to, format, &transform) == QCE_Ok, "transforms can be made");
  Channel row[4 * 33];
  for (int i = 0; i < 4 * 33; ++i) row[i] = Channel(white * (i * 29 % 132) / 131);
  Demand(COR_QCE_Apply(transform, format, row, format, row, 33, nullptr) == QCE_Ok,
         "transforms can be applied");
  for (int i = 0; i < 4 * 33 && format != QCE_Format_ArgbFloat; ++i) {
    Demand(row[i] <= white, "whole numbers stay within white");
  }
}

void Use(const COR_QCE_ProfilePtr& profile) {
  std::u16string text;
  std::vector<uint8_t> bytes;
  _t_QCE_ID id, again;
  float exponent = 0;
  COR_QCE_ProfilePtr copy, linear, srgb;
  Demand(COR_QCE_GetProfileDescription(profile, &text) == QCE_Ok, "profiles have a description");
  Demand(COR_QCE_GetProfileID(nullptr, profile, &id) == QCE_Ok, "profiles have an identity");
  Demand(COR_QCE_GetToneExponent(profile, &exponent) == QCE_Ok && exponent > 0 &&
             std::isfinite(exponent) && std::isfinite(1 / exponent),
         "exponents can be used");
  Demand(COR_QCE_GetProfileBytes(profile, &bytes) == QCE_Ok &&
             COR_QCE_ProfileFromMemory(bytes.data(), bytes.size(), &copy) == QCE_Ok &&
             COR_QCE_GetProfileID(nullptr, copy, &again) == QCE_Ok && id == again,
         "a profile's bytes are the same profile");
  Demand(COR_QCE_GetLinearRGBProfile(profile, &linear) == QCE_Ok &&
             COR_QCE_GetToneExponent(linear, &exponent) == QCE_Ok && exponent == 1,
         "a linear counterpart is linear");
  Demand(COR_QCE_ProfileFromName("sRGB", &srgb) == QCE_Ok, "sRGB is there");
  Convert<uint16_t>(profile, linear, QCE_Format_Argb16, 32768);
  Convert<uint8_t>(linear, profile, QCE_Format_Argb8, 255);
  Convert<uint8_t>(profile, srgb, QCE_Format_Argb8, 255);
  Convert<float>(srgb, profile, QCE_Format_ArgbFloat, 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool bound = BindEngine();
  Demand(bound, "the engine is there");
  largest_block = (size_t{2} << 20) + 8 * size;
  COR_QCE_ProfilePtr profile;
  const QCE_Status status = COR_QCE_ProfileFromMemory(data, size, &profile);
  switch (status) {
    case QCE_Ok: Use(profile); break;
    case QCE_TooLarge:
    case QCE_Truncated:
    case QCE_Damaged:
    case QCE_WrongClass:
    case QCE_WrongModel:
    case QCE_NoPrimaries:
    case QCE_BadCurve: Demand(!profile, "a failed call changes nothing"); break;
    default: Demand(false, COR_QCE_StatusText(status));
  }
  return 0;
}
