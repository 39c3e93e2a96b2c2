// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Codes of the library as exceptions of Python, and calls that leave the interpreter alone while
// pixels are worked on.

#include <pybind11/pybind11.h>

#include <chrono>
#include <exception>
#include <string>
#include <utility>

#include "VX/VX_Types.h"

namespace vxpy {

namespace py = pybind11;

// vx.Error: a RuntimeError with the attribute `code`.
void AddErrors(py::module_& module);

// Throws vx.Error with what the library reported on this thread, or else with what the code means;
// MemoryError for 4. Nothing for 0. Reports of earlier calls are forgotten by BeginCall.
void Check(VX_Err code);

// The package is born and dies once at a time; nothing runs while it does.
void Birth();
bool Death();  // whether it lived
// RuntimeError while a call works, on another thread or further out on this one.
void Alone(const char* what);

// One call into the library: refuses after death, forgets old reports, counts.
class Call {
 public:
  Call();
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
};

// What a call of the library polls: Python's signals, a few times a second, and the caller's
// function, called with the steps done and all steps; what is true stops the work.
class Progress {
 public:
  explicit Progress(const py::object& callback);  // None: only the signals
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  VX_ProgressInfo* info() { return &info_; }
  // Throws what the function, or a signal handler, threw.
  void Rethrow();

 private:
  static VX_Err Poll(void* self, int32_t step, int32_t final_step);
  VX_Err Ask(int32_t step, int32_t final_step);

  VX_ProgressInfo info_{};
  py::object callback_;
  std::exception_ptr thrown_;
  std::chrono::steady_clock::time_point looked_;
};

// The code of a function that may throw one.
template <class Function>
VX_Err CodeOf(Function&& function) {
  try {
    return function();
  } catch (VX_Err code) {
    return code;
  }
}

// Runs function() -> VX_Err without the interpreter's lock. Only for functions that touch no object
// of Python. What the watch, a Progress or alike, has caught goes before what the code says.
template <class Watch, class Function>
void Run(Watch& watch, Function&& function) {
  const Call call;
  VX_Err code;
  {
    const py::gil_scoped_release release;
    code = CodeOf(std::forward<Function>(function));
  }
  watch.Rethrow();
  Check(code);
}

template <class Function>
void Run(Function&& function) {
  const Call call;
  VX_Err code;
  {
    const py::gil_scoped_release release;
    code = CodeOf(std::forward<Function>(function));
  }
  Check(code);
}

}  // namespace vxpy
