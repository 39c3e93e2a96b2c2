// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Chunks: typed two-dimensional arrays in handles of the host.
//
// A chunk comes back locked: its storage stays where locked_data says until it is unlocked. Locks
// do not nest. A bad argument is reported to the user ("invalid parameter") and gives 516.
//
// Threads: different chunks may be made, used and disposed on different threads.

#include "VX/VX_Types.h"

// Element types: four letters, the first in the top byte. Another code counts as one byte.
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

// The caller's record.
struct VX_ChannelChunk {
  uint32_t host_words[8];  // the host's own; cleared by VX_DisposeChunk only
  int32_t width;           // positions in a row
  int32_t height;          // rows
  int32_t channels;        // values at each position
  int32_t rowbytes;        // element size * width * channels
  uint32_t data_type;      // VX_ChunkType_...
  void** handle;           // the storage, or null
  void* locked_data;       // its address while locked, else null
};
static_assert(offsetof(VX_ChannelChunk, width) == 32 && offsetof(VX_ChannelChunk, handle) == 56);
static_assert(sizeof(VX_ChannelChunk) == 72);

// Makes a cleared, locked chunk; its host words stay as they were. width, height and channels are
// above 0, and a row has less than 2^31 bytes. 0; 4 when memory is short, and the chunk then has no
// handle; 516, and the record is then not written.
VX_API VX_Err VX_NewChunk(int32_t width, int32_t height, int32_t channels, uint32_t data_type,
                          VX_ChannelChunk* chunk);

// 516 for a chunk without storage.
VX_API VX_Err VX_LockChunk(VX_ChannelChunk* chunk);

// 516 for a chunk that is not locked.
VX_API VX_Err VX_UnlockChunk(VX_ChannelChunk* chunk);

// Frees the storage, locked or not, and clears the whole record. 516 for a null record.
VX_API VX_Err VX_DisposeChunk(VX_ChannelChunk* chunk);

// Stores the bytes of one element. 0, or 516 for a null place.
VX_API VX_Err VX_ChunkDataSize(uint32_t data_type, uint16_t* element_bytes);

// Copies one channel of a chunk over one channel of another of equal width, height and type, or of
// the same chunk. Locks are neither needed nor changed. 0, or 3 after a report: for chunks that
// differ ("can#{rsquo}t copy different channel worlds"), for a null chunk, one without storage or a
// channel that does not exist (bad parameter). `ref` is not read.
VX_API VX_Err VX_ChannelCopy(void* ref, const VX_ChannelChunk* src, VX_ChannelChunk* dst,
                             int32_t src_channel, int32_t dst_channel);
