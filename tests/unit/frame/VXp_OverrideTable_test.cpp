// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The override table and the callback block, in a born package.

#include "frame/VXp_OverrideTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Fill.h"
#include "VX/VX_Package.h"
#include "VX/VX_Premul.h"
#include "unit/GuardedWorld.h"

namespace {

// The program's environment initialised the package.
class VXpOverrideTable : public testing::Test {
 protected:
  VXpOverrideTable() { Reports(); }

 private:
  const KeptSlots kept_;
};

VX_Err Replacement(int32_t, void*, VX_GenericFunc) { return 1234; }
void* const kReplacement = reinterpret_cast<void*>(&Replacement);

TEST_F(VXpOverrideTable, AfterBirthTheListedSlotsAndNoOthersAreFilled) {
  const std::set<int32_t> empty = {0,  1,  11, 12, 13, 14, 15, 16, 29, 30, 33,
                                   34, 49, 50, 59, 66, 67, 69, 79, 80, 90, 91};
  int32_t filled = 0;
  for (int32_t slot = 0; slot < 118; ++slot) {
    VX_SlotDescription description{};
    ASSERT_EQ(VX_DescribeSlot(slot, &description), 0);
    const bool listed = empty.count(slot) == 0;
    EXPECT_EQ(VXp_ReadSlot(VXp_G_OverFuncs, slot) != nullptr, listed) << slot;
    EXPECT_EQ(description.name != nullptr, listed) << slot;
    EXPECT_EQ(description.signature != nullptr, listed) << slot;
    EXPECT_EQ(description.state, listed ? VX_SlotState_BuiltIn : VX_SlotState_Null) << slot;
    filled += listed;
  }
  EXPECT_EQ(filled, 96);
  VX_SlotDescription transfer{};
  ASSERT_EQ(VX_DescribeSlot(31, &transfer), 0);
  EXPECT_STREQ(transfer.name, "VX_TransferRect_S");
  EXPECT_EQ(VX_DescribeSlot(118, &transfer), 3);
  EXPECT_EQ(VX_DescribeSlot(-1, &transfer), 3);
  EXPECT_EQ(VX_DescribeSlot(31, nullptr), 3);
}

TEST_F(VXpOverrideTable, ReplacementsAreCalledAndDescribed) {
  ASSERT_EQ(VX_SetOverrideFunc(53, kReplacement), 0);
  VX_SlotDescription replaced{};
  EXPECT_EQ(VX_DescribeSlot(53, &replaced), 0);
  EXPECT_EQ(replaced.number, 53);
  EXPECT_EQ(replaced.state, VX_SlotState_Replaced);
  EXPECT_EQ(VXp_G_OverFuncs.VX_IterateGeneric_Static(1, nullptr, nullptr), 1234);
  EXPECT_TRUE(Reports().empty());

  const KeptSlots before;
  for (const int32_t slot : {-1, 118, 0, 59, 91, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(VX_SetOverrideFunc(slot, kReplacement), 3) << slot;
    EXPECT_EQ(Reports().size(), 1u) << slot;
  }
  EXPECT_EQ(VX_SetOverrideFunc(53, nullptr), 3);
  EXPECT_EQ(std::memcmp(&before.kept, &VXp_G_OverFuncs, sizeof before.kept), 0);
  Reports();
  EXPECT_EQ(VX_OverrideStdFuncs(), 515);
  EXPECT_EQ(Reports(), (ReportList{{0x25002F, "Obsolete routine"}}));
}

TEST_F(VXpOverrideTable, CallbacksByQualityAndAlpha) {
  // The slot that a selector leads to: draft straight, draft premultiplied, high of both.
  const struct {
    int32_t selector;
    int32_t slots[4];
  } cases[] = {{VX_Callback_Nearest, {2, 2, 2, 2}},    {VX_Callback_Bilinear, {2, 2, 3, 4}},
               {VX_Callback_Area, {2, 2, 5, 6}},       {VX_Callback_Copy, {23, 23, 24, 25}},
               {VX_Callback_Composite, {7, 8, 9, 10}}, {VX_Callback_Convolve, {28, 28, 28, 28}},
               {VX_Callback_Iterate, {42, 42, 42, 42}}};
  for (const auto& c : cases) {
    for (int32_t which = 0; which < 4; ++which) {
      void* routine = nullptr;
      const int32_t flags = 0x40 | (which % 2 == 0 ? 1 : 0);  // only bit 0 counts
      EXPECT_EQ(VX_GetCallbackAddr(nullptr, which / 2, flags, c.selector, &routine), 0);
      EXPECT_EQ(routine, VXp_ReadSlot(VXp_G_OverFuncs, c.slots[which])) << c.selector;
    }
  }
  void* routine = nullptr;
  EXPECT_EQ(VX_GetCallbackAddr(nullptr, 1, 1, VX_Callback_Fill, &routine), 0);
  EXPECT_EQ(routine, reinterpret_cast<void*>(&VX_Fill));
  EXPECT_EQ(VX_GetCallbackAddr(nullptr, 1, 1, VX_Callback_Premultiply, &routine), 0);
  EXPECT_EQ(routine, reinterpret_cast<void*>(&VX_Premul));

  for (const int32_t selector : {-1, 10, INT32_MAX}) {
    EXPECT_EQ(VX_GetCallbackAddr(nullptr, 1, 1, selector, &routine), 3);
    EXPECT_EQ(routine, reinterpret_cast<void*>(&VX_Premul)) << "untouched";
    EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "invalid callback selector"}}));
  }
  EXPECT_EQ(VX_GetCallbackAddr(nullptr, 1, 1, VX_Callback_Fill, nullptr), 3);
}

TEST_F(VXpOverrideTable, TheBlockFollowsSlotsAndQuality) {
  VX_CallbackBlock block;
  ASSERT_EQ(VX_GetCallbackBlock(&block), 0);
  EXPECT_EQ(block.bilinear, VXp_G_OverFuncs.VX_SubpixelSample_Straight);
  EXPECT_EQ(block.composite, VXp_G_OverFuncs.VX_CompositeRectBest_Straight);
  for (void* reserved : block.reserved) EXPECT_EQ(reserved, nullptr);

  VXp_G_OverFuncs.VX_NNSample = [](auto...) -> VX_Err { return 77; };
  ASSERT_EQ(VX_SetCallbackBlockQuality(&block, VX_Quality_Draft), 0);
  EXPECT_EQ(block.bilinear(nullptr, 0, 0, nullptr, nullptr), 77);
  EXPECT_EQ(block.copy, VXp_G_OverFuncs.VX_CopyBits_Draft_Static);
  EXPECT_EQ(block.composite, VXp_G_OverFuncs.VX_CompositeRectDraft_Straight);
  EXPECT_EQ(VX_GetCallbackBlock(nullptr), 3);
  EXPECT_EQ(VX_SetCallbackBlockQuality(nullptr, 0), 3);
}

}  // namespace
