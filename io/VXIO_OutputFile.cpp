// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <random>

#include "VXIO_Formats.h"

namespace {

// The names of all existing temporary files. The signal handler removes these files; it must not
// allocate, so the table has a fixed size. Memory pages of unused slots are never touched and cost
// nothing.
constexpr int kSlots = 1024;
struct Slot {
  bool used = false;
  char path[PATH_MAX] = {};
};
Slot g_slots[kSlots];
std::mutex g_slot_mutex;
// Lock of the slots, held while a temporary file is created, renamed or removed. The signal handler
// may run on any thread. It acquires the lock and never releases it, so that no thread can create a
// file after the handler has read the slots.
std::atomic<bool> g_slots_locked{false};

void AcquireSlots() {
  while (g_slots_locked.exchange(true, std::memory_order_acquire)) {
    timespec pause{0, 100'000};
    nanosleep(&pause, nullptr);
  }
}

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

sigset_t HandledSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (int number : kSignals) sigaddset(&set, number);
  return set;
}

extern "C" void RemoveTemporaries(int signal_number) {
  AcquireSlots();
  for (Slot& slot : g_slots) {
    if (slot.used) unlink(slot.path);
  }
  _exit(128 + signal_number);
}

// Locks the slots for this thread. Signals are blocked until the destructor, because a handler on
// this thread would wait forever for the lock.
class SlotLock {
 public:
  SlotLock() {
    const sigset_t set = HandledSignals();
    pthread_sigmask(SIG_BLOCK, &set, &previous_mask_);
    g_slot_mutex.lock();  // so that only one thread and the handler poll in AcquireSlots
    AcquireSlots();
  }
  ~SlotLock() {
    g_slots_locked.store(false, std::memory_order_release);
    g_slot_mutex.unlock();
    pthread_sigmask(SIG_SETMASK, &previous_mask_, nullptr);
  }
  SlotLock(const SlotLock&) = delete;
  SlotLock& operator=(const SlotLock&) = delete;

 private:
  sigset_t previous_mask_;
};

int ClaimSlot(const std::string& path) {
  if (path.size() >= PATH_MAX) return -1;
  for (int i = 0; i < kSlots; ++i) {
    if (g_slots[i].used) continue;
    std::memcpy(g_slots[i].path, path.c_str(), path.size() + 1);
    g_slots[i].used = true;
    return i;
  }
  return -1;
}

std::string FolderOf(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string FollowLinks(const std::string& path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) ? resolved : path;
}

const char* Remedy(int error_number) {
  switch (error_number) {
    case ENOSPC:
    case EDQUOT: return "; free some space or write elsewhere";
    case EFBIG: return "; raise the limit on file sizes or write elsewhere";
    case EACCES:
    case EPERM:
    case EROFS: return "; choose a folder that you may write to";
    case ENOENT: return "; create the folder first";
    default: return "";
  }
}

std::string TemporaryName(const std::string& target) {
  size_t slash = target.rfind('/');
  std::string folder = slash == std::string::npos ? "" : target.substr(0, slash + 1);
  std::string name = slash == std::string::npos ? target : target.substr(slash + 1);
  size_t dot = name.rfind('.');
  std::string extension = dot == std::string::npos ? "" : name.substr(dot);
  static std::atomic<uint32_t> counter{std::random_device{}()};
  char middle[48];
  snprintf(middle, sizeof middle, ".vx-%ld-%08x", static_cast<long>(getpid()), counter++);
  return folder + middle + extension;
}

}  // namespace

void VXIOp_ThrowOutput(const std::string& path, const std::string& why) {
  throw VXIO_Error(VXIO_ErrorKind::Output, path + ": " + why);
}

VXIOp_OutputFile::VXIOp_OutputFile(const std::string& path)
    : path_(path), target_(FollowLinks(path)) {
  int descriptor = -1;
  int error_number = 0;
  for (int attempt = 0; attempt < 100 && descriptor < 0; ++attempt) {
    temporary_ = TemporaryName(target_);
    SlotLock lock;
    descriptor = open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    error_number = errno;
    if (descriptor >= 0) {
      slot_ = ClaimSlot(temporary_);
    } else if (error_number != EEXIST) {
      break;
    }
  }
  if (descriptor < 0) Throw("cannot be written", error_number);
  struct stat old {};
  if (stat(target_.c_str(), &old) == 0) static_cast<void>(fchmod(descriptor, old.st_mode & 0777));
  stream_ = fdopen(descriptor, "w+b");
}

VXIOp_OutputFile::~VXIOp_OutputFile() {
  if (stream_) fclose(stream_);
  SlotLock lock;
  if (!temporary_.empty()) unlink(temporary_.c_str());
  if (slot_ >= 0) g_slots[slot_].used = false;
}

void VXIOp_OutputFile::Throw(const std::string& what, int error_number) const {
  VXIOp_ThrowOutput(path_, what + ": " + strerror(error_number) + Remedy(error_number));
}

void VXIOp_OutputFile::Finish() {
  errno = 0;
  bool ok = fflush(stream_) == 0 && !ferror(stream_);
  int error_number = errno;
  ok = ok && fsync(fileno(stream_)) == 0;
  if (error_number == 0) error_number = errno ? errno : EIO;
  if (fclose(stream_) != 0) ok = false;
  stream_ = nullptr;
  if (!ok) Throw("cannot be written", error_number);
}

// Renames the temporary file. Returns 0, or -1 with errno set.
int VXIOp_OutputFile::Rename(VXIO_Clobber clobber) {
  SlotLock lock;
  int result = -1;
  if (clobber == VXIO_Clobber::Refuse) {
    result = renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE);
    if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {
      // The file system does not support renameat2. link() fails if the target exists.
      result = link(temporary_.c_str(), target_.c_str());
      if (result == 0) unlink(temporary_.c_str());
    }
  } else {
    result = rename(temporary_.c_str(), target_.c_str());
  }
  if (result == 0) temporary_.clear();
  return result;
}

void VXIOp_OutputFile::Commit(VXIO_Clobber clobber) {
  if (Rename(clobber) != 0) {
    if (clobber == VXIO_Clobber::Refuse && errno == EEXIST) {
      VXIOp_ThrowOutput(path_, "exists and may not be overwritten");
    }
    Throw("cannot be put in place", errno);
  }
  // Flush the folder too, so that the new name is on disk. File systems without support for this
  // are not an error.
  int folder = open(FolderOf(target_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder >= 0) {
    static_cast<void>(fsync(folder));
    close(folder);
  }
}

void VXIO_CheckOutput(const std::string& path, VXIO_Clobber clobber) {
  if (!VXIOp_FormatOfName(path)) {
    VXIOp_ThrowOutput(path, "the extension names no format that can be written; use one of " +
                                VXIOp_FormatNames());
  }
  VXIO_CheckFile(path, clobber);
}

void VXIO_CheckFile(const std::string& path, VXIO_Clobber clobber) {
  std::string target = FollowLinks(path);
  struct stat status {};
  std::string folder = FolderOf(target);
  if (stat(folder.c_str(), &status) != 0) {
    VXIOp_ThrowOutput(
        path, "the folder " + folder + " cannot be used: " + strerror(errno) + Remedy(errno));
  }
  if (!S_ISDIR(status.st_mode)) VXIOp_ThrowOutput(path, folder + " is not a folder");
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    VXIOp_ThrowOutput(
        path, "the folder " + folder + " cannot be written to: " + strerror(errno) + Remedy(errno));
  }
  if (lstat(target.c_str(), &status) != 0) return;
  if (clobber == VXIO_Clobber::Refuse) {
    VXIOp_ThrowOutput(path, "exists and may not be overwritten; choose another name or allow it");
  }
  if (S_ISDIR(status.st_mode)) VXIOp_ThrowOutput(path, "is a folder; name a file in it");
  if (!S_ISREG(status.st_mode)) {
    VXIOp_ThrowOutput(path, "is not a regular file and cannot be replaced");
  }
}

void VXIO_WriteText(const std::string& path, const std::string& text) {
  VXIO_CheckFile(path, VXIO_Clobber::Overwrite);
  VXIOp_OutputFile file(path);
  static_cast<void>(fwrite(text.data(), 1, text.size(), file.stream()));  // Finish checks
  file.Finish();
  file.Commit(VXIO_Clobber::Overwrite);
}

void VXIO_RemoveTemporariesOnSignals() {
  struct sigaction action {};
  action.sa_handler = RemoveTemporaries;
  // Other signals are blocked in the handler, because it never releases the lock of the slots.
  action.sa_mask = HandledSignals();
  for (int number : kSignals) {
    // Signals that are ignored at the start (nohup) remain ignored.
    struct sigaction before {};
    sigaction(number, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
  // SIGXFSZ is ignored, so that writing beyond a limit of the file size fails with an error, like
  // writing to a full disk.
  signal(SIGXFSZ, SIG_IGN);
}
