// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Where the pixels of a transfer lie, and on which thread it runs, makes no difference to it.

#include <cstring>
#include <thread>

#include "BlendTestKit.h"

namespace {

constexpr int kWidth = 19, kHeight = 6;

// The same pixels somewhere in memory: `odd` bytes off any alignment, rows `odd` bytes apart, from
// the bottom up when `odd` is.
template <class Pixel>
class Placed {
 public:
  Placed(const std::vector<Pixel>& pixels, int odd)
      : pitch_(kWidth * static_cast<int>(sizeof(Pixel)) + odd),
        bytes_(static_cast<size_t>(pitch_ * kHeight + odd), 'x') {
    first_ = bytes_.data() + odd;
    if (odd % 2 != 0) {
      first_ += pitch_ * (kHeight - 1);
      pitch_ = -pitch_;
    }
    for (int y = 0; y < kHeight; ++y) {
      std::memcpy(first_ + y * pitch_, &pixels[static_cast<size_t>(y * kWidth)], kRow);
    }
  }
  VX_LayerDef World() {
    VX_LayerDef world = {};
    world.data = first_;
    world.rowbytes = pitch_;
    world.width = kWidth;
    world.height = kHeight;
    EXPECT_EQ(VXp_SetWorldDepth(&world, kDepth<Pixel>), 0);
    return world;
  }
  std::vector<Pixel> Pixels() const {
    std::vector<Pixel> pixels(kWidth * kHeight);
    for (int y = 0; y < kHeight; ++y) {
      std::memcpy(&pixels[static_cast<size_t>(y * kWidth)], first_ + y * pitch_, kRow);
    }
    return pixels;
  }

 private:
  static constexpr size_t kRow = kWidth * sizeof(Pixel);
  int pitch_;
  std::vector<char> bytes_;
  char* first_;
};

template <class Pixel>
class TransferPlaces : public testing::Test {};
TYPED_TEST_SUITE(TransferPlaces, PixelTypes, DepthNames);

TYPED_TEST(TransferPlaces, AnyAddressAnyPitchAnyThread) {
  Operands<TypeParam> operands(21);
  const auto picture = [&] { return operands.Row(kWidth * kHeight); };
  const std::vector<TypeParam> src = picture(), mask = picture(), dst = picture();
  const auto run = [&](const VX_CompositeModePlus& mode, const VX_LinearBlendingTables* tables,
                       int odd) {
    Placed<TypeParam> from(src, odd), over(mask, odd), to(dst, odd);
    VX_LayerDef s = from.World(), m = over.World(), d = to.World();
    const VX_MaskSpec spec = {&m, -1, 2, mode.seed % 4};
    EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, &s, &mode, tables, &spec, 1, -1, &d), 0);
    return to.Pixels();
  };
  for (const ModeName& mode : AllModes()) {
    const int choice = operands.Below(8);
    const VX_CompositeModePlus plus(mode.mode, 0.7f, nullptr, choice % 2 != 0, choice);
    const auto* tables = choice < 4 ? nullptr : &LinearTables()[0];
    const std::vector<TypeParam> want = run(plus, tables, 0);
    int at[4] = {};
    std::vector<std::thread> threads;
    for (int k = 0; k < 4; ++k) {
      threads.emplace_back([&, k] { at[k] = FirstDifference(want, run(plus, tables, k + 1)); });
    }
    for (std::thread& thread : threads) thread.join();
    for (int k = 0; k < 4; ++k) EXPECT_LT(at[k], 0) << mode.name << ", " << k + 1 << " bytes off";
  }
}

}  // namespace
