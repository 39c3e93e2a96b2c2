// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "StandardStreams.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>

#include "VXIO/VXIO_Picture.h"

namespace vxcli {

namespace {

constexpr size_t kBlock = 1 << 16;

[[noreturn]] void Fail(VXIO_ErrorKind kind, const std::string& what) {
  throw VXIO_Error(kind, std::string("-: ") + what + ": " + std::strerror(errno));
}

// Copies until the end of `from`. Returns the number of bytes.
int64_t Copy(int from, int to, VXIO_ErrorKind kind) {
  static constexpr const char* kRead = "the standard input cannot be read";
  static constexpr const char* kWrite = "the standard output cannot be written";
  std::string block(kBlock, '\0');
  int64_t copied = 0;
  for (;;) {
    const ssize_t count = read(from, block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail(kind, kRead);
    if (count == 0) return copied;
    for (ssize_t done = 0; done < count;) {
      const ssize_t written = write(to, block.data() + done, static_cast<size_t>(count - done));
      if (written < 0 && errno != EINTR) Fail(kind, kWrite);
      if (written > 0) done += written;
    }
    copied += count;
  }
}

std::string ReadToMemory() {
  const int memory = memfd_create("standard input", MFD_CLOEXEC);
  if (memory < 0) Fail(VXIO_ErrorKind::Input, "the standard input cannot be stored");
  if (Copy(STDIN_FILENO, memory, VXIO_ErrorKind::Input) == 0) {
    throw VXIO_Error(VXIO_ErrorKind::Input, "-: the standard input is empty (0 bytes)");
  }
  return "/proc/self/fd/" + std::to_string(memory);
}

}  // namespace

std::string StandardInputFile() {
  static const std::string path = ReadToMemory();
  return path;
}

std::string TemporaryOutput(const std::string& extension) {
  std::random_device random;
  const std::string name = "vx-" + std::to_string(getpid()) + "-" + std::to_string(random());
  return (std::filesystem::temp_directory_path() / (name + "." + extension)).string();
}

void MoveToStandardOutput(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const int error_number = errno;
  unlink(path.c_str());  // before the copy, which a signal may end
  errno = error_number;
  if (file < 0) Fail(VXIO_ErrorKind::Output, "the picture cannot be read");
  try {
    Copy(file, STDOUT_FILENO, VXIO_ErrorKind::Output);
  } catch (...) {
    close(file);
    throw;
  }
  close(file);
}

std::string WithoutPath(std::string text, const std::string& path) {
  for (size_t at = 0; !path.empty() && (at = text.find(path, at)) != std::string::npos;) {
    text.replace(at, path.size(), kStandardStream);
  }
  return text;
}

}  // namespace vxcli
