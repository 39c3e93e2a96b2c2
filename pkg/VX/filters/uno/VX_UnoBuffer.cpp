// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Creation, disposal and checks of one-channel buffers.

#include "VX/VX_UnoBuffer.h"

#include <limits>
#include <memory>
#include <new>

#include "VX/VX_Package.h"
#include "filters/uno/VXp_UnoBuffer.h"

namespace {

constexpr uint32_t kCheck = kVXp_PackageWord | kVXp_UnoNumber;

const char* MemoryLabel() { return U_ZLookupLStrCache(&VX_G_zref, kVXp_MaskMemoryText); }

VX_Err ReportDamage(int32_t line) {
  return VXp_FailVerification(kVXp_UnoNumber, line,
                              U_ZLookupLStrCache(&VX_G_zref, kVXp_DamagedMaskText));
}

bool HasSamples(const VX_UnoBuffer& buffer) {
  return buffer.data != nullptr && *buffer.data != nullptr;
}

// Returns the bytes per sample, 0 for an unknown depth. Buffers of older callers have depth code 1
// for 8 bits and 0 for 16 bits.
int64_t BytesOf(int32_t depth) {
  switch (depth) {
    case 1:
    case 8: return 1;
    case 0:
    case 16: return 2;
    case 32: return 4;
    default: return 0;
  }
}

// Returns the bytes of all samples together. Throws VX_ErrBadParameter after a report.
size_t SizeOf(int32_t width, int32_t height, int32_t depth) {
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  const int64_t bytes = BytesOf(depth);
  if (bytes == 0) VXp_Throw(VXp_FailVerification(kVXp_UnknownDepthText));
  if (width < 1 || height < 1) VXp_Throw(VXp_FailVerification("mask buffer without samples"));
  const int64_t samples = int64_t{width} * height;  // below 2^62
  if (samples > kMost / bytes) VXp_Throw(VXp_FailVerification("mask buffer is too large"));
  return static_cast<size_t>(samples * bytes);
}

}  // namespace

VX_UnoBuffer::VX_UnoBuffer(int32_t wide, int32_t high, int32_t bits)
    : magic(0), width(0), height(0), reserved(0), data(nullptr), depth(0) {
  const size_t size = SizeOf(wide, high, bits);
  data = U_AllocateHandle(kCheck, MemoryLabel(), size);
  if (data == nullptr) VXp_Throw(VX_ErrOutOfMemory);
  magic = VX_UnoBuffer_Magic;
  width = wide;
  height = high;
  depth = bits;
}

VX_UnoBuffer::~VX_UnoBuffer() {
  U_FreeHandle(data);
  data = nullptr;
}

VX_Err VX_NewUnoBufferOfDepth(int32_t width, int32_t height, int32_t depth, VX_UnoBuffer** out) {
  if (out == nullptr) return ReportDamage(__LINE__);
  *out = nullptr;
  void* const record = U_AllocatePtrClear(kCheck, MemoryLabel(), sizeof(VX_UnoBuffer), 0);
  if (record == nullptr) return VX_ErrOutOfMemory;
  const VX_Err error = VXp_Guarded([&] { *out = new (record) VX_UnoBuffer(width, height, depth); });
  if (error != VX_Ok) U_FreePtr(record);
  return error;
}

VX_Err VX_NewUnoBuffer(int32_t width, int32_t height, VX_UnoBuffer** out) {
  return VX_NewUnoBufferOfDepth(width, height, 8, out);
}

VX_Err VX_NewDeepUnoBuffer(int32_t width, int32_t height, VX_UnoBuffer** out) {
  return VX_NewUnoBufferOfDepth(width, height, 16, out);
}

VX_Err VX_DisposeUnoBuffer(VX_UnoBuffer* buffer) {
  if (buffer == nullptr) return VX_Ok;
  // A damaged buffer is reported and freed too. Freeing does not read its samples.
  static_cast<void>(VXp_CheckUno(buffer));
  std::destroy_at(buffer);
  U_FreePtr(buffer);
  return VX_Ok;
}

VX_Err VXp_CheckUno(const VX_UnoBuffer* buffer, int32_t line) {
  if (buffer != nullptr && buffer->magic == VX_UnoBuffer_Magic && HasSamples(*buffer)) return VX_Ok;
  ReportDamage(line);
  return buffer != nullptr && HasSamples(*buffer) ? VX_Ok : VX_ErrBadParameter;
}

VX_Err VXp_CheckUnoOfDepth(const VX_UnoBuffer* buffer, int32_t depth, int32_t line) {
  const VX_Err error = VXp_CheckUno(buffer, line);
  if (error != VX_Ok || buffer->depth == depth) return error;
  return VXp_FailVerification(kVXp_UnoNumber, line, "mask buffer of another bitdepth");
}
