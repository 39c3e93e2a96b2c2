// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The colour profiles that options select, and colour management of `vx composite` and `vx
// transform`: the profile of a composition (the result of one of these commands), conversions to
// it, and the curves for linear light. docs/color.md explains the rules to users.

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

// Returns true if the extension is .icc or .icm, in upper or lower case.
bool HasProfileExtension(const std::string& path);

struct NamedProfile {
  COR_QCE_ProfilePtr profile;
  std::string from;  // "built in", "file" or "embedded"
};

// Returns the profile for `name`: the name of a built-in profile, or the path of a profile file or
// of a picture with an embedded profile. `option` is used in messages. Throws VXIO_Error (Input)
// for a file without a usable profile, and for a missing file if `name` has the form of a path (it
// contains "/" or has a known extension). Throws UsageError for any other name.
NamedProfile FindProfile(const std::string& option, const std::string& name);

// Returns the 128-bit identifier of a profile as 32 hexadecimal digits.
std::string ProfileID(const COR_QCE_ProfilePtr& profile);

// Returns metadata that contains only the embedded profile of a picture. The other metadata of the
// picture may be wrong for a result that is made from it.
VXIO_Metadata ProfileOnly(const std::string& path, const VXIO_Picture& picture);

// Checks the status of a call of the colour engine: throws DescribedFailure if it is not 0. The
// message begins with `context`, the name of the operation and of the profile.
void CheckEngine(QCE_Status status, const std::string& context);

// --- a composition -------------------------------------------------------------------------------

struct ColorOptions {
  bool linear = false;
  COR_QCE_ProfilePtr profile;  // null without --profile
};

OptionList ColorOptionList(ColorOptions* to);

// Caches the transforms and curves that all frames of a job use. Thread-safe.
class JobColor {
 public:
  explicit JobColor(const ColorOptions& options) : options_(options) {}

  bool linear() const { return options_.linear; }
  const COR_QCE_ProfilePtr& given() const { return options_.profile; }

  using Light = std::shared_ptr<const vx::LinearLight>;
  Light LightFor(const COR_QCE_ProfilePtr& profile);

  bool Same(const COR_QCE_ProfilePtr& a, const COR_QCE_ProfilePtr& b);
  void Convert(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to, VX_World* world);

  // Prints a note unless it was printed for another frame already.
  void NoteOnce(const std::string& text);

 private:
  struct Pair {
    std::optional<bool> same;
    std::array<std::optional<vx::ColorTransform>, 3> transforms;  // for 8, 16 and 32 bits
  };
  // Returns the cached entry of a pair of profiles. The caller must have locked mutex_. The key
  // consists of the identifiers of both profiles.
  Pair* PairOf(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to);

  ColorOptions options_;
  std::mutex mutex_;  // protects the members below
  std::map<std::string, Light> lights_;
  std::map<std::string, Pair> pairs_;
  std::set<std::string> printed_;
};

// Reads the pictures of one frame and converts them to the profile of the composition: the given
// profile or, without --profile, the profile of the background.
class FrameColor {
 public:
  // `names` are the inputs of the job as given on the command line. `own` are the depths of the
  // files of the frame, `depth` is the depth of the composition.
  FrameColor(JobColor* job, JobFrame* frame, const std::vector<std::string>* names,
             std::vector<int32_t> own, int32_t depth);

  // Reads input 0. Must be called before ReadLayer. The result, pixels and metadata, is in the
  // profile of the composition. Adds "color" to the JSON record of the frame; `called` is the name
  // of the input in this record.
  VXIO_Picture ReadBackground(const std::string& called = "background",
                              VXIO_AlphaAs alpha = VXIO_AlphaAs::File);
  // Reads a layer and converts it to the profile of the composition. Adds to `record`, the JSON
  // record of the layer.
  VXIO_Picture ReadLayer(size_t input, nlohmann::ordered_json* record,
                         VXIO_AlphaAs alpha = VXIO_AlphaAs::File);

  // Null without --linear.
  const vx::LinearLight* light() const { return light_.get(); }

 private:
  bool Converts() const { return job_->linear() || job_->given(); }
  VXIO_Picture Read(size_t input, VXIO_AlphaAs alpha);
  VXIO_PictureProfile ProfileOf(size_t input, const VXIO_Picture& picture);
  void Convert(size_t input, const VXIO_PictureProfile& own, VX_World* world);
  void Compare(size_t input, const VXIO_Picture& layer);
  void NoteOutput(const std::string& name);

  JobColor* job_;
  JobFrame* frame_;
  const std::vector<std::string>* names_;
  std::vector<int32_t> own_;
  int32_t depth_;
  VXIO_Metadata background_;  // metadata of the file of the background
  VXIO_PictureProfile composition_;
  JobColor::Light light_;
};

}  // namespace vxcli
