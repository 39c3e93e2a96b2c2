// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <deque>
#include <new>

#include "HostInternal.h"
#include "host/RLOG.h"

constinit int32_t Up_G_err_buf[64] = {};
constinit char Up_G_buffer[1024] = {};

namespace {

constexpr size_t kMaxReports = 256;

struct Sinks {
  VXHost_ReportSink report;
  void* report_context;
  VXHost_LogSink log;
  void* log_context;
};
constinit Sinks sinks = {};

// True after the reports of this thread were destroyed. Destructors that run later may still
// report. This variable has no destructor, so it can still be read then.
thread_local constinit bool destroyed = false;

struct ThreadReports {
  std::deque<VXHost_Report> list;
  ~ThreadReports() { destroyed = true; }
};

ThreadReports* ReportsOfThread() {
  if (destroyed) return nullptr;
  thread_local ThreadReports reports;
  return &reports;
}

void StoreReport(uint32_t check, int32_t line, int32_t severity, const char* text) {
  try {
    ThreadReports* reports_of_thread = ReportsOfThread();
    if (!reports_of_thread) return;
    if (reports_of_thread->list.size() == kMaxReports) reports_of_thread->list.pop_front();
    reports_of_thread->list.push_back({check, line, severity, text});
  } catch (const std::bad_alloc&) {
    // The report is lost if memory is exhausted; the caller still gets the error code.
  }
}

}  // namespace

namespace host {

void Report(uint32_t check, int32_t line, int32_t severity, const char* text) {
  if (!text) text = "";
  if (sinks.report) {
    sinks.report(check, line, severity, text, sinks.report_context);
  } else {
    StoreReport(check, line, severity, text);
  }
}

void Log(int32_t level, const char* component, const char* event, const char* text) {
  if (!sinks.log) return;
  sinks.log(level, component ? component : "", event ? event : "", text ? text : "",
            sinks.log_context);
}

}  // namespace host

void U_ReportFailedVerification(uint32_t check, int32_t line, int32_t, const char* text) {
  host::Report(check, line, /*severity=*/0, text);
}

U_Err Up_ReportErrString(uint32_t check, int32_t severity, const char* text) {
  host::Report(check, /*line=*/0, severity, text);
  return 0;
}

U_Err Up_ReportError(uint32_t code, int32_t kind) {
  Up_G_buffer[sizeof Up_G_buffer - 1] = 0;
  host::Report(code, /*line=*/0, kind, Up_G_buffer);
  return 0;
}

U_Err U_TranslateAndReportException(const std::exception& exception) {
  host::Report(/*check=*/0, /*line=*/0, /*severity=*/8, exception.what());
  return dynamic_cast<const std::bad_alloc*>(&exception) ? 4 : 516;
}

void RLOG_Log(int32_t level, const char* component, const char* event, const char* text) {
  host::Log(level, component, event, text);
}

void VXHost_SetReportSink(VXHost_ReportSink sink, void* context) {
  sinks.report = sink;
  sinks.report_context = context;
}

void VXHost_SetLogSink(VXHost_LogSink sink, void* context) {
  sinks.log = sink;
  sinks.log_context = context;
}

std::vector<VXHost_Report> VXHost_TakeReports() {
  std::vector<VXHost_Report> taken;
  if (ThreadReports* reports_of_thread = ReportsOfThread()) {
    taken.assign(reports_of_thread->list.begin(), reports_of_thread->list.end());
    reports_of_thread->list.clear();
  }
  return taken;
}
