// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The entry of the cache of motion, and its record.

#include "frameblend/cache/VX_VeltorCache_Stuff.h"

#include <gtest/gtest.h>

#include <bit>
#include <functional>
#include <memory>
#include <vector>

#include "frameblend/cache/FnRecord.h"
#include "host/VXHost.h"

namespace {

constexpr int32_t kWidth = 5, kHeight = 3;

HvVec2 VectorAt(int32_t i, int32_t salt) {
  return i == 4 ? HvVec2::Invalid() : HvVec2{0.25f * static_cast<float>(i), -1.0f / (salt + 2)};
}

std::unique_ptr<FnVeltorVectors> MakeVectors() {
  auto vectors = std::make_unique<FnVeltorVectors>();
  int32_t salt = 0;
  for (FnVectorMap* const field : {&vectors->forward, &vectors->backward}) {
    EXPECT_TRUE(field->allocate(kWidth, kHeight));
    for (int32_t i = 0; i < kWidth * kHeight; ++i) {
      field->row(i / kWidth)[i % kWidth] = VectorAt(i, salt);
    }
    field->setEdgeModes(FnEdge_Hold, FnEdge_Mirror);
    field->setOrigin(10 + salt, -20);
    ++salt;
  }
  for (FnTexIndexer* const axes : {&vectors->firstAxes, &vectors->secondAxes}) {
    axes->x.SetSize(kWidth);
    axes->y.SetSize(kHeight);
    axes->setEdgeModes(FnEdge_Hold, FnEdge_Hold);
  }
  vectors->secondAxes.x.SetRange(1, 3);
  return vectors;
}

// The words of the record of MakeVectors, from the description of the format.
std::vector<uint32_t> RecordWords() {
  const auto f = [](float value) { return std::bit_cast<uint32_t>(value); };
  const auto i = [](int32_t value) { return static_cast<uint32_t>(value); };
  std::vector<uint32_t> words = {
      5, 3,                                                  // size
      5, 0,     0,  1, 0, 4, 3, 0,      0,      1, 0, 2, 0,  // first luminance
      5, 0,     0,  1, 1, 3, 3, 0,      0,      1, 0, 2, 0,  // second luminance
      5, f(10), 10, 1, 0, 4, 3, f(-20), i(-20), 2, 0, 2, 0,  // forward
      5, f(11), 11, 1, 0, 4, 3, f(-20), i(-20), 2, 0, 2, 0,  // backward
  };
  for (int32_t salt : {0, 1}) {
    for (int32_t k = 0; k < kWidth * kHeight; ++k) {
      words.push_back(f(VectorAt(k, salt).x));
      words.push_back(f(VectorAt(k, salt).y));
    }
  }
  return words;
}

struct HostFile {
  HostFile() { EXPECT_EQ(FILE_NewTemporary(nullptr, &ref), 0); }
  ~HostFile() { FILE_Close(ref); }
  explicit HostFile(const std::vector<uint32_t>& words, size_t bytes) : HostFile() {
    EXPECT_EQ(FILE_NWrite(ref, static_cast<int64_t>(bytes), words.data()), 0);
    FILE_SetPosition(ref, 0);
  }
  FILE_Ref* ref = nullptr;
};

int32_t CodeOf(const std::function<void()>& call) {
  try {
    call();
  } catch (int32_t code) {
    return code;
  }
  return 0;
}

using Stuff = VX_VeltorCache_Stuff;

TEST(MotionCacheEntry, WritesAndReadsTheRecord) {
  Stuff entry(7, {0, 1}, {1, 1}, MakeVectors());
  EXPECT_TRUE(entry.CanGoToDisk());
  EXPECT_FALSE(entry.IsOnDisk());
  EXPECT_EQ(entry.size(), (5 * 3 + 34) * 24);
  const std::vector<uint32_t> want = RecordWords();
  ASSERT_EQ(want.size() * 4, 216u + 16 * 5 * 3);
  HostFile file;
  entry.WriteToDisk(file.ref);
  std::vector<uint32_t> got(want.size());
  EXPECT_EQ(FILE_GetPosition(file.ref), FnRecordBytes(kWidth, kHeight));
  FILE_SetPosition(file.ref, 0);
  ASSERT_EQ(FILE_NRead(file.ref, FnRecordBytes(kWidth, kHeight), got.data()), 0);
  EXPECT_EQ(got, want);

  EXPECT_TRUE(entry.HasData());
  EXPECT_TRUE(entry.purge());
  EXPECT_FALSE(entry.HasData());
  EXPECT_FALSE(entry.purge());
  EXPECT_EQ(entry.size(), 0);
  FILE_SetPosition(file.ref, 0);
  entry.ReadFromDisk(file.ref);
  ASSERT_TRUE(entry.HasData());
  const FnVectorMap& backward = entry.vectors->backward;
  EXPECT_EQ(backward.at(11 + 3, -20), VectorAt(3, 1));
  EXPECT_EQ(backward.at(11 + 3, -20 - 1), VectorAt(3, 1)) << "mirrored";
}

TEST(MotionCacheEntry, RefusesRecords) {
  Stuff entry(7, {0, 1}, {1, 1}, nullptr);
  std::vector<uint32_t> words = RecordWords();
  for (size_t bytes : {0, 3, 215, 216, 217, 335, 455}) {
    const HostFile file(words, bytes);
    EXPECT_EQ(CodeOf([&] { entry.ReadFromDisk(file.ref); }), FILE_CannotRead) << bytes;
    EXPECT_FALSE(entry.HasData());
  }
  constexpr uint32_t kMinus = 0xffffffff;
  const struct {
    size_t index;
    uint32_t word;
  } cases[] = {
      {0, kMinus}, {1, kMinus}, {0, 1u << 30}, {0, 6},       // sizes; too large for the fields
      {2, 4},      {8, 2},      {5, 4},        {5, kMinus},  // a descriptor: size, edge mode
      {6, kMinus}, {7, 5},      {6, 6},        {14, 1},      // range, last word
      {28, 0},     {28 + 4, 6}, {41 + 5, 5},   {53, 1},      // the other descriptors
  };
  for (const auto& [index, word] : cases) {
    std::vector<uint32_t> wrong = words;
    wrong[index] = word;
    const HostFile file(wrong, wrong.size() * 4);
    EXPECT_EQ(CodeOf([&] { entry.ReadFromDisk(file.ref); }), 3) << index << ": " << word;
    EXPECT_FALSE(entry.HasData());
  }
  FILE_Ref* none = nullptr;
  Stuff full(7, {0, 1}, {1, 1}, MakeVectors());
  EXPECT_EQ(CodeOf([&] { full.WriteToDisk(none); }), 3);
}

TEST(MotionCacheEntry, IsOrderedByTimes) {
  const struct {
    T_Time a, b;
  } times[] = {{{-1, 1}, {9, 1}}, {{1, 4}, {1, 2}}, {{2, 8}, {3, 4}}, {{1, 2}, {0, 1}}};
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      const Stuff one(i, times[i].a, times[i].b, nullptr), two(j, times[j].a, times[j].b, nullptr);
      EXPECT_EQ(one.less(two), i < j) << i << " " << j;
    }
  }
  struct Other final : MC_Stuff {
    bool less(const MC_Stuff&) const override { return false; }
    int64_t size() const override { return 0; }
    bool purge() override { return false; }
    bool HasData() const override { return false; }
  } other;
  VXHost_TakeReports();
  const Stuff entry(0, {0, 1}, {0, 1}, nullptr);
  EXPECT_EQ(CodeOf([&] { entry.less(other); }), 3);
  const std::vector<VXHost_Report> reports = VXHost_TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].text, "Stuff should be Veltor Cache Stuff");
  EXPECT_EQ(reports[0].severity, 8);
}

}  // namespace
