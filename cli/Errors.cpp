// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Errors.h"

#include <new>

#include "VX/cpp/Error.hpp"
#include "VXIO/VXIO_Picture.h"
#include "host/COR.h"
#include "host/VXHost.h"

namespace vxcli {

std::string TextOfCode(VX_Err code) {
  std::string text;
  for (const VXHost_Report& report : VXHost_TakeReports()) {
    if (report.text.empty()) continue;
    if (!text.empty()) text += "; ";
    text += report.text;
  }
  const char* meaning = "failed";
  switch (code) {
    case VX_ErrBadParameter: meaning = "bad argument or failed check"; break;
    case VX_ErrOutOfMemory: meaning = "out of memory; use smaller pictures or a lower depth"; break;
    case VX_ErrUnsupported: meaning = "unsupported"; break;
    case VX_ErrVersion: meaning = "the library is of another version than the command"; break;
    case VX_ErrStopped: meaning = "stopped"; break;
    default: meaning = COR_QCE_StatusText(code); break;
  }
  return (text.empty() ? meaning : text) + " (code " + std::to_string(code) + ")";
}

void Check(VX_Err code, const std::string& doing) {
  if (code != VX_Ok) throw LibraryError(doing + ": " + TextOfCode(code));
}

Failure Describe(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const CarriedFailure& carried) {
    return {carried.exit_code(), carried.what()};
  } catch (const UsageError& usage) {
    return {kUsage, usage.what()};
  } catch (const VXIO_Error& io) {
    return {io.kind() == VXIO_ErrorKind::Input ? kInput : kOutput, io.what()};
  } catch (const LibraryError& library) {
    return {kInternal, library.what()};
  } catch (VX_Err code) {
    return {kInternal, TextOfCode(code)};
  } catch (const vx::Error& refused) {
    return {kInternal, TextOfCode(static_cast<VX_Err>(refused.code()))};
  } catch (const std::bad_alloc&) {
    return {kInternal, TextOfCode(VX_ErrOutOfMemory)};
  } catch (const std::exception& other) {
    return {kInternal, std::string("internal error: ") + other.what()};
  }
}

}  // namespace vxcli
