// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>

#include "State.h"
#include "host/BM.h"
#include "host/EMUL.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/RLOG.h"
#include "host/RND.h"
#include "host/RZFX.h"
#include "host/STR.h"

using hostdouble::Enter;
using hostdouble::TheState;

// ---- Versions -----------------------------------------------------------------------------------

namespace {

U_Err Check(const char* name, uint32_t code, int32_t wanted, int32_t own) {
  if (const U_Err error = Enter(name, {code, wanted})) return error;
  return wanted == own ? 0 : 7;
}

}  // namespace

U_Err U_CheckVersions(uint32_t code, int32_t wanted) {
  return Check("U_CheckVersions", code, wanted, U_PKG_VERSION);
}
U_Err STR_CheckVersions(uint32_t code, int32_t wanted) {
  return Check("STR_CheckVersions", code, wanted, STR_PKG_VERSION);
}
U_Err BM_CheckVersions(uint32_t code, int32_t wanted) {
  return Check("BM_CheckVersions", code, wanted, BM_PKG_VERSION);
}
U_Err M_CheckVersions(uint32_t code, int32_t wanted) {
  return Check("M_CheckVersions", code, wanted, M_PKG_VERSION);
}
U_Err FILE_CheckVersions(uint32_t code, int32_t wanted) {
  return Check("FILE_CheckVersions", code, wanted, FILE_PKG_VERSION);
}
U_Err LIST_CheckVersions(uint32_t code, int32_t wanted) {
  return Check("LIST_CheckVersions", code, wanted, LIST_PKG_VERSION);
}
U_Err RZFX_CheckVersions(uint32_t code, int32_t wanted) {
  return Check("RZFX_CheckVersions", code, wanted, RZFX_PKG_VERSION);
}
U_Err PLUG_CheckVersions(uint32_t code, int32_t wanted) {
  return Check("PLUG_CheckVersions", code, wanted, PLUG_PKG_VERSION);
}

// ---- Processor and threads ----------------------------------------------------------------------

namespace {

constinit uint32_t processor[U_CPU_WORDS] = {};

// As in any host, before the first initialiser of the program.
__attribute__((constructor(101))) void DetectAtLoad() { hostdouble::DetectProcessor(); }

}  // namespace

constinit uint32_t* U_G_CPU_DataP = processor;

void hostdouble::DetectProcessor() {
  std::fill(std::begin(processor), std::end(processor), 0u);
  const char* limit = std::getenv("VX_TEST_PROCESSOR");
  if (limit && std::strcmp(limit, "none") == 0) return;
#if defined(__x86_64__)
  __builtin_cpu_init();
  processor[U_CPU_HAS_MMX] = processor[U_CPU_HAS_SSE] = processor[U_CPU_HAS_SSE2] = 1;
  processor[U_CPU_HAS_SSE3] = __builtin_cpu_supports("sse3") != 0;
  if (limit && std::strcmp(limit, "sse2") == 0) return;
  processor[U_CPU_HAS_SSSE3] = __builtin_cpu_supports("ssse3") != 0;
#endif
}

int32_t U_GetNumThreads() { return 1; }

// ---- Reports and log ----------------------------------------------------------------------------

int32_t Up_G_err_buf[64];
char Up_G_buffer[1024];

void U_ReportFailedVerification(uint32_t check, int32_t line, int32_t, const char* text) {
  hostdouble::Report(check, line, 0, text);
}

U_Err Up_ReportErrString(uint32_t check, int32_t severity, const char* text) {
  hostdouble::Report(check, 0, severity, text);
  return 0;
}

U_Err Up_ReportError(uint32_t code, int32_t kind) {
  hostdouble::Report(code, 0, kind, Up_G_buffer);
  return 0;
}

U_Err U_TranslateAndReportException(const std::exception& exception) {
  Enter("U_TranslateAndReportException", {}, exception.what());
  hostdouble::Report(0, 0, 8, exception.what());
  return dynamic_cast<const std::bad_alloc*>(&exception) ? 4 : 516;
}

void RLOG_Log(int32_t level, const char* component, const char* event, const char* text) {
  const std::lock_guard lock(TheState().mutex);
  if (TheState().recording) TheState().log.push_back({level, component, event, text});
}

// ---- Mathematics --------------------------------------------------------------------------------

namespace {

struct Tables {
  uint8_t mul[65536], div[65536];
  int32_t sine[M_FTRIG_STEPS], cosine[M_FTRIG_STEPS];

  Tables() {
    for (int i = 0; i < 65536; ++i) {
      const int a = i >> 8, v = i & 255;
      mul[i] = uint8_t((2 * a * v + 255) / 510);
      div[i] = v >= a ? 255 : uint8_t((255 * v + a / 2) / a);
    }
    for (int i = 0; i < M_FTRIG_STEPS; ++i) {
      sine[i] = int32_t(std::lround(65536 * std::sin(std::numbers::pi * i / 2048)));
      cosine[i] = int32_t(std::lround(65536 * std::cos(std::numbers::pi * i / 2048)));
    }
  }
};

Tables& TheTables() {
  static Tables tables;
  return tables;
}

}  // namespace

U_Err M_PrepareFCMD(int32_t one, int32_t zero1, int32_t zero2, uint8_t** mul, uint8_t** div) {
  if (const U_Err error = Enter("M_PrepareFCMD", {one, zero1, zero2})) return error;
  if (mul) *mul = TheTables().mul;
  if (div) *div = TheTables().div;
  const std::lock_guard lock(TheState().mutex);
  ++TheState().byte_tables;
  return 0;
}

U_Err M_UnprepareFCMD() {
  const U_Err error = Enter("M_UnprepareFCMD", {});
  const std::lock_guard lock(TheState().mutex);
  --TheState().byte_tables;
  return error;
}

U_Err M_PrepareFTrig(int32_t one, int32_t zero1, int32_t zero2, int32_t** sine, int32_t** cosine) {
  if (const U_Err error = Enter("M_PrepareFTrig", {one, zero1, zero2})) return error;
  if (sine) *sine = TheTables().sine;
  if (cosine) *cosine = TheTables().cosine;
  const std::lock_guard lock(TheState().mutex);
  ++TheState().trig_tables;
  return 0;
}

U_Err M_UnprepareFTrig() {
  const U_Err error = Enter("M_UnprepareFTrig", {});
  const std::lock_guard lock(TheState().mutex);
  --TheState().trig_tables;
  return error;
}

U_Err RND_GetPrimeSizedTable(uint32_t** table, int32_t* size) {
  if (const U_Err error = Enter("RND_GetPrimeSizedTable", {})) return error;
  static uint32_t words[1009];
  uint32_t word = 1;
  for (uint32_t& place : words) place = word = word * 1664525u + 1013904223u;
  *table = words;
  *size = 1009;
  return 0;
}

// ---- Plug-ins, files, window mode ---------------------------------------------------------------

U_Err PLUG_InstallScan(int32_t zero, int32_t count, const uint32_t* codes, PLUG_FileProc,
                       PLUG_FinishProc finish, void* context) {
  if (!codes || !finish || count < 1) return 3;
  if (const U_Err error = Enter("PLUG_InstallScan", {zero, count, codes[0], codes[count - 1]})) {
    return error;
  }
  const std::lock_guard lock(TheState().mutex);
  TheState().scans[{codes, codes + count}] = {finish, context};
  return 0;
}

U_Err PLUG_AddSPSuite(int32_t zero1, int32_t zero2, const char* name, int32_t version,
                      int32_t version_again, int32_t members, const void* table) {
  if (const U_Err error =
          Enter("PLUG_AddSPSuite", {zero1, zero2, version, version_again, members}, name)) {
    return error;
  }
  return name && table && version == version_again && members >= 1 ? 0 : 3;
}

U_Err FILE_AddExtensionMap(const char* extension, uint32_t type, int32_t minus_one) {
  return Enter("FILE_AddExtensionMap", {type, minus_one}, extension);
}

void EMUL_BeginGdiMinimalisticWindowCreationMode() {
  Enter("EMUL_BeginGdiMinimalisticWindowCreationMode", {});
  const std::lock_guard lock(TheState().mutex);
  ++TheState().window_modes;
}

void EMUL_EndGdiMinimalisticWindowCreationMode() {
  Enter("EMUL_EndGdiMinimalisticWindowCreationMode", {});
  const std::lock_guard lock(TheState().mutex);
  --TheState().window_modes;
}
