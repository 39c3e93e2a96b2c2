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

// Throws for any code but VX_Ok: MemoryError for VX_ErrOutOfMemory, else vx.Error with the text
// that the library reported on this thread, or with the meaning of the code if there is no report.
// The constructor of Call deletes reports of earlier calls.
void Check(VX_Err code);

// Birth and death of the package. Neither may run while a call is in progress.
void Birth();
bool Death();  // returns whether the package was alive
// Throws RuntimeError if a call is in progress, on another thread or in an outer frame of this one.
void Alone(const char* what);

// One call into the library. The constructor throws after death, deletes old reports and counts the
// call; the destructor ends it.
class Call {
 public:
  Call();
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
};

// The progress record of a library call. It checks Python's signals a few times a second and calls
// the caller's function with the number of finished steps and of all steps. A true result stops the
// operation.
class Progress {
 public:
  explicit Progress(const py::object& callback);  // None: signals only
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  VX_ProgressInfo* info() { return &info_; }
  // Throws the exception of the function or of a signal handler, if there was one.
  void Rethrow();

 private:
  static VX_Err Poll(void* self, int32_t step, int32_t final_step);
  VX_Err Ask(int32_t step, int32_t final_step);

  VX_ProgressInfo info_{};
  py::object callback_;
  std::exception_ptr thrown_;
  std::chrono::steady_clock::time_point looked_;
};

// Returns the code that `function` returns or throws, as a VX_Err or in a vx::Error.
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

// Runs function() -> VX_Err without the interpreter's lock; it must not use Python objects. An
// exception that `watch` (a Progress or a similar class) holds has precedence over the code.
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
