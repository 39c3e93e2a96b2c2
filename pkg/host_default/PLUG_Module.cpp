// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "PLUG_Module.h"

#include <dlfcn.h>
#include <elf.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <new>

#include "HostInternal.h"

struct PLUG_File {
  const PLUG_ModuleDescriptor* descriptor;
  int32_t in_use = 0;

  const PLUG_RoutineDescriptor* Routine(int32_t index) const {
    return index >= 0 && index < descriptor->routine_count ? &descriptor->routines[index] : nullptr;
  }
};

struct PLUG_PiPL {
  const PLUG_RoutineDescriptor* routine;
};

struct PLUG_Routine {
  PLUG_File* file;
  const PLUG_RoutineDescriptor* descriptor;
};

namespace {

struct Files {
  std::mutex mutex;
  std::map<void*, std::unique_ptr<PLUG_File>> by_object;
};

// The object is never destroyed, because routines may be used after main.
Files& TheFiles() {
  static Files& files = *new Files;
  return files;
}

// Returns true for a shared object with a segment that ends after the end of the file. dlopen does
// not check this, and a read of the missing bytes ends the process. dlopen detects other faults.
bool IsCutOff(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const auto size = static_cast<uint64_t>(file.tellg());
  Elf64_Ehdr header{};
  Elf64_Phdr segment{};
  file.seekg(0).read(reinterpret_cast<char*>(&header), sizeof(header));
  file.seekg(static_cast<std::streamoff>(header.e_phoff));
  for (int i = 0; i < header.e_phnum; ++i) {
    if (!file.read(reinterpret_cast<char*>(&segment), sizeof(segment))) return false;
    if (segment.p_offset > size || segment.p_filesz > size - segment.p_offset) return true;
  }
  return false;
}

// Returns a text that describes the fault of a descriptor; empty if it is valid.
std::string Fault(const PLUG_ModuleDescriptor& descriptor) {
  if (descriptor.layout != PLUG_ModuleLayout) {
    return "its descriptor has layout " + std::to_string(descriptor.layout) + ", not " +
           std::to_string(PLUG_ModuleLayout);
  }
  if (descriptor.routine_count < 1 || !descriptor.routines) return "it describes no routine";
  for (int32_t i = 0; i < descriptor.routine_count; ++i) {
    const PLUG_RoutineDescriptor& routine = descriptor.routines[i];
    if (!routine.name || !routine.entry || routine.property_count < 0 ||
        (routine.property_count > 0 && !routine.properties)) {
      return "the description of routine " + std::to_string(i) + " is incomplete";
    }
  }
  return {};
}

template <class Object>
U_Err Make(Object object, Object** out) {
  *out = new (std::nothrow) Object(object);
  return *out ? 0 : 4;
}

}  // namespace

namespace host {

PLUG_File* OpenModule(const std::string& path, std::string* why) {
  Files& files = TheFiles();
  const std::lock_guard lock(files.mutex);
  if (IsCutOff(path)) {
    *why = "the file is incomplete";
    return nullptr;
  }
  void* const object = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!object) {
    *why = dlerror();
    if (why->starts_with(path + ": ")) why->erase(0, path.size() + 2);
    return nullptr;
  }
  const auto known = files.by_object.find(object);
  if (known != files.by_object.end()) return known->second.get();
  const auto* const descriptor =
      static_cast<const PLUG_ModuleDescriptor*>(dlsym(object, "PLUG_Module"));
  *why = descriptor ? Fault(*descriptor) : "it does not export PLUG_Module";
  if (!why->empty()) return nullptr;
  return files.by_object.emplace(object, new PLUG_File{descriptor}).first->second.get();
}

int32_t RoutinesInUse(const PLUG_File& file) { return file.in_use; }

std::vector<std::string> RoutineNames(const PLUG_File& file) {
  std::vector<std::string> names;
  for (int32_t i = 0; i < file.descriptor->routine_count; ++i) {
    names.emplace_back(file.descriptor->routines[i].name);
  }
  return names;
}

std::string InstalledModuleFolder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&InstalledModuleFolder), &info) == 0) return {};
  std::error_code error;
  const auto library = std::filesystem::canonical(info.dli_fname, error);
  return error ? std::string() : (library.parent_path() / "vx" / "modules").string();
}

}  // namespace host

U_Err PLUG_GetRoutineCount(PLUG_File* file, int32_t* count) {
  if (!file || !count) return 3;
  *count = file->descriptor->routine_count;
  return 0;
}

U_Err PLUG_GetRoutineInfo(PLUG_File* file, int32_t index, PLUG_RoutineInfo* out) {
  const PLUG_RoutineDescriptor* const routine = file ? file->Routine(index) : nullptr;
  if (!routine || !out) return 3;
  *out = {routine->type, routine->flags};
  return 0;
}

U_Err PLUG_GetPiPL(PLUG_File* file, int32_t index, PLUG_PiPL** out) {
  const PLUG_RoutineDescriptor* const routine = file ? file->Routine(index) : nullptr;
  if (!routine || !out) return 3;
  return Make(PLUG_PiPL{routine}, out);
}

U_Err PLUG_DisposePiPL(PLUG_PiPL* list) {
  delete list;
  return 0;
}

U_Err PLUG_GetPiPLProp(const PLUG_PiPL* list, uint32_t key, int32_t, int32_t length, int32_t,
                       void* out) {
  if (!list || !out) return 3;
  for (int32_t i = 0; i < list->routine->property_count; ++i) {
    const PLUG_Property& property = list->routine->properties[i];
    if (property.key != key || property.length != length || !property.data) continue;
    std::memcpy(out, property.data, static_cast<size_t>(length));
    return 0;
  }
  return 3;
}

U_Err PLUG_RegisterRoutine(PLUG_File* file, int32_t index, PLUG_Routine** out) {
  const PLUG_RoutineDescriptor* const routine = file ? file->Routine(index) : nullptr;
  if (!routine || !out) return 3;
  const U_Err error = Make(PLUG_Routine{file, routine}, out);
  if (error == 0) ++file->in_use;
  return error;
}

U_Err PLUG_UnregisterRoutine(PLUG_Routine* routine) {
  if (!routine) return 3;
  --routine->file->in_use;
  delete routine;
  return 0;
}

U_Err PLUG_PrepRoutine(PLUG_Routine* routine, PLUG_EntryProc* entry) {
  if (!routine || !entry) return 3;
  *entry = routine->descriptor->entry;
  return 0;
}

U_Err PLUG_UnprepRoutine(PLUG_Routine* routine) { return routine ? 0 : 3; }
