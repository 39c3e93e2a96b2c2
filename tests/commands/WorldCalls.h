// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Random commands of the calls on worlds. Run(command, routine) is chosen by the routine's type, so
// it serves the exported call, the routine of a slot and the slow twin alike.

#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <iterator>
#include <tuple>

#include "Command.h"
#include "VX/VX.h"

// Arguments in a braced list are drawn from left to right.
template <class Function, class... Arguments>
VX_Err With(Function function, const std::tuple<Arguments...>& arguments) {
  return std::apply(function, arguments);
}

// `work.template operator()<Pixel>()` with the pixel type of a depth.
template <class Work>
auto ByDepth(int32_t depth, Work work) {
  if (depth == 16) return work.template operator()<VX_Pixel16>();
  if (depth == 32) return work.template operator()<VX_PixelFloat>();
  return work.template operator()<VX_Pixel8>();
}
template <class Pixel>
constexpr int32_t kDepthOf = static_cast<int32_t>(sizeof(Pixel)) * 2;

// `work(world)` with the object form of a descriptor.
template <class Work>
auto AsObject(VX_LayerDef* descriptor, Work work) {
  return ByDepth(VXp_WorldDepth(descriptor), [&]<class Pixel>() {
    VX_WorldX<Pixel> world(descriptor, true);
    return work(world);
  });
}

inline int32_t AnyMode(Command& c) {
  static constexpr int32_t modes[] = {
#define VX_MODE(number, ...) number,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
  };
  const int32_t mode =
      c.OneIn(60) ? c.Pick({-4, -1, 37}) : modes[c.Below(static_cast<int32_t>(std::size(modes)))];
  c.Log("mode %d\n", mode);
  return mode;
}

// --- one world -----------------------------------------------------------------------------------

using ClearExceptCall = VX_Err(void*, const M_Rect*, VX_LayerDef*);
inline VX_Err Run(Command& c, ClearExceptCall* f) {
  const auto hostile = [&] {  // a rectangle may leave nothing to do
    VX_LayerDef* const world = c.Hostile(c.Destination());
    c.must_be_refused = world == nullptr;
    return world;
  };
  return With(f, std::tuple{nullptr, c.Rect(), hostile()});
}

template <class Pixel>
using FillCall = VX_Err(void*, const Pixel*, const M_Rect*, VX_LayerDef*);
template <class Pixel>
VX_Err Run(Command& c, FillCall<Pixel>* f) {
  const Pixel* const color = c.Input(std::vector{c.AnyPixel<Pixel>()});
  return With(f, std::tuple{nullptr, c.Sometimes(color), c.Rect(), c.Hostile(c.Destination())});
}

inline VX_Err Run(Command& c, VX_PremulWorldFunc f) {
  return With(f, std::tuple{nullptr, c.Below(2), c.Hostile(c.Destination())});
}
inline VX_Err Run(Command& c, VX_PremulFunc f) {
  return With(f, std::tuple{nullptr, c.Below(2), c.Rect(), c.Hostile(c.Destination())});
}
template <class Pixel>
using PremulColorCall = VX_Err(void*, int32_t, const Pixel*, VX_LayerDef*);
template <class Pixel>
VX_Err Run(Command& c, PremulColorCall<Pixel>* f) {
  const Pixel* const color = c.Input(std::vector{c.AnyPixel<Pixel>()});
  return With(f, std::tuple{nullptr, c.Below(2), c.Sometimes(color), c.Hostile(c.Destination())});
}
template <class Pixel>
VX_Err Run(Command& c, VX_PremulColorFunc<Pixel> f) {
  const Pixel* const color = c.Input(std::vector{c.AnyPixel<Pixel>()});
  return With(
      f, std::tuple{nullptr, c.Below(2), c.Sometimes(color), c.Rect(), c.Hostile(c.Destination())});
}

// A method of VX_World: `call(command, world)`.
using ObjectCall = std::function<void(Command&, VX_World&)>;
inline VX_Err Run(Command& c, const ObjectCall& call) {
  return AsObject(c.Destination(), [&](auto& world) {
    call(c, world);
    return VX_Ok;
  });
}

// --- copies --------------------------------------------------------------------------------------

// A rectangle of a copy: null, the world, inside it, anywhere, or of the size of another one.
inline const M_Rect* CopyRect(Command& c, const VX_LayerDef& world, M_Rect* rect,
                              const M_Rect* like = nullptr) {
  const int32_t kind = c.Below(8);
  if (kind == 0) return c.Note("copy rectangle null\n", nullptr);
  *rect = c.RectValue();
  const auto width = static_cast<int16_t>(world.width), height = static_cast<int16_t>(world.height);
  if (kind == 1) *rect = {0, 0, height, width};
  if (kind > 1 && kind < 5) {
    const int32_t top = c.Below(height), left = c.Below(width);
    const int32_t bottom = c.Between(top + 1, height), right = c.Between(left + 1, width);
    *rect = {static_cast<int16_t>(top), static_cast<int16_t>(left), static_cast<int16_t>(bottom),
             static_cast<int16_t>(right)};
  }
  if (kind >= 5 && like != nullptr) {
    rect->right = static_cast<int16_t>(rect->left + like->right - like->left);
    rect->bottom = static_cast<int16_t>(rect->top + like->bottom - like->top);
  }
  c.Log("copy rectangle %d %d %d %d\n", rect->left, rect->top, rect->right, rect->bottom);
  return rect;
}

inline VX_Err Run(Command& c, VX_CopyBitsFunc f) {
  VX_LayerDef* const src = c.World(Use::kInput, c.OneIn(3) ? c.AnyDepth() : c.depth);
  VX_LayerDef* const dst = c.Destination();
  M_Rect rects[2];
  const M_Rect* const from = CopyRect(c, *src, &rects[0]);
  const M_Rect* const to = CopyRect(c, *dst, &rects[1], from);
  return With(
      f, std::tuple{nullptr, c.Sometimes(c.Hostile(src)), c.Sometimes(c.Hostile(dst)), from, to});
}

// A host bitmap over the memory of a world.
class Bitmap {
 public:
  Bitmap(Command& c, const VX_LayerDef& world) {
    record_.base = world.data;
    record_.rowbytes = world.rowbytes;
    record_.width = world.width;
    record_.height = world.height;
    record_.bits_per_pixel =
        c.OneIn(32) ? int16_t{24} : static_cast<int16_t>(VXp_WorldDepth(&world) * 4);
    record_.channel_order = c.Flag() ? BM_ORDER_ARGB : BM_ORDER_BGRA;
  }
  Bitmap(const Bitmap&) = delete;
  BM_World** handle() { return &pointer_; }

 private:
  BM_World record_{};
  BM_World* pointer_ = &record_;
};

inline VX_Err Run(Command& c, VX_WorldCopyFunc f) {
  VX_LayerDef* const src = c.World(Use::kInput, c.OneIn(3) ? c.AnyDepth() : c.depth);
  VX_LayerDef* const dst = c.Destination();
  M_Rect rects[2];
  const M_Rect* const from = CopyRect(c, *src, &rects[0]);
  const M_Rect* const to = CopyRect(c, *dst, &rects[1], from);
  Bitmap in(c, *src), out(c, *dst);
  return With(f,
              std::tuple{nullptr, c.Sometimes(in.handle()), c.Sometimes(out.handle()), from, to});
}

using ResizeCall = VX_Err(VX_ProgressInfo*, int32_t, const VX_LayerDef*, VX_LayerDef*);
inline VX_Err Run(Command& c, ResizeCall* f) {
  return With(
      f, std::tuple{c.Progress(), c.Below(2), c.Hostile(c.Source()), c.Hostile(c.Destination())});
}

inline VX_Err Run(Command& c, VX_DepthConvertFunc f) {
  VX_ResetDitherRandomIndex();
  VX_LayerDef* const src = c.World(Use::kInput, c.AnyDepth());
  return With(f, std::tuple{c.Progress(), c.Hostile(src), c.Rect(), c.Below(4) == 0 ? 1 : 0,
                            c.Between(-8, 20), c.Between(-3, 5), c.Hostile(c.Destination())});
}

inline VX_Err Run(Command& c, decltype(&VX_SpecialCasePixelBlit) f) {
  const M_LPoint at = {c.Between(-9, 30), c.Between(-4, 6)};
  const bool lookup = c.Flag(), invert = c.Flag();
  VX_PixelFloat low = c.AnyPixel<VX_PixelFloat>(), high = c.AnyPixel<VX_PixelFloat>();
  if (c.OneIn(5)) high.red = low.red;
  if (c.OneIn(5)) {  // quotients at a half of a byte
    low.green = 0;
    high.green = static_cast<float>(2 * (1 + c.Below(20))) * (1.0f / 255.0f);
  }
  const M_Rect rect = c.RectValue();
  VX_WorldX<VX_Pixel8> dst(c.World(Use::kOutput, 8), true);
  return AsObject(c.World(Use::kInput),
                  [&](auto& src) { return f(&src, at, lookup, invert, low, high, rect, &dst); });
}

// --- composites ----------------------------------------------------------------------------------

inline VX_Err Run(Command& c, VX_CompositeRectFunc f) {
  return With(f,
              std::tuple{c.Progress(), c.Rect(), c.Between(-2, 257), c.Source(), c.Between(-9, 30),
                         c.Between(-4, 6), c.Below(4), AnyMode(c), c.Destination()});
}

inline VX_Err Run(Command& c, VX_BlendWorldsFunc f) {
  return With(f, std::tuple{c.Progress(), c.Source(), c.World(Use::kInput),
                            c.OneIn(8) ? c.Between(-9, 70000) : c.Below(65537), c.Destination()});
}

// Tables of two curves: one that loses values, and one whose exponent differs a little.
const VX_LinearBlendingTables& TablesOf(int32_t curve);

inline const VX_LinearBlendingTables* Tables(Command& c) {
  const int32_t curve = c.Below(8);
  c.Log("tables %d\n", curve);
  return curve < 2 ? &TablesOf(curve) : nullptr;
}
inline VX_CompositeModePlus ModePlus(Command& c) {
  const int32_t mode = AnyMode(c);
  const auto opacity = c.OneIn(10) ? static_cast<float>(c.Real(-1, 2)) : c.Opacity<float>();
  const bool keep = c.OneIn(3);
  return {mode, opacity, nullptr, keep, static_cast<int32_t>(c.Word())};
}
inline VX_MaskSpec Mask(Command& c) {
  VX_LayerDef* const world = c.Source();
  const auto top = static_cast<int16_t>(c.Between(-4, 5));
  const auto left = static_cast<int16_t>(c.Between(-9, 16));
  return {world, top, left, c.OneIn(20) ? c.Between(-1, 5) : c.Below(4)};
}

inline VX_Err Run(Command& c, VX_TransferRectFunc f) {
  const VX_CompositeModePlus mode = ModePlus(c);
  const VX_MaskSpec mask = Mask(c);
  const bool masked = c.Flag() || (mode.mode == VX_Xfer_MaskMix && !c.OneIn(20));
  c.Log("masked %d by %d at %d, %d\n", masked, mask.what, mask.offsetH, mask.offsetV);
  return With(f, std::tuple{c.Progress(), c.Below(2), 0, c.OneIn(3) ? c.Below(4) : 0, c.Rect(),
                            c.Hostile(c.Source()), &mode, Tables(c), masked ? &mask : nullptr,
                            c.Between(-30, 40), c.Between(-6, 8), c.Hostile(c.Destination())});
}

// --- iterators -----------------------------------------------------------------------------------

// The arguments and results of a pixel function.
struct Walk {
  Command& command;
  size_t pixel_size;
  int32_t stop_pixel;
  bool throws;
  int32_t base, final;
  int32_t pixels = 0;
  uint64_t digest = 1469598103934665603u;

  explicit Walk(Command& c)
      : command(c),
        pixel_size(static_cast<size_t>(c.depth) / 2),
        stop_pixel(c.OneIn(4) ? c.Below(60) : -1),
        throws(c.OneIn(4)),
        base(c.Below(5)),
        final(c.OneIn(4) ? 0 : 1 + c.Below(20)) {}
  ~Walk() {
    command.Gave("calls", pixels);
    command.Gave("call digest", static_cast<int64_t>(digest));
  }
  void Add(uint32_t word) { digest = (digest ^ word) * 1099511628211u; }

  static VX_Err OnPixel(void* refcon, int32_t x, int32_t y, void* in, void* out) {
    Walk& walk = *static_cast<Walk*>(refcon);
    uint8_t pixel[16] = {};
    if (in != nullptr) std::memcpy(pixel, in, walk.pixel_size);
    for (const int32_t word : {int32_t{in != nullptr}, x, y}) walk.Add(static_cast<uint32_t>(word));
    for (uint8_t& byte : pixel) {
      walk.Add(byte);
      byte = static_cast<uint8_t>(byte + 3 * x + 7 * y + 1);
    }
    if (walk.pixels++ == walk.stop_pixel) {
      if (walk.throws) throw int32_t{600};
      return 600;
    }
    std::memcpy(out, pixel, walk.pixel_size);
    return VX_Ok;
  }
};

// The source of an iteration: a world, null, or the destination.
inline VX_LayerDef* WalkSource(Command& c, VX_LayerDef* dst) {
  const int32_t kind = c.Below(4);
  return kind == 0 ? nullptr : kind == 1 ? dst : c.Source();
}

inline VX_Err Run(Command& c, VX_IterateFunc f) {
  Walk walk(c);
  VX_LayerDef* const dst = c.Destination();
  return With(f, std::tuple{c.Progress(), walk.base, walk.final, WalkSource(c, dst), c.Rect(),
                            static_cast<void*>(&walk),
                            c.OneIn(48) ? nullptr : static_cast<VX_PixelFunc>(&Walk::OnPixel),
                            c.Hostile(dst)});
}
inline VX_Err Run(Command& c, VX_IterateOriginFunc f) {
  Walk walk(c);
  VX_LayerDef* const dst = c.Destination();
  const auto distance = [&c](int32_t near) {
    return static_cast<int16_t>(c.OneIn(16) ? c.Pick({-32768, 32767}) : c.Between(-near, near));
  };
  const int16_t down = distance(4), right = distance(30);
  const M_Point origin{down, right};
  return With(f, std::tuple{c.Progress(), walk.base, walk.final, WalkSource(c, dst), c.Rect(),
                            c.OneIn(8) ? nullptr : &origin, static_cast<void*>(&walk),
                            static_cast<VX_PixelFunc>(&Walk::OnPixel), c.Hostile(dst)});
}
inline VX_Err Run(Command& c, VX_IterateLUTFunc f) {
  VX_LayerDef* const dst = c.World(Use::kOutput, c.OneIn(20) ? 16 : 8);
  const uint8_t* tables[4];
  for (const uint8_t*& table : tables) {
    table = c.Row<uint8_t>(Use::kInput, 256);
    if (c.OneIn(4)) table = nullptr;
  }
  VX_LayerDef* const src = c.OneIn(20)  ? nullptr
                           : c.OneIn(4) ? dst
                                        : c.World(Use::kInput, c.OneIn(20) ? 16 : 8);
  const auto hostile = [&] {  // the depth of an object is ignored
    VX_LayerDef* const world = c.Hostile(dst);
    c.must_be_refused = world == nullptr || world->data == nullptr;
    return world;
  };
  return With(f, std::tuple{c.Progress(), c.Below(5), c.Below(20), src, c.Rect(), tables[0],
                            tables[1], tables[2], tables[3], hostile()});
}

// A replacement of the slot may use threads, so that only the number of calls for each number is
// compared, and the code only where all calls return the same.
inline VX_Err Run(Command& c, VX_IterateGenericFunc f) {
  struct Calls {
    std::atomic<int32_t> count[100] = {};
    std::atomic<int32_t> wrong = 0;
    int32_t iterations;
    VX_Err code;
  };
  const auto function = [](void* refcon, int32_t thread, int32_t i, int32_t iterations) -> VX_Err {
    Calls& calls = *static_cast<Calls*>(refcon);
    const bool good = thread >= 0 && thread < U_GetNumThreads() && i >= 0 && i < 100 &&
                      iterations == calls.iterations;
    ++(good ? calls.count[i] : calls.wrong);
    return calls.code;
  };
  Calls calls;
  const int32_t iterations = c.Between(-3, 99);
  calls.iterations = iterations == -1 ? 1 : iterations;
  calls.code = c.OneIn(4) ? 99 : 0;
  const VX_Err error =
      f(iterations, &calls, c.OneIn(30) ? nullptr : static_cast<VX_GenericFunc>(function));
  if (calls.wrong != 0) c.Fail("calls with wrong arguments");
  for (const std::atomic<int32_t>& count : calls.count) {
    if (calls.code == VX_Ok) c.Gave("calls", count.load());
  }
  return error;
}
