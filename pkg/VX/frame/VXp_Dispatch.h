// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The one switch on depth. Every bulk operation tells the depth of its world, wraps each descriptor
// in a typed world on the stack and calls a template for the pixel type:
//
//   return VXp_WithWorlds(world, "Unknown world bitdepth in VX_Fill",
//                         [&](auto& typed) { return Fill(color, area, typed); }, world);
//
// Nothing is allocated, the pixels stay where they are, and the wrappers are destroyed on the way
// out, also when an exception passes.

#include <type_traits>
#include <utility>

#include "VX/VX_World.h"
#include "frame/VXp_Report.h"

// What operations without a text of their own report for an unknown depth, letter for letter.
inline constexpr char kVXp_UnknownDepthText[] = "Unknown world bitdepth in##CONDITIONNAME";

template <class PixelType>
struct VXp_PixelTag {
  using Pixel = PixelType;
};

// Calls `body` with the tag of the depth's pixel type, or `otherwise` for a depth that is none of
// the three. Both return the same type.
template <class Body, class Otherwise>
auto VXp_SelectPixel(int32_t depth, Body&& body, Otherwise&& otherwise) {
  switch (depth) {
    case 8: return body(VXp_PixelTag<VX_Pixel8>{});
    case 16: return body(VXp_PixelTag<VX_Pixel16>{});
    case 32: return body(VXp_PixelTag<VX_PixelFloat>{});
    default: return otherwise();
  }
}

// A failure text with the line it stands on.
struct VXp_DepthText {
  VXp_DepthText(const char* text, int32_t line = __builtin_LINE()) : text(text), line(line) {}
  const char* text;
  int32_t line;
};

// The pixel type alone: `body` takes the tag and returns a code. An unknown depth reports the text
// and gives 3.
template <class Body>
VX_Err VXp_WithPixel(int32_t depth, VXp_DepthText unknown, Body&& body) {
  return VXp_SelectPixel(depth, body, [&]() -> VX_Err {
    return VXp_FailVerification(kVXp_NoCheckNumber, unknown.line, unknown.text);
  });
}

// A world for a descriptor; read-only for a descriptor that is.
template <class Pixel, class Descriptor>
using VXp_WorldFor =
    std::conditional_t<std::is_const_v<Descriptor>, const VX_WorldX<Pixel>, VX_WorldX<Pixel>>;

// `body` takes the wrappers of `worlds` in order, as VX_WorldX<Pixel>& (const for const
// descriptors), and returns a code. `depth` is that of all of them, for operations that have asked
// already: asking twice would report an unknown depth code twice. No descriptor may be null.
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

// The same where `decider` tells the depth; operations that demand equal depths test that before.
template <class Body, class... Descriptors>
VX_Err VXp_WithWorlds(const VX_LayerDef* decider, VXp_DepthText unknown, Body&& body,
                      Descriptors*... worlds) {
  return VXp_WithWorldsOfDepth(VXp_WorldDepth(decider), unknown, std::forward<Body>(body),
                               worlds...);
}
