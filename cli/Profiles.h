// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Colour profiles as the command names them.

#include <string>
#include <vector>

#include "VXIO/VXIO_Picture.h"
#include "host/COR.h"

namespace vxcli {

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

// Throws LibraryError for a status that is not 0. `doing` names the work and the profile.
void CheckEngine(QCE_Status status, const std::string& doing);

}  // namespace vxcli
