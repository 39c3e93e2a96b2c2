// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/cache/FnMotionFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

namespace {

constexpr char kMagic[] = {'V', 'X', 'M', 'O', 'T', 'I', 'O', 'N'};
constexpr uint32_t kVersion = 1;
constexpr size_t kHeader = 48;

using Bytes = std::vector<uint8_t>;

std::string ErrorText() { return std::generic_category().message(errno); }

class File {
 public:
  explicit File(int descriptor) : descriptor_(descriptor) {}
  ~File() {
    if (IsOpen()) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool IsOpen() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }
  // Returns whether closing succeeded. Some file systems report a full disk only then.
  bool Close() { return close(std::exchange(descriptor_, -1)) == 0; }

 private:
  int descriptor_;
};

// Calls read or write until all bytes were transferred. Returns false at an error or the end.
template <class Call, class Byte>
bool TransferAll(Call call, const File& file, Byte* bytes, size_t count) {
  for (size_t done = 0; done < count;) {
    const ssize_t now = call(file.descriptor(), bytes + done, count - done);
    if (now < 0 && errno == EINTR) continue;
    if (now == 0) errno = EIO;
    if (now <= 0) return false;
    done += static_cast<size_t>(now);
  }
  return true;
}

void Append(Bytes* bytes, uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

// The header of a record, which is the rest of `file` after kHeader bytes.
Bytes HeaderOf(const Bytes& file, const FnIdentity& identity) {
  const uint8_t* const record = file.data() + kHeader;
  const size_t length = file.size() - kHeader;
  Bytes header(std::begin(kMagic), std::end(kMagic));
  Append(&header, kVersion, 8);
  header.insert(header.end(), identity.begin(), identity.end());
  Append(&header, length, 8);
  Append(&header, XXH3_64bits(record, length), 8);
  return header;
}

// Why the header of a file is not the one that it should have.
const char* Difference(const Bytes& file, const Bytes& header) {
  const auto differs = [&](size_t from, size_t to) {
    return std::memcmp(file.data() + from, header.data() + from, to - from) != 0;
  };
  if (differs(0, 8)) return "it is not a motion file";
  if (differs(8, 16)) return "another version of the library wrote it";
  if (differs(16, 32)) return "it belongs to other pictures";
  return differs(32, kHeader) ? "it is damaged" : nullptr;
}

bool ReadWhole(const File& file, size_t size, Bytes* bytes, std::string* why) {
  struct stat status {};
  if (fstat(file.descriptor(), &status) != 0) {
    *why = ErrorText();
  } else if (!S_ISREG(status.st_mode)) {
    *why = "it is not a file";
  } else if (status.st_size != static_cast<off_t>(size)) {
    *why = "it has " + std::to_string(status.st_size) + " bytes instead of " + std::to_string(size);
  } else {
    bytes->resize(size);
    if (TransferAll(read, file, bytes->data(), size)) return true;
    *why = ErrorText();
  }
  return false;
}

std::unique_ptr<FnVeltorVectors> VectorsOf(const Bytes& bytes, int32_t width, int32_t height) {
  const uint8_t* at = bytes.data() + kHeader;
  auto vectors = FnReadRecord([&](void* to, int64_t count) {
    if (count > bytes.data() + bytes.size() - at) VXp_Throw(VX_ErrBadParameter);
    std::memcpy(to, at, static_cast<size_t>(count));
    at += count;
  });
  return vectors->width() == width && vectors->height() == height ? std::move(vectors) : nullptr;
}

}  // namespace

std::string FnMotionFileName(const std::string& folder, const FnIdentity& identity) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string name;
  for (const uint8_t byte : identity) {
    name += kDigits[byte >> 4];
    name += kDigits[byte & 15];
  }
  return folder + "/" + name + ".vxmotion";
}

std::unique_ptr<FnVeltorVectors> FnReadMotionFile(const std::string& path,
                                                  const FnIdentity& identity, int32_t width,
                                                  int32_t height, std::string* reason) {
  const auto refused = [&](const std::string& why) {
    *reason = "the motion file " + path + " is not used: " + why;
    return nullptr;
  };
  // Opening a pipe must not wait for a writer.
  const File file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.IsOpen()) return errno == ENOENT ? nullptr : refused(ErrorText());
  Bytes bytes;
  std::string why;
  const auto size = kHeader + static_cast<size_t>(FnRecordBytes(width, height));
  if (!ReadWhole(file, size, &bytes, &why)) return refused(why);
  if (const char* const difference = Difference(bytes, HeaderOf(bytes, identity))) {
    return refused(difference);
  }
  try {
    if (auto vectors = VectorsOf(bytes, width, height)) return vectors;
  } catch (int32_t code) {
    if (code == VX_ErrOutOfMemory) return refused("out of memory");
  }
  return refused("its record is not consistent");
}

bool FnWriteMotionFile(const std::string& path, const FnIdentity& identity,
                       const FnVeltorVectors& vectors, std::string* reason) {
  Bytes bytes(kHeader);
  bytes.reserve(kHeader + static_cast<size_t>(FnRecordBytes(vectors.width(), vectors.height())));
  FnWriteRecord(vectors, [&bytes](const void* from, int64_t count) {
    const auto* const first = static_cast<const uint8_t*>(from);
    bytes.insert(bytes.end(), first, first + count);
  });
  std::ranges::copy(HeaderOf(bytes, identity), bytes.begin());

  static std::atomic<uint32_t> serial{0};
  const std::string other =
      path + "." + std::to_string(getpid()) + "-" + std::to_string(serial++) + ".tmp";
  // One text for all pairs of a folder, because programs print each text once.
  const auto failed = [&] {
    *reason =
        "the folder " + path.substr(0, path.rfind('/')) + " cannot store motion: " + ErrorText();
    return false;
  };
  File file(open(other.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file.IsOpen()) return failed();
  const bool written = TransferAll(write, file, bytes.data(), bytes.size());
  const int error = errno;
  const bool closed = file.Close();
  if (!written) errno = error;
  if (!written || !closed) {
    failed();
  } else if (rename(other.c_str(), path.c_str()) == 0) {
    return true;
  } else {
    *reason = "the motion file " + path + " cannot be replaced: " + ErrorText();
  }
  unlink(other.c_str());
  return false;
}
