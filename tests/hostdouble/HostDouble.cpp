// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "HostDouble.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

#include "host/BM.h"
#include "host/COR.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/PLUG.h"
#include "host/RND.h"
#include "host/RZFX.h"
#include "host/STR.h"

namespace {

constinit HostDouble* current = nullptr;

constexpr uint64_t kBlockHeader = 16;  // the embedded host adds it to each block, not to frames

template <class Argument>
void Note(HostDouble::Call& call, const Argument& argument) {
  if constexpr (std::is_integral_v<Argument>) {
    call.args.push_back(argument);
  } else if constexpr (std::is_same_v<Argument, const uint32_t*>) {  // the two codes of a scan
    call.args.insert(call.args.end(), {argument[0], argument[1]});
  } else if constexpr (std::is_same_v<Argument, const char*>) {
    call.text = argument;
  }
}

template <class... Arguments>
U_Err Enter(const char* name, const Arguments&... arguments) {
  if (current == nullptr) return 0;
  HostDouble::Call call{name, {}, {}};
  (Note(call, arguments), ...);
  return current->Enter(std::move(call));
}

}  // namespace

// ---- The recorder -------------------------------------------------------------------------------

HostDouble::HostDouble() : before_(VXHost_GetMemory()) {
  if (current != nullptr) {
    std::fputs("HostDouble: a second object while one is alive\n", stderr);
    std::abort();
  }
  current = this;
  VXHost_TakeReports();
  VXHost_ResetProcessor();
  const auto release = [](void* block, void*) { std::free(block); };
  const VXHost_Allocator blocks = {[](size_t size, void* self) {
                                     return static_cast<HostDouble*>(self)->Allocate(size,
                                                                                     kBlockHeader);
                                   },
                                   release, this};
  const VXHost_Allocator frames = {
      [](size_t size, void* self) { return static_cast<HostDouble*>(self)->Allocate(size, 0); },
      release, this};
  VXHost_SetAllocator(&blocks);
  VXHost_SetFrameAllocator(&frames);
  VXHost_SetLogSink(
      [](int32_t level, const char* component, const char* event, const char* text, void* self) {
        static_cast<HostDouble*>(self)->log.push_back({level, component, event, text});
      },
      this);
}

// The default allocators use malloc and free too, so blocks may outlive the object.
HostDouble::~HostDouble() {
  VXHost_SetAllocator(nullptr);
  VXHost_SetFrameAllocator(nullptr);
  VXHost_SetLogSink(nullptr, nullptr);
  VXHost_ResetProcessor();
  current = nullptr;
}

void* HostDouble::Allocate(uint64_t size, uint64_t header) {
  const int64_t number = AllocationCount() + 1;
  const bool fails = number == fail_at_ || (fail_at_ > 0 && fail_later_ && number > fail_at_);
  void* const block = fails ? nullptr : std::malloc(size);
  if (block != nullptr) std::memset(block, 0xA5, size);
  allocations.push_back({size - header, block == nullptr});
  return block;
}

void HostDouble::FailAllocation(int nth, bool and_later) {
  fail_at_ = nth > 0 ? AllocationCount() + nth : 0;
  fail_later_ = and_later;
}

int64_t HostDouble::Leaked() const {
  const VXHost_Memory now = VXHost_GetMemory();
  return now.frames + now.blocks - before_.frames - before_.blocks;
}

int64_t HostDouble::Accounted() const { return VXHost_GetMemory().accounted - before_.accounted; }

int32_t HostDouble::Enter(Call call) {
  const auto found = failures_.find(call.name);
  calls.push_back(std::move(call));
  if (found == failures_.end()) return 0;
  const auto [code, thrown] = found->second;
  if (thrown && code == 0) throw std::bad_alloc();
  if (thrown) throw int32_t{code};
  return code;
}

std::vector<HostDouble::Call> HostDouble::CallsTo(const std::string& name) const {
  std::vector<Call> found = calls;
  std::erase_if(found, [&](const Call& call) { return call.name != name; });
  return found;
}

std::vector<std::string> HostDouble::CallNames() const {
  std::vector<std::string> names;
  for (const Call& call : calls) names.push_back(call.name);
  return names;
}

// ---- Services -----------------------------------------------------------------------------------

#define WRAP(name, parameters, ...)                              \
  extern decltype(name) Real_##name;                             \
  U_Err name parameters {                                        \
    const U_Err error = Enter(#name __VA_OPT__(, ) __VA_ARGS__); \
    return error != 0 ? error : Real_##name(__VA_ARGS__);        \
  }
// A service that frees something frees it also when it fails.
#define WRAP_RELEASE(name, parameters, ...)                      \
  extern decltype(name) Real_##name;                             \
  U_Err name parameters {                                        \
    const U_Err error = Enter(#name __VA_OPT__(, ) __VA_ARGS__); \
    const U_Err real = Real_##name(__VA_ARGS__);                 \
    return error != 0 ? error : real;                            \
  }

WRAP(U_CheckVersions, (uint32_t code, int32_t wanted), code, wanted)
WRAP(STR_CheckVersions, (uint32_t code, int32_t wanted), code, wanted)
WRAP(BM_CheckVersions, (uint32_t code, int32_t wanted), code, wanted)
WRAP(M_CheckVersions, (uint32_t code, int32_t wanted), code, wanted)
WRAP(FILE_CheckVersions, (uint32_t code, int32_t wanted), code, wanted)
WRAP(LIST_CheckVersions, (uint32_t code, int32_t wanted), code, wanted)
WRAP(RZFX_CheckVersions, (uint32_t code, int32_t wanted), code, wanted)
WRAP(PLUG_CheckVersions, (uint32_t code, int32_t wanted), code, wanted)
WRAP(M_PrepareFCMD, (int32_t a, int32_t b, int32_t c, uint8_t** mul, uint8_t** div), a, b, c, mul,
     div)
WRAP_RELEASE(M_UnprepareFCMD, ())
WRAP(RND_GetPrimeSizedTable, (uint32_t * *table, int32_t* size), table, size)
WRAP(LIST_New, (int32_t kind, int32_t size, int32_t initial, int32_t growth, LIST_List** out), kind,
     size, initial, growth, out)
WRAP_RELEASE(LIST_Dispose, (LIST_List * list), list)
WRAP(FILE_AddExtensionMap, (const char* extension, uint32_t type, int32_t a), extension, type, a)
WRAP(PLUG_InstallScan,
     (int32_t a, int32_t count, const uint32_t* codes, PLUG_FileProc file, PLUG_FinishProc finish,
      void* context),
     a, count, codes, file, finish, context)
WRAP(LIST_Insert, (LIST_List * list, int32_t index, const void* entry), list, index, entry)
WRAP(PLUG_RegisterRoutine, (PLUG_File * file, int32_t index, PLUG_Routine** out), file, index, out)
WRAP_RELEASE(PLUG_UnregisterRoutine, (PLUG_Routine * routine), routine)
WRAP(PLUG_PrepRoutine, (PLUG_Routine * routine, PLUG_EntryProc* entry), routine, entry)
WRAP_RELEASE(PLUG_UnprepRoutine, (PLUG_Routine * routine), routine)
WRAP(PLUG_AddSPSuite,
     (int32_t a, int32_t b, const char* name, int32_t version, int32_t again, int32_t members,
      const void* table),
     a, b, name, version, again, members, table)
WRAP(BM_LoadLockPixels, (int32_t a, BM_World** world, int32_t b, int32_t c), a, world, b, c)
WRAP(U_PurgeLoop, (int64_t size, int32_t flags, U_PurgeProc callback, void* context), size, flags,
     callback, context)

extern decltype(BM_FreeFrame) Real_BM_FreeFrame;
void BM_FreeFrame(void* frame, uint64_t size) {
  Enter("BM_FreeFrame", size);
  Real_BM_FreeFrame(frame, size);
}

extern decltype(BM_NewWorld) Real_BM_NewWorld;
U_Err BM_NewWorld(int32_t a, int32_t b, const M_Rect& area, int32_t bits, int32_t c, int32_t d,
                  BM_World*** out) {
  if (const U_Err error = Enter("BM_NewWorld", a, b, bits, c, d)) return error;
  const U_Err error = Real_BM_NewWorld(a, b, area, bits, c, d, out);
  if (error == 0 && current != nullptr && current->hide_bitmap_base) (**out)->base = nullptr;
  return error;
}

// ---- The colour engine: the client looks up a procedure for each call ---------------------------

namespace {

constinit COR_AddressProc real_engine = nullptr;
constinit bool binding = false;  // the client only checks that all procedures exist
constinit QCE_Status engine_failure = 0;

template <class... Parameters>
void* FailingForm(QCE_Status (*)(Parameters...)) {
  return reinterpret_cast<void*>(
      static_cast<QCE_Status (*)(Parameters...)>([](Parameters...) { return engine_failure; }));
}

void* FailingProcedure(const std::string& name) {
  static const std::map<std::string, void*> forms = {
#define FORM(name) {#name, FailingForm(&name)}
      FORM(COR_QCE_ProfileFromName),
      FORM(COR_QCE_GetProfileDescription),
      FORM(COR_QCE_GetToneExponent),
      FORM(COR_QCE_GetLinearRGBProfile),
      FORM(COR_QCE_NewProfilePool),
      FORM(COR_QCE_GetProfileID),
      FORM(COR_QCE_GetProfileByID),
      FORM(COR_QCE_NewTransform),
      FORM(COR_QCE_Apply)};
#undef FORM
  return forms.at(name);
}

void* RecordedEngine(const char* name) {
  void* const found = real_engine(name);
  if (binding || found == nullptr) return found;
  engine_failure = Enter(name);
  return engine_failure != 0 ? FailingProcedure(name) : found;
}

}  // namespace

extern decltype(COR_GetQIBAddressProc) Real_COR_GetQIBAddressProc;
U_Err COR_GetQIBAddressProc(COR_AddressProc* out) {
  if (const U_Err error = Enter("COR_GetQIBAddressProc")) return error;
  const U_Err error = Real_COR_GetQIBAddressProc(&real_engine);
  *out = RecordedEngine;
  return error;
}

extern decltype(COR_BindClient) Real_COR_BindClient;
bool COR_BindClient(COR_AddressProc proc) {
  if (Enter("COR_BindClient") != 0) return false;
  binding = true;
  const bool bound = Real_COR_BindClient(proc);
  binding = false;
  if (current != nullptr) current->client_bound = bound;
  return bound;
}

extern decltype(COR_ReleaseClient) Real_COR_ReleaseClient;
void COR_ReleaseClient() {
  Enter("COR_ReleaseClient");
  Real_COR_ReleaseClient();
  if (current != nullptr) current->client_bound = false;
}
