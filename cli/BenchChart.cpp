// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// The chart of vx bench: bars on a logarithmic scale, as SVG or as a picture.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "Bench.h"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/Pixels.hpp"
#include "VXIO/VXIO_Picture.h"

namespace vxcli {

namespace {

constexpr int32_t kFont = 12, kMargin = 16, kHeader = 64, kFooter = 28;
constexpr int32_t kNames = 230, kPlot = 640, kValues = 120;  // widths of the columns
constexpr int32_t kBar = 9, kDepthGap = 4, kGroupGap = 12;

struct Rgb {
  uint8_t red, green, blue;
};
constexpr Rgb kBackground{255, 255, 255}, kGrid{221, 221, 221};
constexpr Rgb kOneThread{52, 101, 164}, kAllThreads{143, 188, 233};

enum class Align { Left, Right };

class Canvas {
 public:
  virtual ~Canvas() = default;
  virtual void Fill(int32_t x, int32_t y, int32_t width, int32_t height, Rgb color) = 0;
  // `baseline` is the row of the baseline; `x` the left or the right edge of the text.
  virtual void Write(int32_t x, int32_t baseline, Align align, const std::string& text) = 0;
};

class SvgCanvas : public Canvas {
 public:
  SvgCanvas(int32_t width, int32_t height) {
    const std::string w = std::to_string(width), h = std::to_string(height);
    text_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + w + "\" height=\"" + h +
            "\" viewBox=\"0 0 " + w + " " + h + "\" font-family=\"sans-serif\" font-size=\"" +
            std::to_string(kFont) + "\">\n";
  }
  void Fill(int32_t x, int32_t y, int32_t width, int32_t height, Rgb color) override {
    char line[160];
    std::snprintf(line, sizeof line,
                  "<rect x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" fill=\"#%02x%02x%02x\"/>\n",
                  x, y, width, height, color.red, color.green, color.blue);
    text_ += line;
  }
  void Write(int32_t x, int32_t baseline, Align align, const std::string& text) override {
    text_ += "<text x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(baseline) + "\"" +
             (align == Align::Right ? " text-anchor=\"end\">" : ">");
    for (const char c : text) {
      text_ += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    }
    text_ += "</text>\n";
  }
  std::string Finish() const { return text_ + "</svg>\n"; }

 private:
  std::string text_;
};

class PictureCanvas : public Canvas {
 public:
  PictureCanvas(int32_t width, int32_t height) : image(width, height, 8) {}
  void Fill(int32_t x, int32_t y, int32_t width, int32_t height, Rgb color) override {
    vx::fill(image, vx::Pixel8{255, color.red, color.green, color.blue},
             {vx::Rect{x, y, x + width, y + height}});
  }
  void Write(int32_t x, int32_t baseline, Align align, const std::string& text) override {
    const VXIO_WorldPtr label = VXIO_RenderText(text, kFont, /*grey=*/0);
    const int32_t left = align == Align::Right ? x - label->width : x;
    vx::composite(image, *label, {.at = {left, baseline - kFont}});
  }

  vx::Image image;
};

// The logarithmic axis: whole decades that contain all speeds.
class Axis {
 public:
  explicit Axis(const std::vector<BenchRow>& rows) {
    double least = 1e9, largest = 0;
    for (const BenchRow& row : rows) {
      const double all = row.all_threads ? row.all_threads->mpixels : row.one_thread.mpixels;
      least = std::min({least, row.one_thread.mpixels, all});
      largest = std::max({largest, row.one_thread.mpixels, all});
    }
    first_ = static_cast<int>(std::floor(std::log10(least)));
    last_ = std::max(static_cast<int>(std::ceil(std::log10(largest))), first_ + 1);
  }
  int first() const { return first_; }
  int last() const { return last_; }
  int32_t Length(double value) const {
    const double share = (std::log10(value) - first_) / (last_ - first_);
    return static_cast<int32_t>(std::lround(share * kPlot));
  }

 private:
  int first_, last_;
};

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, value < 10 ? "%.2f" : value < 100 ? "%.1f" : "%.0f", value);
  return text;
}

int32_t HeightOfRow(const BenchRow& row) { return (row.all_threads ? 2 : 1) * kBar + kDepthGap; }

void DrawGrid(Canvas& canvas, const Axis& axis, int32_t bottom) {
  const int32_t left = kMargin + kNames;
  for (int decade = axis.first(); decade <= axis.last(); ++decade) {
    const double value = std::pow(10, decade);
    const int32_t x = left + axis.Length(value);
    canvas.Fill(x, kHeader, 1, bottom - kHeader, kGrid);
    char label[32];
    std::snprintf(label, sizeof label, "%g", value);
    canvas.Write(x, bottom + kFont + 4, Align::Left, label);
  }
  canvas.Write(left + kPlot + kValues, bottom + kFont + 4, Align::Right, "Mpixel/s");
}

void DrawLegend(Canvas& canvas, int32_t threads) {
  const int32_t y = kMargin + 18;
  canvas.Fill(kMargin, y, kBar, kBar, kOneThread);
  canvas.Write(kMargin + kBar + 6, y + kBar, Align::Left, "1 thread");
  if (threads == 1) return;
  canvas.Fill(kMargin + 90, y, kBar, kBar, kAllThreads);
  canvas.Write(kMargin + 90 + kBar + 6, y + kBar, Align::Left,
               std::to_string(threads) + " threads");
}

// One group of bars for each operation, with its depths.
void Draw(Canvas& canvas, int32_t width, int32_t height, const std::string& title,
          const std::vector<BenchRow>& rows, int32_t threads) {
  const Axis axis(rows);
  const int32_t left = kMargin + kNames;
  canvas.Fill(0, 0, width, height, kBackground);
  canvas.Write(kMargin, kMargin + kFont, Align::Left, title);
  DrawLegend(canvas, threads);
  DrawGrid(canvas, axis, height - kFooter);
  int32_t y = kHeader + kGroupGap;
  for (size_t i = 0; i < rows.size(); ++i) {
    const BenchRow& row = rows[i];
    const bool begins = i == 0 || rows[i - 1].work != row.work;
    if (begins && i > 0) y += kGroupGap;
    const int32_t bars = HeightOfRow(row) - kDepthGap, baseline = y + bars / 2 + kFont / 3;
    if (begins) canvas.Write(kMargin, baseline, Align::Left, row.work);
    canvas.Write(left - 6, baseline, Align::Right,
                 row.depth == 32 ? "float" : std::to_string(row.depth) + " bits");
    canvas.Fill(left, y, std::max(axis.Length(row.one_thread.mpixels), 1), kBar, kOneThread);
    std::string values = Number(row.one_thread.mpixels);
    int32_t end = axis.Length(row.one_thread.mpixels);
    if (row.all_threads) {
      const int32_t length = axis.Length(row.all_threads->mpixels);
      canvas.Fill(left, y + kBar, std::max(length, 1), kBar, kAllThreads);
      values += ", " + Number(row.all_threads->mpixels);
      end = std::max(end, length);
    }
    canvas.Write(left + end + 6, baseline, Align::Left, values);
    y += HeightOfRow(row);
  }
}

}  // namespace

std::vector<std::string> WriteBenchChart(const std::string& path, const std::string& title,
                                         const std::vector<BenchRow>& measured, int32_t threads) {
  // The rows of an operation are adjacent, its depths in order.
  std::vector<BenchRow> rows;
  for (const BenchRow& first : measured) {
    if (first.depth != measured[0].depth) break;
    std::copy_if(measured.begin(), measured.end(), std::back_inserter(rows),
                 [&](const BenchRow& row) { return row.work == first.work; });
  }
  int32_t height = kHeader + 2 * kGroupGap + kFooter;
  for (size_t i = 0; i < rows.size(); ++i) {
    height += HeightOfRow(rows[i]) + (i > 0 && rows[i - 1].work != rows[i].work ? kGroupGap : 0);
  }
  const int32_t width = 2 * kMargin + kNames + kPlot + kValues;
  if (std::filesystem::path(path).extension() == ".svg") {
    SvgCanvas canvas(width, height);
    Draw(canvas, width, height, title, rows, threads);
    VXIO_WriteText(path, canvas.Finish());
    return {};
  }
  PictureCanvas canvas(width, height);
  Draw(canvas, width, height, title, rows, threads);
  return VXIO_Write(path, *canvas.image.world(), {});
}

}  // namespace vxcli
