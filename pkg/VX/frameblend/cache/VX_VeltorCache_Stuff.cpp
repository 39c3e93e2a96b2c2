// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/cache/VX_VeltorCache_Stuff.h"

#include "frame/VXp_Report.h"
#include "frameblend/cache/FnRecord.h"

namespace {

// Two vectors and two luminances have 24 bytes for each pixel; the 34 are for the objects.
constexpr int64_t kBytesOfPixel = 24;
constexpr int64_t kPixelsOfObjects = 34;

}  // namespace

VX_VeltorCache_Stuff::~VX_VeltorCache_Stuff() { delete vectors; }

bool VX_VeltorCache_Stuff::less(const MC_Stuff& other) const {
  const auto* const entry = dynamic_cast<const VX_VeltorCache_Stuff*>(&other);
  if (entry == nullptr) {
    VXp_Throw(VXp_ReportText(kVXp_NoCheckNumber, "Stuff should be Veltor Cache Stuff",
                             VX_ErrBadParameter));
  }
  if (timeA < entry->timeA || timeA > entry->timeA) return timeA < entry->timeA;
  return timeB < entry->timeB;
}

int64_t VX_VeltorCache_Stuff::size() const {
  if (vectors == nullptr) return 0;
  return (int64_t{vectors->width()} * vectors->height() + kPixelsOfObjects) * kBytesOfPixel;
}

bool VX_VeltorCache_Stuff::purge() {
  const bool had = vectors != nullptr;
  delete vectors;
  vectors = nullptr;
  return had;
}

bool VX_VeltorCache_Stuff::HasData() const { return vectors != nullptr; }

bool VX_VeltorCache_Stuff::CanGoToDisk() const { return true; }

void VX_VeltorCache_Stuff::WriteToDisk(FILE_Ref* file) {
  if (vectors == nullptr) return;
  FnWriteRecord(*vectors, [file](const void* bytes, int64_t count) {
    VXp_ThrowIf(FILE_NWrite(file, count, bytes));
  });
}

void VX_VeltorCache_Stuff::ReadFromDisk(FILE_Ref* file) {
  purge();
  vectors = FnReadRecord([file](void* bytes, int64_t count) {
              VXp_ThrowIf(FILE_NRead(file, count, bytes));
            }).release();
}
