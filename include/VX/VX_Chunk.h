// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Chunks: typed two-dimensional arrays in handles of the host.
//
// A new chunk is locked: its storage is at locked_data until it is unlocked. Locks do not nest.
// Unless stated otherwise, a bad argument returns VX_ErrReported after a report to the user
// ("invalid parameter").
//
// Threads: different chunks may be used on different threads.

#include "VX/VX_Types.h"

// Element types: four letters, the first in the most significant byte. An element of an unknown
// type has one byte.
enum : uint32_t {
  VX_ChunkType_Float = 0x464C5434,       // "FLT4", 4 bytes
  VX_ChunkType_Double = 0x44424C38,      // "DBL8", 8
  VX_ChunkType_Long = 0x4C4F4E34,        // "LON4", 4
  VX_ChunkType_Short = 0x53485432,       // "SHT2", 2
  VX_ChunkType_Fixed = 0x46495834,       // "FIX4", 4
  VX_ChunkType_UFixed = 0x55465834,      // "UFX4", 4
  VX_ChunkType_Char = 0x43485231,        // "CHR1", 1
  VX_ChunkType_UByte = 0x55425431,       // "UBT1", 1
  VX_ChunkType_UShort = 0x55535432,      // "UST2", 2
  VX_ChunkType_ThreeBytes = 0x52424720,  // "RBG " in that order, 3
};

// Describes a chunk. The caller provides the memory of this struct; the elements are in a handle of
// the host.
struct VX_ChannelChunk {
  uint32_t host_words[8];  // reserved for the host; the library changes them only by clearing them
                           // in VX_DisposeChunk
  int32_t width;           // positions per row
  int32_t height;          // rows
  int32_t channels;        // values per position
  int32_t rowbytes;        // element size * width * channels
  uint32_t data_type;      // VX_ChunkType_...
  void** handle;           // the storage; may be null
  void* locked_data;       // address of the storage while locked, else null
};
static_assert(offsetof(VX_ChannelChunk, width) == 32 && offsetof(VX_ChannelChunk, handle) == 56);
static_assert(sizeof(VX_ChannelChunk) == 72);

// Creates a locked chunk with all values 0. The host words are unchanged.
//   width, height, channels   above 0; a row has less than 2^31 bytes
//   data_type                 VX_ChunkType_...
// Returns VX_ErrOutOfMemory (the chunk then has no handle), or VX_ErrReported (`chunk` is
// unchanged).
VX_API VX_Err VX_NewChunk(int32_t width, int32_t height, int32_t channels, uint32_t data_type,
                          VX_ChannelChunk* chunk);

// Locks a chunk. Returns VX_ErrReported for a chunk without storage.
VX_API VX_Err VX_LockChunk(VX_ChannelChunk* chunk);

// Unlocks a chunk. Returns VX_ErrReported if it is not locked.
VX_API VX_Err VX_UnlockChunk(VX_ChannelChunk* chunk);

// Frees the storage, also while locked, and clears all fields. Returns VX_ErrReported for null.
VX_API VX_Err VX_DisposeChunk(VX_ChannelChunk* chunk);

// Stores the size of one element in bytes. Returns VX_ErrReported for null.
VX_API VX_Err VX_ChunkDataSize(uint32_t data_type, uint16_t* element_bytes);

// Copies one channel to a channel of another chunk with equal width, height and type, or of the
// same chunk. The chunks need not be locked, and stay locked or unlocked. `ref` is ignored. Returns
// VX_ErrBadParameter with a report for a null chunk, a chunk without storage, an invalid channel,
// or chunks that differ (report "can#{rsquo}t copy different channel worlds").
VX_API VX_Err VX_ChannelCopy(void* ref, const VX_ChannelChunk* src, VX_ChannelChunk* dst,
                             int32_t src_channel, int32_t dst_channel);
