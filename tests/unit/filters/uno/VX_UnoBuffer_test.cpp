// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// One-channel buffers: their life, what a damaged one does, where things land, and who is called.
// The arithmetic is held against its twins beside this file.

#include "VX/VX_UnoBuffer.h"

#include "unit/filters/BlurTestKit.h"

namespace {

using Operation = std::function<VX_Err(VX_UnoBuffer*)>;
struct Named {
  const char* name;
  Operation run;
};

// Short forms: all of one buffer to another.
VX_Err Convert(const VX_UnoBuffer* from, VX_UnoBuffer* to) {
  return VX_ConvertDeepUnoBuffer(nullptr, from, nullptr, 0, to);
}
VX_Err Transfer(const VX_UnoBuffer* from, const VX_UnoBuffer* mask, VX_UnoBuffer* to) {
  return VX_TransferUnoBuffers(nullptr, from, mask, 3, nullptr, nullptr, to);
}
VX_Err Sum(const VX_UnoBuffer* from, VX_UnoBuffer* to, int32_t mode = 0, float gain_from = 1,
           float gain_to = 1) {
  return VX_AccumulateUnoBuffers(nullptr, from, mode, gain_from, gain_to, nullptr, nullptr, to);
}

const ReportList kDamaged = {{0x250052, "damaged mask buffer"}};

// A record whose samples are somebody else's, with as many random samples before and behind.
template <class Sample>
class Strip {
 public:
  Strip(int32_t width, int32_t height, uint32_t seed) : buffer(1, 1, 8 * sizeof(Sample)) {
    own_ = buffer.data;
    const auto count = static_cast<size_t>(width) * static_cast<size_t>(height);
    std::mt19937 random(seed);
    all.resize(3 * count);
    for (Sample& s : all) s = static_cast<Sample>(random() % 256);
    first_ = all.data() + count;
    buffer.data = &first_;
    buffer.width = width, buffer.height = height;
  }
  ~Strip() { buffer.data = own_; }
  Sample& At(int32_t x, int32_t y) {
    return static_cast<Sample*>(first_)[ptrdiff_t{y} * buffer.width + x];
  }

  VX_UnoBuffer buffer;
  std::vector<Sample> all;

 private:
  void* first_;
  void** own_;
};

M_Rect RectOf(int left, int top, int right, int bottom) {
  const auto s = [](int v) { return static_cast<int16_t>(v); };
  return {s(top), s(left), s(bottom), s(right)};
}

// --- life ----------------------------------------------------------------------------------------

using UnoBuffer = Blur;  // leaves nothing behind

TEST_F(UnoBuffer, SizesAndDepths) {
  struct Case {
    int32_t width, height, depth;
    VX_Err error;
  };
  const Case cases[] = {
      {1, 1, 8, 0},          {7, 5, 16, 0},         {7, 5, 32, 0},         {3, 3, 1, 0},
      {3, 3, 0, 0},          {0, 5, 8, 3},          {5, 0, 16, 3},         {-1, -1, 8, 3},
      {5, 5, 24, 3},         {5, 5, -8, 3},         {65536, 32768, 8, 3},  {65536, 65536, 8, 3},
      {32768, 32768, 16, 3}, {23171, 23171, 32, 3}, {INT32_MAX, 1, 16, 3}, {1, INT32_MAX, 32, 3},
      {INT32_MAX, 2, 8, 3},  {65536, 65537, 32, 3}, {INT32_MIN, 1, 8, 3}};
  for (const Case& c : cases) {
    VX_UnoBuffer paint(1, 1, 8);
    VX_UnoBuffer* buffer = &paint;
    EXPECT_EQ(VX_NewUnoBufferOfDepth(c.width, c.height, c.depth, &buffer), c.error);
    EXPECT_EQ(Reports().size(), c.error == 0 ? 0u : 1u) << c.width << " x " << c.height;
    EXPECT_EQ(Thrown([&] { VX_UnoBuffer(c.width, c.height, c.depth); }), c.error);
    VXHost_TakeReports();
    ASSERT_EQ(buffer == nullptr, c.error != 0);
    if (buffer == nullptr) continue;
    EXPECT_EQ(buffer->magic, 0xFEEDABBA);
    EXPECT_EQ(buffer->width, c.width);
    EXPECT_EQ(buffer->height, c.height);
    EXPECT_EQ(buffer->depth, c.depth);
    EXPECT_EQ(buffer->reserved, 0);
    const int32_t bytes = c.depth == 32 ? 4 : c.depth == 16 || c.depth == 0 ? 2 : 1;
    std::memset(*buffer->data, 0xA5, static_cast<size_t>(c.width * c.height * bytes));
    EXPECT_EQ(VX_DisposeUnoBuffer(buffer), 0);
  }
  VX_UnoBuffer* deep = nullptr;
  ASSERT_EQ(VX_NewDeepUnoBuffer(2, 2, &deep), 0);
  EXPECT_EQ(deep->depth, 16);
  EXPECT_EQ(VX_DisposeUnoBuffer(deep), 0);
  EXPECT_EQ(VX_DisposeUnoBuffer(nullptr), 0);
  EXPECT_TRUE(Reports().empty());
  for (const auto make : {&VX_NewUnoBuffer, &VX_NewDeepUnoBuffer}) {
    EXPECT_EQ(make(2, 2, nullptr), 3);
    EXPECT_EQ(Reports(), kDamaged);
  }
}

// --- damage --------------------------------------------------------------------------------------

const char kThrough[] = "transfer through";  // which may be null

// Each place of each operation at which a buffer stands; the others are in order.
std::vector<Named> OperationsOn(VX_UnoBuffer* good) {
  static const M_Rect rect = RectOf(0, 0, 2, 2);
  return {{"fill", [](VX_UnoBuffer* b) { return VX_FillUnoBuffer(1, b); }},
          {"fill rect", [](VX_UnoBuffer* b) { return VX_FillUnoBuffer(1, rect, b); }},
          {"fade", [](VX_UnoBuffer* b) { return VX_FadeUnoBuffer(0.5, b); }},
          {"invert", [](VX_UnoBuffer* b) { return VX_InvertUnoBuffer(nullptr, b); }},
          {"convert from", [=](VX_UnoBuffer* b) { return Convert(b, good); }},
          {"convert to", [=](VX_UnoBuffer* b) { return Convert(good, b); }},
          {"transfer from", [=](VX_UnoBuffer* b) { return Transfer(b, good, good); }},
          {"transfer to", [=](VX_UnoBuffer* b) { return Transfer(good, nullptr, b); }},
          {"sum from", [=](VX_UnoBuffer* b) { return Sum(b, good); }},
          {"sum to", [=](VX_UnoBuffer* b) { return Sum(good, b, 0, 0.5f, 2); }},
          {kThrough, [=](VX_UnoBuffer* b) { return Transfer(good, b, good); }}};
}

TEST_F(UnoBuffer, DamageIsReportedOnceAndGivesThreeWithoutSamples) {
  VX_UnoBuffer good(4, 3, 8);
  ASSERT_EQ(VX_FillUnoBuffer(77, &good), 0);
  for (const Named& operation : OperationsOn(&good)) {
    const bool may_lack = operation.name == kThrough;
    EXPECT_EQ(operation.run(nullptr), may_lack ? 0 : 3) << operation.name;
    EXPECT_EQ(Reports(), may_lack ? ReportList() : kDamaged) << operation.name;

    VX_UnoBuffer bad(4, 3, 8);
    ASSERT_EQ(VX_FillUnoBuffer(77, &bad), 0);
    bad.magic = 0xFEEDABBB;
    EXPECT_EQ(operation.run(&bad), 0) << operation.name;
    EXPECT_EQ(Reports(), kDamaged) << operation.name;
    bad.magic = VX_UnoBuffer_Magic;

    ASSERT_EQ(VX_FillUnoBuffer(77, &good), 0);
    void* none = nullptr;
    void** const kept = bad.data;
    for (void** const lost : {static_cast<void**>(nullptr), &none}) {
      bad.data = lost;
      EXPECT_EQ(operation.run(&bad), 3) << operation.name;
      EXPECT_EQ(Reports(), kDamaged) << operation.name;
    }
    bad.data = kept;
    for (int i = 0; i < 12; ++i) ASSERT_EQ(static_cast<uint8_t*>(*good.data)[i], 77);
  }
  VX_UnoBuffer* lost = nullptr;
  ASSERT_EQ(VX_NewUnoBuffer(2, 2, &lost), 0);
  U_FreeHandle(lost->data);
  lost->data = nullptr;
  EXPECT_EQ(VX_DisposeUnoBuffer(lost), 0);
  EXPECT_EQ(Reports(), kDamaged);
}

// A depth that a call does not take, or that is none: 3, one report, and nothing written.
TEST_F(UnoBuffer, DepthsModesAndGainsThatAreRefused) {
  VX_UnoBuffer byte(4, 3, 8), word(4, 3, 16), real(4, 3, 32), old(4, 3, 1);
  const M_Rect rect = RectOf(0, 0, 2, 2);
  struct Case {
    const char* name;
    std::function<VX_Err()> run;
  };
  const Case cases[] = {{"fill words as bytes", [&] { return VX_FillUnoBuffer(1, &word); }},
                        {"a part", [&] { return VX_FillUnoBuffer(1, rect, &real); }},
                        {"bytes as words", [&] { return VX_FillDeepUnoBuffer(1, &byte); }},
                        {"a part", [&] { return VX_FillDeepUnoBuffer(1, rect, &real); }},
                        {"bytes as floats", [&] { return VX_FillFloatUnoBuffer(1, &byte); }},
                        {"fade", [&] { return VX_FadeUnoBuffer(0, &old); }},
                        {"invert", [&] { return VX_InvertUnoBuffer(nullptr, &old); }},
                        {"convert from", [&] { return Convert(&old, &byte); }},
                        {"convert to", [&] { return Convert(&byte, &old); }},
                        {"transfer of old", [&] { return Transfer(&old, nullptr, &old); }},
                        {"transfer, other source", [&] { return Transfer(&word, nullptr, &byte); }},
                        {"transfer, other mask", [&] { return Transfer(&byte, &real, &byte); }},
                        {"sum of words in bytes", [&] { return Sum(&word, &byte); }},
                        {"of bytes in floats", [&] { return Sum(&byte, &real); }},
                        {"of old", [&] { return Sum(&old, &word); }},
                        {"mode 3", [&] { return Sum(&byte, &byte, 3); }},
                        {"mode -1", [&] { return Sum(&byte, &word, -1); }},
                        {"gain below 0", [&] { return Sum(&byte, &byte, 0, -0.01f); }},
                        {"no number", [&] { return Sum(&real, &real, 0, 1, std::nanf("")); }},
                        {"endless", [&] { return Sum(&word, &word, 0, HUGE_VALF); }},
                        {"too much", [&] { return Sum(&word, &word, 0, 1, 32768); }}};
  for (VX_UnoBuffer* b : {&byte, &word, &real, &old}) {
    std::memset(*b->data, 0x40, static_cast<size_t>(12 * std::max(b->depth / 8, 1)));
  }
  for (const Case& c : cases) {
    EXPECT_EQ(c.run(), 3) << c.name;
    EXPECT_EQ(Reports().size(), 1u) << c.name;
    for (VX_UnoBuffer* b : {&byte, &word, &real, &old}) {
      const auto* bytes = static_cast<const uint8_t*>(*b->data);
      for (int i = 0; i < 12 * std::max(b->depth / 8, 1); ++i) ASSERT_EQ(bytes[i], 0x40) << c.name;
    }
  }
}

// --- places --------------------------------------------------------------------------------------

void Fill(uint8_t v, const M_Rect* r, VX_UnoBuffer* b) {
  EXPECT_EQ(r == nullptr ? VX_FillUnoBuffer(v, b) : VX_FillUnoBuffer(v, *r, b), 0);
}
void Fill(uint16_t v, const M_Rect* r, VX_UnoBuffer* b) {
  EXPECT_EQ(r == nullptr ? VX_FillDeepUnoBuffer(v, b) : VX_FillDeepUnoBuffer(v, *r, b), 0);
}
void Fill(float v, const M_Rect*, VX_UnoBuffer* b) { EXPECT_EQ(VX_FillFloatUnoBuffer(v, b), 0); }

template <class Sample>
void CheckFill(Sample value, const M_Rect* rect) {
  Strip<Sample> got(211, 5, 3), want(211, 5, 3);
  Fill(value, rect, &got.buffer);
  for (int32_t y = 0; y < 5; ++y) {
    for (int32_t x = 0; x < 211; ++x) {
      const bool in = rect == nullptr ||
                      (x >= rect->left && x < rect->right && y >= rect->top && y < rect->bottom);
      if (in) want.At(x, y) = value;
    }
  }
  EXPECT_TRUE(got.all == want.all) << 8 * sizeof(Sample) << " bits";
}

TEST_F(UnoBuffer, FillsNoMoreThanTheRectangle) {
  const M_Rect rects[] = {RectOf(0, 0, 211, 5),   RectOf(0, 2, 211, 4), RectOf(-9, -9, 300, 300),
                          RectOf(3, 1, 206, 4),   RectOf(-5, 2, 1, 3),  RectOf(210, 4, 400, 9),
                          RectOf(0, 0, 0, 0),     RectOf(9, 3, 4, 4),   RectOf(9, 3, 14, 2),
                          RectOf(211, 0, 300, 5), RectOf(7, -8, 20, 1), RectOf(0, 5, 211, 6)};
  for (const M_Rect& rect : rects) {
    CheckFill<uint8_t>(200, &rect);
    CheckFill<uint16_t>(0x1234, &rect);
  }
  CheckFill<uint8_t>(7, nullptr);
  CheckFill<uint16_t>(40000, nullptr);
  CheckFill<float>(-1.25f, nullptr);
}

// --- rows and threads ----------------------------------------------------------------------------

// What each operation makes of the same three buffers.
template <class Sample>
struct Trio {
  Strip<Sample> src{330, 240, 1}, mask{330, 240, 2}, dst{330, 240, 3};

  std::vector<Named> Operations(VX_ProgressInfo* progress = nullptr) {
    VX_UnoBuffer *s = &src.buffer, *m = &mask.buffer;
    return {
        {"fade", [](VX_UnoBuffer* d) { return VX_FadeUnoBuffer(0.3, d); }},
        {"invert", [](VX_UnoBuffer* d) { return VX_InvertAndFadeUnoBuffer(nullptr, 30000, d); }},
        {"convert",
         [=](VX_UnoBuffer* d) { return VX_ConvertDeepUnoBuffer(progress, s, nullptr, 1, d); }},
        {"transfer",
         [=](VX_UnoBuffer* d) {
           const M_Point point = {3, -9};
           return VX_TransferUnoBuffers(progress, s, m, 3, nullptr, &point, d);
         }},
        {"accumulate", [=](VX_UnoBuffer* d) {
           return VX_AccumulateUnoBuffers(progress, s, 0, 0.5f, 2, nullptr, nullptr, d);
         }}};
  }
};

template <class Sample>
void CheckThreads() {
  for (size_t i = 0; i < 5; ++i) {
    Trio<Sample> one, many;
    const Named alone = one.Operations()[i];
    ASSERT_EQ(alone.run(&one.dst.buffer), 0);
    const IteratorReplaced threads;
    ASSERT_EQ(many.Operations()[i].run(&many.dst.buffer), 0);
    EXPECT_TRUE(many.dst.all == one.dst.all) << alone.name;
  }
}

TEST_F(UnoBuffer, ThreadsInAnyOrderGiveTheSameSamples) {
  CheckThreads<uint8_t>();
  CheckThreads<uint16_t>();
  CheckThreads<float>();
}

// One result for all threads; thread 0 tells of rows that are done, and an answer ends the work.
TEST_F(UnoBuffer, ProgressTellsRowsAndStops) {
  for (const bool threads : {false, true}) {
    for (size_t i = 2; i < 5; ++i) {
      int32_t calls = 0, last = 0, stop_at = 0;
      OnStep on_step = [&](int32_t step, int32_t final_step) -> VX_Err {
        EXPECT_EQ(this_thread_index, 0);
        EXPECT_EQ(final_step, 240);
        EXPECT_TRUE(threads ? step > last && step <= 240 : step == last + 1);
        last = step;
        return ++calls == stop_at ? VX_ErrStopped : 0;
      };
      VX_ProgressInfo progress = ProgressOf(&on_step);
      const std::unique_ptr<IteratorReplaced> several(threads ? new IteratorReplaced : nullptr);
      Trio<uint8_t> trio;
      EXPECT_EQ(trio.Operations(&progress)[i].run(&trio.dst.buffer), 0);
      EXPECT_EQ(calls, threads ? 60 : 240);
      calls = last = 0, stop_at = 7;
      EXPECT_EQ(trio.Operations(&progress)[i].run(&trio.dst.buffer), VX_ErrStopped);
      EXPECT_EQ(calls, 7);
    }
  }
}

int32_t iterations_seen;
VX_Err CountIterations(int32_t iterations, void* refcon, VX_GenericFunc function) {
  iterations_seen += iterations;
  return VX_IterateGeneric_Static(iterations, refcon, function);
}

TEST_F(UnoBuffer, SmallSumsStayOnTheCallersThread) {
  const IteratorReplaced counting(&CountIterations);
  for (const int32_t width : {319, 320}) {
    iterations_seen = 0;
    Strip<uint8_t> src(width, 240, 1), dst(width, 240, 2);
    EXPECT_EQ(VX_AccumulateUnoBuffers(nullptr, &src.buffer, 0, nullptr, nullptr, &dst.buffer), 0);
    EXPECT_EQ(iterations_seen, width == 320 ? 240 : 0);
  }
}

template <VX_Err code, class... Arguments>
void Give(VX_Err (*&slot)(Arguments...)) {
  slot = [](Arguments...) -> VX_Err { return code; };
}

// Whatever stands in a slot is called for the rows, and its code ends the work.
TEST_F(UnoBuffer, RowsGoThroughTheirSlots) {
  struct Slots {
    Slots() : kept(VXp_G_OverFuncs) {}
    ~Slots() { VXp_G_OverFuncs = kept; }
    VXp_OverrideTable kept;
  } slots;
  Give<41>(VXp_G_OverFuncs.VX_UnoFadeRow);
  Give<42>(VXp_G_OverFuncs.VX_UnoFadeRow16);
  Give<43>(VXp_G_OverFuncs.VX_UnoTransferRow);
  Give<44>(VXp_G_OverFuncs.VX_UnoTransferRow16);
  Give<45>(VXp_G_OverFuncs.VX_UnoTransferRowFloat);
  Give<46>(VXp_G_OverFuncs.VX_UnoConvertRow);
  Give<47>(VXp_G_OverFuncs.VX_UnoAccumulateRow);
  const auto codes = [](auto&& trio) {
    std::vector<VX_Err> all;
    for (const Named& operation : trio.Operations()) {
      all.push_back(operation.run(&trio.dst.buffer));
    }
    return all;
  };
  EXPECT_EQ(codes(Trio<uint8_t>()), (std::vector<VX_Err>{41, 41, 46, 43, 47}));
  EXPECT_EQ(codes(Trio<uint16_t>()), (std::vector<VX_Err>{42, 42, 46, 44, 47}));
  EXPECT_EQ(codes(Trio<float>()), (std::vector<VX_Err>{0, 0, 46, 45, 47}));
}

}  // namespace
