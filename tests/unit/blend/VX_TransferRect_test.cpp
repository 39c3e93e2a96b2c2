// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Whole composites against their slow twin: random commands on random worlds in any memory layout.

#include <thread>

#include "../../reference/RefTransfer.h"
#include "BlendTestKit.h"
#include "VX/VX_World.h"

namespace {

// Pixels without padding, as the twin takes them.
template <class Pixel>
struct Picture {
  int width, height;
  std::vector<Pixel> pixels;

  Picture(Operands<Pixel>* operands, int w, int h)
      : width(w), height(h), pixels(operands->Row(w * h)) {}
  vxref::Image Image() {
    return {reinterpret_cast<char*>(pixels.data()), width * static_cast<int>(sizeof(Pixel)), width,
            height};
  }
};

// A picture in the memory of a caller: `odd` bytes after an aligned address, rows `odd` bytes
// apart, and from the bottom up if `odd` is odd. Guard bytes surround the rows.
template <class Pixel>
class Placed {
 public:
  Placed(const Picture<Pixel>& picture, int odd) : picture_(picture) {
    row_ = static_cast<size_t>(picture.width) * sizeof(Pixel);
    pitch_ = static_cast<int>(row_) + odd;
    bytes_.assign(static_cast<size_t>(pitch_ * picture.height + odd + 64), 'x');
    first_ = bytes_.data() + 16 + odd;
    if (odd % 2 != 0) {
      first_ += pitch_ * (picture.height - 1);
      pitch_ = -pitch_;
    }
    for (int y = 0; y < picture.height; ++y) {
      std::memcpy(first_ + y * pitch_, picture_.pixels.data() + y * picture.width, row_);
    }
  }
  VX_LayerDef World() {
    VX_LayerDef world = {};
    world.data = first_;
    world.rowbytes = pitch_;
    world.width = picture_.width;
    world.height = picture_.height;
    EXPECT_EQ(VXp_SetWorldDepth(&world, kDepth<Pixel>), 0);
    return world;
  }
  // Empty if the memory holds `want` and the guard bytes are unchanged.
  std::string DifferenceFrom(const Picture<Pixel>& want) {
    for (int y = 0; y < picture_.height; ++y) {
      std::memcpy(picture_.pixels.data() + y * picture_.width, first_ + y * pitch_, row_);
      std::memset(first_ + y * pitch_, 'x', row_);
    }
    const int at = FirstDifference(want.pixels, picture_.pixels);
    if (at >= 0) {
      const auto i = static_cast<size_t>(at);
      return "pixel " + std::to_string(at % want.width) + ", " + std::to_string(at / want.width) +
             " is " + Text(picture_.pixels[i]) + ", not " + Text(want.pixels[i]);
    }
    return bytes_ == std::string(bytes_.size(), 'x') ? "" : "bytes around the rows changed";
  }

 private:
  Picture<Pixel> picture_;
  size_t row_;
  int pitch_;
  std::string bytes_;
  char* first_;
};

// Placements that draw nothing; sums with them must not wrap.
constexpr int kFar[] = {65536, -65537, 32768, 9000, INT32_MAX, INT32_MIN};

template <class Pixel>
struct Command {
  ModeName mode;
  int seed, keep, field, what, mask_left, mask_top, x, y, tables, odd;
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
        x(o->Below(30) == 0 ? kFar[o->Below(6)] : o->Between(-largest, largest)),
        y(o->Below(30) == 0 ? kFar[o->Below(6)] : o->Between(-largest / 2, largest)),
        tables(o->Below(2) * o->Between(0, 2) - o->Below(2)),
        odd(o->Below(6)),
        opacity(std::vector<float>{1, 1, 0.7f, 0.25f, 1 / 510.0f, 0, 1.5f, -1}[o->Word() % 8]),
        has_rect(o->Below(3) != 0),
        has_mask(o->Below(2) != 0 || m.mode == VX_Xfer_MaskMix),
        src(o, o->Between(1, largest), o->Between(1, largest)),
        mask(o, o->Between(1, largest), o->Between(1, largest)),
        dst(o, o->Between(1, largest), o->Between(1, largest)) {
    const auto edge = [&](int from) { return static_cast<int16_t>(o->Between(from, largest)); };
    rect.left = edge(-5);
    rect.top = edge(-5);
    // One in eight may be empty or inverted.
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
  VX_Err Run(Placed<Pixel>* onto, VX_ProgressInfo* progress = nullptr) const {
    Placed<Pixel> placed_src(src, odd), placed_mask(mask, odd);
    VX_LayerDef from = placed_src.World(), over = placed_mask.World(), to = onto->World();
    const VX_MaskSpec spec = {&over, static_cast<int16_t>(mask_top),
                              static_cast<int16_t>(mask_left), what};
    const VX_CompositeModePlus plus = Plus();
    return VX_TransferRect(progress, 1, 2, field, has_rect ? &rect : nullptr, &from, &plus,
                           Tables(), has_mask ? &spec : nullptr, x, y, &to);
  }
  VX_Err RunTwin(Picture<Pixel>* onto) {
    const vxref::MaskImage over = {mask.Image(), mask_left, mask_top, what};
    return vxref::Transfer<Pixel>({has_rect ? &rect : nullptr, x, y, field}, src.Image(), Plus(),
                                  Tables(), has_mask ? &over : nullptr, onto->Image());
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
      Picture<TypeParam> want = command.dst;
      ASSERT_EQ(command.RunTwin(&want), 0);
      // One in thirty runs on four threads.
      std::string difference[4];
      const auto compare = [&](size_t i) {
        Placed<TypeParam> got(command.dst, command.odd);
        EXPECT_EQ(command.Run(&got), 0);
        difference[i] = got.DifferenceFrom(want);
      };
      std::vector<std::thread> threads;
      for (size_t i = 1; run % 30 == 0 && i < 4; ++i) threads.emplace_back(compare, i);
      compare(0);
      for (std::thread& thread : threads) thread.join();
      for (const std::string& text : difference) {
        good = good && text.empty();
        EXPECT_EQ(text, "") << mode.name << ", run " << run << ", seed " << TestSeed();
      }
    }
  }
}

// Destination rows 0, 128 and 256 poll progress after they are drawn.
TEST(TransferRectProgress, IsPolledOnceIn128RowsAndCanStop) {
  Operands<VX_Pixel8> operands(13);
  Command<VX_Pixel8> command(&operands, {VX_Xfer_Copy, "copy"}, 4);
  command.has_rect = command.has_mask = false;
  command.tables = -1;
  command.opacity = 1.0f;
  command.keep = command.x = command.field = 0;
  command.src = Picture<VX_Pixel8>(&operands, 3, 400);
  command.dst = Picture<VX_Pixel8>(&operands, 3, 300);
  command.y = 5;
  for (const int stop_at : {0, 251}) {
    std::pair<int, std::vector<int>> polls = {stop_at, {}};
    VX_ProgressInfo progress = {};
    progress.progress_refcon = &polls;
    progress.progress_func = [](void* refcon, int32_t step, int32_t final_step) -> VX_Err {
      auto& [stop, seen] = *static_cast<std::pair<int, std::vector<int>>*>(refcon);
      EXPECT_EQ(final_step, 295);
      seen.push_back(step);
      return step == stop ? 517 : 0;
    };
    Placed<VX_Pixel8> got(command.dst, 0);
    EXPECT_EQ(command.Run(&got, &progress), stop_at == 0 ? 0 : 517);
    EXPECT_EQ(polls.second, (std::vector<int>{128 - 5, 256 - 5}));
    Picture<VX_Pixel8> want = command.dst;
    const auto first = want.pixels.begin() + 3 * 5;
    std::copy_n(command.src.pixels.begin(), 3 * (stop_at == 0 ? 295 : 252), first);
    EXPECT_EQ(got.DifferenceFrom(want), "");
  }
}

TYPED_TEST(TransferRect, RefusalsLeaveTheDestination) {
  Operands<TypeParam> operands(14);
  Command<TypeParam> command(&operands, {VX_Xfer_InFront, "in-front"}, 9);
  Placed<TypeParam> from(command.src, 0), over(command.mask, 0), got(command.dst, 0);
  VX_LayerDef src = from.World(), dst = got.World(), mask = over.World();
  VX_LayerDef other = src;
  other.world_flags = 0;
  EXPECT_EQ(VXp_SetWorldDepth(&other, kDepth<TypeParam> == 8 ? 16 : 8), 0);
  VX_LayerDef other_mask = mask;
  other_mask.world_flags = other.world_flags;
  const auto mode_of = [](int32_t number) {
    return VX_CompositeModePlus(number, 1.0f, nullptr, false, 0);
  };
  const VX_CompositeModePlus mode = mode_of(VX_Xfer_InFront), mix = mode_of(VX_Xfer_MaskMix);
  const VX_CompositeModePlus unknown = mode_of(99), reserved = mode_of(-1);
  const VX_MaskSpec no_world = {nullptr, 0, 0, 0}, deep = {&other_mask, 0, 0, 0};
  const VX_MaskSpec use_4 = {&mask, 0, 0, 4}, use_minus_1 = {&mask, 0, 0, -1};
  const char* const bad = "bad parameter passed to effect callback";
  const struct {
    const VX_LayerDef* src;
    const VX_CompositeModePlus* mode;
    const VX_MaskSpec* mask;
    VX_LayerDef* dst;
    VX_Err want;
    const char* text;
  } cases[] = {
      {nullptr, &mode, nullptr, &dst, VX_ErrBadParameter, bad},
      {&src, nullptr, nullptr, &dst, VX_ErrBadParameter, bad},
      {&src, &mode, nullptr, nullptr, VX_ErrBadParameter, bad},
      {&other, &mode, nullptr, &dst, VX_ErrBadParameter,
       "VX_TransferRect requires src and dst worlds to have same bit depth"},
      {&src, &mode, &no_world, &dst, VX_ErrBadParameter, bad},
      {&src, &mode, &deep, &dst, VX_ErrBadParameter,
       "VX_TransferRect requires src and mask worlds to have same bit depth"},
      {&src, &mode, &use_4, &dst, VX_ErrBadParameter, bad},
      {&src, &mode, &use_minus_1, &dst, VX_ErrBadParameter, bad},
      {&src, &mix, nullptr, &dst, VX_ErrBadParameter,
       "VX_Xfer_MaskMix mixes by a mask and was given none"},
      {&src, &unknown, nullptr, &dst, VX_ErrUnsupported, "unimplemented blending mode."},
      {&src, &reserved, nullptr, &dst, VX_ErrUnsupported, "unimplemented blending mode."},
  };
  for (const auto& c : cases) {
    TakeReportTexts();
    EXPECT_EQ(
        VX_TransferRect(nullptr, 0, 0, 0, nullptr, c.src, c.mode, nullptr, c.mask, 0, 0, c.dst),
        c.want);
    EXPECT_EQ(TakeReportTexts(), std::vector<std::string>{c.text});
  }
  EXPECT_EQ(got.DifferenceFrom(command.dst), "");
}

// An unknown depth code counts as 8 bits and is reported once for each world.
TEST(TransferRectDepth, UnknownCodesAreReportedOnceAWorld) {
  Operands<VX_Pixel8> operands(16);
  Command<VX_Pixel8> command(&operands, {VX_Xfer_StencilAlpha, "stencil-alpha"}, 9);
  Placed<VX_Pixel8> from(command.src, 0), over(command.mask, 0), to(command.dst, 0);
  VX_LayerDef src = from.World(), mask = over.World(), dst = to.World();
  src.world_flags = mask.world_flags = dst.world_flags = 0x07000000;
  const VX_MaskSpec spec = {&mask, 1, 1, VX_MaskUse_InverseAlpha};
  const VX_CompositeModePlus mode(VX_Xfer_StencilAlpha, 1.0f, nullptr, false, 0);
  TakeReportTexts();
  EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, &src, &mode, nullptr, &spec, 0, 0, &dst), 0);
  EXPECT_EQ(TakeReportTexts(), std::vector<std::string>(3, "Unknown pixel format"));
}

// An unknown depth is refused whether or not the rectangles overlap.
TEST(TransferRectDepth, UnknownDepthIsCheckedBeforeGeometry) {
  GuardedWorld<VX_Pixel8> pixels(1, 1, 0, 1);
  OddDepthWorld src(&pixels.world), dst(&pixels.world);
  const VX_CompositeModePlus mode(VX_Xfer_InFront, 1.0f, nullptr, false, 0);
  for (const int32_t x : {0, 50}) {
    TakeReportTexts();
    EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, &src, &mode, nullptr, nullptr, x, 0, &dst),
              VX_ErrBadParameter);
    EXPECT_EQ(TakeReportTexts(),
              std::vector<std::string>{"Unknown world bitdepth in##CONDITIONNAME"});
  }
}

}  // namespace
