// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// Motion fields as EXR files.

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>

#include "VXIO_CodecTable.h"
#include "VXIO_Formats.h"
#include "VXIO_InputFile.h"
#include "VXIO_OutputFile.h"

namespace {

constexpr int32_t kBandRows = 64;
constexpr int kChannels = 2;

// Calls `work`, which returns false after an error. Returns the text of its error, or of its
// exception; empty if there is none.
template <class Stream, class Work>
std::string ErrorOf(Stream* stream, Work&& work) {
  try {
    if (work()) return {};
    return VXIOp_FirstLine(stream->geterror());
  } catch (const std::bad_alloc&) {
    throw vx::Error(vx::ErrorCode::out_of_memory);
  } catch (const std::exception& error) {
    return VXIOp_FirstLine(error.what());
  }
}

int IndexOf(const OIIO::ImageSpec& spec, const char* name) {
  const auto found = std::find(spec.channelnames.begin(), spec.channelnames.end(), name);
  return found == spec.channelnames.end() ? -1
                                          : static_cast<int>(found - spec.channelnames.begin());
}

}  // namespace

std::string VXIOp_EncodeMotionExr(const std::string& path, const vx::MotionField& field) {
  const auto out = OIIO::ImageOutput::create("openexr");
  if (!out) VXIOp_ThrowOutput(path, "this OpenImageIO cannot write exr");
  OIIO::ImageSpec spec(field.width(), field.height(), kChannels, OIIO::TypeFloat);
  spec.channelnames = {"u", "v"};
  spec.attribute("compression", "zip");
  // Without this attribute the writer stores the current time.
  spec.attribute("DateTime", "");
  std::vector<unsigned char> contents;
  OIIO::Filesystem::IOVecOutput memory(contents);
  out->set_ioproxy(&memory);
  const std::string why = ErrorOf(out.get(), [&] {
    if (!out->open("motion.exr", spec)) return false;
    for (int32_t y = 0; y < field.height(); y += kBandRows) {
      const int32_t end = std::min(y + kBandRows, field.height());
      const char* const rows = reinterpret_cast<const char*>(field.data()) + y * field.pitch();
      if (!out->write_scanlines(y, end, /*z=*/0, OIIO::TypeFloat, rows)) return false;
    }
    return out->close();
  });
  if (!why.empty()) VXIOp_ThrowOutput(path, "cannot be written (" + why + ")");
  return {contents.begin(), contents.end()};
}

vx::MotionField VXIOp_ReadMotionExr(const std::string& path) {
  const auto in = OIIO::ImageInput::create("openexr");
  if (!in) VXIOp_ThrowInput(path, "this OpenImageIO cannot read exr");
  OIIO::ImageSpec spec;
  std::string why = ErrorOf(in.get(), [&] { return in->open(path, spec); });
  if (!why.empty()) VXIOp_ThrowInput(path, "cannot be read (" + why + ")");
  const int u = IndexOf(spec, "u"), v = IndexOf(spec, "v");
  if (u < 0 || v < 0) {
    VXIOp_ThrowInput(path, "holds no motion: it has no channels with the names u and v");
  }
  VXIOp_CheckSize(path, spec.width, spec.height);
  vx::MotionField field(spec.width, spec.height);
  why = ErrorOf(in.get(), [&] {
    constexpr OIIO::stride_t kStride = sizeof(vx::MotionField::Vector);
    for (int32_t y = 0; y < spec.height; y += kBandRows) {
      const int32_t begin = spec.y + y, end = spec.y + std::min(y + kBandRows, spec.height);
      char* const rows = reinterpret_cast<char*>(field.data()) + y * field.pitch();
      for (const int channel : {u, v}) {
        char* const to = rows + (channel == u ? 0 : sizeof(float));
        if (!in->read_scanlines(/*subimage=*/0, /*miplevel=*/0, begin, end, /*z=*/0, channel,
                                channel + 1, OIIO::TypeFloat, to, kStride, field.pitch())) {
          return false;
        }
      }
    }
    return in->close();
  });
  if (!why.empty()) VXIOp_ThrowInput(path, "is damaged (" + why + ")");
  return field;
}
