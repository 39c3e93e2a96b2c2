// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx convolve: filters a picture with a kernel of whole numbers.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

#include "Errors.h"
#include "Job.h"
#include "KernelFile.h"
#include "VX/VX_Convolve.h"
#include "VX/VX_ForEachPixel.h"
#include "Values.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

constexpr int32_t kLargestSide = 30000;

struct ConvolveOptions {
  JobOptions job;
  std::string input, kernel;
  std::optional<double> gaussian;
  std::optional<int32_t> one_dimensional, edge;
  bool normalize = false, no_clamp = false;
  std::string kernel_text;  // of the kernel file, after it was read
};

struct Filter {
  Kernel kernel;
  int32_t flags = 0;         // for VX_Convolve, without VX_Kernel_NoClamp
  Size reach;                // of the kernel, on each side
  std::optional<bool> fade;  // without one: fade if the picture has alpha
  bool clamp = true;
};

// Throws UsageError if a sum of weights does not fit the 32 bits of a divisor.
void CheckSums(const std::string& file, const Kernel& kernel) {
  for (const std::vector<int32_t>& weights : kernel.weights) {
    const int64_t sum = SumOf(weights);
    if (std::abs(sum) <= std::numeric_limits<int32_t>::max()) continue;
    throw UsageError("--normalize: the weights of " + file + " sum to " + std::to_string(sum) +
                     ", which is beyond 32 bits");
  }
}

Filter MakeFilter(const ConvolveOptions& options) {
  if (options.kernel.empty() != options.gaussian.has_value()) {
    throw UsageError("convolve: needs either --kernel FILE or --gaussian R");
  }
  Filter filter;
  const bool line = options.one_dimensional.has_value();
  if (line) {
    filter.flags = VX_Kernel_OneDimensional;
    if (*options.one_dimensional == 1) filter.flags |= VX_Kernel_Vertical;
  }
  if (options.edge) filter.fade = *options.edge == 0;
  if (options.gaussian) {
    filter.kernel = MakeGaussianKernel(*options.gaussian, filter.flags, /*multiplier=*/1);
  } else {
    filter.kernel = ReadKernelFile(options.kernel, line ? KernelForm::Line : KernelForm::Square);
  }
  if (options.normalize || options.gaussian) filter.flags |= VX_Kernel_Normalize;
  if (options.normalize) CheckSums(options.kernel, filter.kernel);
  filter.clamp = !options.no_clamp;
  const int32_t half = filter.kernel.size / 2;
  const bool down = (filter.flags & VX_Kernel_Vertical) != 0;
  filter.reach = {line && down ? 0 : half, line && !down ? 0 : half};
  return filter;
}

int64_t SumOfMagnitudes(const std::vector<int32_t>& weights) {
  int64_t sum = 0;
  for (int32_t weight : weights) sum += std::abs(int64_t{weight});
  return sum;
}

// True if the sums of integer channels fit in 32 bits.
bool SumsFit(const Kernel& kernel, int32_t depth) {
  const int64_t full = depth == 8 ? 255 : 32768;
  for (const std::vector<int32_t>& weights : kernel.weights) {
    if (SumOfMagnitudes(weights) > std::numeric_limits<int32_t>::max() / full) return false;
  }
  return true;
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

// The picture with its border pixels repeated outwards.
VXIO_WorldPtr Padded(const VX_World& from, const Size& reach, const Size& size) {
  VXIO_WorldPtr to = NewWorld(size.width, size.height, from.Depth());
  const auto pixel = static_cast<size_t>(from.PixelSize());
  const auto row_of = [](const VX_World& world, int32_t y) {
    return static_cast<char*>(world.data) + ptrdiff_t{y} * world.rowbytes;
  };
  for (int32_t y = 0; y < to->height; ++y) {
    const char* line = row_of(from, std::clamp(y - reach.height, 0, from.height - 1));
    char* out = row_of(*to, y);
    for (int32_t x = 0; x < reach.width; ++x, out += pixel) std::memcpy(out, line, pixel);
    const size_t bytes = static_cast<size_t>(from.width) * pixel;
    std::memcpy(out, line, bytes);
    out += bytes;
    for (int32_t x = 0; x < reach.width; ++x, out += pixel) {
      std::memcpy(out, line + bytes - pixel, pixel);
    }
  }
  return to;
}

template <class Function>
void ForEachFloatPixel(VX_World* world, Function function) {
  Check(VX_ForEachPixel<VX_PixelFloat>(
            world, [&](int32_t, int32_t, VX_PixelFloat* pixel) { function(pixel); }),
        "convolve");
}

// A power of two that keeps sums of alpha within 0..1, because the convolution limits alpha to
// that.
float AlphaScale(const Filter& filter) {
  const std::vector<int32_t>& weights = filter.kernel.Of(0);
  const auto divisor = static_cast<double>((filter.flags & VX_Kernel_Normalize) != 0
                                               ? std::abs(SumOf(weights))
                                               : 256 * static_cast<int64_t>(weights.size()));
  const double most = static_cast<double>(SumOfMagnitudes(weights)) / std::max(divisor, 1.0);
  return std::exp2(-static_cast<float>(std::max(0, std::ilogb(std::max(most, 1.0)) + 1)));
}

// Multiplies colours by alpha, so that alpha weights them.
void Multiply(VX_World* world, float alpha_scale) {
  ForEachFloatPixel(world, [&](VX_PixelFloat* pixel) {
    const float alpha = pixel->alpha;
    *pixel = alpha > 0 ? VX_PixelFloat{alpha * alpha_scale, pixel->red * alpha,
                                       pixel->green * alpha, pixel->blue * alpha}
                       : VX_PixelFloat{};
  });
}

// Divides colours by the sum of alpha, which may be greater than 1, so that an area of one colour
// keeps it. A sum next to 0 is the rounding error of weights that cancel, and gives a transparent
// pixel.
void Divide(VX_World* world, float alpha_scale) {
  constexpr float kLeast = 1e-6f;
  ForEachFloatPixel(world, [&](VX_PixelFloat* pixel) {
    const float alpha = pixel->alpha / alpha_scale;
    *pixel = alpha > kLeast ? VX_PixelFloat{std::min(alpha, 1.0f), pixel->red / alpha,
                                            pixel->green / alpha, pixel->blue / alpha}
                            : VX_PixelFloat{};
  });
}

void ClampColours(VX_World* world) {
  ForEachFloatPixel(world, [](VX_PixelFloat* pixel) {
    for (float* colour : {&pixel->red, &pixel->green, &pixel->blue}) {
      *colour = std::clamp(*colour, 0.0f, 1.0f);
    }
  });
}

// How a picture is filtered.
struct Method {
  int32_t depth;       // of the sums
  bool repeat;         // repeat the border pixels
  bool filters_alpha;  // else the picture stays opaque
};

// A picture without alpha is filtered at its own depth. With alpha colours are multiplied by it and
// divided again, which at 8 and 16 bits would lose precision.
Method MethodFor(const Filter& filter, bool has_alpha, int32_t depth) {
  Method method{};
  method.repeat = !filter.fade.value_or(has_alpha);
  method.filters_alpha = has_alpha || !method.repeat;
  method.depth = !method.filters_alpha && depth < 32 && SumsFit(filter.kernel, depth) ? depth : 32;
  return method;
}

// The result. With method.repeat it has a border around it, as wide as the reach of the kernel.
VXIO_WorldPtr Filtered(const Filter& filter, const Method& method, VX_ProgressInfo* progress,
                       const std::string& file, VXIO_WorldPtr from) {
  from = VXIO_ConvertDepth(std::move(from), method.depth);
  const float alpha_scale = AlphaScale(filter);
  if (method.filters_alpha) Multiply(from.get(), alpha_scale);
  if (method.repeat) {
    from = Padded(*from, filter.reach, PaddedSize(filter, file, from->width, from->height));
  }
  VXIO_WorldPtr to = NewWorld(from->width, from->height, method.depth);
  const Kernel& kernel = filter.kernel;
  // Float colours are clamped later, after the division by alpha.
  const int32_t flags = filter.flags | (method.depth == 32 ? VX_Kernel_NoClamp : 0);
  Check(VX_Convolve(progress, from.get(), /*rect=*/nullptr, flags, kernel.size, kernel.Of(0).data(),
                    kernel.Of(1).data(), kernel.Of(2).data(), kernel.Of(3).data(), to.get()),
        file);
  if (method.filters_alpha) {
    Divide(to.get(), alpha_scale);
  } else {
    to->FillAlpha();
  }
  return to;
}

void ConvolveFrame(const Filter& filter, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(0);
  const int32_t depth = picture.world->Depth();
  const Method method = MethodFor(filter, picture.has_alpha, depth);
  if (!filter.clamp && depth < 32) {
    frame->Note("--no-clamp has no effect: only 32-bit pictures hold values outside of the scale");
  }
  if (method.filters_alpha && SumOf(filter.kernel.Of(0)) <= 0) {
    frame->Note("becomes transparent where its alpha is even: the weights of alpha sum to " +
                std::to_string(SumOf(filter.kernel.Of(0))) + "; see 'vx convolve --help'");
  }
  M_Rect inside{};
  inside.left = static_cast<int16_t>(method.repeat ? filter.reach.width : 0);
  inside.top = static_cast<int16_t>(method.repeat ? filter.reach.height : 0);
  inside.right = static_cast<int16_t>(inside.left + picture.world->width);
  inside.bottom = static_cast<int16_t>(inside.top + picture.world->height);
  VXIO_WorldPtr whole =
      Filtered(filter, method, frame->Progress(), frame->Input(0), std::move(picture.world));
  if (depth == 32 && filter.clamp) ClampColours(whole.get());
  whole = VXIO_ConvertDepth(std::move(whole), depth);
  frame->Write(*ViewOf(whole.get(), inside), picture);
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
  options->kernel_text = KernelText(filter.kernel);
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
       "In place of --kernel: a Gaussian of this radius, %r, always divided by its sum; vx blur is "
       "faster"},
      {"--normalize", "", Flag(&to->normalize),
       "Divide by the sum of the weights, in place of 256 times their number"},
      {"--no-clamp", "", Flag(&to->no_clamp),
       "Keep colours below 0 and above 1; for 32-bit pictures"},
      {"--one-dimensional", "x|y", Choice(&to->one_dimensional, {"x", "y"}),
       "The kernel is a line, along the rows (x) or down the columns (y)"},
      Option{
          "--edge", "HOW", Choice(&to->edge, {"fade", "repeat"}),
          "What lies beyond the edges. fade: transparency, so that they fade; repeat: the border "
          "pixels again"}
          .Without("fade with alpha, repeat without"),
  };
}

constexpr const char* kFooter =
    "A kernel file is text: rows of whole numbers with blanks or commas between them, the top row\n"
    "first, not turned over; what follows a # is a comment. As many rows as columns, an odd "
    "count,\n"
    "at most 1023; with --one-dimensional one row or one column. One block serves all channels;\n"
    "four blocks with an empty line between them are for alpha, red, green and blue.\n"
    "The sum over the window is divided by 256 times the number of weights, so that a single 256\n"
    "is 1 and nine of them are a mean of 3 x 3, or with --normalize by the sum of the weights (by\n"
    "1 when that is 0). This file sharpens with --normalize, without it 2304 = 9 x 256 is 1:\n"
    "   0 -1  0            0 -2304     0\n"
    "  -1  5 -1        -2304 11520 -2304\n"
    "   0 -1  0            0 -2304     0\n"
    "Colours count by their alpha: hidden colour of transparent pixels never shows. A picture\n"
    "without alpha stays without, and the weights of alpha are not used, unless --edge is fade.\n"
    "Where weights sum to 0, as for contours, alpha needs a block of its own with a 1 in its "
    "centre.\n"
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
