// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Calls members of every suite. The expected values follow from their definitions.

#include <VX/VX_Suites.h>

#include <cmath>
#include <cstring>
#include <initializer_list>

namespace {

using FindSuite = const void* (*)(const char* name, int32_t version, int32_t* members);

const char* wrong = nullptr;  // the first failure

void Expect(bool good, const char* what) {
  if (!good && wrong == nullptr) wrong = what;
}

// Returns a suite whose members are all set.
template <class Suite>
const Suite& Get(FindSuite find) {
  static const Suite none{};
  int32_t members = 0;
  const void* const table = find(Suite::kName, Suite::kVersion, &members);
  Expect(table != nullptr && members * sizeof(void*) == sizeof(Suite), Suite::kName);
  if (table == nullptr) return none;
  for (int32_t i = 0; i < members; ++i) {
    void* member;
    std::memcpy(&member, static_cast<const char*>(table) + i * sizeof(void*), sizeof(member));
    Expect(member != nullptr, Suite::kName);
  }
  return *static_cast<const Suite*>(table);
}

bool Near(double a, double b) { return std::fabs(a - b) < 1e-9; }

void Runtime(FindSuite find) {
  const auto& cpu = Get<VX_CpuDataSuite1>(find);
  bool has[4] = {};
  Expect(cpu.has_mmx(&has[0]) == VX_Ok && cpu.has_sse(&has[1]) == VX_Ok &&
             cpu.has_sse2(&has[2]) == VX_Ok && cpu.has_sse3(&has[3]) == VX_Ok &&
             cpu.has_mmx(nullptr) == VX_ErrBadParameter,
         "processor");
  Expect(has[0] == (__builtin_cpu_supports("mmx") != 0) &&
             has[1] == (__builtin_cpu_supports("sse") != 0) &&
             has[2] == (__builtin_cpu_supports("sse2") != 0) &&
             has[3] == (__builtin_cpu_supports("sse3") != 0),
         "processor");

  // Arguments at which each function has a value of its own.
  const auto& c = Get<VX_AnsiSuite1>(find);
  const double pi = 3.14159265358979323846;
  const double values[][2] = {{c.atan(1), pi / 4},
                              {c.atan2(1, -1), 3 * pi / 4},
                              {c.ceil(-1.5), -1},
                              {c.cos(pi), -1},
                              {c.exp(1), 2.718281828459045},
                              {c.fabs(-3), 3},
                              {c.floor(-1.5), -2},
                              {c.fmod(7.5, 2), 1.5},
                              {c.hypot(3, 4), 5},
                              {c.log(8), 2.0794415416798357},
                              {c.log10(1000), 3},
                              {c.pow(2, 10), 1024},
                              {c.sin(pi / 2), 1},
                              {c.sqrt(9), 3},
                              {c.tan(pi / 4), 1},
                              {c.asin(1), pi / 2},
                              {c.acos(-1), pi}};
  for (const auto& [value, expected] : values) Expect(Near(value, expected), "mathematics");
  char text[16], copy[16];
  Expect(c.sprintf(text, "%d-%s", 12, "ab") == 5 && c.strcpy(copy, text) == copy &&
             std::strcmp(copy, "12-ab") == 0,
         "strings");

  const auto& handles = Get<VX_HandleSuite1>(find);
  void** const handle = handles.create(3);
  std::memcpy(handles.lock(handle), "abc", 3);
  handles.unlock(handle);
  Expect(handles.size(handle) == 3 && handles.resize(100000, handle) == VX_Ok &&
             handles.size(handle) == 100000 && std::memcmp(handles.lock(handle), "abc", 3) == 0,
         "a larger handle");
  Expect(handles.resize(2, handle) == VX_Ok && handles.size(handle) == 2 &&
             std::memcmp(handles.lock(handle), "ab", 2) == 0,
         "a smaller handle");
  Expect(
      handles.resize(uint64_t{1} << 62, handle) == VX_ErrOutOfMemory && handles.size(handle) == 2,
      "a handle that is too large");
  Expect(handles.resize(1, nullptr) == VX_ErrBadParameter && handles.size(nullptr) == 0,
         "no handle");
  handles.dispose(handle);
}

// Full red: hue 0, lightness 1/2, saturation 1.
template <class Suite, class Pixel, class Component, class Measure>
void Colors(FindSuite find, Pixel red, Component one, Measure full) {
  const auto& suite = Get<Suite>(find);
  Component hls[3], yiq[3];
  Pixel again{}, from_yiq{};
  Measure measures[4] = {};
  suite.rgb_to_hls(nullptr, &red, hls);
  suite.hls_to_rgb(nullptr, hls, &again);
  suite.rgb_to_yiq(nullptr, &red, yiq);
  suite.yiq_to_rgb(nullptr, yiq, &from_yiq);
  Expect(hls[0] == 0 && hls[1] == one / 2 && hls[2] == one && again.red == red.red &&
             again.green == 0 && std::fabs(double(yiq[0]) / one - 0.299) < 1e-4,
         Suite::kName);
  Expect(std::fabs(double(from_yiq.red) - red.red) <= red.red / 250.0, Suite::kName);
  suite.luminance(nullptr, &red, &measures[0]);
  suite.hue(nullptr, &red, &measures[1]);
  suite.lightness(nullptr, &red, &measures[2]);
  suite.saturation(nullptr, &red, &measures[3]);
  Expect(measures[1] == 0 && std::fabs(double(measures[2]) / full - 0.5) < 0.003 &&
             measures[3] == full && measures[0] > full / 5 && measures[0] < full / 3,
         Suite::kName);
}

// Samples a quarter of a pixel to the left of an opaque world. The box is two pixels wide.
template <class Suite, class Pixel>
void Samplers(FindSuite find, VX_LayerDef* world, Pixel color) {
  const auto& suite = Get<Suite>(find);
  VX_SampPB record{};
  record.x_radius = 1 << 16;
  record.y_radius = 1 << 15;
  record.area = 2 << 16;
  record.src = world;
  const auto check = [&](VX_SampleFunc<Pixel> sample, double covered) {
    Pixel pixel{}, expected = color;
    expected.alpha = static_cast<decltype(pixel.alpha)>(color.alpha * covered);
    sample(nullptr, -(1 << 14), 1 << 16, &record, &pixel);
    Expect(std::memcmp(&pixel, &expected, sizeof(pixel)) == 0, Suite::kName);
  };
  check(suite.nearest, 1);
  check(suite.bilinear, 0.75);
  check(suite.area, 0.625);
}

template <class Pixel>
void Draw(FindSuite find, VX_PixelFormat format, Pixel color) {
  const auto& worlds = Get<VX_WorldSuite2>(find);
  const auto& fills = Get<VX_FillMatteSuite2>(find);
  const auto& data = Get<VX_PixelDataSuite1>(find);
  VX_LayerDef world{}, other{};
  VX_PixelFormat found = 0;
  Expect(worlds.create(nullptr, 4, 3, true, format, &world) == VX_Ok &&
             worlds.create(nullptr, 4, 3, true, format, &other) == VX_Ok &&
             worlds.format(&world, &found) == VX_Ok && found == format,
         "a world of a format");
  Pixel* pixels = nullptr;
  if constexpr (sizeof(Pixel) == 4) {
    fills.fill(nullptr, &color, nullptr, &world);
    fills.premultiply_color(nullptr, 1, &color, &world);
    data.pixels8(&world, nullptr, &pixels);
    Samplers<VX_Sampling8Suite1>(find, &world, color);
    Get<VX_FillMatteSuite1>(find).fill(nullptr, &color, nullptr, &world);
  } else if constexpr (sizeof(Pixel) == 8) {
    fills.fill16(nullptr, &color, nullptr, &world);
    fills.premultiply_color16(nullptr, 1, &color, &world);
    data.pixels16(&world, nullptr, &pixels);
    Samplers<VX_Sampling16Suite1>(find, &world, color);
    Get<VX_FillMatteSuite1>(find).fill16(nullptr, &color, nullptr, &world);
  } else {
    fills.fill_float(nullptr, &color, nullptr, &world);
    fills.premultiply_color_float(nullptr, 1, &color, &world);
    data.pixels_float(&world, nullptr, &pixels);
    Samplers<VX_SamplingFloatSuite1>(find, world.world_object, color);
  }
  fills.premultiply(nullptr, 1, &world);  // opaque: no change
  Expect(pixels != nullptr && std::memcmp(&pixels[1], &color, sizeof(color)) == 0, "a fill");

  // Each iterator visits the 12 pixels, but iterate_origin only those over the moved source.
  const auto& walk = Get<VX_Iterate8Suite1>(find);
  int32_t visits = 0;
  const auto count = [](void* refcon, int32_t, int32_t, void*, void*) -> VX_Err {
    ++*static_cast<int32_t*>(refcon);
    return VX_Ok;
  };
  walk.iterate(nullptr, 0, 0, &world, nullptr, &visits, count, &world);
  M_Point right{};
  right.h = 1;
  walk.iterate_origin(nullptr, 0, 0, &world, nullptr, &right, &visits, count, &other);
  Expect(visits == 12 + 9, "iterate_origin");
  walk.iterate_all(nullptr, 0, 0, &world, nullptr, &right, &visits, count, &other);
  for (const VX_IterateFunctions& functions :
       {VX_IterateFunctions(Get<VX_Iterate16Suite1>(find)),
        VX_IterateFunctions(Get<VX_IterateFloatSuite1>(find))}) {
    functions.iterate(nullptr, 0, 0, &world, nullptr, &visits, count, &world);
  }
  walk.iterate_generic(12, &visits, [](void* refcon, int32_t, int32_t, int32_t) -> VX_Err {
    ++*static_cast<int32_t*>(refcon);
    return VX_Ok;
  });
  Expect(visits == 5 * 12 + 9, "iterators");

  // Copies of the same size are exact. Two columns that are stretched to four in high quality
  // include transparent pixels outside of the world.
  const auto& transform = Get<VX_WorldTransformSuite1>(find);
  const VX_CompositeModePlus copy(VX_Xfer_Copy, 1.0f, nullptr, false, 0);
  Expect(transform.copy(nullptr, &world, &other, nullptr, nullptr) == VX_Ok &&
             transform.copy_hq(nullptr, &world, &other, nullptr, nullptr) == VX_Ok &&
             transform.transfer_rect(nullptr, 1, 0, VX_Field_Both, nullptr, &world, &copy, nullptr,
                                     nullptr, 0, 0, &other) == VX_Ok,
         "copies");
  Expect(std::memcmp(other.data, world.data, 4 * sizeof(Pixel)) == 0, "a copy");
  const M_Rect half{0, 0, 3, 2};
  transform.copy(nullptr, &world, &other, &half, nullptr);
  Expect(std::memcmp(other.data, world.data, 4 * sizeof(Pixel)) == 0, "a stretched draft copy");
  transform.copy_hq(nullptr, &world, &other, &half, nullptr);
  Expect(static_cast<const Pixel*>(other.data)->alpha < color.alpha, "a stretched copy");
  Expect(worlds.dispose(nullptr, &world) == VX_Ok && worlds.dispose(nullptr, &other) == VX_Ok,
         "disposal");
}

void Batches(FindSuite find) {
  const auto& batch = Get<VX_BatchSamplingSuite1>(find);
  const auto& worlds = Get<VX_WorldSuite1>(find);
  VX_LayerDef world{};
  Expect(worlds.create(nullptr, 2, 2, 3, &world) == VX_Ok && (world.world_flags & 1) == 1,
         "a 16-bit world by flags");
  VX_SampPB record{};
  record.x_radius = 3 << 15;  // 1.5 x 0.5, so the footprint has an area of 3
  record.y_radius = 1 << 15;
  Expect(batch.begin(nullptr, 1, 1, &record) == VX_ErrBadParameter, "a batch without a source");
  record.src = &world;
  Expect(batch.begin(nullptr, 1, 1, &record) == VX_Ok && record.area == 3 << 16, "the area");
  VX_SamplerBatch<VX_Pixel16> samplers{};
  Expect(batch.samplers16(1, 1, &samplers) == VX_Ok && samplers.area != nullptr &&
             batch.end(nullptr, 1, 1, &record) == VX_Ok,
         "samplers of a batch");
  worlds.dispose(nullptr, &world);
}

}  // namespace

// Returns the first failure, or null.
extern "C" __attribute__((visibility("default"))) const char* UseSuites(FindSuite find) {
  Runtime(find);
  Colors<VX_ColorSuite1>(find, VX_Pixel8{255, 255, 0, 0}, VX_Fixed{65536}, int32_t{255});
  Colors<VX_Color16Suite1>(find, VX_Pixel16{32768, 32768, 0, 0}, VX_Fixed{65536}, int32_t{32768});
  Colors<VX_ColorFloatSuite1>(find, VX_PixelFloat{1, 1, 0, 0}, 1.0f, 1.0f);
  Draw(find, VX_PixelFormat_8, VX_Pixel8{255, 10, 20, 30});
  Draw(find, VX_PixelFormat_16, VX_Pixel16{32768, 1000, 2000, 3000});
  Draw(find, VX_PixelFormat_Float, VX_PixelFloat{1, 0.25f, 0.5f, 2.0f});
  Batches(find);
  return wrong;
}
