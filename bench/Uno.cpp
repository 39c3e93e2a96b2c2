// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// One-channel buffers. Memory bandwidth should limit their speed.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include "Content.h"
#include "NaiveUno.h"
#include "Peers.h"
#include "Sections.h"
#include "VX/VX_UnoBuffer.h"
#include "Versus.h"

namespace {

constexpr int32_t kWidth = 1920, kHeight = 1080;
constexpr double kOpacity = 0.7;

// The speed that fades, inversions and transfers should reach, as a fraction of memcpy's.
constexpr double kShare = 0.5;

void Expect(VX_Err error) {
  if (error != VX_Ok) throw std::runtime_error("a mask buffer gave " + std::to_string(error));
}

template <class Pixel>
class Uno {
 public:
  using Sample = VX_ChannelOf<Pixel>;

  explicit Uno(const Options& options)
      : options_(options),
        name_("1920x1080/" + std::to_string(kDepthOf<Pixel>) + "/"),
        src_(kWidth, kHeight, kDepthOf<Pixel>),
        mask_(kWidth, kHeight, kDepthOf<Pixel>),
        dst_(kWidth, kHeight, kDepthOf<Pixel>),
        weight_(kWidth, kHeight, 32),
        rest_(kWidth, kHeight, 32) {
    const Frame<Pixel> picture = MakePicture<Pixel>(Picture::kVaried, kWidth, kHeight);
    for (size_t i = 0; i < kCount; ++i) {
      Samples(src_)[i] = picture.pixels[i].red;
      Samples(mask_)[i] = picture.pixels[i].alpha;
      const auto m = static_cast<float>(static_cast<double>(picture.pixels[i].alpha) / kScale);
      static_cast<float*>(*weight_.data)[i] = m;
      static_cast<float*>(*rest_.data)[i] = 1.0f - m;
    }
  }

  void Run() {
    const Sample value = ToChannel<Pixel>(0.3);
    Sample* const dst = Samples(dst_);
    const Sample* const src = Samples(src_);
    const Sample* const mask = Samples(mask_);
    const auto opacity = ToChannel<Pixel>(kOpacity);
    Row("fill", {[&] { Fill(value); }, [&] { NaiveUnoFill(value, dst, kCount); },
                 [&] { OpenCv()->uno_fill(dst_, static_cast<double>(value)); },
                 [&] { std::memset(dst, 0x5A, kBytes); }, 0.0});
    Row("fade", {[&] { Expect(VX_FadeUnoBuffer(kOpacity, &dst_)); },
                 [&] { NaiveUnoFade(opacity, dst, kCount); },
                 [&] { OpenCv()->uno_fade(dst_, static_cast<double>(opacity) / kScale); },
                 [&] { MoveOnce(); }, 1.0});
    Row("invert",
        {[&] { Expect(VX_InvertUnoBuffer(nullptr, &dst_)); }, [&] { NaiveUnoInvert(dst, kCount); },
         [&] { OpenCv()->uno_invert(dst_, double{kScale}); }, [&] { MoveOnce(); }, 0.0});
    std::function<void()> opencv;
    if (kDepthOf<Pixel> != 16) opencv = [&] { OpenCv()->uno_blend(src_, weight_, rest_, dst_); };
    Row("transfer",
        {[&] { Expect(VX_TransferUnoBuffers(nullptr, &src_, &mask_, 0, nullptr, nullptr, &dst_)); },
         [&] { NaiveUnoTransfer(src, mask, dst, kCount); }, opencv, [&] { MoveTwice(); }, 1.0});
  }

  bool agree = true;
  std::vector<std::string> slow;

 private:
  static constexpr size_t kCount = size_t{kWidth} * kHeight;
  static constexpr size_t kBytes = kCount * sizeof(Sample);
  static constexpr double kScale = kFullScaleOf<Pixel>;

  static Sample* Samples(const VX_UnoBuffer& buffer) { return static_cast<Sample*>(*buffer.data); }

  void Fill(uint8_t value) { Expect(VX_FillUnoBuffer(value, &dst_)); }
  void Fill(uint16_t value) { Expect(VX_FillDeepUnoBuffer(value, &dst_)); }
  void Fill(float value) { Expect(VX_FillFloatUnoBuffer(value, &dst_)); }

  // Copies that read and write as many bytes as an operation on one buffer, and on two.
  void MoveOnce() { std::memcpy(*dst_.data, *src_.data, kBytes); }
  void MoveTwice() {
    MoveOnce();
    benchmark::ClobberMemory();  // otherwise the compiler removes the first copy
    std::memcpy(*dst_.data, *mask_.data, kBytes);
  }

  struct Work {
    std::function<void()> own, naive, opencv, memory;
    double opencv_steps;  // permitted difference from OpenCV, in units of the depth
  };

  std::vector<Sample> ResultOf(const std::function<void()>& run) {
    for (size_t i = 0; i < kCount; ++i) Samples(dst_)[i] = Samples(src_)[kCount - 1 - i];
    run();
    return {Samples(dst_), Samples(dst_) + kCount};
  }

  void Compare(const std::string& name, const char* rival, const std::vector<Sample>& ours,
               const std::function<void()>& run, double steps) {
    const std::vector<Sample> theirs = ResultOf(run);
    double greatest = 0.0;
    for (size_t i = 0; i < kCount; ++i) {
      const double step = static_cast<double>(ours[i]) - static_cast<double>(theirs[i]);
      greatest = std::max(greatest, std::fabs(step));
    }
    const double most = kDepthOf<Pixel> == 32 ? 2e-5 * (steps > 0.0) : steps;
    if (greatest <= most) return;
    std::printf("%s: %s differs by %g\n", name.c_str(), rival, greatest);
    agree = false;
  }

  void Row(const char* what, const Work& work) {
    const std::string name = name_ + what;
    if (!options_.Takes(name)) return;
    const std::vector<Sample> ours = ResultOf(work.own);
    Compare(name, "the naive loop", ours, work.naive, 0.0);
    const bool peer = OpenCv() != nullptr && work.opencv;
    if (peer) Compare(name, "OpenCV", ours, work.opencv, work.opencv_steps);
    const Rival opencv = work.opencv ? RivalOf(OpenCv(), work.opencv) : Rival{};
    const Outcome outcome = RunVersus(name, 1e-6 * static_cast<double>(kCount), work.own,
                                      {{work.memory}, {work.naive}, opencv}, options_.rounds);
    if (outcome.ratios[0] < kShare) slow.push_back(name);
  }

  const Options& options_;
  std::string name_;
  VX_UnoBuffer src_, mask_, dst_;
  VX_UnoBuffer weight_, rest_;  // for OpenCV: the mask, and 1 minus the mask
};

}  // namespace

bool RunUno(const Options& options) {
  std::puts(
      "\nUno: one-channel buffers of 1920x1080. The ratios say how many times faster the library\n"
      "is than\n"
      "  memory  memset of as many bytes (fill); memcpy that reads and writes as many in sum\n"
      "  naive   a plain loop with the formula inline\n"
      "  OpenCV  setTo, convertTo with a scale, subtract; blendLinear, whose weights are floats "
      "at\n"
      "          both depths that it takes\n");
  PrintVersusHead("Mpixel/s", {"memory", "naive", "OpenCV"});
  bool agree = true;
  std::vector<std::string> slow;
  const auto run = [&](auto&& uno) {
    uno.Run();
    agree = agree && uno.agree;
    slow.insert(slow.end(), uno.slow.begin(), uno.slow.end());
  };
  run(Uno<VX_Pixel8>(options));
  run(Uno<VX_Pixel16>(options));
  run(Uno<VX_PixelFloat>(options));
  std::printf("\nrows below %.0f %% of memory: %zu\n", 100 * kShare, slow.size());
  for (const std::string& name : slow) std::printf("  %s\n", name.c_str());
  return agree;
}
