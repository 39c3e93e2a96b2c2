// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Little CMS as the engine uses it: without log messages, with the host's memory, and with a limit
// on the size of blocks.
//
// Inside the engine a failure is thrown as a QCE_Status or std::bad_alloc; Guarded converts it to
// the status of the call.

#include <lcms2.h>
#include <lcms2_plugin.h>

#include <memory>
#include <new>

#include "host/COR.h"

namespace host {

// A context of Little CMS, used by one thread at a time. Little CMS does not handle failed
// allocations of small blocks. Therefore, if one fails, the block is allocated from reserve memory
// of the context, and the next call of Check throws. Blocks that Little CMS does not free, for
// example after an invalid file, are freed with the context.
class LcmsContext {
 public:
  // Allocations above `largest_block` bytes fail.
  explicit LcmsContext(size_t largest_block);
  ~LcmsContext();
  LcmsContext(const LcmsContext&) = delete;
  LcmsContext& operator=(const LcmsContext&) = delete;

  cmsContext get() const { return context_; }

  // Throws std::bad_alloc if an allocation has failed since the context was created.
  void Check() const;

  // Like Check above; also throws `status` if `made` is null or false. Returns `made`.
  template <class Result>
  Result Check(Result made, QCE_Status status = QCE_OutOfMemory) const {
    Check();
    if (!made) throw QCE_Status{status};
    return made;
  }

  // Frees the reserve memory. The context must not allocate afterwards.
  void Finish();

  struct Link {
    Link *before, *after;
  };
  struct Usage {
    size_t largest_block;
    void* reserve;
    size_t reserve_used;
    bool is_short;
    Link blocks;  // circular list that contains this link
  };

 private:
  void Release();

  Usage usage_;
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
    // The standard library throws if memory or another resource is exhausted.
    return QCE_OutOfMemory;
  }
}

inline void Require(bool condition, QCE_Status otherwise = QCE_BadArgument) {
  if (!condition) throw QCE_Status{otherwise};
}

}  // namespace host
