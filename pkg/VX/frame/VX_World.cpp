// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Creates worlds and references, and implements the members that do not depend on the pixel type.

#include "VX/VX_World.h"

#include <algorithm>
#include <limits>

#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Frame.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_Report.h"

namespace {

constexpr char kBadReferenceDepth[] = "Unexpected bitdepth in VX_World::NewReference()";
constexpr char kNoParent[] = "Bad parameter to VX_World::NewReference()";

[[noreturn]] void ThrowFailure(const char* text, int32_t line = __builtin_LINE()) {
  VXp_Throw(VXp_FailVerification(text, line));
}

[[noreturn]] VX_World* ThrowBadDepth() { VXp_Throw(VX_ErrBadParameter); }

// Returns the depth. Only the low 16 bits of the result of Depth() are defined.
int16_t DepthOf(const VX_World& world) { return static_cast<int16_t>(world.Depth()); }

// Returns to - from, clamped to 32 bits, so that a large distance does not wrap to a valid size.
int32_t Distance(int32_t from, int32_t to) {
  return static_cast<int32_t>(std::clamp<int64_t>(int64_t{to} - from,
                                                  std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

// Returns the address of pixel (x, y); null if the world has no pixels.
void* PixelsAt(void* base, int32_t rowbytes, int32_t x, int32_t y, int32_t pixel_size) {
  if (base == nullptr) return nullptr;
  return static_cast<char*>(base) + static_cast<ptrdiff_t>(y) * rowbytes +
         static_cast<ptrdiff_t>(x) * pixel_size;
}

// Returns the part of the hint rectangle `hint` of a world that is inside `rect`, relative to the
// top left corner of `rect`.
M_Rect HintWithin(const M_Rect& hint, const M_LRect& rect) {
  const int32_t left = std::max<int32_t>(hint.left, rect.left);
  const int32_t top = std::max<int32_t>(hint.top, rect.top);
  const int32_t right = std::min<int32_t>(hint.right, rect.right);
  const int32_t bottom = std::min<int32_t>(hint.bottom, rect.bottom);
  M_Rect part{};
  if (right <= left || bottom <= top) return part;
  part.left = static_cast<int16_t>(Distance(rect.left, left));
  part.top = static_cast<int16_t>(Distance(rect.top, top));
  part.right = static_cast<int16_t>(Distance(rect.left, right));
  part.bottom = static_cast<int16_t>(Distance(rect.top, bottom));
  return part;
}

bool Within(const VX_LayerDef& world, const M_LRect& rect) {
  return rect.left >= 0 && rect.right <= world.width && rect.top >= 0 &&
         rect.bottom <= world.height;
}

// Sets the pixels, the size and the extent hint of `to` to those of a part of the parent. `to` may
// be the parent.
void SetPart(const VX_LayerDef& parent, const M_LRect& rect, int32_t pixel_size, VX_LayerDef* to) {
  to->extent_hint = HintWithin(parent.extent_hint, rect);
  to->data = PixelsAt(parent.data, parent.rowbytes, rect.left, rect.top, pixel_size);
  to->width = Distance(rect.left, rect.right);
  to->height = Distance(rect.top, rect.bottom);
}

VX_LayerDef PartOf(const VX_LayerDef& parent, const M_LRect& rect, int32_t pixel_size) {
  VX_LayerDef part{};
  part.world_flags = parent.world_flags;
  part.rowbytes = parent.rowbytes;
  part.aux_pair[0] = parent.aux_pair[0];
  part.aux_pair[1] = parent.aux_pair[1];
  SetPart(parent, rect, pixel_size, &part);
  return part;
}

// Returns a descriptor of pixels in memory. The depth must be valid.
VX_LayerDef Describe(void* data, int32_t width, int32_t height, int32_t depth, int32_t rowbytes) {
  VX_LayerDef memory{};
  memory.data = data;
  memory.rowbytes = rowbytes;
  memory.width = width;
  memory.height = height;
  memory.extent_hint = VXp_WholeRect(width, height);
  VXp_ThrowIf(VXp_SetWorldDepth(&memory, depth));
  return memory;
}

// Creates a world that refers to `area` of a bitmap; null is the whole bitmap.
VX_World* ReferenceBitmap(BM_World** bitmap, const M_Rect* area) {
  if (bitmap == nullptr || *bitmap == nullptr) ThrowFailure(kNoParent);
  const BM_World& record = **bitmap;
  const int32_t depth = record.bits_per_pixel % 4 == 0 ? VX_DepthOfBMWorld(bitmap) : 0;
  return VXp_SelectPixel(
      depth,
      [&](auto tag) -> VX_World* {
        using Pixel = typename decltype(tag)::Pixel;
        const M_LRect rect =
            area != nullptr ? VXp_LRectOf(*area) : M_LRect{0, 0, record.width, record.height};
        void* const data =
            PixelsAt(VXp_BitmapPixels(bitmap), record.rowbytes, rect.left, rect.top, sizeof(Pixel));
        VX_LayerDef memory =
            Describe(data, rect.right - rect.left, rect.bottom - rect.top, depth, record.rowbytes);
        return new VX_WorldX<Pixel>(&memory, false);
      },
      []() -> VX_World* { ThrowFailure(kBadReferenceDepth); });
}

}  // namespace

VX_World::VX_World()
    : VX_LayerDef{},
      alloc_width(0),
      alloc_height(0),
      owned_pixels(nullptr),
      alloc_rowbytes_(0),
      owned_bitmap_(nullptr) {}

VX_World::~VX_World() = default;

VX_World* VX_World::New(int32_t width, int32_t height, int16_t depth, uint32_t flags) {
  return VXp_SelectPixel(
      depth,
      [&](auto tag) -> VX_World* {
        return new VX_WorldX<typename decltype(tag)::Pixel>(width, height, flags);
      },
      ThrowBadDepth);
}

VX_World* VX_World::New(const M_LRect& rect, int16_t depth, uint32_t flags) {
  VX_World* world =
      New(Distance(rect.left, rect.right), Distance(rect.top, rect.bottom), depth, flags);
  if (world != nullptr) {
    world->origin_x = rect.left;
    world->origin_y = rect.top;
  }
  return world;
}

VX_World* VX_World::NewMatchingWorld(const VX_World* model, uint32_t flags) {
  if (model == nullptr) ThrowFailure("Bad parameter to VX_World::NewMatchingWorld()");
  return New(model->width, model->height, DepthOf(*model), flags);
}

VX_World* VX_World::NewReference(void* data, int32_t width, int32_t height, int16_t depth,
                                 int32_t rowbytes) {
  return VXp_SelectPixel(
      depth,
      [&](auto tag) -> VX_World* {
        VX_LayerDef memory = Describe(data, width, height, depth, rowbytes);
        return new VX_WorldX<typename decltype(tag)::Pixel>(&memory, false);
      },
      ThrowBadDepth);
}

VX_World* VX_World::NewReference(VX_LayerDef* descriptor) {
  if (descriptor == nullptr) ThrowFailure(kNoParent);
  return VXp_SelectPixel(
      VXp_WorldDepth(descriptor),
      [&](auto tag) -> VX_World* {
        return new VX_WorldX<typename decltype(tag)::Pixel>(descriptor, false);
      },
      []() -> VX_World* {
        ThrowFailure("Unexpected bitdepth in VX_World::NewReference(VX_EffectWorld)");
      });
}

VX_World* VX_World::NewReference(VX_World* parent, const M_LRect& rect) {
  if (parent == nullptr) ThrowFailure(kNoParent);
  return VXp_SelectPixel(
      DepthOf(*parent),
      [&](auto tag) -> VX_World* {
        using Pixel = typename decltype(tag)::Pixel;
        if (dynamic_cast<VX_WorldX<Pixel>*>(parent) == nullptr) ThrowFailure(kBadReferenceDepth);
        VX_LayerDef part = PartOf(*parent, rect, sizeof(Pixel));
        return new VX_WorldX<Pixel>(&part, true);
      },
      []() -> VX_World* { ThrowFailure(kBadReferenceDepth); });
}

VX_World* VX_World::NewReference(VX_World* parent, const M_Rect& rect) {
  return NewReference(parent, VXp_LRectOf(rect));
}

VX_World* VX_World::NewReference(BM_World** bitmap) {
  VX_World* world = ReferenceBitmap(bitmap, nullptr);
  if (world != nullptr) world->bm_world = bitmap;
  return world;
}

VX_World* VX_World::NewReference(BM_World** bitmap, const M_Rect& area) {
  return ReferenceBitmap(bitmap, &area);
}

void VX_World::ReReference(VX_World* parent, const M_LRect& rect) {
  if (parent == nullptr) ThrowFailure("Bad parameter to VX_World::ReReference()");
  if (DepthOf(*parent) != DepthOf(*this)) ThrowFailure("can't change bit depth in ReReference");
  if (!Within(*parent, rect)) ThrowFailure("bad sub rect in ReReference");
  if (parent == this) ThrowFailure("can't ReReference self");
  VX_LayerDef& descriptor = *this;
  descriptor = PartOf(*parent, rect, PixelSize());
  world_object = this;
}

void VX_World::ReReference(VX_World* parent, const M_Rect& rect) {
  ReReference(parent, VXp_LRectOf(rect));
}

void VX_World::ShrinkToSubRect(const M_Rect& rect) {
  const M_LRect part = VXp_LRectOf(rect);
  if (!Within(*this, part)) ThrowFailure("bad sub rect in ShrinkToSubRect");
  if (HasBMWorld()) ThrowFailure("Can't Shrink a VX_World which is backed by a BM_World");
  SetPart(*this, part, PixelSize(), this);
}

bool VX_World::RefersTo(const VX_World* other) const {
  if (other == nullptr || !IsReference() || DepthOf(*this) != DepthOf(*other)) return false;
  if (rowbytes != other->rowbytes || rowbytes == 0) return false;
  if (width > other->width || height > other->height) return false;
  const auto distance = static_cast<int64_t>(reinterpret_cast<uintptr_t>(data) -
                                             reinterpret_cast<uintptr_t>(other->data));
  return distance >= 0 && distance / rowbytes < other->height;
}

void VX_World::CopyWorld(const VX_World* source) {
  constexpr int32_t kRectLimit = std::numeric_limits<int16_t>::max();
  if (source == nullptr || source->width > kRectLimit || source->height > kRectLimit) {
    ThrowFailure("Bad parameter to VX_World::CopyWorld()");
  }
  CopyRect(source, VXp_WholeRect(source->width, source->height), 0, 0);
}

void VX_World::FillOutEffectWorld(VX_LayerDef* out) {
  if (out == nullptr) return;
  *out = VX_LayerDef{};
  out->data = data;
  out->rowbytes = rowbytes;
  out->width = width;
  out->height = height;
  out->extent_hint = extent_hint;
  VXp_ThrowIf(VXp_SetWorldDepth(out, DepthOf(*this)));
  out->world_object = this;
  out->bm_world = bm_world;
}

BM_World** VX_World::GetBMWorld() const {
  if (bm_world == nullptr) VXp_Throw(VX_ErrNoBMWorld);
  return bm_world;
}
