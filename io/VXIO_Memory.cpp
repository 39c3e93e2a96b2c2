// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "VXIO_Codecs.h"
#include "VXIO_InputFile.h"

VXIO_MemoryFile::VXIO_MemoryFile(std::string name) : name_(std::move(name)) {
  file_ = memfd_create("picture", MFD_CLOEXEC);
  if (file_ < 0) Throw();
  path_ = "/proc/self/fd/" + std::to_string(file_);
}

VXIO_MemoryFile::~VXIO_MemoryFile() { close(file_); }

void VXIO_MemoryFile::Append(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file_, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) Throw();
    if (count > 0) bytes.remove_prefix(static_cast<size_t>(count));
  }
}

void VXIO_MemoryFile::Throw() const {
  VXIOp_ThrowInput(name_, std::string("cannot be stored in memory: ") + std::strerror(errno));
}

std::string VXIO_Renamed(std::string text, const std::string& path, const std::string& name) {
  for (size_t at = 0; !path.empty() && (at = text.find(path, at)) != std::string::npos;
       at += name.size()) {
    text.replace(at, path.size(), name);
  }
  return text;
}

VXIO_Encoded VXIO_Encode(const std::string& name, const VX_LayerDef& world,
                         const VXIO_WriteOptions& options) {
  return VXIOp_LoadCodecs(VXIO_ErrorKind::Output).Encode(name, world, options);
}
