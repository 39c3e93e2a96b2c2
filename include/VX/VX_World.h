// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The object form of an image buffer.
//
// A world owns its pixels (a frame of the host's allocator, or a host bitmap), or refers to pixels
// that someone else owns. Sizes are 1..30,000 on each axis for worlds that are made here; depth is
// 8, 16 or 32 bits a channel. Errors leave as a thrown VX_Err (see VX.h). When the object itself
// cannot be allocated, New and NewReference return null. Worlds are destroyed with `delete`.
//
// Threads: different worlds may be made, used and destroyed on different threads.

#include "VX/VX_Types.h"
#include "host/U.h"

template <class Pixel>
class VX_WorldX;

// Creation flags.
enum : uint32_t {
  VX_WorldFlag_Clear = 1,   // zero the pixels
  VX_WorldFlag_Deep = 2,    // 16-bit, kept for callers; the depth argument decides
  VX_WorldFlag_BMWorld = 4  // back the world with a host bitmap
};

class VX_API VX_PixelContainerBase : public U_MemTrackedObject {
 public:
  virtual ~VX_PixelContainerBase() = default;

  // 8, 16 or 32. Callers use the low 16 bits.
  virtual int32_t Depth() const = 0;

  // Bytes a pixel.
  int32_t PixelSize() const { return static_cast<int16_t>(Depth()) / 2; }
};

template <class World8, class World16, class WorldFloat>
class VX_API VX_PixelContainer : public VX_PixelContainerBase {};

class VX_API VX_World : public VX_PixelContainer<VX_WorldX<VX_Pixel8>, VX_WorldX<VX_Pixel16>,
                                                 VX_WorldX<VX_PixelFloat>>,
                        public VX_LayerDef {
 public:
  ~VX_World() override;
  VX_World(const VX_World&) = delete;
  VX_World& operator=(const VX_World&) = delete;

  // True when the world does not own its pixels.
  virtual bool IsReference() const = 0;

  // Areas: left and top below 0 become 0, right and bottom are limited to the size; an area whose
  // right is not beyond left, or bottom not beyond top, does nothing. A null area is the whole
  // world.
  virtual void Clear(const M_Rect* area) = 0;
  // Zeroes all four channels outside the area; an area that clips to nothing clears everything.
  virtual void ClearExceptRect(const M_Rect& area) = 0;
  virtual void Fill(const VX_PixelFloat& color, const M_Rect* area) = 0;
  virtual void Fill(const VX_Pixel16& color, const M_Rect* area) = 0;
  // Alpha to full scale; colour stays.
  virtual void FillAlpha() = 0;
  // Alpha to full scale less alpha.
  virtual void InvertAlpha() = 0;

  // Multiply colour by alpha in place, or undo that, against black or against a colour. They throw
  // the error of the operation; a float world throws 3.
  virtual void Premultiply() = 0;
  virtual void Unmultiply() = 0;
  virtual void PremulColor(const VX_Pixel16& color) = 0;
  virtual void UnmulColor(const VX_Pixel16& color) = 0;

  // Copies `rect` of the source so that its corner lands at column h, row v here. The rectangle is
  // clipped on both sides without shifting the picture. Throws 3 when the depths differ. Rows are
  // moved from top to bottom, so a copy within one world is safe only upwards or within rows.
  virtual void CopyRect(const VX_World* source, const M_Rect& rect, int16_t h, int16_t v) = 0;

  // The same between worlds of any two depths. `dither` adds noise where bits are lost on the way
  // to 8 bits. Progress is polled once a row; a stop or an error is thrown.
  virtual void CopyRectPossiblyDifferentBitdepth(const VX_World* source, const M_Rect& rect,
                                                 bool dither, int16_t h, int16_t v,
                                                 VX_ProgressInfo* progress) = 0;

  // True when something wrote past the last pixel of an owned frame.
  virtual bool SubWorldSafetyGutterHasBeenOverWritten() const = 0;

  // Detaches the pixels: the destructor will not free them.
  virtual void ForgetPixels() = 0;

  // --- creation ---

  static VX_World* New(int32_t width, int32_t height, int16_t depth, uint32_t flags);
  // Records the rectangle's left and top in origin_x and origin_y.
  static VX_World* New(const M_LRect& rect, int16_t depth, uint32_t flags);
  // Same width, height and depth.
  static VX_World* NewMatchingWorld(const VX_World* model, uint32_t flags);

  static VX_World* NewReference(void* data, int32_t width, int32_t height, int16_t depth,
                                int32_t rowbytes);
  static VX_World* NewReference(VX_LayerDef* descriptor);
  // A part of a world. The rectangle is not checked against the parent.
  static VX_World* NewReference(VX_World* parent, const M_LRect& rect);
  static VX_World* NewReference(VX_World* parent, const M_Rect& rect);
  // A whole bitmap; the handle is recorded but the bitmap is not disposed with the reference.
  static VX_World* NewReference(BM_World** bitmap);
  static VX_World* NewReference(BM_World** bitmap, const M_Rect& area);

  // Points this world at a part of another of the same depth. Owned pixels are kept to free later.
  void ReReference(VX_World* parent, const M_LRect& rect);
  void ReReference(VX_World* parent, const M_Rect& rect);

  // Narrows this world to a part of itself. Not for worlds backed by a bitmap.
  void ShrinkToSubRect(const M_Rect& rect);

  // True when this is a reference into the other's memory. Looks at pointers only.
  bool RefersTo(const VX_World* other) const;

  // CopyRect of the whole source to 0, 0.
  void CopyWorld(const VX_World* source);

  // Fills a plug-in's descriptor for this world. A null `out` does nothing.
  void FillOutEffectWorld(VX_LayerDef* out);

  bool HasBMWorld() const { return bm_world != nullptr; }
  // Throws 513 when there is none.
  BM_World** GetBMWorld() const;

 protected:
  VX_World();

  int16_t alloc_width;  // size at allocation: shrinking does not change it
  int16_t alloc_height;
  void* owned_pixels;  // the owned frame, 1 for a bitmap, null for a reference

  // What re-referencing replaces in the descriptor and the destructor still needs.
  int32_t alloc_rowbytes_;
  BM_World** owned_bitmap_;

  template <class Pixel>
  friend class VX_WorldX;
};

template <class Pixel>
class VX_API VX_WorldX : public VX_World {
 public:
  // A stack wrapper around a descriptor: copies fields, owns nothing, allocates nothing. With
  // `keep_all` the fields beyond size, pixels and flags are copied too, otherwise they are zero.
  VX_WorldX(VX_LayerDef* descriptor, bool keep_all);
  // Makes a world that owns its pixels; as VX_World::New.
  VX_WorldX(int32_t width, int32_t height, uint32_t flags);
  ~VX_WorldX() override;

  int32_t Depth() const override;
  bool IsReference() const override;
  void Clear(const M_Rect* area) override;
  void ClearExceptRect(const M_Rect& area) override;
  void Fill(const VX_PixelFloat& color, const M_Rect* area) override;
  void Fill(const VX_Pixel16& color, const M_Rect* area) override;
  void FillAlpha() override;
  void InvertAlpha() override;
  void Premultiply() override;
  void Unmultiply() override;
  void PremulColor(const VX_Pixel16& color) override;
  void UnmulColor(const VX_Pixel16& color) override;
  void CopyRect(const VX_World* source, const M_Rect& rect, int16_t h, int16_t v) override;
  void CopyRectPossiblyDifferentBitdepth(const VX_World* source, const M_Rect& rect, bool dither,
                                         int16_t h, int16_t v, VX_ProgressInfo* progress) override;
  bool SubWorldSafetyGutterHasBeenOverWritten() const override;
  void ForgetPixels() override;

  // The first pixel of row y. Rows may be unaligned when the descriptor's are.
  Pixel* Row(int32_t y) const {
    return reinterpret_cast<Pixel*>(static_cast<char*>(data) +
                                    static_cast<ptrdiff_t>(y) * rowbytes);
  }
};

extern template class VX_WorldX<VX_Pixel8>;
extern template class VX_WorldX<VX_Pixel16>;
extern template class VX_WorldX<VX_PixelFloat>;
