// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Pictures in memory instead of files on disk: contents received from a network, a pipe or a
// database.

#include <string>
#include <string_view>
#include <vector>

#include "VXIO/VXIO_Picture.h"

// A file in memory. The functions of VXIO read it by its path. A format without a signature (tga)
// is not recognised, because the path has no extension. One object may be used by one thread at a
// time.
class VXIO_API VXIO_MemoryFile {
 public:
  //   name  begins the message of an error of this class
  // Throws VXIO_Error (Input) if the system has no memory for the file.
  explicit VXIO_MemoryFile(std::string name);
  ~VXIO_MemoryFile();
  VXIO_MemoryFile(const VXIO_MemoryFile&) = delete;
  VXIO_MemoryFile& operator=(const VXIO_MemoryFile&) = delete;

  // Appends bytes. Throws like the constructor.
  void Append(std::string_view bytes);

  // Valid in this process until the object is destroyed.
  const std::string& path() const { return path_; }

 private:
  [[noreturn]] void Throw() const;

  std::string name_, path_;
  int file_ = -1;
};

// Returns the text with `name` in place of `path`: for messages about a file in memory, which
// contain its path.
VXIO_API std::string VXIO_Renamed(std::string text, const std::string& path,
                                  const std::string& name);

struct VXIO_Encoded {
  std::string bytes;  // contents of the file
  std::vector<std::string> warnings;
};

// Encodes a picture as the contents of a file. Arguments, warnings and errors are those of
// VXIO_Write.
//   name   selects the format by its extension, begins messages, and is stored by formats that
//          contain the name of the file (dpx). No file of this name is read or written.
//          `options.clobber` is ignored.
VXIO_API VXIO_Encoded VXIO_Encode(const std::string& name, const VX_LayerDef& world,
                                  const VXIO_WriteOptions& options = {});
