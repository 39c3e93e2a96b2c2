// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The cases of rows of one-channel buffers.

#include "CheckRows.h"
#include "VX/VX_UnoBuffer.h"

// A sample as a pixel that has nothing else.
template <class Channel>
struct OneSample {
  Channel alpha;
};

template <class Channel>
Channel* SamplesOf(const Frame<OneSample<Channel>>& frame) {
  return reinterpret_cast<Channel*>(frame.data());
}

// With a mask, without one, and onto itself.
template <class Channel>
void CheckSlot(Trial& trial, VX_UnoTransferFunc<Channel> routine) {
  Rows<OneSample<Channel>> rows;
  const char* const ways[] = {"with mask", "no mask", "onto itself"};
  for (const char* way : ways) {
    rows.ForEachCase(trial, way, [&](int32_t count) {
      Channel* const dst = SamplesOf(rows.dst);
      trial.Gave(routine(count, way == ways[2] ? dst : SamplesOf(rows.src),
                         way == ways[1] ? nullptr : SamplesOf(rows.mask), dst));
    });
  }
}

template <class Channel>
void CheckSlot(Trial& trial, VX_UnoFadeFunc<Channel> routine) {
  Rows<OneSample<Channel>> rows;
  rows.ForEachCase(trial, "fade", [&](int32_t count) {
    trial.Gave(routine(count, AnyOpacity<Channel>(trial), SamplesOf(rows.dst)));
  });
}

// Runs `check(src, dst, count)` for rows of two depths in all kinds of places.
template <class From, class To, class Check>
void ForRowsOf(Trial& trial, const char* what, Check check) {
  Frame<OneSample<From>> src(1);
  Frame<OneSample<To>> dst(1);
  for (int32_t i = 0; i < kCounts * trial.rounds(); ++i) {
    const int32_t aligned[] = {i % 16, (i / 16 + i) % 16};
    const int32_t at_end[] = {kAtPageEnd, kAtPageEnd}, at_start[] = {kAtPageStart, kAtPageStart};
    for (const int32_t* spots : {at_end, at_start, aligned}) {
      trial.Case("%s, %zu bytes to %zu, count %d, source %s, destination %s", what, sizeof(From),
                 sizeof(To), i % kCounts, SpotName(spots[0]).c_str(), SpotName(spots[1]).c_str());
      src.Lay(trial, i % kCounts, 1, 0, spots[0]);
      dst.Lay(trial, i % kCounts, 1, 0, spots[1]);
      check(SamplesOf(src), SamplesOf(dst), i % kCounts);
      src.ExpectUntouched(trial);
      dst.Give(trial);
    }
  }
}

template <class From, class To>
void CheckConversion(Trial& trial, VX_UnoConvertFunc routine) {
  for (const int16_t flag : {0, 1}) {
    ForRowsOf<From, To>(
        trial, flag == 0 ? "convert" : "convert and invert",
        [&](const From* src, To* dst, int32_t count) {
          trial.Gave(routine(count, sizeof(From) * 8, src, flag, sizeof(To) * 8, dst));
        });
  }
}
inline void CheckSlot(Trial& trial, VX_UnoConvertFunc routine) {
  const auto from = [&]<class From>(From) {
    CheckConversion<From, uint8_t>(trial, routine);
    CheckConversion<From, uint16_t>(trial, routine);
    CheckConversion<From, float>(trial, routine);
  };
  from(uint8_t{}), from(uint16_t{}), from(float{});
}

// No gain, little and much.
template <class From, class To>
void CheckSums(Trial& trial, VX_UnoAccumulateFunc routine) {
  const int32_t one = sizeof(From) == 1 ? 255 : 32768;
  const int32_t gains[] = {one, one, 0, 1, one - 1, one / 3, 2 * one, 1 << 30};
  for (int32_t mode = VX_UnoAccumulate_Add; mode <= VX_UnoAccumulate_Subtract; ++mode) {
    ForRowsOf<From, To>(trial, "accumulate", [&](const From* src, To* dst, int32_t count) {
      const bool plain = trial.Draw(3) == 0;
      const int32_t gain_src = plain ? one : gains[trial.Draw(8)];
      const int32_t gain_dst = plain ? one : gains[trial.Draw(8)];
      trial.Gave(
          routine(count, mode, sizeof(From) * 8, src, gain_src, gain_dst, sizeof(To) * 8, dst));
    });
  }
}
inline void CheckSlot(Trial& trial, VX_UnoAccumulateFunc routine) {
  CheckSums<uint8_t, uint8_t>(trial, routine);
  CheckSums<uint8_t, uint16_t>(trial, routine);
  CheckSums<uint16_t, uint16_t>(trial, routine);
  CheckSums<float, float>(trial, routine);
}
