// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// What every host must do: only include/host is used here.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/BM.h"
#include "host/EMUL.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/PLUG.h"
#include "host/RND.h"
#include "host/RZFX.h"
#include "host/STR.h"

namespace {

std::vector<int> Sides(const M_Rect& r) { return {r.top, r.left, r.bottom, r.right}; }

bool IsAligned(const void* p) { return reinterpret_cast<uintptr_t>(p) % 16 == 0; }

TEST(HostContract, VersionChecks) {
  const struct {
    U_Err (*check)(uint32_t, int32_t);
    int32_t version;
  } packages[] = {{U_CheckVersions, 61},   {STR_CheckVersions, 3},   {BM_CheckVersions, 31},
                  {M_CheckVersions, 18},   {FILE_CheckVersions, 39}, {LIST_CheckVersions, 9},
                  {RZFX_CheckVersions, 8}, {PLUG_CheckVersions, 11}};
  for (const auto& package : packages) {
    EXPECT_EQ(package.check(0x250063, package.version), 0) << package.version;
    EXPECT_EQ(package.check(0x250063, package.version + 1), 7) << package.version;
  }
}

TEST(HostContract, ByteTablesFollowTheirDefinition) {
  uint8_t* mul = nullptr;
  uint8_t* div = nullptr;
  ASSERT_EQ(M_PrepareFCMD(1, 0, 0, &mul, &div), 0);
  ASSERT_EQ(M_PrepareFCMD(1, 0, 0, &mul, nullptr), 0);
  for (int a = 0; a < 256; ++a) {
    for (int v = 0; v < 256; ++v) {
      const int i = a * 256 + v;
      ASSERT_EQ(mul[i], std::lround(a * v / 255.0)) << a << " " << v;
      if (v >= a) {
        ASSERT_EQ(div[i], 255) << a << " " << v;
      } else {  // nearest to 255 v / a, a half going up
        ASSERT_LE((2 * div[i] - 1) * a, 510 * v) << a << " " << v;
        ASSERT_GT((2 * div[i] + 1) * a, 510 * v) << a << " " << v;
      }
    }
  }
  EXPECT_EQ(M_UnprepareFCMD(), 0);
  EXPECT_EQ(M_UnprepareFCMD(), 0);
}

TEST(HostContract, TrigTables) {
  int32_t* sine = nullptr;
  int32_t* cosine = nullptr;
  ASSERT_EQ(M_PrepareFTrig(1, 0, 0, &sine, &cosine), 0);
  EXPECT_EQ((std::vector<int32_t>{sine[0], sine[512], sine[1024], sine[2048], sine[3072]}),
            (std::vector<int32_t>{0, 46341, 65536, 0, -65536}));
  for (int i = 0; i < M_FTRIG_STEPS; ++i) ASSERT_EQ(cosine[i], sine[(i + 1024) % M_FTRIG_STEPS]);
  EXPECT_EQ(M_UnprepareFTrig(), 0);
}

TEST(HostContract, Rectangles) {
  const M_Rect none = {5, 5, 5, 9};
  const struct {
    M_Rect a, b;
    std::vector<int> common, both;
  } cases[] = {
      {{0, 0, 10, 20}, {5, -5, 15, 8}, {5, 0, 10, 8}, {0, -5, 15, 20}},
      {{0, 0, 10, 10}, {0, 10, 10, 20}, {0, 0, 0, 0}, {0, 0, 10, 20}},  // they only touch
      {{-9, -9, -1, -1}, none, {0, 0, 0, 0}, {-9, -9, -1, -1}},
      {none, {9, 9, 1, 1}, {0, 0, 0, 0}, {0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    for (const bool swapped : {false, true}) {
      M_Rect out = swapped ? c.a : c.b;  // also as one of the inputs
      const M_Rect& other = swapped ? c.b : c.a;
      EXPECT_EQ(M_SectRect(out, other, &out), c.common[3] != c.common[1]);
      EXPECT_EQ(Sides(out), c.common);
      out = swapped ? c.a : c.b;
      EXPECT_EQ(M_UnionRect(other, out, &out), c.both[3] != c.both[1]);
      EXPECT_EQ(Sides(out), c.both);
    }
  }
  M_Rect rect = {-32768, 10, 32767, 20};
  M_InsetRect(&rect, 2, -1);
  EXPECT_EQ(Sides(rect), (std::vector<int>{-32768, 12, 32767, 18}));
  M_InsetRect(nullptr, 1, 1);
}

TEST(HostContract, Matrices) {
  const M_Matrix3 a{{2, 0, 0, 1, 4, 0, 3, -5, 1}}, b{{0, 1, 0, -1, 0, 0, 10, 20, 1}};
  double x = 0, y = 0;
  a.TransformPointAndDivide(7, 11, &x, &y);  // 7 * 2 + 11 * 1 + 3; 11 * 4 - 5
  EXPECT_EQ(std::vector<double>({x, y}), std::vector<double>({28, 39}));
  M_Matrix3 both = a;
  M_ConcatMatrix(both, b, &both);  // a, then b, which takes (x, y) to (10 - y, 20 + x)
  both.TransformPointAndDivide(7, 11, &x, &y);
  EXPECT_EQ(std::vector<double>({x, y}), std::vector<double>({10 - 39, 20 + 28}));
  const M_Matrix3 tilted{{1, 0, 0.5, 0, 1, 0, 0, 0, 1}};
  tilted.TransformPointAndDivide(2, 6, nullptr, &y);
  EXPECT_EQ(y, 3);
  const M_Vector3 image = M_TransformVector3(tilted, {4, 5, 6});
  EXPECT_EQ(std::vector<double>({image.x, image.y, image.w}), std::vector<double>({4, 5, 8}));

  bool invertible = false;
  for (const M_Matrix3& m : {a, both, tilted}) {
    M_Matrix3 inverse = m;
    EXPECT_EQ(M_InverseMatrixQuiet(inverse, &inverse, &invertible), 0);
    EXPECT_TRUE(invertible);
    M_ConcatMatrix(m, inverse, &inverse);
    EXPECT_TRUE(M_EqualMatrixWithinEpsilon(inverse, {{1, 0, 0, 0, 1, 0, 0, 0, 1}}, 1e-15));
  }
  for (const M_Matrix3& m :
       {M_Matrix3{{1, 2, 0, 2, 4, 0, 0, 0, 1}}, M_Matrix3{{NAN, 0, 0, 0, 1, 0, 0, 0, 1}},
        M_Matrix3{{1, 0, 0, 0, 1, 0, INFINITY, 0, 1}},
        M_Matrix3{{1e-300, 0, 0, 0, 1, 0, 1e9, 0, 1}},
        M_Matrix3{{1e200, 0, 0, 0, 1e200, 0, 0, 0, 1}}}) {
    M_Matrix3 kept = a;
    EXPECT_EQ(M_InverseMatrixQuiet(m, &kept, &invertible), 0);
    EXPECT_FALSE(invertible) << m.m[0];
    EXPECT_TRUE(M_EqualMatrixWithinEpsilon(kept, a, 0));
  }
  EXPECT_EQ(M_InverseMatrixQuiet(a, nullptr, &invertible), 3);
  EXPECT_EQ(M_InverseMatrixQuiet(a, &both, nullptr), 3);
  EXPECT_FALSE(M_EqualMatrixWithinEpsilon({{NAN, 0, 0, 0, 1, 0, 0, 0, 1}}, {{NAN}}, 1e9));
  EXPECT_FALSE(M_EqualMatrixWithinEpsilon(a, {{2, 0, 0, 1, 4.5, 0, 3, -5, 1}}, 0.25));
  EXPECT_TRUE(M_EqualMatrixWithinEpsilon(a, {{2, 0, 0, 1, 4.25, 0, 3, -5, 1}}, 0.25));

  const struct {
    M_Matrix3 matrix;
    int32_t type;
  } types[] = {{{{1, 0, 0, -0.0, 1, 0, 0, 0, 1}}, 0}, {{{1, 0, 0, 0, 1, 0, 0, 0.5, 1}}, 1},
               {{{1, 0, 0, 0, -1, 0, 8, 9, 1}}, 2},   {{{1, 0, 0, 1e-9, 1, 0, 0, 0, 1}}, 3},
               {{{1, 0, 0, 0, 1, 1e-9, 0, 0, 1}}, 4}, {{{1, 0, 0, 0, 1, 0, 0, 0, 2}}, 4}};
  for (const auto& c : types) EXPECT_EQ(M_GetMatrixType(c.matrix), c.type);
}

TEST(HostContract, SubString) {
  const int32_t values[] = {30001, -2147483647 - 1};
  const struct {
    const char* form;
    size_t size;
    U_Err error;
    const char* text;
  } cases[] = {
      {"size (^L1x^L2).", 64, 0, "size (30001x-2147483648)."},
      {"^L2^L2 ^L3 ^ ^L", 64, 0, "-2147483648-2147483648 ^L3 ^ ^L"},
      {"=^L1=", 8, 0, "=30001="},
      {"=^L1=", 7, 3, nullptr},
      {"", 1, 0, ""},
  };
  for (const auto& c : cases) {
    char buffer[64];
    EXPECT_EQ(U_SubString(buffer, c.size, c.form, values, 2), c.error) << c.form;
    if (c.text) {
      EXPECT_STREQ(buffer, c.text);
    }
  }
}

TEST(HostContract, StringTable) {
  const U_ZEntry entries[] = {{"$$$/A/0001=a=b", {}}, {"plain", {}}, {"$$$/A/0003=", {}}};
  const U_ZRef zref = {&zref, "A", 3, entries};
  EXPECT_STREQ(U_ZLookupLStrCache(&zref, 0), "a=b");
  EXPECT_STREQ(U_ZLookupLStrCache(&zref, 1), "plain");
  EXPECT_STREQ(U_ZLookupLStrCache(&zref, 2), "");
  for (const int32_t bad : {-1, 3}) EXPECT_EQ(U_ZLookupLStrCache(&zref, bad), nullptr);
  EXPECT_EQ(U_ZLookupLStrCache(nullptr, 0), nullptr);
  EXPECT_STREQ(U_ZLookup("$$$/key=words"), "words");
  EXPECT_STREQ(U_ZStringToMBString("no=key"), "no=key");
}

struct Tracked : U_MemTrackedObject {
  virtual ~Tracked() = default;
  char padding[100];
};

TEST(HostContract, Memory) {
  for (const size_t size : {size_t{0}, size_t{1}, size_t{1000}}) {
    auto* block = static_cast<unsigned char*>(U_AllocatePtrClear(1, "label", size, 0));
    ASSERT_TRUE(block && IsAligned(block));
    for (size_t i = 0; i < size; ++i) ASSERT_EQ(block[i], 0);
    U_FreePtr(block);
    void** handle = U_AllocateHandleClear(1, nullptr, size);
    ASSERT_TRUE(handle && *handle && IsAligned(*handle));
    U_FreeHandle(handle);
  }
  EXPECT_EQ(U_AllocatePtr(1, "absurd", SIZE_MAX - 8, 0), nullptr);
  EXPECT_EQ(U_AllocateHandle(1, "absurd", SIZE_MAX - 8), nullptr);
  U_FreePtr(nullptr);
  U_FreeHandle(nullptr);
  delete new Tracked;

  void* frame = &frame;
  BM_AllocateFrameQuiet(UINT64_MAX - 8, 0, &frame);
  EXPECT_EQ(frame, nullptr);
  BM_AllocateFrameQuiet(24, 0, &frame);
  ASSERT_NE(frame, nullptr);
  std::memset(frame, 0x55, 24);
  BM_FreeFrame(frame, 7);
  BM_FreeFrame(nullptr, 7);
}

TEST(HostContract, PurgeLoopTriesTwice) {
  const auto succeed_at = [](int last) {
    int left = last;
    const U_Err error = U_PurgeLoop(
        100, 0, [](void* context) { return --*static_cast<int*>(context) == 0 ? 0 : 99; }, &left);
    return std::pair(error, last - left);
  };
  EXPECT_EQ(succeed_at(1), std::pair(0, 1));
  EXPECT_EQ(succeed_at(2), std::pair(0, 2));
  EXPECT_EQ(succeed_at(3), std::pair(4, 2));
  EXPECT_EQ(U_PurgeLoop(1, 0, nullptr, nullptr), 3);
}

TEST(HostContract, Bitmaps) {
  for (const int bits : {32, 64, 128}) {
    BM_World** world = nullptr;
    ASSERT_EQ(BM_NewWorld(0, 8, {-2, 4, 5, 7}, bits, 0, 0, &world), 0);
    EXPECT_EQ((*world)->width, 3);
    EXPECT_EQ((*world)->height, 7);
    EXPECT_EQ((*world)->bits_per_pixel, bits);
    EXPECT_EQ((*world)->rowbytes % 16, 0);
    EXPECT_GE((*world)->rowbytes, 3 * bits / 8);
    EXPECT_EQ(BM_GetChannelOrder(world), BM_ORDER_ARGB);
    const auto* pixels = static_cast<unsigned char*>(BMp_GetPixBaseAddr(world));
    ASSERT_TRUE(IsAligned(pixels));
    for (int i = 0; i < 7 * (*world)->rowbytes; ++i) ASSERT_EQ(pixels[i], 0);
    EXPECT_EQ(BM_LoadLockPixels(1, world, 0, 0), 0);
    EXPECT_EQ((*world)->lock_count, 1);
    for (int i = 0; i < 2; ++i) BM_UnlockPixels(world);
    EXPECT_EQ((*world)->lock_count, 0);
    (*world)->base = nullptr;
    EXPECT_EQ(BMp_GetPixBaseAddr(world), pixels);
    BM_DisposeWorld(world);
  }
  BM_World** world = nullptr;
  EXPECT_EQ(BM_NewWorld(0, 8, {0, 0, 4, 4}, 24, 0, 0, &world), 3);
  EXPECT_EQ(BM_NewWorld(0, 8, {0, 4, 4, 4}, 32, 0, 0, &world), 3);
  EXPECT_EQ(world, nullptr);
  EXPECT_EQ(BM_LoadLockPixels(1, nullptr, 0, 0), 3);
  BM_DisposeWorld(nullptr);
}

TEST(HostContract, Lists) {
  struct Entry {
    void *a, *b;
  };
  LIST_List* list = nullptr;
  ASSERT_EQ(LIST_New(2, sizeof(Entry), 1, 1, &list), 0);
  std::vector<intptr_t> wanted;
  for (intptr_t i = 0; i < 40; ++i) {  // every third goes to the front
    const Entry entry = {reinterpret_cast<void*>(i), list};
    ASSERT_EQ(LIST_Insert(list, i % 3 ? -1 : 0, &entry), 0);
    wanted.insert(i % 3 ? wanted.end() : wanted.begin(), i);
  }
  const Entry entry = {};
  EXPECT_EQ(LIST_Insert(list, 41, &entry), 3);
  void* address = nullptr;
  ASSERT_EQ(LIST_GetAddress(list, &address), 0);
  EXPECT_EQ(LIST_Insert(list, -1, &entry), 3);  // it is locked
  ASSERT_EQ(LIST_Count(list), 40);
  for (size_t i = 0; i < 40; ++i) {
    const Entry& found = static_cast<Entry*>(address)[i];
    ASSERT_EQ(reinterpret_cast<intptr_t>(found.a), wanted[i]);
    ASSERT_EQ(found.b, list);
  }
  EXPECT_EQ(LIST_Unlock(list), 0);
  EXPECT_EQ(LIST_Unlock(list), 3);
  EXPECT_EQ(LIST_Dispose(list), 0);
  EXPECT_EQ(LIST_New(2, 0, 1, 1, &list), 3);
  EXPECT_EQ(list, nullptr);
}

TEST(HostContract, SmallServices) {
  EXPECT_EQ(U_TranslateAndReportException(std::bad_alloc()), 4);
  EXPECT_EQ(U_TranslateAndReportException(std::runtime_error("x")), 516);
  EXPECT_EQ(Up_ReportErrString(1, 8, nullptr), 0);
  EXPECT_GE(U_GetNumThreads(), 1);

  uint32_t* noise = nullptr;
  int32_t size = 0;
  ASSERT_EQ(RND_GetPrimeSizedTable(&noise, &size), 0);
  ASSERT_GT(size, 2);
  for (int32_t d = 2; d * d <= size; ++d) ASSERT_NE(size % d, 0) << d;
  int64_t ones = 0;
  for (int32_t i = 0; i < size; ++i) ones += __builtin_popcount(noise[i]);
  EXPECT_NEAR(double(ones) / size, 16.0, 0.5);

  char text[] = "abcdef";
  BlockMove(text, text + 2, 4);
  EXPECT_STREQ(text, "ababcd");
  BlockMove(nullptr, nullptr, 0);
}

}  // namespace
