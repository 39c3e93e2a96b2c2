// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Colour profiles, as options name them, and the colour of `vx composite` and `vx transform`: the
// profile of a composition, conversions to it and the tables for linear light. docs/color.md
// explains the rules to users.

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Job.h"
#include "VX/cpp/Color.hpp"
#include "VXIO/VXIO_Profile.h"
#include "host/COR.h"

namespace vxcli {

// --- profiles ------------------------------------------------------------------------------------

std::vector<std::string> BuiltInProfiles();

// .icc or .icm, in either case
bool HasProfileExtension(const std::string& path);

struct NamedProfile {
  COR_QCE_ProfilePtr profile;
  std::string from;  // "built in", "file" or "embedded"
};

// The profile that a word names: a built-in one, a file of a profile, or a picture with one in it.
// `what` is the option, for messages. Throws UsageError for a word that is neither a name nor looks
// like a file, and VXIO_Error (Input) for a file that is not there or has no profile of use.
NamedProfile FindProfile(const std::string& what, const std::string& word);

// The 128 bits of the identity as 32 hexadecimal digits.
std::string ProfileID(const COR_QCE_ProfilePtr& profile);

// Metadata of nothing but the picture's own profile, for a result whose other words would be wrong.
VXIO_Metadata ProfileAlone(const std::string& path, const VXIO_Picture& picture);

// Throws DescribedFailure for a status that is not 0. `doing` names the work and the profile.
void CheckEngine(QCE_Status status, const std::string& doing);

// --- a composition -------------------------------------------------------------------------------

struct ColorOptions {
  bool linear = false;
  COR_QCE_ProfilePtr profile;  // null without --profile
};

OptionList ColorOptionList(ColorOptions* to);

// Profiles and tables that the frames of a job share. Thread-safe.
class JobColor {
 public:
  explicit JobColor(const ColorOptions& options) : options_(options) {}

  bool linear() const { return options_.linear; }
  const COR_QCE_ProfilePtr& given() const { return options_.profile; }

  using Tables = std::shared_ptr<const vx::LinearTables>;
  Tables TablesFor(const COR_QCE_ProfilePtr& profile);

  bool Same(const COR_QCE_ProfilePtr& a, const COR_QCE_ProfilePtr& b);
  void Convert(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to, VX_World* world);

  // Prints a line once, for any number of frames.
  void NoteOnce(const std::string& text);

 private:
  struct Pair {
    std::optional<bool> same;
    std::array<COR_QCE_TransformPtr, 3> transforms;  // for 8, 16 and 32 bits
  };
  // Call it with mutex_ locked. The key is made of the identities of the profiles.
  Pair* PairOf(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to);

  ColorOptions options_;
  std::mutex mutex_;  // over everything below
  std::map<std::string, Tables> tables_;
  std::map<std::string, Pair> pairs_;
  std::set<std::string> printed_;
};

// The colours of one frame, in the given profile or else in that of the background.
class FrameColor {
 public:
  // `names` are the inputs of the job as they were given, `own` the depths of the frame's files,
  // `depth` that of the composition.
  FrameColor(JobColor* job, JobFrame* frame, const std::vector<std::string>* names,
             std::vector<int32_t> own, int32_t depth);

  // Reads input 0, before the layers. Its world and its metadata are in the profile of the
  // composition. Adds to the record of the frame, where the input is named `called`.
  VXIO_Picture ReadBackground(const std::string& called = "background");
  // Reads a layer in the profile of the composition. `record` is that of the layer.
  VXIO_Picture ReadLayer(size_t input, nlohmann::ordered_json* record);

  // Null without --linear.
  const vx::LinearTables* tables() const { return tables_.get(); }

 private:
  bool Converts() const { return job_->linear() || job_->given(); }
  VXIO_Picture Read(size_t input);
  VXIO_PictureProfile ProfileOf(size_t input, const VXIO_Picture& picture);
  void Convert(size_t input, const VXIO_PictureProfile& own, VX_World* world);
  void Compare(size_t input, const VXIO_Picture& layer);
  void NoteOutput(const std::string& name);

  JobColor* job_;
  JobFrame* frame_;
  const std::vector<std::string>* names_;
  std::vector<int32_t> own_;
  int32_t depth_;
  VXIO_Metadata background_;  // of the file
  VXIO_PictureProfile composition_;
  JobColor::Tables tables_;
};

}  // namespace vxcli
