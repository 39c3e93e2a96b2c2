// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// VXHOST_API marks what a host library gives to the packages above it. Every function and datum of
// include/host carries it, so that a host compiled with hidden visibility still offers them all.
//
// Rules common to all services, unless a header says otherwise:
//  - Functions have C++ linkage and live in the global namespace. A host is chosen at link time:
//    any library that defines them will do.
//  - U_Err is 0 for success. 3 is a bad argument, 4 is out of memory, 7 a version mismatch.
//  - Functions never throw.
//  - Functions may be called from any thread at any time, also before main and after it.
//  - Fixed arguments, such as a zero in a place that no caller uses, are kept as parameters because
//    the order of arguments is part of the interface. A host ignores them.
#pragma once

#define VXHOST_API __attribute__((visibility("default")))
