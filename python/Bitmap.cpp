// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// vx.Bitmap, and copies between bitmaps.

#include "Arguments.h"
#include "Errors.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_Copy.h"
#include "host/BM.h"

namespace vxpy {

namespace {

// A bitmap of the host. It is locked as long as the object exists.
class Bitmap {
 public:
  Bitmap(int32_t width, int32_t height, int32_t depth, int32_t channel_order) {
    const Call call;
    M_Rect area{};
    area.right = static_cast<int16_t>(width);
    area.bottom = static_cast<int16_t>(height);
    Check(BM_NewWorld(0, 8, area, 4 * depth, 0, 0, &handle_));
    const VX_Err code = BM_LoadLockPixels(1, handle_, 0, 0);
    if (code != VX_Ok) BM_DisposeWorld(handle_);
    Check(code);
    (*handle_)->channel_order = channel_order;
  }
  ~Bitmap() {
    BM_UnlockPixels(handle_);
    BM_DisposeWorld(handle_);
  }
  Bitmap(const Bitmap&) = delete;
  Bitmap& operator=(const Bitmap&) = delete;

  BM_World** handle() const { return handle_; }
  int32_t width() const { return (*handle_)->width; }
  int32_t height() const { return (*handle_)->height; }
  int32_t depth() const { return VX_DepthOfBMWorld(handle_); }
  bool bgra() const { return BM_GetChannelOrder(handle_) == BM_ORDER_BGRA; }

 private:
  BM_World** handle_ = nullptr;
};
using BitmapPtr = std::shared_ptr<Bitmap>;

BitmapPtr NewBitmap(const py::object& width, const py::object& height, const py::object& depth_arg,
                    const py::object& channel_order) {
  const int32_t wide = ParseSide("width", width), high = ParseSide("height", height);
  const int32_t depth = ParseDepth(depth_arg);
  const bool bgra = ParseChoice("channel_order", channel_order, {"argb", "bgra"}) == 1;
  if (bgra && depth != 8) throw py::value_error("channel_order: \"bgra\" is for 8 bits a channel");
  return std::make_shared<Bitmap>(wide, high, depth, bgra ? BM_ORDER_BGRA : BM_ORDER_ARGB);
}

WorldPtr WorldOf(const BitmapPtr& bitmap) {
  if (bitmap->bgra()) {
    throw py::value_error("bitmap: a World needs the order \"argb\"; copy_bitmap converts");
  }
  const Call call;
  std::unique_ptr<VX_World> world;
  Check(CodeOf([&] {
    world.reset(VX_World::NewReference(bitmap->handle()));
    return world ? VX_Ok : VX_ErrOutOfMemory;
  }));
  return std::make_shared<World>(std::move(world), py::cast(bitmap), /*writable=*/true);
}

py::buffer_info BufferOf(const Bitmap& bitmap) {
  const int32_t depth = bitmap.depth();
  const py::ssize_t item = depth / 8;
  return py::buffer_info(BMp_GetPixBaseAddr(bitmap.handle()), item, FormatOf(depth), 3,
                         {bitmap.height(), bitmap.width(), 4},
                         {py::ssize_t{(*bitmap.handle())->rowbytes}, 4 * item, item});
}

py::object CopyBitmap(const py::object& src_arg, const py::object& out_arg,
                      const py::object& src_rect, const py::object& out_rect,
                      const py::object& quality, const py::object& premultiplied_arg) {
  const bool premultiplied = ParseFlag("premultiplied", premultiplied_arg);
  const bool high = ParseQuality(quality) != 0;
  const std::optional<M_Rect> from = ParseRect("src_rect", src_rect);
  const std::optional<M_Rect> to = ParseRect("out_rect", out_rect);
  const auto& src = ParseObject<Bitmap>("src", src_arg);
  const auto& out = ParseObject<Bitmap>("out", out_arg);
  if (&src == &out) throw py::value_error("out: is the same bitmap as src");
  const VX_WorldCopyFunc copy = !high           ? VX_WorldCopy
                                : premultiplied ? VX_WorldCopy_HQ_Premul
                                                : VX_WorldCopy_HQ;
  if (high && src.bgra() != out.bgra()) {
    throw py::value_error("quality: \"high\" copies between bitmaps of one channel order");
  }
  Run([&] {
    return copy(nullptr, src.handle(), out.handle(), from ? &*from : nullptr, to ? &*to : nullptr);
  });
  return out_arg;
}

}  // namespace

void AddBitmap(py::module_& module) {
  py::class_<Bitmap, BitmapPtr>(
      module, "Bitmap", py::buffer_protocol(),
      R"(A bitmap of the host: Bitmap(width, height, depth=8, channel_order="argb"). Pixels are 0.

width, height: 1..30000 pixels.
depth: 8, 16 or 32 bits per channel.
channel_order: "argb", or "bgra" with 8 bits per channel.

numpy.asarray(bitmap) is an array of height x width x 4 that uses the memory of the bitmap. The
memory exists as long as the bitmap, one of these arrays or a World of the bitmap.)")
      .def(py::init(&NewBitmap), py::arg("width"), py::arg("height"), py::arg("depth") = 8,
           py::arg("channel_order") = "argb")
      .def("world", &WorldOf,
           "Returns a World that uses the memory of the bitmap. Raises ValueError for the order "
           "\"bgra\".")
      .def_property_readonly("width", &Bitmap::width, "Width in pixels.")
      .def_property_readonly("height", &Bitmap::height, "Height in pixels.")
      .def_property_readonly("depth", &Bitmap::depth, "8, 16 or 32 bits per channel.")
      .def_property_readonly(
          "channel_order", [](const Bitmap& b) { return b.bgra() ? "bgra" : "argb"; },
          "\"argb\" or \"bgra\".")
      .def("__repr__",
           [](const Bitmap& b) {
             return "<vx.Bitmap " + std::to_string(b.width()) + " x " + std::to_string(b.height()) +
                    ", " + std::to_string(b.depth()) + " bits, " + (b.bgra() ? "bgra" : "argb") +
                    ">";
           })
      .def_buffer([](Bitmap& b) { return BufferOf(b); });
  module.def("copy_bitmap", &CopyBitmap);
}

}  // namespace vxpy
