// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The engine's procedures: check arguments and convert failures to statuses.

#include "COR_Engine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/make_shared.hpp>
#include <cstring>

#include "COR_Pool.h"
#include "COR_Profile.h"
#include "COR_Transform.h"

using host::Guarded;
using host::Require;

namespace {

COR_QCE_ProfilePtr MakeProfile(const std::vector<uint8_t>& bytes) {
  return boost::make_shared<COR_QCE_Profile>(bytes.data(), bytes.size());
}

class File {
 public:
  // O_NONBLOCK is set, so that opening a pipe does not wait for a writer.
  explicit File(const char* path) : descriptor_(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  // Throws QCE_CannotRead or QCE_TooLarge.
  std::vector<uint8_t> ReadAll() const {
    struct stat status;
    Require(descriptor_ >= 0 && fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode),
            QCE_CannotRead);
    Require(static_cast<uint64_t>(status.st_size) <= COR_QCE_MaxProfileBytes, QCE_TooLarge);
    std::vector<uint8_t> bytes(static_cast<size_t>(status.st_size));
    size_t done = 0;
    while (done < bytes.size()) {
      const ssize_t got = read(descriptor_, bytes.data() + done, bytes.size() - done);
      Require(got >= 0, QCE_CannotRead);
      if (got == 0) break;  // another process has truncated the file meanwhile
      done += static_cast<size_t>(got);
    }
    bytes.resize(done);
    return bytes;
  }

 private:
  int descriptor_;
};

// ---- Procedures ---------------------------------------------------------------------------------

int32_t InterfaceVersion() { return host::kInterfaceVersion; }

QCE_Status ProfileFromMemory(const void* bytes, size_t size, COR_QCE_ProfilePtr* out) {
  return Guarded([&] {
    Require(bytes && out);
    *out = boost::make_shared<COR_QCE_Profile>(static_cast<const uint8_t*>(bytes), size);
  });
}

QCE_Status ProfileFromFile(const char* path, COR_QCE_ProfilePtr* out) {
  return Guarded([&] {
    Require(path && out);
    *out = MakeProfile(File(path).ReadAll());
  });
}

QCE_Status ProfileFromName(const char* name, COR_QCE_ProfilePtr* out) {
  return Guarded([&] {
    Require(name && out);
    *out = MakeProfile(host::MakeBuiltInProfile(name));
  });
}

QCE_Status GetProfileDescription(const COR_QCE_ProfilePtr& profile, std::u16string* out) {
  return Guarded([&] {
    Require(profile && out);
    *out = profile->description();
  });
}

QCE_Status GetProfileBytes(const COR_QCE_ProfilePtr& profile, std::vector<uint8_t>* out) {
  return Guarded([&] {
    Require(profile && out);
    *out = profile->bytes();
  });
}

QCE_Status GetToneExponent(const COR_QCE_ProfilePtr& profile, float* out) {
  return Guarded([&] {
    Require(out);
    const COR_QCE_ProfilePtr asked =
        profile ? profile : MakeProfile(host::MakeBuiltInProfile("sRGB"));
    *out = static_cast<float>(asked->curve(1).Exponent());
  });
}

QCE_Status GetLinearRGBProfile(const COR_QCE_ProfilePtr& profile, COR_QCE_ProfilePtr* out) {
  return Guarded([&] {
    Require(profile && out);
    *out = profile->IsLinear() ? profile : MakeProfile(host::MakeLinearProfile(*profile));
  });
}

QCE_Status NewProfilePool(COR_QCE_ProfilePool** out) {
  return Guarded([&] {
    Require(out);
    *out = new COR_QCE_ProfilePool;
  });
}

void DisposeProfilePool(COR_QCE_ProfilePool* pool) { delete pool; }

QCE_Status GetProfileID(COR_QCE_ProfilePool* pool, const COR_QCE_ProfilePtr& profile,
                        _t_QCE_ID* out) {
  return Guarded([&] {
    Require(profile && out);
    const _t_QCE_ID id = profile->Id();
    if (pool) pool->Add(id, profile);
    *out = id;
  });
}

QCE_Status GetProfileByID(COR_QCE_ProfilePool* pool, const _t_QCE_ID& id, COR_QCE_ProfilePtr* out) {
  return Guarded([&] {
    Require(pool && out);
    const COR_QCE_ProfilePtr found = pool->Find(id);
    Require(found != nullptr, QCE_UnknownID);
    *out = found;
  });
}

QCE_Status NewTransform(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to,
                        uint32_t format, COR_QCE_TransformPtr* out) {
  return Guarded([&] {
    Require(from && to && out);
    Require(format == QCE_Format_Argb8 || format == QCE_Format_Argb16 ||
            format == QCE_Format_ArgbFloat);
    *out = boost::make_shared<COR_QCE_Transform>(from, to, format);
  });
}

QCE_Status Apply(const COR_QCE_TransformPtr& transform, uint32_t src_format, const void* src,
                 uint32_t dst_format, void* dst, int32_t count, const COR_QCE_Options* options) {
  return Guarded([&] {
    Require(transform && src && dst && count >= 0);
    Require(src_format == transform->format() && dst_format == transform->format());
    Require(!options || (options->count == 1 && options->code == QCE_Option_KeepAlpha));
    transform->Apply(src, dst, count, /*copy_alpha=*/!options || options->value != 0);
  });
}

// ---- Addresses ----------------------------------------------------------------------------------

struct Entry {
  const char* name;
  void* address;
};

// Returns the table entry of a procedure. `call` only checks the type of the procedure.
template <class Proc>
Entry EntryOf(Proc* /*call*/, const char* name, Proc* procedure) {
  return {name, reinterpret_cast<void*>(procedure)};
}

void* EngineAddress(const char* name) {
  static const Entry entries[] = {
      {host::kInterfaceVersionName, reinterpret_cast<void*>(InterfaceVersion)},
      EntryOf(COR_QCE_ProfileFromMemory, "COR_QCE_ProfileFromMemory", ProfileFromMemory),
      EntryOf(COR_QCE_ProfileFromFile, "COR_QCE_ProfileFromFile", ProfileFromFile),
      EntryOf(COR_QCE_ProfileFromName, "COR_QCE_ProfileFromName", ProfileFromName),
      EntryOf(COR_QCE_BuiltInProfileName, "COR_QCE_BuiltInProfileName", host::BuiltInProfileName),
      EntryOf(COR_QCE_GetProfileDescription, "COR_QCE_GetProfileDescription",
              GetProfileDescription),
      EntryOf(COR_QCE_GetProfileBytes, "COR_QCE_GetProfileBytes", GetProfileBytes),
      EntryOf(COR_QCE_GetToneExponent, "COR_QCE_GetToneExponent", GetToneExponent),
      EntryOf(COR_QCE_GetLinearRGBProfile, "COR_QCE_GetLinearRGBProfile", GetLinearRGBProfile),
      EntryOf(COR_QCE_NewProfilePool, "COR_QCE_NewProfilePool", NewProfilePool),
      EntryOf(COR_QCE_DisposeProfilePool, "COR_QCE_DisposeProfilePool", DisposeProfilePool),
      EntryOf(COR_QCE_GetProfileID, "COR_QCE_GetProfileID", GetProfileID),
      EntryOf(COR_QCE_GetProfileByID, "COR_QCE_GetProfileByID", GetProfileByID),
      EntryOf(COR_QCE_NewTransform, "COR_QCE_NewTransform", NewTransform),
      EntryOf(COR_QCE_Apply, "COR_QCE_Apply", Apply),
  };
  for (const Entry& entry : entries) {
    if (name && std::strcmp(name, entry.name) == 0) return entry.address;
  }
  return nullptr;
}

}  // namespace

U_Err COR_GetQIBAddressProc(COR_AddressProc* out) {
  if (!out) return 3;
  *out = EngineAddress;
  return 0;
}
