// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx convolve: filters a picture with a kernel of whole numbers.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>

#include "Job.h"
#include "Kernel.h"
#include "VX/cpp/Filters.hpp"
#include "VX/cpp/Image.hpp"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

constexpr int32_t kLargestSide = 30000;

struct ConvolveOptions {
  JobOptions job;
  std::string input, kernel;
  std::optional<double> gaussian;
  std::optional<int32_t> one_dimensional, edge;
  bool normalize = false, no_clamp = false;
  std::string kernel_text;  // the weights of the kernel file in normal form, for the fingerprint
};

struct Filter {
  Kernels kernels;
  vx::ConvolveOptions options;  // without the clamp, which depends on the depth of the sums
  Size reach;                   // pixels that the kernel covers on each side of its centre
  std::optional<bool> fade;     // default: true if the picture has alpha
  bool clamp = true;
};

// Checks the sums of weights: throws UsageError if one does not fit the 32 bits of a divisor.
void CheckSums(const std::string& file, const Kernels& kernels) {
  for (const vx::Kernel& kernel : kernels) {
    const int64_t sum = SumOfWeights(kernel);
    if (std::abs(sum) <= std::numeric_limits<int32_t>::max()) continue;
    throw UsageError("--normalize: the weights of " + file + " sum to " + std::to_string(sum) +
                     ", which does not fit in 32 bits");
  }
}

Filter MakeFilter(const ConvolveOptions& options) {
  if (options.kernel.empty() != options.gaussian.has_value()) {
    throw UsageError("convolve: needs either --kernel FILE or --gaussian R");
  }
  Filter filter;
  const bool line = options.one_dimensional.has_value();
  const bool down = line && *options.one_dimensional == 1;
  if (options.edge) filter.fade = *options.edge == 0;
  if (options.gaussian) {
    filter.kernels = {WithContext("kernel", [&] {
      return vx::gaussian_kernel(*options.gaussian, {.one_dimensional = line, .normalize = false});
    })};
  } else {
    filter.kernels = ReadKernelFile(options.kernel, line);
  }
  filter.options.normalize = options.normalize || options.gaussian;
  filter.options.vertical = down;
  if (options.normalize) CheckSums(options.kernel, filter.kernels);
  filter.clamp = !options.no_clamp;
  const int32_t half = filter.kernels[0].diameter / 2;
  filter.reach = {down ? 0 : half, line && !down ? 0 : half};
  return filter;
}

int64_t SumOfMagnitudes(const vx::Kernel& kernel) {
  int64_t sum = 0;
  for (int32_t weight : kernel.weights) sum += std::abs(int64_t{weight});
  return sum;
}

Size PaddedSize(const Filter& filter, const std::string& file, int32_t width, int32_t height) {
  const Size size{width + 2 * filter.reach.width, height + 2 * filter.reach.height};
  if (std::max(size.width, size.height) > kLargestSide) {
    throw UsageError(file + ": --edge repeat needs " + std::to_string(size.width) + " x " +
                     std::to_string(size.height) +
                     " pixels with this kernel, at most 30000 a side; use --edge fade");
  }
  return size;
}

// Returns the picture with a border of `reach` pixels that repeats its outermost pixels.
VXIO_WorldPtr Padded(const VX_World& from, const Size& reach, const Size& size) {
  vx::Image padded(size.width, size.height, from.Depth());
  vx::visit(padded, [&](auto view) {
    const auto source = vx::AnyConstView(from).as<typename decltype(view)::Pixel>();
    for (int32_t y = 0; y < size.height; ++y) {
      const auto row = source.row(std::clamp(y - reach.height, 0, from.height - 1));
      const auto out = view.row(y);
      const auto after = std::copy(row.begin(), row.end(), out.begin() + reach.width);
      std::fill(out.begin(), out.begin() + reach.width, row.front());
      std::fill(after, out.end(), row.back());
    }
  });
  return padded.release();
}

template <class Function>
void ForEachFloatPixel(vx::AnyView picture, Function function) {
  const auto view = picture.as<vx::PixelFloat>();
  for (int32_t y = 0; y < view.height(); ++y) {
    for (vx::PixelFloat& pixel : view.row(y)) function(pixel);
  }
}

// Returns a factor for alpha, a power of two, such that the sums of alpha are in 0..1: the
// convolution limits alpha to this range.
float AlphaScale(const Filter& filter) {
  const vx::Kernel& kernel = filter.kernels[0];
  const auto divisor = static_cast<double>(filter.options.normalize
                                               ? std::abs(SumOfWeights(kernel))
                                               : 256 * static_cast<int64_t>(kernel.weights.size()));
  const double most = static_cast<double>(SumOfMagnitudes(kernel)) / std::max(divisor, 1.0);
  return std::exp2(-static_cast<float>(std::max(0, std::ilogb(std::max(most, 1.0)) + 1)));
}

// Multiplies colours by alpha, and alpha by `alpha_scale`.
void Multiply(vx::AnyView picture, float alpha_scale) {
  ForEachFloatPixel(picture, [&](vx::PixelFloat& pixel) {
    const float alpha = pixel.alpha;
    pixel = alpha > 0 ? vx::PixelFloat{alpha * alpha_scale, pixel.red * alpha, pixel.green * alpha,
                                       pixel.blue * alpha}
                      : vx::PixelFloat{};
  });
}

// Divides colours by the sum of alpha, so that an area of one colour keeps its colour. The sum may
// be greater than 1. If the weights cancel, the sum is a rounding error close to 0; the pixel
// becomes transparent then.
void Divide(vx::AnyView picture, float alpha_scale) {
  constexpr float kLeast = 1e-6f;
  ForEachFloatPixel(picture, [&](vx::PixelFloat& pixel) {
    const float alpha = pixel.alpha / alpha_scale;
    pixel = alpha > kLeast ? vx::PixelFloat{std::min(alpha, 1.0f), pixel.red / alpha,
                                            pixel.green / alpha, pixel.blue / alpha}
                           : vx::PixelFloat{};
  });
}

void ClampColours(vx::AnyView picture) {
  ForEachFloatPixel(picture, [](vx::PixelFloat& pixel) {
    for (float* colour : {&pixel.red, &pixel.green, &pixel.blue}) {
      *colour = std::clamp(*colour, 0.0f, 1.0f);
    }
  });
}

// The method of filtering a picture.
struct Method {
  int32_t depth;       // depth of the sums
  bool repeat;         // true: border pixels are repeated outside of the picture
  bool filters_alpha;  // false: the picture stays opaque
};

// A picture without alpha is filtered at its depth. A picture with alpha
// is filtered at 32 bits: its colours are multiplied by alpha and divided again, which would lose
// precision at 8 and 16 bits.
Method MethodFor(const Filter& filter, bool has_alpha, int32_t depth) {
  Method method{};
  method.repeat = !filter.fade.value_or(has_alpha);
  method.filters_alpha = has_alpha || !method.repeat;
  method.depth = method.filters_alpha ? 32 : depth;
  return method;
}

// Returns the filtered picture. If method.repeat is true, it has a border of filter.reach pixels.
VXIO_WorldPtr Filtered(const Filter& filter, const Method& method, const vx::Progress& progress,
                       const std::string& file, VXIO_WorldPtr from) {
  from = VXIO_ConvertDepth(std::move(from), method.depth);
  const float alpha_scale = AlphaScale(filter);
  if (method.filters_alpha) Multiply(*from, alpha_scale);
  if (method.repeat) {
    from = Padded(*from, filter.reach, PaddedSize(filter, file, from->width, from->height));
  }
  vx::Image to(from->width, from->height, method.depth);
  vx::ConvolveOptions options = filter.options;
  // Float colours are clamped later, after the division by alpha.
  options.clamp = method.depth < 32;
  options.progress = progress;
  const Kernels& k = filter.kernels;
  WithContext(file, [&] {
    vx::convolve(to, *from, {&KernelOf(k, 0), &KernelOf(k, 1), &KernelOf(k, 2), &KernelOf(k, 3)},
                 options);
  });
  if (method.filters_alpha) {
    Divide(to, alpha_scale);
  } else {
    to.world()->FillAlpha();
  }
  return to.release();
}

void ConvolveFrame(const Filter& filter, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(0);
  const int32_t depth = picture.world->Depth();
  const Method method = MethodFor(filter, picture.has_alpha, depth);
  if (!filter.clamp && depth < 32) {
    frame->Note(
        "--no-clamp has no effect: only 32-bit pictures can have values outside of the scale");
  }
  if (method.filters_alpha && SumOfWeights(filter.kernels[0]) <= 0) {
    frame->Note("becomes transparent where its alpha is constant: the weights of alpha sum to " +
                std::to_string(SumOfWeights(filter.kernels[0])) + "; see 'vx convolve --help'");
  }
  const vx::Point border =
      method.repeat ? vx::Point{filter.reach.width, filter.reach.height} : vx::Point{};
  const vx::Rect inside{border.x, border.y, border.x + picture.world->width,
                        border.y + picture.world->height};
  VXIO_WorldPtr whole =
      Filtered(filter, method, frame->Progress(), frame->Input(0), std::move(picture.world));
  if (depth == 32 && filter.clamp) ClampColours(*whole);
  whole = VXIO_ConvertDepth(std::move(whole), depth);
  frame->Write(vx::AnyConstView(*whole).part(inside), picture);
}

int64_t BytesHeld(const Filter& filter, const VXIO_Info& input) {
  const Method method = MethodFor(filter, input.alpha != VXIO_AlphaKind::None, input.depth);
  Size size{input.width, input.height};
  if (method.repeat) size = PaddedSize(filter, input.path, size.width, size.height);
  return BytesOfWorld(input.width, input.height, method.depth) +
         2 * BytesOfWorld(size.width, size.height, method.depth);
}

int Run(ConvolveOptions* options, const Verb& verb) {
  const Filter filter = MakeFilter(*options);
  options->kernel_text = KernelText(filter.kernels);
  return RunJob(
      verb, options->job, options->input, [&](JobFrame& frame) { ConvolveFrame(filter, &frame); },
      [&](const std::vector<VXIO_Info>& inputs) { return BytesHeld(filter, inputs[0]); });
}

OptionList OptionsOf(ConvolveOptions* to) {
  return {
      InputOption(&to->input),
      Option{"--kernel", "FILE", Text(&to->kernel), "Text file with the weights; see below"}
          .Identity([to] { return to->kernel_text; }),
      {"--gaussian", "R", Number(&to->gaussian, 0, kLargestKernelRadius),
       "Instead of --kernel: a Gaussian of this radius, %r, always divided by its sum; vx blur is "
       "faster"},
      {"--normalize", "", Flag(&to->normalize),
       "Divide by the sum of the weights instead of 256 times their number"},
      {"--no-clamp", "", Flag(&to->no_clamp),
       "Keep colours below 0 and above 1; for 32-bit pictures"},
      {"--one-dimensional", "x|y", Choice(&to->one_dimensional, {"x", "y"}),
       "The kernel is one row or column of weights, applied along the rows (x) or columns (y)"},
      Option{
          "--edge", "HOW", Choice(&to->edge, {"fade", "repeat"}),
          "Pixels outside of the picture. fade: transparent, so that the edges fade; repeat: the "
          "border pixels"}
          .Without("fade with alpha, repeat without"),
  };
}

constexpr const char* kFooter =
    "A kernel file is text: rows of whole numbers with blanks or commas between them, the top row\n"
    "first; the kernel is not mirrored. Text after a # is a comment. A kernel has as many rows as\n"
    "columns, an odd number up to 1023, or with --one-dimensional one row or one column. One "
    "block\n"
    "is used for all channels; four blocks, separated by empty lines, are for alpha, red, green "
    "and\n"
    "blue. The sum is divided by 256 times the number of weights, so nine weights of 256 are the\n"
    "mean of 3 x 3 pixels. With --normalize it is divided by the sum of the weights, or by 1 if "
    "the\n"
    "sum is 0. This kernel sharpens, on the left with --normalize, on the right without it, where\n"
    "2304 = 9 x 256 is a factor of 1:\n"
    "   0 -1  0            0 -2304     0\n"
    "  -1  5 -1        -2304 11520 -2304\n"
    "   0 -1  0            0 -2304     0\n"
    "Colours are weighted by alpha: colours of transparent pixels have no effect. A picture\n"
    "without alpha stays without, and the weights of alpha are not used, unless --edge is fade.\n"
    "If the weights sum to 0, as for edge detection, use four blocks, with only a 1 in the centre "
    "of\n"
    "the block of alpha.\n"
    "Examples:\n  vx convolve photo.jpg --kernel sharpen.txt --normalize -o sharp.jpg\n"
    "  vx convolve shot.####.exr --gaussian 6 --one-dimensional x -o wide.####.exr";

}  // namespace

Verb ConvolveVerb() {
  auto options = std::make_shared<ConvolveOptions>();
  return {"convolve", "Filter a picture with a kernel of whole numbers",
          Join({OptionsOf(options.get()), JobOptionList(&options->job, JobOutput::Picture)}),
          kFooter, [options](const Verb& verb) { return Run(options.get(), verb); }};
}

}  // namespace vxcli
