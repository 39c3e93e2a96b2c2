// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_Bands.h"

#include "VX/VX_OverrideTable.h"
#include "host/U.h"

// Measured with a pool of two threads that wait in a loop, on 2 processors, best of some thousand
// calls: sharing a call and waiting for its end costs 1 to 2 us. A composite in front of 4,096
// pixels of 8 bits took 10 us on one thread and 6 us on two, of 16,384 pixels 39 and 21 us. Fills
// and copies of 16,384 pixels took 1.3 us on both, of 65,536 pixels 5 and 3.5 us. The limit is
// higher by a factor of 16, because threads may have to be woken, and faster routines have less
// work a pixel.
VXp_BandSizes VXp_G_BandSizes = {/*call=*/65536, /*band=*/16384};

namespace {

// Returns the rows of a band: at least the least work of a band, and few enough that each thread
// gets several bands, because other threads and the pictures' content delay some of them.
int32_t RowsOfBand(int32_t threads, int32_t rows, int64_t row_work, int32_t tile) {
  constexpr int64_t kBandsPerThread = 8;
  const int64_t least = (VXp_G_BandSizes.band - 1) / std::max<int64_t>(row_work, 1) + 1;
  const int64_t wanted = std::max<int64_t>({least, rows / (kBandsPerThread * threads), 1});
  const int64_t in_tiles = tile > 1 ? (wanted + tile - 1) / tile * tile : wanted;
  return static_cast<int32_t>(std::min<int64_t>(in_tiles, rows));
}

bool IsLittle(int32_t rows, int64_t row_work) {
  return rows < 2 || row_work < (VXp_G_BandSizes.call - 1) / rows + 1;
}

}  // namespace

VXp_Bands VXp_PlanBands(int32_t rows, int64_t row_work, bool independent) {
  const VX_IterateGenericFunc iterate = VXp_G_OverFuncs.VX_IterateGeneric_Static;
  if (!independent || IsLittle(rows, row_work) || iterate == &VX_IterateGeneric_Static) {
    return {nullptr, 1, rows, rows};
  }
  const int32_t threads = U_GetNumThreads();
  if (threads <= 1) return {nullptr, 1, rows, rows};
  return {iterate, threads, rows, RowsOfBand(threads, rows, row_work, /*tile=*/0)};
}

VXp_Bands VXp_PlanItems(int32_t rows, int64_t row_work, int32_t tile) {
  const VX_IterateGenericFunc iterate = VXp_G_OverFuncs.VX_IterateGeneric_Static;
  const int32_t threads = std::max(U_GetNumThreads(), 1);
  const bool single = threads == 1 || iterate == &VX_IterateGeneric_Static;
  const int32_t band = single                     ? std::max(tile, 1)
                       : IsLittle(rows, row_work) ? rows
                                                  : RowsOfBand(threads, rows, row_work, tile);
  return {iterate, threads, rows, band, tile};
}
