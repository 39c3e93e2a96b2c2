// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Binding, profiles, their identities, pools, files.

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "unit/ColorKit.h"

using namespace colorkit;

namespace {

using COR_Profile = ColorTest;

COR_AddressProc whole_engine = nullptr;
const char* hidden_name = nullptr;

TEST_F(COR_Profile, BindingNeedsAWholeEngine) {
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
  EXPECT_NE(COR_QCE_BuiltInProfileName(0), nullptr) << "a failed binding keeps the engine";
}

// No clock: two runs of a program must agree on identities.
TEST_F(COR_Profile, DatesAreFixed) {
  const COR_QCE_ProfilePtr profile = Named("ProPhoto");
  for (const Bytes& bytes : {BytesOf(profile), BytesOf(Linear(profile))}) {
    EXPECT_EQ(Bytes(bytes.begin() + 24, bytes.begin() + 36),
              Bytes({2026 / 256, 2026 % 256, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0}));
  }
}

// The exponent of least squared error, found by thirds, from the formula of the curve.
template <class Curve>
double BestExponent(Curve&& curve) {
  const auto error = [&](double exponent) {
    double sum = 0;
    for (int i = 0; i < 16; ++i) {
      const double x = 0.1 + 0.8 * i / 15;
      sum += std::pow(std::pow(x, exponent) - curve(x), 2);
    }
    return sum;
  };
  double low = 0.2, high = 5;
  for (int i = 0; i < 200; ++i) {
    const double third = (high - low) / 3;
    if (error(low + third) < error(high - third)) {
      high -= third;
    } else {
      low += third;
    }
  }
  return (low + high) / 2;
}

TEST_F(COR_Profile, Exponents) {
  const double srgb = BestExponent([](double v) { return std::pow((v + 0.055) / 1.055, 2.4); });
  const double rec709 =
      BestExponent([](double v) { return std::pow((v + 0.099) / 1.099, 1 / 0.45); });
  const struct {
    COR_QCE_ProfilePtr profile;
    double exponent, error;
  } cases[] = {
      {nullptr, srgb, 1e-4},
      {Named("sRGB"), srgb, 1e-4},
      {Named("Rec.709"), rec709, 1e-4},
      {Named("ProPhoto"), 1.8, 1e-5},
      {Named("gamma 1.8"), 1.8, 1e-5},  // stored in steps of 1 / 65536
      {Opened(WithCurve(Table({})).Write()), 1, 0},
      {Opened(WithCurve(Table({563})).Write()), 563.0 / 256, 0},
      {Opened(WithCurve(Formula(0, {1.75})).Write()), 1.75, 0},
      {Opened(WithCurve(Formula(3, {1.75, 1, 0, 0.5, 0})).Write()), 1.75, 0},
      {Opened(WithCurve(Formula(4, {1.75, 1, 0, 0.5, 0, 0, 0.25})).Write()), 1.75, 0},
      {Opened(WithCurve(Formula(3, {2, 1, 0, 0.05, 0.05})).Write()), 2, 1e-6},
      {Opened(WithCurve(Formula(1, {2, 0.5, 0.5})).Write()),
       BestExponent([](double v) { return (v + 1) * (v + 1) / 4; }), 1e-6},
      {Opened(WithCurve(Table({0, 65535})).Write()), 1, 1e-7},
      {Opened(WithCurve(Table(PowerTable(1.8, 1024))).Write()), 1.8, 1e-4},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_NEAR(ExponentOf(cases[i].profile), cases[i].exponent, cases[i].error) << i;
  }
  // The green curve is asked.
  Profile mixed = WithCurve(Formula(0, {1.5}));
  mixed[Word("gTRC")] = Formula(0, {2.5});
  EXPECT_EQ(ExponentOf(Opened(mixed.Write())), 2.5f);
}

TEST_F(COR_Profile, DescriptionsAreValidUtf16) {
  const auto described = [](const Bytes& tag) {
    Profile profile = WithCurve(Table({}));
    profile[Word("desc")] = tag;
    return DescriptionOf(Opened(profile.Write()));
  };
  EXPECT_EQ(described(Text(u"Büro \U0001F3A8")), u"Büro \U0001F3A8");
  EXPECT_EQ(described(Text(u"")), u"");
  EXPECT_EQ(described(Text({u'a', u'\0', u'b'})), u"a");
  EXPECT_EQ(described(Bytes(40, 0xFF)), u"");
  for (const char16_t unit : described(Text({u'a', 0xD83C, u'b', 0xDFA8}))) {
    EXPECT_FALSE(unit >= 0xD800 && unit < 0xE000) << "half a character";
  }
}

TEST_F(COR_Profile, LinearCounterpart) {
  const COR_QCE_ProfilePtr linear = Linear(Named("Rec.709"));
  EXPECT_EQ(DescriptionOf(linear), u"Rec.709 (linear)");
  EXPECT_EQ(ExponentOf(linear), 1);
  EXPECT_EQ(Linear(linear), linear);
  EXPECT_EQ(BytesOf(Linear(Named("Rec.709"))), BytesOf(linear));
  Profile profile = WithCurve(Table({563}));
  profile[Word("desc")] = Text(u"Büro \U0001F3A8");
  EXPECT_EQ(DescriptionOf(Linear(Opened(profile.Write()))), u"Büro \U0001F3A8 (linear)");
  const COR_QCE_ProfilePtr table = Opened(WithCurve(Table({0, 32768, 65535})).Write());
  EXPECT_EQ(Linear(table), table) << "an identity given by a table";
}

TEST_F(COR_Profile, IdentityIsThatOfTheBytes) {
  const Bytes bytes = WithCurve(Table({563})).Write();
  Bytes padded = bytes, changed = bytes;
  padded.resize(padded.size() + 100, 0xAA);
  changed[50] ^= 1;  // a vendor's field that nobody reads
  EXPECT_EQ(IdOf(Opened(padded)), IdOf(Opened(bytes)));
  EXPECT_EQ(BytesOf(Opened(padded)), bytes);
  EXPECT_FALSE(IdOf(Opened(changed)) == IdOf(Opened(bytes)));
  EXPECT_FALSE(IdOf(Opened(bytes)) == _t_QCE_ID{});
}

TEST_F(COR_Profile, ThreadsShareProfilesPoolsAndTransforms) {
  COR_QCE_ProfilePool* pool = nullptr;
  ASSERT_EQ(COR_QCE_NewProfilePool(&pool), QCE_Ok);
  const COR_QCE_ProfilePtr from = Named("sRGB"), to = Named("ProPhoto");
  COR_QCE_TransformPtr transform;
  ASSERT_EQ(COR_QCE_NewTransform(from, to, QCE_Format_ArgbFloat, &transform), QCE_Ok);
  const std::vector<float> wanted = Through(from, to, std::vector<float>{1, 0.2f, 0.5f, 0.9f});
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int round = 0; round < 20; ++round) {
        std::vector<float> row = {1, 0.2f, 0.5f, 0.9f};
        EXPECT_EQ(COR_QCE_Apply(transform, QCE_Format_ArgbFloat, row.data(), QCE_Format_ArgbFloat,
                                row.data(), 1, nullptr),
                  QCE_Ok);
        EXPECT_EQ(row, wanted);
        COR_QCE_ProfilePtr found;
        const COR_QCE_ProfilePtr asked = round % 2 ? Linear(from) : Named("Rec.709");
        EXPECT_EQ(COR_QCE_GetProfileByID(pool, IdOf(asked, pool), &found), QCE_Ok);
        EXPECT_EQ(BytesOf(found), BytesOf(asked));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  COR_QCE_DisposeProfilePool(pool);
}

TEST_F(COR_Profile, Files) {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("vx_profiles_" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  const auto write = [&](const char* name, const Bytes& bytes) {
    std::ofstream(folder / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
  };
  const Bytes good = WithCurve(Table({563})).Write();
  write("good", good);
  write("half", {good.begin(), good.begin() + 200});
  write("empty", {});
  write("large", good);
  std::filesystem::resize_file(folder / "large", COR_QCE_MaxProfileBytes + 1);
  write("padded", good);
  std::filesystem::resize_file(folder / "padded", COR_QCE_MaxProfileBytes);
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  const struct {
    const char* name;
    QCE_Status status;
  } cases[] = {{"good", QCE_Ok},        {"half", QCE_Truncated}, {"empty", QCE_Damaged},
               {"large", QCE_TooLarge}, {"padded", QCE_Ok},      {"pipe", QCE_CannotRead},
               {"", QCE_CannotRead},    {"gone", QCE_CannotRead}};
  for (const auto& [name, status] : cases) {
    COR_QCE_ProfilePtr profile;
    EXPECT_EQ(COR_QCE_ProfileFromFile((folder / name).c_str(), &profile), status) << name;
    EXPECT_EQ(profile != nullptr, status == QCE_Ok);
    if (!profile) continue;
    EXPECT_EQ(BytesOf(profile), good);
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
