// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Copies channels of an 8-bit world to a buffer and back.

#include <algorithm>
#include <array>
#include <limits>

#include "VX/VX_EffectWorld.h"
#include "VX/VX_Package.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_RowMemory.h"
#include "frame/VXp_Rows.h"

namespace {

constexpr uint32_t kExtractNumber = 4;
constexpr uint32_t kInsertNumber = 5;
constexpr int32_t kBufferLabel = 3;
constexpr uint32_t kAllPlanes = VX_Plane_Alpha | VX_Plane_Red | VX_Plane_Green | VX_Plane_Blue;

// The byte offsets within a pixel of the channels that a mask selects, in ascending order.
struct Planes {
  explicit Planes(uint32_t mask) {
    for (uint32_t byte = 0; byte < 4; ++byte) {
      if ((mask >> byte & 1) != 0) bytes[count++] = byte;
    }
  }
  size_t count = 0;
  std::array<size_t, 4> bytes{};
};

enum class Direction { Extract, Insert };

template <Direction direction, size_t count>
void MoveRow(uint8_t* pixel, uint8_t* packed, std::array<size_t, 4> bytes, int32_t width) {
  for (int32_t x = 0; x < width; ++x, pixel += sizeof(VX_Pixel8), packed += count) {
    for (size_t i = 0; i < count; ++i) {
      if constexpr (direction == Direction::Extract) {
        packed[i] = pixel[bytes[i]];
      } else {
        pixel[bytes[i]] = packed[i];
      }
    }
  }
}

template <Direction direction>
VX_Err MoveRows(const VX_LayerDef& world, const Planes& planes, void* buffer, int32_t row_size) {
  using RowMove = void (*)(uint8_t*, uint8_t*, std::array<size_t, 4>, int32_t);
  constexpr RowMove kMoves[] = {MoveRow<direction, 0>, MoveRow<direction, 1>, MoveRow<direction, 2>,
                                MoveRow<direction, 3>, MoveRow<direction, 4>};
  const RowMove move = kMoves[planes.count];
  auto* const packed = static_cast<uint8_t*>(buffer);
  const VXp_RowMemory pixels = VXp_MemoryOf(world, sizeof(VX_Pixel8));
  const VXp_RowMemory samples = {static_cast<const char*>(buffer), row_size, row_size,
                                 world.height};
  const bool extracts = direction == Direction::Extract;
  const bool independent =
      VXp_RowsAreIndependent(extracts ? samples : pixels, {extracts ? pixels : samples});
  const VXp_Bands bands = VXp_PlanBands(world.height, world.width, independent);
  return VXp_ForBands(bands, [&](int32_t, int32_t y) -> VX_Err {
    char* const row = VXp_PixelAddress<VX_Pixel8>(world, 0, y);
    move(reinterpret_cast<uint8_t*>(row), packed + ptrdiff_t{y} * row_size, planes.bytes,
         world.width);
    return VX_Ok;
  });
}

int64_t Size(int32_t size) { return std::max(size, 0); }

}  // namespace

VX_Err VX_ExtractPlanes(void*, const VX_LayerDef* world, uint32_t mask, void*** handle,
                        int32_t* row_size) {
  if (world == nullptr || world->data == nullptr || mask > kAllPlanes || handle == nullptr ||
      row_size == nullptr) {
    return VXp_BadParameter(kExtractNumber);
  }
  *handle = nullptr;
  *row_size = 0;
  const Planes planes(mask);
  const int64_t size =
      ((Size(world->width) + 8) * static_cast<int64_t>(planes.count) + 3) & ~int64_t{1};
  if (size > std::numeric_limits<int32_t>::max()) return VXp_BadParameter(kExtractNumber);

  void** const made = U_AllocateHandle(kVXp_PackageWord | kExtractNumber,
                                       U_ZLookupLStrCache(&VX_G_zref, kBufferLabel),
                                       static_cast<size_t>(Size(world->height) * size));
  if (made == nullptr) return VX_ErrOutOfMemory;
  const VX_Err error =
      MoveRows<Direction::Extract>(*world, planes, *made, static_cast<int32_t>(size));
  if (error != VX_Ok) {
    U_FreeHandle(made);
    return error;
  }
  *handle = made;
  *row_size = static_cast<int32_t>(size);
  return VX_Ok;
}

VX_Err VX_InsertPlanes(void*, void** handle, int32_t row_size, uint32_t mask, VX_LayerDef* world) {
  if (world == nullptr || world->data == nullptr || mask > kAllPlanes || row_size <= 0 ||
      handle == nullptr || *handle == nullptr) {
    return VXp_BadParameter(kInsertNumber);
  }
  const Planes planes(mask);
  if (Size(world->width) * static_cast<int64_t>(planes.count) > row_size) {
    return VXp_BadParameter(kInsertNumber);  // else the last row would overrun the handle
  }
  return MoveRows<Direction::Insert>(*world, planes, *handle, row_size);
}
