// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Each function adds the functions and classes of one subject to the module. It is defined in the
// source file with the name of the subject.

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
void AddMotion(pybind11::module_& module);
void AddPixels(pybind11::module_& module);
void AddPlanes(pybind11::module_& module);
void AddSamples(pybind11::module_& module);
void AddSpaces(pybind11::module_& module);
void AddTransform(pybind11::module_& module);
void AddUno(pybind11::module_& module);

}  // namespace vxpy
