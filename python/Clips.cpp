// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Reading and writing of clips.

#include "VXIO/VXIO_Clip.h"
#include "VXIO/VXIO_ClipWriter.h"

#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Arguments.h"
#include "Files.h"

namespace vxpy {

namespace {

// An open clip. It is not thread-safe; the Python class that uses it serialises calls.
class Clip {
 public:
  explicit Clip(const py::object& path) : path_(PathOf(path)) {
    RequireFile(path);
    RunFiles([&] { reader_.emplace(path_); });
  }

  // Decodes the next frame. Returns (number, picture, metadata, time), or None after the last
  // frame.
  py::object Next(const py::object& depth, const py::object& alpha, bool as_world,
                  const py::object& order_arg) {
    const Order order = ParseOrder(order_arg);
    const VXIO_AlphaAs alpha_as = ParseAlpha(alpha);
    const int32_t bits = depth.is_none() ? 0 : ParseDepth(depth);
    std::optional<VXIO_ClipFrame> frame;
    RunFiles([&] { frame = Reader().Next(bits, alpha_as); });
    if (!frame) return py::none();
    WarnAll(frame->picture.warnings);
    return py::make_tuple(frame->number, ResultOf(std::move(frame->picture.world), as_world, order),
                          Metadata{frame->picture.metadata, path_}, frame->time);
  }

  void Seek(int64_t number) {
    RunFiles([&] { Reader().Seek(number); });
  }

  int64_t Position() const { return reader_ ? reader_->position() : 0; }
  void Close() { reader_.reset(); }

 private:
  VXIO_ClipReader& Reader() {
    if (!reader_) throw VXIO_Error(VXIO_ErrorKind::Input, path_ + ": is closed");
    return *reader_;
  }

  std::string path_;
  std::optional<VXIO_ClipReader> reader_;
};

// A clip that is written. It is not thread-safe; the Python class that uses it serialises calls.
class ClipWriter {
 public:
  // rate: (numerator, denominator). Other arguments may be None.
  ClipWriter(const py::object& path, std::pair<int32_t, int32_t> rate,
             const std::optional<std::string>& codec, std::optional<int32_t> bits,
             std::optional<int32_t> quality, std::optional<bool> alpha, bool overwrite, bool strict)
      : path_(PathOf(path)) {
    VXIO_ClipOptions options;
    options.frame_rate = {rate.first, rate.second};
    options.codec = codec.value_or("");
    options.bits = bits.value_or(0);
    options.quality = quality;
    options.alpha = alpha;
    options.clobber = overwrite ? VXIO_Clobber::Overwrite : VXIO_Clobber::Refuse;
    options.strict = strict;
    VXIO_CheckClipOptions(path_, options);
    RunFiles([&] { writer_.emplace(path_, options); });
  }

  void Write(const py::object& picture, const py::object& order) {
    const Source source(picture, ParseOrder(order), "picture");
    RunFiles([&] { Writer().Write(*source.world()); });
  }

  void Finish() {
    std::vector<std::string> warnings;
    RunFiles([&] { warnings = Writer().Finish(); });
    writer_.reset();
    WarnAll(warnings);
  }

  void Discard() { writer_.reset(); }

 private:
  VXIO_ClipWriter& Writer() {
    if (!writer_) throw VXIO_Error(VXIO_ErrorKind::Output, path_ + ": is closed");
    return *writer_;
  }

  std::string path_;
  std::optional<VXIO_ClipWriter> writer_;
};

py::object Fraction(const VXIO_Rational& value) {
  if (value.num <= 0) return py::none();
  return py::module_::import("fractions").attr("Fraction")(value.num, value.den);
}

}  // namespace

py::dict ClipInfo(const InputFile& file) {
  VXIO_ClipInfo info;
  file.Run([&] { info = VXIO_ClipReader(file.path()).info(); });
  py::dict result;
  result["format"] = info.format;
  result["codec"] = info.codec;
  result["pixel_format"] = info.pixel_format;
  result["width"] = info.width;
  result["height"] = info.height;
  result["bits"] = info.bits;
  result["depth"] = info.depth;
  result["alpha"] = info.has_alpha ? "straight" : "none";
  result["frame_rate"] = Fraction(info.frame_rate);
  result["frame_count"] = info.frames;
  result["duration"] = info.duration;
  result["pixel_aspect"] = Fraction(info.pixel_aspect);
  result["matrix"] = info.matrix;
  result["matrix_tagged"] = info.matrix_tagged;
  result["full_range"] = info.full_range;
  return result;
}

void AddClips(py::module_& module) {
  py::class_<Clip>(module, "Clip")
      .def(py::init<const py::object&>())
      .def("next", &Clip::Next)
      .def("seek", &Clip::Seek)
      .def("close", &Clip::Close)
      .def_property_readonly("position", &Clip::Position);
  py::class_<ClipWriter>(module, "ClipWriter")
      .def(py::init<const py::object&, std::pair<int32_t, int32_t>, std::optional<std::string>,
                    std::optional<int32_t>, std::optional<int32_t>, std::optional<bool>, bool,
                    bool>())
      .def("write", &ClipWriter::Write)
      .def("finish", &ClipWriter::Finish)
      .def("discard", &ClipWriter::Discard);
}

}  // namespace vxpy
