// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "TextFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "VXIO/VXIO_Picture.h"

namespace vxcli {

namespace {

// Four of the largest kernels, 13 characters a weight, and room for comments.
constexpr size_t kMostBytes = 64 << 20;

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte == 127 || (byte < 32 && !std::strchr("\t\n\v\f\r", byte)) || byte == 0;
}

}  // namespace

std::string ReadText(const std::string& path, const std::string& kind, const std::string& holds) {
  const auto refuse = [&](const std::string& text) {
    throw VXIO_Error(VXIO_ErrorKind::Input, path + ": " + text);
  };
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rbe"), &std::fclose);
  if (!file) {
    refuse(errno == ENOENT ? "no such file; check the name"
                           : std::string("cannot be read: ") + strerror(errno));
  }
  std::string text;
  char block[1 << 16];
  while (size_t count = std::fread(block, 1, sizeof block, file.get())) {
    text.append(block, count);
    if (text.size() > kMostBytes) refuse("is larger than 64 MiB: not a " + kind + " file");
  }
  if (std::ferror(file.get())) refuse(std::string("cannot be read: ") + strerror(errno));
  if (std::any_of(text.begin(), text.end(), IsControl)) {
    refuse("is binary; a " + kind + " file is text, " + holds);
  }
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  return text;
}

}  // namespace vxcli
