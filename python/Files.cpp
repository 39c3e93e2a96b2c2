// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Reading and writing of pictures and sequences. Clips are in Clips.cpp.

#include "Files.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <string_view>

#include "Arguments.h"
#include "Subjects.h"
#include "VXIO/VXIO_Profile.h"
#include "VXIO/VXIO_Sequence.h"

namespace vxpy {

std::string PathOf(const py::object& path) {
  if (py::isinstance<py::bytes>(path)) {
    throw py::type_error("path: needs str or os.PathLike; read, read_all and info also accept the "
                         "contents of a file "
                         "as bytes");
  }
  const auto text = py::reinterpret_steal<py::object>(PyOS_FSPath(path.ptr()));
  if (!text) throw py::error_already_set();
  PyObject* bytes = nullptr;
  if (PyUnicode_FSConverter(text.ptr(), &bytes) == 0) throw py::error_already_set();
  const auto holder = py::reinterpret_steal<py::bytes>(bytes);
  return std::string(holder);
}

void WarnAll(const std::vector<std::string>& warnings) {
  for (const std::string& text : warnings) {
    if (PyErr_WarnEx(PyExc_UserWarning, text.c_str(), 2) != 0) throw py::error_already_set();
  }
}

void RequireFile(const py::object& path) {
  const py::module_ os = py::module_::import("os");
  const std::string name = PathOf(path), file = VXIO_FileOf(name);
  if (file == name) {
    os.attr("stat")(path);  // raises FileNotFoundError, PermissionError, ...
  }
}

InputFile::InputFile(const py::object& path) {
  if (!py::isinstance<py::bytes>(path) && !py::isinstance<py::bytearray>(path) &&
      !py::isinstance<py::memoryview>(path)) {
    if (py::hasattr(path, "read")) {
      throw py::type_error("path: needs a path or the contents of a file; pass file.read()");
    }
    path_ = PathOf(path);
    RequireFile(path);
    return;
  }
  path_ = "data";
  // A copy of a bytearray or a memoryview, which another thread may change.
  const auto bytes = py::reinterpret_steal<py::bytes>(PyBytes_FromObject(path.ptr()));
  if (!bytes) throw py::error_already_set();
  const std::string_view contents = bytes;
  if (contents.empty()) throw py::value_error("path: the contents have 0 bytes");
  RunFiles([&] {
    memory_ = std::make_unique<VXIO_MemoryFile>(path_);
    memory_->Append(contents);
  });
}

VXIO_AlphaAs ParseAlpha(const py::object& arg) {
  constexpr VXIO_AlphaAs kKinds[] = {VXIO_AlphaAs::File, VXIO_AlphaAs::Straight,
                                     VXIO_AlphaAs::Premultiplied, VXIO_AlphaAs::Ignore};
  return kKinds[ParseChoice("alpha", arg, {"file", "straight", "premultiplied", "ignore"})];
}

py::object ResultOf(VXIO_WorldPtr world, bool as_world, Order order) {
  const auto shared = std::make_shared<World>(std::move(world), py::none(), /*writable=*/true);
  if (as_world) return py::cast(shared);
  return ArrayOf(*shared, order);
}

namespace {

py::tuple Read(const py::object& path, const py::object& depth, const py::object& alpha,
               bool as_world, const py::object& order_arg) {
  const Order order = ParseOrder(order_arg);
  const VXIO_AlphaAs alpha_as = ParseAlpha(alpha);
  const int32_t bits = depth.is_none() ? 0 : ParseDepth(depth);
  const InputFile file(path);
  VXIO_Picture picture;
  file.Run([&] { picture = VXIO_Read(file.path(), bits, alpha_as); });
  for (std::string& text : picture.warnings) {
    text = VXIO_Renamed(std::move(text), file.path(), file.name());
  }
  WarnAll(picture.warnings);
  return py::make_tuple(ResultOf(std::move(picture.world), as_world, order),
                        Metadata{picture.metadata, file.name()}, picture.has_alpha);
}

// Accepts the name or an extension of a format that can be written.
std::string ParseFormat(const py::object& format) {
  if (!py::isinstance<py::str>(format)) {
    throw py::type_error("format: needs the name of a format, not " + Quoted(format));
  }
  const std::string name = format.cast<std::string>();
  std::string names;
  for (const VXIO_FormatInfo& info : VXIO_ListFormats()) {
    if (!info.writes) continue;
    const auto& extensions = info.extensions;
    if (std::find(extensions.begin(), extensions.end(), name) != extensions.end()) return name;
    if (info.name == name) return extensions.front();
    names += (names.empty() ? "" : ", ") + info.name;
  }
  throw py::value_error("format: one of " + names + ", not " + Quoted(format));
}

// Parses the options of write() and encode(): (metadata, keep_alpha, strict, bits, compression,
// quality).
VXIO_WriteOptions ParseOptions(const py::tuple& args, const Source& source) {
  const py::object metadata = args[0], bits = args[3], compression = args[4];
  VXIO_WriteOptions options;
  if (!metadata.is_none()) options.metadata = ParseObject<Metadata>("metadata", metadata).carried;
  options.keep_alpha = ParseFlag("keep_alpha", args[1]);
  options.grey = source.is_grey() && !options.keep_alpha;
  options.strict = ParseFlag("strict", args[2]);
  if (!bits.is_none()) options.encoding.bits = py::str(bits);
  if (!compression.is_none()) options.encoding.compression = py::str(compression);
  if (!args[5].is_none()) {
    options.encoding.quality = static_cast<int32_t>(ParseWhole("quality", args[5], 1, 100));
  }
  return options;
}

void Write(const py::object& path, const py::object& picture, const py::tuple& args,
           const py::object& overwrite, const py::object& order) {
  const std::string file = PathOf(path);
  const Source source(picture, ParseOrder(order), "picture");
  VXIO_WriteOptions options = ParseOptions(args, source);
  options.clobber =
      ParseFlag("overwrite", overwrite) ? VXIO_Clobber::Overwrite : VXIO_Clobber::Refuse;
  VXIO_CheckEncoding(file, options.encoding);  // std::invalid_argument becomes ValueError
  const VX_World* const world = source.world();
  std::vector<std::string> warnings;
  RunFiles([&] { warnings = VXIO_Write(file, *world, options); });
  WarnAll(warnings);
}

py::bytes Encode(const py::object& picture, const py::object& format, const py::tuple& args,
                 const py::object& order) {
  const Source source(picture, ParseOrder(order), "picture");
  const VXIO_WriteOptions options = ParseOptions(args, source);
  const std::string name = "picture." + ParseFormat(format);
  VXIO_CheckEncoding(name, options.encoding);
  const VX_World* const world = source.world();
  VXIO_Encoded encoded;
  RunFiles([&] { encoded = VXIO_Encode(name, *world, options); });
  WarnAll(encoded.warnings);
  return py::bytes(encoded.bytes);
}

// Returns the profile of a picture: (bytes, name, whether the file contains it).
py::tuple ProfileOf(const Metadata& metadata) {
  VXIO_PictureProfile found;
  std::vector<uint8_t> bytes;
  RunFiles([&] {
    found = VXIO_ProfileOf(metadata.path, metadata.carried);
    QCE_Error(COR_QCE_GetProfileBytes(found.profile, &bytes));
  });
  return py::make_tuple(py::bytes(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                        VXIO_ProfileName(found.profile), found.embedded);
}

Metadata WithProfile(const Metadata& metadata, const py::bytes& profile) {
  const std::string bytes = profile;
  Metadata result{{}, metadata.path};
  RunFiles([&] {
    COR_QCE_ProfilePtr made;
    QCE_Error(COR_QCE_ProfileFromMemory(bytes.data(), bytes.size(), &made));
    result.carried = VXIO_WithProfile(metadata.carried, made);
  });
  return result;
}

py::tuple RectOf(const vx::Rect& rect) {
  return py::make_tuple(rect.left, rect.top, rect.right, rect.bottom);
}

py::dict Info(const py::object& path) {
  const InputFile file(path);
  VXIO_Info info;
  bool is_picture = false;
  file.Run([&] {
    is_picture = VXIO_IsPicture(file.path());
    if (is_picture) info = VXIO_ReadInfo(file.path());
  });
  if (!is_picture) return ClipInfo(file);
  constexpr const char* kAlpha[] = {"none", "straight", "premultiplied"};
  py::dict result;
  result["format"] = info.format;
  result["width"] = info.width;
  result["height"] = info.height;
  result["data_window"] = RectOf(info.windows.data);
  result["display_window"] = RectOf(info.windows.display);
  result["channels"] = info.channels;
  result["sample_type"] = info.sample_type;
  result["depth"] = info.depth;
  result["alpha"] = kAlpha[static_cast<int32_t>(info.alpha)];
  result["parts"] = info.parts;
  result["layers"] = info.layers;
  result["profile"] = info.has_profile ? py::object(py::str(info.profile)) : py::none();
  py::dict attributes;
  for (const auto& [name, value] : info.metadata) attributes[py::str(name)] = value;
  result["metadata"] = attributes;
  return result;
}

// Returns (number, file) for each frame of a sequence: those on disk, or those listed in `frames`.
std::vector<std::pair<int64_t, std::string>> FrameFiles(const py::object& path,
                                                        const py::object& frames) {
  const std::string name = PathOf(path);
  const std::string args = frames.is_none() ? "" : std::string(py::str(frames));
  std::vector<std::pair<int64_t, std::string>> files;
  RunFiles([&] {
    const VXIO_FramePattern pattern(name);
    const std::vector<int64_t> numbers =
        args.empty() ? pattern.FramesOnDisk() : VXIO_ParseFrames(args);
    for (const int64_t number : numbers) files.emplace_back(number, pattern.Name(number));
  });
  return files;
}

// Parses a list of frames such as "1-10,20".
std::vector<int64_t> ParseFrames(const py::object& frames) {
  return VXIO_ParseFrames(std::string(py::str(frames)));
}

bool IsPicture(const py::object& path) {
  const std::string file = PathOf(path);
  RequireFile(path);
  bool is_picture = false;
  RunFiles([&] { is_picture = VXIO_IsPicture(file); });
  return is_picture;
}

bool IsPattern(const py::object& path) { return VXIO_FramePattern::IsPattern(PathOf(path)); }

}  // namespace

void AddFiles(py::module_& module) {
  py::class_<Metadata>(
      module, "Metadata",
      "The profile and other attributes of a file that was read. write() writes them to "
      "another file.")
      .def("profile", &ProfileOf,
           "Returns (bytes, description, embedded) of the ICC profile of the colours. If the file "
           "has no embedded profile, it is the profile that is assumed for the picture.")
      .def("with_profile", &WithProfile, py::arg("profile"),
           "Returns Metadata with another ICC profile. profile: bytes of the profile. Pixels are "
           "not converted.")
      .def_property_readonly(
          "data_window", [](const Metadata& m) { return RectOf(VXIO_WindowsOf(m.carried).data); },
          "The area of the picture in the file: (left, top, right, bottom), in pixels; right and "
          "bottom exclusive. (0, 0, width, height) except in some EXR files.")
      .def_property_readonly(
          "display_window",
          [](const Metadata& m) { return RectOf(VXIO_WindowsOf(m.carried).display); },
          "The frame of the picture: (left, top, right, bottom), as data_window.")
      .def("__repr__", [](const Metadata& m) { return "<vx.Metadata of " + m.path + ">"; });
  module.def("read", &Read);
  module.def("write", &Write);
  module.def("encode", &Encode);
  module.def("info", &Info);
  module.def("frame_files", &FrameFiles);
  module.def("parse_frames", &ParseFrames);
  module.def("is_pattern", &IsPattern);
  module.def("is_picture", &IsPicture);
  AddClips(module);
}

}  // namespace vxpy
