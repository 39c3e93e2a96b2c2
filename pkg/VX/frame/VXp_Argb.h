// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The channels of one pixel in the type in which they are computed. T is a VXp_PixelTraits, or a
// VXp_LaneTraits for a group of pixels with one pixel in each lane.
template <class T>
struct VXp_Argb {
  using Work = typename T::Work;
  Work alpha, red, green, blue;

  static VXp_Argb Of(const typename T::Pixel& p) { return {p.alpha, p.red, p.green, p.blue}; }
  typename T::Pixel Pixel() const {
    using Channel = typename T::Channel;
    return {static_cast<Channel>(alpha), static_cast<Channel>(red), static_cast<Channel>(green),
            static_cast<Channel>(blue)};
  }
  // Stores the four fields separately, because compilers generate better code for this than for a
  // whole pixel.
  void StoreTo(typename T::Pixel& p) const {
    using Channel = typename T::Channel;
    p.alpha = static_cast<Channel>(alpha);
    p.red = static_cast<Channel>(red);
    p.green = static_cast<Channel>(green);
    p.blue = static_cast<Channel>(blue);
  }
};
