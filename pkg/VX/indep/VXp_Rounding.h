// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Rounding to nearest, independent of the rounding mode of the calling thread.

#include <cfenv>

#ifdef __SSE2__
#include <xmmintrin.h>
#endif

// Sets the rounding mode of the thread to nearest for the lifetime of the object.
class VXp_NearestRounding {
 public:
#ifdef __SSE2__
  // IsSet is fast enough to be called for each pixel: one store and one test.
  static bool IsSet() { return (_mm_getcsr() & _MM_ROUND_MASK) == _MM_ROUND_NEAREST; }

  VXp_NearestRounding() : saved_(_mm_getcsr()) {
    _mm_setcsr((saved_ & ~static_cast<unsigned>(_MM_ROUND_MASK)) | _MM_ROUND_NEAREST);
  }
  ~VXp_NearestRounding() { _mm_setcsr(saved_); }

 private:
  unsigned saved_;
#else
  static bool IsSet() { return std::fegetround() == FE_TONEAREST; }

  VXp_NearestRounding() : saved_(std::fegetround()) { std::fesetround(FE_TONEAREST); }
  ~VXp_NearestRounding() { std::fesetround(saved_); }

 private:
  int saved_;
#endif
 public:
  VXp_NearestRounding(const VXp_NearestRounding&) = delete;
  VXp_NearestRounding& operator=(const VXp_NearestRounding&) = delete;
};

// Runs `body` in the rounding mode "to nearest". `body` must write its results to memory and
// capture by value.
//
// If the mode is already set, `body` is called directly. Otherwise the mode is changed and `body`
// is called through a volatile pointer, because the compiler may move arithmetic across a change of
// the mode, but not into or out of such a call. The call receives the address of a copy, so that in
// the first case the captures can stay in registers.
template <class Body>
void VXp_RoundingToNearest(const Body& body) {
  if (VXp_NearestRounding::IsSet()) [[likely]] {
    body();
    return;
  }
  const VXp_NearestRounding rounding;
  const Body copy = body;
  void (*volatile call)(const Body&) = [](const Body& there) { there(); };
  call(copy);
}
