// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <set>

namespace vxcli {

// Orders the work of the threads of a job by the indices of the frames. Thread-safe.
class FrameOrder {
 public:
  // Announces a frame, in ascending order, before a thread processes it.
  void Announce(size_t frame) {
    std::lock_guard lock(mutex_);
    announced_.insert(frame);
  }

  // Ends the turn of a frame. Called at the latest when the frame has ended. A frame may be
  // released several times.
  void Release(size_t frame) {
    std::lock_guard lock(mutex_);
    announced_.erase(frame);
    changed_.notify_all();
  }

  // Waits until all frames that were announced before `frame` are released, calls `work` while no
  // other thread is in this function, and releases the frame. After an exception it is not
  // released.
  template <class Work>
  void InTurn(size_t frame, Work&& work) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return announced_.empty() || *announced_.begin() >= frame; });
    work();
    announced_.erase(frame);
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::set<size_t> announced_;
};

}  // namespace vxcli
