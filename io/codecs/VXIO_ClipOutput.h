// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The file of a clip that is written: its container, and the streams in it.

#include <string>

#include "VXIO_ClipFile.h"
#include "VXIO_ClipFormats.h"
#include "VXIO_OutputFile.h"

class VXIOp_ClipOutput {
 public:
  // Creates the temporary file. Throws VXIO_Error (Output).
  //   log  must outlive the object
  VXIOp_ClipOutput(const std::string& path, VXIOp_LavLog* log);
  ~VXIOp_ClipOutput();
  VXIOp_ClipOutput(const VXIOp_ClipOutput&) = delete;
  VXIOp_ClipOutput& operator=(const VXIOp_ClipOutput&) = delete;

  bool needs_global_header() const;
  // Returns true if the container stores this codec.
  bool Stores(AVCodecID codec) const;
  void SetTags(const VXIO_ClipOptions& options);
  // Adds a stream; its parameters are copied. Call it before Begin. Throws VXIO_Error (Output).
  AVStream* AddStream(const AVCodecParameters& parameters);
  // Writes the header.
  void Begin();
  // Writes a packet of a stream, whose times are in units of `time_base`. The packet is empty
  // afterwards.
  void Write(AVPacket* packet, const AVStream& stream, AVRational time_base);
  // Writes the end of the file, flushes it and gives it its name.
  void Finish(VXIO_Clobber clobber);

 private:
  struct FreeFile {
    void operator()(AVFormatContext* context) const { avformat_free_context(context); }
  };
  struct FreeBuffer {
    void operator()(AVIOContext* context) const {
      av_freep(&context->buffer);
      avio_context_free(&context);
    }
  };
  void Check(int error);

  std::string path_;
  VXIOp_LavLog* log_;
  VXIOp_OutputFile file_;
  std::unique_ptr<AVIOContext, FreeBuffer> buffer_;
  std::unique_ptr<AVFormatContext, FreeFile> container_;
  bool begun_ = false;
  int write_error_ = 0;  // errno of the first write that failed

  friend struct VXIOp_ClipOutputStream;
};
