// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "JobRun.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

namespace vxcli {

namespace {

constexpr size_t kBlock = 1 << 20;  // bytes that are read at once
// A record file is compacted if it has more lines than this and more than half of them are
// outdated.
constexpr size_t kCompactLines = 1000;

std::string Hex(const XXH128_hash_t& hash) {
  char text[33];
  std::snprintf(text, sizeof text, "%016llx%016llx", static_cast<unsigned long long>(hash.high64),
                static_cast<unsigned long long>(hash.low64));
  return text;
}

// Returns a line of the record file. JobRun.h describes the form.
std::string RecordLine(int64_t frame, const std::string& made_from, const std::string& written) {
  const std::string body = "vx1 " + std::to_string(frame) + " " + made_from + " " + written + " ";
  char check[20];
  std::snprintf(check, sizeof check, "%016llx\n",
                static_cast<unsigned long long>(XXH3_64bits(body.data(), body.size())));
  return body + check;
}

bool WriteAll(int descriptor, const std::string& text) {
  ssize_t count = write(descriptor, text.data(), text.size());
  return count == static_cast<ssize_t>(text.size());
}

}  // namespace

std::string FingerprintOfFile(const std::string& name) {
  const std::string path = VXIO_FileOf(name);
  auto refuse = [&] {
    throw VXIO_Error(VXIO_ErrorKind::Input,
                     path + ": " +
                         (errno == ENOENT ? "no such file; check the name"
                                          : std::string("cannot be read: ") + strerror(errno)));
  };
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rbe"), &std::fclose);
  if (!file) refuse();
  std::unique_ptr<XXH3_state_t, XXH_errorcode (*)(XXH3_state_t*)> state(XXH3_createState(),
                                                                        &XXH3_freeState);
  if (!state) throw std::bad_alloc();
  XXH3_128bits_reset(state.get());
  std::vector<char> block(kBlock);
  while (size_t size = std::fread(block.data(), 1, block.size(), file.get())) {
    XXH3_128bits_update(state.get(), block.data(), size);
  }
  if (std::ferror(file.get())) refuse();
  return Hex(XXH3_128bits_digest(state.get()));
}

std::string FingerprintOfText(const std::string& text) {
  return Hex(XXH3_128bits(text.data(), text.size()));
}

ResumeStore::ResumeStore(const std::string& output, Access access) {
  const size_t file = output.rfind('/') + 1;
  path_ = output.substr(0, file) + "." + output.substr(file) + ".vx-resume";
  if (access == ReadAndAdd) {
    descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (descriptor_ < 0) {
      throw VXIO_Error(VXIO_ErrorKind::Output, path_ + ": cannot be written: " + strerror(errno) +
                                                   "; --resume keeps its record there");
    }
    // The shared lock is held until the end of the run. Compact needs an exclusive lock, so it
    // never replaces a file that another run uses. If the file system has no locks, the file is not
    // compacted.
    static_cast<void>(flock(descriptor_, LOCK_SH));
  }
  Load();
  if (descriptor_ >= 0 && lines_ > kCompactLines && lines_ > 2 * entries_.size()) Compact();
}

ResumeStore::~ResumeStore() {
  if (descriptor_ >= 0) close(descriptor_);
}

void ResumeStore::Load() {
  std::ifstream file(path_, std::ios::binary);
  std::string line;
  while (std::getline(file, line)) {
    incomplete_ = file.eof();  // the line does not end with a line feed
    ++lines_;
    std::istringstream fields(line);
    std::string form, check;
    int64_t frame = 0;
    Entry entry;
    fields >> form >> frame >> entry.made_from >> entry.written >> check;
    if (line + "\n" == RecordLine(frame, entry.made_from, entry.written)) {
      entries_[frame] = std::move(entry);
    }
  }
}

// Rewrites the file with the latest valid line of each frame. Does nothing if another run uses it.
void ResumeStore::Compact() {
  if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0) return;
  std::string text;
  for (const auto& [frame, entry] : entries_)
    text += RecordLine(frame, entry.made_from, entry.written);
  VXIO_WriteText(path_, text);
  const int reopened = open(path_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC);
  if (reopened < 0) return;
  close(descriptor_);
  descriptor_ = reopened;
  static_cast<void>(flock(descriptor_, LOCK_SH));
  incomplete_ = false;
}

bool ResumeStore::IsDone(int64_t frame, const std::string& made_from,
                         const std::string& output) const {
  auto found = entries_.find(frame);
  if (found == entries_.end() || found->second.made_from != made_from) return false;
  struct stat status {};
  if (stat(output.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  return FingerprintOfFile(output) == found->second.written;
}

bool ResumeStore::Add(int64_t frame, const std::string& made_from, const std::string& output) {
  std::string line = RecordLine(frame, made_from, FingerprintOfFile(output));
  std::lock_guard lock(mutex_);
  if (incomplete_) line = "\n" + line;
  incomplete_ = !WriteAll(descriptor_, line);
  return !incomplete_;
}

}  // namespace vxcli
