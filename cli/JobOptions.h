// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The options of a job as values.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Console.h"
#include "Job.h"

namespace vxcli {

enum class Missing { Error, Skip, Hold, Black };

struct JobOptions {
  std::optional<std::vector<int64_t>> frames;
  Missing missing = Missing::Error;
  Progress::Style progress = Progress::Auto;
  int32_t threads = 0;            // of the whole command
  bool threads_given = false;     // else they are the processors allowed to it
  std::optional<int64_t> memory;  // bytes for the frames in flight
  VXIO_Clobber clobber = VXIO_Clobber::Overwrite;
};

// Throws UsageError.
JobOptions ParseJobOptions(const JobWords& words);

// "2G", "512M", "100K" or bytes; units of 1024.
int64_t ParseBytes(const std::string& option, const std::string& word);
// "2.5 GiB"
std::string BytesText(int64_t bytes);

}  // namespace vxcli
