// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The client layer. Each call looks up the engine's procedure of the same name. The addresses are
// not cached in a table, so binding and releasing need no lock.

#include <atomic>

#include "COR_Engine.h"
#include "host/COR.h"

namespace {

constinit std::atomic<COR_AddressProc> bound{nullptr};

// The engine that was bound last. Pools use it, because they may be disposed after the engine was
// released.
constinit std::atomic<COR_AddressProc> latest{nullptr};

template <class Proc>
Proc* Find(COR_AddressProc engine, const char* name) {
  return engine ? reinterpret_cast<Proc*>(engine(name)) : nullptr;
}

// Calls the engine's procedure `name`. The first argument only determines the type of the
// procedure.
template <class... Parameters, class... Arguments>
QCE_Status Call(QCE_Status (*)(Parameters...), const char* name, Arguments&&... arguments) {
  using Proc = QCE_Status(Parameters...);
  Proc* const proc = Find<Proc>(bound, name);
  return proc ? proc(arguments...) : QCE_NotAvailable;
}

}  // namespace

bool COR_BindClient(COR_AddressProc proc) {
  using VersionProc = int32_t();
  VersionProc* const version = Find<VersionProc>(proc, host::kInterfaceVersionName);
  if (!version || version() != host::kInterfaceVersion) return false;
  for (const char* name : host::kEngineNames) {
    if (!proc(name)) return false;
  }
  bound = latest = proc;
  return true;
}

void COR_ReleaseClient() { bound = nullptr; }

QCE_Status COR_QCE_ProfileFromMemory(const void* bytes, size_t size, COR_QCE_ProfilePtr* out) {
  return Call(COR_QCE_ProfileFromMemory, __func__, bytes, size, out);
}

QCE_Status COR_QCE_ProfileFromFile(const char* path, COR_QCE_ProfilePtr* out) {
  return Call(COR_QCE_ProfileFromFile, __func__, path, out);
}

QCE_Status COR_QCE_ProfileFromName(const char* name, COR_QCE_ProfilePtr* out) {
  return Call(COR_QCE_ProfileFromName, __func__, name, out);
}

const char* COR_QCE_BuiltInProfileName(int32_t index) {
  using Proc = const char*(int32_t);
  Proc* const proc = Find<Proc>(bound, __func__);
  return proc ? proc(index) : nullptr;
}

QCE_Status COR_QCE_GetProfileDescription(const COR_QCE_ProfilePtr& profile, std::u16string* out) {
  return Call(COR_QCE_GetProfileDescription, __func__, profile, out);
}

QCE_Status COR_QCE_GetProfileBytes(const COR_QCE_ProfilePtr& profile, std::vector<uint8_t>* out) {
  return Call(COR_QCE_GetProfileBytes, __func__, profile, out);
}

QCE_Status COR_QCE_GetToneExponent(const COR_QCE_ProfilePtr& profile, float* out) {
  return Call(COR_QCE_GetToneExponent, __func__, profile, out);
}

QCE_Status COR_QCE_GetLinearRGBProfile(const COR_QCE_ProfilePtr& profile, COR_QCE_ProfilePtr* out) {
  return Call(COR_QCE_GetLinearRGBProfile, __func__, profile, out);
}

QCE_Status COR_QCE_NewProfilePool(COR_QCE_ProfilePool** out) {
  return Call(COR_QCE_NewProfilePool, __func__, out);
}

void COR_QCE_DisposeProfilePool(COR_QCE_ProfilePool* pool) {
  using Proc = void(COR_QCE_ProfilePool*);
  if (Proc* const proc = Find<Proc>(latest, __func__)) proc(pool);
}

QCE_Status COR_QCE_GetProfileID(COR_QCE_ProfilePool* pool, const COR_QCE_ProfilePtr& profile,
                                _t_QCE_ID* out) {
  return Call(COR_QCE_GetProfileID, __func__, pool, profile, out);
}

QCE_Status COR_QCE_GetProfileByID(COR_QCE_ProfilePool* pool, const _t_QCE_ID& id,
                                  COR_QCE_ProfilePtr* out) {
  return Call(COR_QCE_GetProfileByID, __func__, pool, id, out);
}

QCE_Status COR_QCE_NewTransform(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to,
                                uint32_t format, COR_QCE_TransformPtr* out) {
  return Call(COR_QCE_NewTransform, __func__, from, to, format, out);
}

QCE_Status COR_QCE_Apply(const COR_QCE_TransformPtr& transform, uint32_t src_format,
                         const void* src, uint32_t dst_format, void* dst, int32_t count,
                         const COR_QCE_Options* options) {
  return Call(COR_QCE_Apply, __func__, transform, src_format, src, dst_format, dst, count, options);
}
