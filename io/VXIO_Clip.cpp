// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Clip.h"

#include "VXIO_Codecs.h"

VXIO_ClipReader::VXIO_ClipReader(const std::string& path)
    : impl_(VXIOp_LoadCodecs().OpenClip(path)) {}
VXIO_ClipReader::VXIO_ClipReader(VXIO_ClipReader&& other) noexcept = default;
VXIO_ClipReader& VXIO_ClipReader::operator=(VXIO_ClipReader&& other) noexcept = default;
VXIO_ClipReader::~VXIO_ClipReader() = default;

const VXIO_ClipInfo& VXIO_ClipReader::info() const { return impl_->Info(); }

int64_t VXIO_ClipReader::position() const { return impl_->Position(); }

std::optional<VXIO_ClipFrame> VXIO_ClipReader::Next(int32_t depth, VXIO_AlphaAs alpha) {
  return impl_->Next(depth, alpha);
}

bool VXIO_ClipReader::Skip() { return impl_->Skip(); }

std::optional<double> VXIO_ClipReader::time() const { return impl_->Time(); }
