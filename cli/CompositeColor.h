// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Colour in `vx composite`: in which profile a composition is, what is converted to it, and the
// tables for linear light. docs/color.md tells users the rules.

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Job.h"
#include "Profiles.h"
#include "VX/VX_ColorSettings.h"
#include "VXIO/VXIO_Profile.h"

namespace vxcli {

struct ColorWords {
  bool linear = false;
  std::string profile;
};

void AddColorOptions(CLI::App* app, ColorWords* words);

// What the frames of a job share. Safe on several threads.
class JobColor {
 public:
  // Throws as FindProfile.
  explicit JobColor(const ColorWords& words);

  bool linear() const { return linear_; }
  const COR_QCE_ProfilePtr& given() const { return given_; }  // null without --profile
  // Part of Job::settings; empty where colours are taken as they stand.
  std::string Settings() const;

  using Tables = boost::shared_ptr<const VX_LinearBlendingTables>;
  Tables TablesFor(const COR_QCE_ProfilePtr& profile);

  bool Same(const COR_QCE_ProfilePtr& a, const COR_QCE_ProfilePtr& b);
  void Convert(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to, VX_World* world);

  // Says a line once, however many frames it is true for.
  void NoteOnce(const std::string& text);

 private:
  // What was made for a pair of profiles, by their identities.
  struct Pair {
    std::optional<bool> same;
    std::array<COR_QCE_TransformPtr, 3> transforms;  // for 8, 16 and 32 bits
  };
  // With the lock held.
  Pair* PairOf(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to);

  bool linear_;
  COR_QCE_ProfilePtr given_;
  std::mutex mutex_;  // over everything below
  std::map<std::string, Tables> tables_;
  std::map<std::string, Pair> pairs_;
  std::set<std::string> said_;
};

// The colours of one frame: those that its background is in, or the given ones.
class FrameColor {
 public:
  // `words` are the inputs of the job, `own` the depths of the frame's files; the composition is
  // worked on at `depth`.
  FrameColor(JobColor* job, JobFrame* frame, const std::vector<std::string>* words,
             std::vector<int32_t> own, int32_t depth);

  // Input 0; it comes before the layers. Its world and its metadata are in the composition's
  // profile. Adds to what the frame tells, where it is named so.
  VXIO_Picture ReadBackground(const std::string& called = "background");
  // A layer in the composition's profile. `told` is what the frame tells about it.
  VXIO_Picture ReadLayer(size_t input, nlohmann::ordered_json* told);

  // For VX_TransferRect; null where the stored numbers are blended.
  const VX_LinearBlendingTables* tables() const { return tables_.get(); }

 private:
  bool Converts() const { return job_->linear() || job_->given(); }
  VXIO_Picture Read(size_t input);
  VXIO_PictureProfile ProfileOf(size_t input, const VXIO_Picture& picture);
  void Convert(size_t input, const VXIO_PictureProfile& own, VX_World* world);
  void Compare(size_t input, const VXIO_Picture& layer);
  void NoteOutput(const std::string& name);

  JobColor* job_;
  JobFrame* frame_;
  const std::vector<std::string>* words_;
  std::vector<int32_t> own_;
  int32_t depth_;
  VXIO_Metadata background_;  // as it was read
  VXIO_PictureProfile composition_;
  JobColor::Tables tables_;
};

}  // namespace vxcli
