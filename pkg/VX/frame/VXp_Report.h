// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Reports, thrown codes and the guard at the boundary.
//
// Programmer errors are reported and give 3; they are not thrown. Threads: the host's report
// functions decide; each thread keeps the text of its newest report, see VX_LastReport.

#include <cstdint>
#include <type_traits>
#include <utility>

#include "VX/VX_Types.h"

// Every check number carries the package word; this one is for checks without a number of their
// own.
inline constexpr uint32_t kVXp_PackageWord = 0x250000;
inline constexpr uint32_t kVXp_NoCheckNumber = 0x3E7;

// Reports a failed verification and gives 3. The number may come with or without the package word.
VX_Err VXp_FailVerification(uint32_t number, int32_t line, const char* text);

// The same for a check without a number. The line is the caller's.
VX_Err VXp_FailVerification(const char* text, int32_t line = __builtin_LINE());

// Shows the user a text, or an entry of the string table, and gives `code`. The number may come
// with or without the package word.
VX_Err VXp_ReportText(uint32_t number, const char* text, VX_Err code);
VX_Err VXp_ReportEntry(uint32_t number, int32_t entry, VX_Err code);

// The common report of a bad argument, entry 4 of the string table. Gives 3. The number tells the
// caller: planes out 4 and in 5, fills 13, world iterators 14, draft copy 48, generic iterator 70.
VX_Err VXp_BadParameter(uint32_t number);

// Stores the text that VX_LastReport returns. Null counts as empty. The functions above call it;
// code that reports to the host directly calls it too.
void VXp_KeepReport(const char* text);

// Throws the code as exactly int32_t by value.
[[noreturn]] void VXp_Throw(VX_Err code);

// Throws a code that is not 0.
inline void VXp_ThrowIf(VX_Err code) {
  if (code != VX_Ok) VXp_Throw(code);
}

// Inside a handler: the code of the exception in flight. A thrown int32_t is the code itself; a
// std::exception goes to the host, which reports it and tells the code; anything else, which no
// code of ours throws, is reported as a failed verification and gives 3.
VX_Err VXp_CodeOfCurrentException() noexcept;

// Runs `body` and lets no exception out. The body returns a code or nothing.
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
