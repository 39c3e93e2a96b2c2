// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Errors as exceptions.

#include <cstdint>
#include <stdexcept>
#include <string>

#include "VX/VX_Export.h"
#include "VX/VX_Package.h"

namespace vx {

// The result codes of the C-style interface (VX_Err...). Errors thrown by functions of Color.hpp
// may instead contain a status of the colour engine (QCE_... in host/COR.h).
enum class ErrorCode : int32_t {
  color_engine = VX_ErrColorEngine,  // the colour engine of the host could not be bound
  bad_parameter = VX_ErrBadParameter,
  out_of_memory = VX_ErrOutOfMemory,
  unsupported = VX_ErrUnsupported,         // unsupported conversion or unknown mode
  version = VX_ErrVersion,                 // headers and library differ
  no_bitmap = VX_ErrNoBMWorld,             // the world has no host bitmap
  motion_settings = VX_ErrMotionSettings,  // settings of motion estimation out of range
  obsolete = VX_ErrObsolete,
  reported = VX_ErrReported,  // the text of the report contains the reason
  stopped = VX_ErrStopped,    // the progress callable or its stop token stopped the call
};

// The name of a code, for example "bad parameter"; "unknown error" for an unknown number.
constexpr const char* name(ErrorCode code) {
  switch (code) {
    case ErrorCode::color_engine: return "no colour engine";
    case ErrorCode::bad_parameter: return "bad parameter";
    case ErrorCode::out_of_memory: return "out of memory";
    case ErrorCode::unsupported: return "unsupported";
    case ErrorCode::version: return "version mismatch";
    case ErrorCode::no_bitmap: return "no host bitmap";
    case ErrorCode::motion_settings: return "motion settings out of range";
    case ErrorCode::obsolete: return "obsolete routine";
    case ErrorCode::reported: return "reported";
    case ErrorCode::stopped: return "stopped";
  }
  // Statuses of the colour engine are four-character codes, so they are above 0xFFFF.
  return static_cast<int32_t>(code) > 0xFFFF ? "colour engine" : "unknown error";
}

// Thrown by every function of this namespace that fails. what() is the name of the code, followed
// by ": " and the report if there is one. Exported, so that code in another shared library can
// catch it.
class VX_API Error : public std::runtime_error {
 public:
  //   code    the reason
  //   report  one sentence about the reason; may be empty
  explicit Error(ErrorCode code, const std::string& report = {})
      : std::runtime_error(vx::name(code) + (report.empty() ? std::string() : ": " + report)),
        code_(code),
        report_(report) {}

  ErrorCode code() const noexcept { return code_; }
  const char* name() const noexcept { return vx::name(code_); }
  // The text that the library reported on this thread during the call (VX_LastReport). Empty if
  // there was no report, or if the host itself made it.
  const std::string& report() const noexcept { return report_; }

 private:
  ErrorCode code_;
  std::string report_;
};

namespace detail {

// Returns the code that a C-style call returns, or that it throws as a VX_Err. Other exceptions are
// not caught.
template <class Call>
VX_Err code_of(Call&& call) {
  VX_ForgetReport();
  try {
    return call();
  } catch (VX_Err thrown) {
    return thrown;
  }
}

inline void check(VX_Err code) {
  if (code != VX_Ok) throw Error(static_cast<ErrorCode>(code), VX_LastReport());
}

template <class Call>
void run(Call&& call) {
  check(code_of(call));
}

[[noreturn]] inline void refuse(const char* report) {
  throw Error(ErrorCode::bad_parameter, report);
}

}  // namespace detail

}  // namespace vx
