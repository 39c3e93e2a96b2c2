// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "HostDouble.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "State.h"

namespace hostdouble {

// Never destroyed: services are called until the very end of the process.
State& TheState() {
  static State& state = *new State;
  return state;
}

U_Err Enter(const char* name, std::initializer_list<int64_t> args, const char* text) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  if (!state.recording) return 0;
  state.calls.push_back({name, args, text ? text : ""});
  const auto found = state.failures.find(name);
  if (found == state.failures.end()) return 0;
  const Failure& failure = found->second;
  if (failure.thrown) {
    if (failure.code == 0) throw std::bad_alloc();
    throw int32_t{failure.code};
  }
  return failure.code;
}

void Report(uint32_t check, int32_t line, int32_t severity, const char* text) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  if (state.recording) state.reports.push_back({check, line, severity, text ? text : ""});
}

namespace {

// Everything as at first, but for what is alive.
void Reset(State& state, bool recording) {
  state.recording = recording;
  state.live_at_start = state.live;
  state.attempts = state.fail_at = state.accounted = 0;
  state.hide_bitmap_base = state.client_bound = false;
  state.byte_tables = state.trig_tables = state.window_modes = 0;
  state.allocations.clear();
  state.frame_frees.clear();
  state.failures.clear();
  state.scans.clear();
  state.reports.clear();
  state.log.clear();
  state.calls.clear();
}

// The value of one field, read under the lock.
template <class Field>
Field Get(Field State::*field) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  return state.*field;
}

template <class Field>
void Set(Field State::*field, Field value) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  state.*field = std::move(value);
}

}  // namespace
}  // namespace hostdouble

using hostdouble::Get;
using hostdouble::Reset;
using hostdouble::Set;
using hostdouble::State;
using hostdouble::TheState;

HostDouble::HostDouble() {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  if (state.recording) {
    std::fputs("HostDouble: a second object while one is alive\n", stderr);
    std::abort();
  }
  Reset(state, /*recording=*/true);
  hostdouble::DetectProcessor();
}

HostDouble::~HostDouble() {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  Reset(state, /*recording=*/false);
  hostdouble::DetectProcessor();
}

void HostDouble::FailAllocation(int nth) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  state.fail_at = nth > 0 ? state.attempts + nth : 0;
}

int64_t HostDouble::AllocationCount() const { return Get(&State::attempts); }
std::vector<HostDouble::Allocation> HostDouble::Allocations() const {
  return Get(&State::allocations);
}
int64_t HostDouble::Accounted() const { return Get(&State::accounted); }
int64_t HostDouble::Leaked() const { return Get(&State::live) - Get(&State::live_at_start); }
std::vector<HostDouble::FrameFree> HostDouble::FrameFrees() const {
  return Get(&State::frame_frees);
}

void HostDouble::Fail(const std::string& name, U_Err code) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  state.failures[name] = {code, /*thrown=*/false};
}

void HostDouble::Throw(const std::string& name, U_Err code) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  state.failures[name] = {code, /*thrown=*/true};
}

void HostDouble::FailVersionCheck(const std::string& package, U_Err code) {
  Fail(package + "_CheckVersions", code);
}

void HostDouble::HideBitmapBase(bool hide) { Set(&State::hide_bitmap_base, hide); }
int HostDouble::ByteTables() const { return Get(&State::byte_tables); }
int HostDouble::WindowModes() const { return Get(&State::window_modes); }
bool HostDouble::ClientBound() const { return Get(&State::client_bound); }

void HostDouble::SetProcessor(bool has_sse2, bool has_ssse3) {
  U_G_CPU_DataP[U_CPU_HAS_SSE2] = has_sse2;
  U_G_CPU_DataP[U_CPU_HAS_SSSE3] = has_ssse3;
}

U_Err HostDouble::RunScan() {
  U_Err first = 0;
  for (const auto& [codes, scan] : Get(&State::scans)) {
    const U_Err error = scan.finish(scan.context);
    if (first == 0) first = error;
  }
  return first;
}

std::vector<HostDouble::Report> HostDouble::Reports() const { return Get(&State::reports); }

std::vector<std::string> HostDouble::TakeReportTexts() {
  std::vector<std::string> texts;
  for (const Report& report : Reports()) texts.push_back(report.text);
  Set(&State::reports, {});
  return texts;
}

std::vector<HostDouble::LogLine> HostDouble::Log() const { return Get(&State::log); }
std::vector<HostDouble::Call> HostDouble::Calls() const { return Get(&State::calls); }

std::vector<HostDouble::Call> HostDouble::CallsTo(const std::string& name) const {
  std::vector<Call> calls = Calls();
  std::erase_if(calls, [&](const Call& call) { return call.name != name; });
  return calls;
}

std::vector<std::string> HostDouble::CallNames() const {
  std::vector<std::string> names;
  for (const Call& call : Calls()) names.push_back(call.name);
  return names;
}
