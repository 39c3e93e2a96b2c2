// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The enumerations that several operations use: transfer modes, quality, field, use of a mask.

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "VX/VX_Transfer.h"

namespace vx {

// The transfer modes: Mode::copy, Mode::in_front, Mode::screen and so on. docs/modes.md describes
// each mode. An enumerator is the name used there with "_" in place of "-". The values are those of
// the VX_Xfer_... constants.
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

// A name that other programs use for a mode.
struct ModeAlias {
  const char* name;
  Mode mode;
};

namespace detail {

// In the order of the modes. The entries of docs/modes.md contain these names.
inline constexpr ModeAlias mode_alias_list[] = {
    {"cross-fade", Mode::mask_mix},
    {"source", Mode::copy},
    {"src", Mode::copy},
    {"replace", Mode::copy},
    {"under", Mode::behind},
    {"destination-over", Mode::behind},
    {"dst-over", Mode::behind},
    {"normal", Mode::in_front},
    {"over", Mode::in_front},
    {"source-over", Mode::in_front},
    {"src-over", Mode::in_front},
    {"plus", Mode::add},
    {"plus-lighter", Mode::add},
    {"lighter", Mode::add},
    {"addition", Mode::add},
    {"min", Mode::darken},
    {"darken-only", Mode::darken},
    {"max", Mode::lighten},
    {"lighten-only", Mode::lighten},
    {"absolute-difference", Mode::difference},
    {"colour", Mode::color},
    {"luminance", Mode::luminosity},
    {"destination-in", Mode::stencil_alpha},
    {"dst-in", Mode::stencil_alpha},
    {"alpha-mask", Mode::stencil_alpha},
    {"luminance-mask", Mode::stencil_luma},
    {"luma-mask", Mode::stencil_luma},
    {"destination-out", Mode::silhouette_alpha},
    {"dst-out", Mode::silhouette_alpha},
    {"erase", Mode::silhouette_alpha},
    {"inverse-luminance-mask", Mode::silhouette_luma},
    {"premultiplied-over", Mode::premul_over},
    {"color-dodge", Mode::dodge2},
    {"colour-dodge", Mode::dodge2},
    {"color-burn", Mode::burn2},
    {"colour-burn", Mode::burn2},
    {"inverse-subtract", Mode::linear_burn},
    {"lighter-colour", Mode::lighter_color},
    {"darker-colour", Mode::darker_color},
};

// Compares names without regard to case, "-", "_" and blanks.
constexpr bool same_name(std::string_view a, std::string_view b) {
  const auto is_separator = [](char c) { return c == '-' || c == '_' || c == ' '; };
  const auto next = [&](std::string_view* text) -> char {
    while (!text->empty() && is_separator(text->front())) {
      text->remove_prefix(1);
    }
    if (text->empty()) return 0;
    const char letter = text->front();
    text->remove_prefix(1);
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  };
  while (true) {
    const char letter = next(&a);
    if (letter != next(&b)) return false;
    if (letter == 0) return true;
  }
}

}  // namespace detail

// The names that other programs use for modes. find_mode accepts them.
constexpr std::span<const ModeAlias> mode_aliases() { return detail::mode_alias_list; }

// All modes in the order of their numbers.
constexpr std::span<const ModeInfo> modes() { return detail::mode_list; }

// The name of a mode; null for an unknown number.
constexpr const char* name(Mode mode) {
  for (const ModeInfo& info : modes()) {
    if (info.mode == mode) return info.name;
  }
  return nullptr;
}

// Returns the mode with this name or alias; none for an unknown name. Case, "-", "_" and blanks do
// not matter: "Soft Light" and "SOFT_LIGHT" are soft-light.
constexpr std::optional<Mode> find_mode(std::string_view name) {
  for (const ModeInfo& info : modes()) {
    if (detail::same_name(info.name, name)) return info.mode;
  }
  for (const ModeAlias& alias : mode_aliases()) {
    if (detail::same_name(alias.name, name)) return alias.mode;
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
