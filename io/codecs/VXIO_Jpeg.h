// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Decodes the pixels of a JPEG file with libjpeg. OpenImageIO reads only the header, because it
// drops most warnings of the decoder.

#include <cstdint>
#include <memory>
#include <string>

class VXIOp_JpegReader {
 public:
  // Throws VXIO_Error (Input) for a file that cannot be decoded.
  explicit VXIOp_JpegReader(const std::string& path);
  ~VXIOp_JpegReader();
  VXIOp_JpegReader(const VXIOp_JpegReader&) = delete;
  VXIOp_JpegReader& operator=(const VXIOp_JpegReader&) = delete;

  // Decodes the next rows: 1 byte per pixel for a grey picture, otherwise red, green and blue.
  // Throws VXIO_Error (Input) if the file is truncated or cannot be decoded.
  void Read(int32_t rows, uint8_t* samples);

  // Call it after the last row. Reads up to the end marker. Returns the first warning of the
  // decoder; empty if there was none. Throws like Read.
  std::string Finish();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
