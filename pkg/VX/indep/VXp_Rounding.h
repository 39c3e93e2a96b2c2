// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Work that must round to nearest, whatever the caller's thread is set to.

#include <cfenv>

#ifdef __SSE2__
#include <xmmintrin.h>
#endif

// Sets the thread to round to nearest while it lives.
class VXp_NearestRounding {
 public:
#ifdef __SSE2__
  // One store and one test: cheap enough for each pixel.
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

// Runs `body`, which writes its results to memory and captures by value.
//
// The compiler may move arithmetic across a change of the mode, of which it knows nothing; a call
// through a pointer that it can not see through stays where it is. The copy keeps what is captured
// in registers on the usual way.
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
