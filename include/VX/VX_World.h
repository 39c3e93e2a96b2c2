// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Image buffers as objects.
//
// Ownership: a world owns its pixels (a frame, which is a memory block of BM_AllocateFrameQuiet, or
// a host bitmap) or refers to pixels of another owner. Worlds are destroyed with `delete`.
// Sizes: 1..30,000 on each axis for created worlds. The depth is 8, 16 or 32 bits per channel.
// Errors: thrown as VX_Err by value. New and NewReference return null if the object itself cannot
// be allocated.
// Threads: different worlds may be used on different threads.

#include "VX/VX_Types.h"
#include "host/U.h"

template <class Pixel>
class VX_WorldX;

// Creation flags.
enum : uint32_t {
  VX_WorldFlag_Clear = 1,   // set all pixels to 0
  VX_WorldFlag_Deep = 2,    // ignored: the depth argument decides. Older callers set it for 16 bits
  VX_WorldFlag_BMWorld = 4  // store the pixels in a host bitmap
};

class VX_API VX_PixelContainerBase : public U_MemTrackedObject {
 public:
  virtual ~VX_PixelContainerBase() = default;

  // Returns the depth, 8, 16 or 32, in the low 16 bits. The high 16 bits are undefined.
  virtual int32_t Depth() const = 0;

  // Returns the number of bytes per pixel.
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

  // Returns true if the world does not own its pixels.
  virtual bool IsReference() const = 0;

  // In Clear and Fill a null area is the whole world. Other areas are clipped; an empty one changes
  // nothing.
  virtual void Clear(const M_Rect* area) = 0;
  // Sets all channels outside the area to 0. An area that is empty after clipping clears
  // everything.
  virtual void ClearExceptRect(const M_Rect& area) = 0;
  virtual void Fill(const VX_PixelFloat& color, const M_Rect* area) = 0;
  virtual void Fill(const VX_Pixel16& color, const M_Rect* area) = 0;
  // Sets alpha to full scale; colours are unchanged.
  virtual void FillAlpha() = 0;
  // Sets alpha to full scale - alpha.
  virtual void InvertAlpha() = 0;

  // Premultiply multiplies colour by alpha in place, Unmultiply divides it by alpha. PremulColor
  // composites the colours onto a matte colour m, c' = c * a + m * (1 - a), and UnmulColor computes
  // the inverse. They throw the error of the operation; for float worlds VX_ErrBadParameter.
  virtual void Premultiply() = 0;
  virtual void Unmultiply() = 0;
  virtual void PremulColor(const VX_Pixel16& color) = 0;
  virtual void UnmulColor(const VX_Pixel16& color) = 0;

  // Copies `rect` of the source to column h, row v of this world. The rectangle is clipped to both
  // worlds without shifting the picture. Throws VX_ErrBadParameter if the depths differ. Rows are
  // copied from top to bottom: within one world, copying downwards gives wrong results.
  virtual void CopyRect(const VX_World* source, const M_Rect& rect, int16_t h, int16_t v) = 0;

  // Like CopyRect, between worlds of any two depths. `dither` adds noise when converting to 8 bits.
  // Progress is polled once per row; its result is thrown if it is not VX_Ok.
  virtual void CopyRectPossiblyDifferentBitdepth(const VX_World* source, const M_Rect& rect,
                                                 bool dither, int16_t h, int16_t v,
                                                 VX_ProgressInfo* progress) = 0;

  // Returns true if the guard bytes after the last pixel of an owned frame were overwritten.
  virtual bool SubWorldSafetyGutterHasBeenOverWritten() const = 0;

  // Releases ownership of the pixels: the destructor does not free them.
  virtual void ForgetPixels() = 0;

  // --- creation ---

  static VX_World* New(int32_t width, int32_t height, int16_t depth, uint32_t flags);
  // Creates a world of the size of the rectangle, whose left and top are stored in origin_x and
  // origin_y.
  static VX_World* New(const M_LRect& rect, int16_t depth, uint32_t flags);
  // Creates a world of the width, height and depth of `model`.
  static VX_World* NewMatchingWorld(const VX_World* model, uint32_t flags);

  static VX_World* NewReference(void* data, int32_t width, int32_t height, int16_t depth,
                                int32_t rowbytes);
  static VX_World* NewReference(VX_LayerDef* descriptor);
  // Creates a world that refers to a part of another world. The rectangle is not checked.
  static VX_World* NewReference(VX_World* parent, const M_LRect& rect);
  static VX_World* NewReference(VX_World* parent, const M_Rect& rect);
  // Creates a world that refers to a bitmap. The bitmap is not disposed with the world.
  static VX_World* NewReference(BM_World** bitmap);
  static VX_World* NewReference(BM_World** bitmap, const M_Rect& area);

  // Makes this world refer to a part of another world with the same depth. If this world owns
  // pixels, they are freed only by its destructor.
  void ReReference(VX_World* parent, const M_LRect& rect);
  void ReReference(VX_World* parent, const M_Rect& rect);

  // Reduces this world to a part of itself. Throws a VX_Err for a part that is not inside this
  // world, and for worlds with a host bitmap.
  void ShrinkToSubRect(const M_Rect& rect);

  // Returns true if this world is a reference whose first pixel is inside the memory of the other
  // world, and both have the same depth and rowbytes.
  bool RefersTo(const VX_World* other) const;

  // Copies the whole source to (0, 0).
  void CopyWorld(const VX_World* source);

  // Stores a descriptor of this world for a plug-in. Null does nothing.
  void FillOutEffectWorld(VX_LayerDef* out);

  bool HasBMWorld() const { return bm_world != nullptr; }
  // Returns the bitmap of the world. Throws VX_ErrNoBMWorld if there is none.
  BM_World** GetBMWorld() const;

 protected:
  VX_World();

  int16_t alloc_width;  // size at allocation; ShrinkToSubRect does not change it
  int16_t alloc_height;
  void* owned_pixels;  // the owned frame; 1 for a bitmap; null for a reference
  // Values at allocation, which the destructor needs after ReReference.
  int32_t alloc_rowbytes_;
  BM_World** owned_bitmap_;

  template <class Pixel>
  friend class VX_WorldX;
};

template <class Pixel>
class VX_API VX_WorldX : public VX_World {
 public:
  // Makes a temporary world around a descriptor. Copies the fields of the descriptor, owns nothing
  // and allocates nothing. With `keep_all` all fields are copied, else only size, pixels and flags,
  // and the others are 0.
  VX_WorldX(VX_LayerDef* descriptor, bool keep_all);
  // Creates a world that owns its pixels, like VX_World::New.
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

  // Returns the first pixel of row y. It is unaligned if the rows of the descriptor are unaligned.
  Pixel* Row(int32_t y) const {
    return reinterpret_cast<Pixel*>(static_cast<char*>(data) +
                                    static_cast<ptrdiff_t>(y) * rowbytes);
  }
};

extern template class VX_API VX_WorldX<VX_Pixel8>;
extern template class VX_API VX_WorldX<VX_Pixel16>;
extern template class VX_API VX_WorldX<VX_PixelFloat>;
