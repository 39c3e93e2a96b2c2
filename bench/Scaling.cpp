// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Copies that scale: 1920x1080 down to 1280x720 and up to 3840x2160.

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include "Agreement.h"
#include "NaiveCopies.h"
#include "NaiveSampler.h"
#include "Peers.h"
#include "Sections.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Copy.h"
#include "Versus.h"

namespace {

constexpr NaiveSize kFrom = {1920, 1080};
constexpr NaiveSize kDown = {1280, 720};
constexpr NaiveSize kUp = {3840, 2160};

using Resize = void (*)(const VX_LayerDef& src, const VX_LayerDef& dst);

template <class Call, class... Arguments>
void Expect(Call call, Arguments... arguments) {
  const VX_Err error = call(arguments...);
  if (error != VX_Ok) throw std::runtime_error("a copy gave " + std::to_string(error));
}

// The permitted difference from another implementation, in units of the depth (of 1 at float).
// OpenCV's weights have 11 bits, which limits its precision at 16 bits and float.
template <class Pixel>
constexpr double Near(bool to_opencv) {
  if (kDepthOf<Pixel> == 32) return to_opencv ? 1e-3 : 1e-5;
  return kDepthOf<Pixel> == 8 || !to_opencv ? 2.0 : 16.0;
}

// The largest difference of pixels at least two pixels from the edge; the libraries treat pixels
// outside differently. Colours are premultiplied first if the scaling weighted them by alpha.
template <class Pixel>
double StepInside(const Frame<Pixel>& a, const std::vector<Pixel>& b, bool weighted) {
  double greatest = 0.0;
  for (int32_t y = 2; y < a.height - 2; ++y) {
    for (int32_t x = 2; x < a.width - 2; ++x) {
      const auto i = static_cast<size_t>(ptrdiff_t{y} * a.width + x);
      const double step =
          weighted ? double{Distance(PremultipliedUnit(a.pixels[i]), PremultipliedUnit(b[i]))} *
                         kFullScaleOf<Pixel>
                   : GreatestStep<Pixel>({a.pixels[i]}, {b[i]});
      greatest = std::max(greatest, step);
    }
  }
  return greatest;
}

template <class Pixel>
class Scaling {
 public:
  Scaling(const Options& options, NaiveSize to)
      : options_(options),
        reduces_(to.width < kFrom.width),
        src_(MakePicture<Pixel>(Picture::kVaried, kFrom.width, kFrom.height)),
        dst_(to.width, to.height),
        from_(src_.Layer()),
        to_(dst_.Layer()),
        name_(std::to_string(kFrom.width) + "x" + std::to_string(kFrom.height) + " to " +
              std::to_string(to.width) + "x" + std::to_string(to.height) + "/" +
              std::to_string(kDepthOf<Pixel>) + "/") {}

  bool Run() {
    Nearest();
    High("straight", &VX_CopyBits_HQ_Straight, true);
    High("premultiplied", &VX_CopyBits_HQ_Premul, false);
    HeldBorder();
    return agree_;
  }

 private:
  void Compare(const std::string& name, const char* rival, const std::function<void()>& own,
               const std::function<void()>& other, double most, bool weighted) {
    own();
    const std::vector<Pixel> ours = dst_.pixels;
    dst_.pixels.assign(dst_.pixels.size(), Pixel{});
    other();
    const double step = StepInside(dst_, ours, weighted);
    if (step <= most) return;
    std::printf("%s: %s differs by %g\n", name.c_str(), rival, step);
    agree_ = false;
  }

  void Row(const std::string& name, const std::function<void()>& own, const Rival& naive,
           Resize nearest_kind, Resize other_kind) {
    const auto move = [&] {
      MoveAsMuch(src_.pixels.data(), src_.Bytes(), dst_.pixels.data(), dst_.Bytes());
    };
    const auto rival = [&](Resize resize) -> Rival {
      if (OpenCv() == nullptr) return {{}, kNotInstalled};
      if (resize == nullptr) return {};
      return {[this, resize] { resize(from_, to_); }, ""};
    };
    RunVersus(name, 1e-6 * static_cast<double>(dst_.pixels.size()), own,
              {{move, ""}, naive, rival(nearest_kind), rival(other_kind)}, options_.rounds);
  }

  Resize OpenCvOf(Resize OpenCvPeer::*kind) const {
    return OpenCv() != nullptr ? OpenCv()->*kind : nullptr;
  }

  void Nearest() {
    const std::string name = name_ + "nearest";
    if (!options_.Takes(name)) return;
    const auto own = [this] {
      Expect(&VX_CopyBits_Draft, nullptr, &from_, &to_, nullptr, nullptr);
    };
    const auto naive = [this] {
      NaiveScale(src_.pixels.data(), kFrom, dst_.pixels.data(), {dst_.width, dst_.height});
    };
    const Resize opencv = OpenCvOf(&OpenCvPeer::nearest);
    Compare(name, "the naive loop", own, naive, 0.0, false);
    const auto peer = [&] { opencv(from_, to_); };
    if (opencv != nullptr) Compare(name, "OpenCV", own, peer, 0.0, false);
    Row(name, own, {naive, ""}, opencv, nullptr);
  }

  template <class Call>
  void High(const char* kind, Call call, bool straight) {
    const std::string name = name_ + kind;
    if (!options_.Takes(name)) return;
    const auto own = [this, call] { Expect(call, nullptr, &from_, &to_, nullptr, nullptr); };
    const int32_t x_step = (kFrom.width << 16) / dst_.width;
    const int32_t y_step = (kFrom.height << 16) / dst_.height;
    const SampleGrid grid = {x_step / 2 - 32768, y_step / 2 - 32768, x_step,     y_step,
                             dst_.width,         dst_.height,        x_step / 2, y_step / 2};
    const NaiveSampler<Pixel> bilinear =
        straight ? &NaiveStraight<Pixel> : &NaivePremultiplied<Pixel>;
    const NaiveSampler<Pixel> box = straight ? &NaiveBox<Pixel> : &NaiveBoxPremultiplied<Pixel>;
    const NaiveSampler<Pixel> loop = reduces_ ? box : bilinear;
    const auto naive = [&] { loop(from_, grid, dst_.pixels.data()); };
    Compare(name, "the naive loop", own, naive, Near<Pixel>(false), straight);
    const Resize linear = OpenCvOf(&OpenCvPeer::linear);
    const Resize area = OpenCvOf(&OpenCvPeer::area);
    const Resize same = reduces_ ? area : linear;
    const auto peer = [&] { same(from_, to_); };
    if (same != nullptr && !straight) Compare(name, "OpenCV", own, peer, Near<Pixel>(true), false);
    Row(name, own, {naive, ""}, linear, area);
  }

  void HeldBorder() {
    const std::string name = name_ + "held border";
    if (!options_.Takes(name)) return;
    const auto own = [this] { Expect(&VX_ResizeWorld, nullptr, VX_Quality_High, &from_, &to_); };
    Row(name, own, {}, OpenCvOf(&OpenCvPeer::linear), OpenCvOf(&OpenCvPeer::area));
  }

  const Options& options_;
  bool reduces_;
  Frame<Pixel> src_, dst_;
  VX_LayerDef from_, to_;
  std::string name_;
  bool agree_ = true;
};

}  // namespace

bool RunScaling(const Options& options) {
  std::puts(
      "\nScaling: Mpixel/s of the result. The ratios say how many times faster the library is "
      "than\n"
      "  memcpy  one that reads and writes as many bytes as both pictures have\n"
      "  naive   a plain loop: nearest, bilinear, or the covered area; by alpha where straight\n"
      "  OpenCV  resize with INTER_NEAREST for nearest, INTER_LINEAR for the rest\n"
      "  area    resize with INTER_AREA, which is what the library does when it reduces\n"
      "OpenCV mixes the four channels alike, so it is spared the division by alpha.\n");
  PrintVersusHead("Mpixel/s", {"memcpy", "naive", "OpenCV", "area"});
  bool agree = true;
  for (const NaiveSize& to : {kDown, kUp}) {
    agree = Scaling<VX_Pixel8>(options, to).Run() && agree;
    agree = Scaling<VX_Pixel16>(options, to).Run() && agree;
    agree = Scaling<VX_PixelFloat>(options, to).Run() && agree;
  }
  return agree;
}
