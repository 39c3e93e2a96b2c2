// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Copies a channel between chunks.

#include "VX/VX_Chunk.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_RowMemory.h"
#include "frame/VXp_Rows.h"
#include "host/EMUL.h"

namespace {

constexpr uint32_t kCheck = kVXp_PackageWord | 0x4A;
constexpr int32_t kDifferentWorlds = 16;

template <size_t size>
struct Element {
  uint8_t bytes[size];
};

// One channel of a chunk.
struct Channel {
  char* first;
  ptrdiff_t step;
  ptrdiff_t pitch;
};

using RowCopy = void (*)(const char* from, ptrdiff_t from_step, char* to, ptrdiff_t to_step,
                         int32_t count);

template <size_t size>
void CopyRow(const char* from, ptrdiff_t from_step, char* to, ptrdiff_t to_step, int32_t count) {
  for (int32_t x = 0; x < count; ++x, from += from_step, to += to_step) {
    VXp_Store(to, VXp_Load<Element<size>>(from));
  }
}

RowCopy RowCopyOf(int32_t element_bytes) {
  switch (element_bytes) {
    case 8: return CopyRow<8>;
    case 4: return CopyRow<4>;
    case 3: return CopyRow<3>;
    case 2: return CopyRow<2>;
    default: return CopyRow<1>;
  }
}

// Returns whether the storage exists, a row fits into rowbytes, and the channel exists.
bool Usable(const VX_ChannelChunk* chunk, int32_t channel, int32_t element_bytes) {
  return chunk->handle != nullptr && *chunk->handle != nullptr && chunk->width > 0 &&
         chunk->height > 0 && channel >= 0 && channel < chunk->channels &&
         int64_t{chunk->width} * chunk->channels <= chunk->rowbytes / element_bytes;
}

// Returns the first element of a channel and the distances between its elements and rows. The
// storage is accessed through the handle, so the chunk need not be locked.
Channel ChannelOf(const VX_ChannelChunk& chunk, int32_t channel, int32_t element_bytes) {
  return {static_cast<char*>(*chunk.handle) + ptrdiff_t{channel} * element_bytes,
          ptrdiff_t{chunk.channels} * element_bytes, chunk.rowbytes};
}

}  // namespace

VX_Err VX_ChannelCopy(void*, const VX_ChannelChunk* src, VX_ChannelChunk* dst, int32_t src_channel,
                      int32_t dst_channel) {
  if (src == nullptr || dst == nullptr) return VXp_BadParameter(kCheck);
  if (src->width != dst->width || src->height != dst->height || src->data_type != dst->data_type) {
    return VXp_ReportEntry(kCheck, kDifferentWorlds, VX_ErrBadParameter);
  }
  uint16_t element_bytes = 0;
  VX_ChunkDataSize(src->data_type, &element_bytes);
  if (!Usable(src, src_channel, element_bytes) || !Usable(dst, dst_channel, element_bytes)) {
    return VXp_BadParameter(kCheck);
  }
  const Channel from = ChannelOf(*src, src_channel, element_bytes);
  const Channel to = ChannelOf(*dst, dst_channel, element_bytes);
  const bool packed = src->channels == 1 && dst->channels == 1;
  const RowCopy copy = RowCopyOf(element_bytes);
  const auto memory = [&](const VX_ChannelChunk& chunk) {
    return VXp_RowMemory{static_cast<const char*>(*chunk.handle), chunk.rowbytes,
                         ptrdiff_t{chunk.width} * chunk.channels * element_bytes, chunk.height};
  };
  const bool independent = VXp_RowsAreIndependent(memory(*dst), {memory(*src)});
  const VXp_Bands bands = VXp_PlanBands(src->height, src->width, independent);
  return VXp_ForBands(bands, [&](int32_t, int32_t y) -> VX_Err {
    const char* from_row = from.first + y * from.pitch;
    char* to_row = to.first + y * to.pitch;
    if (packed) {
      BlockMove(from_row, to_row, static_cast<size_t>(src->width) * element_bytes);
    } else {
      copy(from_row, from.step, to_row, to.step, src->width);
    }
    return VX_Ok;
  });
}
