// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Arguments that filters and one-channel buffers refuse: the code VX_ErrBadParameter and one
// report. One row for each case. The random commands check that a refusal changes no byte, and that
// worlds and buffers without pixels are refused.

#include <cmath>
#include <functional>
#include <limits>

#include "VX/VX_Blur.h"
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

constexpr char kOddDepth[] = "Unknown world bitdepth in##CONDITIONNAME";
constexpr char kDamaged[] = "damaged mask buffer";
const float kNan = std::nanf(""), kInfinite = std::numeric_limits<float>::infinity();

class FilterRefusals : public testing::Test {
 protected:
  FilterRefusals() { Reports(); }
  void Check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      VX_Err code = VX_Ok;
      const VX_Err thrown = Thrown([&] { code = row.call(); });
      EXPECT_EQ(code + thrown, VX_ErrBadParameter) << row.what;
      const ReportList reports = Reports();
      ASSERT_EQ(reports.size(), 1u) << row.what;
      EXPECT_TRUE(row.report == nullptr || reports[0].second == row.report)
          << row.what << ": " << reports[0].second;
    }
  }

  GuardedWorld<VX_Pixel8> src{5, 4, 3, 1}, dst{5, 4, 3, 2};
  GuardedWorld<VX_Pixel16> deep{5, 4, 0, 3};
  VX_UnoBuffer byte{4, 3, 8}, word{4, 3, 16}, real{4, 3, 32}, old{4, 3, 1};
  std::vector<uint16_t> line = std::vector<uint16_t>(10, 9), scratch = std::vector<uint16_t>(100);
};

// The two passes and the whole blur, one call for each row of the table.
TEST_F(FilterRefusals, Blurs) {
  VX_WorldX<VX_Pixel8> from(&src.world, true), to(&dst.world, true);
  VX_WorldX<VX_Pixel16> other(&deep.world, true);
  struct Case {
    const char* what;
    const VX_World* in;
    VX_World* out;
    float radius = 2;
    int32_t iterations = 1;
  };
  std::vector<Case> cases = {{"deep source", &other, &to},
                             {"deep destination", &from, &other},
                             {"one world twice", &to, &to},
                             {"no iteration", &from, &to, 2, 0},
                             {"iterations below 0", &from, &to, 2, INT32_MIN},
                             {"reach", &from, &to, VX_Blur_MaxRadius, 9},
                             {"reach", &from, &to, 32766.5f, 70000},
                             {"reach", &from, &to, 0.5f, VX_Blur_MaxReach + 1},
                             {"reach", &from, &to, 1, INT32_MAX}};
  for (const float radius :
       {-1.0f, kNan, kInfinite, -kInfinite, 3e38f, std::nextafterf(VX_Blur_MaxRadius, kInfinite)}) {
    cases.push_back({"radius", &from, &to, radius});
  }
  int32_t x = 7, y = 7;
  std::vector<Row> rows;
  for (const auto& [what, in, out, radius, iterations] : cases) {
    rows.push_back({what, [=]() -> VX_Err {
                      VX_BoxBlur1D(nullptr, in, radius, iterations, 15, 0, 0, 0, 0, 0, out);
                      return VX_Ok;
                    }});
    if (iterations == 1) {
      rows.push_back({what, [=]() -> VX_Err {
                        VX_GaussianBlur1D(nullptr, in, radius, 15, 0, 0, 0, 0, 0, out);
                        return VX_Ok;
                      }});
    }
    const VX_BlurSpec spec = {VX_BlurKind_Box, 2, radius, iterations, 15};
    rows.push_back({what, [=] { return VX_BlurWorld(nullptr, in, &spec, out); }});
    if (in == &from && out == &to) {
      rows.push_back({what, [=, &x, &y] { return VX_BlurReach(&spec, &x, &y); }});
    }
  }
  static const VX_BlurSpec good = {VX_BlurKind_Gaussian, 2, 2, 1, 15}, unknown = {2, 2, 2, 1, 15};
  rows.push_back({"kind", [&] { return VX_BlurWorld(nullptr, &from, &unknown, &to); }});
  rows.push_back({"no record", [&] { return VX_BlurWorld(nullptr, &from, nullptr, &to); }});
  rows.push_back({"reach without record", [&] { return VX_BlurReach(nullptr, &x, &y); }});
  rows.push_back({"reach without result", [&] { return VX_BlurReach(&good, nullptr, &y); }});
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
  EXPECT_TRUE(x == 7 && y == 7);
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

TEST_F(FilterRefusals, Scans) {
  struct Case {
    const char* what;
    int32_t start, end;
    bool no_scratch = false, no_line = false;
    VX_Fixed radius = 65536;
  };
  std::vector<Row> rows;
  for (const auto scan : {&VX_BoxBlurDeepUnoScan, &VX_GBlurDeepUnoScan}) {
    const auto run = [this, scan](int32_t kind, const Case& c) {
      return scan(kind, 10, c.start, c.end, c.radius, c.no_scratch ? nullptr : scratch.data(),
                  c.no_line ? nullptr : line.data());
    };
    for (const Case& c :
         {Case{"start", -1, 5}, Case{"end", 0, 11}, Case{"end", 0, INT32_MAX}, Case{"turned", 6, 5},
          Case{"no line", 0, 10, false, true}, Case{"no scratch", 0, 10, true}}) {
      for (const int32_t kind : {0, 1, 2}) rows.push_back({c.what, [=] { return run(kind, c); }});
    }
    // If there is nothing to do, line and scratch may be null.
    EXPECT_EQ(run(0, {"", 4, 4, true, true}), VX_Ok);
    EXPECT_EQ(run(1, {"", 0, 10, true, true, 0}), VX_Ok);
    EXPECT_EQ(run(2, {"", -9, 99, true, true, -65536}), VX_Ok);
  }
  // No kernel has this radius.
  std::vector<uint16_t> large(static_cast<size_t>(VX_UnoScanScratch(10, INT32_MAX)));
  rows.push_back({"radius", [&] {
                    return VX_GBlurDeepUnoScan(1, 10, 0, 10, INT32_MAX, large.data(), line.data());
                  }});
  Check(rows);
}

}  // namespace
