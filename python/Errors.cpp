// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Errors.h"

#include <atomic>
#include <string_view>

#include "VX/VX_Package.h"
#include "host/PLUG.h"
#include "host/VXHost.h"

namespace vxpy {

namespace {

PyObject* error_type = nullptr;
std::atomic<bool> born{false};
std::atomic<int32_t> calls{0};

constexpr auto kBetweenSignals = std::chrono::milliseconds(50);

const char* Meaning(VX_Err code) {
  switch (code) {
    case VX_ErrColorEngine: return "the colour engine could not be bound";
    case VX_ErrBadParameter: return "bad argument";
    case VX_ErrOutOfMemory: return "out of memory";
    case VX_ErrUnsupported: return "not supported";
    case VX_ErrVersion: return "built against other headers";
    case VX_ErrStopped: return "stopped";
    default: return "failed";
  }
}

// Replaces the placeholder for an apostrophe in a report; hosts with a user interface replace it by
// the apostrophe of the user's language.
std::string Plain(std::string text) {
  constexpr std::string_view kSign = "#{rsquo}";
  for (size_t at; (at = text.find(kSign)) != std::string::npos;) {
    text.replace(at, kSign.size(), "'");
  }
  return text;
}

[[noreturn]] void Throw(VX_Err code, const std::string& text) {
  const py::object error = py::reinterpret_borrow<py::object>(error_type)(text);
  error.attr("code") = code;
  PyErr_SetObject(error_type, error.ptr());
  throw py::error_already_set();
}

}  // namespace

void AddErrors(py::module_& module) {
  error_type = PyErr_NewExceptionWithDoc(
      "vx.Error",
      "The library refused an operation or could not complete it. `code` is the error code: 3 bad\n"
      "argument, 5 not supported, 7 version, 517 stopped by a progress function, and others.",
      PyExc_RuntimeError, nullptr);
  if (error_type == nullptr) throw py::error_already_set();
  py::setattr(py::reinterpret_borrow<py::object>(error_type), "code", py::int_(0));
  module.attr("Error") = py::reinterpret_borrow<py::object>(error_type);
}

void Check(VX_Err code) {
  if (code == VX_Ok) return;
  if (code == VX_ErrOutOfMemory) {
    PyErr_SetNone(PyExc_MemoryError);
    throw py::error_already_set();
  }
  const std::vector<VXHost_Report> reports = VXHost_TakeReports();
  Throw(code, reports.empty() ? Meaning(code) : Plain(reports.back().text));
}

void RequireNoCall(const char* what) {
  if (calls.load() == 0) return;
  throw std::runtime_error(std::string(what) + ": other calls are still at work");
}

void Birth() {
  if (born.load()) return;
  Check(VX_CheckVersions(0x250000, VX_PKG_VERSION));
  VXHost_SetLibraryThreads(0);
  VX_Err code = VX_Birth();
  if (code == VX_Ok) code = PLUG_RunScans();
  if (code != VX_Ok) static_cast<void>(VX_Death());
  Check(code);
  born = true;
}

bool Death() {
  if (!born.load()) return false;
  RequireNoCall("death");
  born = false;
  Check(VX_Death());
  return true;
}

Call::Call() {
  if (!born.load()) Throw(VX_ErrBadParameter, "the library has ended; vx.birth() starts it again");
  static_cast<void>(VXHost_TakeReports());
  ++calls;
}

Call::~Call() { --calls; }

Progress::Progress(const py::object& callback) : callback_(callback) {
  if (!callback.is_none() && PyCallable_Check(callback.ptr()) == 0) {
    throw py::type_error("progress: needs a function of (done, all), or None");
  }
  info_.progress_func = Poll;
  info_.progress_refcon = this;
  looked_ = std::chrono::steady_clock::now();
}

VX_Err Progress::Poll(void* self, int32_t step, int32_t final_step) {
  return static_cast<Progress*>(self)->Ask(step, final_step);
}

VX_Err Progress::Ask(int32_t step, int32_t final_step) {
  if (thrown_) return VX_ErrStopped;
  const auto now = std::chrono::steady_clock::now();
  const bool signals = now - looked_ >= kBetweenSignals;
  if (callback_.is_none() && !signals) return VX_Ok;
  const py::gil_scoped_acquire acquire;
  try {
    if (signals) {
      looked_ = now;
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    }
    if (callback_.is_none()) return VX_Ok;
    const py::object stop = callback_(step, final_step);
    const int truth = PyObject_IsTrue(stop.ptr());
    if (truth < 0) throw py::error_already_set();
    return truth != 0 ? VX_ErrStopped : VX_Ok;
  } catch (...) {
    thrown_ = std::current_exception();
    return VX_ErrStopped;
  }
}

void Progress::Rethrow() {
  if (!thrown_) return;
  const std::exception_ptr thrown = std::exchange(thrown_, nullptr);
  std::rethrow_exception(thrown);
}

}  // namespace vxpy
