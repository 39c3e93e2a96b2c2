// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// An index of the frames of a clip, made from its packets without decoding.

#include <cstdint>
#include <string>
#include <vector>

#include "VXIO_ClipFile.h"

class VXIOp_ClipIndex {
 public:
  struct Key {
    int64_t frame;         // its number
    int64_t stamp;         // presentation time
    int64_t decode_stamp;  // AV_NOPTS_VALUE if it has none
    int64_t packets;       // number of packets before it
  };

  // Reads all packets of the file. The index is empty if they do not show the frames, see
  // VXIO_ClipReader::Times. Throws VXIO_Error (Input).
  explicit VXIOp_ClipIndex(const std::string& path);

  bool is_empty() const { return stamps_.empty(); }
  // Presentation times of the frames, ascending, in units of the time base of the stream.
  const std::vector<int64_t>& stamps() const { return stamps_; }
  // Times in seconds since the start of the file.
  const std::vector<double>& seconds() const { return seconds_; }
  // Returns the last key frame that is not after a frame.
  const Key& KeyBefore(int64_t frame) const;

 private:
  std::vector<int64_t> stamps_;
  std::vector<double> seconds_;
  std::vector<Key> keys_;  // ascending
};
