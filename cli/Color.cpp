// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Color.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Console.h"

namespace vxcli {

namespace {

// Returns true if the file contains the signature of ICC profiles, "acsp" at byte 36.
bool HasProfileSignature(const std::string& path) {
  char head[40] = {};
  std::ifstream file(path, std::ios::binary);
  return file.read(head, sizeof head) && std::equal(head + 36, head + 40, "acsp");
}

bool LooksLikeFile(const std::string& word) {
  if (word.find('/') != std::string::npos || HasProfileExtension(word)) return true;
  const std::string extension = word.substr(word.rfind('.') + 1);
  for (const VXIO_FormatInfo& format : VXIO_ListFormats()) {
    for (const std::string& known : format.extensions) {
      if (strcasecmp(known.c_str(), extension.c_str()) == 0) return true;
    }
  }
  return false;
}

COR_QCE_ProfilePtr EmbeddedIn(const std::string& path) {
  VXIO_Picture header = VXIO_ReadHeader(path);
  VXIO_PictureProfile found = VXIO_ProfileOf(path, header.metadata);
  if (found.embedded) return found.profile;
  Warn(header.warnings);
  std::string why = path + ": has no embedded profile that can be used";
  if (VXIO_ReadInfo(path).has_profile) {
    why = found.warnings[0].substr(0, found.warnings[0].rfind(';'));
  }
  throw VXIO_Error(VXIO_ErrorKind::Input, why + "; name an .icc file or a built-in profile");
}

// Largest number of entries of a cache. Some programs write the time into profiles, so each frame
// of a sequence may have a profile with another identifier.
constexpr size_t kMostEntries = 64;

// Returns the entry for `key`. Clears the cache before it adds an entry to a full one.
template <class Entry>
auto& EntryOf(std::map<std::string, Entry>* cache, const std::string& key) {
  if (cache->size() >= kMostEntries && !cache->contains(key)) cache->clear();
  return (*cache)[key];
}

std::string NameOf(const VXIO_PictureProfile& found) {
  return VXIO_ProfileName(found.profile) + (found.embedded ? "" : " (assumed)");
}

}  // namespace

bool HasProfileExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  return strcasecmp(extension.c_str(), ".icc") == 0 || strcasecmp(extension.c_str(), ".icm") == 0;
}

std::vector<std::string> BuiltInProfiles() {
  std::vector<std::string> names;
  while (const char* name = COR_QCE_BuiltInProfileName(static_cast<int32_t>(names.size()))) {
    names.push_back(name);
  }
  return names;
}

NamedProfile FindProfile(const std::string& option, const std::string& name) {
  std::string names;
  for (const std::string& built_in : BuiltInProfiles()) {
    names += (names.empty() ? "" : ", ") + built_in;
    if (strcasecmp(built_in.c_str(), name.c_str()) != 0) continue;
    NamedProfile found{nullptr, "built in"};
    CheckEngine(COR_QCE_ProfileFromName(built_in.c_str(), &found.profile), "profile " + built_in);
    return found;
  }
  std::error_code none;
  if (!std::filesystem::exists(name, none)) {
    if (LooksLikeFile(name)) {
      throw VXIO_Error(VXIO_ErrorKind::Input, name + ": no such file; check the built_in");
    }
    throw UsageError(option + " '" + name +
                     "': is neither a file nor a built-in profile; those are " + names);
  }
  const bool is_profile = std::filesystem::is_regular_file(name, none) &&
                          (HasProfileExtension(name) || HasProfileSignature(name));
  if (!is_profile) return {EmbeddedIn(name), "embedded"};
  NamedProfile found{nullptr, "file"};
  const QCE_Status status = COR_QCE_ProfileFromFile(name.c_str(), &found.profile);
  if (status != QCE_Ok) {
    throw VXIO_Error(VXIO_ErrorKind::Input, name + ": " + COR_QCE_StatusText(status) +
                                                "; use an RGB profile with a tone curve, or a "
                                                "built-in one (vx profile --list)");
  }
  return found;
}

std::string ProfileID(const COR_QCE_ProfilePtr& profile) {
  _t_QCE_ID id{};
  CheckEngine(COR_QCE_GetProfileID(/*pool=*/nullptr, profile, &id), "identity of a profile");
  char text[33];
  std::snprintf(text, sizeof text, "%08x%08x%08x%08x", id.words[0], id.words[1], id.words[2],
                id.words[3]);
  return text;
}

VXIO_Metadata ProfileOnly(const std::string& path, const VXIO_Picture& picture) {
  const VXIO_PictureProfile found = VXIO_ProfileOf(path, picture.metadata);
  return found.embedded ? VXIO_WithProfile({}, found.profile) : VXIO_Metadata();
}

void CheckEngine(QCE_Status status, const std::string& context) {
  if (status != QCE_Ok)
    throw DescribedFailure({kInternal, context + ": " + COR_QCE_StatusText(status)});
}

OptionList ColorOptionList(ColorOptions* to) {
  const auto find = [](const std::string& option, const std::string& text) {
    return FindProfile(option, text).profile;
  };
  return {
      {"--linear", "", Flag(&to->linear),
       "Blend in linear light, by the curve of --profile, else of the background's own profile, "
       "else as sRGB (EXR: as linear). Layers with another profile are converted"},
      Option{"--profile", "FILE|NAME", Parsed(&to->profile, find),
             "Composite in this profile: background and layers are converted to it, and the result "
             "has it. A built-in name (vx profile --list), an .icc file, or a picture with an "
             "embedded profile"}
          .Without("without --linear: none, colours are not converted")
          .Identity([to] { return ProfileID(to->profile); }),
  };
}

// --- the job -------------------------------------------------------------------------------------

JobColor::Light JobColor::LightFor(const COR_QCE_ProfilePtr& profile) {
  const std::string id = ProfileID(profile);
  std::lock_guard lock(mutex_);
  Light& light = EntryOf(&lights_, id);
  if (!light) light = vx::linear_light(vx::Profile(profile));
  return light;
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
  std::optional<vx::ColorTransform> transform;
  {
    std::lock_guard lock(mutex_);
    const int32_t depth = world->Depth();
    auto& kept = PairOf(from, to)->transforms[depth == 8 ? 0 : depth == 16 ? 1 : 2];
    if (!kept) kept.emplace(vx::Profile(from), vx::Profile(to), depth);
    transform = kept;
  }
  transform->apply(*world);
}

void JobColor::NoteOnce(const std::string& text) {
  std::lock_guard lock(mutex_);
  if (printed_.insert(text).second) Note(text);
}

// --- the frame -----------------------------------------------------------------------------------

FrameColor::FrameColor(JobColor* job, JobFrame* frame, const std::vector<std::string>* names,
                       std::vector<int32_t> own, int32_t depth)
    : job_(job), frame_(frame), names_(names), own_(std::move(own)), depth_(depth) {}

// Reads a picture. If it may be converted, it is read at the larger of the depth of its file and
// the depth of the composition, for precision.
VXIO_Picture FrameColor::Read(size_t input, VXIO_AlphaAs alpha) {
  VXIO_Picture picture =
      frame_->Read(input, Converts() ? std::max(own_[input], depth_) : depth_, alpha);
  if (alpha != VXIO_AlphaAs::File && picture.alpha == VXIO_AlphaKind::None) {
    job_->NoteOnce((*names_)[input] + ": has no alpha: --alpha has no effect");
  }
  return picture;
}

VXIO_PictureProfile FrameColor::ProfileOf(size_t input, const VXIO_Picture& picture) {
  VXIO_PictureProfile found = VXIO_ProfileOf(frame_->Input(input), picture.metadata);
  frame_->Warn(found.warnings, VXIO_ErrorKind::Input);
  return found;
}

void FrameColor::Convert(size_t input, const VXIO_PictureProfile& own, VX_World* world) {
  job_->Convert(own.profile, composition_.profile, world);
  job_->NoteOnce((*names_)[input] + ": converted from " + NameOf(own) + " to " +
                 NameOf(composition_));
}

// Prints a note if the layer is not converted but its profile differs from that of the background.
void FrameColor::Compare(size_t input, const VXIO_Picture& layer) {
  if (VXIO_SameProfile(background_, layer.metadata)) return;
  const VXIO_PictureProfile below = VXIO_ProfileOf(frame_->Input(0), background_);
  const VXIO_PictureProfile own = VXIO_ProfileOf(frame_->Input(input), layer.metadata);
  if (job_->Same(own.profile, below.profile)) return;
  job_->NoteOnce((*names_)[input] + ": is in " + NameOf(own) + ", the background in " +
                 NameOf(below) + "; drawn without conversion, --profile or --linear converts it");
}

// Prints a note if the output is written without a profile and its format implies another profile
// than that of the composition.
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

VXIO_Picture FrameColor::ReadBackground(const std::string& called, VXIO_AlphaAs alpha) {
  VXIO_Picture picture = Read(0, alpha);
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
    light_ = job_->LightFor(composition_.profile);
    const char* whose = given ? " (--profile)" : own.embedded ? " (its own)" : " (assumed)";
    job_->NoteOnce((*names_)[0] + ": blended in linear light by the curve of " + name + whose);
    if (!given && !own.embedded) NoteOutput(name);
  }
  picture.world = VXIO_ConvertDepth(std::move(picture.world), depth_);
  return picture;
}

VXIO_Picture FrameColor::ReadLayer(size_t input, nlohmann::ordered_json* record,
                                   VXIO_AlphaAs alpha) {
  VXIO_Picture picture = Read(input, alpha);
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
