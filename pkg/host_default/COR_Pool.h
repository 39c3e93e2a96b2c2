// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <map>
#include <mutex>

#include "host/COR.h"

// What the pool has met, behind one lock.
class COR_QCE_ProfilePool {
 public:
  // Keeps `profile` unless one of this identity is known.
  void Learn(const _t_QCE_ID& id, const COR_QCE_ProfilePtr& profile) {
    const std::lock_guard lock(mutex_);
    met_.emplace(std::to_array(id.words), profile);
  }

  // Null when none of this identity is known.
  COR_QCE_ProfilePtr Find(const _t_QCE_ID& id) const {
    const std::lock_guard lock(mutex_);
    const auto found = met_.find(std::to_array(id.words));
    return found == met_.end() ? nullptr : found->second;
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::array<uint32_t, 4>, COR_QCE_ProfilePtr> met_;
};
