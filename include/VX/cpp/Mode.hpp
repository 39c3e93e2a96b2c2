// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Transfer modes and the other choices of the operations.

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "VX/VX_Transfer.h"

namespace vx {

// The transfer modes: Mode::copy, Mode::in_front, Mode::screen and so on. docs/modes.md describes
// each mode. An enumerator is the name used there with "_" in place of "-". The values are the
// numbers of the classic interface.
enum class Mode : int32_t {
#define VX_MODE(number, constant, name, piece, enumerator, ...) enumerator = number,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

struct ModeInfo {
  Mode mode;
  const char* name;  // as in docs/modes.md, the command and Python, for example "in-front"
  bool per_pixel;    // the per-pixel tables of VX_Blend.h have entries for the mode
};

namespace detail {

inline constexpr ModeInfo mode_list[] = {
#define VX_ROW_MODE(number, constant, name, piece, enumerator, ...) {Mode::enumerator, name, false},
#define VX_MODE(number, constant, name, piece, enumerator, ...) {Mode::enumerator, name, true},
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

}  // namespace detail

// All modes in the order of their numbers.
constexpr std::span<const ModeInfo> modes() { return detail::mode_list; }

// The name of a mode; null for an unknown number.
constexpr const char* name(Mode mode) {
  for (const ModeInfo& info : modes()) {
    if (info.mode == mode) return info.name;
  }
  return nullptr;
}

// Returns the mode with this name; none for an unknown name.
constexpr std::optional<Mode> find_mode(std::string_view name) {
  for (const ModeInfo& info : modes()) {
    if (info.name == name) return info.mode;
  }
  return std::nullopt;
}

// draft: the nearest pixel. high: bilinear, or the average of the covered area if a picture is
// reduced.
enum class Quality : int32_t { draft, high };

// The rows of the destination that are drawn.
enum class Field : int32_t {
  both = VX_Field_Both,
  even_rows = VX_Field_EvenRows,
  odd_rows = VX_Field_OddRows
};

// The quantity of a mask that weights a pixel. Outside of the mask, the weight is full scale for
// the inverse quantities and 0 for the others.
enum class MaskUse : int32_t {
  alpha = VX_MaskUse_Alpha,
  inverse_alpha = VX_MaskUse_InverseAlpha,
  luma = VX_MaskUse_Luma,  // luminance times alpha
  inverse_luma = VX_MaskUse_InverseLuma
};

}  // namespace vx
