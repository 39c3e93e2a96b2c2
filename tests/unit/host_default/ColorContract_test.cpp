// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Calls of the colour engine: arguments, statuses, built-in profiles, pools.

#include <cctype>
#include <cstring>
#include <set>

#include "unit/ColorKit.h"

using namespace colorkit;

namespace {

using ColorContract = ColorTest;

TEST_F(ColorContract, WithoutAnEngine) {
  const COR_QCE_ProfilePtr profile = Named("sRGB");
  COR_QCE_ProfilePool* pool = nullptr;
  ASSERT_EQ(COR_QCE_NewProfilePool(&pool), QCE_Ok);
  IdOf(profile, pool);
  EXPECT_FALSE(COR_BindClient(nullptr));
  COR_ReleaseClient();
  COR_QCE_DisposeProfilePool(pool);
  COR_QCE_DisposeProfilePool(nullptr);
  COR_QCE_ProfilePtr out;
  float exponent = 7;
  EXPECT_EQ(COR_QCE_ProfileFromName("sRGB", &out), QCE_NotAvailable);
  EXPECT_EQ(COR_QCE_GetToneExponent(profile, &exponent), QCE_NotAvailable);
  EXPECT_EQ(COR_QCE_Apply(nullptr, 0, nullptr, 0, nullptr, 0, nullptr), QCE_NotAvailable);
  EXPECT_EQ(COR_QCE_BuiltInProfileName(0), nullptr);
  EXPECT_EQ(exponent, 7);
  EXPECT_FALSE(out);
}

TEST_F(ColorContract, StatusesAreToldApartAndThrown) {
  std::set<std::string> texts;
  const std::vector<QCE_Status> all = {
      QCE_Ok,          QCE_BadArgument, QCE_OutOfMemory, QCE_NotAvailable, QCE_CannotRead,
      QCE_TooLarge,    QCE_Truncated,   QCE_Damaged,     QCE_WrongClass,   QCE_WrongModel,
      QCE_NoPrimaries, QCE_BadCurve,    QCE_UnknownName, QCE_UnknownID,    12345};
  for (const QCE_Status status : all) {
    EXPECT_TRUE(texts.insert(COR_QCE_StatusText(status)).second) << status;
  }
  EXPECT_NO_THROW(QCE_Error(QCE_Ok));
  try {
    QCE_Error(QCE_Damaged);
    FAIL();
  } catch (int32_t status) {
    EXPECT_EQ(status, QCE_Damaged);
  }
}

TEST_F(ColorContract, ArgumentsThatAreMissingOrWrong) {
  const COR_QCE_ProfilePtr srgb = Named("sRGB");
  const Bytes bytes = BytesOf(srgb);
  COR_QCE_ProfilePtr profile;
  COR_QCE_TransformPtr transform, good;
  COR_QCE_ProfilePool* pool = nullptr;
  ASSERT_EQ(COR_QCE_NewProfilePool(&pool), QCE_Ok);
  constexpr uint32_t k16 = QCE_Format_Argb16, k8 = QCE_Format_Argb8;
  ASSERT_EQ(COR_QCE_NewTransform(srgb, Named("Rec.709"), k16, &good), QCE_Ok);
  const COR_QCE_Options wrong_count = {2, QCE_Option_KeepAlpha, 1}, wrong_code = {1, 5, 1};
  _t_QCE_ID id = {};
  std::u16string text;
  Bytes out;
  std::vector<uint16_t> row(8, 77);
  const QCE_Status statuses[] = {
      COR_QCE_ProfileFromMemory(nullptr, 9, &profile),
      COR_QCE_ProfileFromMemory(bytes.data(), bytes.size(), nullptr),
      COR_QCE_ProfileFromFile(nullptr, &profile),
      COR_QCE_ProfileFromFile("/", nullptr),
      COR_QCE_ProfileFromName(nullptr, &profile),
      COR_QCE_ProfileFromName("sRGB", nullptr),
      COR_QCE_GetProfileDescription(nullptr, &text),
      COR_QCE_GetProfileDescription(srgb, nullptr),
      COR_QCE_GetProfileBytes(nullptr, &out),
      COR_QCE_GetProfileBytes(srgb, nullptr),
      COR_QCE_GetToneExponent(srgb, nullptr),
      COR_QCE_GetLinearRGBProfile(nullptr, &profile),
      COR_QCE_GetLinearRGBProfile(srgb, nullptr),
      COR_QCE_NewProfilePool(nullptr),
      COR_QCE_GetProfileID(pool, nullptr, &id),
      COR_QCE_GetProfileID(pool, srgb, nullptr),
      COR_QCE_GetProfileByID(nullptr, id, &profile),
      COR_QCE_GetProfileByID(pool, id, nullptr),
      COR_QCE_NewTransform(nullptr, srgb, k8, &transform),
      COR_QCE_NewTransform(srgb, nullptr, k8, &transform),
      COR_QCE_NewTransform(srgb, srgb, k8, nullptr),
      COR_QCE_NewTransform(srgb, srgb, 8, &transform),
      COR_QCE_Apply(nullptr, k16, row.data(), k16, row.data(), 2, nullptr),
      COR_QCE_Apply(good, k8, row.data(), k16, row.data(), 2, nullptr),
      COR_QCE_Apply(good, k16, row.data(), k8, row.data(), 2, nullptr),
      COR_QCE_Apply(good, k16, nullptr, k16, row.data(), 2, nullptr),
      COR_QCE_Apply(good, k16, row.data(), k16, nullptr, 2, nullptr),
      COR_QCE_Apply(good, k16, row.data(), k16, row.data(), -1, nullptr),
      COR_QCE_Apply(good, k16, row.data(), k16, row.data(), 2, &wrong_count),
      COR_QCE_Apply(good, k16, row.data(), k16, row.data(), 2, &wrong_code),
  };
  for (size_t i = 0; i < std::size(statuses); ++i) EXPECT_EQ(statuses[i], QCE_BadArgument) << i;
  EXPECT_EQ(COR_QCE_Apply(good, k16, row.data(), k16, row.data(), 0, nullptr), QCE_Ok);
  EXPECT_EQ(row, std::vector<uint16_t>(8, 77));
  EXPECT_EQ(COR_QCE_ProfileFromFile("/gone/profile.icc", &profile), QCE_CannotRead);
  EXPECT_EQ(COR_QCE_ProfileFromMemory("no profile", 10, &profile), QCE_Damaged);
  for (const char* unknown : {"", "sRGB ", "srg", "gamma"}) {
    EXPECT_EQ(COR_QCE_ProfileFromName(unknown, &profile), QCE_UnknownName);
  }
  EXPECT_FALSE(profile || transform);
  COR_QCE_DisposeProfilePool(pool);
}

TEST_F(ColorContract, BuiltInsAreTheSameOnEveryCall) {
  std::set<std::string> seen;
  int32_t count = 0;
  for (; const char* name = COR_QCE_BuiltInProfileName(count); ++count) {
    std::string loud = name;
    for (char& c : loud) c = char(std::toupper(c));
    const Bytes bytes = BytesOf(Named(name));
    EXPECT_EQ(bytes, BytesOf(Named(loud.c_str()))) << name;
    EXPECT_EQ(DescriptionOf(Opened(bytes)), std::u16string(name, name + std::strlen(name)));
    EXPECT_TRUE(seen.insert({bytes.begin(), bytes.end()}).second) << name;
  }
  EXPECT_EQ(count, 8);
  EXPECT_EQ(COR_QCE_BuiltInProfileName(-1), nullptr);
  EXPECT_EQ(ExponentOf(nullptr), ExponentOf(Named("sRGB")));
  EXPECT_NEAR(ExponentOf(Named("gamma 1.8")), 1.8, 1e-5);
}

TEST_F(ColorContract, PoolsKeepTheFirstOfEachIdentity) {
  COR_QCE_ProfilePool* pool = nullptr;
  ASSERT_EQ(COR_QCE_NewProfilePool(&pool), QCE_Ok);
  const COR_QCE_ProfilePtr first = Named("sRGB"), second = Named("sRGB"), other = Named("ProPhoto");
  const _t_QCE_ID id = IdOf(first);
  EXPECT_FALSE(id == _t_QCE_ID{});
  COR_QCE_ProfilePtr found;
  EXPECT_EQ(COR_QCE_GetProfileByID(pool, id, &found), QCE_UnknownID);
  EXPECT_EQ(COR_QCE_GetProfileByID(pool, _t_QCE_ID{}, &found), QCE_UnknownID);
  EXPECT_FALSE(found);
  EXPECT_EQ(IdOf(first, pool), id);
  EXPECT_EQ(IdOf(second, pool), id);
  const _t_QCE_ID other_id = IdOf(other, pool);
  EXPECT_EQ(COR_QCE_GetProfileByID(pool, id, &found), QCE_Ok);
  EXPECT_EQ(found, first);
  EXPECT_EQ(COR_QCE_GetProfileByID(pool, other_id, &found), QCE_Ok);
  EXPECT_EQ(found, other);
  COR_QCE_DisposeProfilePool(pool);
  EXPECT_EQ(found.use_count(), 2) << "the pool lets go";
}

TEST_F(ColorContract, AlphaIsCopiedOrLeft) {
  COR_QCE_TransformPtr transform;
  constexpr uint32_t k16 = QCE_Format_Argb16;
  ASSERT_EQ(COR_QCE_NewTransform(Named("sRGB"), Named("Rec.709"), k16, &transform), QCE_Ok);
  std::vector<uint16_t> src(4 * 5), wanted;
  for (size_t i = 0; i < src.size(); ++i) src[i] = uint16_t(3000 * i);  // some are above white
  wanted = src;
  ASSERT_EQ(COR_QCE_Apply(transform, k16, wanted.data(), k16, wanted.data(), 5, nullptr), QCE_Ok);
  EXPECT_EQ(wanted[13], 32768);
  EXPECT_EQ(wanted[16], src[16]);
  for (const int32_t value : {7, 0}) {
    const COR_QCE_Options options = {1, QCE_Option_KeepAlpha, value};
    std::vector<uint16_t> dst(src.size(), 0x7777);
    ASSERT_EQ(COR_QCE_Apply(transform, k16, src.data(), k16, dst.data(), 5, &options), QCE_Ok);
    for (size_t i = 0; i < dst.size(); ++i) {
      EXPECT_EQ(dst[i], value == 0 && i % 4 == 0 ? 0x7777 : wanted[i]) << i;
    }
  }
}

}  // namespace
