// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Arguments that filters and one-channel buffers refuse: the code VX_ErrBadParameter, one report,
// and no changed byte in any world or buffer. One row for each case.

#include <cmath>
#include <functional>
#include <limits>

#include "VX/VX_Blur.h"
#include "VX/VX_Convolve.h"
#include "VX/VX_UnoBuffer.h"
#include "filters/VX_BoxBlurT.h"
#include "unit/BornEnvironment.h"
#include "unit/GuardedWorld.h"

namespace {

using Call = std::function<VX_Err()>;
struct Row {
  const char* what;
  Call call;
  const char* report = nullptr;  // null: any text
};

constexpr char kDepths[] = "VX_Convolve requires source and dst worlds to be same depth";
constexpr char kOddDepth[] = "Unknown world bitdepth in##CONDITIONNAME";
constexpr char kDamaged[] = "damaged mask buffer";
const float kNan = std::nanf(""), kInfinite = std::numeric_limits<float>::infinity();

class FilterRefusals : public testing::Test {
 protected:
  FilterRefusals() {
    for (VX_UnoBuffer* b : Buffers()) std::memset(*b->data, 0x40, Size(*b));
    none.data = nullptr;
    within.width = within.height = 2;
    Reports();
  }
  std::vector<VX_UnoBuffer*> Buffers() { return {&byte, &word, &real, &old}; }
  static size_t Size(const VX_UnoBuffer& b) {
    return static_cast<size_t>(12 * std::max(b.depth / 8, 1));
  }
  std::vector<uint8_t> Bytes() {
    std::vector<uint8_t> all = src.bytes;
    for (const auto* more : {&dst.bytes, &deep.bytes}) {
      all.insert(all.end(), more->begin(), more->end());
    }
    for (const VX_UnoBuffer* b : Buffers()) {
      const auto* const first = static_cast<const uint8_t*>(*b->data);
      all.insert(all.end(), first, first + Size(*b));
    }
    for (const uint16_t sample : line) all.push_back(static_cast<uint8_t>(sample % 251));
    for (const int32_t weight : kernel) all.push_back(static_cast<uint8_t>(weight % 251));
    return all;
  }
  void Check(const std::vector<Row>& rows) {
    const std::vector<uint8_t> before = Bytes();
    for (const Row& row : rows) {
      EXPECT_EQ(Thrown([&] { ThrowCode(row.call()); }), VX_ErrBadParameter) << row.what;
      const ReportList reports = Reports();
      ASSERT_EQ(reports.size(), 1u) << row.what;
      EXPECT_TRUE(row.report == nullptr || reports[0].second == row.report)
          << row.what << ": " << reports[0].second;
      ASSERT_TRUE(Bytes() == before) << row.what;
    }
  }
  // A code that is returned is checked like one that is thrown.
  static void ThrowCode(VX_Err code) {
    if (code != VX_Ok) throw int32_t{code};
  }

  GuardedWorld<VX_Pixel8> src{5, 4, 3, 1}, dst{5, 4, 3, 2};
  GuardedWorld<VX_Pixel16> deep{5, 4, 0, 3};
  VX_LayerDef none = src.world, within = src.world;
  OddDepthWorld odd_src{&src.world}, odd_dst{&dst.world};
  VX_UnoBuffer byte{4, 3, 8}, word{4, 3, 16}, real{4, 3, 32}, old{4, 3, 1};
  std::vector<uint16_t> line = std::vector<uint16_t>(10, 9), scratch = std::vector<uint16_t>(100);
  std::vector<int32_t> kernel = std::vector<int32_t>(9, 1);
};

TEST_F(FilterRefusals, BlurPasses) {
  VX_WorldX<VX_Pixel8> from(&src.world, true), to(&dst.world, true), empty(&none, true);
  VX_WorldX<VX_Pixel16> other(&deep.world, true);
  std::vector<Row> rows;
  const auto box = [](const VX_World* in, VX_World* out, float radius, int32_t iterations) -> Call {
    return [=]() -> VX_Err {
      VX_BoxBlur1D(nullptr, in, radius, iterations, 15, 0, 0, 0, 0, 0, out);
      return VX_Ok;
    };
  };
  const auto both = [&](const char* what, const VX_World* in, VX_World* out, float radius) {
    rows.push_back({what, box(in, out, radius, 1)});
    rows.push_back({what, [=]() -> VX_Err {
                      VX_GaussianBlur1D(nullptr, in, radius, 15, 0, 0, 0, 0, 0, out);
                      return VX_Ok;
                    }});
  };
  both("deep source", &other, &to, 2);
  both("deep destination", &from, &other, 2);
  both("odd depths", &odd_src, &odd_dst, 2);
  both("odd destination", &from, &odd_dst, 2);
  both("no source", nullptr, &to, 2);
  both("no destination", &from, nullptr, 2);
  both("no source pixels", &empty, &to, 2);
  both("no destination pixels", &from, &empty, 2);
  both("one world twice", &to, &to, 2);
  for (const float radius :
       {-1.0f, kNan, kInfinite, -kInfinite, 3e38f, std::nextafterf(VX_Blur_MaxRadius, kInfinite)}) {
    both("radius", &from, &to, radius);
  }
  const std::pair<float, int32_t> too_many[] = {{2, 0},
                                                {2, INT32_MIN},
                                                {VX_Blur_MaxRadius, 9},
                                                {32766.5f, 70000},
                                                {0.5f, VX_Blur_MaxReach + 1},
                                                {1, INT32_MAX}};
  for (const auto& [radius, count] : too_many) {
    rows.push_back({"iterations", box(&from, &to, radius, count)});
  }
  // The vector routine supports premultiplied output only, whatever channels it blurs.
  for (const int32_t flags : {15, 1, 6}) {
    rows.push_back({"vector routine",
                    [=]() -> VX_Err {
                      VXp_BoxBlurPass8_SSE2(
                          {VXp_BoxWindowOf(2), {}, {}, 1, {}, {}, flags, /*premultiplied=*/false});
                      return VX_Ok;
                    },
                    "untested SSE2 codepath in blur"});
  }
  Check(rows);
}

TEST_F(FilterRefusals, BlurWorld) {
  const VX_BlurSpec good = {VX_BlurKind_Box, 2, 2, 1, 15};
  int32_t x = 7, y = 7;
  std::vector<Row> rows;
  for (const VX_BlurSpec spec : {VX_BlurSpec{2, 2, 2, 1, 15},
                                 {-1, 2, 2, 1, 15},
                                 {VX_BlurKind_Box, -1, 2, 1, 15},
                                 {VX_BlurKind_Box, 2, kNan, 1, 15},
                                 {VX_BlurKind_Gaussian, 40000, 2, 1, 15},
                                 {VX_BlurKind_Box, 2, 2, 0, 15},
                                 {VX_BlurKind_Box, 2, 32767, 9, 15},
                                 {VX_BlurKind_Box, 0.5f, 0, VX_Blur_MaxReach + 1, 15}}) {
    rows.push_back(
        {"record", [=, this] { return VX_BlurWorld(nullptr, &src.world, &spec, &dst.world); }});
    rows.push_back({"record, reach", [=, &x, &y] { return VX_BlurReach(&spec, &x, &y); }});
  }
  const auto blur = [&](const char* what, const VX_LayerDef* in, const VX_BlurSpec* spec,
                        VX_LayerDef* out) {
    rows.push_back({what, [=] { return VX_BlurWorld(nullptr, in, spec, out); }});
  };
  blur("no record", &src.world, nullptr, &dst.world);
  blur("no source", nullptr, &good, &dst.world);
  blur("no destination", &src.world, &good, nullptr);
  blur("other depth", &deep.world, &good, &dst.world);
  blur("one world twice", &dst.world, &good, &dst.world);
  rows.push_back({"reach without record", [&] { return VX_BlurReach(nullptr, &x, &y); }});
  rows.push_back({"reach without result", [&] { return VX_BlurReach(&good, nullptr, &y); }});
  Check(rows);
  EXPECT_TRUE(x == 7 && y == 7);
}

TEST_F(FilterRefusals, ConvolutionAndKernels) {
  const int32_t* const w = kernel.data();
  std::vector<Row> rows;
  const auto convolve = [&](const char* what, const VX_LayerDef* in, VX_LayerDef* out,
                            int32_t size = 3, const char* report = kBadParameterText,
                            int missing = -1) {
    rows.push_back({what,
                    [=] {
                      const int32_t* k[] = {w, w, w, w};
                      if (missing >= 0) k[missing] = nullptr;
                      return VX_Convolve(nullptr, in, nullptr, 0, size, k[0], k[1], k[2], k[3],
                                         out);
                    },
                    report});
  };
  convolve("no source", nullptr, &dst.world);
  convolve("no destination", &src.world, nullptr);
  convolve("depths", &deep.world, &dst.world, 3, kDepths);
  convolve("depths before all else", &none, &deep.world, 2, kDepths, 0);
  convolve("odd depth", &odd_src, &odd_dst, 3, kOddDepth);
  convolve("no source pixels", &none, &dst.world);
  convolve("no destination pixels", &src.world, &none);
  convolve("one world twice", &src.world, &src.world);
  convolve("the same pixels", &src.world, &within);
  for (const int32_t size : {0, 2, -3}) convolve("size", &src.world, &dst.world, size);
  for (const int missing : {0, 1, 2, 3}) {
    convolve("no kernel", &src.world, &dst.world, 3, kBadParameterText, missing);
  }
  int32_t diameter = 7;
  const auto gaussian = [&](double radius, double multiplier, int32_t* at, int32_t* weights) {
    rows.push_back({"kernel",
                    [=] { return VX_GaussianKernel(nullptr, radius, 0, multiplier, at, weights); },
                    kBadParameterText});
  };
  // 32768 and 98304 are negative in 16 bits.
  for (const double radius : {-1.0, -1e-9, std::nan(""), HUGE_VAL, 1e300, 32767.5, 98304.0}) {
    gaussian(radius, 1.0, &diameter, kernel.data());
    EXPECT_EQ(VX_GaussianKernelSize(radius, 0), 0) << radius;
  }
  gaussian(1.0, std::nan(""), &diameter, kernel.data());
  gaussian(1.0, HUGE_VAL, &diameter, kernel.data());
  gaussian(1.0, 1.0, nullptr, kernel.data());
  gaussian(1.0, 1.0, &diameter, nullptr);
  Check(rows);
  EXPECT_EQ(diameter, 7);
}

VX_Err Sum(const VX_UnoBuffer* from, VX_UnoBuffer* to, int32_t mode = 0, float gain_from = 1,
           float gain_to = 1) {
  return VX_AccumulateUnoBuffers(nullptr, from, mode, gain_from, gain_to, nullptr, nullptr, to);
}
VX_Err Convert(const VX_UnoBuffer* from, VX_UnoBuffer* to) {
  return VX_ConvertDeepUnoBuffer(nullptr, from, nullptr, 0, to);
}
VX_Err Transfer(const VX_UnoBuffer* from, const VX_UnoBuffer* mask, VX_UnoBuffer* to) {
  return VX_TransferUnoBuffers(nullptr, from, mask, 3, nullptr, nullptr, to);
}

TEST_F(FilterRefusals, DepthsModesGainsAndRadiiOfBuffers) {
  const M_Rect rect = {0, 0, 2, 2};
  const auto feather = [this](int32_t kind, double x, double y) {
    return VX_FeatherUnoBuffer(nullptr, kind, x, y, &byte);
  };
  const char *const kind = "unknown kind of feather", *const radius = "feather radius out of range";
  Check({{"fill words as bytes", [&] { return VX_FillUnoBuffer(1, &word); }},
         {"part of floats as bytes", [&] { return VX_FillUnoBuffer(1, rect, &real); }},
         {"fill bytes as words", [&] { return VX_FillDeepUnoBuffer(1, &byte); }},
         {"part of floats as words", [&] { return VX_FillDeepUnoBuffer(1, rect, &real); }},
         {"fill bytes as floats", [&] { return VX_FillFloatUnoBuffer(1, &byte); }},
         {"fade", [&] { return VX_FadeUnoBuffer(0, &old); }},
         {"invert", [&] { return VX_InvertUnoBuffer(nullptr, &old); }},
         {"convert from", [&] { return Convert(&old, &byte); }},
         {"convert to", [&] { return Convert(&byte, &old); }},
         {"transfer of old", [&] { return Transfer(&old, nullptr, &old); }},
         {"transfer, other source", [&] { return Transfer(&word, nullptr, &byte); }},
         {"transfer, other mask", [&] { return Transfer(&byte, &real, &byte); }},
         {"sum of words in bytes", [&] { return Sum(&word, &byte); }},
         {"sum of bytes in floats", [&] { return Sum(&byte, &real); }},
         {"sum of old", [&] { return Sum(&old, &word); }},
         {"sum, mode 3", [&] { return Sum(&byte, &byte, 3); }},
         {"sum, mode -1", [&] { return Sum(&byte, &word, -1); }},
         {"sum, gain below 0", [&] { return Sum(&byte, &byte, 0, -0.01f); }},
         {"sum, no number", [&] { return Sum(&real, &real, 0, 1, kNan); }},
         {"sum, infinite", [&] { return Sum(&word, &word, 0, kInfinite); }},
         {"sum, gain too large", [&] { return Sum(&word, &word, 0, 1, 32768); }},
         {"feather -1", [&] { return feather(-1, 1, 1); }, kind},
         {"feather 3", [&] { return feather(3, 1, 1); }, kind},
         {"feather below 0", [&] { return feather(0, -0.5, 1); }, radius},
         {"feather too large", [&] { return feather(1, 1, 32767.5); }, radius},
         {"feather, no number", [&] { return feather(2, std::nan(""), 1); }, radius},
         {"feather, infinite", [&] { return feather(2, 1, HUGE_VAL); }, radius},
         {"feather of old", [&] { return VX_FeatherUnoBuffer(nullptr, 0, 1, 1, &old); }, kOddDepth},
         {"new without result", [] { return VX_NewUnoBuffer(2, 2, nullptr); }, kDamaged},
         {"new deep without result", [] { return VX_NewDeepUnoBuffer(2, 2, nullptr); }, kDamaged}});
}

// Buffers that are null or have no samples, as each argument of each call. A wrong magic alone is
// reported, and the call goes on.
TEST_F(FilterRefusals, DamagedBuffers) {
  VX_UnoBuffer* const good = &byte;
  const M_Rect rect = {0, 0, 2, 2};
  using OnBuffer = std::function<VX_Err(VX_UnoBuffer*)>;
  const std::pair<const char*, OnBuffer> calls[] = {
      {"fill", [](VX_UnoBuffer* b) { return VX_FillUnoBuffer(1, b); }},
      {"fill rectangle", [&](VX_UnoBuffer* b) { return VX_FillUnoBuffer(1, rect, b); }},
      {"fade", [](VX_UnoBuffer* b) { return VX_FadeUnoBuffer(0.5, b); }},
      {"invert", [](VX_UnoBuffer* b) { return VX_InvertUnoBuffer(nullptr, b); }},
      {"convert from", [=](VX_UnoBuffer* b) { return Convert(b, good); }},
      {"convert to", [=](VX_UnoBuffer* b) { return Convert(good, b); }},
      {"transfer from", [=](VX_UnoBuffer* b) { return Transfer(b, good, good); }},
      {"transfer to", [=](VX_UnoBuffer* b) { return Transfer(good, nullptr, b); }},
      {"sum from", [=](VX_UnoBuffer* b) { return Sum(b, good); }},
      {"sum to", [=](VX_UnoBuffer* b) { return Sum(good, b, 0, 0.5f, 2); }},
      {"feather", [](VX_UnoBuffer* b) { return VX_FeatherUnoBuffer(nullptr, 0, 1, 1, b); }},
      {"transfer mask", [=](VX_UnoBuffer* b) { return Transfer(good, b, good); }}};
  VX_UnoBuffer lost(4, 3, 8), empty(4, 3, 8), wrong(4, 3, 8);
  void* nothing = nullptr;
  void** const kept[] = {std::exchange(lost.data, nullptr), std::exchange(empty.data, &nothing)};
  wrong.magic ^= 1;
  std::vector<Row> rows;
  for (const auto& [what, on] : calls) {
    for (VX_UnoBuffer* bad : {static_cast<VX_UnoBuffer*>(nullptr), &lost, &empty}) {
      if (bad == nullptr && what == std::string("transfer mask")) continue;  // null is no mask
      rows.push_back({what, [&on = on, bad] { return on(bad); }, kDamaged});
    }
  }
  Check(rows);
  for (const auto& [what, on] : calls) {
    EXPECT_EQ(on(&wrong), VX_Ok) << what;
    EXPECT_EQ(Reports().size(), 1u) << what;
  }
  lost.data = kept[0], empty.data = kept[1], wrong.magic ^= 1;
}

TEST_F(FilterRefusals, Scans) {
  std::vector<Row> rows;
  for (const auto scan : {&VX_BoxBlurDeepUnoScan, &VX_GBlurDeepUnoScan}) {
    const auto refused = [&](const char* what, int32_t start, int32_t end, uint16_t* memory,
                             uint16_t* samples) {
      for (const int32_t kind : {0, 1, 2}) {
        rows.push_back({what, [=] { return scan(kind, 10, start, end, 65536, memory, samples); }});
      }
    };
    refused("start", -1, 5, scratch.data(), line.data());
    refused("end", 0, 11, scratch.data(), line.data());
    refused("end", 0, INT32_MAX, scratch.data(), line.data());
    refused("turned", 6, 5, scratch.data(), line.data());
    refused("no line", 0, 10, scratch.data(), nullptr);
    refused("no scratch", 0, 10, nullptr, line.data());
    // If there is nothing to do, line and scratch may be null.
    EXPECT_EQ(scan(0, 10, 4, 4, 65536, nullptr, nullptr), VX_Ok);
    EXPECT_EQ(scan(1, 10, 0, 10, 0, nullptr, nullptr), VX_Ok);
    EXPECT_EQ(scan(2, 10, -9, 99, -65536, nullptr, nullptr), VX_Ok);
  }
  // No kernel has this radius, and the next radius has a kernel again.
  const auto gaussian = [this](VX_Fixed radius) {
    std::vector<uint16_t> memory(static_cast<size_t>(VX_UnoScanScratch(10, radius)));
    return VX_GBlurDeepUnoScan(1, 10, 0, 10, radius, memory.data(), line.data());
  };
  rows.push_back({"radius", [&] { return gaussian(INT32_MAX); }});
  Check(rows);
  line[5] = 30000;
  EXPECT_EQ(gaussian(3 << 16), VX_Ok);
  EXPECT_TRUE(line[5] < 30000 && line[4] > 9);
}

// The table's entries without a routine read no argument.
TEST_F(FilterRefusals, FastBlurs) {
  for (const VX_FastBlurFunc fast : {&VX_FastBlur_Straight, &VX_FastBlur_Premul}) {
    EXPECT_EQ(fast(nullptr, nullptr, -1, 0, nullptr), VX_ErrUnsupported);
  }
}

}  // namespace
