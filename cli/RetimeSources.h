// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The pictures that the frames of vx retime share: each picture of the input is read once, and each
// pair of neighbours is estimated once.

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Job.h"
#include "MotionOptions.h"
#include "Timeline.h"

namespace vxcli {

// Returns a digest of size, depth and pixels: equal for equal pictures. 128 bits of XXH3.
std::string DigestOfPicture(const VX_World& world);

struct SourcePicture {
  VXIO_Picture picture;
  std::string name, digest;
};

// How the picture of an instant was made, in ascending order of precedence.
enum class MadeBy { Copy, Hold, Mix, Motion };

// Two neighbours and what is known about their motion. Thread-safe.
class SourcePair {
 public:
  SourcePair(std::shared_ptr<const SourcePicture> a, std::shared_ptr<const SourcePicture> b,
             const BetweenArguments& arguments)
      : a_(std::move(a)), b_(std::move(b)), arguments_(arguments) {}

  const SourcePicture& a() const { return *a_; }
  const SourcePicture& b() const { return *b_; }
  bool Duplicates() const { return a_->digest == b_->digest; }

  struct Made {
    const VX_World* world;  // `to`, or one of the pair
    MadeBy by;
    bool cut;
  };
  // Makes the picture of a position, above 0 and below 1. `to` has the size and depth of the pair
  // and may be written.
  Made Make(double position, vx::Image* to);

  // Returns the part of the picture that no motion explains, if Make computed it.
  std::optional<double> Unexplained();

 private:
  // Estimates the motion if it was not yet. Returns whether there is a cut between the pictures.
  bool Estimate(const vx::TweenOptions& options);

  const std::shared_ptr<const SourcePicture> a_, b_;
  const BetweenArguments& arguments_;
  std::mutex mutex_;
  std::unique_ptr<vx::Tweener> tweener_;
  std::optional<double> unexplained_;
};

// What an output frame is made from. `pair` is null for an instant at a picture of the input.
struct InstantSource {
  std::shared_ptr<const SourcePicture> picture;
  std::shared_ptr<SourcePair> pair;
};

// Keeps the pictures and pairs of the frames that are being made and of the frame that was begun
// last. All frames have the size and depth of the picture that was read first.
class RetimeSources {
 public:
  explicit RetimeSources(const BetweenArguments& arguments) : arguments_(arguments) {}

  // Returns the name of a frame for errors.
  using FrameName = std::function<std::string(size_t index, size_t input)>;
  // Returns the sources of the instants of a frame; reads those that are not kept. `read` are the
  // indices of the frames, in the order of the inputs of JobFrame. Called in JobFrame::InOrder.
  // Throws VXIO_Error (Input) if a picture has another size or depth.
  std::vector<InstantSource> Get(const std::vector<Instant>& instants,
                                 const std::vector<size_t>& read, JobFrame* frame,
                                 const FrameName& name);

 private:
  std::shared_ptr<const SourcePicture> Picture(size_t index, size_t input, JobFrame* frame,
                                               const std::string& name);

  const BetweenArguments& arguments_;
  std::map<size_t, std::weak_ptr<const SourcePicture>> pictures_;
  std::map<size_t, std::weak_ptr<SourcePair>> pairs_;  // by the index of the first picture
  std::vector<InstantSource> last_;
  std::vector<std::shared_ptr<const SourcePicture>> last_pictures_;
  struct Shape {
    std::string name;
    int32_t width, height, depth;
  };
  std::optional<Shape> shape_;
};

}  // namespace vxcli
