// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A second definition of the host's services, for tests: it counts, records and fails on demand.
// Link vx_hostdouble instead of the embedded host. Without a HostDouble object the services work
// and nothing is recorded.
//
//   HostDouble host;
//   host.FailAllocation(3);
//   EXPECT_EQ(VX_Birth(), 4);
//   EXPECT_EQ(host.Leaked(), 0);
//
// One object at a time. It starts with everything in order and its destructor puts everything back,
// scans and extensions included. Services may be called on any thread; settings are for the
// test's own thread.
//
// The processor record says what this machine has, unless the environment variable
// VX_TEST_PROCESSOR is "none" (no flag), "sse2" (all but the ninth word) or "all" (as detected).

#include <cstdint>
#include <string>
#include <vector>

#include "host/U.h"

class HostDouble {
 public:
  struct Report {
    uint32_t check;
    int32_t line;      // 0 for reports to the user
    int32_t severity;  // 0 for failed verifications
    std::string text;
  };
  struct LogLine {
    int32_t level;
    std::string component, event, text;
  };
  // A call of a service, named as in include/host, with its whole-number arguments in order and its
  // first text. Memory, strings, rectangles and reports are not among the calls.
  struct Call {
    std::string name;
    std::vector<int64_t> args;
    std::string text;
  };
  struct Allocation {
    enum Kind { kBlock, kHandle, kObject, kFrame, kBitmap, kList } kind;
    uint32_t check;
    std::string label;
    uint64_t size;
    bool failed;
  };
  struct FrameFree {
    uint64_t allocated;  // the size that was asked for
    uint64_t told;       // the size that BM_FreeFrame was given
  };

  HostDouble();
  ~HostDouble();
  HostDouble(const HostDouble&) = delete;
  HostDouble& operator=(const HostDouble&) = delete;

  // ---- Memory: blocks, handles, objects, frames, bitmaps and lists share one counter ----
  // The nth allocation from now (1 is the next) fails; 0: none.
  void FailAllocation(int nth);
  // Attempts since construction, the failed ones included.
  int64_t AllocationCount() const;
  std::vector<Allocation> Allocations() const;
  // What was allocated since construction and is still alive (below 0: more was freed).
  int64_t Leaked() const;
  // What U_AccountAllocation was told since construction, summed up.
  int64_t Accounted() const;
  std::vector<FrameFree> FrameFrees() const;

  // ---- Services ----
  // All further calls of the service `name` give `code` and do nothing else. For services with an
  // error code; COR_BindClient gives false. Code 0 lets it work again.
  void Fail(const std::string& name, U_Err code);
  // The same, but the service throws the code as int32_t, or std::bad_alloc when code is 0.
  void Throw(const std::string& name, U_Err code);
  // "BM" fails BM_CheckVersions.
  void FailVersionCheck(const std::string& package, U_Err code = 7);
  // New bitmaps have a null `base` in their record.
  void HideBitmapBase(bool hide);
  // M_PrepareFCMD not yet undone, EMUL_Begin... not yet ended, and whether a client is bound.
  int ByteTables() const;
  int WindowModes() const;
  bool ClientBound() const;

  void SetProcessor(bool has_sse2, bool has_ssse3);

  // Runs the finishing callbacks of the scans that were asked for; gives the first code not 0.
  U_Err RunScan();

  // ---- Records, oldest first ----
  std::vector<Report> Reports() const;
  // The texts alone, and forgets the reports.
  std::vector<std::string> TakeReportTexts();
  std::vector<LogLine> Log() const;
  std::vector<Call> Calls() const;
  std::vector<Call> CallsTo(const std::string& name) const;
  std::vector<std::string> CallNames() const;
};
