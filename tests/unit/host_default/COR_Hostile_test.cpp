// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Profiles that lie, and memory that runs out.

#include <cstdlib>
#include <random>

#include "host/VXHost.h"
#include "unit/ColorKit.h"

using namespace colorkit;

namespace {

// All memory of Little CMS comes from the host, which is watched here.
class COR_Hostile : public ColorTest {
 protected:
  void SetUp() override {
    ColorTest::SetUp();
    blocks_ = VXHost_GetMemory().blocks;
    const VXHost_Allocator watched = {Allocate, [](void* block, void*) { std::free(block); }, this};
    VXHost_SetAllocator(&watched);
  }
  void TearDown() override {
    EXPECT_EQ(VXHost_GetMemory().blocks, blocks_);
    VXHost_SetAllocator(nullptr);
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
  int64_t blocks_ = 0;
};

// Everything that can be done with a profile. The first failure.
QCE_Status Use(const COR_QCE_ProfilePtr& profile) {
  std::u16string text;
  _t_QCE_ID id;
  COR_QCE_ProfilePtr linear;
  float exponent = 0;
  QCE_Status status = COR_QCE_GetProfileDescription(profile, &text);
  if (!status) status = COR_QCE_GetProfileID(nullptr, profile, &id);
  if (!status) status = COR_QCE_GetToneExponent(profile, &exponent);
  if (!status) status = COR_QCE_GetLinearRGBProfile(profile, &linear);
  if (status) return status;
  EXPECT_TRUE(exponent > 0 && std::isfinite(exponent) && std::isfinite(1 / exponent)) << exponent;
  const float row[4] = {1, 0.25f, 2, -1};
  float out[4];
  for (const auto& [from, to] : {std::pair(profile, linear), std::pair(linear, profile)}) {
    for (const uint32_t format : {QCE_Format_Argb8, QCE_Format_ArgbFloat}) {
      COR_QCE_TransformPtr transform;
      status = COR_QCE_NewTransform(from, to, format, &transform);
      if (!status) status = COR_QCE_Apply(transform, format, row, format, out, 1, nullptr);
      if (status) return status;
    }
  }
  return QCE_Ok;
}

// The status must be one that a file can be blamed for.
void ExpectBlamed(QCE_Status status) {
  EXPECT_TRUE(status == QCE_Truncated || status == QCE_Damaged || status == QCE_WrongClass ||
              status == QCE_WrongModel || status == QCE_NoPrimaries || status == QCE_BadCurve)
      << std::hex << status;
}

TEST_F(COR_Hostile, EveryTruncation) {
  for (const Bytes& whole : {BytesOf(Named("sRGB")), WithCurve(Table({0, 9, 65535})).Write()}) {
    for (size_t size = 0; size < whole.size(); ++size) {
      // In a block of its own, so that a byte too far is seen.
      const Bytes cut(whole.begin(), whole.begin() + ptrdiff_t(size));
      COR_QCE_ProfilePtr profile;
      uint8_t none;
      const QCE_Status status =
          COR_QCE_ProfileFromMemory(size ? cut.data() : &none, size, &profile);
      ASSERT_EQ(status, size < 40 ? QCE_Damaged : QCE_Truncated) << size;
      ASSERT_FALSE(profile);
      // And with a claim that fits.
      if (size < 4) continue;
      Bytes honest = cut;
      PutWord(&honest, 0, uint32_t(size));
      const QCE_Status other = Open(honest, &profile);
      if (other != QCE_Ok) ExpectBlamed(other);
    }
  }
}

TEST_F(COR_Hostile, RandomChanges) {
  std::mt19937 random(20260217);
  int good = 0;
  for (const Bytes& whole : {BytesOf(Named("sRGB")), WithCurve(Table(PowerTable(2, 40))).Write(),
                             WithCurve(Formula(4, {2, 1, 0, 1, 0.5, 0, 0})).Write()}) {
    for (int round = 0; round < 700; ++round) {
      Bytes changed = whole;
      const size_t changes = 1 + random() % 4;
      for (size_t i = 0; i < changes; ++i) {
        uint8_t& byte = changed[random() % changed.size()];
        byte = uint8_t(random() % 3 == 0 ? 0xFF
                       : random() % 2    ? random()
                                         : byte ^ (1 << random() % 8));
      }
      COR_QCE_ProfilePtr profile;
      const QCE_Status status = Open(changed, &profile);
      if (status != QCE_Ok) {
        ExpectBlamed(status);
      } else {
        ++good;
        EXPECT_EQ(Use(profile), QCE_Ok);
      }
    }
  }
  EXPECT_GT(good, 300) << "most changes are to be harmless ones";
  EXPECT_LT(largest_, size_t{2} << 20);
}

TEST_F(COR_Hostile, HeadersThatAreNotForUs) {
  const struct {
    size_t offset;
    uint32_t word;
    QCE_Status status;
  } cases[] = {{12, Word("link"), QCE_WrongClass},
               {12, Word("abst"), QCE_WrongClass},
               {12, Word("nmcl"), QCE_WrongClass},
               {12, Word("scnr"), QCE_Ok},
               {12, Word("prtr"), QCE_Ok},
               {12, Word("spac"), QCE_Ok},
               {16, Word("CMYK"), QCE_WrongModel},
               {16, Word("Lab "), QCE_WrongModel},
               {16, Word("GRAY"), QCE_WrongModel},
               {36, Word("ACSP"), QCE_Damaged},
               {0, 100u << 20, QCE_Truncated},
               {0, 0xFFFFFFFF, QCE_Truncated},
               {0, 131, QCE_Damaged},
               {0, 0, QCE_Damaged},
               {128, 0, QCE_NoPrimaries},
               {128, 0xFFFFFFFF, QCE_Damaged},
               {132, Word("xxxx"), QCE_Ok},
               {132 + 12 * 2, Word("xxxx"), QCE_NoPrimaries},
               {132 + 12 * 5, Word("xxxx"), QCE_NoPrimaries},
               {132 + 12 * 2 + 8, 100u << 20, QCE_Damaged},
               {132 + 12 * 5 + 4, 0xFFFFFFF0, QCE_Damaged}};
  for (const auto& [offset, word, status] : cases) {
    Bytes bytes = WithCurve(Table({563})).Write();
    PutWord(&bytes, offset, word);
    COR_QCE_ProfilePtr profile;
    EXPECT_EQ(Open(bytes, &profile), status) << offset << " " << std::hex << word;
    EXPECT_EQ(profile != nullptr, status == QCE_Ok);
  }
  COR_QCE_ProfilePtr profile;
  EXPECT_EQ(Open(Bytes(COR_QCE_MaxProfileBytes + 1), &profile), QCE_TooLarge);
  EXPECT_LT(largest_, size_t{2} << 20) << "nothing is allocated by its claim";
}

TEST_F(COR_Hostile, CurvesAndPrimariesWithoutUse) {
  Bytes many = Table({0, 65535});
  PutWord(&many, 8, 0x7FFFFFFF);
  const struct {
    const char* what;
    Bytes curve;
    QCE_Status status;
  } curves[] = {{"flat at black", Table({0, 0, 0}), QCE_BadCurve},
                {"flat at white", Table({65535, 65535}), QCE_BadCurve},
                {"falling", Table({65535, 30000, 0}), QCE_BadCurve},
                {"no exponent", Table({0}), QCE_BadCurve},
                {"constant formula", Formula(2, {1, 0, 0, 0.5}), QCE_BadCurve},
                {"falling formula", Formula(1, {1, -1, 1}), QCE_BadCurve},
                {"exponent below 0", Formula(0, {-1}), QCE_BadCurve},
                {"unknown formula", Formula(5, {1, 1, 1, 1, 1, 1, 1}), QCE_Damaged},
                {"two thousand million entries", many, QCE_Damaged},
                {"other type", Xyz({1, 1, 1}), QCE_Damaged},
                {"a step", Table({0, 0, 65535, 65535}), QCE_Ok},
                {"a dip", Table({0, 30000, 20000, 65535}), QCE_Ok}};
  for (const auto& [what, curve, status] : curves) {
    COR_QCE_ProfilePtr profile;
    EXPECT_EQ(Open(WithCurve(curve).Write(), &profile), status) << what;
    if (!profile) continue;
    EXPECT_EQ(Use(profile), QCE_Ok) << what;
  }
  for (const Bytes& blue : {Xyz({0, 0, 0}), Xyz({-2, -2, -2}), Xyz({0.43607, 0.22249, 0.01392})}) {
    Profile profile = WithCurve(Table({563}));
    profile[Word("bXYZ")] = blue;
    COR_QCE_ProfilePtr out;
    EXPECT_EQ(Open(profile.Write(), &out), QCE_Damaged);
  }
}

TEST_F(COR_Hostile, EachAllocationMayFail) {
  const Bytes bytes = WithCurve(Table(PowerTable(2, 40))).Write();
  const auto attempt = [&] {
    COR_QCE_ProfilePtr profile, built_in;
    QCE_Status status = Open(bytes, &profile);
    EXPECT_EQ(profile != nullptr, status == QCE_Ok);
    if (!status) status = COR_QCE_ProfileFromName("ProPhoto", &built_in);
    EXPECT_EQ(built_in != nullptr, !status);
    if (!status) status = Use(profile);
    return status;
  };
  ASSERT_EQ(attempt(), QCE_Ok);
  const int count = attempts_;
  ASSERT_GT(count, 50);
  for (int n = 1; n <= count; ++n) {
    attempts_ = 0;
    fail_at_ = n;
    EXPECT_EQ(attempt(), QCE_OutOfMemory) << n << " of " << count;
  }
}

}  // namespace
