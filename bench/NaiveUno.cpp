// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "NaiveUno.h"

#include <cstdint>

namespace {

uint8_t Product(uint8_t a, uint8_t b) {
  const int32_t t = a * b;
  return static_cast<uint8_t>((((t + 128) >> 8) + 128 + t) >> 8);
}
uint16_t Product(uint16_t a, uint16_t b) {
  return static_cast<uint16_t>((uint32_t{a} * b + 16383u) >> 15);
}
float Product(float a, float b) { return a * b; }

uint8_t Full(uint8_t) { return 255; }
uint16_t Full(uint16_t) { return 32768; }
float Full(float) { return 1.0f; }

uint8_t Mix(uint8_t s, uint8_t m, uint8_t d) {
  const int32_t e = s - d;
  const int32_t t = e * m - (e < 0 ? 1 : 0) + 128;
  return static_cast<uint8_t>(d + ((t + (t >> 8)) >> 8));
}
uint16_t Mix(uint16_t s, uint16_t m, uint16_t d) {
  if (s > d) return static_cast<uint16_t>(d + Product(m, static_cast<uint16_t>(s - d)));
  return static_cast<uint16_t>(d - Product(m, static_cast<uint16_t>(d - s)));
}
float Mix(float s, float m, float d) { return d + m * (s - d); }

}  // namespace

template <class Sample>
void NaiveUnoFill(Sample value, Sample* dst, size_t count) {
  for (size_t i = 0; i < count; ++i) dst[i] = value;
}

template <class Sample>
void NaiveUnoFade(Sample opacity, Sample* dst, size_t count) {
  for (size_t i = 0; i < count; ++i) dst[i] = Product(dst[i], opacity);
}

template <class Sample>
void NaiveUnoInvert(Sample* dst, size_t count) {
  for (size_t i = 0; i < count; ++i) dst[i] = static_cast<Sample>(Full(dst[i]) - dst[i]);
}

template <class Sample>
void NaiveUnoTransfer(const Sample* src, const Sample* mask, Sample* dst, size_t count) {
  for (size_t i = 0; i < count; ++i) dst[i] = Mix(src[i], mask[i], dst[i]);
}

template <class Sample>
void NaiveUnoMerge(const Sample* mask, Sample* pixels, size_t count) {
  for (size_t i = 0; i < count; ++i) pixels[4 * i] = Product(mask[i], pixels[4 * i]);
}

template void NaiveUnoFill(uint8_t, uint8_t*, size_t);
template void NaiveUnoFill(uint16_t, uint16_t*, size_t);
template void NaiveUnoFill(float, float*, size_t);
template void NaiveUnoFade(uint8_t, uint8_t*, size_t);
template void NaiveUnoFade(uint16_t, uint16_t*, size_t);
template void NaiveUnoFade(float, float*, size_t);
template void NaiveUnoInvert(uint8_t*, size_t);
template void NaiveUnoInvert(uint16_t*, size_t);
template void NaiveUnoInvert(float*, size_t);
template void NaiveUnoTransfer(const uint8_t*, const uint8_t*, uint8_t*, size_t);
template void NaiveUnoTransfer(const uint16_t*, const uint16_t*, uint16_t*, size_t);
template void NaiveUnoTransfer(const float*, const float*, float*, size_t);
template void NaiveUnoMerge(const uint8_t*, uint8_t*, size_t);
template void NaiveUnoMerge(const uint16_t*, uint16_t*, size_t);
template void NaiveUnoMerge(const float*, float*, size_t);
