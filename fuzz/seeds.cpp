// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// vx_fuzz_seeds FOLDER: writes the first inputs of vx_fuzz_profile: the built-in profiles, their
// linear forms, and variants in which each power curve is replaced by a table of two entries.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

#include "host/COR.h"

namespace {

bool Write(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  return !file.flush().fail();
}

// A power curve has as many bytes as a table of two entries, so it can be replaced in place.
void ReplacePowers(std::vector<uint8_t>* bytes) {
  constexpr uint8_t kPower[] = {'p', 'a', 'r', 'a', 0, 0, 0, 0, 0, 0, 0, 0};
  constexpr uint8_t kTable[] = {'c', 'u', 'r', 'v', 0, 0, 0, 0, 0, 0, 0, 2, 2, 0, 0xF0, 0};
  auto found = bytes->begin();
  while ((found = std::search(found, bytes->end(), std::begin(kPower), std::end(kPower))) !=
         bytes->end()) {
    found = std::copy(std::begin(kTable), std::end(kTable), found);
  }
}

}  // namespace

int main(int count, char** arguments) {
  COR_AddressProc engine = nullptr;
  if (count != 2 || COR_GetQIBAddressProc(&engine) != 0 || !COR_BindClient(engine)) {
    std::fputs("usage: vx_fuzz_seeds FOLDER\n", stderr);
    return 2;
  }
  const std::string folder = arguments[1];
  for (int32_t i = 0; const char* name = COR_QCE_BuiltInProfileName(i); ++i) {
    COR_QCE_ProfilePtr profile, linear;
    std::vector<uint8_t> bytes, linear_bytes;
    bool good = COR_QCE_ProfileFromName(name, &profile) == QCE_Ok &&
                COR_QCE_GetLinearRGBProfile(profile, &linear) == QCE_Ok &&
                COR_QCE_GetProfileBytes(profile, &bytes) == QCE_Ok &&
                COR_QCE_GetProfileBytes(linear, &linear_bytes) == QCE_Ok;
    const std::string path = folder + "/" + std::to_string(i);
    good = good && Write(path + ".icc", bytes) && Write(path + "-linear.icc", linear_bytes);
    ReplacePowers(&bytes);
    if (!good || !Write(path + "-table.icc", bytes)) {
      std::fprintf(stderr, "vx_fuzz_seeds: cannot write %s\n", path.c_str());
      return 1;
    }
  }
  return 0;
}
