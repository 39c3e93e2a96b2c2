// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The memory that one call allocates.

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "Library.h"
#include "Sections.h"
#include "host/VXHost.h"

namespace {

// Counts the blocks that are allocated and freed while `on` is set.
struct Watch {
  bool on = false;
  int blocks = 0;
  int64_t alive = 0;
  int64_t peak = 0;

  void Take(size_t size) {
    if (!on) return;
    ++blocks;
    alive += static_cast<int64_t>(size);
    peak = std::max(peak, alive);
  }
  void Release(size_t size) {
    if (on) alive -= static_cast<int64_t>(size);
  }
};
Watch g_watch;

// Stored before each block. Its 16 bytes keep the block aligned.
struct alignas(16) Head {
  size_t size;
};

void* Allocate(size_t size, void*) {
  auto* const head = static_cast<Head*>(std::malloc(sizeof(Head) + size));
  if (head == nullptr) return nullptr;
  head->size = size;
  g_watch.Take(size);
  return head + 1;
}

void Release(void* block, void*) {
  Head* const head = static_cast<Head*>(block) - 1;
  g_watch.Release(head->size);
  std::free(head);
}

constexpr int32_t kWidth = 1920;

struct Case {
  int32_t mode;
  bool keeps_alpha;
  int32_t mask_use;  // -1: no mask

  std::string Name(int depth) const {
    constexpr const char* kUses[] = {"no", "alpha", "inverse-alpha", "luma", "inverse-luma"};
    return std::to_string(depth) + " bits, " + ModeName(mode) + ", " + kUses[mask_use + 1] +
           " mask" + (keeps_alpha ? ", keeping alpha" : "");
  }
};

template <class Pixel>
Watch WatchCall(Scene<Pixel>& scene, const Case& what) {
  const VX_LayerDef src = scene.src.Layer();
  VX_LayerDef mask_layer = scene.mask.Layer();
  VX_LayerDef dst = scene.dst.Layer();
  const VX_CompositeModePlus record(what.mode, 0.6f, nullptr, what.keeps_alpha, kDissolveSeed);
  const VX_MaskSpec mask{&mask_layer, 0, 0, what.mask_use};
  g_watch = Watch{};
  g_watch.on = true;
  const VX_Err error = VX_TransferRect(nullptr, 0, 0, VX_Field_Both, nullptr, &src, &record,
                                       nullptr, what.mask_use < 0 ? nullptr : &mask, 0, 0, &dst);
  g_watch.on = false;
  if (error != VX_Ok) throw std::runtime_error("VX_TransferRect gave " + std::to_string(error));
  return g_watch;
}

// The embedded host stores this number of bytes before each block.
constexpr int64_t kHostHead = 16;

template <class Pixel>
bool RunDepth() {
  Scene<Pixel> low(Content::kPartly, kWidth, 8);
  Scene<Pixel> high(Content::kPartly, kWidth, 270);
  const int64_t row_bytes = kWidth * static_cast<int64_t>(sizeof(Pixel));
  const int64_t alpha_bytes = kWidth * static_cast<int64_t>(sizeof(VX_ChannelOf<Pixel>));
  int64_t peak = 0;
  int most = 0;
  int over = 0;
  int by_rows = 0;
  std::string highest;
  for (const vx::ModeInfo& info : vx::modes()) {
    if (!info.per_pixel) continue;
    for (const bool keeps : {false, true}) {
      for (int32_t use = -1; use <= VX_MaskUse_InverseLuma; ++use) {
        const Case what{static_cast<int32_t>(info.mode), keeps, use};
        const Watch short_call = WatchCall(low, what);
        const Watch call = WatchCall(high, what);
        const int64_t bytes = call.peak - call.blocks * kHostHead;
        most = std::max(most, call.blocks);
        over += bytes > row_bytes + alpha_bytes;
        by_rows += call.blocks != short_call.blocks;
        if (bytes > peak) highest = what.Name(kDepthOf<Pixel>);
        peak = std::max(peak, bytes);
      }
    }
  }
  std::printf("%5d %12lld %12lld %9.2f %7d %10d %12d   %s\n", kDepthOf<Pixel>,
              static_cast<long long>(row_bytes), static_cast<long long>(peak),
              static_cast<double>(peak) / static_cast<double>(row_bytes), most, over, by_rows,
              highest.c_str());
  return over == 0 && by_rows == 0;
}

}  // namespace

// Counts C++ allocations of the library, too. The benchmark itself does not allocate while counting
// is on.
void* operator new(size_t size) {
  void* const block = Allocate(size, nullptr);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept {
  if (block != nullptr) Release(block, nullptr);
}
void operator delete(void* block, size_t) noexcept { operator delete(block); }

void CountAllocations() {
  static constexpr VXHost_Allocator kCounting{&Allocate, &Release, nullptr};
  VXHost_SetAllocator(&kCounting);
  VXHost_SetFrameAllocator(&kCounting);
}

bool RunScratch(const Options& /*options*/) {
  std::printf(
      "\nScratch of one VX_TransferRect on rows of %d pixels: every mode, mask use, alpha kept or "
      "not.\n\n",
      int{kWidth});
  std::printf("%5s %12s %12s %9s %7s %10s %12s   %s\n", "depth", "row bytes", "peak bytes", "rows",
              "blocks", "over a row", "with height", "highest");
  const bool ok8 = RunDepth<VX_Pixel8>();
  const bool ok16 = RunDepth<VX_Pixel16>();
  const bool ok_float = RunDepth<VX_PixelFloat>();
  std::puts("\nover a row: calls that take more than one row of mask pixels and one of saved "
            "alphas; with height: calls that "
            "allocate\n"
            "more often on a taller frame. Both must be 0.");
  return ok8 && ok16 && ok_float;
}
