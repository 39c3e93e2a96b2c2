// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// An entry of the host's cache: the motion of a pair of pictures.

#include "frameblend/smooth/FnVeltorVectors.h"
#include "host/MC.h"
#include "host/T.h"

class VX_VeltorCache_Stuff final : public MC_Stuff {
 public:
  // Takes the vectors, which may be null.
  VX_VeltorCache_Stuff(int32_t id, T_Time a, T_Time b, std::unique_ptr<FnVeltorVectors> motion)
      : cacheId(id), timeA(a), timeB(b), vectors(motion.release()) {}
  ~VX_VeltorCache_Stuff() override;

  // Orders by timeA, then timeB. Reports an entry of another type and throws VX_ErrBadParameter.
  bool less(const MC_Stuff& other) const override;
  int64_t size() const override;
  bool purge() override;
  bool HasData() const override;
  bool CanGoToDisk() const override;
  // Write and read a record (FnRecord.h). Throw the codes of FILE_NWrite, FILE_NRead and
  // FnReadRecord. After a failed read there are no data.
  void WriteToDisk(FILE_Ref* file) override;
  void ReadFromDisk(FILE_Ref* file) override;

  int32_t cacheId;
  T_Time timeA, timeB;
  FnVeltorVectors* vectors;  // owned; null without data
};
