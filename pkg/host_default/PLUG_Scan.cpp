// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The scan of folders for module files. PLUG_Module.cpp opens the files.

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <optional>

#include "HostInternal.h"
#include "PLUG_Module.h"

namespace fs = std::filesystem;

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
  std::optional<std::vector<std::string>> folders;  // none: the installed folder
  std::vector<VXHost_Module> modules;
};

// The object is never destroyed, so that it is valid after main.
Scans& TheScans() {
  static Scans& scans = *new Scans;
  return scans;
}

void ReportText(const std::string& text) {
  host::Report(/*check=*/0, /*line=*/0, /*severity=*/8, text.c_str());
}

bool IsWritableByAll(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0;
}

std::vector<std::string> FilesOfType(const std::string& folder, uint32_t type) {
  std::vector<std::string> found;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;  // a link without a target is found, so that it is reported
    if (!entry->is_directory(ignored) &&
        host::FileNameHasType(entry->path().filename().c_str(), type)) {
      found.push_back(entry->path().string());
    }
  }
  if (error) ReportText("cannot read the module folder " + folder + ": " + error.message());
  std::sort(found.begin(), found.end());
  return found;
}

// Opens a file and passes it to the callback. The text of the result is empty if the callback
// succeeded.
VXHost_Module Visit(const Scan& scan, const std::string& path) {
  VXHost_Module module{path, {}, {}};
  std::error_code error_of_file;
  const fs::path target = fs::canonical(path, error_of_file);  // path may be a link
  if (error_of_file || !fs::is_regular_file(target, error_of_file)) {
    module.error = error_of_file ? error_of_file.message() : "it is no regular file";
    return module;
  }
  for (const fs::path& place : {fs::path(path).parent_path(), target, target.parent_path()}) {
    if (!IsWritableByAll(place)) continue;
    module.error =
        "every user may write " + place.string() + "; remove that permission (chmod o-w)";
    return module;
  }
  PLUG_File* const file = host::OpenModule(target, &module.error);
  if (!file) return module;
  const int32_t before = host::RoutinesInUse(*file);
  const U_Err error = scan.per_file(file, scan.context);
  module.routines = host::RoutineNames(*file);
  if (error != 0) {
    module.error = "a routine failed with code " + std::to_string(error);
  } else if (host::RoutinesInUse(*file) == before) {
    module.error = "it has no routine for this version of the library";
  }
  return module;
}

U_Err Run(const Scan& scan, const std::vector<std::string>& folders,
          std::vector<VXHost_Module>* modules) {
  std::vector<VXHost_Module> visited;
  if (scan.per_file) {
    for (const std::string& folder : folders) {
      for (const std::string& path : FilesOfType(folder, scan.codes.back())) {
        // The file may be found again through a link or in a folder that is given twice. A module
        // that is loaded twice would call itself as the routine that it replaced.
        const bool again = std::any_of(visited.begin(), visited.end(), [&](const auto& earlier) {
          std::error_code not_equal;
          return fs::equivalent(earlier.path, path, not_equal);
        });
        if (again) continue;
        visited.push_back(Visit(scan, path));
        const std::string& fault = visited.back().error;
        if (!fault.empty()) ReportText("module " + path + " was not loaded: " + fault);
      }
    }
  }
  modules->insert(modules->end(), visited.begin(), visited.end());
  return scan.finish(scan.context);
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

U_Err PLUG_RunScans() {
  try {
    // The list is copied and unlocked, so that a callback may install a scan.
    Scans& scans = TheScans();
    std::unique_lock lock(scans.mutex);
    const std::vector<Scan> list = scans.list;
    lock.unlock();
    const std::vector<std::string> folders = VXHost_GetModuleFolders();
    std::vector<VXHost_Module> modules;
    U_Err first = 0;
    for (const Scan& scan : list) {
      const U_Err error = Run(scan, folders, &modules);
      if (first == 0) first = error;
    }
    lock.lock();
    scans.modules = std::move(modules);
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
  if (scans.folders) return *scans.folders;
  const std::string installed = host::InstalledModuleFolder();
  std::error_code ignored;
  if (installed.empty() || !fs::is_directory(installed, ignored)) return {};
  return {installed};
}

std::vector<VXHost_Module> VXHost_ListModules() {
  Scans& scans = TheScans();
  const std::lock_guard lock(scans.mutex);
  return scans.modules;
}
