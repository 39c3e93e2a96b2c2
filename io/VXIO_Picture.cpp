// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Picture.h"

#include <filesystem>

#include "VX/VX.hpp"
#include "VXIO_Codecs.h"
#include "VXIO_Formats.h"
#include "VXIO_InputFile.h"

std::string VXIO_FileOf(const std::string& path) {
  std::error_code ignored;
  const size_t at = path.rfind('@');
  if (at == std::string::npos || at == 0 || std::filesystem::exists(path, ignored)) return path;
  const std::string file = path.substr(0, at);
  return std::filesystem::is_regular_file(file, ignored) ? file : path;
}

bool VXIO_IsPicture(const std::string& path) {
  const std::string file = VXIO_FileOf(path);
  VXIOp_CheckFile(file, "a picture or a clip");
  if (VXIOp_FormatOfContent(VXIOp_Head(file, 16), file)) return true;
  return VXIOp_FormatOfName(file) && VXIOp_LoadCodecs().ClipFormatOf(file).empty();
}

VXIO_WorldPtr VXIO_ConvertDepth(VXIO_WorldPtr world, int32_t depth) {
  if (VXp_WorldDepth(world.get()) == depth) return world;
  vx::Image other = vx::Image::uninitialized(world->width, world->height, depth);
  vx::convert(other, *world);
  return other.release();
}

// --- calls of libVXIO_codecs ---------------------------------------------------------------------

std::vector<std::pair<std::string, std::string>> VXIO_ListLibraries() {
  return VXIOp_LoadCodecs().ListLibraries();
}

VXIO_Info VXIO_ReadInfo(const std::string& path) { return VXIOp_LoadCodecs().ReadInfo(path); }

VXIO_Picture VXIO_ReadHeader(const std::string& path) {
  return VXIOp_LoadCodecs().ReadHeader(path);
}

VXIO_Picture VXIO_Read(const std::string& path, int32_t depth, VXIO_AlphaAs alpha) {
  return VXIOp_LoadCodecs().Read(path, depth, alpha);
}

std::vector<std::string> VXIO_Write(const std::string& path, const VX_LayerDef& world,
                                    const VXIO_WriteOptions& options) {
  return VXIOp_LoadCodecs(VXIO_ErrorKind::Output).Write(path, world, options);
}

VXIO_WorldPtr VXIO_RenderText(const std::string& text, int32_t size, uint8_t grey) {
  return VXIOp_LoadCodecs(VXIO_ErrorKind::Output).RenderText(text, size, grey);
}

VXIO_Windows VXIO_WindowsOf(const VXIO_Metadata& metadata) {
  return VXIOp_LoadCodecs().WindowsOf(metadata);
}

VXIO_Metadata VXIO_WithWindows(const VXIO_Metadata& metadata, const VXIO_Windows& windows) {
  return VXIOp_LoadCodecs().WithWindows(metadata, windows);
}

void VXIO_SetDataWindow(VXIO_Picture* picture, const vx::Rect& data) {
  VXIOp_LoadCodecs().SetDataWindow(picture, data);
}
