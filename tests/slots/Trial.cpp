// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Trial.h"

#include <signal.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// Plain storage, so that a signal handler can read it.
char place[128];
char case_text[256];

std::string Hex(const uint8_t* bytes, size_t size) {
  std::string text;
  char two[4];
  for (size_t i = 0; i < size; ++i) {
    std::snprintf(two, sizeof two, " %02x", bytes[i]);
    text += two;
  }
  return text;
}

void Put(const char* text) {
  if (write(STDOUT_FILENO, text, std::strlen(text)) < 0) _exit(kCrashed);
}

void OnCrash(int signal) {
  Put(signal == SIGILL ? "CRASH (illegal instruction) " : "CRASH ");
  Put(place);
  Put(", ");
  Put(case_text);
  Put("\n");
  _exit(kCrashed);
}

}  // namespace

void ReportCrashes() {
  struct sigaction action = {};
  action.sa_handler = OnCrash;
  for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) {
    sigaction(signal, &action, nullptr);
  }
}

Trial::Trial(const char* slot, const char* level, uint64_t seed, int rounds, Kind kind,
             Record& record)
    : random(seed), slot_(slot), rounds_(rounds), kind_(kind), record_(record) {
  std::snprintf(place, sizeof place, "%s at level %s", slot, level);
  Case("before the first case");
}

void Trial::Case(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(case_text, sizeof case_text, format, arguments);
  va_end(arguments);
}

void Trial::Fail(const std::string& what) const {
  throw Mismatch{std::string(place) + ", " + case_text + ": " + what};
}

void Trial::Gave(VX_Err code) {
  VX_Err plain = code;
  if (kind_ == Kind::kCompare && position_ + sizeof code <= record_.size()) {
    std::memcpy(&plain, &record_[position_], sizeof plain);
  }
  if (plain != code) {
    Fail("gives " + std::to_string(code) + ", the plain routine " + std::to_string(plain));
  }
  Gave(&code, sizeof code, sizeof code);
}

void Trial::Gave(const void* bytes, size_t size, size_t unit) {
  if (size == 0) return;
  const auto* now = static_cast<const uint8_t*>(bytes);
  if (kind_ == Kind::kRecord) {
    record_.insert(record_.end(), now, now + size);
    return;
  }
  if (size > record_.size() - position_) Fail("gives more than the plain routine");
  const uint8_t* plain = &record_[position_];
  position_ += size;
  if (std::memcmp(plain, now, size) == 0) return;
  size_t first = 0;
  while (std::memcmp(plain + first, now + first, unit) == 0) first += unit;
  Fail("pixel " + std::to_string(first / unit) + " is" + Hex(now + first, unit) +
       ", of the plain routine" + Hex(plain + first, unit));
}
