// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The compiled part of the Python module. vx/__init__.py defines the public names.

#include "Errors.h"
#include "Pictures.h"
#include "Subjects.h"

PYBIND11_MODULE(_vx, module) {
  module.attr("__version__") = VX_VERSION;
  vxpy::AddErrors(module);
  vxpy::AddWorld(module);
  vxpy::AddColor(module);
  vxpy::AddSpaces(module);
  vxpy::AddUno(module);
  vxpy::AddBlend(module);
  vxpy::AddFiles(module);
  vxpy::AddFilters(module);
  vxpy::AddTransform(module);
  vxpy::AddMotion(module);
  vxpy::AddPixels(module);
  vxpy::AddPlanes(module);
  vxpy::AddBitmap(module);
  vxpy::AddIterate(module);
  vxpy::AddSamples(module);
  vxpy::AddHost(module);
  vxpy::AddBench(module);
  module.def("birth", &vxpy::Birth,
             "Starts the library. The import of the module has already done this; call it after "
             "vx.death().");
  module.def(
      "death", [] { vxpy::Death(); },
      "Ends the library and frees its memory. Every later call raises vx.Error until vx.birth(). "
      "Raises RuntimeError while a call of another thread runs.");
  vxpy::Birth();
}
