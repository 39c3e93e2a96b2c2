// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Peers.h"

#ifdef VX_BENCH_OPENCV

#include <algorithm>
#include <numeric>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#ifdef VX_BENCH_OPENCV_VIDEO
#include <opencv2/video/tracking.hpp>
#endif
#include <stdexcept>

#include "VX/cpp/View.hpp"

namespace {

int TypeOf(int32_t depth, int channels) {
  return vx::visit_depth(depth, [channels]<class Pixel>() -> int {
    return CV_MAKETYPE(cv::DataType<VX_ChannelOf<Pixel>>::depth, channels);
  });
}

// An image that uses the memory of the world.
cv::Mat Wrap(const VX_LayerDef& world) {
  const int type = TypeOf(VXp_WorldDepth(&world), 4);
  return cv::Mat(world.height, world.width, type, world.data, static_cast<size_t>(world.rowbytes));
}

// OpenCV would allocate a result of another size or type instead of writing to `dst`.
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

void Gaussian(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t radius) {
  cv::Mat to = Wrap(dst);
  const cv::Size window(2 * radius + 1, 2 * radius + 1);
  cv::GaussianBlur(Wrap(src), to, window, SigmaOf(radius), SigmaOf(radius), cv::BORDER_CONSTANT);
  ExpectInPlace(to, dst);
}

void Box(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t radius, int32_t iterations) {
  cv::Mat to = Wrap(dst);
  const cv::Size window(2 * radius + 1, 2 * radius + 1);
  for (int32_t i = 0; i < iterations; ++i) {
    cv::boxFilter(i == 0 ? Wrap(src) : to, to, -1, window, cv::Point(-1, -1), true,
                  cv::BORDER_CONSTANT);
  }
  ExpectInPlace(to, dst);
}

void Convolve(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t size, const int32_t* kernel) {
  cv::Mat to = Wrap(dst), weights(size, size, CV_32F);
  const double sum = std::accumulate(kernel, kernel + size * size, 0.0);
  std::transform(kernel, kernel + size * size, weights.ptr<float>(),
                 [sum](int32_t weight) { return static_cast<float>(weight / sum); });
  cv::filter2D(Wrap(src), to, -1, weights, cv::Point(-1, -1), 0.0, cv::BORDER_CONSTANT);
  ExpectInPlace(to, dst);
}

// The matrix for column vectors.
cv::Matx23d Affine(const M_Matrix3& to_src) {
  const double(&m)[9] = to_src.m;
  return {m[0], m[3], m[6], m[1], m[4], m[7]};
}

void WarpTo(const VX_LayerDef& src, const M_Matrix3& to_src, cv::Mat* to) {
  cv::warpAffine(Wrap(src), *to, Affine(to_src), to->size(),
                 cv::INTER_LINEAR | cv::WARP_INVERSE_MAP);
}

void Warp(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& to_src) {
  cv::Mat to = Wrap(dst);
  WarpTo(src, to_src, &to);
  ExpectInPlace(to, dst);
}

void Warps(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3* inverses,
           int32_t count) {
  cv::Mat to = Wrap(dst), sum = cv::Mat::zeros(to.size(), CV_32FC4), one(to.size(), to.type());
  for (int32_t i = 0; i < count; ++i) {
    WarpTo(src, inverses[i], &one);
    cv::accumulate(one, sum);
  }
  sum.convertTo(to, to.depth(), 1.0 / count);
  ExpectInPlace(to, dst);
}

cv::Mat Wrap(const VX_UnoBuffer& buffer) {
  const int type = TypeOf(buffer.depth, 1);
  return cv::Mat(buffer.height, buffer.width, type, *buffer.data);
}

void ExpectInPlace(const cv::Mat& result, const VX_UnoBuffer& dst) {
  if (result.data != *dst.data) throw std::runtime_error("OpenCV did not write to the destination");
}

void UnoFill(const VX_UnoBuffer& dst, double value) { Wrap(dst).setTo(cv::Scalar(value)); }

void UnoFade(const VX_UnoBuffer& dst, double scale) {
  cv::Mat to = Wrap(dst);
  to.convertTo(to, to.depth(), scale);
  ExpectInPlace(to, dst);
}

void UnoInvert(const VX_UnoBuffer& dst, double full) {
  cv::Mat to = Wrap(dst);
  cv::subtract(cv::Scalar(full), to, to);
  ExpectInPlace(to, dst);
}

void UnoBlend(const VX_UnoBuffer& src, const VX_UnoBuffer& weight, const VX_UnoBuffer& rest,
              const VX_UnoBuffer& dst) {
  cv::Mat to = Wrap(dst);
  cv::blendLinear(Wrap(src), to, Wrap(weight), Wrap(rest), to);
  ExpectInPlace(to, dst);
}

void UnoBox(const VX_UnoBuffer& src, const VX_UnoBuffer& dst, int32_t width, int32_t times) {
  cv::Mat to = Wrap(dst);
  for (int32_t i = 0; i < times; ++i) {
    cv::boxFilter(i == 0 ? Wrap(src) : to, to, -1, cv::Size(width, width), cv::Point(-1, -1), true,
                  cv::BORDER_REPLICATE);
  }
  ExpectInPlace(to, dst);
}

void UnoGaussian(const VX_UnoBuffer& src, const VX_UnoBuffer& dst, int32_t radius) {
  cv::Mat to = Wrap(dst);
  const cv::Size window(2 * radius + 1, 2 * radius + 1);
  cv::GaussianBlur(Wrap(src), to, window, SigmaOf(radius), SigmaOf(radius), cv::BORDER_REPLICATE);
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
                      &Resize<cv::INTER_AREA>,
                      &Gaussian,
                      &Box,
                      &Convolve,
                      &Warp,
                      &Warps,
                      &UnoFill,
                      &UnoFade,
                      &UnoInvert,
                      &UnoBlend,
                      &UnoBox,
                      &UnoGaussian};
  }();
  return &peer;
}

#else

const OpenCvPeer* OpenCv() { return nullptr; }

#endif

#ifdef VX_BENCH_OPENCV_VIDEO

namespace {

void Dis(const uint8_t* from, const uint8_t* to, int32_t width, int32_t height, int preset) {
  const cv::Mat a(height, width, CV_8UC1, const_cast<uint8_t*>(from));
  const cv::Mat b(height, width, CV_8UC1, const_cast<uint8_t*>(to));
  cv::Mat flow;
  cv::DISOpticalFlow::create(preset)->calc(a, b, flow);
}

}  // namespace

const FlowPeer* OpenCvFlow() {
  static const FlowPeer peer{&Dis};
  cv::setNumThreads(1);
  return &peer;
}

#else

const FlowPeer* OpenCvFlow() { return nullptr; }

#endif
