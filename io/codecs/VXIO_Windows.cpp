// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_Windows.h"

#include <algorithm>
#include <cstdlib>

#include "VXIO_CodecTable.h"
#include "VXIO_InputFile.h"
#include "VXIO_Open.h"

namespace {

// Coordinates below this limit do not overflow in sums and differences.
constexpr int32_t kFarthest = 1 << 28;

bool IsNear(int32_t position, int32_t size) {
  return std::abs(int64_t{position}) < kFarthest && size > 0 && size < kFarthest;
}

}  // namespace

VXIO_Windows VXIOp_WindowsOf(const OIIO::ImageSpec& spec) {
  const bool valid = IsNear(spec.x, spec.width) && IsNear(spec.y, spec.height) &&
                     IsNear(spec.full_x, spec.full_width) && IsNear(spec.full_y, spec.full_height);
  if (!valid) return {{0, 0, spec.width, spec.height}, {0, 0, spec.width, spec.height}};
  return {
      {spec.x, spec.y, spec.x + spec.width, spec.y + spec.height},
      {spec.full_x, spec.full_y, spec.full_x + spec.full_width, spec.full_y + spec.full_height}};
}

void VXIOp_SetWindows(const VXIO_Windows& windows, OIIO::ImageSpec* spec) {
  spec->x = windows.data.left;
  spec->y = windows.data.top;
  spec->width = windows.data.width();
  spec->height = windows.data.height();
  spec->full_x = windows.display.left;
  spec->full_y = windows.display.top;
  spec->full_width = windows.display.width();
  spec->full_height = windows.display.height();
}

VXIO_Windows VXIOp_Open::windows() const {
  if (!format->windows) return {{0, 0, width(), height()}, {0, 0, width(), height()}};
  const VXIO_Windows stored = VXIOp_WindowsOf(spec);
  if (orientation == 1) return stored;
  // The display window keeps its corner; the data window is turned in it.
  int32_t left = stored.Offset().x, top = stored.Offset().y;
  int32_t full_width = stored.display.width(), full_height = stored.display.height();
  if (orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7) {
    left = full_width - left - spec.width;
  }
  if (orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8) {
    top = full_height - top - spec.height;
  }
  if (turned()) {
    std::swap(left, top);
    std::swap(full_width, full_height);
  }
  const vx::Point corner{stored.display.left, stored.display.top};
  left += corner.x;
  top += corner.y;
  return {{left, top, left + width(), top + height()},
          {corner.x, corner.y, corner.x + full_width, corner.y + full_height}};
}

vx::Image VXIOp_Reframe(const VX_LayerDef& world, const vx::Rect& from, const vx::Rect& to,
                        VXIOp_Outside outside) {
  vx::Image image(to.width(), to.height(), VXp_WorldDepth(&world));
  vx::visit(image, [&](auto view) {
    using Pixel = typename decltype(view)::Pixel;
    const auto source = vx::AnyConstView(world).as<Pixel>();
    const int32_t left = std::max(from.left, to.left), right = std::min(from.right, to.right);
    for (int32_t y = to.top; y < to.bottom; ++y) {
      const auto row = view.row(y - to.top);
      if (outside == VXIOp_Outside::Opaque) {
        for (Pixel& pixel : row) pixel.alpha = vx::PixelTraits<Pixel>::full_scale;
      }
      if (y < from.top || y >= from.bottom || left >= right) continue;
      const Pixel* begin = source.row(y - from.top).data() + (left - from.left);
      std::copy(begin, begin + (right - left), row.data() + (left - to.left));
    }
  });
  return image;
}

bool VXIOp_NeedsFrame(const VXIOp_Format& format, const VX_LayerDef& world,
                      const VXIO_Metadata& metadata) {
  if (format.windows) return false;
  const VXIO_Windows windows = VXIOp_WindowsOf(metadata);
  return windows.Differ() && windows.data.width() == world.width &&
         windows.data.height() == world.height;
}

VXIO_Windows VXIOp_WindowsOf(const VXIO_Metadata& metadata) {
  if (!metadata.Get()) return {};
  if (metadata.Get()->windows) return VXIOp_WindowsOf(metadata.Get()->spec);
  const OIIO::ImageSpec& spec = metadata.Get()->spec;
  return {{0, 0, spec.width, spec.height}, {0, 0, spec.width, spec.height}};
}

VXIO_Metadata VXIOp_WithWindows(const VXIO_Metadata& metadata, const VXIO_Windows& windows) {
  auto changed = metadata.Get() ? std::make_shared<VXIO_Metadata::Impl>(*metadata.Get())
                                : std::make_shared<VXIO_Metadata::Impl>();
  VXIOp_SetWindows(windows, &changed->spec);
  changed->windows = true;
  return VXIO_Metadata(std::move(changed));
}

void VXIOp_SetDataWindow(VXIO_Picture* picture, const vx::Rect& data) {
  const VXIO_Windows old = VXIOp_WindowsOf(picture->metadata);
  VXIOp_CheckSize("display window", data.width(), data.height());
  picture->world = VXIOp_Reframe(*picture->world, old.data, data,
                                 picture->has_alpha ? VXIOp_Outside::Clear : VXIOp_Outside::Opaque)
                       .release();
  picture->metadata = VXIOp_WithWindows(picture->metadata, {data, old.display});
}
