// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Command.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>

#include "unit/GuardedWorld.h"

bool Command::logs = false;

// --- memory --------------------------------------------------------------------------------------

namespace {

constexpr size_t kMargin = 64;  // bytes around the rows that are checked

size_t PageSize() {
  static const auto size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

// Pages between two that cannot be touched.
class Pages {
 public:
  explicit Pages(size_t size) : size_((size + PageSize() - 1) / PageSize() * PageSize()) {
    map_ = mmap(nullptr, size_ + 2 * PageSize(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map_ == MAP_FAILED) throw std::bad_alloc();
    if (mprotect(bytes(), size_, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
  }
  ~Pages() { munmap(map_, size_ + 2 * PageSize()); }
  Pages(const Pages&) = delete;

  uint8_t* bytes() const { return static_cast<uint8_t*>(map_) + PageSize(); }
  size_t size() const { return size_; }

  // Pages are used again, because mapping takes longer than most commands.
  static std::unique_ptr<Pages> Acquire(size_t size) {
    for (std::unique_ptr<Pages>& free : free_) {
      if (free == nullptr || free->size() < size) continue;
      return std::move(free);
    }
    return std::make_unique<Pages>(std::max<size_t>(size, 32768));
  }
  static void Release(std::unique_ptr<Pages> pages) {
    for (std::unique_ptr<Pages>& free : free_) {
      if (free == nullptr) {
        free = std::move(pages);
        return;
      }
    }
  }

 private:
  size_t size_;
  void* map_;
  static inline std::array<std::unique_ptr<Pages>, 8> free_;
};

}  // namespace

struct Command::Block {
  std::unique_ptr<Pages> pages;
  Use use;
  size_t unit, sample;
  size_t first;   // of the first row, in the pages
  size_t row;     // bytes
  size_t stride;  // bytes
  int32_t height;
  size_t begin, end;  // what is checked, in the pages
  std::vector<uint8_t> before;

  uint8_t* Start(int32_t y) const {
    return pages->bytes() + first + static_cast<size_t>(y) * stride;
  }
};

Command::Command(const char* operation, uint64_t seed, uint32_t number)
    : depth(8), traits(0), operation_(operation), state_(seed) {
  for (const char* c = operation; *c != 0; ++c) {
    state_ = AddByte(state_, static_cast<uint8_t>(*c));
  }
  state_ = MixBits(MixBits(state_) + number);
  depth = AnyDepth();
  const int32_t kind = Below(24);
  if (kind > 0) traits |= kFew;
  if (kind > 2) traits |= kFinite;
  if (Flag()) traits |= kAligned;
  if (Flag()) traits |= kTame;
  if (OneIn(32)) max_width = 300;
  if (OneIn(32)) max_height = 150;
}

Command::~Command() {
  for (std::unique_ptr<Block>& block : blocks_) Pages::Release(std::move(block->pages));
}

void* Command::Memory(Use use, size_t unit, size_t sample, int32_t width, int32_t height,
                      int32_t padding) {
  auto block = std::make_unique<Block>();
  const bool empty = width <= 0 || height <= 0;
  block->use = use;
  block->unit = unit;
  block->sample = sample;
  block->height = empty ? 0 : height;
  block->row = empty ? 0 : static_cast<size_t>(width) * unit;
  block->stride = block->row + static_cast<size_t>(padding);
  const size_t extent = empty ? 0 : block->stride * (static_cast<size_t>(height) - 1) + block->row;
  block->pages = Pages::Acquire(extent + 2 * kMargin);
  const size_t step = aligns_rows || (traits & kAligned) != 0 ? sample : 1;
  const int32_t place = Below(4);
  block->first = place == 0   ? 0
                 : place == 1 ? kMargin + static_cast<size_t>(Below(16)) / step * step
                              : block->pages->size() - extent;
  block->begin = block->first - std::min(block->first, kMargin);
  block->end = std::min(block->first + extent + kMargin, block->pages->size());
  uint8_t* const bytes = block->pages->bytes();
  std::memset(bytes + block->begin, Below(256), block->end - block->begin);
  Paint(*block);
  block->before.assign(bytes + block->begin, bytes + block->end);
  blocks_.push_back(std::move(block));
  return bytes + blocks_.back()->first;
}

// Patches are two rows high.
void Command::Paint(const Block& block) {
  const auto channels = static_cast<int32_t>(block.unit / block.sample);
  const auto count = static_cast<int32_t>(block.row / block.unit);
  const auto any = [this] {
    return static_cast<Style>(Below(static_cast<int32_t>(Style::kStyles)));
  };
  const bool one_style = Flag();
  const Style common = any();
  for (int32_t y = 0; y < block.height; ++y) {
    const Style style = one_style ? common : any();
    if (style == Style::kPatches && y % 2 == 1) {
      std::memcpy(block.Start(y), block.Start(y - 1), block.row);
    } else {
      PaintRow(style, block.sample, channels, count, block.Start(y));
    }
  }
}

const void* Command::InputBytes(const void* numbers, size_t count, size_t unit, size_t alignment) {
  const bool before = std::exchange(aligns_rows, true);
  void* const memory = Memory(Use::kInput, unit, alignment, static_cast<int32_t>(count), 1, 0);
  aligns_rows = before;
  std::memcpy(memory, numbers, count * unit);
  Block& block = *blocks_.back();
  std::memcpy(&block.before[block.first - block.begin], numbers, count * unit);
  return memory;
}

// --- worlds --------------------------------------------------------------------------------------

VX_LayerDef* Command::World(Use use, int32_t world_depth) {
  const int32_t width = OneIn(6) ? 1 + Below(3) : 1 + Below(max_width);
  return World(use, world_depth, width, OneIn(6) ? 1 : 1 + Below(max_height));
}

VX_LayerDef* Command::World(Use use, int32_t world_depth, int32_t width, int32_t height) {
  const auto pixel = static_cast<size_t>(world_depth) / 2;
  int32_t padding = (traits & kAligned) != 0 ? static_cast<int32_t>(pixel) * Below(4)
                                             : Pick({0, 1, 4, 16, 37, 100});
  const auto sample = static_cast<int32_t>(pixel) / 4;
  if (aligns_rows) padding = (padding + sample - 1) / sample * sample;
  VX_LayerDef world{};
  world.data = Memory(use, pixel, pixel / 4, width, height, padding);
  world.rowbytes = width * static_cast<int32_t>(pixel) + padding;
  world.width = width;
  world.height = height;
  VXp_SetWorldDepth(&world, world_depth);
  Log("%s world of depth %d, %d x %d, rowbytes %d\n", use == Use::kInput ? "input" : "output",
      world_depth, width, height, world.rowbytes);
  worlds_.push_back(world);
  return &worlds_.back();
}

VX_LayerDef* Command::Source() { return World(Use::kInput, OneIn(24) ? AnyDepth() : depth); }

VX_LayerDef* Command::Hostile(VX_LayerDef* world) {
  if (!OneIn(48)) return world;
  const int32_t kind = Below(4);
  if (kind == 0 && world->world_flags == 0) {
    Log("  of unknown depth\n");
    world->world_flags = 7u << 24;
  }
  if (kind == 0) return world;
  must_be_refused = true;
  if (kind == 1) return Note("  null\n", nullptr);
  if (kind == 2) {
    Log("  without pixels\n");
    world->data = nullptr;
    return world;
  }
  Log("  an object of depth 24\n");
  objects_.push_back(std::make_unique<OddDepthWorld>(world));
  return objects_.back().get();
}

// --- progress ------------------------------------------------------------------------------------

VX_Err Command::OnProgress(void* refcon, int32_t step, int32_t final_step) {
  Command& command = *static_cast<Command*>(refcon);
  const int64_t steps[] = {step, final_step};
  command.GaveBytes("progress", steps, sizeof steps, sizeof steps[0], false, false);
  return command.progress_calls_++ == command.progress_stop_ ? VX_ErrStopped : VX_Ok;
}

VX_ProgressInfo* Command::Progress() {
  if (OneIn(3)) return nullptr;
  if (OneIn(8)) progress_stop_ = Below(4);
  Log("progress stops at call %d\n", progress_stop_);
  progress_.progress_refcon = this;
  if (!OneIn(8)) progress_.progress_func = &OnProgress;
  return &progress_;
}

VX_ProgressInfo* Command::FreeProgress() {
  if (OneIn(3)) return nullptr;
  progress_.progress_refcon = this;
  progress_.progress_func = &OnProgress;
  return &progress_;
}

// --- result --------------------------------------------------------------------------------------

void Command::Gave(const char* name, int64_t number, bool by_twin) {
  GaveBytes(name, &number, sizeof number, sizeof number, false, by_twin);
}

void Command::GaveBytes(const char* name, const void* bytes, size_t size, size_t unit,
                        bool is_float, bool by_twin) {
  const auto* const from = static_cast<const uint8_t*>(bytes);
  Part part{name, std::vector<uint8_t>(from, from + size), unit, is_float, by_twin};
  for (size_t i = 0; is_float && i + 4 <= size; i += 4) {
    float value;
    std::memcpy(&value, &part.bytes[i], sizeof value);
    const uint32_t nan = 0x7FC00000;
    if (std::isnan(value)) std::memcpy(&part.bytes[i], &nan, sizeof nan);
  }
  parts_.push_back(std::move(part));
}

void Command::Finish(VX_Err code, bool keeps_on_refusal) {
  Gave("code", code);
  if (WasStopped() && (code != VX_ErrStopped || progress_calls_ > progress_stop_ + 1)) {
    Fail("went on after a stop");
  }
  const bool refused = keeps_on_refusal && code != VX_Ok && code < VX_ErrStopped && code > 0;
  for (const std::unique_ptr<Block>& block : blocks_) {
    const uint8_t* const bytes = block->pages->bytes();
    std::vector<uint8_t> now(bytes + block->begin, bytes + block->end);
    if (block->use == Use::kOutput) {
      for (int32_t y = 0; y < block->height; ++y) {
        GaveBytes("pixels", block->Start(y), block->row, block->unit, block->sample == 4);
        if (refused) continue;
        const size_t at = block->first + static_cast<size_t>(y) * block->stride - block->begin;
        std::memcpy(&now[at], &block->before[at], block->row);
      }
    }
    if (now == block->before) continue;
    size_t at = 0;
    while (now[at] == block->before[at]) ++at;
    Fail(std::string(block->use == Use::kInput ? "wrote to an input"
                     : refused                 ? "wrote before it refused"
                                               : "wrote beside the rows") +
         ", at byte " +
         std::to_string(static_cast<int64_t>(at + block->begin) -
                        static_cast<int64_t>(block->first)) +
         " from the first pixel");
  }
}

void Command::Log(const char* format, ...) {
  if (!logs) return;
  char line[256];
  va_list values;
  va_start(values, format);
  std::vsnprintf(line, sizeof line, format, values);
  va_end(values);
  log_ += line;
}
