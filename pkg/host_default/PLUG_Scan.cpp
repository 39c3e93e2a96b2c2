// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <algorithm>
#include <filesystem>
#include <mutex>

#include "HostInternal.h"
#include "host/PLUG.h"

namespace fs = std::filesystem;

struct PLUG_File {
  std::string path;
};

namespace {

struct Scan {
  std::vector<uint32_t> codes;
  PLUG_FileProc per_file;
  PLUG_FinishProc finish;
  void* context;
};

struct Scans {
  std::mutex mutex;
  std::vector<Scan> list;
  std::vector<std::string> folders;
};

// The object is never destroyed, so that it is valid after main.
Scans& TheScans() {
  static Scans& scans = *new Scans;
  return scans;
}

std::vector<std::string> FilesOfType(const std::string& folder, uint32_t type) {
  std::vector<std::string> found;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;  // an entry that was removed meanwhile counts as no file
    if (entry->is_regular_file(ignored) &&
        host::FileNameHasType(entry->path().filename().c_str(), type)) {
      found.push_back(entry->path().string());
    }
  }
  if (error) {
    const std::string text = "cannot read the module folder " + folder + ": " + error.message();
    host::Report(/*check=*/0, /*line=*/0, /*severity=*/8, text.c_str());
  }
  std::sort(found.begin(), found.end());
  return found;
}

U_Err Run(const Scan& scan, const std::vector<std::string>& folders) {
  U_Err first = 0;
  const auto keep = [&first](U_Err error) {
    if (first == 0) first = error;
  };
  if (scan.per_file) {
    for (const std::string& folder : folders) {
      for (const std::string& path : FilesOfType(folder, scan.codes.back())) {
        PLUG_File file{path};
        keep(scan.per_file(&file, scan.context));
      }
    }
  }
  keep(scan.finish(scan.context));
  return first;
}

}  // namespace

U_Err PLUG_InstallScan(int32_t, int32_t count, const uint32_t* codes, PLUG_FileProc per_file,
                       PLUG_FinishProc finish, void* context) {
  if (!codes || !finish || count < 1) return 3;
  try {
    Scan scan{{codes, codes + count}, per_file, finish, context};
    Scans& scans = TheScans();
    const std::lock_guard lock(scans.mutex);
    const auto same = std::find_if(scans.list.begin(), scans.list.end(),
                                   [&](const Scan& s) { return s.codes == scan.codes; });
    if (same != scans.list.end()) {
      *same = std::move(scan);
    } else {
      scans.list.push_back(std::move(scan));
    }
    return 0;
  } catch (const std::exception& e) {
    return U_TranslateAndReportException(e);
  }
}

U_Err VXHost_RunPlugScan() {
  try {
    // The list is copied and unlocked, so that a callback may install a scan.
    Scans& scans = TheScans();
    std::unique_lock lock(scans.mutex);
    const std::vector<Scan> list = scans.list;
    const std::vector<std::string> folders = scans.folders;
    lock.unlock();
    U_Err first = 0;
    for (const Scan& scan : list) {
      const U_Err error = Run(scan, folders);
      if (first == 0) first = error;
    }
    return first;
  } catch (const std::exception& e) {
    return U_TranslateAndReportException(e);
  }
}

void VXHost_SetModuleFolders(const std::vector<std::string>& folders) {
  Scans& scans = TheScans();
  const std::lock_guard lock(scans.mutex);
  scans.folders = folders;
}

std::vector<std::string> VXHost_GetModuleFolders() {
  Scans& scans = TheScans();
  const std::lock_guard lock(scans.mutex);
  return scans.folders;
}
