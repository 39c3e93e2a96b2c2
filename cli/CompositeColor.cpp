// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "CompositeColor.h"

#include <algorithm>

#include "Console.h"

namespace vxcli {

namespace {

// Programs put the time of day into profiles, so a sequence may hold a new identity in each frame.
constexpr size_t kMostKept = 64;

template <class Kept>
auto& EntryOf(std::map<std::string, Kept>* kept, const std::string& key) {
  if (kept->size() >= kMostKept && !kept->contains(key)) kept->clear();
  return (*kept)[key];
}

}  // namespace

void AddColorOptions(CLI::App* app, ColorWords* words) {
  app->add_flag("--linear", words->linear,
                "Blend in linear light, by the curve of --profile, else of the background's own "
                "profile, else as sRGB (EXR: as linear). Layers in another profile are converted");
  app->add_option("--profile", words->profile,
                  "Composite in this profile: background and layers are converted to it, and the "
                  "result carries it. A built-in name (vx profile --list), an .icc file, or a "
                  "picture that holds one [without --linear: none, colours are taken as they "
                  "stand]")
      ->type_name("FILE|NAME");
}

// --- the job -------------------------------------------------------------------------------------

JobColor::JobColor(const ColorWords& words) : linear_(words.linear) {
  if (!words.profile.empty()) given_ = FindProfile("--profile", words.profile).profile;
}

std::string JobColor::Settings() const {
  return (linear_ ? " linear" : "") + (given_ ? " profile=" + ProfileID(given_) : "");
}

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
  if (said_.insert(text).second) Note(text);
}

// --- the frame -----------------------------------------------------------------------------------

FrameColor::FrameColor(JobColor* job, JobFrame* frame, const std::vector<std::string>* words,
                       std::vector<int32_t> own, int32_t depth)
    : job_(job), frame_(frame), words_(words), own_(std::move(own)), depth_(depth) {}

std::string FrameColor::Named(const VXIO_PictureProfile& found) const {
  return VXIO_ProfileName(found.profile) + (found.embedded ? "" : " (assumed)");
}

// Where colours may be converted they are at the deeper of the two depths until that is done.
FrameColor::Source FrameColor::Read(size_t input) {
  Source source;
  source.picture = frame_->Read(input, Converts() ? std::max(own_[input], depth_) : depth_);
  source.found = VXIO_ProfileOf(frame_->Input(input), source.picture.metadata);
  if (Converts()) frame_->Warn(source.found.warnings, VXIO_ErrorKind::Input);
  return source;
}

VXIO_Picture FrameColor::ReadBackground() {
  auto [picture, own] = Read(0);
  composition_ = own;
  const std::string& word = (*words_)[0];
  nlohmann::ordered_json told = {{"linear", job_->linear()}};
  if (job_->given()) {
    composition_ = {job_->given(), true, {}};
    if (!job_->Same(own.profile, job_->given())) {
      job_->Convert(own.profile, job_->given(), picture.world.get());
      job_->NoteOnce(word + ": converted from " + Named(own) + " to " + Named(composition_));
      told["background_converted_from"] = VXIO_ProfileName(own.profile);
    }
    picture.metadata = VXIO_WithProfile(picture.metadata, job_->given());
  }
  if (job_->linear()) {
    tables_ = job_->TablesFor(composition_.profile);
    const char* whose = job_->given() ? " (--profile)" : own.embedded ? " (its own profile)" : "";
    job_->NoteOnce(word + ": blended in linear light by the curve of " + Named(composition_) +
                   whose);
  }
  told["profile"] = VXIO_ProfileName(composition_.profile);
  told["profile_id"] = ProfileID(composition_.profile);
  told["profile_from"] = job_->given() ? "option" : own.embedded ? "background" : "assumed";
  if (Converts()) frame_->Told()["color"] = std::move(told);
  picture.world = VXIO_ConvertDepth(std::move(picture.world), depth_);
  return std::move(picture);
}

VXIO_Picture FrameColor::ReadLayer(size_t input, nlohmann::ordered_json* told) {
  auto [picture, own] = Read(input);
  if (!job_->Same(own.profile, composition_.profile)) {
    const std::string& word = (*words_)[input];
    if (Converts()) {
      job_->Convert(own.profile, composition_.profile, picture.world.get());
      job_->NoteOnce(word + ": converted from " + Named(own) + " to " + Named(composition_));
      (*told)["converted_from"] = VXIO_ProfileName(own.profile);
    } else {
      job_->NoteOnce(word + ": is in " + Named(own) + ", the background in " + Named(composition_) +
                     "; drawn as it stands, --profile or --linear converts");
    }
  }
  picture.world = VXIO_ConvertDepth(std::move(picture.world), depth_);
  return std::move(picture);
}

}  // namespace vxcli
