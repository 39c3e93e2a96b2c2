// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Creates, locks and disposes chunks.

#include "VX/VX_Chunk.h"

#include <limits>

#include "VX/VX_Package.h"
#include "frame/VXp_Counters.h"
#include "frame/VXp_Report.h"

namespace {

constexpr uint32_t kCheck = kVXp_PackageWord | 0x4A;
constexpr int32_t kInvalidParameter = 1;
constexpr int32_t kStorageLabel = 17;

VX_Err Refuse() { return VXp_ReportEntry(kCheck, kInvalidParameter, VX_ErrReported); }

int32_t ElementBytes(uint32_t data_type) {
  switch (data_type) {
    case VX_ChunkType_Double: return 8;
    case VX_ChunkType_Float:
    case VX_ChunkType_Long:
    case VX_ChunkType_Fixed:
    case VX_ChunkType_UFixed: return 4;
    case VX_ChunkType_ThreeBytes: return 3;
    case VX_ChunkType_Short:
    case VX_ChunkType_UShort: return 2;
    default: return 1;
  }
}

}  // namespace

VX_Err VX_ChunkDataSize(uint32_t data_type, uint16_t* element_bytes) {
  if (element_bytes == nullptr) return Refuse();
  *element_bytes = static_cast<uint16_t>(ElementBytes(data_type));
  return VX_Ok;
}

VX_Err VX_NewChunk(int32_t width, int32_t height, int32_t channels, uint32_t data_type,
                   VX_ChannelChunk* chunk) {
  if (width <= 0 || height <= 0 || channels <= 0 || chunk == nullptr) return Refuse();
  uint16_t element_bytes = 0;
  VX_ChunkDataSize(data_type, &element_bytes);
  const int64_t values = int64_t{width} * channels;
  if (values > std::numeric_limits<int32_t>::max() / element_bytes) return Refuse();

  chunk->width = width;
  chunk->height = height;
  chunk->channels = channels;
  chunk->rowbytes = static_cast<int32_t>(values * element_bytes);
  chunk->data_type = data_type;
  chunk->locked_data = nullptr;
  chunk->handle =
      U_AllocateHandleClear(kCheck, U_ZLookupLStrCache(&VX_G_zref, kStorageLabel),
                            static_cast<size_t>(chunk->rowbytes) * static_cast<size_t>(height));
  if (chunk->handle == nullptr) return VX_ErrOutOfMemory;

  const VX_Err error = VX_LockChunk(chunk);
  if (error != VX_Ok) {
    U_FreeHandle(chunk->handle);
    chunk->handle = nullptr;
    return error;
  }
  VXp_AddLiveChunks(1);
  return VX_Ok;
}

VX_Err VX_LockChunk(VX_ChannelChunk* chunk) {
  if (chunk == nullptr || chunk->handle == nullptr || *chunk->handle == nullptr) return Refuse();
  chunk->locked_data = *chunk->handle;
  return VX_Ok;
}

VX_Err VX_UnlockChunk(VX_ChannelChunk* chunk) {
  if (chunk == nullptr || chunk->locked_data == nullptr) return Refuse();
  chunk->locked_data = nullptr;
  return VX_Ok;
}

VX_Err VX_DisposeChunk(VX_ChannelChunk* chunk) {
  if (chunk == nullptr) return Refuse();
  if (chunk->handle != nullptr) {
    U_FreeHandle(chunk->handle);
    VXp_AddLiveChunks(-1);
  }
  *chunk = {};
  return VX_Ok;
}
