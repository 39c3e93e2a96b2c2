// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Makes clips whose samples are known, with libav's encoders alone.

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
  int width = 17, height = 9, frames = 3;  // without frames: no video at all
  // The sample of one kind at a place; of a subsampled kind, places are counted in its own plane.
  std::function<int(int frame, int component, int x, int y)> sample = {};
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  AVChromaLocation siting = AVCHROMA_LOC_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVRational rate = {25, 1}, aspect = {1, 1};
  std::vector<int64_t> stamps = {};  // in frames of the rate; else 0, 1, 2, ...
  std::vector<int32_t> turn = {};    // the first two rows and columns of a display matrix
  bool sound = false;                // a stream of it besides
  const char* x264 = "";             // parameters of that encoder
};

// Throws std::runtime_error.
void MakeClip(const ClipPlan& plan);
