// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_Codecs.h"

#include <dlfcn.h>
#include <link.h>

#include <atomic>
#include <climits>

#include "VXIO_Formats.h"

namespace {

std::atomic<int32_t> threads{0};
std::atomic<bool> loaded{false};

// Returns the absolute path of libVXIO_codecs. The folder is that from which libVXIO was loaded,
// also if the current folder has changed since.
std::string CodecsPath() {
  Dl_info info{};
  void* self = nullptr;
  char folder[PATH_MAX] = "";
  if (dladdr1(&loaded, &info, &self, RTLD_DL_LINKMAP) != 0) dlinfo(self, RTLD_DI_ORIGIN, folder);
  return std::string(folder) + "/" + VXIO_CODECS_FILE;
}

const VXIOp_Codecs& Load(VXIO_ErrorKind kind) {
  const std::string path = CodecsPath();
  // RTLD_LAZY: the libraries have 80,000 functions, of which few are called.
  void* const object = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
  const void* const table = object ? dlsym(object, "VXIOp_CodecTable") : nullptr;
  if (!table) {
    std::string reason = dlerror();
    if (reason.starts_with(path + ": ")) reason.erase(0, path.size() + 2);
    throw VXIO_Error(kind, path + ": cannot be loaded: " + reason +
                               "; install all files of VX, and the libraries of OpenImageIO and "
                               "FFmpeg");
  }
  loaded = true;
  const auto& codecs = *static_cast<const VXIOp_Codecs*>(table);
  if (threads > 0) codecs.SetThreads(threads);
  return codecs;
}

}  // namespace

const VXIOp_Codecs& VXIOp_LoadCodecs(VXIO_ErrorKind kind) {
  static const VXIOp_Codecs& codecs = Load(kind);
  return codecs;
}

int32_t VXIOp_Threads() { return threads; }

void VXIO_SetThreads(int32_t count) {
  threads = count;
  if (loaded) VXIOp_LoadCodecs().SetThreads(count);
}
