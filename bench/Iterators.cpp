// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The cost of iteration by the library.

#include <array>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include "Content.h"
#include "Rounds.h"
#include "Sections.h"
#include "VX/VX_ForEachPixel.h"
#include "VX/VX_Iterate.h"

namespace {

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;

// The work per pixel: a negative. It is cheap, so that the cost of the iteration is visible.
template <class Pixel>
Pixel Negative(const Pixel& p) {
  constexpr auto kFull = kFullScaleOf<Pixel>;
  using Channel = VX_ChannelOf<Pixel>;
  return {p.alpha, static_cast<Channel>(kFull - p.red), static_cast<Channel>(kFull - p.green),
          static_cast<Channel>(kFull - p.blue)};
}

template <class Pixel>
VX_Err PixelFunction(void*, int32_t, int32_t, void* in, void* out) {
  *static_cast<Pixel*>(out) = Negative(*static_cast<const Pixel*>(in));
  return VX_Ok;
}

void Expect(VX_Err error) {
  if (error != VX_Ok) throw std::runtime_error("an iterator gave " + std::to_string(error));
}

template <class Pixel>
class Iterators {
 public:
  explicit Iterators(const Options& options)
      : options_(options),
        src_(MakePicture<Pixel>(Picture::kVaried, kWidth, kHeight)),
        dst_(kWidth, kHeight),
        from_(src_.Layer()),
        to_(dst_.Layer()) {}

  bool Run() {
    const auto function = &PixelFunction<Pixel>;
    Row("function",
        [=, this] { Expect(VX_Iterate(nullptr, 0, 0, &from_, nullptr, nullptr, function, &to_)); });
    Row("function, origin", [=, this] {
      const M_Point origin{};
      Expect(VX_IterateOrigin(nullptr, 0, 0, &from_, nullptr, &origin, nullptr, function, &to_));
    });
    Row("lambda", [this] {
      Expect(VX_ForEachPixel<Pixel>(
          &from_, &to_,
          [](int32_t, int32_t, const Pixel* in, Pixel* out) { *out = Negative(*in); }));
    });
    Row("rows by count", [this] {
      Expect(
          VX_IterateGeneric(kHeight, this, [](void* self, int32_t, int32_t y, int32_t) -> VX_Err {
            static_cast<Iterators*>(self)->PlainRow(y);
            return VX_Ok;
          }));
    });
    if constexpr (kDepthOf<Pixel> == 8) Tables();
    return agree_;
  }

 private:
  void PlainRow(int32_t y) {
    const Pixel* const src = &src_.pixels[static_cast<size_t>(y) * kWidth];
    Pixel* const dst = &dst_.pixels[static_cast<size_t>(y) * kWidth];
    for (int32_t x = 0; x < kWidth; ++x) dst[x] = Negative(src[x]);
  }

  void Tables() {
    std::array<uint8_t, 256> negative{};
    for (size_t i = 0; i < 256; ++i) negative[i] = static_cast<uint8_t>(255 - i);
    const uint8_t* const t = Opaque(negative.data());
    const auto own = [this, t] {
      Expect(VX_IterateLUT(nullptr, 0, 0, &from_, nullptr, nullptr, t, t, t, &to_));
    };
    const auto plain = [this, t] {
      for (size_t i = 0; i < dst_.pixels.size(); ++i) {
        const Pixel p = src_.pixels[i];
        dst_.pixels[i] = {p.alpha, t[p.red], t[p.green], t[p.blue]};
      }
    };
    Row("table", own, plain);
  }

  void Row(const std::string& kind, const std::function<void()>& own) {
    Row(kind, own, [this] {
      for (int32_t y = 0; y < kHeight; ++y) PlainRow(y);
    });
  }

  void Row(const std::string& kind, const std::function<void()>& own,
           const std::function<void()>& plain) {
    const std::string name = std::to_string(kDepthOf<Pixel>) + "/" + kind;
    if (!options_.Takes(name)) return;
    // A loop that calls the function through a pointer for each pixel: the minimum for such an
    // iteration.
    const VX_PixelFunc function = Opaque(&PixelFunction<Pixel>);
    const auto called = [this, function] {
      size_t i = 0;
      for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x, ++i) {
          if (function(nullptr, x, y, &src_.pixels[i], &dst_.pixels[i]) != VX_Ok) return;
        }
      }
    };
    plain();
    const std::vector<Pixel> wanted = dst_.pixels;
    dst_.pixels.assign(dst_.pixels.size(), Pixel{});
    own();
    if (std::memcmp(wanted.data(), dst_.pixels.data(), dst_.Bytes()) != 0) {
      std::printf("%s: the result is wrong\n", name.c_str());
      agree_ = false;
    }
    const std::vector<Timing> times =
        RunRounds({{{}, own}, {{}, plain}, {{}, called}}, options_.rounds);
    const double pixels = double{kWidth} * kHeight;
    const double beyond = 1e9 * (times[0].Median() - times[1].Median()) / pixels;
    std::printf("%-42s %8.1f %4.1f%% %8.2f %8.2f %8.2f\n", name.c_str(),
                1e-6 * pixels / times[0].Median(), 100.0 * times[0].Spread(), beyond,
                TimesFaster(times[0], times[1]), TimesFaster(times[0], times[2]));
    std::fflush(stdout);
  }

  const Options& options_;
  Frame<Pixel> src_, dst_;
  VX_LayerDef from_, to_;
  bool agree_ = true;
};

}  // namespace

bool RunIterators(const Options& options) {
  std::printf(
      "\nIterators: a negative of %dx%d. \"beyond\" is the time of a pixel in nanoseconds "
      "beyond that\n"
      "of the plain loop, the ratios say how many times faster the library is than\n"
      "  plain   a loop with the negative, or the look-up, inlined; the former is vectorised\n"
      "  called  a loop that calls the same function through a pointer for each pixel\n\n",
      int{kWidth}, int{kHeight});
  std::printf("%-42s %8s %5s %8s %8s %8s\n", "row", "Mpixel/s", "+-", "beyond", "plain", "called");
  bool agree = Iterators<VX_Pixel8>(options).Run();
  agree = Iterators<VX_Pixel16>(options).Run() && agree;
  return Iterators<VX_PixelFloat>(options).Run() && agree;
}
