// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// VXHOST_API exports a function or variable of include/host from the library that defines it, if
// that library is compiled with hidden visibility.
//
// Rules of all services, unless a header states otherwise:
//  - Functions have C++ linkage and are in the global namespace. The host is the library with their
//    definitions that a program is linked with.
//  - U_Err is 0 on success, 3 for a bad argument, 4 for out of memory, 7 for a version mismatch.
//  - Functions do not throw.
//  - Functions may be called on any thread, also before main and after it.
//  - Parameters that always have the same value (named zero, one, ...) are part of the interface;
//    hosts ignore them.
#pragma once

#define VXHOST_API __attribute__((visibility("default")))
