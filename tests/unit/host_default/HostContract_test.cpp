// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The services of include/host, which every host must offer, and the settings of the embedded host.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "host/BM.h"
#include "host/EMUL.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/PLUG.h"
#include "host/RLOG.h"
#include "host/RND.h"
#include "host/RZFX.h"
#include "host/STR.h"
#include "host/VXHost.h"

namespace {

bool IsAligned(const void* p) { return reinterpret_cast<uintptr_t>(p) % 16 == 0; }

TEST(HostContract, TablesFollowTheirDefinition) {
  uint8_t *mul = nullptr, *div = nullptr;
  ASSERT_EQ(M_PrepareFCMD(1, 0, 0, &mul, &div), 0);
  ASSERT_EQ(M_PrepareFCMD(1, 0, 0, &mul, nullptr), 0);
  EXPECT_EQ(VXHost_GetPairs().byte_tables, 2);
  for (int a = 0; a < 256; ++a) {
    for (int v = 0; v < 256; ++v) {
      const int i = a * 256 + v;
      ASSERT_EQ(mul[i], std::lround(a * v / 255.0)) << a << " " << v;
      // Nearest to 255 v / a; a half is rounded up.
      ASSERT_EQ(div[i], v >= a ? 255 : (510 * v + a) / (2 * a)) << a << " " << v;
    }
  }
  int32_t *sine = nullptr, *cosine = nullptr;
  ASSERT_EQ(M_PrepareFTrig(1, 0, 0, &sine, &cosine), 0);
  for (int i = 0; i < M_FTRIG_STEPS; ++i) {
    ASSERT_NEAR(sine[i], 65536 * std::sin(M_PI * i / 2048), 0.5 + 1e-9) << i;
    ASSERT_EQ(cosine[i], sine[(i + 1024) % M_FTRIG_STEPS]);
  }
  EXPECT_EQ(M_UnprepareFTrig(), 0);
  EMUL_BeginGdiMinimalisticWindowCreationMode();
  EXPECT_EQ(VXHost_GetPairs().window_modes, 1);
  for (int i = 0; i < 3; ++i) {  // once more than needed
    EXPECT_EQ(M_UnprepareFCMD(), 0);
    EMUL_EndGdiMinimalisticWindowCreationMode();
  }
  EXPECT_EQ(VXHost_GetPairs().byte_tables, 0);
  EXPECT_EQ(VXHost_GetPairs().window_modes, 0);

  uint32_t* noise = nullptr;
  int32_t size = 0;
  ASSERT_EQ(RND_GetPrimeSizedTable(&noise, &size), 0);
  ASSERT_GT(size, 2);
  for (int32_t d = 2; d * d <= size; ++d) ASSERT_NE(size % d, 0) << d;
}

TEST(HostContract, InsetRectangles) {
  M_Rect rect = {-32768, 10, 32767, 20};
  M_InsetRect(&rect, 2, -1);
  EXPECT_TRUE(rect.top == -32768 && rect.left == 12 && rect.bottom == 32767 && rect.right == 18);
  M_InsetRect(nullptr, 1, 1);
}

TEST(HostContract, Matrices) {
  const M_Matrix3 a{{2, 0, 0, 1, 4, 0, 3, -5, 1}}, b{{0, 1, 0, -1, 0, 0, 10, 20, 1}};
  double x = 0, y = 0;
  M_Matrix3 both = a;
  M_ConcatMatrix(both, b, &both);
  both.TransformPointAndDivide(7, 11, &x, &y);
  // a gives (7 * 2 + 11 + 3, 11 * 4 - 5) = (28, 39); b maps (x, y) to (10 - y, 20 + x).
  EXPECT_TRUE(x == 10 - 39 && y == 20 + 28);
  const M_Matrix3 tilted{{1, 0, 0.5, 0, 1, 0, 0, 0, 1}};
  tilted.TransformPointAndDivide(2, 6, nullptr, &y);
  EXPECT_EQ(y, 3);
  const M_Vector3 image = M_TransformVector3(tilted, {4, 5, 6});
  EXPECT_TRUE(image.x == 4 && image.y == 5 && image.w == 8);

  const struct {
    M_Matrix3 matrix;
    bool invertible;
  } cases[] = {{both, true},
               {tilted, true},
               {{{1, 2, 0, 2, 4, 0, 0, 0, 1}}, false},
               {{{NAN, 0, 0, 0, 1, 0, 0, 0, 1}}, false},
               {{{1, 0, 0, 0, 1, 0, INFINITY, 0, 1}}, false},
               {{{1e-300, 0, 0, 0, 1, 0, 1e9, 0, 1}}, false},
               {{{1e200, 0, 0, 0, 1e200, 0, 0, 0, 1}}, false}};
  for (const auto& [matrix, invertible] : cases) {
    M_Matrix3 inverse = a;
    bool found = !invertible;
    EXPECT_EQ(M_InverseMatrixQuiet(matrix, &inverse, &found), 0);
    EXPECT_EQ(found, invertible) << matrix.m[0];
    if (invertible) M_ConcatMatrix(matrix, inverse, &inverse);
    const M_Matrix3 identity{{1, 0, 0, 0, 1, 0, 0, 0, 1}};
    EXPECT_TRUE(M_EqualMatrixWithinEpsilon(inverse, invertible ? identity : a, 1e-15));
    EXPECT_EQ(M_InverseMatrixQuiet(matrix, nullptr, &found), 3);
    EXPECT_EQ(M_InverseMatrixQuiet(matrix, &inverse, nullptr), 3);
  }
  EXPECT_FALSE(M_EqualMatrixWithinEpsilon({{NAN, 0, 0, 0, 1, 0, 0, 0, 1}}, {{NAN}}, 1e9));
  EXPECT_FALSE(M_EqualMatrixWithinEpsilon(a, {{2, 0, 0, 1, 4.5, 0, 3, -5, 1}}, 0.25));
  EXPECT_TRUE(M_EqualMatrixWithinEpsilon(a, {{2, 0, 0, 1, 4.25, 0, 3, -5, 1}}, 0.25));

  const std::pair<M_Matrix3, int32_t> types[] = {
      {{{1, 0, 0, -0.0, 1, 0, 0, 0, 1}}, 0}, {{{1, 0, 0, 0, 1, 0, 0, 0.5, 1}}, 1},
      {{{1, 0, 0, 0, -1, 0, 8, 9, 1}}, 2},   {{{1, 0, 0, 1e-9, 1, 0, 0, 0, 1}}, 3},
      {{{1, 0, 0, 0, 1, 1e-9, 0, 0, 1}}, 4}, {{{1, 0, 0, 0, 1, 0, 0, 0, 2}}, 4}};
  for (const auto& [matrix, type] : types) EXPECT_EQ(M_GetMatrixType(matrix), type);
}

TEST(HostContract, Strings) {
  const int32_t values[] = {30001, -2147483647 - 1};
  const struct {
    const char* form;
    size_t size;
    const char* text;  // null: does not fit
  } cases[] = {{"size (^L1x^L2).", 64, "size (30001x-2147483648)."},
               {"^L2^L2 ^L3 ^ ^L", 64, "-2147483648-2147483648 ^L3 ^ ^L"},
               {"=^L1=", 8, "=30001="},
               {"=^L1=", 7, nullptr},
               {"", 1, ""}};
  for (const auto& [form, size, text] : cases) {
    char buffer[64];
    EXPECT_EQ(U_SubString(buffer, size, form, values, 2), text ? 0 : 3) << form;
    EXPECT_STREQ(text ? buffer : nullptr, text);
  }
  const U_ZEntry entries[] = {{"$$$/A/0001=a=b", {}}, {"plain", {}}, {"$$$/A/0003=", {}}};
  const U_ZRef zref = {&zref, "A", 3, entries};
  const char* const texts[] = {nullptr, "a=b", "plain", "", nullptr};
  for (int i = 0; i < 5; ++i) EXPECT_STREQ(U_ZLookupLStrCache(&zref, i - 1), texts[i]);
  EXPECT_EQ(U_ZLookupLStrCache(nullptr, 0), nullptr);
  EXPECT_STREQ(U_ZLookup("$$$/key=words"), "words");
  EXPECT_STREQ(U_ZStringToMBString("no=key"), "no=key");
}

// --- memory --------------------------------------------------------------------------------------

struct Tracked : U_MemTrackedObject {
  virtual ~Tracked() = default;
  char padding[100];
};

TEST(HostContract, MemoryIsClearAlignedAndCounted) {
  const VXHost_Memory before = VXHost_GetMemory();
  for (const size_t size : {size_t{0}, size_t{1}, size_t{1000}}) {
    void* const block = U_AllocatePtrClear(1, "label", size, 0);
    void** const handle = U_AllocateHandleClear(1, nullptr, size);
    ASSERT_TRUE(block && handle && *handle && IsAligned(block) && IsAligned(*handle));
    const std::vector<char> zeroes(size + 1);  // never null
    EXPECT_EQ(std::memcmp(block, zeroes.data(), size), 0);
    EXPECT_EQ(std::memcmp(*handle, zeroes.data(), size), 0);
    EXPECT_EQ(VXHost_GetMemory().blocks, before.blocks + 3);
    EXPECT_EQ(VXHost_GetMemory().block_bytes, before.block_bytes + int64_t(2 * size) + 8);
    U_FreePtr(block);
    U_FreeHandle(handle);
  }
  void* frame = &frame;
  BM_AllocateFrameQuiet(UINT64_MAX - 8, 0, &frame);
  EXPECT_EQ(frame, nullptr);
  BM_AllocateFrameQuiet(24, 0, &frame);
  EXPECT_EQ(VXHost_GetMemory().frames, before.frames + 1);
  std::memset(frame, 0x55, 24);
  BM_FreeFrame(frame, 7);
  BM_FreeFrame(nullptr, 7);
  EXPECT_EQ(U_AllocatePtr(1, "absurd", SIZE_MAX - 8, 0), nullptr);
  EXPECT_EQ(U_AllocateHandle(1, "absurd", SIZE_MAX - 8), nullptr);
  U_FreePtr(nullptr);
  U_FreeHandle(nullptr);
  delete new Tracked;
  U_AccountAllocation(50);
  U_AccountAllocation(-20);
  const VXHost_Memory after = VXHost_GetMemory();
  EXPECT_TRUE(after.frames == before.frames && after.blocks == before.blocks);
  EXPECT_EQ(after.block_bytes, before.block_bytes);
  EXPECT_EQ(after.accounted, before.accounted + 30);
}

// Two tries; the purge function is called between them.
TEST(HostContract, PurgeLoop) {
  int64_t purged = 0;
  VXHost_SetPurgeFunction(
      [](int64_t size, void* context) { *static_cast<int64_t*>(context) += size; }, &purged);
  for (const int succeeds_at : {1, 2, 3}) {
    int left = succeeds_at;
    const auto attempt = [](void* context) { return --*static_cast<int*>(context) == 0 ? 0 : 99; };
    EXPECT_EQ(U_PurgeLoop(100, 0, attempt, &left), succeeds_at == 3 ? 4 : 0);
    EXPECT_EQ(left, succeeds_at == 3 ? 1 : 0);
  }
  VXHost_SetPurgeFunction(nullptr, nullptr);
  EXPECT_EQ(purged, 200);
  EXPECT_EQ(U_PurgeLoop(1, 0, nullptr, nullptr), 3);
}

TEST(HostContract, Lists) {
  using Entry = std::array<intptr_t, 2>;
  LIST_List* list = nullptr;
  ASSERT_EQ(LIST_New(2, sizeof(Entry), 1, 1, &list), 0);
  std::vector<Entry> wanted;
  for (intptr_t i = 0; i < 40; ++i) {  // every third is inserted at the front
    const Entry entry = {i, -i};
    ASSERT_EQ(LIST_Insert(list, i % 3 ? -1 : 0, &entry), 0);
    wanted.insert(i % 3 ? wanted.end() : wanted.begin(), entry);
  }
  const Entry entry = {};
  EXPECT_EQ(LIST_Insert(list, 41, &entry), 3);
  void* address = nullptr;
  ASSERT_EQ(LIST_GetAddress(list, &address), 0);
  EXPECT_EQ(LIST_Insert(list, -1, &entry), 3);  // it is locked
  ASSERT_EQ(LIST_Count(list), 40);
  const auto* const found = static_cast<Entry*>(address);
  EXPECT_EQ(std::vector<Entry>(found, found + 40), wanted);
  EXPECT_EQ(LIST_Unlock(list), 0);
  EXPECT_EQ(LIST_Unlock(list), 3);
  EXPECT_EQ(LIST_Dispose(list), 0);
  EXPECT_EQ(LIST_New(2, 0, 1, 1, &list), 3);
  EXPECT_EQ(list, nullptr);
}

// --- reports, processor, scan, suites ------------------------------------------------------------

TEST(HostSettings, ReportsOfAThread) {
  EXPECT_EQ(U_TranslateAndReportException(std::bad_alloc()), 4);
  EXPECT_EQ(U_TranslateAndReportException(std::runtime_error("x")), 516);
  EXPECT_EQ(Up_ReportErrString(1, 8, nullptr), 0);
  VXHost_TakeReports();
  for (int i = 0; i < 300; ++i) U_ReportFailedVerification(0x250031, i, 0, "check");
  std::thread([] { EXPECT_TRUE(VXHost_TakeReports().empty()); }).join();
  std::snprintf(Up_G_buffer, sizeof Up_G_buffer, "%s v%d", "VX", 17);
  Up_ReportError(0x12, 16);
  const std::vector<VXHost_Report> newest = VXHost_TakeReports();
  ASSERT_EQ(newest.size(), 256u);
  EXPECT_TRUE(newest[0].check == 0x250031 && newest[0].line == 45 && newest[0].severity == 0);
  EXPECT_EQ(newest[0].text, "check");
  EXPECT_EQ(newest.back().severity, 16);
  EXPECT_EQ(newest.back().text, "VX v17");

  std::string seen;
  VXHost_SetReportSink([](uint32_t, int32_t, int32_t, const char* words,
                          void* context) { *static_cast<std::string*>(context) += words; },
                       &seen);
  VXHost_SetLogSink(
      [](int32_t level, const char* component, const char* event, const char* words, void* to) {
        *static_cast<std::string*>(to) += std::to_string(level) + component + event + words;
      },
      &seen);
  Up_ReportErrString(1, 8, "report");
  RLOG_Log(10, "VX", "Birth", "text");
  EXPECT_EQ(U_AllocatePtr(1, "noise table", SIZE_MAX / 2, 0), nullptr);
  VXHost_SetReportSink(nullptr, nullptr);
  VXHost_SetLogSink(nullptr, nullptr);
  EXPECT_EQ(seen, "report10VXBirthtext1UOutOfMemorynoise table: 9223372036854775807 bytes");
  EXPECT_TRUE(VXHost_TakeReports().empty());
}

// Filled before any other initialiser can read it.
const uint32_t sse2_at_load = U_G_CPU_DataP[U_CPU_HAS_SSE2];

const int32_t threads_at_load = U_GetNumThreads();
const int32_t threads_of_library = (VXHost_SetLibraryThreads(0), U_GetNumThreads());

TEST(HostSettings, ProcessorAndThreads) {
  EXPECT_EQ(threads_at_load, 1);
  EXPECT_EQ(threads_of_library, VXHost_AllowedProcessors());
#if defined(__x86_64__)
  EXPECT_NE(sse2_at_load, 0u);
#endif
  const uint32_t none[U_CPU_WORDS] = {};
  VXHost_SetProcessor(none);
  EXPECT_EQ(U_G_CPU_DataP[U_CPU_HAS_SSE2], 0u);
  VXHost_ResetProcessor();
  EXPECT_EQ(U_G_CPU_DataP[U_CPU_HAS_SSE2], sse2_at_load);
  for (const int count : {7, 0}) {  // 0: one
    VXHost_SetNumThreads(count);
    EXPECT_EQ(U_GetNumThreads(), std::max(count, 1));
    VXHost_SetLibraryThreads(0);  // the number was set before
    EXPECT_EQ(U_GetNumThreads(), std::max(count, 1));
    VXHost_SetLibraryThreads(5);
    EXPECT_EQ(U_GetNumThreads(), 5);
  }
}

}  // namespace
