// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Peers.h"

#ifdef VX_BENCH_OPENCV

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

namespace {

// A header over the world's memory.
cv::Mat Wrap(const VX_LayerDef& world) {
  const int32_t depth = VXp_WorldDepth(&world);
  const int type = depth == 8 ? CV_8UC4 : depth == 16 ? CV_16UC4 : CV_32FC4;
  return cv::Mat(world.height, world.width, type, world.data, static_cast<size_t>(world.rowbytes));
}

// A result of another size or type would be memory of its own.
void ExpectInPlace(const cv::Mat& result, const VX_LayerDef& dst) {
  if (result.data != dst.data) throw std::runtime_error("OpenCV did not write to the destination");
}

void Fill(const VX_LayerDef& dst, const double (&channels)[4]) {
  Wrap(dst).setTo(cv::Scalar(channels[0], channels[1], channels[2], channels[3]));
}

void Copy(const VX_LayerDef& src, const VX_LayerDef& dst) {
  cv::Mat to = Wrap(dst);
  Wrap(src).copyTo(to);
  ExpectInPlace(to, dst);
}

void Convert(const VX_LayerDef& src, const VX_LayerDef& dst, double scale) {
  cv::Mat to = Wrap(dst);
  Wrap(src).convertTo(to, to.depth(), scale);
  ExpectInPlace(to, dst);
}

template <int interpolation>
void Resize(const VX_LayerDef& src, const VX_LayerDef& dst) {
  cv::Mat to = Wrap(dst);
  cv::resize(Wrap(src), to, to.size(), 0.0, 0.0, interpolation);
  ExpectInPlace(to, dst);
}

}  // namespace

const OpenCvPeer* OpenCv() {
  static const OpenCvPeer peer = [] {
    cv::setNumThreads(1);
    return OpenCvPeer{&Fill,
                      &Copy,
                      &Convert,
                      &Resize<cv::INTER_NEAREST>,
                      &Resize<cv::INTER_LINEAR>,
                      &Resize<cv::INTER_AREA>};
  }();
  return &peer;
}

#else

const OpenCvPeer* OpenCv() { return nullptr; }

#endif
