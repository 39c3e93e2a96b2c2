// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Converts the library's error codes to Python exceptions, and runs library calls without the
// interpreter's lock.

#include <pybind11/pybind11.h>

#include <chrono>
#include <exception>
#include <string>
#include <utility>

#include "VX/VX_Types.h"
#include "VX/cpp/Error.hpp"

namespace vxpy {

namespace py = pybind11;

// vx.Error: a RuntimeError with the attribute `code`.
void AddErrors(py::module_& module);

// Throws for any code but VX_Ok: MemoryError for VX_ErrOutOfMemory, otherwise vx.Error. Its text is
// the last report of this thread since the constructor of Call, or the meaning of the code if there
// is no report.
void Check(VX_Err code);

// Birth and death of the library (VX_Birth, VX_Death). Neither may run while a call is in progress.
void Birth();
bool Death();  // returns whether the package was alive
// Throws RuntimeError if a call is in progress on any thread, including an outer call on this
// thread.
void RequireNoCall(const char* what);

// A call into the library is in progress as long as a Call exists. The constructor throws if the
// library is not initialised, and deletes old reports.
class Call {
 public:
  Call();
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
};

// The VX_ProgressInfo of a library call. It checks for signals several times a second and calls the
// caller's function with (steps done, total steps). If that function returns a true value, the
// operation stops.
class Progress {
 public:
  explicit Progress(const py::object& callback);  // with None only signals are checked
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  VX_ProgressInfo* info() { return &info_; }
  // Throws the exception that the function or a signal handler raised, if there is one.
  void Rethrow();

 private:
  static VX_Err Poll(void* self, int32_t step, int32_t final_step);
  VX_Err Ask(int32_t step, int32_t final_step);

  VX_ProgressInfo info_{};
  py::object callback_;
  std::exception_ptr thrown_;
  std::chrono::steady_clock::time_point looked_;
};

// Calls `function` and returns its VX_Err. If it throws a VX_Err or a vx::Error, returns that code.
template <class Function>
VX_Err CodeOf(Function&& function) {
  try {
    return function();
  } catch (VX_Err code) {
    return code;
  } catch (const vx::Error& error) {
    return static_cast<VX_Err>(error.code());
  }
}

// Runs function() -> VX_Err without the interpreter's lock, so it must not use Python objects.
// Throws the exception that `watch` (a Progress or a similar class) has stored, if there is one;
// otherwise checks the returned code.
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
