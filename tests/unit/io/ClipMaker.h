// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Makes clips with known samples, using only libav's encoders.

extern "C" {
#include <libavutil/frame.h>
}

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Returns 0..65535, different for each frame, component and position.
inline int Noise(int frame, int component, int x, int y) {
  uint32_t n = uint32_t(frame) * 7919 + uint32_t(component) * 104729 + uint32_t(x) * 1299709 +
               uint32_t(y) * 15485863;
  n = (n ^ n >> 13) * 0x5bd1e995u;
  return static_cast<int>((n ^ n >> 15) & 0xFFFF);
}

struct ClipPlan {
  std::string path;  // the extension decides the container
  AVPixelFormat format = AV_PIX_FMT_BGR0;
  const char* codec = "ffv1";
  // Returns a sample; x and y are positions in the plane of the component.
  std::function<int(int frame, int component, int x, int y)> sample = Noise;
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  AVChromaLocation siting = AVCHROMA_LOC_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  int width = 17, height = 9, frames = 3;  // 0 frames: no video stream
  AVRational rate = {25, 1}, aspect = {1, 1};
  std::vector<int64_t> stamps = {};  // in frames; default 0, 1, 2, ...
  std::vector<int32_t> turn = {};    // upper left 2 x 2 of the display matrix
  bool sound = false;                // adds a sound stream
  const char* x264 = "";             // parameters for libx264
  int key_frames = 0;                // distance of key frames; 0: that of the encoder
};

// Throws std::runtime_error.
void MakeClip(const ClipPlan& plan);
