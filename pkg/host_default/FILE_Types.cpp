// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "HostInternal.h"
#include "host/FILE.h"

namespace {

struct Map {
  std::mutex mutex;
  std::map<std::string, uint32_t> types;
};

// The map is never destroyed, so that it is valid after main.
Map& TheMap() {
  static Map& map = *new Map;
  return map;
}

}  // namespace

U_Err FILE_AddExtensionMap(const char* extension, uint32_t type, int32_t) {
  if (!extension || !*extension) return 3;
  try {
    Map& map = TheMap();
    const std::lock_guard lock(map.mutex);
    map.types[extension] = type;
    return 0;
  } catch (const std::exception& e) {
    return U_TranslateAndReportException(e);
  }
}

namespace host {

bool FileNameHasType(const char* name, uint32_t type) {
  Map& map = TheMap();
  const std::lock_guard lock(map.mutex);
  const std::string_view view(name);
  for (const auto& [extension, its_type] : map.types) {
    if (its_type == type && view.ends_with(extension)) return true;
  }
  return false;
}

}  // namespace host
