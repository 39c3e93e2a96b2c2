// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Calls of the colour engine: binding, arguments, statuses, profiles, identifiers, pools, files.

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

#include "unit/ColorKit.h"

using namespace colorkit;

namespace {

class COR_Engine : public ColorTest {
 protected:
  void SetUp() override {
    ColorTest::SetUp();
    pool_.reset(Get<COR_QCE_ProfilePool*>(COR_QCE_NewProfilePool));
  }
  // Pools can be disposed of without an engine.
  std::unique_ptr<COR_QCE_ProfilePool, void (*)(COR_QCE_ProfilePool*)> pool_{
      nullptr, COR_QCE_DisposeProfilePool};
};

COR_AddressProc whole_engine = nullptr;
const char* hidden_name = nullptr;

TEST_F(COR_Engine, BindingNeedsAWholeEngine) {
  ASSERT_EQ(COR_GetQIBAddressProc(&whole_engine), 0);
  EXPECT_EQ(COR_GetQIBAddressProc(nullptr), 3);
  EXPECT_EQ(whole_engine("COR_QCE_Unheard"), nullptr);
  EXPECT_EQ(whole_engine(nullptr), nullptr);
  const COR_AddressProc lacking = [](const char* name) -> void* {
    return std::strcmp(name, hidden_name) == 0 ? nullptr : whole_engine(name);
  };
  for (const char* name : {"COR_InterfaceVersion", "COR_QCE_ProfileFromMemory", "COR_QCE_Apply"}) {
    hidden_name = name;
    EXPECT_FALSE(COR_BindClient(lacking)) << name;
  }
  EXPECT_FALSE(COR_BindClient(nullptr));
  COR_QCE_ProfilePtr profile = Named("sRGB");  // a failed binding keeps the engine
  IdOf(profile, pool_.get());
  COR_ReleaseClient();
  float exponent = 7;
  EXPECT_EQ(COR_QCE_ProfileFromName("sRGB", &profile), QCE_NotAvailable);
  EXPECT_EQ(COR_QCE_GetToneExponent(profile, &exponent), QCE_NotAvailable);
  EXPECT_EQ(COR_QCE_Apply(nullptr, 0, nullptr, 0, nullptr, 0, nullptr), QCE_NotAvailable);
  EXPECT_EQ(COR_QCE_BuiltInProfileName(0), nullptr);
  EXPECT_EQ(exponent, 7);
}

TEST_F(COR_Engine, WrongArguments) {
  const COR_QCE_ProfilePtr srgb = Named("sRGB");
  constexpr uint32_t k16 = QCE_Format_Argb16, k8 = QCE_Format_Argb8;
  const auto good = Get<COR_QCE_TransformPtr>(COR_QCE_NewTransform, srgb, Named("Rec.709"), k16);
  const COR_QCE_Options wrong_count = {2, QCE_Option_KeepAlpha, 1}, wrong_code = {1, 5, 1};
  COR_QCE_ProfilePtr profile;
  COR_QCE_TransformPtr transform;
  std::vector<uint16_t> row(8, 77);
  const auto apply = [&](uint32_t from, uint32_t to, int32_t count,
                         const COR_QCE_Options* options) {
    return COR_QCE_Apply(good, from, row.data(), to, row.data(), count, options);
  };
  const QCE_Status statuses[] = {
      COR_QCE_ProfileFromMemory(nullptr, 9, &profile),
      COR_QCE_ProfileFromMemory(row.data(), 16, nullptr),
      COR_QCE_ProfileFromName(nullptr, &profile),
      COR_QCE_GetProfileDescription(srgb, nullptr),
      COR_QCE_GetLinearRGBProfile(nullptr, &profile),
      COR_QCE_GetProfileByID(nullptr, {}, &profile),
      COR_QCE_NewTransform(nullptr, srgb, k8, &transform),
      COR_QCE_NewTransform(srgb, srgb, 8, &transform),
      COR_QCE_Apply(good, k16, nullptr, k16, row.data(), 2, nullptr),
      apply(k8, k16, 2, nullptr),
      apply(k16, k16, -1, nullptr),
      apply(k16, k16, 2, &wrong_count),
      apply(k16, k16, 2, &wrong_code),
  };
  for (size_t i = 0; i < std::size(statuses); ++i) EXPECT_EQ(statuses[i], QCE_BadArgument) << i;
  EXPECT_EQ(apply(k16, k16, 0, nullptr), QCE_Ok);
  EXPECT_EQ(row, std::vector<uint16_t>(8, 77));
  for (const char* unknown : {"", "sRGB ", "srg", "gamma"}) {
    EXPECT_EQ(COR_QCE_ProfileFromName(unknown, &profile), QCE_UnknownName);
  }
  EXPECT_FALSE(profile || transform);
}

// Dates are fixed, so that the identifiers of two runs are equal.
TEST_F(COR_Engine, BuiltInProfiles) {
  std::set<std::string> seen;
  for (int32_t i = 0; i < 8; ++i) {
    const std::string name = COR_QCE_BuiltInProfileName(i);
    const Bytes bytes = BytesOf(Named(name.c_str()));
    EXPECT_EQ(DescriptionOf(Opened(bytes)), std::u16string(name.begin(), name.end()));
    EXPECT_TRUE(seen.insert({bytes.begin(), bytes.end()}).second) << name;
    for (const Bytes& file : {bytes, BytesOf(Linear(Opened(bytes)))}) {
      EXPECT_EQ(Bytes(file.begin() + 24, file.begin() + 36),
                Bytes({2026 / 256, 2026 % 256, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0}));
    }
  }
  EXPECT_EQ(BytesOf(Named("PROPHOTO")), BytesOf(Named("ProPhoto")));
  for (const int32_t index : {-1, 8}) EXPECT_EQ(COR_QCE_BuiltInProfileName(index), nullptr);
}

// The exponent between 1 and 3 of least squared error.
template <class Curve>
double BestExponent(Curve&& curve) {
  const auto error = [&](double exponent) {
    double sum = 0;
    for (double x = 0.1; x < 0.91; x += 0.8 / 15)
      sum += std::pow(std::pow(x, exponent) - curve(x), 2);
    return sum;
  };
  double best = 1;
  for (double e = 1; e <= 3; e += 1e-4) best = error(e) < error(best) ? e : best;
  return best;
}

TEST_F(COR_Engine, Exponents) {
  Tags mixed = WithCurve(Formula(0, {1.5}));  // the green curve counts
  mixed["gTRC"] = Formula(0, {2.5});
  const auto flat_start = [](double v) { return v < 0.16 ? 0 : (v - 0.16) / 0.84; };
  const std::pair<COR_QCE_ProfilePtr, double> cases[] = {
      {nullptr, BestExponent(Srgb)},
      {Named("sRGB"), BestExponent(Srgb)},
      {Named("Rec.709"), BestExponent(Rec709)},
      {Named("ProPhoto"), 1.8},
      {Opened(FileWith(Table({}))), 1},
      {Opened(FileWith(Table({563}))), 563.0 / 256},
      {Opened(FileWith(Formula(3, {1.75, 1, 0, 0.5, 0}))), 1.75},
      {Opened(FileWith(Formula(4, {1.75, 1, 0, 0.5, 0, 0, 0.25}))), 1.75},
      {Opened(FileWith(Formula(3, {2, 1, 0, 0.05, 0.05}))), 2},
      {Opened(FileWith(TableOf(Power22, 1024))), 2.2},
      {Opened(FileWith(TableOf(flat_start, 1024))), BestExponent(flat_start)},
      {Opened(FileOf(mixed)), 2.5},
  };
  for (const auto& [profile, exponent] : cases) EXPECT_NEAR(ExponentOf(profile), exponent, 1e-4);
}

TEST_F(COR_Engine, DescriptionsAndLinearCounterparts) {
  const struct {
    Bytes tag;
    std::u16string text;
  } cases[] = {{Text(u"Büro \U0001F3A8"), u"Büro \U0001F3A8"},
               {Text(u""), u""},
               {Text({u'a', u'\0', u'b'}), u"a"},
               {Bytes(40, 0xFF), u""}};
  for (const auto& [tag, text] : cases) {
    Tags tags = WithCurve(Table({563}));
    tags["desc"] = tag;
    const COR_QCE_ProfilePtr profile = Opened(FileOf(tags)), linear = Linear(profile);
    EXPECT_EQ(DescriptionOf(profile), text);
    EXPECT_EQ(DescriptionOf(linear), text + u" (linear)");
    EXPECT_EQ(ExponentOf(linear), 1);
    EXPECT_EQ(Linear(linear), linear);
  }
  const COR_QCE_ProfilePtr identity = Opened(FileWith(Table({0, 32768, 65535})));
  EXPECT_EQ(Linear(identity), identity);
}

// Identifiers are those of the bytes of the declared size. A pool keeps the first profile of each.
TEST_F(COR_Engine, IdentifiersAndPools) {
  const Bytes file = FileWith(Table({563}));
  Bytes padded = file, changed = file;
  padded.resize(padded.size() + 100, 0xAA);
  changed[50] ^= 1;  // an unused field
  const COR_QCE_ProfilePtr first = Opened(file), second = Opened(padded), other = Opened(changed);
  const _t_QCE_ID id = IdOf(first), other_id = IdOf(other);
  EXPECT_EQ(BytesOf(second), file);
  EXPECT_FALSE(id == other_id || id == _t_QCE_ID{});
  COR_QCE_ProfilePtr found;
  EXPECT_EQ(COR_QCE_GetProfileByID(pool_.get(), id, &found), QCE_UnknownID);
  for (const COR_QCE_ProfilePtr& profile : {first, second, other}) {
    EXPECT_EQ(IdOf(profile, pool_.get()), profile == other ? other_id : id);
  }
  EXPECT_EQ(Get<COR_QCE_ProfilePtr>(COR_QCE_GetProfileByID, pool_.get(), id), first);
  EXPECT_EQ(Get<COR_QCE_ProfilePtr>(COR_QCE_GetProfileByID, pool_.get(), other_id), other);
  EXPECT_EQ(first.use_count(), 2);
  COR_ReleaseClient();
  pool_.reset();
  EXPECT_EQ(first.use_count(), 1);
}

TEST_F(COR_Engine, Files) {
  const std::string path = testing::TempDir() + "vx-profile-" + std::to_string(getpid());
  const Bytes good = FileWith(Table({563}));
  COR_QCE_ProfilePtr profile;
  EXPECT_EQ(COR_QCE_ProfileFromFile(path.c_str(), &profile), QCE_CannotRead);
  std::ofstream(path).write(reinterpret_cast<const char*>(good.data()), ptrdiff_t(good.size()));
  for (const auto& [size, status] : {std::pair{COR_QCE_MaxProfileBytes + 1, QCE_TooLarge},
                                     {COR_QCE_MaxProfileBytes, QCE_Ok},
                                     {size_t{200}, QCE_Truncated},
                                     {size_t{0}, QCE_Damaged}}) {
    std::filesystem::resize_file(path, size);
    EXPECT_EQ(COR_QCE_ProfileFromFile(path.c_str(), &profile), status) << size;
  }
  EXPECT_EQ(BytesOf(profile), good);
  std::filesystem::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(COR_QCE_ProfileFromFile(path.c_str(), &profile), QCE_CannotRead);
  std::filesystem::remove(path);
}

}  // namespace
