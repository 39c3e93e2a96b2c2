// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

// Records the first warning of libtiff on this thread while the object exists; OpenImageIO drops
// these warnings. Objects may be nested. The first object sets libtiff's extended warning handler
// of this process; the handler that was set before is still called.
class VXIOp_TiffLog {
 public:
  VXIOp_TiffLog();
  ~VXIOp_TiffLog();
  VXIOp_TiffLog(const VXIOp_TiffLog&) = delete;
  VXIOp_TiffLog& operator=(const VXIOp_TiffLog&) = delete;

  // Returns the first warning; empty if there was none.
  std::string first() const { return first_; }

 private:
  friend struct VXIOp_TiffHandler;
  char first_[256] = "";
  VXIOp_TiffLog* previous_;
};
