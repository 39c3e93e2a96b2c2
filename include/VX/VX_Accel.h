// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Acceleration modules: shared objects that replace routines of the override table.
//
// This header is all that a module includes. It is compiled and linked like this, and needs none of
// VX's libraries:
//
//   c++ -std=c++20 -O3 -shared -fPIC -Wl,-z,defs -o fast.RZX fast.cpp
//
// A module defines an entry point and describes it:
//
//   VX_Err MyEntry(int32_t selector, int32_t*, void* block, const uint16_t*) {
//     if (selector == VX_ModuleSelector_Load) {
//       auto* vx = static_cast<VX_ModuleBlock*>(block);
//       vx->slots->VX_PremulRect_S = MyPremul;
//     }
//     return VX_Ok;
//   }
//   VX_MODULE("fast premultiplication", MyEntry)
//
// The host scans folders for files named *.RZX when the application starts the scan, after birth
// and before any operation. It never scans the working folder. A module is trusted like the program
// that loads it, so the host refuses a file that every user may write.
//
//   load     The entry is called with VX_ModuleSelector_Load, the address of a command word that
//            contains 2, the block, and the address of the version pair. It may store routines in
//            `slots` and keep the block's pointers. If it returns an error or throws, the library
//            restores the whole table, and the routine is not loaded.
//   unload   VX_Death calls the entry with VX_ModuleSelector_Unload and three zeros, and then
//            restores the built-in routines. The code of the module stays in memory until the
//            process ends.
//
// All calls are made on the thread that scans or calls VX_Death. The routines themselves are called
// on any thread, and several at once. If two modules replace the same slot, the one that is loaded
// later has it: files are loaded in the order of the folders and of their names.
//
// A routine that replaces a slot must have the signature of its member in VXp_OverrideTable and
// must give the same bytes as the built-in routine. The rules are described in the header of the
// exported function, or at the pointer type if there is none; they include the checks of arguments,
// progress and errors. A routine may leave cases to the one that was in the slot before: keep its
// pointer at the load call.
//
// The generic iterator (slot 53, VX_IterateGeneric_Static) is the slot through which the library
// uses several threads. accel/parallel replaces it; a host with threads of its own may store its
// iterator there instead, after the scan for modules or without one. In addition to the rules in
// VX_Iterate.h:
//
//   - Index 0 is the calling thread, which takes part, and no other one: operations call their
//     progress function while they are thread 0. Other threads have indices from 1 to
//     U_GetNumThreads() - 1. Two calls of the function that run at the same time for one iteration
//     have different indices, because an index selects scratch memory.
//   - After an error no further item starts. The iterator returns when no item runs any more.
//   - Exceptions must not leave the iterator.
//   - An iteration that is started inside of an item gets a thread 0 of its own: the thread of the
//     item. It may run serially.
//   - Calls may be made on several threads at the same time.
//
// A module that does not link the library cannot call exported functions such as VXp_WorldDepth. It
// uses the routines in the slots and in the block, and gets the depth of a valid world like this:
//
//   int32_t DepthOf(const VX_LayerDef& world) {
//     if (world.world_object) return static_cast<int16_t>(world.world_object->Depth());
//     return 8 << (world.world_flags >> 24);
//   }

#include <cstddef>
#include <cstdint>

#include "VX/VX_CallbackBlock.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_World.h"
#include "host/PLUG.h"

// The first argument of the entry.
enum : int32_t { VX_ModuleSelector_Load = 0, VX_ModuleSelector_Unload = 1 };

// The type of a routine that accelerates VX ("eFST"), and the flag that it must have.
inline constexpr uint32_t VX_ModuleRoutineType = 0x65465354;
inline constexpr uint32_t VX_ModuleFlag_Accelerates = 1u << 3;

// The property "vers" of the routine: four bytes, a native word. Its upper half must equal
// VX_ModuleVersion; other routines are not loaded. The lower half belongs to the module.
inline constexpr uint32_t VX_ModuleVersionKey = 0x76657273;
inline constexpr uint32_t VX_ModuleVersion = 2;

// The data that the library passes to a module. The block is valid during the load call only; the
// pointers in it, except `callbacks`, are valid until VX_Death.
struct VX_ModuleBlock {
  // Reports a text to the user. `number` (at most 16 bits) identifies the check in the module that
  // failed. Returns 0.
  VX_Err (*report)(uint32_t number, const char* text);
  const VX_CallbackBlock* callbacks;  // routines for high quality and straight alpha
  void* (*calloc)(size_t count, size_t size);
  void (*free)(void* block);
  void* (*malloc)(size_t size);
  void* (*realloc)(void* block, size_t size);
  void (*exit)(int code);
  const uint8_t* fcm_table;  // see VXp_G_fcm_table
  const uint8_t* fcd_table;  // see VXp_G_fcd_table
  VXp_OverrideTable* slots;  // the table itself
  uint16_t version[2];       // 2, 1; also the fourth argument of the entry
  VXp_OverrideTable saved;   // the table before the call
  // Returns U_GetNumThreads(), the number of threads that routines may use. It may be changed while
  // no operation runs.
  int32_t (*num_threads)();
};

// Describes a module with one routine that accelerates VX. Use it once, outside of any namespace.
//   name    text for lists of modules
//   entry   a PLUG_EntryProc
#define VX_MODULE(name, entry)                                                                  \
  static const uint32_t VX_module_version = VX_ModuleVersion << 16;                             \
  static const PLUG_Property VX_module_properties[] = {                                         \
      {VX_ModuleVersionKey, sizeof(VX_module_version), &VX_module_version}};                    \
  static const PLUG_RoutineDescriptor VX_module_routines[] = {                                  \
      {name, VX_ModuleRoutineType, VX_ModuleFlag_Accelerates, 1, VX_module_properties, entry}}; \
  extern "C" __attribute__((visibility("default"))) const PLUG_ModuleDescriptor PLUG_Module;    \
  const PLUG_ModuleDescriptor PLUG_Module = {PLUG_ModuleLayout, 1, VX_module_routines};
