// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <VX/VX.h>
#include <VXIO/VXIO_Picture.h>

#include <cstdio>

// A format and its error type from the installed picture library.
int main() {
  if (VX_Birth() != VX_Ok) return 1;
  bool caught = false;
  try {
    VXIO_Read("there is no such picture.png");
  } catch (const VXIO_Error& error) {
    std::printf("%s\n", error.what());
    caught = error.kind() == VXIO_ErrorKind::Input;
  }
  return caught && !VXIO_ListFormats().empty() && VX_Death() == VX_Ok ? 0 : 1;
}
