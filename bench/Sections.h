// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The sections of the benchmark. Each prints a table and returns false if a contestant has a wrong
// result. Speeds do not affect the return value. The library must be alive.

#include "Options.h"

bool RunComposite(const Options& options);
bool RunModes(const Options& options);
bool RunLinear(const Options& options);
bool RunCopies(const Options& options);
bool RunScaling(const Options& options);
bool RunFilters(const Options& options);
bool RunUno(const Options& options);
bool RunMasks(const Options& options);
bool RunSamplers(const Options& options);
bool RunTransform(const Options& options);
bool RunMotion(const Options& options);
bool RunIterators(const Options& options);
bool RunScratch(const Options& options);
bool RunCpp(const Options& options);

struct Section {
  const char* name;
  const char* what;  // for the usage text
  bool (*run)(const Options& options);
};
inline constexpr Section kSections[] = {
    {"composite", "six modes on whole frames, against memcpy, a naive loop, pixman, table",
     &RunComposite},
    {"modes", "every mode and depth against its own per-pixel table", &RunModes},
    {"linear", "three modes in linear light against as stored; making the tables", &RunLinear},
    {"copies", "fills, copies, conversions against memset, memcpy, OpenCV, libvips", &RunCopies},
    {"scaling", "nearest and high quality, down and up, against OpenCV", &RunScaling},
    {"filters", "blurs, convolutions against OpenCV, libvips; passes by radius, direction",
     &RunFilters},
    {"uno", "one-channel buffers against memcpy, a naive loop, OpenCV", &RunUno},
    {"masks", "feathered buffers by radius against OpenCV, masks merged into worlds against memcpy",
     &RunMasks},
    {"samplers", "every sampler by content, against the nearest one and a naive loop",
     &RunSamplers},
    {"transform", "turned, moved, reduced, with motion blur, against OpenCV, libvips, OpenImageIO",
     &RunTransform},
    {"motion", "motion estimation and its steps against OpenCV's DIS flow", &RunMotion},
    {"iterators", "walks with a function, a lambda, a table, against plain loops", &RunIterators},
    {"scratch", "allocations of one call, and their peak", &RunScratch},
    {"cpp", "vx::composite of the C++20 interface against the classic call", &RunCpp},
};

// Counts the allocations of the host. Call before the birth of the library.
void CountAllocations();
