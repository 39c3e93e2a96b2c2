// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Clip.h"

#include <stdexcept>

#include "VXIO/VXIO_ClipWriter.h"
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

void VXIO_ClipReader::Seek(int64_t number) {
  if (number < 0) throw std::invalid_argument("the number of a frame is 0 or more");
  impl_->Seek(number);
}

const std::vector<double>* VXIO_ClipReader::Times() { return impl_->Times(); }

std::optional<double> VXIO_ClipReader::time() const { return impl_->Time(); }

VXIO_ClipWriter::VXIO_ClipWriter(const std::string& path, const VXIO_ClipOptions& options) {
  VXIO_CheckClipOptions(path, options);
  VXIO_CheckFile(path, options.clobber);
  impl_ = VXIOp_LoadCodecs(VXIO_ErrorKind::Output).NewClip(path, options);
}
VXIO_ClipWriter::VXIO_ClipWriter(VXIO_ClipWriter&& other) noexcept = default;
VXIO_ClipWriter& VXIO_ClipWriter::operator=(VXIO_ClipWriter&& other) noexcept = default;
VXIO_ClipWriter::~VXIO_ClipWriter() = default;

void VXIO_ClipWriter::Write(const VX_LayerDef& world) {
  impl_->Write(world, /*time=*/0, /*duration=*/0);
}

void VXIO_ClipWriter::Write(const VX_LayerDef& world, int64_t time, int64_t duration) {
  if (duration < 1) throw std::invalid_argument("duration: must be 1 or more");
  impl_->Write(world, time, duration);
}

std::vector<std::string> VXIO_ClipWriter::Finish() { return impl_->Finish(); }

std::string VXIO_ClipWriter::description() const { return impl_->Description(); }
