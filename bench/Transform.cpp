// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Pictures drawn through matrices, with and without motion blur.

#include "VX/VX_Transform.h"

#include <cstdio>
#include <stdexcept>
#include <string>

#include "Agreement.h"
#include "NaiveCopies.h"
#include "Peers.h"
#include "Sections.h"
#include "Versus.h"

M_Matrix3 Inverse(const M_Matrix3& matrix) {
  M_Matrix3 inverse{};
  bool invertible = false;
  M_InverseMatrixQuiet(matrix, &inverse, &invertible);
  if (!invertible) throw std::runtime_error("a matrix of the benchmark has no inverse");
  return inverse;
}

namespace {

constexpr NaiveSize kSizes[] = {{1920, 1080}, {3840, 2160}};
constexpr Picture kContents[] = {Picture::kOpaque, Picture::kVaried};

// The speed that transforms should reach at 8 bits, as a fraction of that of OpenCV's warp, and of
// a transfer of the same pixels.
constexpr double kWarpShare = 1.0 / 3.0;
constexpr double kTransferShare = 0.9;

constexpr int32_t kReduction = 4;

void Expect(VX_Err error) {
  if (error != VX_Ok) throw std::runtime_error("a transform gave " + std::to_string(error));
}

M_Matrix3 MatrixOf(const VX_TransformParts& parts) {
  M_Matrix3 matrix{};
  Expect(VX_MatrixOfParts(&parts, &matrix));
  return matrix;
}

// Matrices from destination to source, one for each sub-sample.
using InverseMatrices = std::vector<M_Matrix3>;

// True if all matrices map the pixel into the source, at least one pixel from its border.
bool AllInside(const InverseMatrices& inverses, int32_t x, int32_t y, int32_t width,
               int32_t height) {
  for (const M_Matrix3& to_src : inverses) {
    const double(&m)[9] = to_src.m;
    const double sx = x * m[0] + y * m[3] + m[6], sy = x * m[1] + y * m[4] + m[7];
    if (sx < 1.0 || sy < 1.0 || sx > width - 2 || sy > height - 2) return false;
  }
  return true;
}

template <class Pixel>
class Transforms {
 public:
  Transforms(const Options& options, NaiveSize size, Picture picture)
      : options_(options),
        size_(size),
        picture_(picture),
        name_(std::to_string(size.width) + "x" + std::to_string(size.height) + "/" +
              std::to_string(kDepthOf<Pixel>) +
              (picture == Picture::kOpaque ? "/opaque/" : "/soft/")) {
    turned_.anchor_x = 0.5 * (size.width - 1);
    turned_.anchor_y = 0.5 * (size.height - 1);
    turned_.scale_x = turned_.scale_y = 1.3;
    turned_.rotation = 17.0;
  }

  bool RunStill() {
    Moved("turned, larger", turned_);
    Moved("half a pixel", {.translate_x = 0.5, .translate_y = 0.5});
    Moved("whole pixels", {.translate_x = 37.0, .translate_y = -21.0});
    Reduced();
    return agree_;
  }

  bool RunMotion() {
    Motion("pan", 2, {.translate_x = 0.3, .translate_y = 0.7},
           {.translate_x = 40.8, .translate_y = -9.6});
    VX_TransformParts end = turned_;
    end.rotation += 3.0;
    end.translate_x = 24.0;
    Motion("turn", 2, turned_, end);
    Motion("turn", 33, turned_, end);
    return agree_;
  }

  std::vector<std::string> slow;

 private:
  // The destinations of a row. The library's is opaque, so that its contents do not change the
  // time.
  struct Targets {
    Targets(int32_t width, int32_t height)
        : own(MakePicture<Pixel>(Picture::kFlat, width, height)),
          other(width, height),
          own_layer(own.Layer()),
          other_layer(other.Layer()) {}
    Targets(const Targets&) = delete;

    Frame<Pixel> own, other;
    VX_LayerDef own_layer, other_layer;
  };

  // Returns whether the row is selected. Creates the sources for the first one.
  bool Takes(const std::string& name) {
    if (!options_.Takes(name)) return false;
    if (straight_.pixels.empty()) {
      straight_ = MakePicture<Pixel>(picture_, size_.width, size_.height);
      premultiplied_ = PremultipliedPicture(straight_);
      from_ = straight_.Layer();
      premultiplied_layer_ = premultiplied_.Layer();
    }
    return true;
  }

  void Draw(const M_Matrix3* matrices, int32_t count, bool src2dst, VX_LayerDef* dst) const {
    const VX_CompositeModePlus in_front(VX_Xfer_InFront, 1.0f, nullptr, false, 0);
    Expect(VX_TransformWorld(nullptr, 1, 0, VX_Field_Both, &from_, &in_front, nullptr, nullptr,
                             matrices, count, src2dst ? 1 : 0, nullptr, dst));
  }

  void Transfer(int32_t x, int32_t y, VX_LayerDef* dst) const {
    const VX_CompositeModePlus in_front(VX_Xfer_InFront, 1.0f, nullptr, false, 0);
    Expect(VX_TransferRect(nullptr, 1, 0, VX_Field_Both, nullptr, &from_, &in_front, nullptr,
                           nullptr, x, y, dst));
  }

  // Compares premultiplied results that are drawn on transparent black, at pixels inside the
  // source.
  void Compare(const std::string& name, const char* rival, const std::function<void()>& own,
               const std::function<void()>& other, const InverseMatrices& inverses, Targets* t,
               double most) {
    const std::vector<Pixel> ground = t->own.pixels;
    t->own.pixels.assign(ground.size(), Pixel{});
    t->other.pixels.assign(ground.size(), Pixel{});
    own();
    other();
    double greatest = 0.0;
    size_t i = 0, count = 0;
    for (int32_t y = 0; y < t->own.height; ++y) {
      for (int32_t x = 0; x < t->own.width; ++x, ++i) {
        if (!AllInside(inverses, x, y, from_.width, from_.height)) continue;
        ++count;
        const VX_PixelFloat a = PremultipliedUnit(t->own.pixels[i]);
        greatest = std::max(greatest, double{Distance(a, PlainUnit(t->other.pixels[i]))});
      }
    }
    t->own.pixels = ground;
    if (greatest <= most && 2 * count > i) return;
    std::printf("%s: %s differs by %g of white in %zu pixels of %zu\n", name.c_str(), rival,
                greatest, count, i);
    agree_ = false;
  }

  Outcome Row(const std::string& name, const Targets& t, const std::function<void()>& own,
              const std::vector<Rival>& rivals) {
    return RunVersus(name, 1e-6 * static_cast<double>(t.own.pixels.size()), own, rivals,
                     options_.rounds);
  }

  void Moved(const char* work, const VX_TransformParts& parts) {
    const std::string name = name_ + work;
    if (!Takes(name)) return;
    Targets t(from_.width, from_.height);
    const M_Matrix3 to_dst = MatrixOf(parts), to_src = Inverse(to_dst);
    const bool whole = parts.translate_x > 1.0;
    const auto x = static_cast<int32_t>(whole ? parts.translate_x : 0.0);
    const auto y = static_cast<int32_t>(whole ? parts.translate_y : 0.0);
    const auto own = [&] { Draw(&to_dst, 1, true, &t.own_layer); };
    const auto transfer = [&] { Transfer(x, y, &t.own_layer); };
    const auto opencv = [&] { OpenCv()->warp(premultiplied_layer_, t.other_layer, to_src); };
    const auto vips = [&] { Vips()->warp(premultiplied_layer_, t.other_layer, to_src); };
    const auto oiio = [&] { Oiio()->warp(premultiplied_layer_, t.other_layer, to_src); };
    if (OpenCv() != nullptr) Compare(name, "OpenCV", own, opencv, {to_src}, &t, kNear);
    if (Vips() != nullptr) Compare(name, "libvips", own, vips, {to_src}, &t, kNear);
    if (Oiio() != nullptr) Compare(name, "OpenImageIO", own, oiio, {to_src}, &t, kNear);
    const Outcome outcome =
        Row(name, t, own,
            {RivalOf(OpenCv(), opencv), RivalOf(Vips(), vips), RivalOf(Oiio(), oiio), {transfer}});
    Judge(name, outcome);
    if (whole && outcome.ratios[3] < kTransferShare) slow.push_back(name + " (transfer)");
  }

  // Reduces so that each destination pixel covers whole source pixels. A bilinear warp reads only
  // four of the sixteen pixels, so its result is different and is not compared.
  void Reduced() {
    const std::string averaged = name_ + "reduced, averages",
                      bilinear = name_ + "reduced, bilinear";
    if (!Takes(averaged) && !Takes(bilinear)) return;
    Targets t(from_.width / kReduction, from_.height / kReduction);
    constexpr double kEdge = 0.5 * (1.0 / kReduction - 1.0), kScale = 1.0 / kReduction;
    const M_Matrix3 to_dst = MatrixOf(
        {.scale_x = kScale, .scale_y = kScale, .translate_x = kEdge, .translate_y = kEdge});
    const M_Matrix3 to_src = Inverse(to_dst);
    const auto own = [&] { Draw(&to_dst, 1, true, &t.own_layer); };
    const auto transfer = [&] { Transfer(0, 0, &t.own_layer); };
    if (options_.Takes(averaged)) {
      const auto opencv = [&] { OpenCv()->area(premultiplied_layer_, t.other_layer); };
      const auto vips = [&] { Vips()->shrink(premultiplied_layer_, t.other_layer, kReduction); };
      const auto oiio = [&] { Oiio()->box(premultiplied_layer_, t.other_layer, to_src); };
      if (OpenCv() != nullptr) Compare(averaged, "OpenCV", own, opencv, {to_src}, &t, kSteps);
      if (Vips() != nullptr) Compare(averaged, "libvips", own, vips, {to_src}, &t, kSteps);
      if (Oiio() != nullptr) Compare(averaged, "OpenImageIO", own, oiio, {to_src}, &t, kSteps);
      Row(averaged, t, own,
          {RivalOf(OpenCv(), opencv), RivalOf(Vips(), vips), RivalOf(Oiio(), oiio), {transfer}});
    }
    if (options_.Takes(bilinear)) {
      const auto opencv = [&] { OpenCv()->warp(premultiplied_layer_, t.other_layer, to_src); };
      const auto vips = [&] { Vips()->warp(premultiplied_layer_, t.other_layer, to_src); };
      Row(bilinear, t, own, {RivalOf(OpenCv(), opencv), RivalOf(Vips(), vips), {}, {}});
    }
  }

  // Returns the matrices of the sub-samples. If there are two matrices, positions are interpolated
  // linearly between them; otherwise each matrix except the last is a sub-sample.
  static InverseMatrices SamplesOf(const std::vector<M_Matrix3>& path) {
    InverseMatrices inverses;
    if (path.size() > 2) {
      for (size_t i = 0; i + 1 < path.size(); ++i) inverses.push_back(Inverse(path[i]));
      return inverses;
    }
    const M_Matrix3 first = Inverse(path[0]), last = Inverse(path[1]);
    for (int i = 0; i < 16; ++i) {
      M_Matrix3 to_src = first;
      for (int k = 0; k < 9; ++k) to_src.m[k] += (last.m[k] - first.m[k]) * i / 16.0;
      inverses.push_back(to_src);
    }
    return inverses;
  }

  void Motion(const char* work, int32_t matrices, const VX_TransformParts& start,
              const VX_TransformParts& end) {
    std::vector<M_Matrix3> path(static_cast<size_t>(matrices));
    Expect(VX_MatricesBetween(&start, &end, matrices, path.data()));
    const InverseMatrices inverses = SamplesOf(path);
    const auto count = static_cast<int32_t>(inverses.size());
    const std::string name = name_ + work + ", " + std::to_string(matrices) + " matrices";
    if (!Takes(name)) return;
    Targets t(from_.width, from_.height);
    const auto own = [&] { Draw(path.data(), matrices, true, &t.own_layer); };
    const auto singly = [&] {
      for (const M_Matrix3& to_src : inverses) Draw(&to_src, 1, false, &t.own_layer);
    };
    const auto opencv = [&] {
      OpenCv()->warps(premultiplied_layer_, t.other_layer, inverses.data(), count);
    };
    if (OpenCv() != nullptr) Compare(name, "OpenCV", own, opencv, inverses, &t, kNear);
    Judge(name, Row(name, t, own, {RivalOf(OpenCv(), opencv), {singly}}));
  }

  void Judge(const std::string& name, const Outcome& outcome) {
    const double ratio = outcome.ratios[0];
    if (kDepthOf<Pixel> == 8 && ratio > 0.0 && ratio < kWarpShare) slow.push_back(name);
  }

  // OpenCV rounds positions to 1/32 pixel, and the library's steps of 1/65536 pixel accumulate in a
  // row.
  static constexpr double kNear = 3.001 / 255;
  // Multiplication by alpha, mean and division are each rounded.
  static constexpr double kSteps = kDepthOf<Pixel> == 32 ? 1e-5 : 3.001 / kFullScaleOf<Pixel>;

  const Options& options_;
  NaiveSize size_;
  Picture picture_;
  std::string name_;
  Frame<Pixel> straight_{0, 0}, premultiplied_{0, 0};
  VX_LayerDef from_{}, premultiplied_layer_{};
  VX_TransformParts turned_;
  bool agree_ = true;
};

// Calls `work` for each size, depth and content.
template <class Work>
void OnEach(const Options& options, Work work) {
  for (const NaiveSize& size : kSizes) {
    if (options.quick && &size != kSizes) continue;
    for (const Picture picture : kContents) {
      work(Transforms<VX_Pixel8>(options, size, picture));
      work(Transforms<VX_Pixel16>(options, size, picture));
      work(Transforms<VX_PixelFloat>(options, size, picture));
    }
  }
}

}  // namespace

bool RunTransform(const Options& options) {
  std::puts(
      "\nTransforms in high quality, mode In Front over an opaque ground, on one thread. Sources\n"
      "are opaque, or soft: partly transparent everywhere. \"turned, larger\" is 17 degrees and\n"
      "1.3 about the middle, \"reduced\" to a quarter; pixels are those of the destination. The\n"
      "ratios say how many times faster the library is than\n"
      "  OpenCV   warpAffine, bilinear, positions in 32nds of a pixel; for averages resize, area\n"
      "  libvips  affine, bilinear; for averages shrink; with the copy of their result\n"
      "  oiio     OpenImageIO's warp, with a triangle that makes it bilinear; for averages a box\n"
      "  transfer VX_TransferRect of as many pixels, which finds no positions and mixes nothing\n"
      "The others get premultiplied pixels, mix four channels plainly and write what they have,\n"
      "with zeros where the source ends: no division by alpha, no mode, no ground to read. The\n"
      "warps of a reduction take four pixels of sixteen (OpenCV, libvips) and so alias; the\n"
      "library averages all in both rows.\n");
  PrintVersusHead("Mpixel/s", {"OpenCV", "libvips", "oiio", "transfer"});
  bool agree = true;
  std::vector<std::string> slow;
  const auto note = [&](bool good, const std::vector<std::string>& names) {
    agree = good && agree;
    slow.insert(slow.end(), names.begin(), names.end());
  };
  OnEach(options, [&](auto&& work) { note(work.RunStill(), work.slow); });
  std::puts("\nMotion blur: two matrices are 16 samples a pixel, 33 matrices 32. The ratios say "
            "how many\n"
            "times faster the library is than\n"
            "  OpenCV   as many warps as samples, added up in float and divided\n"
            "  drawings as many drawings of the library as samples, one over the other\n"
            "libvips and OpenImageIO have nothing of the kind.\n");
  PrintVersusHead("Mpixel/s", {"OpenCV", "drawings"});
  OnEach(options, [&](auto&& work) { note(work.RunMotion(), work.slow); });
  std::printf(
      "\nrows at 8 bits that take more than 3 times as long as OpenCV's warps, and whole pixels\n"
      "below %.0f %% of a transfer: %zu\n",
      100 * kTransferShare, slow.size());
  for (const std::string& name : slow) std::printf("  %s\n", name.c_str());
  return agree;
}
