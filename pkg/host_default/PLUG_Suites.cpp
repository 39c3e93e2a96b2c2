// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <map>
#include <mutex>
#include <utility>

#include "host/PLUG.h"
#include "host/VXHost.h"

namespace {

struct Suite {
  int32_t members;
  const void* table;
};

struct Registry {
  std::mutex mutex;
  std::map<std::pair<std::string, int32_t>, Suite> suites;
};

// The registry is never destroyed, so that it is valid after main.
Registry& TheRegistry() {
  static Registry& registry = *new Registry;
  return registry;
}

}  // namespace

U_Err PLUG_AddSPSuite(int32_t, int32_t, const char* name, int32_t version, int32_t version_again,
                      int32_t members, const void* table) {
  if (!name || !table || version != version_again || members < 1) return 3;
  try {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    registry.suites[{name, version}] = {members, table};
    return 0;
  } catch (const std::exception& e) {
    return U_TranslateAndReportException(e);
  }
}

U_Err PLUG_RemoveSPSuite(const char* name, int32_t version) {
  if (!name) return 3;
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  return registry.suites.erase({name, version}) == 1 ? 0 : 3;
}

const void* VXHost_FindSuite(const char* name, int32_t version, int32_t* members) {
  if (!name) return nullptr;
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  const auto found = registry.suites.find({name, version});
  if (found == registry.suites.end()) return nullptr;
  if (members) *members = found->second.members;
  return found->second.table;
}

std::vector<VXHost_Suite> VXHost_ListSuites() {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  std::vector<VXHost_Suite> list;
  for (const auto& [key, suite] : registry.suites) {
    list.push_back({key.first, key.second, suite.members, suite.table});
  }
  return list;
}
