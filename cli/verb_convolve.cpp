// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx convolve: a kernel of whole numbers over a picture.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

#include "Errors.h"
#include "Job.h"
#include "JobResume.h"
#include "KernelFile.h"
#include "VX/VX_Convolve.h"
#include "VX/VX_ForEachPixel.h"
#include "Values.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

constexpr int32_t kLargestSide = 30000;

struct ConvolveWords {
  JobWords job;
  std::string input, kernel, gaussian, one_dimensional, edge;
  bool normalize = false, no_clamp = false;
};

struct Wanted {
  Kernel kernel;
  int32_t flags = 0;         // for VX_Convolve, without VX_Kernel_NoClamp
  Size reach;                // of the kernel, on each side
  std::optional<bool> fade;  // else as it fits the picture
  bool clamp = true;
};

// Divisors have 32 bits.
void CheckSums(const ConvolveWords& words, const Kernel& kernel) {
  for (const std::vector<int32_t>& weights : kernel.weights) {
    const int64_t sum = SumOf(weights);
    if (std::abs(sum) <= std::numeric_limits<int32_t>::max()) continue;
    throw UsageError("--normalize: the weights of " + words.kernel + " sum to " +
                     std::to_string(sum) + ", which is beyond 32 bits");
  }
}

Wanted ParseWanted(const ConvolveWords& words) {
  if (words.kernel.empty() == words.gaussian.empty()) {
    throw UsageError("convolve: needs either --kernel FILE or --gaussian R");
  }
  Wanted wanted;
  const bool line = !words.one_dimensional.empty();
  if (line) {
    wanted.flags = VX_Kernel_OneDimensional;
    const int32_t axis = ParseChoice("--one-dimensional", words.one_dimensional, {"x", "y"});
    if (axis == 1) wanted.flags |= VX_Kernel_Vertical;
  }
  if (!words.edge.empty()) {
    wanted.fade = ParseChoice("--edge", words.edge, {"fade", "repeat"}) == 0;
  }
  if (words.kernel.empty()) {
    const double radius = ParseNumber("--gaussian", words.gaussian, 0, kLargestKernelRadius);
    wanted.kernel = MakeGaussianKernel(radius, wanted.flags, /*multiplier=*/1);
  } else {
    wanted.kernel = ReadKernelFile(words.kernel, line ? KernelForm::Line : KernelForm::Square);
  }
  if (words.normalize || words.kernel.empty()) wanted.flags |= VX_Kernel_Normalize;
  if (words.normalize) CheckSums(words, wanted.kernel);
  wanted.clamp = !words.no_clamp;
  const int32_t half = wanted.kernel.size / 2;
  const bool down = (wanted.flags & VX_Kernel_Vertical) != 0;
  wanted.reach = {line && down ? 0 : half, line && !down ? 0 : half};
  return wanted;
}

int64_t SumOfMagnitudes(const std::vector<int32_t>& weights) {
  int64_t sum = 0;
  for (int32_t weight : weights) sum += std::abs(int64_t{weight});
  return sum;
}

// Whether the sums of integer channels stay within 32 bits.
bool SumsFit(const Kernel& kernel, int32_t depth) {
  const int64_t full = depth == 8 ? 255 : 32768;
  for (const std::vector<int32_t>& weights : kernel.weights) {
    if (SumOfMagnitudes(weights) > std::numeric_limits<int32_t>::max() / full) return false;
  }
  return true;
}

Size PaddedSize(const Wanted& wanted, const std::string& file, int32_t width, int32_t height) {
  const Size size{width + 2 * wanted.reach.width, height + 2 * wanted.reach.height};
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

// A power of two that keeps sums of alpha within 0..1, where they are limited.
float AlphaScale(const Wanted& wanted) {
  const std::vector<int32_t>& weights = wanted.kernel.Of(0);
  const auto divisor = static_cast<double>((wanted.flags & VX_Kernel_Normalize) != 0
                                               ? std::abs(SumOf(weights))
                                               : 256 * static_cast<int64_t>(weights.size()));
  const double most = static_cast<double>(SumOfMagnitudes(weights)) / std::max(divisor, 1.0);
  return std::exp2(-static_cast<float>(std::max(0, std::ilogb(std::max(most, 1.0)) + 1)));
}

// Colours multiplied by alpha, so that they count by it.
void Multiply(VX_World* world, float alpha_scale) {
  ForEachFloatPixel(world, [&](VX_PixelFloat* pixel) {
    const float alpha = pixel->alpha;
    *pixel = alpha > 0 ? VX_PixelFloat{alpha * alpha_scale, pixel->red * alpha,
                                       pixel->green * alpha, pixel->blue * alpha}
                       : VX_PixelFloat{};
  });
}

// And back, by sums of alpha that may be beyond 1: what is even in colour stays even. Next to 0 a
// sum is the rounding of weights that cancel.
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

// What a frame needs beside the picture.
struct Way {
  int32_t depth;       // of the sums
  bool repeat;         // the border outwards
  bool filters_alpha;  // else the picture stays opaque
};

// Without alpha a picture is filtered at its own depth. With alpha colours are multiplied by it and
// divided again, which at 8 and 16 bits would cost colour.
Way WayFor(const Wanted& wanted, bool has_alpha, int32_t depth) {
  Way way{};
  way.repeat = !wanted.fade.value_or(has_alpha);
  way.filters_alpha = has_alpha || !way.repeat;
  way.depth = !way.filters_alpha && depth < 32 && SumsFit(wanted.kernel, depth) ? depth : 32;
  return way;
}

// The result, which with `repeat` has a border of the kernel's reach around it.
VXIO_WorldPtr Filtered(const Wanted& wanted, const Way& way, VX_ProgressInfo* progress,
                       const std::string& file, VXIO_WorldPtr from) {
  from = VXIO_ConvertDepth(std::move(from), way.depth);
  const float alpha_scale = AlphaScale(wanted);
  if (way.filters_alpha) Multiply(from.get(), alpha_scale);
  if (way.repeat) {
    from = Padded(*from, wanted.reach, PaddedSize(wanted, file, from->width, from->height));
  }
  VXIO_WorldPtr to = NewWorld(from->width, from->height, way.depth);
  const Kernel& kernel = wanted.kernel;
  // Colours are clamped where they are straight again.
  const int32_t flags = wanted.flags | (way.depth == 32 ? VX_Kernel_NoClamp : 0);
  Check(VX_Convolve(progress, from.get(), /*rect=*/nullptr, flags, kernel.size, kernel.Of(0).data(),
                    kernel.Of(1).data(), kernel.Of(2).data(), kernel.Of(3).data(), to.get()),
        file);
  if (way.filters_alpha) {
    Divide(to.get(), alpha_scale);
  } else {
    to->FillAlpha();
  }
  return to;
}

void ConvolveFrame(const Wanted& wanted, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(0);
  const int32_t depth = picture.world->Depth();
  const Way way = WayFor(wanted, picture.has_alpha, depth);
  if (!wanted.clamp && depth < 32) {
    frame->Note("--no-clamp has no effect: only 32-bit pictures hold values beyond the scale");
  }
  if (way.filters_alpha && SumOf(wanted.kernel.Of(0)) <= 0) {
    frame->Note("becomes transparent where its alpha is even: the weights of alpha sum to " +
                std::to_string(SumOf(wanted.kernel.Of(0))) + "; see 'vx convolve --help'");
  }
  M_Rect inside{};
  inside.left = static_cast<int16_t>(way.repeat ? wanted.reach.width : 0);
  inside.top = static_cast<int16_t>(way.repeat ? wanted.reach.height : 0);
  inside.right = static_cast<int16_t>(inside.left + picture.world->width);
  inside.bottom = static_cast<int16_t>(inside.top + picture.world->height);
  VXIO_WorldPtr whole =
      Filtered(wanted, way, frame->Progress(), frame->Input(0), std::move(picture.world));
  if (depth == 32 && wanted.clamp) ClampColours(whole.get());
  whole = VXIO_ConvertDepth(std::move(whole), depth);
  frame->Write(*ViewOf(whole.get(), inside), picture);
}

int64_t BytesHeld(const Wanted& wanted, const VXIO_Info& input) {
  const Way way = WayFor(wanted, input.alpha != VXIO_AlphaKind::None, input.depth);
  Size size{input.width, input.height};
  if (way.repeat) size = PaddedSize(wanted, input.path, size.width, size.height);
  return BytesOfWorld(input.width, input.height, way.depth) +
         2 * BytesOfWorld(size.width, size.height, way.depth);
}

int Run(const ConvolveWords& words) {
  const Wanted wanted = ParseWanted(words);
  Job job;
  job.words = &words.job;
  job.inputs = {words.input};
  job.settings = "convolve flags=" + std::to_string(wanted.flags) + " edge=" + words.edge +
                 (words.no_clamp ? " no-clamp" : "") +
                 " kernel=" + FingerprintOfText(KernelText(wanted.kernel));
  job.bytes = [&](const std::vector<VXIO_Info>& inputs) { return BytesHeld(wanted, inputs[0]); };
  job.work = [&](JobFrame& frame) { ConvolveFrame(wanted, &frame); };
  return RunJob(job);
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

Verb AddConvolve(CLI::App* root) {
  auto words = std::make_shared<ConvolveWords>();
  CLI::App* app =
      root->add_subcommand("convolve", "Filter a picture with a kernel of whole numbers");
  app->add_option("IN", words->input, "A picture, or a pattern for a sequence")
      ->type_name("FILE")
      ->required();
  app->add_option("--kernel", words->kernel, "Text file with the weights; see below")
      ->type_name("FILE");
  app->add_option("--gaussian", words->gaussian,
                  "In place of --kernel: a Gaussian of this radius, 0 to 511, always divided by "
                  "its sum; vx blur is faster")
      ->type_name("R");
  app->add_flag("--normalize", words->normalize,
                "Divide by the sum of the weights, in place of 256 times their number");
  app->add_flag("--no-clamp", words->no_clamp,
                "Keep colours below 0 and above 1; for 32-bit pictures");
  app->add_option("--one-dimensional", words->one_dimensional,
                  "The kernel is a line, along the rows (x) or down the columns (y)")
      ->type_name("x|y");
  app->add_option("--edge", words->edge,
                  "What lies beyond the edges. fade: transparency, so that they fade; repeat: the "
                  "border pixels again [fade with alpha, repeat without]")
      ->type_name("HOW");
  AddJobOptions(app, &words->job, JobOutput::Picture);
  app->footer(kFooter);
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli
