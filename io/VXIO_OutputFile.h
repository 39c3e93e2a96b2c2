// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A file that appears under its name only when it is whole.

#include <cstdio>
#include <string>

#include "VXIO/VXIO_Picture.h"

class VXIOp_OutputFile {
 public:
  // Creates the temporary beside `path`, with the rights of the file that it will replace. A link
  // is followed, so that the file it leads to is replaced and not the link.
  explicit VXIOp_OutputFile(const std::string& path);
  // Removes the temporary unless it was committed.
  ~VXIOp_OutputFile();
  VXIOp_OutputFile(const VXIOp_OutputFile&) = delete;
  VXIOp_OutputFile& operator=(const VXIOp_OutputFile&) = delete;

  FILE* stream() { return stream_; }
  const std::string& temporary() const { return temporary_; }

  // Throws when something that was written did not reach the disk.
  void Finish();
  // Gives the file its name. Finish comes first.
  void Commit(VXIO_Clobber clobber);

  [[noreturn]] void Throw(const std::string& what, int error_number) const;

 private:
  int Rename(VXIO_Clobber clobber);

  std::string path_;    // as the caller named it, for messages
  std::string target_;  // with links followed
  std::string temporary_;
  FILE* stream_ = nullptr;
  int slot_ = -1;  // in the table that the signal handler reads
};

[[noreturn]] void VXIOp_ThrowOutput(const std::string& path, const std::string& why);
