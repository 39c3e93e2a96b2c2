// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "StandardStreams.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "VXIO/VXIO_Memory.h"

namespace vxcli {

namespace {

[[noreturn]] void Fail(VXIO_ErrorKind kind, const std::string& what) {
  throw VXIO_Error(kind, std::string("-: ") + what + ": " + std::strerror(errno));
}

void ReadStandardInput(VXIO_MemoryFile* file) {
  std::string block(1 << 16, '\0');
  bool empty = true;
  for (;;) {
    const ssize_t count = read(STDIN_FILENO, block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail(VXIO_ErrorKind::Input, "the standard input cannot be read");
    if (count == 0) break;
    file->Append({block.data(), static_cast<size_t>(count)});
    empty = false;
  }
  if (empty) throw VXIO_Error(VXIO_ErrorKind::Input, "-: the standard input is empty (0 bytes)");
}

}  // namespace

std::string StandardInputFile() {
  static VXIO_MemoryFile file(kStandardStream);
  static const bool read = (ReadStandardInput(&file), true);
  static_cast<void>(read);
  return file.path();
}

void WriteToStandardOutput(const std::string& bytes) {
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t count = write(STDOUT_FILENO, bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno != EINTR) {
      Fail(VXIO_ErrorKind::Output, "the standard output cannot be written");
    }
    if (count > 0) done += static_cast<size_t>(count);
  }
}

}  // namespace vxcli
