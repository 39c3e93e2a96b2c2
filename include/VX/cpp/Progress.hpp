// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Reports the progress of long operations, and stops them.

#include <concepts>
#include <cstdint>
#include <exception>
#include <functional>
#include <stop_token>
#include <type_traits>
#include <utility>

#include "VX/cpp/Error.hpp"

namespace vx {

// Option of long operations: a callable, or a token by which another thread can stop the operation.
//
//   {.progress = [&](int step, int total) { bar.show(step, total); }}
//   {.progress = [&](int step, int total) { return !closing; }}         // false stops
//   {.progress = source.get_token()}
//
// The callable is called on the thread of the operation, every few rows. After a stop the operation
// throws Error (stopped), and pixels drawn before remain. An exception of the callable also ends
// the operation, and propagates unchanged.
class Progress {
 public:
  Progress() = default;

  Progress(std::stop_token token)  // NOLINT(google-explicit-constructor)
      : function_(
            [token = std::move(token)](int32_t, int32_t) { return !token.stop_requested(); }) {}

  template <std::invocable<int32_t, int32_t> Function>
  Progress(Function function) {  // NOLINT(google-explicit-constructor)
    if constexpr (std::is_void_v<std::invoke_result_t<Function&, int32_t, int32_t>>) {
      function_ = [function = std::move(function)](int32_t step, int32_t total) mutable {
        function(step, total);
        return true;
      };
    } else {
      function_ = std::move(function);
    }
  }

  explicit operator bool() const { return static_cast<bool>(function_); }
  // Calls the callable. Returns true to continue.
  bool operator()(int32_t step, int32_t total) const { return function_(step, total); }

 private:
  std::function<bool(int32_t, int32_t)> function_;
};

namespace detail {

// The VX_ProgressInfo of a Progress. Stores an exception of the callable until the C-style call has
// returned.
class ProgressRecord {
 public:
  explicit ProgressRecord(const Progress& progress) : progress_(progress) {
    info_.progress_func = Poll;
    info_.progress_refcon = this;
  }
  ProgressRecord(const ProgressRecord&) = delete;
  ProgressRecord& operator=(const ProgressRecord&) = delete;

  VX_ProgressInfo* info() { return &info_; }
  void rethrow() const {
    if (thrown_ != nullptr) std::rethrow_exception(thrown_);
  }

 private:
  static VX_Err Poll(void* refcon, int32_t step, int32_t total) {
    auto& record = *static_cast<ProgressRecord*>(refcon);
    try {
      return record.progress_(step, total) ? VX_Ok : VX_ErrStopped;
    } catch (...) {
      record.thrown_ = std::current_exception();
      return VX_ErrStopped;
    }
  }

  const Progress& progress_;
  VX_ProgressInfo info_{};
  std::exception_ptr thrown_;
};

// Runs a C-style call that has a VX_ProgressInfo* argument. Passes null if there is no progress
// option.
template <class Call>
void run(const Progress& progress, Call&& call) {
  if (!progress) return run([&] { return call(static_cast<VX_ProgressInfo*>(nullptr)); });
  ProgressRecord record(progress);
  const VX_Err code = code_of([&] { return call(record.info()); });
  record.rethrow();
  check(code);
}

}  // namespace detail

}  // namespace vx
