// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// An output file that becomes visible under its name only when it is complete, or a file in memory.

#include <cstdio>
#include <string>

#include "VXIO/VXIO_Picture.h"

enum class VXIOp_Storage { Disk, Memory };

// Throws unless the extension of `path` is that of a format that can be written.
VXIO_API void VXIOp_RequireFormat(const std::string& path);

class VXIO_API VXIOp_OutputFile {
 public:
  // Creates the temporary file in the folder of `path`, with the permissions of an existing file.
  // Symbolic links are followed: the file that a link refers to is replaced, not the link.
  // Memory: the temporary file is in memory, and `path` is a name for messages.
  explicit VXIOp_OutputFile(const std::string& path, VXIOp_Storage storage = VXIOp_Storage::Disk);
  // Removes the temporary file unless it was committed.
  ~VXIOp_OutputFile();
  VXIOp_OutputFile(const VXIOp_OutputFile&) = delete;
  VXIOp_OutputFile& operator=(const VXIOp_OutputFile&) = delete;

  FILE* stream() { return stream_; }
  const std::string& temporary() const { return temporary_; }

  // Flushes to disk. Throws if anything could not be written.
  void Finish();
  // Renames the temporary file to its final name. Call Finish before.
  void Commit(VXIO_Clobber clobber);
  // Returns the contents of a file in memory. Call Finish before.
  std::string Contents() const;

  [[noreturn]] void Throw(const std::string& what, int error_number) const;

 private:
  void OpenInMemory();
  int Rename(VXIO_Clobber clobber);

  std::string path_;    // as given by the caller, for messages
  std::string target_;  // with symbolic links followed
  std::string temporary_;
  FILE* stream_ = nullptr;
  // A second descriptor: keeps the temporary file locked until it has its final name, and a file in
  // memory in existence.
  int lock_ = -1;
  int slot_ = -1;  // index in the table of the signal handler
};

[[noreturn]] VXIO_API void VXIOp_ThrowOutput(const std::string& path, const std::string& why);
