// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Selection of a template by depth. Every bulk operation determines the depth of its worlds, wraps
// each descriptor in a typed world on the stack, and calls a template for the pixel type:
//
//   return VXp_WithWorlds(world, "Unknown world bitdepth in VX_Fill",
//                         [&](auto& typed) { return Fill(color, area, typed); }, world);
//
// Nothing is allocated and no pixels are copied.

#include <type_traits>
#include <utility>

#include "VX/VX_World.h"
#include "frame/VXp_Report.h"

// The report of an unknown depth for operations that have no text of their own. Callers may compare
// the text, so it is not corrected.
inline constexpr char kVXp_UnknownDepthText[] = "Unknown world bitdepth in##CONDITIONNAME";

template <class PixelType>
struct VXp_PixelTag {
  using Pixel = PixelType;
};

// Calls `body` with the tag (VXp_PixelTag) of the depth's pixel type, or `otherwise` without
// arguments for an unknown depth. Both must return the same type.
template <class Body, class Otherwise>
auto VXp_SelectPixel(int32_t depth, Body&& body, Otherwise&& otherwise) {
  switch (depth) {
    case 8: return body(VXp_PixelTag<VX_Pixel8>{});
    case 16: return body(VXp_PixelTag<VX_Pixel16>{});
    case 32: return body(VXp_PixelTag<VX_PixelFloat>{});
    default: return otherwise();
  }
}

// The report of an unknown depth, and the source line of the check.
struct VXp_DepthText {
  VXp_DepthText(const char* text, int32_t line = __builtin_LINE()) : text(text), line(line) {}
  const char* text;
  int32_t line;
};

// Calls `body` with the tag of the depth's pixel type, and returns the code that it returns. For an
// unknown depth, reports the text and returns VX_ErrBadParameter.
template <class Body>
VX_Err VXp_WithPixel(int32_t depth, VXp_DepthText unknown, Body&& body) {
  return VXp_SelectPixel(depth, body, [&]() -> VX_Err {
    return VXp_FailVerification(kVXp_NoCheckNumber, unknown.line, unknown.text);
  });
}

// The world type for a descriptor; const for a const descriptor.
template <class Pixel, class Descriptor>
using VXp_WorldFor =
    std::conditional_t<std::is_const_v<Descriptor>, const VX_WorldX<Pixel>, VX_WorldX<Pixel>>;

// Calls `body` once and returns its result. Its arguments are the worlds, each as a
// VX_WorldX<Pixel>& (const for a const descriptor). `depth` is the depth of all worlds; callers
// determine it once, because VXp_WorldDepth reports an unknown depth at each call. No descriptor
// may be null.
template <class Body, class... Descriptors>
VX_Err VXp_WithWorldsOfDepth(int32_t depth, VXp_DepthText unknown, Body&& body,
                             Descriptors*... worlds) {
  return VXp_WithPixel(depth, unknown, [&](auto tag) -> VX_Err {
    using Pixel = typename decltype(tag)::Pixel;
    const auto call = [&](VXp_WorldFor<Pixel, Descriptors>&&... wrapped) -> VX_Err {
      return body(wrapped...);
    };
    return call(VXp_WorldFor<Pixel, Descriptors>(const_cast<VX_LayerDef*>(worlds), true)...);
  });
}

// Like VXp_WithWorldsOfDepth, with the depth of `decider`. If an operation requires equal depths,
// it must check this before.
template <class Body, class... Descriptors>
VX_Err VXp_WithWorlds(const VX_LayerDef* decider, VXp_DepthText unknown, Body&& body,
                      Descriptors*... worlds) {
  return VXp_WithWorldsOfDepth(VXp_WorldDepth(decider), unknown, std::forward<Body>(body),
                               worlds...);
}
