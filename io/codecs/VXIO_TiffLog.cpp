// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_TiffLog.h"

#include <tiffio.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {

thread_local VXIOp_TiffLog* current = nullptr;
TIFFErrorHandlerExt next = nullptr;

}  // namespace

struct VXIOp_TiffHandler {
  static void Warn(thandle_t client, const char* module, const char* format, va_list arguments) {
    if (current && current->first_[0] == 0) {
      va_list copy;
      va_copy(copy, arguments);
      std::vsnprintf(current->first_, sizeof current->first_, format, copy);
      va_end(copy);
    }
    if (next) next(client, module, format, arguments);
  }
};

VXIOp_TiffLog::VXIOp_TiffLog() : previous_(current) {
  static std::once_flag once;
  std::call_once(once, [] { next = TIFFSetWarningHandlerExt(&VXIOp_TiffHandler::Warn); });
  current = this;
}

VXIOp_TiffLog::~VXIOp_TiffLog() { current = previous_; }
