// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The embedded host with a recorder around it, for tests: it counts allocations, records calls and
// lets either fail. Link vx_hostdouble instead of VX::Host. Without a HostDouble object the host
// works as usual and nothing is recorded.
//
//   HostDouble host;
//   host.FailAllocation(3);
//   EXPECT_EQ(VX_Birth(), 4);
//   EXPECT_EQ(host.Leaked(), 0);
//
// One object at a time, used by one thread. Its constructor discards the reports of the thread; its
// destructor restores allocators, log and processor record.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/VXHost.h"

class HostDouble {
 public:
  // A call of a service that is recorded (see CMakeLists.txt), or of a procedure of the colour
  // engine.
  struct Call {
    std::string name;
    std::vector<int64_t> args;  // the integer arguments in order; none for the colour engine
    std::string text;           // the first text
  };
  struct LogLine {
    int32_t level;
    std::string component, event, text;
  };
  struct Allocation {
    uint64_t size;  // as requested by the caller
    bool failed;
  };

  HostDouble();
  ~HostDouble();
  HostDouble(const HostDouble&) = delete;
  HostDouble& operator=(const HostDouble&) = delete;

  // ---- Memory: blocks, frames and what the colour engine allocates share one counter ----
  // The nth allocation from now (1 is the next) fails, and later ones if `and_later`; 0: none.
  void FailAllocation(int nth, bool and_later = false);
  // Attempts since construction, including failed ones.
  int64_t AllocationCount() const { return static_cast<int64_t>(allocations.size()); }
  // Blocks and frames allocated since construction and not freed (negative: more were freed).
  int64_t Leaked() const;
  // The sum of the arguments of U_AccountAllocation since construction.
  int64_t Accounted() const;

  // ---- Services ----
  // All further calls of `name` return `code`; COR_BindClient returns false. A service that frees
  // something still frees it. Code 0 ends the failure.
  void Fail(const std::string& name, int32_t code) { failures_[name] = {code, false}; }
  // All further calls throw `code` as int32_t, or std::bad_alloc if code is 0.
  void Throw(const std::string& name, int32_t code) { failures_[name] = {code, true}; }

  // ---- Records, oldest first ----
  std::vector<Call> CallsTo(const std::string& name) const;
  std::vector<std::string> CallNames() const;
  std::vector<Call> calls;
  std::vector<LogLine> log;
  std::vector<Allocation> allocations;

  bool client_bound = false;
  bool hide_bitmap_base = false;  // set: bitmaps of BM_NewWorld have a null `base`

  // Records a call. Returns the code of its failure or 0, or throws.
  int32_t Enter(Call call);

 private:
  struct Failure {
    int32_t code;
    bool thrown;
  };
  void* Allocate(uint64_t size, uint64_t header);

  std::map<std::string, Failure> failures_;
  int64_t fail_at_ = 0;  // number of the attempt; 0: none
  bool fail_later_ = false;
  VXHost_Memory before_;
};
