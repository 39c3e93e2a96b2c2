// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Whole composites against their slow twin: random commands on random worlds.

#include "../../reference/RefTransfer.h"
#include "BlendTestKit.h"
#include "VX/VX_World.h"

namespace {

// Pixels in a frame that is wider than its rows, painted around them.
template <class Pixel>
struct Picture {
  std::vector<char> bytes;
  int width, height, rowbytes;
  size_t start;

  Picture(Operands<Pixel>* operands, int w, int h)
      : width(w),
        height(h),
        rowbytes(w * static_cast<int>(sizeof(Pixel)) + 16 * operands->Below(3)) {
    // Frames start where pixels may start, not only at multiples of 16.
    start = sizeof(Pixel) * static_cast<size_t>(operands->Between(1, 4));
    bytes.resize(start + static_cast<size_t>(rowbytes) * static_cast<size_t>(h) + 64);
    for (char& b : bytes) b = static_cast<char>(operands->Word());
    for (int y = 0; y < h; ++y) {
      const std::vector<Pixel> row = operands->Row(w);
      for (int x = 0; x < w; ++x) *At(x, y) = row[static_cast<size_t>(x)];
    }
  }

  Pixel* At(int x, int y) {
    return reinterpret_cast<Pixel*>(bytes.data() + start + static_cast<ptrdiff_t>(y) * rowbytes) +
           x;
  }
  vxref::Image Image() { return {bytes.data() + start, rowbytes, width, height}; }
  VX_LayerDef World() {
    VX_LayerDef world = {};
    world.data = bytes.data() + start;
    world.rowbytes = rowbytes;
    world.width = width;
    world.height = height;
    EXPECT_EQ(VXp_SetWorldDepth(&world, kDepth<Pixel>), 0);
    return world;
  }
};

// Says where two pictures differ; empty when nowhere, guard bytes included.
template <class Pixel>
std::string Difference(Picture<Pixel> want, Picture<Pixel> got) {
  for (int y = 0; y < want.height; ++y) {
    for (int x = 0; x < want.width; ++x) {
      if (!SamePixel(*want.At(x, y), *got.At(x, y))) {
        return "pixel " + std::to_string(x) + ", " + std::to_string(y) + " is " +
               Text(*got.At(x, y)) + ", not " + Text(*want.At(x, y));
      }
      *got.At(x, y) = *want.At(x, y);  // any NaN is as good as any other
    }
  }
  return want.bytes == got.bytes ? "" : "bytes between or around the rows changed";
}

template <class Pixel>
struct Command {
  ModeName mode;
  int seed, keep, field, what, mask_left, mask_top, x, y, tables;
  float opacity;
  bool has_rect, has_mask;
  M_Rect rect;
  Picture<Pixel> src, mask, dst;

  Command(Operands<Pixel>* o, const ModeName& m, int largest)
      : mode(m),
        seed(static_cast<int>(o->Word())),
        keep(o->Below(3) == 0),
        field(o->Below(3) == 0   ? o->Between(1, 2)
              : o->Below(4) == 0 ? 7
                                 : 0),
        what(o->Below(4)),
        mask_left(o->Between(-largest / 2, largest)),
        mask_top(o->Between(-largest / 2, largest)),
        x(o->Between(-largest, largest)),
        y(o->Between(-largest / 2, largest)),
        tables(o->Below(2) * o->Between(0, 2) - o->Below(2)),
        opacity(std::vector<float>{1, 1, 0.7f, 0.25f, 1 / 510.0f, 0, 1.5f, -1}[o->Word() % 8]),
        has_rect(o->Below(3) != 0),
        has_mask(o->Below(2) != 0 || m.mode == VX_Xfer_MaskMix),
        src(o, o->Between(1, largest), o->Between(1, largest)),
        mask(o, o->Between(1, largest), o->Between(1, largest)),
        dst(o, o->Between(1, largest), o->Between(1, largest)) {
    const auto edge = [&](int from) { return static_cast<int16_t>(o->Between(from, largest)); };
    rect.left = edge(-5);
    rect.top = edge(-5);
    // Now and then empty or turned around.
    rect.right = edge(o->Below(8) == 0 ? -5 : rect.left < largest ? rect.left + 1 : largest);
    rect.bottom = edge(o->Below(8) == 0 ? -5 : rect.top < largest ? rect.top + 1 : largest);
  }

  const VX_LinearBlendingTables* Tables() const {
    return tables < 0 ? nullptr : &LinearTables()[static_cast<size_t>(tables)];
  }
  VX_CompositeModePlus Plus() const {
    // Tables in the record are not read.
    return {mode.mode, opacity, tables < 0 ? &LinearTables()[0] : nullptr, keep != 0, seed};
  }
  VX_Err Run(Picture<Pixel>* onto, int in_field, VX_ProgressInfo* progress = nullptr) {
    VX_LayerDef from = src.World(), over = mask.World(), to = onto->World();
    const VX_MaskSpec spec = {&over, static_cast<int16_t>(mask_top),
                              static_cast<int16_t>(mask_left), what};
    const VX_CompositeModePlus plus = Plus();
    return VX_TransferRect(progress, 1, 2, in_field, has_rect ? &rect : nullptr, &from, &plus,
                           Tables(), has_mask ? &spec : nullptr, x, y, &to);
  }
  VX_Err RunTwin(Picture<Pixel>* onto) {
    const vxref::MaskImage over = {mask.Image(), mask_left, mask_top, what};
    return vxref::Transfer<Pixel>({has_rect ? &rect : nullptr, x, y, field}, src.Image(), Plus(),
                                  Tables(), has_mask ? &over : nullptr, onto->Image());
  }
  std::string Describe() const {
    const auto size = [](const Picture<Pixel>& p) {
      return std::to_string(p.width) + "x" + std::to_string(p.height);
    };
    return std::string(mode.name) + ", " + std::to_string(kDepth<Pixel>) + " bits, tables " +
           std::to_string(tables) + ", opacity " + Text(opacity) + ", keep " +
           std::to_string(keep) + ", seed " + std::to_string(seed) + ", field " +
           std::to_string(field) + ", " + size(src) + " on " + size(dst) + " at " +
           std::to_string(x) + "," + std::to_string(y) +
           (has_rect ? ", ltrb " + std::to_string(rect.left) + "," + std::to_string(rect.top) +
                           "," + std::to_string(rect.right) + "," + std::to_string(rect.bottom)
                     : "") +
           (has_mask ? ", mask " + size(mask) + " at " + std::to_string(mask_left) + "," +
                           std::to_string(mask_top) + " for " + std::to_string(what)
                     : "");
  }
};

template <class Pixel>
class TransferRect : public testing::Test {};
TYPED_TEST_SUITE(TransferRect, PixelTypes, DepthNames);

TYPED_TEST(TransferRect, RandomCommandsAgreeWithTwin) {
  Operands<TypeParam> operands(10);
  for (const ModeName& mode : AllModes()) {
    bool good = true;
    for (int run = 0; good && run < 120; ++run) {
      Command<TypeParam> command(&operands, mode, run < 100 ? 20 : 70);
      Picture<TypeParam> want = command.dst, got = command.dst;
      ASSERT_EQ(command.RunTwin(&want), 0);
      EXPECT_EQ(command.Run(&got, command.field), 0) << command.Describe();
      const std::string difference = Difference(want, got);
      good = difference.empty();
      EXPECT_TRUE(good) << command.Describe() << ": " << difference;
    }
  }
}

TYPED_TEST(TransferRect, TwoFieldsMakeTheWhole) {
  Operands<TypeParam> operands(11);
  for (const ModeName& mode : AllModes()) {
    for (int run = 0; run < 4; ++run) {
      Command<TypeParam> command(&operands, mode, 20);
      Picture<TypeParam> whole = command.dst, halves = command.dst;
      EXPECT_EQ(command.Run(&whole, VX_Field_Both), 0);
      EXPECT_EQ(command.Run(&halves, VX_Field_EvenRows), 0);
      EXPECT_EQ(command.Run(&halves, VX_Field_OddRows), 0);
      const std::string difference = Difference(whole, halves);
      ASSERT_TRUE(difference.empty()) << command.Describe() << ": " << difference;
    }
  }
}

// A placement far outside neither wraps nor draws, and a stencil there clears nothing.
TYPED_TEST(TransferRect, FarPlacementsDrawNothing) {
  Operands<TypeParam> operands(12);
  Command<TypeParam> command(&operands, {VX_Xfer_StencilAlpha, "stencil-alpha"}, 9);
  command.has_mask = command.has_rect = false;
  for (const int far : {65536, 65537, -65536, 32768, INT32_MAX, INT32_MIN, 9, -9}) {
    Picture<TypeParam> got = command.dst;
    command.x = far;
    command.y = 0;
    EXPECT_EQ(command.Run(&got, 0), 0);
    command.x = 0;
    command.y = far;
    EXPECT_EQ(command.Run(&got, 0), 0);
    EXPECT_EQ(Difference(command.dst, got), "") << far;
  }
}

struct Polls {
  std::vector<std::pair<int, int>> seen;
  size_t stop_at;
};
VX_Err Poll(void* refcon, int32_t step, int32_t final_step) {
  Polls* polls = static_cast<Polls*>(refcon);
  polls->seen.emplace_back(step, final_step);
  return polls->seen.size() == polls->stop_at ? 517 : 0;
}

// Destination rows 0, 128 and 256 poll, after they are drawn.
TYPED_TEST(TransferRect, ProgressIsPolledOnceIn128RowsAndCanStop) {
  Operands<TypeParam> operands(13);
  Command<TypeParam> command(&operands, {VX_Xfer_Copy, "copy"}, 4);
  command.has_rect = command.has_mask = false;
  command.tables = -1;
  command.opacity = 1.0f;
  command.keep = 0;
  command.src = Picture<TypeParam>(&operands, 3, 400);
  command.dst = Picture<TypeParam>(&operands, 3, 300);
  command.x = 0;
  command.y = 5;
  for (const size_t stop_at : {size_t{0}, size_t{2}}) {
    Polls polls = {{}, stop_at};
    VX_ProgressInfo progress = {};
    progress.progress_func = Poll;
    progress.progress_refcon = &polls;
    Picture<TypeParam> got = command.dst;
    EXPECT_EQ(command.Run(&got, 0, &progress), stop_at == 0 ? 0 : 517);
    EXPECT_EQ(polls.seen, (std::vector<std::pair<int, int>>{{128 - 5, 295}, {256 - 5, 295}}));
    for (int y = 0; y < 300; ++y) {
      const bool drawn = y >= 5 && (stop_at == 0 || y <= 256);
      const TypeParam want = drawn ? *command.src.At(1, y - 5) : *command.dst.At(1, y);
      ASSERT_TRUE(SamePixel(*got.At(1, y), want)) << "row " << y;
    }
  }
}

TYPED_TEST(TransferRect, RefusalsLeaveTheDestination) {
  TakeReportTexts();
  Operands<TypeParam> operands(14);
  Command<TypeParam> command(&operands, {VX_Xfer_InFront, "in-front"}, 9);
  Picture<TypeParam> got = command.dst;
  VX_LayerDef src = command.src.World(), dst = got.World(), mask = command.mask.World();
  VX_LayerDef other = src;
  other.world_flags = 0;
  EXPECT_EQ(VXp_SetWorldDepth(&other, kDepth<TypeParam> == 8 ? 16 : 8), 0);
  VX_LayerDef other_mask = mask;
  other_mask.world_flags = other.world_flags;
  const VX_CompositeModePlus mode(VX_Xfer_InFront, 1.0f, nullptr, false, 0);
  const VX_CompositeModePlus stencil(99, 1.0f, nullptr, false, 0);
  const VX_CompositeModePlus reserved(-1, 1.0f, nullptr, false, 0);
  const VX_MaskSpec no_world = {nullptr, 0, 0, 0}, deep = {&other_mask, 0, 0, 0};
  const VX_MaskSpec use_4 = {&mask, 0, 0, 4}, use_minus_1 = {&mask, 0, 0, -1};
  struct Case {
    const char* what;
    const VX_LayerDef* src;
    const VX_CompositeModePlus* mode;
    const VX_MaskSpec* mask;
    VX_LayerDef* dst;
    VX_Err want;
  };
  const Case cases[] = {
      {"no source", nullptr, &mode, nullptr, &dst, 3},
      {"no mode", &src, nullptr, nullptr, &dst, 3},
      {"no destination", &src, &mode, nullptr, nullptr, 3},
      {"unequal depths", &other, &mode, nullptr, &dst, 3},
      {"mask without world", &src, &mode, &no_world, &dst, 3},
      {"mask of another depth", &src, &mode, &deep, &dst, 3},
      {"mask use 4", &src, &mode, &use_4, &dst, 3},
      {"mask use -1", &src, &mode, &use_minus_1, &dst, 3},
      {"mode 99", &src, &stencil, nullptr, &dst, 5},
      {"mode -1", &src, &reserved, nullptr, &dst, 5},
  };
  for (const Case& c : cases) {
    TakeReportTexts();
    EXPECT_EQ(
        VX_TransferRect(nullptr, 0, 0, 0, nullptr, c.src, c.mode, nullptr, c.mask, 0, 0, c.dst),
        c.want)
        << c.what;
    EXPECT_EQ(Difference(command.dst, got), "") << c.what;
    if (c.want == 5) {
      EXPECT_EQ(TakeReportTexts(), std::vector<std::string>{"unimplemented blending mode."});
    }
  }
  EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, &other, &mode, nullptr, nullptr, 0, 0, &dst),
            3);
  EXPECT_EQ(TakeReportTexts(),
            std::vector<std::string>{
                "VX_TransferRect requires src and dst worlds to have same bit depth"});
}

// A depth code that does not exist counts as 8 bits and is told once for each world that has it,
// however often a transfer looks at the depth.
TEST(TransferRectDepth, UnknownCodesAreToldOnceAWorld) {
  Operands<VX_Pixel8> operands(16);
  Command<VX_Pixel8> command(&operands, {VX_Xfer_StencilAlpha, "stencil-alpha"}, 9);
  const VX_CompositeModePlus mode(VX_Xfer_StencilAlpha, 1.0f, nullptr, false, 0);
  const auto run = [&](Picture<VX_Pixel8>* onto, uint32_t flags) {
    VX_LayerDef src = command.src.World(), mask = command.mask.World(), dst = onto->World();
    src.world_flags = mask.world_flags = dst.world_flags = flags;
    const VX_MaskSpec spec = {&mask, 1, 1, VX_MaskUse_InverseAlpha};
    return VX_TransferRect(nullptr, 0, 0, 0, nullptr, &src, &mode, nullptr, &spec, 0, 0, &dst);
  };
  Picture<VX_Pixel8> want = command.dst, got = command.dst;
  TakeReportTexts();
  ASSERT_EQ(run(&want, 0), 0);
  EXPECT_EQ(TakeReportTexts(), std::vector<std::string>{});
  EXPECT_EQ(run(&got, 0x07000000), 0);
  EXPECT_EQ(TakeReportTexts(), std::vector<std::string>(3, "Unknown pixel format"));
  EXPECT_EQ(Difference(want, got), "");
}

// An unknown depth is refused whether or not the rectangles meet.
TEST(TransferRectDepth, UnknownDepthComesBeforeGeometry) {
  class OddWorld : public VX_WorldX<VX_Pixel8> {
   public:
    using VX_WorldX::VX_WorldX;
    int32_t Depth() const override { return 24; }
  };
  VX_Pixel8 pixel{};
  VX_LayerDef memory{};
  memory.data = &pixel;
  memory.rowbytes = 4;
  memory.width = memory.height = 1;
  OddWorld src(&memory, true), dst(&memory, true);
  const VX_CompositeModePlus mode(VX_Xfer_InFront, 1.0f, nullptr, false, 0);
  for (const int32_t x : {0, 50}) {
    TakeReportTexts();
    EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, &src, &mode, nullptr, nullptr, x, 0, &dst),
              3);
    EXPECT_EQ(TakeReportTexts(),
              std::vector<std::string>{"Unknown world bitdepth in##CONDITIONNAME"});
  }
}

// Memory that fails at the nth allocation. The library is born anew on it, because the host's
// source of memory changes only while nothing is alive.
class FailingMemory {
 public:
  FailingMemory() {
    EXPECT_EQ(VX_Death(), 0);
    const VXHost_Allocator allocator = {Allocate, Release, this};
    VXHost_SetAllocator(&allocator);
    EXPECT_EQ(VX_Birth(), 0);
  }
  ~FailingMemory() {
    EXPECT_EQ(VX_Death(), 0);
    VXHost_SetAllocator(nullptr);
    EXPECT_EQ(VX_Birth(), 0);
  }
  void FailAt(int nth) { left_ = nth; }

 private:
  static void* Allocate(size_t size, void* context) {
    if (--static_cast<FailingMemory*>(context)->left_ == 0) return nullptr;
    return std::aligned_alloc(16, (size + 15) / 16 * 16);
  }
  static void Release(void* block, void*) { std::free(block); }

  int left_ = 0;
};

// Each allocation in turn: 4 and an untouched destination, or a good composite; nothing leaks.
TYPED_TEST(TransferRect, OutOfMemory) {
  Operands<TypeParam> operands(15);
  Command<TypeParam> command(&operands, {VX_Xfer_Overlay, "overlay"}, 20);
  command.has_rect = false;
  command.has_mask = true;
  command.what = VX_MaskUse_InverseLuma;
  command.x = command.y = 0;
  command.tables = -1;
  Picture<TypeParam> want = command.dst;
  ASSERT_EQ(command.Run(&want, 0), 0);
  FailingMemory memory;
  const int64_t blocks = VXHost_GetMemory().blocks;
  VX_Err err = 4;
  for (int nth = 1; err != 0 && nth < 20; ++nth) {
    Picture<TypeParam> got = command.dst;
    memory.FailAt(nth);
    err = command.Run(&got, 0);
    memory.FailAt(0);
    EXPECT_TRUE(err == 4 || (err == 0 && nth > 1)) << err << " at allocation " << nth;
    EXPECT_EQ(Difference(err == 0 ? want : command.dst, got), "") << "allocation " << nth;
    EXPECT_EQ(VXHost_GetMemory().blocks, blocks) << "allocation " << nth;
  }
  EXPECT_EQ(err, 0);
}

}  // namespace
