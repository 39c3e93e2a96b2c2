// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Common parts of the bindings for pictures, sequences and clips.

#include <memory>
#include <string>
#include <vector>

#include "Errors.h"
#include "Pictures.h"
#include "VXIO/VXIO_Memory.h"
#include "VXIO/VXIO_Picture.h"

namespace vxpy {

// vx.Metadata: the contents of a file other than pixels.
struct Metadata {
  VXIO_Metadata carried;
  std::string path;
};

// Converts a str or path object to a file name of the system. bytes are contents, not a path.
std::string PathOf(const py::object& path);

// Issues each text as a UserWarning with the caller's source line.
void WarnAll(const std::vector<std::string>& warnings);

// Raises Python's exception (FileNotFoundError, PermissionError, ...) if the file cannot be
// accessed.
void RequireFile(const py::object& path);

// Accepts "file", "straight", "premultiplied" or "ignore".
VXIO_AlphaAs ParseAlpha(const py::object& arg);

// Converts a world to a vx.World or to an array of the given order.
py::object ResultOf(VXIO_WorldPtr world, bool as_world, Order order);

// Runs function() without the interpreter's lock. A VXIO_Error becomes OSError.
template <class Function>
void RunFiles(Function&& function) {
  const Call call;
  std::string refused;
  VX_Err code = VX_Ok;
  {
    const py::gil_scoped_release release;
    try {
      code = CodeOf([&] {
        function();
        return VX_Err{VX_Ok};
      });
    } catch (const VXIO_Error& error) {
      refused = error.what();
    }
  }
  if (!refused.empty()) {
    PyErr_SetString(PyExc_OSError, refused.c_str());
    throw py::error_already_set();
  }
  Check(code);
}

// A file to read: a path, or the contents of a file as bytes, bytearray or memoryview, which are
// copied to a file in memory.
class InputFile {
 public:
  // Raises FileNotFoundError, PermissionError, ... if the file cannot be accessed.
  explicit InputFile(const py::object& path);

  const std::string& path() const { return memory_ ? memory_->path() : path_; }
  // The path, or "data" for contents.
  const std::string& name() const { return path_; }

  // Runs function() as RunFiles does. Errors contain the name.
  template <class Function>
  void Run(Function&& function) const {
    RunFiles([&] {
      try {
        function();
      } catch (const VXIO_Error& error) {
        throw VXIO_Error(error.kind(), VXIO_Renamed(error.what(), path(), name()));
      }
    });
  }

 private:
  std::string path_;                         // as given, or "data"
  std::unique_ptr<VXIO_MemoryFile> memory_;  // null for a path
};

// Adds the functions for clips; AddFiles calls it.
void AddClips(py::module_& module);

// Returns the header information of a clip as a dict.
py::dict ClipInfo(const InputFile& file);

}  // namespace vxpy
