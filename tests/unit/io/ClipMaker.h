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

struct ClipPlan {
  std::string path;  // the extension decides the container
  AVPixelFormat format = AV_PIX_FMT_BGR0;
  const char* codec = "ffv1";
  int width = 17, height = 9, frames = 3;  // 0 frames: no video stream
  // Returns a sample; x and y are positions in the plane of the component.
  std::function<int(int frame, int component, int x, int y)> sample = {};
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  AVChromaLocation siting = AVCHROMA_LOC_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVRational rate = {25, 1}, aspect = {1, 1};
  std::vector<int64_t> stamps = {};  // in frames; default 0, 1, 2, ...
  std::vector<int32_t> turn = {};    // upper left 2 x 2 of the display matrix
  bool sound = false;                // adds a sound stream
  const char* x264 = "";             // parameters for libx264
};

// Throws std::runtime_error.
void MakeClip(const ClipPlan& plan);
