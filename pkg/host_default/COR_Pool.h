// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <map>
#include <mutex>

#include "host/COR.h"

// The profiles of a pool. A mutex makes it thread-safe.
class COR_QCE_ProfilePool {
 public:
  // Adds `profile` unless the pool contains one with this identifier.
  void Add(const _t_QCE_ID& id, const COR_QCE_ProfilePtr& profile) {
    const std::lock_guard lock(mutex_);
    profiles_.emplace(std::to_array(id.words), profile);
  }

  // Returns the profile with this identifier; null if there is none.
  COR_QCE_ProfilePtr Find(const _t_QCE_ID& id) const {
    const std::lock_guard lock(mutex_);
    const auto found = profiles_.find(std::to_array(id.words));
    return found == profiles_.end() ? nullptr : found->second;
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::array<uint32_t, 4>, COR_QCE_ProfilePtr> profiles_;
};
