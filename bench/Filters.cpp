// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Blurs and convolutions of whole frames, and the time of a single pass by radius and direction.

#include <cstdio>
#include <stdexcept>
#include <string>

#include "Agreement.h"
#include "NaiveCopies.h"
#include "NaiveFilters.h"
#include "Peers.h"
#include "Sections.h"
#include "VX/VX_Blur.h"
#include "VX/VX_Convolve.h"
#include "Versus.h"

namespace {

constexpr NaiveSize kSizes[] = {{1920, 1080}, {3840, 2160}};

// Largest permitted ratios of times: a box of radius 500 to one of radius 2, and columns to rows.
constexpr double kRadiusBound = 1.15;
constexpr double kColumnsBound = 1.5;

void Expect(VX_Err error) {
  if (error != VX_Ok) throw std::runtime_error("a filter gave " + std::to_string(error));
}

// The largest difference, as a fraction of white, of pixels at least `border` from the edge. The
// library's result is premultiplied first if it is straight and the other is not.
template <class Pixel>
double ShareInside(const Frame<Pixel>& other, const std::vector<Pixel>& ours, int32_t border,
                   bool multiply) {
  double greatest = 0.0;
  for (int32_t y = border; y < other.height - border; ++y) {
    for (int32_t x = border; x < other.width - border; ++x) {
      const auto i = static_cast<size_t>(ptrdiff_t{y} * other.width + x);
      const VX_PixelFloat a = multiply ? PremultipliedUnit(ours[i]) : PlainUnit(ours[i]);
      greatest = std::max(greatest, double{Distance(a, PlainUnit(other.pixels[i]))});
    }
  }
  return greatest;
}

template <class Pixel>
class Filters {
 public:
  Filters(const Options& options, NaiveSize size)
      : options_(options),
        name_(std::to_string(size.width) + "x" + std::to_string(size.height) + "/" +
              std::to_string(kDepthOf<Pixel>) + "/"),
        straight_(MakePicture<Pixel>(Picture::kVaried, size.width, size.height)),
        premultiplied_(PremultipliedPicture(straight_)),
        dst_(size.width, size.height),
        from_(straight_.Layer()),
        premultiplied_layer_(premultiplied_.Layer()),
        to_(dst_.Layer()) {}

  bool RunWhole() {
    for (const int32_t radius : {2, 10, 50}) Gaussian(radius);
    for (const int32_t iterations : {1, 3}) {
      for (const int32_t radius : {2, 10, 50, 500}) Box(radius, iterations);
    }
    for (const int32_t size : {3, 7, 15}) Convolution(size);
    return agree_;
  }

  void RunPasses(std::vector<std::string>* slow) {
    for (const bool straight : {false, true}) {
      Passes(straight ? "straight " : "premultiplied ", straight ? from_ : premultiplied_layer_,
             !straight, slow);
    }
  }

 private:
  void Compare(const std::string& name, const char* rival, const std::function<void()>& own,
               const std::function<void()>& other, int32_t border, bool multiply, double most) {
    own();
    const std::vector<Pixel> ours = dst_.pixels;
    dst_.pixels.assign(dst_.pixels.size(), Pixel{});
    other();
    const double share = ShareInside(dst_, ours, border, multiply);
    if (share <= most) return;
    std::printf("%s: %s differs by %g of white\n", name.c_str(), rival, share);
    agree_ = false;
  }

  Outcome Row(const std::string& name, const std::function<void()>& own,
              const std::vector<Rival>& rivals) {
    return RunVersus(name, 1e-6 * static_cast<double>(dst_.pixels.size()), own, rivals,
                     options_.rounds);
  }

  // The largest difference that is caused by a number of roundings.
  static constexpr double Steps(int roundings) {
    return kDepthOf<Pixel> == 32 ? 1e-5 : 1.001 * roundings / kFullScaleOf<Pixel>;
  }

  // The other libraries use a different Gaussian, and libvips repeats the border. The comparison
  // only checks that their blur has the same width.
  void Gaussian(int32_t radius) {
    const std::string name = name_ + "gaussian " + std::to_string(radius);
    if (!options_.Takes(name)) return;
    const auto r = static_cast<float>(radius);
    const VX_BlurSpec spec{VX_BlurKind_Gaussian, r, r, 1, VX_Blur_AllChannels};
    const auto own = [&] { Expect(VX_BlurWorld(nullptr, &from_, &spec, &to_)); };
    const auto opencv = [&] { OpenCv()->gaussian(premultiplied_layer_, to_, radius); };
    const auto vips = [&] { Vips()->gaussian(premultiplied_layer_, to_, radius); };
    if (OpenCv() != nullptr) Compare(name, "OpenCV", own, opencv, radius, true, kGaussianShare);
    if (Vips() != nullptr) Compare(name, "libvips", own, vips, radius, true, kGaussianShare);
    Row(name, own, {{}, RivalOf(OpenCv(), opencv), RivalOf(Vips(), vips)});
  }

  // OpenCV cuts the result of each iteration at the border; the library only that of the last.
  void Box(int32_t radius, int32_t iterations) {
    const std::string name =
        name_ + "box " + std::to_string(radius) + " x" + std::to_string(iterations);
    if (!options_.Takes(name)) return;
    const auto r = static_cast<float>(radius);
    const VX_BlurSpec spec{VX_BlurKind_Box, r, r, iterations, VX_Blur_AllChannels};
    const auto own = [&] { Expect(VX_BlurWorld(nullptr, &from_, &spec, &to_)); };
    const auto opencv = [&] { OpenCv()->box(premultiplied_layer_, to_, radius, iterations); };
    const int32_t border = iterations == 1 ? 0 : radius * iterations;
    if (OpenCv() != nullptr) {
      Compare(name, "OpenCV", own, opencv, border, true, Steps(2 + 2 * iterations));
    }
    Row(name, own, {{}, RivalOf(OpenCv(), opencv), {}});
  }

  // The weights have no symmetry, so that the kernel cannot be separated into rows and columns.
  void Convolution(int32_t size) {
    const std::string name =
        name_ + "convolution " + std::to_string(size) + "x" + std::to_string(size);
    if (!options_.Takes(name)) return;
    std::vector<int32_t> kernel(static_cast<size_t>(size) * static_cast<size_t>(size));
    for (size_t i = 0; i < kernel.size(); ++i) kernel[i] = 1 + static_cast<int32_t>(i * i % 37);
    const int32_t* const k = kernel.data();
    const auto own = [&] {
      Expect(VX_Convolve(nullptr, &from_, nullptr, VX_Kernel_Normalize, size, k, k, k, k, &to_));
    };
    const auto naive = [&] { NaiveConvolve(straight_, size, k, dst_.pixels.data()); };
    const auto opencv = [&] { OpenCv()->convolve(from_, to_, size, k); };
    const auto vips = [&] { Vips()->convolve(from_, to_, size, k); };
    const double exact = kDepthOf<Pixel> == 32 ? 1e-5 : 0.0;
    Compare(name, "the naive loop", own, naive, 0, false, exact);
    if (OpenCv() != nullptr) Compare(name, "OpenCV", own, opencv, 0, false, Steps(1));
    if (Vips() != nullptr) Compare(name, "libvips", own, vips, size / 2, false, kVipsShare);
    Row(name, own, {{naive}, RivalOf(OpenCv(), opencv), RivalOf(Vips(), vips)});
  }

  // Passes along one axis whose source and destination have the same form (straight or
  // premultiplied).
  void Passes(const std::string& form, const VX_LayerDef& layer, int32_t premultiplied,
              std::vector<std::string>* slow) {
    VX_LayerDef layers[] = {layer, to_};
    const VX_WorldX<Pixel> src(&layers[0], true);
    VX_WorldX<Pixel> dst(&layers[1], true);
    const auto box = [&](float radius, int32_t direction) {
      return [&src, &dst, premultiplied, radius, direction] {
        VX_BoxBlur1D(nullptr, &src, radius, 1, VX_Blur_AllChannels, direction, premultiplied,
                     direction, premultiplied, 0, &dst);
      };
    };
    const auto gaussian = [&](float radius, int32_t direction) {
      return [&src, &dst, premultiplied, radius, direction] {
        VX_GaussianBlur1D(nullptr, &src, radius, VX_Blur_AllChannels, direction, premultiplied,
                          direction, premultiplied, 0, &dst);
      };
    };
    const auto row = [&](const std::string& name, const std::function<void()>& own,
                         const Rival& wide, const Rival& columns) {
      const std::string whole = name_ + form + name;
      if (!options_.Takes(whole)) return;
      const Outcome outcome = Row(whole, own, {wide, columns});
      if (outcome.ratios[0] > kRadiusBound || outcome.ratios[1] > kColumnsBound) {
        slow->push_back(whole);
      }
    };
    constexpr int32_t kRows = VX_Blur_AlongRows, kColumns = VX_Blur_DownColumns;
    row("box 2", box(2, kRows), {box(500, kRows)}, {box(2, kColumns)});
    row("box 2 down", box(2, kColumns), {box(500, kColumns)}, {});
    row("box 500", box(500, kRows), {}, {box(500, kColumns)});
    for (const int radius : {2, 10, 50}) {
      const auto r = static_cast<float>(radius);
      row("gaussian " + std::to_string(radius), gaussian(r, kRows), {}, {gaussian(r, kColumns)});
    }
  }

  static constexpr double kGaussianShare = 0.015;
  // At 8 bits libvips approximates kernels with small fixed-point weights.
  static constexpr double kVipsShare = Steps(kDepthOf<Pixel> == 8 ? 3 : 1);

  const Options& options_;
  std::string name_;
  Frame<Pixel> straight_, premultiplied_, dst_;
  VX_LayerDef from_, premultiplied_layer_, to_;
  bool agree_ = true;
};

// Calls `work` for each size and depth.
template <class Work>
void OnEach(const Options& options, Work work) {
  for (const NaiveSize& size : kSizes) {
    if (options.quick && &size != kSizes) continue;
    work(Filters<VX_Pixel8>(options, size));
    work(Filters<VX_Pixel16>(options, size));
    work(Filters<VX_PixelFloat>(options, size));
  }
}

}  // namespace

bool RunFilters(const Options& options) {
  std::puts(
      "\nFilters: blurs over both axes and convolutions, on one thread. The ratios say how many\n"
      "times faster the library is than\n"
      "  naive   a plain double loop over the kernel, to the bit at 8 and 16 bits\n"
      "  OpenCV  GaussianBlur, boxFilter, filter2D with zero beyond the border\n"
      "  libvips gaussblur and conv, with the copy of their result; the edge is repeated\n"
      "The library blurs straight pixels: it multiplies by alpha and divides again. The others\n"
      "get premultiplied pixels and mix four channels plainly, so they are spared both.\n"
      "Convolutions are plain for all. The others' bells have as many taps as the library's and\n"
      "its variance.\n");
  PrintVersusHead("Mpixel/s", {"naive", "OpenCV", "libvips"});
  bool agree = true;
  OnEach(options, [&](auto&& filters) { agree = filters.RunWhole() && agree; });
  std::puts(
      "\nSingle passes, along rows unless \"down\". The ratios say how many times longer it takes\n"
      "  500     with radius 500\n"
      "  columns down the columns\n");
  PrintVersusHead("Mpixel/s", {"500", "columns"});
  std::vector<std::string> slow;
  OnEach(options, [&](auto&& filters) { filters.RunPasses(&slow); });
  std::printf("\nrows above %.2f (500) or %.2f (columns): %zu\n", kRadiusBound, kColumnsBound,
              slow.size());
  for (const std::string& name : slow) std::printf("  %s\n", name.c_str());
  return agree;
}
