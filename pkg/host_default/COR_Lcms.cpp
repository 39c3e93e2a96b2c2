// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "COR_Lcms.h"

#include <algorithm>
#include <cstring>

#include "HostInternal.h"

namespace {

using Usage = host::LcmsContext::Usage;

constexpr size_t kReserve = size_t{128} << 10;

// Stored before each block.
struct alignas(16) Header : host::LcmsContext::Link {
  size_t size;
  bool of_reserve;
};

// The memory usage of the context that this thread is constructing. Little CMS allocates before the
// usage can be stored in the context.
thread_local Usage* under_construction = nullptr;

void* Allocate(cmsContext context, cmsUInt32Number size) {
  auto* known = static_cast<Usage*>(cmsGetContextUserData(context));
  Usage* usage = known ? known : under_construction;
  if (size > usage->largest_block) return nullptr;
  const size_t whole =
      (sizeof(Header) + size + alignof(Header) - 1) / alignof(Header) * alignof(Header);
  // The block is cleared, because Little CMS reads the last bytes of texts without having written
  // them.
  void* block = host::AllocateBlockClear("COR", whole);
  const bool of_reserve = !block;
  if (of_reserve) {
    usage->is_short = true;
    if (!usage->reserve || whole > kReserve - usage->reserve_used) return nullptr;
    block = static_cast<char*>(usage->reserve) + usage->reserve_used;
    usage->reserve_used += whole;
  }
  auto* header = new (block) Header{{usage->blocks.before, &usage->blocks}, size, of_reserve};
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
    : usage_{largest_block, AllocateBlockClear("COR", kReserve), 0, false, {}} {
  if (!usage_.reserve) throw std::bad_alloc();
  usage_.blocks = {&usage_.blocks, &usage_.blocks};
  under_construction = &usage_;
  context_ = cmsCreateContext(&memory, &usage_);
  under_construction = nullptr;
  if (!context_ || usage_.is_short) {
    Release();
    throw std::bad_alloc();
  }
  cmsSetLogErrorHandlerTHR(context_, [](cmsContext, cmsUInt32Number, const char*) {});
}

LcmsContext::~LcmsContext() { Release(); }

void LcmsContext::Release() {
  if (context_) cmsDeleteContext(context_);
  while (usage_.blocks.after != &usage_.blocks) {
    Free(nullptr, static_cast<Header*>(usage_.blocks.after) + 1);
  }
  FreeBlock(usage_.reserve);
}

void LcmsContext::Check() const {
  if (usage_.is_short) throw std::bad_alloc();
}

void LcmsContext::Finish() {
  Check();
  FreeBlock(usage_.reserve);
  usage_.reserve = nullptr;
}

}  // namespace host
