// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_OutputFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <set>

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

// --- names of temporary files --------------------------------------------------------------------

std::string FirstLine(const char* path) {
  std::string line;
  std::getline(std::ifstream(path), line);
  return line;
}

// What the name of a temporary file states about the process that made it, so that a later process
// can remove it after a kill -9. Two machines may share the folder, and two containers may have one
// host name and one machine id.
struct Owner {
  std::string host;  // the host name and a hash of the host name and the machine id
  std::string boot;  // changes with each start of the machine; unique among all machines
  bool known_machine;

  // The beginning of the names of all temporary files of this host.
  std::string Prefix() const { return ".vx-" + host + "-"; }
};

const Owner& ThisOwner() {
  static const Owner owner = [] {
    Owner made;
    std::array<char, 256> name = {};
    gethostname(name.data(), name.size() - 1);
    const std::string machine = FirstLine("/etc/machine-id");
    made.known_machine = !machine.empty();
    uint32_t hash = 2166136261u;  // FNV-1a
    for (const char c : std::string(name.data()) + "/" + machine) {
      hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    }
    for (const char c : std::string(name.data()).substr(0, 32)) {
      made.host += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    std::array<char, 12> text = {};
    snprintf(text.data(), text.size(), "_%08x", hash);
    made.host += text.data();
    made.boot = FirstLine("/proc/sys/kernel/random/boot_id").substr(0, 8);
    return made;
  }();
  return owner;
}

// Returns true if the process that made a temporary file of this host has ended. `rest` is the name
// after Owner::Prefix: "BOOT-PID-COUNTER.EXTENSION".
bool HasEnded(const std::string& rest) {
  const Owner& owner = ThisOwner();
  const size_t dash = rest.find('-');
  if (dash == std::string::npos || owner.boot.empty()) return false;
  if (rest.substr(0, dash) != owner.boot) return dash == 8 && owner.known_machine;
  const long process = std::strtol(rest.c_str() + dash + 1, nullptr, 10);
  return process > 0 && kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH;
}

// Removes the temporary files in a folder whose processes have ended. The lock detects processes
// that run in another container and are invisible here.
void RemoveAbandoned(const std::string& folder) {
  static std::mutex mutex;
  static std::set<std::string> done;
  {
    const std::lock_guard lock(mutex);
    if (!done.insert(folder).second) return;
  }
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
  if (!entries) return;
  const std::string prefix = ThisOwner().Prefix();
  while (const dirent* entry = readdir(entries.get())) {
    const std::string name = entry->d_name;
    if (!name.starts_with(prefix) || !HasEnded(name.substr(prefix.size()))) continue;
    const int file =
        openat(dirfd(entries.get()), name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) continue;
    const bool in_use = flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (!in_use) unlinkat(dirfd(entries.get()), name.c_str(), 0);
    close(file);
  }
}

std::string TemporaryName(const std::string& target) {
  size_t slash = target.rfind('/');
  std::string folder = slash == std::string::npos ? "" : target.substr(0, slash + 1);
  std::string name = slash == std::string::npos ? target : target.substr(slash + 1);
  size_t dot = name.rfind('.');
  std::string extension = dot == std::string::npos ? "" : name.substr(dot);
  static std::atomic<uint32_t> counter{std::random_device{}()};
  std::array<char, 48> process = {};
  snprintf(process.data(), process.size(), "-%ld-%08x", static_cast<long>(getpid()), counter++);
  const Owner& owner = ThisOwner();
  return folder + owner.Prefix() + owner.boot + process.data() + extension;
}

}  // namespace

void VXIOp_ThrowOutput(const std::string& path, const std::string& why) {
  throw VXIO_Error(VXIO_ErrorKind::Output, path + ": " + why);
}

void VXIOp_OutputFile::OpenInMemory() {
  lock_ = memfd_create("picture", MFD_CLOEXEC);
  const int descriptor = lock_ < 0 ? -1 : fcntl(lock_, F_DUPFD_CLOEXEC, 0);
  if (descriptor < 0) Throw("cannot be stored in memory", errno);
  temporary_ = "/proc/self/fd/" + std::to_string(lock_);
  stream_ = fdopen(descriptor, "w+b");
}

VXIOp_OutputFile::VXIOp_OutputFile(const std::string& path, VXIOp_Storage storage) : path_(path) {
  if (storage == VXIOp_Storage::Memory) {
    OpenInMemory();
    return;
  }
  target_ = FollowLinks(path);
  RemoveAbandoned(FolderOf(target_));
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
  if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) lock_ = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  struct stat old {};
  if (stat(target_.c_str(), &old) == 0) static_cast<void>(fchmod(descriptor, old.st_mode & 0777));
  stream_ = fdopen(descriptor, "w+b");
}

VXIOp_OutputFile::~VXIOp_OutputFile() {
  if (stream_) fclose(stream_);
  if (lock_ >= 0) close(lock_);
  if (target_.empty()) return;  // in memory
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

std::string VXIOp_OutputFile::Contents() const {
  struct stat status {};
  if (fstat(lock_, &status) != 0) Throw("cannot be read", errno);
  std::string bytes(static_cast<size_t>(status.st_size), '\0');
  for (size_t at = 0; at < bytes.size();) {
    const ssize_t count =
        pread(lock_, bytes.data() + at, bytes.size() - at, static_cast<off_t>(at));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) Throw("cannot be read", count == 0 ? EIO : errno);
    at += static_cast<size_t>(count);
  }
  return bytes;
}

void VXIOp_RequireFormat(const std::string& path) {
  const VXIOp_Format* format = VXIOp_FormatOfName(path);
  if (!format || !format->writes) {
    VXIOp_ThrowOutput(path, "the extension names no format that can be written; use one of " +
                                VXIOp_FormatNames(VXIOp_Use::Write));
  }
}

void VXIO_CheckOutput(const std::string& path, VXIO_Clobber clobber) {
  VXIOp_RequireFormat(path);
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
