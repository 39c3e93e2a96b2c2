// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The functions of VXIOp_Codecs.

#include "VXIO_Codecs.h"

decltype(VXIO_ListLibraries) VXIOp_ListLibraries;
decltype(VXIO_SetThreads) VXIOp_SetThreads;
decltype(VXIO_ReadInfo) VXIOp_ReadInfo;
decltype(VXIO_ReadHeader) VXIOp_ReadHeader;
decltype(VXIO_Read) VXIOp_Read;
decltype(VXIO_Write) VXIOp_Write;
decltype(VXIO_Encode) VXIOp_Encode;
decltype(VXIO_RenderText) VXIOp_RenderText;
decltype(VXIO_WindowsOf) VXIOp_WindowsOf;
decltype(VXIO_WithWindows) VXIOp_WithWindows;
decltype(VXIO_SetDataWindow) VXIOp_SetDataWindow;
decltype(VXIO_ProfileOf) VXIOp_ProfileOf;
decltype(VXIO_SameProfile) VXIOp_SameProfile;
decltype(VXIO_WithProfile) VXIOp_WithProfile;
std::string VXIOp_EncodeMotionExr(const std::string& name, const vx::MotionField& field);
vx::MotionField VXIOp_ReadMotionExr(const std::string& path);
std::string VXIOp_ClipFormatOf(const std::string& path);
std::unique_ptr<VXIO_ClipReader::Impl> VXIOp_OpenClip(const std::string& path);
std::unique_ptr<VXIO_ClipWriter::Impl> VXIOp_NewClip(const std::string& path,
                                                     const VXIO_ClipOptions& options);
