// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Measures the quality of in-between pictures: frames of clips are dropped, made again from their
// neighbours, and compared with the dropped ones. See the usage text.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "VX/VX.hpp"
#include "VXIO/VXIO.hpp"

namespace {

constexpr double kPerfect = 60;  // dB, also the value of equal pictures
constexpr int32_t kTile = 64;
constexpr double kTornLoss = 3, kTornBelow = 30;  // dB

double Decibels(double mean_square) {
  if (mean_square <= 0) return kPerfect;
  return std::min(kPerfect, 10 * std::log10(255.0 * 255.0 / mean_square));
}

struct Plane {
  Plane(int32_t w, int32_t h)
      : width(w), height(h), values(static_cast<size_t>(w) * static_cast<size_t>(h)) {}
  float& At(int32_t x, int32_t y) {
    return values[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
  }
  float At(int32_t x, int32_t y) const { return const_cast<Plane*>(this)->At(x, y); }

  int32_t width, height;
  std::vector<float> values;
};

// The squared error of each pixel, mean over the colour channels.
Plane Errors(const vx::Image& a, const vx::Image& b) {
  Plane out(a.width(), a.height());
  const auto va = a.view<vx::Pixel8>(), vb = b.view<vx::Pixel8>();
  for (int32_t y = 0; y < out.height; ++y) {
    for (int32_t x = 0; x < out.width; ++x) {
      const auto column = static_cast<size_t>(x);
      const vx::Pixel8 &p = va.row(y)[column], &q = vb.row(y)[column];
      const int32_t r = p.red - q.red, g = p.green - q.green, u = p.blue - q.blue;
      out.At(x, y) = static_cast<float>(r * r + g * g + u * u) / 3;
    }
  }
  return out;
}

double Mean(const Plane& plane) {
  double sum = 0;
  for (const float value : plane.values) sum += static_cast<double>(value);
  return sum / static_cast<double>(plane.values.size());
}

// The mean of each tile; a rest of at least half a tile counts as a tile.
std::vector<double> Tiles(const Plane& plane) {
  const auto starts = [](int32_t size) {
    std::vector<int32_t> list;
    for (int32_t i = 0; i < size; i += kTile) {
      if (list.empty() || size - i >= kTile / 2) list.push_back(i);
    }
    return list;
  };
  std::vector<double> tiles;
  for (const int32_t top : starts(plane.height)) {
    for (const int32_t left : starts(plane.width)) {
      const int32_t bottom = std::min(top + kTile, plane.height);
      const int32_t right = std::min(left + kTile, plane.width);
      double sum = 0;
      for (int32_t y = top; y < bottom; ++y) {
        for (int32_t x = left; x < right; ++x) sum += static_cast<double>(plane.At(x, y));
      }
      tiles.push_back(sum / ((bottom - top) * (right - left)));
    }
  }
  return tiles;
}

Plane Luma(const vx::Image& image) {
  Plane out(image.width(), image.height());
  const auto view = image.view<vx::Pixel8>();
  for (int32_t y = 0; y < out.height; ++y) {
    for (int32_t x = 0; x < out.width; ++x) {
      const vx::Pixel8& p = view.row(y)[static_cast<size_t>(x)];
      out.At(x, y) = 0.299f * p.red + 0.587f * p.green + 0.114f * p.blue;
    }
  }
  return out;
}

// Mean over a Gaussian window of 11 x 11 with deviation 1.5, for windows inside of the picture.
Plane Window(const Plane& in) {
  constexpr int32_t kRadius = 5;
  std::array<float, 2 * kRadius + 1> weights{};
  float sum = 0;
  for (int32_t i = -kRadius; i <= kRadius; ++i) {
    const float weight = std::exp(-static_cast<float>(i * i) / (2 * 1.5f * 1.5f));
    weights[static_cast<size_t>(i + kRadius)] = weight;
    sum += weight;
  }
  for (float& weight : weights) weight /= sum;
  Plane rows(in.width - 2 * kRadius, in.height);
  Plane out(rows.width, in.height - 2 * kRadius);
  for (int32_t y = 0; y < rows.height; ++y) {
    for (int32_t x = 0; x < rows.width; ++x) {
      float value = 0;
      for (int32_t i = 0; i < 11; ++i) value += weights[static_cast<size_t>(i)] * in.At(x + i, y);
      rows.At(x, y) = value;
    }
  }
  for (int32_t y = 0; y < out.height; ++y) {
    for (int32_t x = 0; x < out.width; ++x) {
      float value = 0;
      for (int32_t i = 0; i < 11; ++i) value += weights[static_cast<size_t>(i)] * rows.At(x, y + i);
      out.At(x, y) = value;
    }
  }
  return out;
}

Plane Product(const Plane& a, const Plane& b) {
  Plane out = a;
  for (size_t i = 0; i < out.values.size(); ++i) out.values[i] *= b.values[i];
  return out;
}

// Structural similarity of the luma: Wang, Bovik, Sheikh, Simoncelli, "Image quality assessment:
// from error visibility to structural similarity", 2004, with the constants of that paper.
double Ssim(const vx::Image& a, const vx::Image& b) {
  constexpr float kC1 = 0.01f * 255 * 0.01f * 255, kC2 = 0.03f * 255 * 0.03f * 255;
  const Plane x = Luma(a), y = Luma(b);
  if (x.width < 11 || x.height < 11) return 0;
  const Plane mx = Window(x), my = Window(y);
  const Plane xx = Window(Product(x, x)), yy = Window(Product(y, y)), xy = Window(Product(x, y));
  double sum = 0;
  for (size_t i = 0; i < mx.values.size(); ++i) {
    const float m = mx.values[i], n = my.values[i];
    const float vx = xx.values[i] - m * m, vy = yy.values[i] - n * n, c = xy.values[i] - m * n;
    sum += static_cast<double>((2 * m * n + kC1) * (2 * c + kC2) /
                               ((m * m + n * n + kC1) * (vx + vy + kC2)));
  }
  return sum / static_cast<double>(mx.values.size());
}

struct Score {
  double psnr = 0, ssim = 0, worst = 0, torn = 0, mix = 0, seconds = 0;
  double unexplained = 0;  // the largest of all pairs
  int32_t frames = 0;

  void Add(const Score& s) {
    psnr += s.psnr;
    ssim += s.ssim;
    worst += s.worst;
    torn += s.torn;
    mix += s.mix;
    seconds += s.seconds;
    frames += s.frames;
    unexplained = std::max(unexplained, s.unexplained);
  }
};

struct Settings {
  std::vector<std::string> clips;
  std::vector<int32_t> factors = {2, 4};
  double resolution = 20;
  bool high = false, similarity = true, cuts = false;
  int32_t threads = 0;
};

std::vector<vx::Image> ReadAll(const std::string& path) {
  std::vector<vx::Image> images;
  for (vx::Frame& frame : vx::frames(path, {.depth = 8})) {
    images.push_back(std::move(frame.picture.image));
  }
  return images;
}

Score Compare(const vx::Image& made, const vx::Image& mix, const vx::Image& truth,
              bool similarity) {
  const Plane errors = Errors(made, truth), mix_errors = Errors(mix, truth);
  const std::vector<double> tiles = Tiles(errors), mix_tiles = Tiles(mix_errors);
  Score score;
  score.frames = 1;
  score.psnr = Decibels(Mean(errors));
  score.mix = Decibels(Mean(mix_errors));
  score.ssim = similarity ? Ssim(made, truth) : 0;
  score.worst = Decibels(*std::max_element(tiles.begin(), tiles.end()));
  const double below = 255.0 * 255.0 / std::pow(10, kTornBelow / 10);
  int64_t torn = 0;
  for (size_t i = 0; i < tiles.size(); ++i) {
    torn += tiles[i] > mix_tiles[i] * std::pow(10, kTornLoss / 10) && tiles[i] > below;
  }
  score.torn = 100.0 * static_cast<double>(torn) / static_cast<double>(tiles.size());
  return score;
}

Score MeasureClip(const std::vector<vx::Image>& inputs, const std::vector<vx::Image>& truths,
                  int32_t factor, const Settings& settings) {
  vx::TweenOptions options;
  options.motion.resolution = settings.resolution / 100;
  if (settings.high) options.quality = vx::TweenQuality::high;
  Score sum;
  const auto step = static_cast<size_t>(factor);
  for (size_t a = 0; a + step < inputs.size(); a += step) {
    const vx::Image &first = inputs[a], &second = inputs[a + step];
    const auto start = std::chrono::steady_clock::now();
    vx::Tweener tweener(first, second, options);
    std::vector<vx::Image> made;
    for (size_t k = 1; k < step; ++k) {
      made.push_back(vx::Image::uninitialized(first.width(), first.height(), 8));
      tweener.render(made.back(), static_cast<double>(k) / factor);
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    sum.seconds += taken.count();
    if (settings.cuts) {
      const double share = tweener.unexplained();
      sum.unexplained = std::max(sum.unexplained, share);
      std::printf("  %zu to %zu: unexplained %.4f\n", a, a + step, share);
    }
    for (size_t k = 1; k < step; ++k) {
      vx::Image mix = vx::Image::uninitialized(first.width(), first.height(), 8);
      vx::tween(mix, first, second, static_cast<double>(k) / factor,
                {.method = vx::TweenMethod::mix});
      sum.Add(Compare(made[k - 1], mix, truths[a + k], settings.similarity));
    }
  }
  return sum;
}

void Print(const std::string& name, const Score& s) {
  const double n = std::max(s.frames, 1);
  std::printf("%-28s %4d %7.2f %7.2f %7.4f %7.2f %6.2f %7.3f\n", name.c_str(), s.frames, s.mix / n,
              s.psnr / n, s.ssim / n, s.worst / n, s.torn / n, s.seconds / n);
  std::fflush(stdout);
}

void MeasureAll(const Settings& settings) {
  if (settings.threads > 0) VX_SetMotionThreads(settings.threads);
  std::printf("%-28s %4s %7s %7s %7s %7s %6s %7s\n", "clip", "made", "mix dB", "dB", "ssim",
              "tile dB", "torn %", "s/frame");
  Score total;
  for (const std::string& clip : settings.clips) {
    const size_t sign = clip.find('=');
    const std::vector<vx::Image> truths = ReadAll(clip.substr(0, sign));
    const std::vector<vx::Image> inputs =
        sign == std::string::npos ? std::vector<vx::Image>() : ReadAll(clip.substr(sign + 1));
    for (const int32_t factor : settings.factors) {
      const Score score = MeasureClip(inputs.empty() ? truths : inputs, truths, factor, settings);
      std::string name = clip.substr(0, sign);
      if (name.size() > 24) name = "..." + name.substr(name.size() - 21);
      Print(name + " @" + std::to_string(factor), score);
      Score mean = score;
      const double n = std::max(score.frames, 1);
      mean.psnr /= n, mean.ssim /= n, mean.worst /= n, mean.torn /= n, mean.mix /= n;
      mean.seconds /= n;
      mean.frames = 1;
      total.Add(mean);
    }
  }
  Print("mean of the lines", total);
}

}  // namespace

int main(int count, char** arguments) {
  Settings settings;
  CLI::App app(
      "Drops frames of clips, makes them again from their neighbours, and compares them with the "
      "dropped ones. A clip is a video file or a sequence (shot.####.png); TRUTH=INPUT takes the "
      "neighbours from another one.");
  app.add_option("CLIP", settings.clips, "Clips")->required();
  app.add_option("--keep", settings.factors, "Keep every N-th frame; several values, default 2,4")
      ->delimiter(',')
      ->expected(1)
      ->check(CLI::Range(2, 100));
  app.add_option("--resolution", settings.resolution, "Percent")->check(CLI::Range(5.0, 100.0));
  app.add_flag("--high", settings.high, "The quality 'high'");
  app.add_flag("!--no-ssim", settings.similarity, "Do not compute the similarity");
  app.add_flag("--cuts", settings.cuts, "Also list the share of each pair that no motion explains");
  app.add_option("--threads", settings.threads, "Number of threads");
  CLI11_PARSE(app, count, arguments);
  try {
    const vx::Library library;
    MeasureAll(settings);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vx_tween_quality: %s\n", error.what());
    return 1;
  }
  return 0;
}
