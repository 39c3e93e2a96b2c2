// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Profiles.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "Console.h"
#include "Errors.h"
#include "VXIO/VXIO_Profile.h"

namespace vxcli {

namespace {

// A profile has this mark at byte 36, whatever the file is called.
bool HasProfileMark(const std::string& path) {
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

NamedProfile FindProfile(const std::string& what, const std::string& word) {
  std::string names;
  for (const std::string& name : BuiltInProfiles()) {
    names += (names.empty() ? "" : ", ") + name;
    if (strcasecmp(name.c_str(), word.c_str()) != 0) continue;
    NamedProfile found{nullptr, "built in"};
    CheckEngine(COR_QCE_ProfileFromName(name.c_str(), &found.profile), "profile " + name);
    return found;
  }
  std::error_code none;
  if (!std::filesystem::exists(word, none)) {
    if (LooksLikeFile(word)) {
      throw VXIO_Error(VXIO_ErrorKind::Input, word + ": no such file; check the name");
    }
    throw UsageError(what + " '" + word +
                     "': is neither a file nor a built-in profile; those are " + names);
  }
  const bool is_profile = std::filesystem::is_regular_file(word, none) &&
                          (HasProfileExtension(word) || HasProfileMark(word));
  if (!is_profile) return {EmbeddedIn(word), "embedded"};
  NamedProfile found{nullptr, "file"};
  const QCE_Status status = COR_QCE_ProfileFromFile(word.c_str(), &found.profile);
  if (status != QCE_Ok) {
    throw VXIO_Error(VXIO_ErrorKind::Input, word + ": " + COR_QCE_StatusText(status) +
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

VXIO_Metadata ProfileAlone(const std::string& path, const VXIO_Picture& picture) {
  const VXIO_PictureProfile found = VXIO_ProfileOf(path, picture.metadata);
  return found.embedded ? VXIO_WithProfile({}, found.profile) : VXIO_Metadata();
}

void CheckEngine(QCE_Status status, const std::string& doing) {
  if (status != QCE_Ok) throw LibraryError(doing + ": " + COR_QCE_StatusText(status));
}

}  // namespace vxcli
