// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_InputFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include "VXIO/VXIO_Picture.h"
#include "VXIO/VXIO_Sequence.h"

namespace {

constexpr int64_t kLargestSide = 30000;

}  // namespace

void VXIOp_ThrowInput(const std::string& path, const std::string& why) {
  throw VXIO_Error(VXIO_ErrorKind::Input, path + ": " + why);
}

void VXIOp_CheckFile(const std::string& path, const char* kind) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT && VXIO_FramePattern::IsPattern(path)) {
      VXIOp_ThrowInput(path, "is a pattern for a sequence; name one file here");
    }
    VXIOp_ThrowInput(path, errno == ENOENT ? "no such file; check the name"
                                           : std::string("cannot be read: ") + strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) VXIOp_ThrowInput(path, std::string("is a folder, not ") + kind);
  if (!S_ISREG(status.st_mode)) VXIOp_ThrowInput(path, "is not a regular file");
  if (status.st_size == 0) VXIOp_ThrowInput(path, "is empty (0 bytes)");
}

std::string VXIOp_Head(const std::string& path, size_t most) {
  std::ifstream file(path, std::ios::binary);
  std::string head(most, '\0');
  file.read(head.data(), static_cast<std::streamsize>(most));
  if (file.gcount() <= 0) {
    VXIOp_ThrowInput(path, std::string("cannot be read: ") + strerror(errno ? errno : EIO));
  }
  head.resize(static_cast<size_t>(file.gcount()));
  return head;
}

void VXIOp_CheckSize(const std::string& path, int64_t width, int64_t height) {
  std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
  if (width <= 0 || height <= 0) VXIOp_ThrowInput(path, "has no pixels (" + size + ")");
  if (width > kLargestSide || height > kLargestSide) {
    VXIOp_ThrowInput(path, "is " + size + "; at most 30000 on a side can be read, scale it down");
  }
}
