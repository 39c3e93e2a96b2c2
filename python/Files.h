// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What pictures, sequences and clips share.

#include <string>
#include <vector>

#include "Errors.h"
#include "Pictures.h"
#include "VXIO/VXIO_Picture.h"

namespace vxpy {

// What a file holds besides pixels: vx.Metadata.
struct Metadata {
  VXIO_Metadata carried;
  std::string path;
};

// A str, bytes or path object as the system takes it.
std::string PathOf(const py::object& path);

// As UserWarning, in the name of the caller.
void WarnAll(const std::vector<std::string>& warnings);

// A file that is not there is told in Python's own way before the library looks for it.
void RequireFile(const py::object& path);

// "file", "straight", "premultiplied" or "ignore".
VXIO_AlphaAs ParseAlpha(const py::object& word);

// The world of a picture with its pixels, as the caller wants it.
py::object Given(VXIO_WorldPtr world, bool as_world, Order order);

// Runs function() without the interpreter's lock; what io throws becomes OSError.
template <class Function>
void RunFiles(Function&& function) {
  const Call call;
  std::string refused;
  VX_Err code = VX_Ok;
  {
    const py::gil_scoped_release release;
    try {
      function();
    } catch (const VXIO_Error& error) {
      refused = error.what();
    } catch (VX_Err thrown) {
      code = thrown;
    }
  }
  if (!refused.empty()) {
    PyErr_SetString(PyExc_OSError, refused.c_str());
    throw py::error_already_set();
  }
  Check(code);
}

// Clips, beside the rest of AddFiles.
void AddClips(py::module_& module);

// What a clip says about itself, as a dict.
py::dict ClipInfo(const std::string& path);

}  // namespace vxpy
