// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Reports, thrown codes, and the conversion of exceptions at the interface.
//
// Programming errors are reported and return VX_ErrBadParameter; they are not thrown. The functions
// are as thread-safe as the host's report functions. Each thread has its own text of the latest
// report, see VX_LastReport.

#include <cstdint>
#include <type_traits>
#include <utility>

#include "VX/VX_Types.h"

// A check number identifies the failed check in reports to the host. It is ORed with the package
// word. kVXp_NoCheckNumber is for checks without a number.
inline constexpr uint32_t kVXp_PackageWord = 0x250000;
inline constexpr uint32_t kVXp_NoCheckNumber = 0x3E7;

// Reports a failed check and returns VX_ErrBadParameter. `number` may omit the package word.
VX_Err VXp_FailVerification(uint32_t number, int32_t line, const char* text);

// Reports a failed check without a number. `line` is the source line of the caller.
VX_Err VXp_FailVerification(const char* text, int32_t line = __builtin_LINE());

// Reports a text, or an entry of the string table, to the user and returns `code`. `number` may
// omit the package word.
VX_Err VXp_ReportText(uint32_t number, const char* text, VX_Err code);
VX_Err VXp_ReportEntry(uint32_t number, int32_t entry, VX_Err code);

// Reports a bad argument (entry 4 of the string table) and returns VX_ErrBadParameter. The check
// numbers of the callers are: extract planes 4, insert planes 5, fills 13, iterators 14, draft copy
// 48, generic iterator 70.
VX_Err VXp_BadParameter(uint32_t number);

// Stores the text that VX_LastReport returns; null is treated as empty. The functions above call
// it; code that reports to the host directly must call it too.
void VXp_StoreReport(const char* text);

// Throws the code as int32_t by value.
[[noreturn]] void VXp_Throw(VX_Err code);

// Throws the code unless it is VX_Ok.
inline void VXp_ThrowIf(VX_Err code) {
  if (code != VX_Ok) VXp_Throw(code);
}

// Converts the exception that the current catch block handles to a code. For an int32_t, returns
// it. A std::exception is reported by the host, which returns the code. Any other exception is
// reported as a failed check and gives VX_ErrBadParameter.
VX_Err VXp_CodeOfCurrentException() noexcept;

// Calls `body` and converts exceptions to codes. The body returns a code or nothing.
template <class Body>
VX_Err VXp_Guarded(Body&& body) noexcept {
  try {
    if constexpr (std::is_void_v<decltype(std::forward<Body>(body)())>) {
      std::forward<Body>(body)();
      return VX_Ok;
    } else {
      return std::forward<Body>(body)();
    }
  } catch (...) {
    return VXp_CodeOfCurrentException();
  }
}
