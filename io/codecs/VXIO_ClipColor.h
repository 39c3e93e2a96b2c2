// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Converts decoded frames to worlds.

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>
#include <string_view>

#include "VX/VX.hpp"
#include "VXIO/VXIO_Picture.h"

// Untagged frames above this height are treated as high definition (BT.709).
inline constexpr int32_t kVXIOp_TallestStandardDefinition = 576;

// Weights of red and blue in luma; 0 for YCgCo, which has no weights.
struct VXIOp_MatrixWeights {
  AVColorSpace matrix;
  const char* name;
  double red, blue;
};

// Returns the weights of a matrix, or of the first matrix with a name; null if it is not supported.
const VXIOp_MatrixWeights* VXIOp_FindMatrix(AVColorSpace matrix);
const VXIOp_MatrixWeights* VXIOp_FindMatrix(std::string_view name);

// How the samples of a frame are interpreted.
struct VXIOp_ClipPixels {
  enum class Kind { Rgb, Grey, Yuv };
  AVPixelFormat format = AV_PIX_FMT_NONE;
  const AVPixFmtDescriptor* descriptor = nullptr;
  Kind kind = Kind::Rgb;
  int32_t bits = 8;  // of the deepest component
  bool has_alpha = false;
  bool full_range = true;
  AVColorSpace matrix = AVCOL_SPC_RGB;
  bool matrix_tagged = true;

  int32_t depth() const { return bits > 8 ? 16 : 8; }
  std::string MatrixName() const;
};

// Derives the interpretation from the tags and the height of the stored frame. Throws VXIO_Error
// (Input) if the samples are not supported.
VXIOp_ClipPixels VXIOp_PixelsOf(const std::string& path, AVPixelFormat format, AVColorSpace matrix,
                                AVColorRange range, int32_t height);

class VXIOp_ClipColor {
 public:
  // Returns the upright world of a frame, opaque unless `with_alpha`. `depth` is 8, 16 or 32.
  VXIO_WorldPtr World(const AVFrame& frame, const VXIOp_ClipPixels& pixels, int32_t orientation,
                      int32_t depth, bool with_alpha);

 private:
  struct Free {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  };
  using FramePtr = std::unique_ptr<AVFrame, Free>;
  // The frame properties that the scaler was set up for.
  struct Geometry {
    int format, width, height, siting;
    bool operator==(const Geometry&) const = default;
  };

  // Returns a frame whose samples are 0.
  static FramePtr NewFrame(int format, int width, int height);
  // Converts a frame to planes of 16 bits with full-resolution chroma. Samples are shifted to the
  // upper bits.
  const AVFrame& FullChroma(const AVFrame& frame);
  template <class Pixel>
  void Convert(const AVFrame& frame, const VXIOp_ClipPixels& pixels, int32_t orientation,
               bool with_alpha, vx::View<Pixel> view);

  std::unique_ptr<SwsContext, Free> scaler_;
  FramePtr full_;
  FramePtr padded_;  // if the size of the frames is not a multiple of that of a chroma sample
  Geometry made_for_{};
};
