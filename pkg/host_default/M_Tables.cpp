// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <array>
#include <cmath>
#include <numbers>

#include "HostInternal.h"
#include "host/M.h"

namespace {

struct ByteTables {
  std::array<uint8_t, 65536> mul;
  std::array<uint8_t, 65536> div;
};

constexpr ByteTables MakeByteTables() {
  ByteTables tables{};
  for (int a = 0; a < 256; ++a) {
    for (int v = 0; v < 256; ++v) {
      const int t = a * v + 128;
      const size_t i = static_cast<size_t>(a * 256 + v);
      tables.mul[i] = static_cast<uint8_t>(((t >> 8) + t) >> 8);
      tables.div[i] =
          a == 0 || v >= a ? uint8_t{255} : static_cast<uint8_t>(((a >> 1) + 255 * v) / a);
    }
  }
  return tables;
}

// The tables are in read-only memory, so that a write by a client crashes immediately.
constexpr ByteTables kBytes = MakeByteTables();

struct TrigTables {
  int32_t sine[M_FTRIG_STEPS];
  int32_t cosine[M_FTRIG_STEPS];

  TrigTables() {
    for (int i = 0; i < M_FTRIG_STEPS; ++i) {
      const double angle = 2 * std::numbers::pi * i / M_FTRIG_STEPS;
      sine[i] = static_cast<int32_t>(std::lround(std::sin(angle) * 65536));
      cosine[i] = static_cast<int32_t>(std::lround(std::cos(angle) * 65536));
    }
  }
};

TrigTables& Trig() {
  static TrigTables tables;
  return tables;
}

}  // namespace

namespace host {

constinit PairCount byte_tables;
constinit PairCount trig_tables;

}  // namespace host

U_Err M_PrepareFCMD(int32_t, int32_t, int32_t, uint8_t** mul, uint8_t** div) {
  if (mul) *mul = const_cast<uint8_t*>(kBytes.mul.data());
  if (div) *div = const_cast<uint8_t*>(kBytes.div.data());
  host::byte_tables.Begin();
  return 0;
}

U_Err M_UnprepareFCMD() {
  host::byte_tables.End();
  return 0;
}

U_Err M_PrepareFTrig(int32_t, int32_t, int32_t, int32_t** sine, int32_t** cosine) {
  TrigTables& tables = Trig();
  if (sine) *sine = tables.sine;
  if (cosine) *cosine = tables.cosine;
  host::trig_tables.Begin();
  return 0;
}

U_Err M_UnprepareFTrig() {
  host::trig_tables.End();
  return 0;
}
