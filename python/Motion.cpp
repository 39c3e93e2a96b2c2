// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Motion between two pictures, and its files.

#include "VX/cpp/Motion.hpp"

#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "Arguments.h"
#include "Errors.h"
#include "Files.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VXIO/VXIO_Motion.h"
#include "host/VXHost.h"

namespace vxpy {

namespace {

using FieldArray = py::array_t<float, py::array::c_style>;

FieldArray NewField(int32_t width, int32_t height) {
  return FieldArray({py::ssize_t{height}, py::ssize_t{width}, py::ssize_t{2}});
}

// Vectors in memory that the array `owner` keeps.
struct Field {
  FieldArray owner;
  int32_t width, height;

  const float* vectors() const { return owner.data(); }
  ptrdiff_t rowbytes() const { return ptrdiff_t{width} * 8; }
};

// Accepts an array of height x width x 2 of float32; other strides are copied.
Field ParseField(const py::object& object) {
  const py::array& array = AsArray(object, "field");
  if (array.dtype().kind() != 'f' || array.itemsize() != 4) {
    throw py::type_error(Sentence("field", array, "; needs float32"));
  }
  if (array.ndim() != 3 || array.shape(2) != 2) {
    throw py::value_error(Sentence("field", array, "; needs height x width x 2"));
  }
  for (int axis = 0; axis < 2; ++axis) {
    if (array.shape(axis) < 1 || array.shape(axis) > kLargestSide) {
      throw py::value_error(Sentence("field", array, "; needs 1 to 30000 vectors a side"));
    }
  }
  return {FieldArray::ensure(array), static_cast<int32_t>(array.shape(1)),
          static_cast<int32_t>(array.shape(0))};
}

vx::MotionField CopyOf(const Field& field) {
  vx::MotionField copy(field.width, field.height);
  std::copy_n(field.vectors(), field.owner.size(), reinterpret_cast<float*>(copy.data()));
  return copy;
}

// The bounds of VX_CheckMotionSettings, which accept the rounding error of a percentage.
float ParseSetting(const char* name, const py::object& object, double least, double largest) {
  constexpr double kRounding = 1e-6;
  const double value = ParseDouble(name, object);
  const bool valid = value >= least - kRounding && value <= largest + kRounding;
  return static_cast<float>(valid ? value : ParseNumber(name, object, least, largest));
}

VX_Veltor_AlgoParams ParseSettings(const py::object& resolution, const py::object& detail,
                                   const py::object& smoothing, const py::object& block,
                                   const py::object& smooth_passes,
                                   const py::object& error_threshold) {
  VX_Veltor_AlgoParams settings;
  settings.Resolution = ParseSetting("resolution", resolution, 0.05, 1);
  settings.VectorDetail = ParseSetting("detail", detail, -1000, 1000);
  settings.VectorSmoothing = ParseSetting("smoothing", smoothing, -1000, 1000);
  settings.BlockSize = static_cast<int16_t>(ParseWhole("block", block, 4, 40));
  settings.SmoothPasses = static_cast<int16_t>(ParseWhole("smooth_passes", smooth_passes, 1, 50));
  settings.ErrorThreshold = ParseSetting("error_threshold", error_threshold, 0, 0.1);
  return settings;
}

void ParseTweenSettings(const py::object& method, const py::object& sinc,
                        const py::object& shutter_angle, const py::object& shutter_samples,
                        VX_Veltor_AlgoParams* settings) {
  settings->Method = static_cast<int16_t>(ParseChoice("method", method, {"copy", "mix", "motion"}));
  settings->HighQuality = ParseFlag("sinc", sinc) ? 1 : 0;
  settings->ShutterAngle = ParseSetting("shutter_angle", shutter_angle, 0, 360);
  settings->ShutterSamples =
      static_cast<int16_t>(ParseWhole("shutter_samples", shutter_samples, 1, 20));
}

void RequirePair(const Source& a, const Source& b) {
  RequireSameDepth(*a.world(), *b.world(), "a", "b");
  const int32_t width = a.world()->width, height = a.world()->height;
  if (b.world()->width != width || b.world()->height != height) {
    throw py::value_error("b: is " + std::to_string(b.world()->width) + " x " +
                          std::to_string(b.world()->height) + " pixels, a is " +
                          std::to_string(width) + " x " + std::to_string(height));
  }
}

// Runs a call that has a VX_Veltor_InterruptFuncs* argument.
template <class Call>
void RunInterruptible(const py::object& progress, Call call) {
  Progress polled(progress);
  void* refcon = polled.info();
  VX_Veltor_InterruptFuncs interrupt;
  interrupt.RefconPtr = &refcon;
  interrupt.AbortFunc = [](void* info) {
    auto* const poll = static_cast<VX_ProgressInfo*>(info);
    return poll->progress_func(poll->progress_refcon, 0, 0);
  };
  Run(polled, [&] { return call(&interrupt); });
}

py::object Estimate(const py::object& a, const py::object& b, const py::object& resolution,
                    const py::object& detail, const py::object& smoothing, const py::object& block,
                    const py::object& smooth_passes, const py::object& error_threshold,
                    const py::object& backward_arg, const py::object& progress,
                    const py::object& order_arg) {
  const bool backward = ParseFlag("backward", backward_arg);
  const VX_Veltor_AlgoParams settings =
      ParseSettings(resolution, detail, smoothing, block, smooth_passes, error_threshold);
  const Order order = ParseOrder(order_arg);
  const Source first(a, order, "a"), second(b, order, "b");
  RequirePair(first, second);
  const int32_t width = first.world()->width, height = first.world()->height;
  FieldArray field = NewField(width, height);
  float* const vectors = field.mutable_data();
  RunInterruptible(progress, [&](const VX_Veltor_InterruptFuncs* interrupt) {
    return VX_EstimateMotion(first.world(), second.world(), &settings, interrupt, backward ? 1 : 0,
                             vectors, ptrdiff_t{width} * 8);
  });
  return field;
}

struct DisposeTween {
  void operator()(VX_Tween* tween) const { VX_DisposeTween(tween); }
};

// Whether motion is kept, and the folder of its files ("": none).
std::optional<std::string> ParseCache(const py::object& cache) {
  if (cache.is_none()) return std::nullopt;
  if (py::isinstance<py::bool_>(cache)) {
    return ParseFlag("cache", cache) ? std::optional<std::string>("") : std::nullopt;
  }
  const std::string folder = PathOf(cache);
  const py::module_ path = py::module_::import("os").attr("path");
  if (!path.attr("isdir")(cache).cast<bool>()) {
    throw py::value_error("cache: " + folder + " is not a folder");
  }
  return folder;
}

py::object Tween(const py::object& a, const py::object& b, const py::object& at_arg,
                 const py::object& method, const py::object& quality_arg, const py::object& sinc,
                 const py::object& resolution, const py::object& detail,
                 const py::object& smoothing, const py::object& block,
                 const py::object& smooth_passes, const py::object& error_threshold,
                 const py::object& shutter_angle, const py::object& shutter_samples,
                 const py::object& cache_arg, const py::object& progress, const py::object& out,
                 const py::object& order_arg) {
  const auto at = static_cast<float>(ParseNumber("at", at_arg, 0, 1));
  VX_Veltor_AlgoParams settings =
      ParseSettings(resolution, detail, smoothing, block, smooth_passes, error_threshold);
  ParseTweenSettings(method, sinc, shutter_angle, shutter_samples, &settings);
  const auto quality =
      static_cast<VX_TweenQuality>(ParseChoice("quality", quality_arg, {"standard", "high"}));
  const std::optional<std::string> cache = ParseCache(cache_arg);
  const Source first(a, ParseOrder(order_arg), "a"), second(b, ParseOrder(order_arg), "b");
  RequirePair(first, second);
  const VX_World& from = *first.world();
  Target target = Target::Sized(first, out, from.width, from.height, first.depth());
  const WorldPtr apart = target.WithoutOverlap(first), other = target.WithoutOverlap(second);
  VX_Tween* made = nullptr;
  Run([&] { return VX_NewTween(apart->get(), other->get(), &settings, quality, &made); });
  const std::unique_ptr<VX_Tween, DisposeTween> tween(made);
  if (cache) Run([&] { return VX_TweenUseCache(made, nullptr, cache->c_str()); });
  RunInterruptible(progress, [&](const VX_Veltor_InterruptFuncs* interrupt) {
    return VX_TweenInstant(made, at, interrupt, target.world());
  });
  if (const std::string warning = VX_TweenCacheWarning(made); !warning.empty()) WarnAll({warning});
  return target.Finish();
}

// --- vx.AdvancedFrameBlending --------------------------------------------------------------------

using Luma = std::array<double, 3>;

Luma ParseLuma(const py::object& object) {
  if (!py::isinstance<py::sequence>(object) || py::len(object) != 3) {
    throw py::type_error("luma: needs three numbers, not " + Quoted(object));
  }
  Luma weights;
  for (size_t i = 0; i < 3; ++i) weights[i] = ParseDouble("luma", object[py::int_(i)]);
  return weights;
}

void SetLuma(const Luma& weights, VX_Veltor_AlgoParams* settings) {
  settings->LumaR = weights[0];
  settings->LumaG = weights[1];
  settings->LumaB = weights[2];
}

// Accepts what has a numerator and a denominator, and pairs.
VX_Veltor_Time ParseTime(const char* name, const py::object& object) {
  const auto time = [name](const py::object& value, const py::object& scale) {
    return VX_Veltor_Time{static_cast<int32_t>(ParseWhole(name, value, INT32_MIN, INT32_MAX)),
                          static_cast<uint32_t>(ParseWhole(name, scale, 1, UINT32_MAX))};
  };
  if (py::hasattr(object, "numerator") && py::hasattr(object, "denominator")) {
    return time(object.attr("numerator"), object.attr("denominator"));
  }
  const auto [value, scale] = ParsePair(name, object, "(value, scale)");
  return time(value, scale);
}

struct Blending {
  VX_AdvancedFrameBlending frames;
  bool identify = false;  // use the identity of the pictures
};

// Reads and checks the attributes of a vx.AdvancedFrameBlending.
Blending ParseBlending(const py::object& object) {
  const auto of = [&object](const char* name) { return py::object(object.attr(name)); };
  VX_Veltor_OtherParams times;
  times.TimeA = ParseTime("time_a", of("time_a"));
  times.TimeB = ParseTime("time_b", of("time_b"));
  constexpr double kLargest = std::numeric_limits<double>::max();
  times.Instant = ParseNumber("instant", of("instant"), -kLargest, kLargest);
  const py::object identity = of("identity");
  const bool identify =
      py::isinstance<py::str>(identity) && ParseChoice("identity", identity, {"contents"}) == 0;
  if (!identify && !identity.is_none()) {
    const bool is_bytes = py::isinstance<py::bytes>(identity);
    const std::string bytes = is_bytes ? identity.cast<std::string>() : "";
    if (!is_bytes || bytes.size() != sizeof times.CacheIdentity) {
      const std::string text = "identity: needs 16 bytes, \"contents\" or None, not ";
      if (is_bytes) throw py::value_error(text + Quoted(identity));
      throw py::type_error(text + Quoted(identity));
    }
    std::memcpy(times.CacheIdentity, bytes.data(), bytes.size());
  }
  Blending blending{VX_AdvancedFrameBlending(times, {}), identify};
  VX_Veltor_AlgoParams& settings = blending.frames.algo;
  settings = ParseSettings(of("resolution"), of("detail"), of("smoothing"), of("block"),
                           of("smooth_passes"), of("error_threshold"));
  ParseTweenSettings(of("method"), of("sinc"), of("shutter_angle"), of("shutter_samples"),
                     &settings);
  settings.Mode = static_cast<int16_t>(ParseWhole("mode", of("mode"), 0, 3));
  SetLuma(ParseLuma(of("luma")), &settings);
  // The other settings are in range.
  if (blending.frames.CheckParamRange() != VX_Ok) {
    throw py::value_error("luma: " + Quoted(of("luma")) +
                          "; needs weights of 0..1 whose sum is 1 within 0.02");
  }
  return blending;
}

void CheckBlending(const py::object& object) { ParseBlending(object); }

// Returns the settings that the constructor for percentages multiplies.
py::tuple BlendingFractions(const py::object& resolution, const py::object& error_threshold,
                            const py::object& luma) {
  VX_Veltor_AlgoParams settings;
  settings.Resolution = static_cast<float>(ParseDouble("resolution", resolution));
  settings.ErrorThreshold = static_cast<float>(ParseDouble("error_threshold", error_threshold));
  SetLuma(ParseLuma(luma), &settings);
  const VX_AdvancedFrameBlending blending(settings, {}, {});
  const VX_Veltor_AlgoParams& made = blending.algo;
  return py::make_tuple(made.Resolution, made.ErrorThreshold,
                        py::make_tuple(made.LumaR, made.LumaG, made.LumaB));
}

py::object RenderBlending(const py::object& object, const py::object& a, const py::object& b,
                          const py::object& progress, const py::object& out,
                          const py::object& order_arg) {
  Blending blending = ParseBlending(object);
  VX_AdvancedFrameBlending& frames = blending.frames;
  const Source first(a, ParseOrder(order_arg), "a"), second(b, ParseOrder(order_arg), "b");
  RequirePair(first, second);
  const VX_World& from = *first.world();
  Target target = Target::Sized(first, out, from.width, from.height, first.depth());
  const WorldPtr apart = target.WithoutOverlap(first), other = target.WithoutOverlap(second);
  RunInterruptible(progress, [&](const VX_Veltor_InterruptFuncs* interrupt) {
    frames.interrupt = *interrupt;
    VX_Err error = VX_Ok;
    if (blending.identify) {
      error = VX_IdentifyPictures(apart->get(), other->get(), &frames.other.CacheIdentity);
    }
    return error != VX_Ok ? error : frames.Render(apart->get(), other->get(), target.world());
  });
  return target.Finish();
}

// --- cache and files -----------------------------------------------------------------------------

// Sets the memory of the cache and empties it, if wanted. Returns the counts in the order of
// vx.MotionCache.
py::tuple MotionCache(const py::object& memory, const py::object& clear_arg) {
  const bool clear = ParseFlag("clear", clear_arg);
  int64_t limit = -1;
  if (!memory.is_none()) limit = ParseWhole("memory", memory, 0, int64_t{1} << 60);
  VX_MotionCacheInfo info = {};
  Run([&] {
    if (clear) VX_ClearMotionCache();
    if (limit >= 0) VXHost_SetCacheBudget(limit);
    info = VX_GetMotionCacheInfo();
    return VX_Err{VX_Ok};
  });
  return py::make_tuple(info.entries, info.memory, info.disk, info.found, info.read,
                        info.estimated);
}

py::object Predict(const py::object& src, const py::object& field_arg, const py::object& out,
                   const py::object& order_arg) {
  const Field field = ParseField(field_arg);
  const Source source(src, ParseOrder(order_arg), "src");
  const VX_World& from = *source.world();
  if (from.width != field.width || from.height != field.height) {
    throw py::value_error(
        Sentence("field", field.owner, "; needs the height and the width of src"));
  }
  Target target = Target::Sized(source, out, from.width, from.height, source.depth());
  const WorldPtr apart = target.WithoutOverlap(source);
  Run([&] {
    return VX_PredictByMotion(apart->get(), field.vectors(), field.rowbytes(), target.world());
  });
  return target.Finish();
}

py::object DrawFlow(const py::object& field_arg, const py::object& longest,
                    const py::object& arrows, const py::object& depth, const py::object& out,
                    const py::object& order_arg) {
  const Field field = ParseField(field_arg);
  const auto length =
      static_cast<float>(ParseNumber("longest", longest, 0, std::numeric_limits<float>::max()));
  const auto distance = static_cast<int32_t>(ParseWhole("arrows", arrows, 0, kLargestSide));
  Target target =
      Target::Sized(out, ParseOrder(order_arg), field.width, field.height, ParseDepth(depth));
  Run([&] {
    return VX_DrawMotion(field.vectors(), field.rowbytes(), length, distance, target.world());
  });
  return target.Finish();
}

py::object ReadFlow(const py::object& path) {
  const std::string file = PathOf(path);
  RequireFile(path);
  vx::MotionField read;
  RunFiles([&] { read = VXIO_ReadMotion(file); });
  FieldArray field = NewField(read.width(), read.height());
  std::copy_n(reinterpret_cast<const float*>(read.data()), field.size(), field.mutable_data());
  return field;
}

void WriteFlow(const py::object& path, const py::object& field_arg, const py::object& overwrite) {
  const std::string file = PathOf(path);
  const VXIO_Clobber clobber =
      ParseFlag("overwrite", overwrite) ? VXIO_Clobber::Overwrite : VXIO_Clobber::Refuse;
  const Field field = ParseField(field_arg);
  RunFiles([&] { VXIO_WriteMotion(file, CopyOf(field), clobber); });
}

}  // namespace

void AddMotion(py::module_& module) {
  module.def("flow", &Estimate);
  module.def("tween", &Tween);
  module.def("check_frame_blending", &CheckBlending);
  module.def("frame_blending_fractions", &BlendingFractions);
  module.def("render_frame_blending", &RenderBlending);
  module.def("motion_cache", &MotionCache);
  module.def("predict", &Predict);
  module.def("draw_flow", &DrawFlow);
  module.def("read_flow", &ReadFlow);
  module.def("write_flow", &WriteFlow);
}

}  // namespace vxpy
