// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "RetimeSources.h"

#include <xxhash.h>

#include <algorithm>

namespace vxcli {

std::string DigestOfPicture(const VX_World& world) {
  const std::unique_ptr<XXH3_state_t, XXH_errorcode (*)(XXH3_state_t*)> state(XXH3_createState(),
                                                                              &XXH3_freeState);
  if (!state) throw std::bad_alloc();
  XXH3_128bits_reset(state.get());
  const int32_t shape[] = {world.width, world.height, world.Depth()};
  XXH3_128bits_update(state.get(), shape, sizeof shape);
  const size_t row = static_cast<size_t>(world.width) * 4 * static_cast<size_t>(world.Depth() / 8);
  const char* bytes = reinterpret_cast<const char*>(world.data);
  for (int32_t y = 0; y < world.height; ++y, bytes += world.rowbytes) {
    XXH3_128bits_update(state.get(), bytes, row);
  }
  XXH128_canonical_t digest;
  XXH128_canonicalFromHash(&digest, XXH3_128bits_digest(state.get()));
  return {reinterpret_cast<const char*>(digest.digest), sizeof digest.digest};
}

SourcePair::Made SourcePair::Make(double position, vx::Image* to) {
  const VX_World &a = *a_->picture.world, &b = *b_->picture.world;
  const VX_World& nearer = position < 0.5 ? a : b;
  if (Duplicates()) return {&a, MadeBy::Copy, false};
  vx::TweenOptions options = arguments_.tween;
  options.shutter_samples = 1;
  bool cut = false;
  if (options.method == vx::TweenMethod::motion) {
    cut = Estimate(options);
    if (!cut) {
      tweener_->render(*to, position);
      return {to->world(), MadeBy::Motion, false};
    }
    if (arguments_.on_cut == BetweenArguments::Hold) return {&nearer, MadeBy::Hold, true};
  }
  options.method = vx::TweenMethod::mix;
  vx::tween(*to, a, b, position, options);
  return {to->world(), MadeBy::Mix, cut};
}

bool SourcePair::Estimate(const vx::TweenOptions& options) {
  const std::lock_guard lock(mutex_);
  if (!tweener_) {
    auto tweener = std::make_unique<vx::Tweener>(*a_->picture.world, *b_->picture.world, options);
    if (!arguments_.cache.empty()) tweener->use_cache(arguments_.cache);
    if (arguments_.cut_threshold || !arguments_.cache.empty()) {
      const double unexplained = tweener->unexplained();
      if (arguments_.cut_threshold) unexplained_ = unexplained;
    }
    WarnAboutCache(tweener->cache_warning());
    tweener_ = std::move(tweener);
  }
  return arguments_.IsCut(unexplained_);
}

std::optional<double> SourcePair::Unexplained() {
  const std::lock_guard lock(mutex_);
  return unexplained_;
}

std::shared_ptr<const SourcePicture> RetimeSources::Picture(size_t index, size_t input,
                                                            JobFrame* frame,
                                                            const std::string& name) {
  if (std::shared_ptr<const SourcePicture> kept = pictures_[index].lock()) return kept;
  auto source = std::make_shared<SourcePicture>();
  source->picture = ReadDisplayWindow(input, 0, frame);
  source->name = name;
  const VX_World& world = *source->picture.world;
  const Shape shape{name, world.width, world.height, world.Depth()};
  if (!shape_) shape_ = shape;
  if (shape.width != shape_->width || shape.height != shape_->height) {
    throw VXIO_Error(VXIO_ErrorKind::Input, name + " is " + SizeText(world) + ", " + shape_->name +
                                                " is " + std::to_string(shape_->width) + " x " +
                                                std::to_string(shape_->height) +
                                                "; all frames must have the same size");
  }
  if (shape.depth != shape_->depth) {
    throw VXIO_Error(VXIO_ErrorKind::Input, name + " has " + std::to_string(shape.depth) +
                                                " bits, " + shape_->name + " has " +
                                                std::to_string(shape_->depth) +
                                                "; all frames must have the same depth");
  }
  source->digest = DigestOfPicture(world);
  pictures_[index] = source;
  return source;
}

std::vector<InstantSource> RetimeSources::Get(const std::vector<Instant>& instants,
                                              const std::vector<size_t>& read, JobFrame* frame,
                                              const FrameName& name) {
  const auto expired = [](const auto& item) { return item.second.expired(); };
  std::erase_if(pictures_, expired);
  std::erase_if(pairs_, expired);
  std::map<size_t, std::shared_ptr<const SourcePicture>> pictures;
  for (size_t input = 0; input < read.size(); ++input) {
    pictures[read[input]] = Picture(read[input], input, frame, name(read[input], input));
  }
  std::vector<InstantSource> sources;
  for (const Instant& instant : instants) {
    InstantSource& source = sources.emplace_back();
    source.picture = pictures.at(instant.first);
    if (instant.position == 0) continue;
    source.pair = pairs_[instant.first].lock();
    if (source.pair) continue;
    source.pair =
        std::make_shared<SourcePair>(source.picture, pictures.at(instant.first + 1), arguments_);
    pairs_[instant.first] = source.pair;
  }
  // The next frame probably needs the same ones.
  last_ = sources;
  last_pictures_.clear();
  for (const auto& [index, picture] : pictures) last_pictures_.push_back(picture);
  return sources;
}

}  // namespace vxcli
