// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/imgproc/FnImager.h"

#include <cstdio>

void Imager::setRegion(int32_t left, int32_t top, int32_t right, int32_t bottom) {
  x0 = left;
  y0 = top;
  x1 = right + 1;
  y1 = bottom + 1;
  flags |= FnImager_Reclip | FnImager_HasRegion;
}

void Imager::setRegionWithMargin(int32_t left, int32_t top, int32_t right, int32_t bottom,
                                 int32_t marginX, int32_t marginY) {
  setRegion(left - marginX, top - marginY, right + marginX, bottom + marginY);
  flags |= FnImager_ValidateInput;
}

void Imager::Begin(FnTexIndexer* map, const FnTexIndexer* input) {
  target = map;
  targetWidth = map->x.size;
  targetHeight = map->y.size;
  int32_t width = targetWidth, height = targetHeight;
  if ((flags & FnImager_ValidateInput) != 0 && input != nullptr) {
    width = std::min(width, input->x.size);
    height = std::min(height, input->y.size);
  }
  if ((flags & FnImager_HasRegion) == 0) {
    x0 = y0 = 0;
    x1 = targetWidth;
    y1 = targetHeight;
    return;
  }
  x0 = std::clamp(x0, 0, width);
  x1 = std::clamp(x1, 0, width);
  y0 = std::clamp(y0, 0, height);
  y1 = std::clamp(y1, 0, height);
  flags &= ~uint32_t{FnImager_Reclip};
  if (x0 == 0 && y0 == 0 && x1 == targetWidth && y1 == targetHeight) clearRegion();
}

Imager::Rows Imager::Band() const {
  const bool region = (flags & FnImager_HasRegion) != 0;
  Rows rows{0, targetWidth, 0, targetHeight, 1};
  if (region) rows = {x0, x1, y0, y1, 1};
  const int32_t height = std::max(rows.y1 - rows.y0, 0);
  const FnBand band = flags & FnImager_CallingThread ? FnBand{0, height} : FnBandOfThread(height);
  rows.y1 = rows.y0 + band.end;
  rows.y0 += band.first;
  if (lineMode == FnLines_All) return rows;
  const int32_t odd = lineMode == FnLines_Odd ? 1 : 0;
  if ((rows.y0 & 1) != odd) ++rows.y0;
  rows.step = 2;
  return rows;
}

bool FnCheckMap(bool exists, bool usable, const char* nullText, const char* bogusText) {
  if (!usable) std::fputs(exists ? bogusText : nullText, stderr);
  return usable;
}
