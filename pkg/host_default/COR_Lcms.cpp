// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "COR_Lcms.h"

#include <algorithm>
#include <cstring>

#include "HostInternal.h"

namespace {

// A block knows its size, because a block that grows is copied.
struct alignas(16) Header {
  size_t size;
};

void* Allocate(cmsContext context, cmsUInt32Number size) {
  // A context that is being made has no meter yet.
  auto* meter = static_cast<host::LcmsContext::Meter*>(cmsGetContextUserData(context));
  if (meter && size > meter->largest_block) return nullptr;
  auto* header = static_cast<Header*>(host::AllocateBlock("COR", sizeof(Header) + size));
  if (!header) {
    if (meter) meter->is_short = true;
    return nullptr;
  }
  header->size = size;
  return header + 1;
}

void Free(cmsContext, void* block) {
  if (block) host::FreeBlock(static_cast<Header*>(block) - 1);
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
    : meter_{largest_block, false}, context_(cmsCreateContext(&memory, &meter_)) {
  if (!context_) throw std::bad_alloc();
  cmsSetLogErrorHandlerTHR(context_, [](cmsContext, cmsUInt32Number, const char*) {});
}

LcmsContext::~LcmsContext() { cmsDeleteContext(context_); }

void LcmsContext::Fail(QCE_Status status) const {
  if (meter_.is_short) throw std::bad_alloc();
  throw QCE_Status{status};
}

}  // namespace host
