// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the services of the double share.

#include <initializer_list>
#include <map>
#include <mutex>
#include <new>
#include <utility>

#include "HostDouble.h"
#include "host/PLUG.h"

namespace hostdouble {

struct Failure {
  U_Err code;
  bool thrown;
};

struct Scan {
  PLUG_FinishProc finish;
  void* context;
};

struct State {
  std::mutex mutex;
  bool recording = false;

  int64_t live = 0;  // survives the HostDouble objects
  int64_t live_at_start = 0;
  int64_t accounted = 0;
  int64_t attempts = 0;
  int64_t fail_at = 0;  // in terms of `attempts`; 0: never
  std::vector<HostDouble::Allocation> allocations;
  std::vector<HostDouble::FrameFree> frame_frees;

  std::map<std::string, Failure> failures;
  bool hide_bitmap_base = false;
  int byte_tables = 0;
  int trig_tables = 0;
  int window_modes = 0;
  bool client_bound = false;

  std::map<std::vector<uint32_t>, Scan> scans;

  std::vector<HostDouble::Report> reports;
  std::vector<HostDouble::LogLine> log;
  std::vector<HostDouble::Call> calls;
};

State& TheState();

// Records the call; gives the code with which it is to fail, or 0, or throws.
U_Err Enter(const char* name, std::initializer_list<int64_t> args, const char* text = nullptr);

// A counted block painted with 0xA5, 16-byte aligned. Null when it is this one's turn to fail.
void* Allocate(HostDouble::Allocation::Kind kind, uint32_t check, const char* label, uint64_t size);

// Gives the size that was asked for. Null is accepted.
uint64_t Free(void* block);

void Report(uint32_t check, int32_t line, int32_t severity, const char* text);

// Sets the processor record to what this machine has and the environment allows.
void DetectProcessor();

}  // namespace hostdouble
