// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "CompositeColor.h"

#include <strings.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Console.h"

namespace vxcli {

namespace {

// Some programs write the time into profiles, so that each frame of a sequence has another
// identity. The cache is cleared when it holds this many.
constexpr size_t kMostKept = 64;

template <class Kept>
auto& EntryOf(std::map<std::string, Kept>* kept, const std::string& key) {
  if (kept->size() >= kMostKept && !kept->contains(key)) kept->clear();
  return (*kept)[key];
}

std::string Named(const VXIO_PictureProfile& found) {
  return VXIO_ProfileName(found.profile) + (found.embedded ? "" : " (assumed)");
}

}  // namespace

OptionList ColorOptionList(ColorOptions* to) {
  const auto find = [](const std::string& option, const std::string& text) {
    return FindProfile(option, text).profile;
  };
  return {
      {"--linear", "", Flag(&to->linear),
       "Blend in linear light, by the curve of --profile, else of the background's own profile, "
       "else as sRGB (EXR: as linear). Layers in another profile are converted"},
      Option{"--profile", "FILE|NAME", Parsed(&to->profile, find),
             "Composite in this profile: background and layers are converted to it, and the result "
             "carries it. A built-in name (vx profile --list), an .icc file, or a picture that "
             "holds one"}
          .Without("without --linear: none, colours are taken as they stand")
          .Identity([to] { return ProfileID(to->profile); }),
  };
}

// --- the job -------------------------------------------------------------------------------------

JobColor::Tables JobColor::TablesFor(const COR_QCE_ProfilePtr& profile) {
  const std::string id = ProfileID(profile);
  std::lock_guard lock(mutex_);
  Tables& tables = EntryOf(&tables_, id);
  if (!tables) tables = VX_MakeLinearizationTables(profile);
  return tables;
}

JobColor::Pair* JobColor::PairOf(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to) {
  return &EntryOf(&pairs_, ProfileID(from) + ProfileID(to));
}

bool JobColor::Same(const COR_QCE_ProfilePtr& a, const COR_QCE_ProfilePtr& b) {
  std::lock_guard lock(mutex_);
  Pair* pair = PairOf(a, b);
  if (!pair->same) pair->same = VXIO_SameColors(a, b);
  return *pair->same;
}

void JobColor::Convert(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to,
                       VX_World* world) {
  COR_QCE_TransformPtr transform;
  {
    std::lock_guard lock(mutex_);
    const int32_t depth = world->Depth();
    auto& kept = PairOf(from, to)->transforms[depth == 8 ? 0 : depth == 16 ? 1 : 2];
    if (!kept) kept = VXIO_NewTransform(from, to, depth);
    transform = kept;
  }
  VXIO_ConvertColors(transform, world);
}

void JobColor::NoteOnce(const std::string& text) {
  std::lock_guard lock(mutex_);
  if (printed_.insert(text).second) Note(text);
}

// --- the frame -----------------------------------------------------------------------------------

FrameColor::FrameColor(JobColor* job, JobFrame* frame, const std::vector<std::string>* names,
                       std::vector<int32_t> own, int32_t depth)
    : job_(job), frame_(frame), names_(names), own_(std::move(own)), depth_(depth) {}

// Colours that may be converted are read at the deeper of the two depths, for precision.
VXIO_Picture FrameColor::Read(size_t input) {
  return frame_->Read(input, Converts() ? std::max(own_[input], depth_) : depth_);
}

VXIO_PictureProfile FrameColor::ProfileOf(size_t input, const VXIO_Picture& picture) {
  VXIO_PictureProfile found = VXIO_ProfileOf(frame_->Input(input), picture.metadata);
  frame_->Warn(found.warnings, VXIO_ErrorKind::Input);
  return found;
}

void FrameColor::Convert(size_t input, const VXIO_PictureProfile& own, VX_World* world) {
  job_->Convert(own.profile, composition_.profile, world);
  job_->NoteOnce((*names_)[input] + ": converted from " + Named(own) + " to " +
                 Named(composition_));
}

// Prints a note if the layer has another profile than the background and is not converted.
void FrameColor::Compare(size_t input, const VXIO_Picture& layer) {
  if (VXIO_SameProfile(background_, layer.metadata)) return;
  const VXIO_PictureProfile below = VXIO_ProfileOf(frame_->Input(0), background_);
  const VXIO_PictureProfile own = VXIO_ProfileOf(frame_->Input(input), layer.metadata);
  if (job_->Same(own.profile, below.profile)) return;
  job_->NoteOnce((*names_)[input] + ": is in " + Named(own) + ", the background in " +
                 Named(below) + "; drawn as it stands, --profile or --linear converts");
}

// Prints a note if the output has no profile and its format implies another one than the input.
void FrameColor::NoteOutput(const std::string& name) {
  const std::string& output = frame_->Output();
  const std::string kind = output.substr(output.rfind('.') + 1);
  const char* counts_as = strcasecmp(kind.c_str(), "exr") == 0 ? "gamma 1.0" : "sRGB";
  COR_QCE_ProfilePtr other;
  CheckEngine(COR_QCE_ProfileFromName(counts_as, &other), counts_as);
  if (job_->Same(composition_.profile, other)) return;
  job_->NoteOnce((*names_)[0] + ": the result is in " + name + " too, but " + kind +
                 " without a profile counts as " + counts_as + "; --profile '" + counts_as +
                 "' converts it");
}

VXIO_Picture FrameColor::ReadBackground(const std::string& called) {
  VXIO_Picture picture = Read(0);
  background_ = picture.metadata;
  if (!Converts()) return picture;
  const VXIO_PictureProfile own = ProfileOf(0, picture);
  const COR_QCE_ProfilePtr& given = job_->given();
  composition_ = given ? VXIO_PictureProfile{given, true, {}} : own;
  const std::string name = VXIO_ProfileName(composition_.profile);
  nlohmann::ordered_json& record = frame_->Record()["color"];
  record = {{"linear", job_->linear()},
            {"profile", name},
            {"profile_id", ProfileID(composition_.profile)},
            {"profile_from", given          ? "option"
                             : own.embedded ? called.c_str()
                                            : "assumed"}};
  if (given) {
    if (!job_->Same(own.profile, given)) {
      Convert(0, own, picture.world.get());
      record[called + "_converted_from"] = VXIO_ProfileName(own.profile);
    }
    picture.metadata = VXIO_WithProfile(picture.metadata, given);
  }
  if (job_->linear()) {
    tables_ = job_->TablesFor(composition_.profile);
    const char* whose = given ? " (--profile)" : own.embedded ? " (its own)" : " (assumed)";
    job_->NoteOnce((*names_)[0] + ": blended in linear light by the curve of " + name + whose);
    if (!given && !own.embedded) NoteOutput(name);
  }
  picture.world = VXIO_ConvertDepth(std::move(picture.world), depth_);
  return picture;
}

VXIO_Picture FrameColor::ReadLayer(size_t input, nlohmann::ordered_json* record) {
  VXIO_Picture picture = Read(input);
  if (!Converts()) {
    Compare(input, picture);
    return picture;
  }
  const VXIO_PictureProfile own = ProfileOf(input, picture);
  if (!job_->Same(own.profile, composition_.profile)) {
    Convert(input, own, picture.world.get());
    (*record)["converted_from"] = VXIO_ProfileName(own.profile);
  }
  picture.world = VXIO_ConvertDepth(std::move(picture.world), depth_);
  return picture;
}

}  // namespace vxcli
