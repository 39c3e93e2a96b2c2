// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_Jpeg.h"

#include <csetjmp>
#include <cstdio>
// jpeglib.h needs FILE.
#include <jerror.h>
#include <jpeglib.h>

#include <vector>

#include "VXIO_InputFile.h"

struct VXIOp_JpegReader::Impl {
  std::string path;
  FILE* file = nullptr;
  jpeg_error_mgr errors{};
  jpeg_decompress_struct decoder{};
  std::jmp_buf failed;
  char error[JMSG_LENGTH_MAX] = "";
  char warning[JMSG_LENGTH_MAX] = "";
  bool truncated = false;
  std::vector<uint8_t> cmyk;

  ~Impl() {
    jpeg_destroy_decompress(&decoder);
    if (file) std::fclose(file);
  }

  // Runs calls of libjpeg, which reports errors by longjmp. `calls` must not create objects that
  // have destructors. Throws VXIO_Error (Input) after an error and if the file ends too early.
  template <class Calls>
  void Run(Calls calls) {
    if (setjmp(failed) == 0) calls();
    if (error[0] == 0 && !truncated) return;
    VXIOp_ThrowInput(path, std::string("is truncated or damaged; make or fetch the file again (") +
                               (error[0] != 0 ? error : warning) + ")");
  }
};

namespace {

// Each pixel is stored as 255 minus its ink.
uint8_t Product(uint8_t ink, uint8_t black) {
  return static_cast<uint8_t>((ink * black + 127) / 255);
}

}  // namespace

VXIOp_JpegReader::VXIOp_JpegReader(const std::string& path) : impl_(std::make_unique<Impl>()) {
  Impl* impl = impl_.get();
  jpeg_decompress_struct& decoder = impl->decoder;
  impl->path = path;
  impl->file = std::fopen(path.c_str(), "rb");
  if (!impl->file) VXIOp_ThrowInput(path, "cannot be read");
  decoder.err = jpeg_std_error(&impl->errors);
  decoder.client_data = impl;
  impl->errors.error_exit = [](j_common_ptr from) {
    auto* to = static_cast<Impl*>(from->client_data);
    from->err->format_message(from, to->error);
    std::longjmp(to->failed, 1);
  };
  impl->errors.emit_message = [](j_common_ptr from, int level) {
    if (level >= 0) return;  // not a warning
    auto* to = static_cast<Impl*>(from->client_data);
    if (to->warning[0] == 0 || from->err->msg_code == JWRN_JPEG_EOF) {
      from->err->format_message(from, to->warning);
    }
    to->truncated = to->truncated || from->err->msg_code == JWRN_JPEG_EOF;
  };
  impl->Run([&] {
    jpeg_create_decompress(&decoder);
    jpeg_stdio_src(&decoder, impl->file);
    jpeg_read_header(&decoder, TRUE);
    if (decoder.jpeg_color_space == JCS_CMYK || decoder.jpeg_color_space == JCS_YCCK) {
      decoder.out_color_space = JCS_CMYK;
    }
    jpeg_start_decompress(&decoder);
  });
  if (decoder.out_color_space == JCS_CMYK) impl->cmyk.resize(size_t{4} * decoder.output_width);
}

VXIOp_JpegReader::~VXIOp_JpegReader() = default;

void VXIOp_JpegReader::Read(int32_t rows, uint8_t* samples) {
  Impl* impl = impl_.get();
  jpeg_decompress_struct& decoder = impl->decoder;
  const bool cmyk = !impl->cmyk.empty();
  const size_t width = decoder.output_width;
  const size_t row_bytes = width * (cmyk ? 3 : static_cast<size_t>(decoder.output_components));
  impl->Run([&] {
    for (int32_t y = 0; y < rows; ++y, samples += row_bytes) {
      JSAMPROW row = cmyk ? impl->cmyk.data() : samples;
      jpeg_read_scanlines(&decoder, &row, 1);
      for (size_t x = 0; cmyk && x < width; ++x) {
        for (size_t c = 0; c < 3; ++c) samples[3 * x + c] = Product(row[4 * x + c], row[4 * x + 3]);
      }
    }
  });
}

std::string VXIOp_JpegReader::Finish() {
  impl_->Run([&] { jpeg_finish_decompress(&impl_->decoder); });
  return impl_->warning;
}
