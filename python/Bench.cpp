// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// C++ loops that bench/python_calls.py compares with Python. They are not part of the public
// module.

#include <chrono>

#include "Errors.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_Transfer.h"

namespace vxpy {

namespace {

void Nothing() {}

// Returns the mean time in seconds of `count` in-front transfers.
double TransferSeconds(const WorldPtr& dst, const WorldPtr& src, int32_t count) {
  const VX_CompositeModePlus mode(VX_Xfer_InFront, 1.0f, nullptr, /*keep_dst_alpha=*/false, 0);
  const auto start = std::chrono::steady_clock::now();
  Run([&] {
    VX_Err code = VX_Ok;
    for (int32_t i = 0; i < count && code == VX_Ok; ++i) {
      code = VX_TransferRect(nullptr, 1, 0, VX_Field_Both, nullptr, src->get(), &mode, nullptr,
                             nullptr, 0, 0, dst->get());
    }
    return code;
  });
  const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
  return spent.count() / count;
}

}  // namespace

void AddBench(py::module_& module) {
  module.def("nothing", &Nothing);
  module.def("transfer_seconds", &TransferSeconds);
}

}  // namespace vxpy
