// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>

#include "VX/VX.hpp"
#include "VXIO_CodecTable.h"
#include "VXIO_Formats.h"
#include "VXIO_OutputFile.h"

namespace {

constexpr const char* kFont = "DejaVuSans";

}  // namespace

VXIO_WorldPtr VXIOp_RenderText(const std::string& text, int32_t size, uint8_t grey) {
  OIIO::ROI box = OIIO::ImageBufAlgo::text_size(text, size, kFont);
  if (!box.defined()) {
    VXIOp_ThrowOutput("labels", std::string("the font ") + kFont +
                                    " is missing; install the package fonts-dejavu-core");
  }
  // The height does not depend on the letters, so that texts in a row have the same baseline.
  int32_t width = std::clamp(box.width(), 1, 30000), height = std::clamp(size + size / 3, 1, 30000);
  OIIO::ImageBuf letters(OIIO::ImageSpec(width, height, 1, OIIO::TypeDesc::UINT8));
  const float white = 1.0f;
  if (!OIIO::ImageBufAlgo::render_text(letters, -box.xbegin, size, text, size, kFont,
                                       OIIO::cspan<float>(&white, 1))) {
    throw std::runtime_error("labels failed: " + VXIOp_FirstLine(letters.geterror()));
  }
  vx::Image image = vx::Image::uninitialized(width, height, 8);
  for (int32_t y = 0; y < height; ++y) {
    int32_t x = 0;
    for (vx::Pixel8& pixel : image.view<vx::Pixel8>().row(y)) {
      const float coverage = letters.getchannel(x++, y, 0, 0) * 255.0f + 0.5f;
      pixel = {static_cast<uint8_t>(coverage), grey, grey, grey};
    }
  }
  return image.release();
}
