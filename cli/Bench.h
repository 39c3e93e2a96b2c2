// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Measurements of the library on this machine, and their chart.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vxcli {

struct BenchSettings {
  int32_t width = 0, height = 0;  // of the pictures; in-between pictures have a third of each side
  int32_t threads = 1;            // "all threads"
  double seconds = 0;             // of all measurements together; slow calls may exceed it
};

// The speed of an operation.
struct Speed {
  double mpixels;    // millions of pixels per second, the median of the repetitions
  double spread;     // distance of the quartiles of the times, divided by the median
  double of_memcpy;  // mpixels divided by that of memcpy with the same depth and threads
  int32_t repetitions;
};

struct BenchRow {
  std::string work;
  int32_t depth;
  Speed one_thread;
  std::optional<Speed> all_threads;  // none if there is only one thread
};

// Measures all operations at all depths, with one thread and with all. `announce` is called before
// each measurement, with its index, their number and a name. Afterwards the library uses
// `settings.threads` threads. Throws vx::Error (out_of_memory).
std::vector<BenchRow> RunBench(
    const BenchSettings& settings,
    const std::function<void(int index, int count, const std::string& name)>& announce);

// Draws the speeds as bars. The format is SVG if the name ends with .svg, else that of the
// extension. Returns the warnings of the writer. Throws VXIO_Error (Output).
std::vector<std::string> WriteBenchChart(const std::string& path, const std::string& title,
                                         const std::vector<BenchRow>& rows, int32_t threads);

}  // namespace vxcli
