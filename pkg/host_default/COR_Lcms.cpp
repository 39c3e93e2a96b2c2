// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "COR_Lcms.h"

#include <algorithm>
#include <cstring>

#include "HostInternal.h"

namespace {

using Meter = host::LcmsContext::Meter;

constexpr size_t kReserve = size_t{128} << 10;

// Precedes each block.
struct alignas(16) Header : host::LcmsContext::Link {
  size_t size;
  bool of_reserve;
};

// The meter of the context that this thread is constructing, which is not yet stored in the
// context.
thread_local Meter* unborn = nullptr;

void* Allocate(cmsContext context, cmsUInt32Number size) {
  auto* known = static_cast<Meter*>(cmsGetContextUserData(context));
  Meter* meter = known ? known : unborn;
  if (size > meter->largest_block) return nullptr;
  const size_t whole =
      (sizeof(Header) + size + alignof(Header) - 1) / alignof(Header) * alignof(Header);
  // Cleared, because Little CMS reads the ends of texts that it has not written.
  void* block = host::AllocateBlockClear("COR", whole);
  const bool of_reserve = !block;
  if (of_reserve) {
    meter->is_short = true;
    if (!meter->reserve || whole > kReserve - meter->reserve_used) return nullptr;
    block = static_cast<char*>(meter->reserve) + meter->reserve_used;
    meter->reserve_used += whole;
  }
  auto* header = new (block) Header{{meter->blocks.before, &meter->blocks}, size, of_reserve};
  header->before->after = header->after->before = header;
  return header + 1;
}

void Free(cmsContext, void* block) {
  if (!block) return;
  Header* header = static_cast<Header*>(block) - 1;
  header->before->after = header->after;
  header->after->before = header->before;
  if (!header->of_reserve) host::FreeBlock(header);
}

void* Reallocate(cmsContext context, void* block, cmsUInt32Number size) {
  void* larger = Allocate(context, size);
  if (!larger || !block) return larger;
  std::memcpy(larger, block, std::min<size_t>(size, (static_cast<Header*>(block) - 1)->size));
  Free(context, block);
  return larger;
}

cmsPluginMemHandler memory = {{cmsPluginMagicNumber, LCMS_VERSION, cmsPluginMemHandlerSig, nullptr},
                              Allocate,
                              Free,
                              Reallocate,
                              nullptr,
                              nullptr,
                              nullptr};

}  // namespace

namespace host {

LcmsContext::LcmsContext(size_t largest_block)
    : meter_{largest_block, AllocateBlockClear("COR", kReserve), 0, false, {}} {
  if (!meter_.reserve) throw std::bad_alloc();
  meter_.blocks = {&meter_.blocks, &meter_.blocks};
  unborn = &meter_;
  context_ = cmsCreateContext(&memory, &meter_);
  unborn = nullptr;
  if (!context_ || meter_.is_short) {
    Release();
    throw std::bad_alloc();
  }
  cmsSetLogErrorHandlerTHR(context_, [](cmsContext, cmsUInt32Number, const char*) {});
}

LcmsContext::~LcmsContext() { Release(); }

void LcmsContext::Release() {
  if (context_) cmsDeleteContext(context_);
  while (meter_.blocks.after != &meter_.blocks) {
    Free(nullptr, static_cast<Header*>(meter_.blocks.after) + 1);
  }
  FreeBlock(meter_.reserve);
}

void LcmsContext::Check() const {
  if (meter_.is_short) throw std::bad_alloc();
}

void LcmsContext::Finish() {
  Check();
  FreeBlock(meter_.reserve);
  meter_.reserve = nullptr;
}

}  // namespace host
