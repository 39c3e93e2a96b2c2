// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The colour engine of the double. Its profiles are pure powers: the bytes are the text
// "power EXPONENT DESCRIPTION", and a transform raises to the exponent of one profile and takes the
// root of the other. Profiles, pools and transforms are counted as objects.

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "State.h"
#include "host/COR.h"

using hostdouble::Enter;
using hostdouble::TheState;

class COR_QCE_Profile {
 public:
  std::string bytes, description;
  double exponent;
};

class COR_QCE_ProfilePool {
 public:
  std::mutex mutex;
  std::vector<std::pair<_t_QCE_ID, COR_QCE_ProfilePtr>> met;
};

class COR_QCE_Transform {
 public:
  double from, to;
  uint32_t format;
};

namespace {

template <class Object>
Object* New(const char* label) {
  void* block =
      hostdouble::Allocate(HostDouble::Allocation::kObject, 0, label, uint64_t{sizeof(Object)});
  return block ? new (block) Object() : nullptr;
}

template <class Object>
void Delete(Object* object) {
  if (!object) return;
  object->~Object();
  hostdouble::Free(object);
}

// The call's own failure, or that there is no client. Gives 0 when the call may go on.
QCE_Status EnterBound(const char* name, std::initializer_list<int64_t> args,
                      const char* text = nullptr) {
  if (const U_Err error = Enter(name, args, text)) return error;
  const std::lock_guard lock(TheState().mutex);
  return TheState().client_bound ? QCE_Ok : QCE_NotAvailable;
}

QCE_Status MakeProfile(const std::string& bytes, COR_QCE_ProfilePtr* out) {
  double exponent = 0;
  int begin = 0;
  if (std::sscanf(bytes.c_str(), "power %lf %n", &exponent, &begin) != 1 || begin == 0 ||
      !(exponent > 0)) {
    return QCE_Damaged;
  }
  COR_QCE_Profile* profile = New<COR_QCE_Profile>("COR_QCE_Profile");
  if (!profile) return QCE_OutOfMemory;
  COR_QCE_ProfilePtr owner(profile, Delete<COR_QCE_Profile>);
  profile->bytes = bytes;
  profile->description = bytes.substr(size_t(begin));
  profile->exponent = exponent;
  *out = owner;
  return QCE_Ok;
}

// A made-up digest, never the null ID.
_t_QCE_ID IdOf(const COR_QCE_Profile& profile) {
  _t_QCE_ID id{{1, 2, 3, 4}};
  for (const char byte : profile.bytes) {
    for (uint32_t& word : id.words) word = (word ^ uint8_t(byte)) * 16777619u;
  }
  id.words[3] |= 1;
  return id;
}

struct BuiltIn {
  const char* name;
  double exponent;
};
constexpr BuiltIn kBuiltIns[] = {{"sRGB", 2.2},       {"gamma 1.0", 1.0}, {"gamma 1.8", 1.8},
                                 {"gamma 2.2", 2.2},  {"gamma 2.4", 2.4}, {"Rec.709", 2.0},
                                 {"Display P3", 2.2}, {"ProPhoto", 1.8}};

template <class Channel>
void ApplyRow(const COR_QCE_Transform& transform, double white, const Channel* src, Channel* dst,
              int32_t count, bool copy_alpha) {
  for (int32_t i = 0; i < 4 * count; ++i) {
    if (i % 4 == 0) {
      if (copy_alpha) dst[i] = src[i];
      continue;
    }
    double value = src[i] / white;
    value = std::copysign(std::pow(std::fabs(value), transform.from / transform.to), value);
    if constexpr (std::is_integral_v<Channel>) {
      dst[i] = Channel(std::lround(std::min(value, 1.0) * white));
    } else {
      dst[i] = Channel(value);
    }
  }
}

}  // namespace

// ---- The engine ---------------------------------------------------------------------------------

U_Err COR_GetQIBAddressProc(COR_AddressProc* out) {
  if (const U_Err error = Enter("COR_GetQIBAddressProc", {})) return error;
  *out = [](const char*) -> void* { return nullptr; };
  return 0;
}

bool COR_BindClient(COR_AddressProc proc) {
  const U_Err error = Enter("COR_BindClient", {proc != nullptr});
  const std::lock_guard lock(TheState().mutex);
  TheState().client_bound = proc && error == 0;
  return TheState().client_bound;
}

void COR_ReleaseClient() {
  Enter("COR_ReleaseClient", {});
  const std::lock_guard lock(TheState().mutex);
  TheState().client_bound = false;
}

// ---- Profiles -----------------------------------------------------------------------------------

QCE_Status COR_QCE_ProfileFromMemory(const void* bytes, size_t size, COR_QCE_ProfilePtr* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_ProfileFromMemory", {int64_t(size)})) {
    return status;
  }
  if (!bytes || !out) return QCE_BadArgument;
  return MakeProfile({static_cast<const char*>(bytes), size}, out);
}

QCE_Status COR_QCE_ProfileFromFile(const char* path, COR_QCE_ProfilePtr* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_ProfileFromFile", {}, path)) return status;
  if (!path || !out) return QCE_BadArgument;
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  return file.is_open() ? MakeProfile(bytes, out) : QCE_CannotRead;
}

QCE_Status COR_QCE_ProfileFromName(const char* name, COR_QCE_ProfilePtr* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_ProfileFromName", {}, name)) return status;
  if (!name || !out) return QCE_BadArgument;
  for (const BuiltIn& built_in : kBuiltIns) {
    if (strcasecmp(name, built_in.name) != 0) continue;
    return MakeProfile("power " + std::to_string(built_in.exponent) + " " + built_in.name, out);
  }
  return QCE_UnknownName;
}

const char* COR_QCE_BuiltInProfileName(int32_t index) {
  if (EnterBound("COR_QCE_BuiltInProfileName", {index})) return nullptr;
  return index >= 0 && index < int32_t(std::size(kBuiltIns)) ? kBuiltIns[index].name : nullptr;
}

QCE_Status COR_QCE_GetProfileDescription(const COR_QCE_ProfilePtr& profile, std::u16string* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_GetProfileDescription", {})) return status;
  if (!profile || !out) return QCE_BadArgument;
  out->assign(profile->description.begin(), profile->description.end());
  return QCE_Ok;
}

QCE_Status COR_QCE_GetProfileBytes(const COR_QCE_ProfilePtr& profile, std::vector<uint8_t>* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_GetProfileBytes", {})) return status;
  if (!profile || !out) return QCE_BadArgument;
  out->assign(profile->bytes.begin(), profile->bytes.end());
  return QCE_Ok;
}

QCE_Status COR_QCE_GetToneExponent(const COR_QCE_ProfilePtr& profile, float* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_GetToneExponent", {profile != nullptr})) {
    return status;
  }
  if (!out) return QCE_BadArgument;
  *out = float(profile ? profile->exponent : kBuiltIns[0].exponent);
  return QCE_Ok;
}

QCE_Status COR_QCE_GetLinearRGBProfile(const COR_QCE_ProfilePtr& profile, COR_QCE_ProfilePtr* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_GetLinearRGBProfile", {})) return status;
  if (!profile || !out) return QCE_BadArgument;
  if (profile->exponent != 1) return MakeProfile("power 1 linear " + profile->description, out);
  *out = profile;
  return QCE_Ok;
}

// ---- Pools --------------------------------------------------------------------------------------

QCE_Status COR_QCE_NewProfilePool(COR_QCE_ProfilePool** out) {
  if (const QCE_Status status = EnterBound("COR_QCE_NewProfilePool", {})) return status;
  if (!out) return QCE_BadArgument;
  COR_QCE_ProfilePool* pool = New<COR_QCE_ProfilePool>("COR_QCE_ProfilePool");
  if (!pool) return QCE_OutOfMemory;
  *out = pool;
  return QCE_Ok;
}

void COR_QCE_DisposeProfilePool(COR_QCE_ProfilePool* pool) {
  Enter("COR_QCE_DisposeProfilePool", {pool != nullptr});
  Delete(pool);
}

QCE_Status COR_QCE_GetProfileID(COR_QCE_ProfilePool* pool, const COR_QCE_ProfilePtr& profile,
                                _t_QCE_ID* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_GetProfileID", {pool != nullptr})) {
    return status;
  }
  if (!profile || !out) return QCE_BadArgument;
  *out = IdOf(*profile);
  if (!pool) return QCE_Ok;
  const std::lock_guard lock(pool->mutex);
  for (const auto& [id, known] : pool->met) {
    if (id == *out) return QCE_Ok;
  }
  pool->met.emplace_back(*out, profile);
  return QCE_Ok;
}

QCE_Status COR_QCE_GetProfileByID(COR_QCE_ProfilePool* pool, const _t_QCE_ID& id,
                                  COR_QCE_ProfilePtr* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_GetProfileByID", {id.words[0]})) {
    return status;
  }
  if (!pool || !out) return QCE_BadArgument;
  const std::lock_guard lock(pool->mutex);
  for (const auto& [known, profile] : pool->met) {
    if (!(known == id)) continue;
    *out = profile;
    return QCE_Ok;
  }
  return QCE_UnknownID;
}

// ---- Transforms ---------------------------------------------------------------------------------

QCE_Status COR_QCE_NewTransform(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to,
                                uint32_t format, COR_QCE_TransformPtr* out) {
  if (const QCE_Status status = EnterBound("COR_QCE_NewTransform", {format})) return status;
  if (!from || !to || !out ||
      (format != QCE_Format_Argb8 && format != QCE_Format_Argb16 &&
       format != QCE_Format_ArgbFloat)) {
    return QCE_BadArgument;
  }
  COR_QCE_Transform* transform = New<COR_QCE_Transform>("COR_QCE_Transform");
  if (!transform) return QCE_OutOfMemory;
  *transform = {from->exponent, to->exponent, format};
  *out = COR_QCE_TransformPtr(transform, Delete<COR_QCE_Transform>);
  return QCE_Ok;
}

QCE_Status COR_QCE_Apply(const COR_QCE_TransformPtr& transform, uint32_t src_format,
                         const void* src, uint32_t dst_format, void* dst, int32_t count,
                         const COR_QCE_Options* options) {
  if (const QCE_Status status = EnterBound(
          "COR_QCE_Apply", {src_format, dst_format, count, options ? options->count : 0,
                            options ? options->code : 0, options ? options->value : 0})) {
    return status;
  }
  if (!transform || count < 0 || !src || !dst || src_format != transform->format ||
      dst_format != transform->format ||
      (options && (options->count != 1 || options->code != QCE_Option_KeepAlpha))) {
    return QCE_BadArgument;
  }
  const bool copy_alpha = !options || options->value != 0;
  const auto apply = [&]<class Channel>(double white, Channel) {
    ApplyRow(*transform, white, static_cast<const Channel*>(src), static_cast<Channel*>(dst), count,
             copy_alpha);
  };
  if (src_format == QCE_Format_Argb8) apply(255, uint8_t{});
  if (src_format == QCE_Format_Argb16) apply(32768, uint16_t{});
  if (src_format == QCE_Format_ArgbFloat) apply(1, float{});
  return QCE_Ok;
}
