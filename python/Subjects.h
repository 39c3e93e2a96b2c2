// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One source file per subject. Each function adds its subject's functions and classes to the
// module.

#include <pybind11/pybind11.h>

namespace vxpy {

void AddBench(pybind11::module_& module);
void AddBlend(pybind11::module_& module);
void AddFilters(pybind11::module_& module);
void AddColor(pybind11::module_& module);
void AddFiles(pybind11::module_& module);
void AddBitmap(pybind11::module_& module);
void AddHost(pybind11::module_& module);
void AddIterate(pybind11::module_& module);
void AddPixels(pybind11::module_& module);
void AddPlanes(pybind11::module_& module);
void AddSamples(pybind11::module_& module);
void AddSpaces(pybind11::module_& module);
void AddTransform(pybind11::module_& module);
void AddUno(pybind11::module_& module);

}  // namespace vxpy
