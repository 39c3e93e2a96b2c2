// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Open files.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>

#include "HostInternal.h"
#include "host/FILE.h"

struct FILE_Ref {
  int descriptor;
  int64_t position;
};

namespace {

// Not all file systems have files without a name.
int OpenAndUnlink(const std::string& folder) {
  std::string name = folder + "/vx-XXXXXX";
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor >= 0) unlink(name.c_str());
  return descriptor;
}

// Calls pwrite or pread until `count` bytes were transferred.
template <class Call, class Byte>
bool Transfer(Call call, FILE_Ref* file, int64_t count, Byte* bytes) {
  for (int64_t done = 0; done < count;) {
    const ssize_t now = call(file->descriptor, bytes + done, static_cast<size_t>(count - done),
                             file->position + done);
    if (now < 0 && errno == EINTR) continue;
    if (now <= 0) return false;
    done += now;
  }
  file->position += count;
  return true;
}

bool IsTransfer(const FILE_Ref* file, int64_t count, const void* bytes) {
  return file && bytes && count >= 0 && count <= INT64_MAX - file->position;
}

}  // namespace

U_Err FILE_NewTemporary(const char* folder, FILE_Ref** out) {
  if (!out) return 3;
  *out = nullptr;
  try {
    const std::string place =
        folder && *folder ? folder : std::filesystem::temp_directory_path().string();
    void* const block = host::AllocateBlock("file", sizeof(FILE_Ref));
    if (!block) return 4;
    int descriptor = open(place.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (descriptor < 0) descriptor = OpenAndUnlink(place);
    if (descriptor < 0) {
      host::FreeBlock(block);
      return FILE_CannotOpen;
    }
    *out = new (block) FILE_Ref{descriptor, 0};
    return 0;
  } catch (const std::filesystem::filesystem_error&) {
    return FILE_CannotOpen;
  } catch (const std::bad_alloc&) {
    return 4;
  }
}

int64_t FILE_GetPosition(const FILE_Ref* file) { return file ? file->position : 0; }

U_Err FILE_SetPosition(FILE_Ref* file, int64_t position) {
  if (!file || position < 0) return 3;
  file->position = position;
  return 0;
}

U_Err FILE_NWrite(FILE_Ref* file, int64_t count, const void* bytes) {
  if (!IsTransfer(file, count, bytes)) return 3;
  return Transfer(pwrite, file, count, static_cast<const char*>(bytes)) ? 0 : FILE_CannotWrite;
}

U_Err FILE_NRead(FILE_Ref* file, int64_t count, void* bytes) {
  if (!IsTransfer(file, count, bytes)) return 3;
  return Transfer(pread, file, count, static_cast<char*>(bytes)) ? 0 : FILE_CannotRead;
}

void FILE_Close(FILE_Ref* file) {
  if (!file) return;
  close(file->descriptor);
  host::FreeBlock(file);
}
