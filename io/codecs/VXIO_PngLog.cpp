// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// Replaces libpng's png_set_error_fn for the objects that are loaded together with this one, which
// include OpenImageIO and libpng. OpenImageIO records the message of an error in a function that
// returns; libpng then also prints the message to the standard error before it jumps back to
// OpenImageIO. With the replacement the jump follows the record and nothing is printed.

#include <dlfcn.h>
#include <png.h>

#include <array>
#include <mutex>

namespace {

// The error functions of the callers. A png_struct holds the address of its entry as its pointer
// for allocation functions. A struct with allocation functions of its caller is not changed.
std::mutex guard;
std::array<png_error_ptr, 16> functions{};

// Returns the entry of a function, or null if the table is full.
png_error_ptr* EntryOf(png_error_ptr function) {
  std::lock_guard lock(guard);
  for (png_error_ptr& entry : functions) {
    if (!entry) entry = function;
    if (entry == function) return &entry;
  }
  return nullptr;
}

bool IsEntry(const void* pointer) {
  return pointer >= functions.data() && pointer < functions.data() + functions.size();
}

[[noreturn]] void RecordAndJump(png_structp png, png_const_charp text) {
  void* const entry = png_get_mem_ptr(png);
  if (IsEntry(entry)) (*static_cast<png_error_ptr*>(entry))(png, text);
  png_longjmp(png, 1);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void png_set_error_fn(png_structrp png,
                                                                        png_voidp data,
                                                                        png_error_ptr error,
                                                                        png_error_ptr warning) {
  static const auto next =
      reinterpret_cast<decltype(&png_set_error_fn)>(dlsym(RTLD_NEXT, "png_set_error_fn"));
  void* const user = png ? png_get_mem_ptr(png) : nullptr;
  if (png && error && (!user || IsEntry(user))) {
    if (png_error_ptr* entry = EntryOf(error)) {
      png_set_mem_fn(png, entry, nullptr, nullptr);
      error = RecordAndJump;
    }
  }
  if (next) next(png, data, error, warning);
}
