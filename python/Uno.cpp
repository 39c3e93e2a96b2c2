// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// One-channel buffers as two-dimensional arrays. vx/uno.py passes contiguous arrays; arrays that
// are written are copies that it made.

#include "VX/VX_UnoBuffer.h"

#include <mutex>
#include <optional>
#include <vector>

#include "Arguments.h"
#include "Errors.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_Mask.h"

namespace vxpy {

namespace {

// Scaled: samples of uint16 are 0..32768. Any: the samples are not read, or may be 0..65535.
enum class Values { Scaled, Any };

// A VX_UnoBuffer that refers to the samples of an array. It keeps a reference to the array.
class Plane {
 public:
  Plane(const py::array& array, const char* name, Values values = Values::Scaled)
      : record_(1, 1, 8) {
    const int32_t depth = DepthOf(array, name);
    if (array.ndim() != 2 || array.size() == 0 || array.shape(0) > 30000 ||
        array.shape(1) > 30000) {
      throw py::value_error(std::string(name) + ": " + Describe(array) +
                            "; a mask is height x width, sides 1 to 30000");
    }
    if (values == Values::Scaled) RequireScale(array, name);
    own_ = record_.data;
    samples_ = const_cast<void*>(array.data());
    record_.data = &samples_;
    record_.height = static_cast<int32_t>(array.shape(0));
    record_.width = static_cast<int32_t>(array.shape(1));
    record_.depth = depth;
  }
  ~Plane() {
    record_.data = own_;
    record_.width = record_.height = 1;
    record_.depth = 8;
  }
  Plane(const Plane&) = delete;
  Plane& operator=(const Plane&) = delete;

  VX_UnoBuffer* get() { return &record_; }
  int32_t depth() const { return record_.depth; }
  int32_t width() const { return record_.width; }
  int32_t height() const { return record_.height; }

 private:
  VX_UnoBuffer record_;
  void** own_;
  void* samples_;
};

void Fill(const py::array& mask, const py::object& value, const py::object& rect) {
  Plane plane(mask, "mask");
  const int32_t depth = plane.depth();
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  if (depth == 32) {
    const auto level = static_cast<float>(ParseNumber("value", value, -3.4e38, 3.4e38));
    if (area) throw py::value_error("rect: must be None for a float mask");
    return Run([&] { return VX_FillFloatUnoBuffer(level, plane.get()); });
  }
  const int64_t level = ParseWhole("value", value, 0, static_cast<int64_t>(vx::full_scale(depth)));
  Run([&] {
    if (depth == 8) {
      const auto byte = static_cast<uint8_t>(level);
      return area ? VX_FillUnoBuffer(byte, *area, plane.get())
                  : VX_FillUnoBuffer(byte, plane.get());
    }
    const auto word = static_cast<uint16_t>(level);
    return area ? VX_FillDeepUnoBuffer(word, *area, plane.get())
                : VX_FillDeepUnoBuffer(word, plane.get());
  });
}

void Fade(const py::array& mask, const py::object& opacity_arg) {
  Plane plane(mask, "mask");
  const double opacity = ParseNumber("opacity", opacity_arg, 0, 1);
  Run([&] { return VX_FadeUnoBuffer(opacity, plane.get()); });
}

void Invert(const py::array& mask, const py::object& opacity_arg) {
  Plane plane(mask, "mask");
  const auto opacity =
      static_cast<VX_Fixed>(ParseNumber("opacity", opacity_arg, 0, 1) * 65536 + 0.5);
  Run([&] { return VX_InvertAndFadeUnoBuffer(nullptr, opacity, plane.get()); });
}

void Convert(const py::array& from, const py::array& to, const py::object& invert_arg) {
  const bool invert = ParseFlag("invert", invert_arg);
  Plane source(from, "mask"), target(to, "out", Values::Any);
  Run([&] {
    return VX_ConvertDeepUnoBuffer(nullptr, source.get(), nullptr, invert ? 1 : 0, target.get());
  });
}

// Copies a rectangle of `src` to `dst`. If `rect` is None, it is the whole source. If `at` is None,
// the position is the upper left corner of `rect`.
void Transfer(const py::array& dst, const py::array& src, const py::object& mask,
              const py::object& outside, const py::object& rect, const py::object& at,
              const py::object& progress) {
  constexpr int32_t kModes[] = {VX_UnoTransfer_Blend, VX_UnoTransfer_ClearAround,
                                VX_UnoTransfer_ClearBeyond};
  const int32_t mode = kModes[ParseChoice("outside", outside, {"keep", "clear", "clear-beyond"})];
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const bool placed = !at.is_none();
  const M_Point point = placed ? ParsePoint("at", at) : M_Point{};
  Plane target(dst, "dst"), source(src, "src");
  std::optional<Plane> weights;
  if (!mask.is_none()) weights.emplace(mask.cast<py::array>(), "mask");
  Progress polled(progress);
  Run(polled, [&] {
    return VX_TransferUnoBuffers(polled.info(), source.get(), weights ? weights->get() : nullptr,
                                 mode, area ? &*area : nullptr, placed ? &point : nullptr,
                                 target.get());
  });
}

void Accumulate(const py::array& dst, const py::array& src, const py::object& mode_arg,
                const py::object& gains, const py::object& rect, const py::object& at,
                const py::object& progress) {
  const int32_t mode = ParseChoice("mode", mode_arg, {"add", "replace", "subtract"});
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const bool placed = !at.is_none();
  const M_Point point = placed ? ParsePoint("at", at) : M_Point{};
  float src_gain = 1, dst_gain = 1;
  const bool gained = !gains.is_none();
  if (gained) {
    const auto pair = ParsePair("gains", gains, "(of src, of dst)");
    src_gain = static_cast<float>(ParseNumber("gains", pair.first, 0, 32767));
    dst_gain = static_cast<float>(ParseNumber("gains", pair.second, 0, 32767));
  }
  // 8-bit samples that are added to 16-bit ones use the whole range of uint16.
  Plane target(dst, "dst", Values::Any), source(src, "src", Values::Any);
  if (source.depth() == target.depth()) {
    RequireScale(dst, "dst");
    RequireScale(src, "src");
  }
  const M_Rect* const rectangle = area ? &*area : nullptr;
  const M_Point* const place = placed ? &point : nullptr;
  Progress polled(progress);
  Run(polled, [&] {
    return gained ? VX_AccumulateUnoBuffers(polled.info(), source.get(), mode, src_gain, dst_gain,
                                            rectangle, place, target.get())
                  : VX_AccumulateUnoBuffers(polled.info(), source.get(), mode, rectangle, place,
                                            target.get());
  });
}

void Feather(const py::array& mask, const py::object& radius_x, const py::object& radius_y,
             const py::object& kind_arg, const py::object& progress) {
  const int32_t kind = ParseChoice("kind", kind_arg, {"box", "soft", "gaussian"});
  const double x = ParseNumber("radius", radius_x, 0, 32767);
  const double y = ParseNumber("radius", radius_y, 0, 32767);
  Plane plane(mask, "mask");
  Progress polled(progress);
  Run(polled, [&] { return VX_FeatherUnoBuffer(polled.info(), kind, x, y, plane.get()); });
}

// --- lines ---------------------------------------------------------------------------------------

template <class Channel>
using ScanFunc = VX_Err (*)(int32_t, int32_t, int32_t, int32_t, VX_Fixed, Channel*, Channel*);

template <class Channel>
void ScanLine(ScanFunc<Channel> scan, const py::array& line, int32_t kind, int32_t start,
              int32_t end, VX_Fixed radius) {
  const auto length = static_cast<int32_t>(line.size());
  std::vector<Channel> scratch(static_cast<size_t>(VX_UnoScanScratch(length, radius)));
  auto* const samples = static_cast<Channel*>(const_cast<void*>(line.data()));
  Run([&] { return scan(kind, length, start, end, radius, scratch.data(), samples); });
}

// Gaussian scans share one kernel per process, so a mutex serialises them. The interpreter's lock
// is not sufficient, because it is released during the call.
void Scan(const py::array& line, bool gaussian, const py::object& kind_arg,
          const py::object& radius_arg, const py::object& start_arg, const py::object& end_arg) {
  static std::mutex one_at_a_time;
  if (line.ndim() != 1 || line.size() == 0 || line.size() > (1 << 24)) {
    throw py::value_error("line: " + Describe(line) + "; needs one dimension");
  }
  RequireScale(line, "line");
  const int32_t length = static_cast<int32_t>(line.size());
  const auto kind = static_cast<int32_t>(ParseWhole("kind", kind_arg, INT32_MIN, INT32_MAX));
  const auto radius =
      static_cast<VX_Fixed>(ParseNumber("radius", radius_arg, 0, 32767) * 65536 + 0.5);
  const auto start = static_cast<int32_t>(ParseWhole("start", start_arg, 0, length));
  const auto end =
      end_arg.is_none() ? length : static_cast<int32_t>(ParseWhole("end", end_arg, start, length));
  std::unique_lock<std::mutex> lock(one_at_a_time, std::defer_lock);
  {
    const py::gil_scoped_release release;
    lock.lock();
  }
  switch (DepthOf(line, "line")) {
    case 8:
      return ScanLine<uint8_t>(gaussian ? VX_GBlurUnoScan : VX_BoxBlurUnoScan, line, kind, start,
                               end, radius);
    case 16:
      return ScanLine<uint16_t>(gaussian ? VX_GBlurDeepUnoScan : VX_BoxBlurDeepUnoScan, line, kind,
                                start, end, radius);
    default:
      return ScanLine<float>(gaussian ? VX_GBlurFloatUnoScan : VX_BoxBlurFloatUnoScan, line, kind,
                             start, end, radius);
  }
}

// --- worlds --------------------------------------------------------------------------------------

py::object FromPicture(const py::object& picture, const py::object& what,
                       const py::object& order_arg) {
  const int32_t quantity = ParseChoice(
      "what", what, {"alpha", "inverse-alpha", "luma", "inverse-luma", "red", "green", "blue"});
  const Source source(picture, ParseOrder(order_arg), "picture");
  VX_World* const world = source.world();
  py::array mask(TypeOf(source.depth()), {world->height, world->width});
  Plane plane(mask, "mask", Values::Any);
  Run([&] { return VX_MatteFromWorld(nullptr, world, quantity, plane.get()); });
  return mask;
}

py::object ToPicture(const py::array& mask, const py::object& out, const py::object& order_arg) {
  Plane plane(mask, "mask");
  Target target =
      Target::Sized(out, ParseOrder(order_arg), plane.width(), plane.height(), plane.depth());
  Run([&] { return VX_WorldFromMatte(nullptr, plane.get(), target.world()); });
  return target.Finish();
}

py::object Merge(const py::object& picture, const py::array& mask, const py::object& at,
                 const py::object& rect, const py::object& progress, const py::object& out,
                 const py::object& order_arg) {
  const M_Point point = ParsePoint("at", at);
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const Source source(picture, ParseOrder(order_arg), "picture", out);
  Plane plane(mask, "mask");
  Progress polled(progress);
  Target target = Target::CopyOf(source, out);
  Run(polled, [&] {
    return VX_MergeMaskAlpha(polled.info(), point.h, point.v, area ? &*area : nullptr, plane.get(),
                             nullptr, target.world());
  });
  return target.Finish();
}

}  // namespace

void AddUno(py::module_& module) {
  module.def("uno_fill", &Fill);
  module.def("uno_fade", &Fade);
  module.def("uno_invert", &Invert);
  module.def("uno_convert", &Convert);
  module.def("uno_transfer", &Transfer);
  module.def("uno_accumulate", &Accumulate);
  module.def("uno_feather", &Feather);
  module.def("uno_scan", &Scan);
  module.def("uno_from_picture", &FromPicture);
  module.def("uno_to_picture", &ToPicture);
  module.def("uno_merge", &Merge);
}

}  // namespace vxpy
