// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Everything that uses OpenImageIO or FFmpeg's libav is in libVXIO_codecs (io/codecs), a shared
// object in the folder of libVXIO. It is loaded when one of its functions is called first, because
// loading these libraries needs 0.2 seconds and 120 MB. The rest of VX does not need them.

#include <memory>
#include <string>

#include "VXIO/VXIO_Clip.h"
#include "VXIO/VXIO_ClipWriter.h"
#include "VXIO/VXIO_Memory.h"
#include "VXIO/VXIO_Motion.h"
#include "VXIO/VXIO_Picture.h"
#include "VXIO/VXIO_Profile.h"

// The functions of libVXIO_codecs. The public function VXIO_Read calls Read, and so on.
struct VXIOp_Codecs {
  decltype(VXIO_ListLibraries)* ListLibraries;
  decltype(VXIO_SetThreads)* SetThreads;
  decltype(VXIO_ReadInfo)* ReadInfo;
  decltype(VXIO_ReadHeader)* ReadHeader;
  decltype(VXIO_Read)* Read;
  decltype(VXIO_Write)* Write;
  decltype(VXIO_Encode)* Encode;
  decltype(VXIO_RenderText)* RenderText;
  decltype(VXIO_WindowsOf)* WindowsOf;
  decltype(VXIO_WithWindows)* WithWindows;
  decltype(VXIO_SetDataWindow)* SetDataWindow;
  decltype(VXIO_ProfileOf)* ProfileOf;
  decltype(VXIO_SameProfile)* SameProfile;
  decltype(VXIO_WithProfile)* WithProfile;
  // Motion as the contents of an EXR file; `name` begins messages. See VXIO_Motion.h.
  std::string (*EncodeMotionExr)(const std::string& name, const vx::MotionField& field);
  vx::MotionField (*ReadMotionExr)(const std::string& path);
  // Returns libav's name of the container, determined from the contents; empty if the file is not a
  // clip of a supported format.
  std::string (*ClipFormatOf)(const std::string& path);
  std::unique_ptr<VXIO_ClipReader::Impl> (*OpenClip)(const std::string& path);
  std::unique_ptr<VXIO_ClipWriter::Impl> (*NewClip)(const std::string& path,
                                                    const VXIO_ClipOptions& options);
};

// The symbol of the table in libVXIO_codecs.
extern "C" VXIO_API const VXIOp_Codecs VXIOp_CodecTable;

// Returns the table. The first call loads libVXIO_codecs. Thread-safe. Throws VXIO_Error of this
// kind if the object or a library that it needs cannot be loaded; the next call tries again.
const VXIOp_Codecs& VXIOp_LoadCodecs(VXIO_ErrorKind kind = VXIO_ErrorKind::Input);

// A reader of a clip; the functions are those of VXIO_ClipReader.
struct VXIO_ClipReader::Impl {
  virtual ~Impl() = default;
  virtual const VXIO_ClipInfo& Info() const = 0;
  virtual int64_t Position() const = 0;
  virtual std::optional<VXIO_ClipFrame> Next(int32_t depth, VXIO_AlphaAs alpha) = 0;
  virtual bool Skip() = 0;
  virtual void Seek(int64_t number) = 0;
  virtual const std::vector<double>* Times() = 0;
  virtual std::optional<double> Time() const = 0;
};

// A writer of a clip; the functions are those of VXIO_ClipWriter.
struct VXIO_ClipWriter::Impl {
  virtual ~Impl() = default;
  // `duration` is 0 for the next frame of a constant frame rate.
  virtual void Write(const VX_LayerDef& world, int64_t time, int64_t duration) = 0;
  virtual std::vector<std::string> Finish() = 0;
  virtual std::string Description() const = 0;
};
