// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_Report.h"

#include <cstdio>
#include <exception>

#include "VX/VX_Package.h"
#include "host/U.h"

namespace {

// A plain array without constructor and destructor, so that reports work at any time in the life of
// a thread.
constinit thread_local char last_report[512] = "";

}  // namespace

const char* VX_LastReport() { return last_report; }

void VX_ForgetReport() { last_report[0] = '\0'; }

void VXp_StoreReport(const char* text) {
  std::snprintf(last_report, sizeof last_report, "%s", text != nullptr ? text : "");
}

VX_Err VXp_FailVerification(uint32_t number, int32_t line, const char* text) {
  VXp_StoreReport(text);
  U_ReportFailedVerification(kVXp_PackageWord | number, line, 0, text);
  return VX_ErrBadParameter;
}

VX_Err VXp_FailVerification(const char* text, int32_t line) {
  return VXp_FailVerification(kVXp_NoCheckNumber, line, text);
}

VX_Err VXp_ReportText(uint32_t number, const char* text, VX_Err code) {
  constexpr int32_t kSeverity = 8;
  VXp_StoreReport(text);
  Up_ReportErrString(kVXp_PackageWord | number, kSeverity, text);
  return code;
}

VX_Err VXp_ReportEntry(uint32_t number, int32_t entry, VX_Err code) {
  return VXp_ReportText(number, U_ZLookupLStrCache(&VX_G_zref, entry), code);
}

VX_Err VXp_BadParameter(uint32_t number) {
  constexpr int32_t kBadParameterText = 4;
  return VXp_ReportEntry(number, kBadParameterText, VX_ErrBadParameter);
}

void VXp_Throw(VX_Err code) { throw int32_t{code}; }

VX_Err VXp_CodeOfCurrentException() noexcept {
  try {
    throw;
  } catch (int32_t code) {
    return code;
  } catch (const std::exception& error) {
    VXp_StoreReport(error.what());
    return U_TranslateAndReportException(error);
  } catch (...) {
    return VXp_FailVerification("unexpected kind of exception");
  }
}
