// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Channels of pictures as separate arrays (planes). vx/_planes.py passes contiguous arrays.

#include <cstring>
#include <string>

#include "Arguments.h"
#include "Errors.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_Chunk.h"
#include "VX/VX_EffectWorld.h"
#include "VX/VX_Interleave.h"
#include "VX/VX_Mask.h"

namespace vxpy {

namespace {

int32_t CountOf(int32_t channels) { return __builtin_popcount(static_cast<uint32_t>(channels)); }

int32_t ParseSome(const py::object& letters) {
  const int32_t channels = ParseChannels(letters);
  if (channels == 0) throw py::value_error("channels: at least one letter of argb");
  return channels;
}

void RequireBytes(const Source& source) {
  if (source.depth() == 8) return;
  throw py::value_error("picture: planes are for 8 bits a channel; deinterleave takes any depth");
}

// --- some channels of 8-bit pictures -------------------------------------------------------------

// Owns a memory handle of the host.
struct Handle {
  ~Handle() {
    if (handle != nullptr) U_FreeHandle(handle);
  }
  void** handle = nullptr;
};

py::array ExtractPlanes(const py::object& picture, const py::object& letters,
                        const py::object& order_arg) {
  const int32_t channels = ParseSome(letters);
  const Source source(picture, ParseOrder(order_arg), "picture");
  RequireBytes(source);
  const VX_World* const world = source.world();
  const py::ssize_t row = py::ssize_t{world->width} * CountOf(channels);
  py::array_t<uint8_t> planes({world->height, world->width, CountOf(channels)});
  uint8_t* const out = planes.mutable_data();
  Run([&] {
    Handle planar;
    int32_t row_size = 0;
    const VX_Err code = VX_ExtractPlanes(nullptr, world, static_cast<uint32_t>(channels),
                                         &planar.handle, &row_size);
    for (int32_t y = 0; code == VX_Ok && y < world->height; ++y) {
      std::memcpy(out + y * row, static_cast<uint8_t*>(*planar.handle) + ptrdiff_t{y} * row_size,
                  static_cast<size_t>(row));
    }
    return code;
  });
  return planes;
}

py::object InsertPlanes(const py::object& picture, const py::array& planes,
                        const py::object& letters, const py::object& out,
                        const py::object& order_arg) {
  const int32_t channels = ParseSome(letters);
  const Source source(picture, ParseOrder(order_arg), "picture", out);
  RequireBytes(source);
  const VX_World& from = *source.world();
  if (DepthOf(planes, "planes") != 8 || planes.ndim() != 3 || planes.shape(0) != from.height ||
      planes.shape(1) != from.width || planes.shape(2) != CountOf(channels)) {
    throw py::value_error(Sentence("planes", planes,
                                   "needs uint8, height x width of the picture x "
                                   "the number of channels"));
  }
  Target target = Target::CopyOf(source, out);
  void* samples = const_cast<void*>(planes.data());
  Run([&] {
    return VX_InsertPlanes(nullptr, &samples, from.width * CountOf(channels),
                           static_cast<uint32_t>(channels), target.world());
  });
  return target.Finish();
}

// --- one channel at any depth --------------------------------------------------------------------

int32_t ParseChannel(const py::object& arg) {
  return ParseChoice("channel", arg, {"alpha", "red", "green", "blue"});
}

template <class Channel>
VX_Err Take(const VX_World& world, int32_t channel, void* plane) {
  const auto* const first = static_cast<const Channel*>(world.data) + channel;
  return VX_Deinterleave1(
      first, world.rowbytes, world.width * static_cast<int32_t>(sizeof(Channel)), 4,
      {world.width, world.height}, {0, 0}, {0, 0}, static_cast<Channel*>(plane));
}

template <class Channel>
VX_Err Put(const void* plane, int32_t channel, VX_World& world) {
  auto* const first = static_cast<Channel*>(world.data) + channel;
  return VX_Interleave1to4(static_cast<const Channel*>(plane),
                           world.width * static_cast<int32_t>(sizeof(Channel)), world.rowbytes, 4,
                           {world.width, world.height}, {0, 0}, {0, 0}, first);
}

py::array Deinterleave(const py::object& picture, const py::object& channel_arg,
                       const py::object& order_arg) {
  const int32_t channel = ParseChannel(channel_arg);
  const Source source(picture, ParseOrder(order_arg), "picture");
  const VX_World& world = *source.world();
  py::array plane(TypeOf(source.depth()), {world.height, world.width});
  void* const samples = plane.mutable_data();
  Run([&] {
    if (world.Depth() == 8) return Take<uint8_t>(world, channel, samples);
    if (world.Depth() == 16) return Take<uint16_t>(world, channel, samples);
    return Take<float>(world, channel, samples);
  });
  return plane;
}

// Checks that the plane has the size and depth of the picture; throws ValueError otherwise.
void RequirePlane(const py::array& plane, const char* name, const Source& source) {
  const VX_World& world = *source.world();
  if (DepthOf(plane, name) != source.depth() || plane.ndim() != 2 ||
      plane.shape(0) != world.height || plane.shape(1) != world.width) {
    throw py::value_error(
        Sentence(name, plane, "needs the height, width and depth of the picture: ") +
        std::to_string(world.height) + " x " + std::to_string(world.width) + ", " +
        std::to_string(source.depth()) + " bits");
  }
  RequireScale(plane, name);
}

py::object Interleave(const py::object& picture, const py::array& plane,
                      const py::object& channel_arg, const py::object& out,
                      const py::object& order_arg) {
  const int32_t channel = ParseChannel(channel_arg);
  const Source source(picture, ParseOrder(order_arg), "picture", out);
  RequirePlane(plane, "plane", source);
  Target target = Target::CopyOf(source, out);
  VX_World& world = *target.world();
  const void* const samples = plane.data();
  Run([&] {
    if (world.Depth() == 8) return Put<uint8_t>(samples, channel, world);
    if (world.Depth() == 16) return Put<uint16_t>(samples, channel, world);
    return Put<float>(samples, channel, world);
  });
  return target.Finish();
}

template <class Pixel>
void BlendRows(VX_World& world, const void* values, double opacity, double goal) {
  using Channel = VX_ChannelOf<Pixel>;
  const double full = vx::PixelTraits<Pixel>::full_scale;
  const double half = std::is_same_v<Pixel, VX_PixelFloat> ? 0 : 0.5;
  const auto* row = static_cast<const Channel*>(values);
  for (ptrdiff_t y = 0; y < world.height; ++y, row += world.width) {
    auto* const pixels =
        reinterpret_cast<Pixel*>(static_cast<char*>(world.data) + y * world.rowbytes);
    VX_BlendSingleChannel(world.width, static_cast<Channel>(opacity * full + half),
                          static_cast<Channel>(goal), row, pixels);
  }
}

py::object BlendAlpha(const py::object& picture, const py::array& mask, const py::object& goal_arg,
                      const py::object& opacity_arg, const py::object& out,
                      const py::object& order_arg) {
  const Source source(picture, ParseOrder(order_arg), "picture", out);
  RequirePlane(mask, "mask", source);
  const double share = ParseNumber("opacity", opacity_arg, 0, 1);
  const double goal =
      source.depth() == 32
          ? ParseNumber("target", goal_arg, -3.4e38, 3.4e38)
          : static_cast<double>(ParseWhole("target", goal_arg, 0,
                                           static_cast<int64_t>(vx::full_scale(source.depth()))));
  Target target = Target::CopyOf(source, out);
  VX_World& world = *target.world();
  const void* const values = mask.data();
  Run([&] {
    vx::visit_depth(world.Depth(),
                    [&]<class Pixel> { BlendRows<Pixel>(world, values, share, goal); });
    return VX_Ok;
  });
  return target.Finish();
}

// --- channels of arrays that are not pictures ----------------------------------------------------

struct ChunkType {
  char kind;
  py::ssize_t size;
  uint32_t code;
};

uint32_t ParseType(const py::array& array, const char* name) {
  constexpr ChunkType kTypes[] = {{'f', 4, VX_ChunkType_Float},  {'f', 8, VX_ChunkType_Double},
                                  {'i', 4, VX_ChunkType_Long},   {'i', 2, VX_ChunkType_Short},
                                  {'i', 1, VX_ChunkType_Char},   {'u', 4, VX_ChunkType_UFixed},
                                  {'u', 2, VX_ChunkType_UShort}, {'u', 1, VX_ChunkType_UByte}};
  for (const ChunkType& type : kTypes) {
    if (array.dtype().kind() == type.kind && array.itemsize() == type.size) return type.code;
  }
  throw py::type_error(Sentence(name, array, "numbers of 8, 16 or 32 bits, or float64"));
}

// A chunk with the values of a contiguous array of height x width x channels.
class Chunk {
 public:
  Chunk(const py::array& array, const char* name) : bytes_(static_cast<size_t>(array.nbytes())) {
    const uint32_t type = ParseType(array, name);
    if (array.ndim() != 3 || array.size() == 0 || array.nbytes() > INT32_MAX) {
      throw py::value_error(
          Sentence(name, array, "needs height x width x channels, below 2 GiB and not empty"));
    }
    Check(VX_NewChunk(static_cast<int32_t>(array.shape(1)), static_cast<int32_t>(array.shape(0)),
                      static_cast<int32_t>(array.shape(2)), type, &record_));
    std::memcpy(record_.locked_data, array.data(), bytes_);
  }
  ~Chunk() { VX_DisposeChunk(&record_); }
  Chunk(const Chunk&) = delete;
  Chunk& operator=(const Chunk&) = delete;

  VX_ChannelChunk* record() { return &record_; }
  void CopyTo(void* memory) const { std::memcpy(memory, record_.locked_data, bytes_); }

 private:
  VX_ChannelChunk record_{};
  size_t bytes_;
};

// Copies a channel of `src` into `dst`, a contiguous array that the caller owns.
void CopyChannel(const py::array& dst, const py::array& src, const py::object& dst_channel,
                 const py::object& src_channel) {
  const auto to = static_cast<int32_t>(ParseWhole("dst_channel", dst_channel, 0, INT32_MAX));
  const auto from = static_cast<int32_t>(ParseWhole("src_channel", src_channel, 0, INT32_MAX));
  const Call call;
  Chunk target(dst, "dst"), source(src, "src");
  Run([&] { return VX_ChannelCopy(nullptr, source.record(), target.record(), from, to); });
  target.CopyTo(const_cast<void*>(dst.data()));
}

}  // namespace

void AddPlanes(py::module_& module) {
  module.def("extract_planes", &ExtractPlanes);
  module.def("insert_planes", &InsertPlanes);
  module.def("deinterleave", &Deinterleave);
  module.def("interleave", &Interleave);
  module.def("uno_blend_alpha", &BlendAlpha);
  module.def("copy_channel", &CopyChannel);
}

}  // namespace vxpy
