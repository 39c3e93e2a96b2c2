// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Encodes worlds as the video stream of a clip.

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "VXIO_ClipFile.h"
#include "VXIO_ClipFormats.h"
#include "VXIO_ClipPlanes.h"

class VXIOp_ClipEncoder {
 public:
  // Finds the encoder. Throws VXIO_Error (Output) if libavcodec does not have it.
  //   log  must outlive the object
  VXIOp_ClipEncoder(const std::string& path, const VXIO_ClipOptions& options, VXIOp_LavLog* log);
  ~VXIOp_ClipEncoder();
  VXIOp_ClipEncoder(const VXIOp_ClipEncoder&) = delete;
  VXIOp_ClipEncoder& operator=(const VXIOp_ClipEncoder&) = delete;

  // Opens the encoder for frames of the size of `first`.
  //   alpha          the clip stores alpha
  //   global_header  the container stores the headers of the encoder once
  // Throws VXIO_Error (Output).
  void Open(const VX_LayerDef& first, bool alpha, bool global_header);
  bool is_open() const { return rule_.format != AV_PIX_FMT_NONE; }

  const VXIOp_ClipCodec& codec() const { return codec_; }
  // The following functions are for an open encoder.
  const AVCodecContext& context() const { return *context_; }
  const VXIOp_PlaneRule& rule() const { return rule_; }
  int32_t bits() const { return bits_; }

  // Encodes a frame, or with null the frames that the encoder holds back. `use` is called with each
  // packet, whose times are in units of context().time_base. Throws VXIO_Error (Output).
  void Encode(const VX_LayerDef* world, int64_t time, int64_t duration,
              const std::function<void(AVPacket*)>& use);

 private:
  void SetOptions();
  void SetColours(int32_t height);
  void Check(int error);

  std::string path_;
  const VXIO_ClipOptions& options_;
  const VXIOp_ClipCodec& codec_;
  VXIOp_LavLog* log_;
  const AVCodec* encoder_ = nullptr;
  VXIOp_LavPtr<AVCodecContext> context_;
  VXIOp_LavPtr<AVPacket> packet_;
  VXIOp_PlaneRule rule_;
  int32_t bits_ = 0;
  std::map<int64_t, int64_t> durations_;  // of frames in the encoder, by time
};
