// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/cache/FnMotionKey.h"

#include <xxhash.h>

#include <algorithm>
#include <memory>
#include <new>

#include "VX/VX_Types.h"

namespace {

// Increase one of these when its estimate gives other vectors, so that files of earlier versions
// are not used.
constexpr uint32_t kEstimateVersion = 1;
constexpr uint32_t kDenseVersion = 0x10001;

// A digest of 128 bits (XXH3).
class Digest {
 public:
  Digest() : state_(XXH3_createState()) {
    if (state_ == nullptr) throw std::bad_alloc();
    XXH3_128bits_reset(state_.get());
  }
  void Add(const void* bytes, size_t count) { XXH3_128bits_update(state_.get(), bytes, count); }
  template <class Number>
  void Add(Number value) {
    Add(&value, sizeof value);
  }
  void Add(const VX_LayerDef& world) {
    Add(world.width);
    Add(world.height);
    Add(int32_t{VXp_WorldDepth(&world)});
  }
  FnIdentity Result() const {
    XXH128_canonical_t bytes;
    XXH128_canonicalFromHash(&bytes, XXH3_128bits_digest(state_.get()));
    FnIdentity result;
    std::copy_n(bytes.digest, result.size(), result.begin());
    if (result == FnIdentity{}) result[0] = 1;
    return result;
  }
  MC_SortDir Dir() const {
    MC_SortDir dir = {kFnMotionPackage, {}};
    std::ranges::copy(Result(), dir.identity);
    return dir;
  }

 private:
  struct Free {
    void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
  };
  std::unique_ptr<XXH3_state_t, Free> state_;
};

Digest DigestOf(const FnMotionKey& key, uint32_t version, const VX_LayerDef& world) {
  Digest digest;
  digest.Add(key.identity.data(), key.identity.size());
  digest.Add(version);
  digest.Add(world);
  return digest;
}

}  // namespace

FnIdentity FnIdentityOfPictures(const VX_LayerDef& first, const VX_LayerDef& second) {
  Digest digest;
  for (const VX_LayerDef* const world : {&first, &second}) {
    digest.Add(*world);
    const size_t bytes = static_cast<size_t>(world->width) * VXp_WorldDepth(world) / 2;
    for (int32_t y = 0; y < world->height; ++y) {
      digest.Add(static_cast<const char*>(world->data) + ptrdiff_t{y} * world->rowbytes, bytes);
    }
  }
  return digest.Result();
}

MC_SortDir FnSortDirOf(const FnMotionKey& key, const VX_LayerDef& world,
                       const VX_Veltor_AlgoParams& settings) {
  Digest digest = DigestOf(key, kEstimateVersion, world);
  digest.Add(settings.Resolution);
  digest.Add(settings.VectorDetail);
  digest.Add(settings.VectorSmoothing);
  digest.Add(settings.SmoothPasses);
  digest.Add(settings.ErrorThreshold);
  digest.Add(settings.BlockSize);
  digest.Add(settings.LumaR);
  digest.Add(settings.LumaG);
  digest.Add(settings.LumaB);
  return digest.Dir();
}

MC_SortDir FnDenseSortDirOf(const FnMotionKey& key, const VX_LayerDef& world) {
  return DigestOf(key, kDenseVersion, world).Dir();
}
