// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Fills, copies of equal size, and conversions. Memory bandwidth should limit their speed.

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include "Content.h"
#include "NaiveCopies.h"
#include "Peers.h"
#include "Sections.h"
#include "VX/VX_Copy.h"
#include "VX/VX_DepthConvert.h"
#include "VX/VX_Fill.h"
#include "Versus.h"

namespace {

constexpr NaiveSize kSizes[] = {{1920, 1080}, {3840, 2160}};

// The speed that these calls should reach, as a fraction of memset's and of memcpy's.
constexpr double kFillShare = 0.9;
constexpr double kConvertShare = 0.5;

void Expect(VX_Err error, const char* call) {
  if (error != VX_Ok) {
    throw std::runtime_error(std::string(call) + " gave " + std::to_string(error));
  }
}

class Copies {
 public:
  Copies(const Options& options, NaiveSize size) : options_(options), size_(size) {}

  void Run() {
    Fills<VX_Pixel8>(&VX_Fill);
    Fills<VX_Pixel16>(&VX_Fill16);
    Fills<VX_PixelFloat>(&VX_FillFloat);
    From<VX_Pixel8>();
    From<VX_Pixel16>();
    From<VX_PixelFloat>();
  }

  bool agree = true;
  std::vector<std::string> slow;

 private:
  std::string Name(const std::string& work) const {
    return std::to_string(size_.width) + "x" + std::to_string(size_.height) + "/" + work;
  }

  // The first rival is memset or memcpy. Records the row as slow if the library reaches less than
  // `share` of its speed.
  void Row(const std::string& name, double share, const std::function<void()>& run,
           const std::vector<Rival>& rivals) {
    const double mpixels = 1e-6 * size_.width * size_.height;
    const Outcome outcome = RunVersus(name, mpixels, run, rivals, options_.rounds);
    if (outcome.ratios[0] < share) slow.push_back(name);
  }

  // Compares the results of two runs into the same frame. `most` is the largest permitted
  // difference of a channel.
  template <class Pixel>
  void Compare(const std::string& name, const char* rival, Frame<Pixel>& dst,
               const std::function<void()>& own, const std::function<void()>& other, double most) {
    dst.pixels.assign(dst.pixels.size(), Pixel{});
    own();
    const std::vector<Pixel> ours = dst.pixels;
    dst.pixels.assign(dst.pixels.size(), Pixel{});
    other();
    const double step = GreatestStep(ours, dst.pixels);
    if (step <= most) return;
    std::printf("%s: %s differs by %g\n", name.c_str(), rival, step);
    agree = false;
  }

  template <class Pixel, class Fill>
  void Fills(Fill fill) {
    const std::string name = Name("fill/" + std::to_string(kDepthOf<Pixel>));
    if (!options_.Takes(name)) return;
    Frame<Pixel> dst(size_.width, size_.height);
    VX_LayerDef layer = dst.Layer();
    const Pixel color{ToChannel<Pixel>(0.8), ToChannel<Pixel>(0.1), ToChannel<Pixel>(0.4),
                      ToChannel<Pixel>(0.6)};
    const auto own = [&] { Expect(fill(nullptr, &color, nullptr, &layer), "VX_Fill"); };
    const auto naive = [&] { NaiveFill(color, dst.pixels.data(), dst.pixels.size()); };
    const double channels[4] = {static_cast<double>(color.alpha), static_cast<double>(color.red),
                                static_cast<double>(color.green), static_cast<double>(color.blue)};
    const auto opencv = [&] { OpenCv()->fill(layer, channels); };
    Compare<Pixel>(name, "the naive loop", dst, own, naive, 0.0);
    if (OpenCv() != nullptr) Compare<Pixel>(name, "OpenCV", dst, own, opencv, 0.0);
    const auto set = [&] { std::memset(static_cast<void*>(dst.pixels.data()), 0x5A, dst.Bytes()); };
    Row(name, kFillShare, own, {{set}, {naive}, RivalOf(OpenCv(), opencv), {}});
  }

  // Measures copies and conversions of pictures of one depth.
  template <class Source>
  void From() {
    if (!Wanted<Source>()) return;
    Frame<Source> src = MakePicture<Source>(Picture::kVaried, size_.width, size_.height);
    Copy(src);
    CopyRect(src);
    Convert<VX_Pixel8>(src, false);
    Convert<VX_Pixel16>(src, false);
    Convert<VX_PixelFloat>(src, false);
    if (kDepthOf<Source> != 8) Convert<VX_Pixel8>(src, true);
  }

  template <class Source>
  bool Wanted() const {
    const std::string depth = std::to_string(kDepthOf<Source>);
    for (const char* const to : {"8", "16", "32", "8 dithered"}) {
      if (options_.Takes(Name("convert/" + depth + " to " + to))) return true;
    }
    return options_.Takes(Name("copy/" + depth)) || options_.Takes(Name("copy-rect/" + depth));
  }

  template <class Pixel>
  void Copy(Frame<Pixel>& src) {
    const std::string name = Name("copy/" + std::to_string(kDepthOf<Pixel>));
    if (!options_.Takes(name)) return;
    Frame<Pixel> dst(size_.width, size_.height);
    const VX_LayerDef from = src.Layer();
    VX_LayerDef to = dst.Layer();
    const auto own = [&] {
      Expect(VX_CopyBits_Draft(nullptr, &from, &to, nullptr, nullptr), "VX_CopyBits_Draft");
    };
    const auto move = [&] {
      std::memcpy(static_cast<void*>(dst.pixels.data()), src.pixels.data(), src.Bytes());
    };
    const auto opencv = [&] { OpenCv()->copy(from, to); };
    Compare<Pixel>(name, "memcpy", dst, own, move, 0.0);
    Row(name, kFillShare, own, {{move}, {}, RivalOf(OpenCv(), opencv), {}});
  }

  // Copies all but eight pixels on each side to another position, so that rows are copied one by
  // one.
  template <class Pixel>
  void CopyRect(Frame<Pixel>& src) {
    const std::string name = Name("copy-rect/" + std::to_string(kDepthOf<Pixel>));
    if (!options_.Takes(name)) return;
    Frame<Pixel> dst(size_.width, size_.height);
    const VX_LayerDef from = src.Layer();
    VX_LayerDef to = dst.Layer();
    const auto width = static_cast<int16_t>(size_.width);
    const auto height = static_cast<int16_t>(size_.height);
    const M_Rect inner{8, 8, static_cast<int16_t>(height - 8), static_cast<int16_t>(width - 8)};
    const M_Rect moved{0, 3, static_cast<int16_t>(height - 16), static_cast<int16_t>(width - 13)};
    const auto own = [&] {
      Expect(VX_CopyBits_Draft(nullptr, &from, &to, &inner, &moved), "VX_CopyBits_Draft");
    };
    const auto rows = [&] {
      for (int32_t y = 0; y < height - 16; ++y) {
        const ptrdiff_t row = ptrdiff_t{y} * width;
        std::memcpy(static_cast<void*>(&dst.pixels[static_cast<size_t>(row + 3)]),
                    &src.pixels[static_cast<size_t>(row + 8 * width + 8)],
                    static_cast<size_t>(width - 16) * sizeof(Pixel));
      }
    };
    Compare<Pixel>(name, "memcpy", dst, own, rows, 0.0);
    Row(name, kFillShare, own, {{rows}, {}, {}, {}});
  }

  template <class To, class Source>
  void Convert(Frame<Source>& src, bool dither) {
    const std::string name = Name("convert/" + std::to_string(kDepthOf<Source>) + " to " +
                                  std::to_string(kDepthOf<To>) + (dither ? " dithered" : ""));
    if (!options_.Takes(name)) return;
    Frame<To> dst(size_.width, size_.height);
    const VX_LayerDef from = src.Layer();
    VX_LayerDef to = dst.Layer();
    const auto own = [&] {
      Expect(VX_DepthConvertWorld(nullptr, &from, nullptr, dither, 0, 0, &to),
             "VX_DepthConvertWorld");
    };
    const auto naive = [&] {
      NaiveConvert(src.pixels.data(), dst.pixels.data(), src.pixels.size());
    };
    const double scale = static_cast<double>(kFullScaleOf<To>) / kFullScaleOf<Source>;
    const auto opencv = [&] { OpenCv()->convert(from, to, scale); };
    const auto vips = [&] { Vips()->cast(from, to); };
    Compare<To>(name, "the naive loop", dst, own, naive, dither ? 1.0 : 0.0);
    const double near = kDepthOf<To> == 32 ? 1e-6 : 1.0;
    if (OpenCv() != nullptr) Compare<To>(name, "OpenCV", dst, own, opencv, near);
    const auto move = [&] {
      MoveAsMuch(src.pixels.data(), src.Bytes(), dst.pixels.data(), dst.Bytes());
    };
    Row(name, kDepthOf<To> == kDepthOf<Source> ? kFillShare : kConvertShare, own,
        {{move}, {naive}, RivalOf(OpenCv(), opencv), RivalOf(Vips(), vips)});
  }

  const Options& options_;
  NaiveSize size_;
};

}  // namespace

bool RunCopies(const Options& options) {
  std::puts(
      "\nCopies: fills, copies of equal size and conversions between depths. The ratios say how "
      "many\n"
      "times faster the library is than\n"
      "  memory  memset of as many bytes; memcpy that reads and writes as many in sum\n"
      "  naive   a plain loop with the formula inline\n"
      "  OpenCV  setTo, copyTo, convertTo with the scale that white at 32768 asks for, within one\n"
      "          step of the library; it does not dither\n"
      "  libvips its cast, which shifts by 8 between 8 and 16 bits (white is 65280), scales "
      "nothing\n"
      "          to or from float, and takes new memory for its result\n");
  PrintVersusHead("Mpixel/s", {"memory", "naive", "OpenCV", "libvips"});
  bool agree = true;
  std::vector<std::string> slow;
  for (const NaiveSize& size : kSizes) {
    if (options.quick && &size != kSizes) continue;
    Copies copies(options, size);
    copies.Run();
    agree = agree && copies.agree;
    slow.insert(slow.end(), copies.slow.begin(), copies.slow.end());
  }
  std::printf("\nrows below %.0f %% of memory (fills, copies) or %.0f %% (conversions): %zu\n",
              100 * kFillShare, 100 * kConvertShare, slow.size());
  for (const std::string& name : slow) std::printf("  %s\n", name.c_str());
  return agree;
}
