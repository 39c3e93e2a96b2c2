// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Damaged profiles, and allocations that fail.

#include <cstdlib>
#include <random>

#include "host/VXHost.h"
#include "unit/ColorKit.h"

using namespace colorkit;

namespace {

// All memory of Little CMS is allocated by the host, which is watched here.
class COR_Hostile : public ColorTest {
 protected:
  void SetUp() override {
    ColorTest::SetUp();
    const VXHost_Allocator watched = {Allocate, [](void* block, void*) { std::free(block); }, this};
    VXHost_SetAllocator(&watched);
  }
  void TearDown() override {
    EXPECT_EQ(VXHost_GetMemory().blocks, blocks_);
    VXHost_SetAllocator(nullptr);
    EXPECT_LT(largest_, size_t{2} << 20) << "a block has the size that a file declares";
    ColorTest::TearDown();
  }

  static void* Allocate(size_t size, void* context) {
    auto* self = static_cast<COR_Hostile*>(context);
    self->largest_ = std::max(self->largest_, size);
    return ++self->attempts_ == self->fail_at_ ? nullptr : std::malloc(size);
  }

  size_t largest_ = 0;
  int attempts_ = 0, fail_at_ = 0;

 private:
  const int64_t blocks_ = VXHost_GetMemory().blocks;
};

// Opens a file and makes all calls with the profile. Returns the first failure.
QCE_Status Use(const Bytes& file) {
  COR_QCE_ProfilePtr profile, linear;
  std::u16string text;
  _t_QCE_ID id;
  float exponent = 1;
  QCE_Status status = Open(file, &profile);
  EXPECT_EQ(profile != nullptr, status == QCE_Ok);
  if (!status) status = COR_QCE_GetProfileDescription(profile, &text);
  if (!status) status = COR_QCE_GetProfileID(nullptr, profile, &id);
  if (!status) status = COR_QCE_GetToneExponent(profile, &exponent);
  if (!status) status = COR_QCE_GetLinearRGBProfile(profile, &linear);
  EXPECT_TRUE(exponent > 0 && std::isfinite(exponent) && std::isfinite(1 / exponent)) << exponent;
  const float row[4] = {1, 0.25f, 2, -1};
  float out[4];
  for (const auto& [from, to] : {std::pair(profile, linear), std::pair(linear, profile)}) {
    for (const uint32_t format : {QCE_Format_Argb8, QCE_Format_ArgbFloat}) {
      COR_QCE_TransformPtr transform;
      if (!status) status = COR_QCE_NewTransform(from, to, format, &transform);
      if (!status) status = COR_QCE_Apply(transform, format, row, format, out, 1, nullptr);
    }
  }
  return status;
}

// A file works, or the status names its fault.
bool UseOrBlame(const Bytes& file) {
  const QCE_Status status = Use(file);
  EXPECT_TRUE(status == QCE_Ok || status == QCE_Truncated || status == QCE_Damaged ||
              status == QCE_WrongClass || status == QCE_WrongModel || status == QCE_NoPrimaries ||
              status == QCE_BadCurve)
      << std::hex << status;
  return status == QCE_Ok;
}

TEST_F(COR_Hostile, TruncatedAndChangedFiles) {
  std::mt19937 random(20260217);
  int good = 0;
  for (const Bytes& whole : {BytesOf(Named("sRGB")), FileWith(TableOf(Srgb, 40)),
                             FileWith(Formula(4, {2, 1, 0, 1, 0.5, 0, 0}))}) {
    for (size_t size = 1; size < whole.size(); ++size) {
      // In a block of its own, so that the sanitizer finds a read after its end.
      Bytes cut(whole.begin(), whole.begin() + ptrdiff_t(size));
      ASSERT_EQ(Use(cut), size < 40 ? QCE_Damaged : QCE_Truncated) << size;
      if (size < 4) continue;
      PutWord(&cut, 0, uint32_t(size));
      UseOrBlame(cut);
    }
    for (int round = 0; round < 700; ++round) {
      Bytes changed = whole;
      for (size_t changes = 1 + random() % 4; changes > 0; --changes) {
        uint8_t& byte = changed[random() % changed.size()];
        const uint8_t values[] = {0xFF, uint8_t(random()), uint8_t(byte ^ (1 << random() % 8))};
        byte = values[random() % 3];
      }
      good += UseOrBlame(changed);
    }
  }
  EXPECT_GT(good, 300) << "most changes are harmless";
}

TEST_F(COR_Hostile, WrongFieldsCurvesAndPrimaries) {
  const auto with = [](size_t offset, uint32_t word) {
    Bytes file = FileWith(Table({563}));
    PutWord(&file, offset, word);
    return file;
  };
  const auto blue = [](double x, double y, double z) {
    Tags tags = WithCurve(Table({563}));
    tags["bXYZ"] = Xyz({x, y, z});
    return FileOf(tags);
  };
  // Entries of the tag table, in the order of the names.
  constexpr size_t kBlueCurve = 132, kDescription = 132 + 12 * 2, kRedPrimary = 132 + 12 * 6;
  Bytes many = Table({0, 65535});
  PutWord(&many, 8, 0x7FFFFFFF);
  const struct {
    Bytes file;
    QCE_Status status;
  } cases[] = {
      {with(12, Word("link")), QCE_WrongClass},
      {with(12, Word("scnr")), QCE_Ok},
      {with(12, Word("prtr")), QCE_Ok},
      {with(16, Word("CMYK")), QCE_WrongModel},
      {with(36, Word("ACSP")), QCE_Damaged},
      {with(0, 0xFFFFFFFF), QCE_Truncated},
      {with(0, 131), QCE_Damaged},
      {with(128, 0), QCE_NoPrimaries},
      {with(128, 0xFFFFFFFF), QCE_Damaged},
      {with(kDescription, Word("xxxx")), QCE_Ok},
      {with(kRedPrimary, Word("xxxx")), QCE_NoPrimaries},
      {with(kBlueCurve, Word("xxxx")), QCE_NoPrimaries},
      {with(kRedPrimary + 8, 100u << 20), QCE_Damaged},
      {with(kBlueCurve + 4, 0xFFFFFFF0), QCE_Damaged},
      {Bytes(COR_QCE_MaxProfileBytes + 1), QCE_TooLarge},
      {FileWith(Table({65535, 65535})), QCE_BadCurve},  // constant
      {FileWith(Table({65535, 0})), QCE_BadCurve},      // decreasing
      {FileWith(Table({0})), QCE_BadCurve},             // no exponent
      {FileWith(Formula(1, {1, -1, 1})), QCE_BadCurve},
      {FileWith(Formula(0, {-1})), QCE_BadCurve},
      {FileWith(Formula(5, {1, 1, 1, 1, 1, 1, 1})), QCE_Damaged},  // undefined
      {FileWith(many), QCE_Damaged},
      {FileWith(Xyz({1, 1, 1})), QCE_Damaged},
      {FileWith(Table({0, 0, 65535, 65535})), QCE_Ok},  // a step
      {FileWith(Table({0, 30000, 20000, 65535})), QCE_Ok},
      {blue(0, 0, 0), QCE_Damaged},
      {blue(-2, -2, -2), QCE_Damaged},
      {blue(0.43607, 0.22249, 0.01392), QCE_Damaged},  // that of red
  };
  for (const auto& c : cases) EXPECT_EQ(Use(c.file), c.status) << "case " << &c - cases;
}

TEST_F(COR_Hostile, EachAllocationMayFail) {
  const Bytes file = FileWith(TableOf(Srgb, 40));
  const auto attempt = [&] {
    COR_QCE_ProfilePtr built_in;
    const QCE_Status status = COR_QCE_ProfileFromName("ProPhoto", &built_in);
    EXPECT_EQ(built_in != nullptr, !status);
    return status ? status : Use(file);
  };
  ASSERT_EQ(attempt(), QCE_Ok);
  const int count = attempts_;
  ASSERT_GT(count, 50);
  for (fail_at_ = 1; fail_at_ <= count; ++fail_at_) {
    attempts_ = 0;
    EXPECT_EQ(attempt(), QCE_OutOfMemory) << fail_at_ << " of " << count;
  }
}

}  // namespace
