// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Little CMS as the engine uses it: silent, on the host's memory, never more at once than a profile
// of its size can need.
//
// Inside the engine a failure is a thrown QCE_Status or std::bad_alloc; Guarded turns it into the
// status of the call.

#include <lcms2.h>
#include <lcms2_plugin.h>

#include <memory>
#include <new>

#include "host/COR.h"

namespace host {

// One thread at a time. Little CMS is not ready for a small block that it does not get, so each
// context keeps a reserve from which it gets them, and the next Check ends the work. What is left
// then, or after a broken file, goes with the context.
class LcmsContext {
 public:
  // `largest_block` is the size, in bytes, above which an allocation is refused.
  explicit LcmsContext(size_t largest_block);
  ~LcmsContext();
  LcmsContext(const LcmsContext&) = delete;
  LcmsContext& operator=(const LcmsContext&) = delete;

  cmsContext get() const { return context_; }

  // Throws std::bad_alloc when memory has been short since the context was made.
  void Check() const;

  // The same, and throws `status` when `made` is null or false; else gives it back.
  template <class Result>
  Result Check(Result made, QCE_Status status = QCE_OutOfMemory) const {
    Check();
    if (!made) throw QCE_Status{status};
    return made;
  }

  // Gives the reserve back: from here on the context makes nothing more.
  void Finish();

  struct Link {
    Link *before, *after;
  };
  struct Meter {
    size_t largest_block;
    void* reserve;
    size_t reserve_used;
    bool is_short;
    Link blocks;  // a ring with this link in it
  };

 private:
  void Release();

  Meter meter_;
  cmsContext context_;
};

struct LcmsDelete {
  void operator()(cmsToneCurve* curve) const { cmsFreeToneCurve(curve); }
  void operator()(cmsMLU* text) const { cmsMLUfree(text); }
  void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using LcmsProfile = std::unique_ptr<void, LcmsDelete>;
using LcmsCurve = std::unique_ptr<cmsToneCurve, LcmsDelete>;
using LcmsText = std::unique_ptr<cmsMLU, LcmsDelete>;

template <class Function>
QCE_Status Guarded(Function&& function) noexcept {
  try {
    function();
    return QCE_Ok;
  } catch (QCE_Status status) {
    return status;
  } catch (...) {
    // The standard library throws here for want of memory or of another resource.
    return QCE_OutOfMemory;
  }
}

inline void Require(bool condition, QCE_Status otherwise = QCE_BadArgument) {
  if (!condition) throw QCE_Status{otherwise};
}

}  // namespace host
