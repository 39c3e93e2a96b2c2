// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Part of the slow twin of in-between pictures: the motion at an instant between two pictures, one
// pixel and one candidate at a time. RefMotion.h describes vectors and arithmetic.
//
// At the instant t, field a has for each pixel the motion to the second picture, which is sampled
// at (1 - t) of it, and field b the motion to the first one, which is sampled at t of it.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "RefMotion.h"

namespace vxref::tween {

using motion::kUnknown;
using motion::Map;
using motion::MapOf;
using motion::Vec;

// --- candidates and occlusion --------------------------------------------------------------------

using List = std::vector<Vec>;
constexpr size_t kLongestList = 200;

inline void Add(List* list, Vec v) {
  if (list->size() < kLongestList) motion::AddOnce(list, v);
}

// Returns the cell to which a displacement leads from the centre of (x, y), null outside.
template <class T>
T* Landing(Map<T>* map, int x, int y, Vec d) {
  const float u = std::floor(static_cast<float>(x) + 0.5f - d.x);
  const float v = std::floor(static_cast<float>(y) + 0.5f + d.y);
  const bool inside =
      u >= 0 && v >= 0 && u < static_cast<float>(map->width) && v < static_cast<float>(map->height);
  return inside ? &map->At(static_cast<int>(u), static_cast<int>(v)) : nullptr;
}

inline Map<List> Candidates(const Map<Vec>& field, float part) {
  Map<List> lists(field.width, field.height);
  for (int y = 0; y < field.height; ++y) {
    for (int x = 0; x < field.width; ++x) {
      const Vec v = field.At(x, y);
      List* const list = v.Known() ? Landing(&lists, x, y, v * part) : nullptr;
      if (list != nullptr) Add(list, v);
    }
  }
  return lists;
}

enum State { kBoth, kFirst, kSecond, kUndecided };  // in which pictures a pixel is seen

// Numbers of the states among the neighbours of a cell.
inline std::array<int, 4> CountStates(const Map<State>& states, int x, int y) {
  std::array<int, 4> counts = {};
  motion::ForNeighbours(states, x, y, 1, [&](int u, int v) { ++counts[states.At(u, v)]; });
  return counts;
}

inline Map<State> Occlusion(const Map<List>& a, const Map<List>& b) {
  const int width = a.width, height = a.height;
  Map<State> states = MapOf<State>(width, height, [&](int x, int y) {
    return static_cast<State>((a.At(x, y).empty() ? 2 : 0) + (b.At(x, y).empty() ? 1 : 0));
  });
  for (int run = 0; run < 10; ++run) {  // the run above was the first of 11
    states = MapOf<State>(width, height, [&](int x, int y) {
      const auto n = CountStates(states, x, y);
      const State s = states.At(x, y);
      if (s != kUndecided || n[kFirst] == n[kSecond]) return s;
      return n[kFirst] > n[kSecond] ? kFirst : kSecond;
    });
  }
  return MapOf<State>(width, height, [&](int x, int y) {
    const State s = states.At(x, y);
    auto n = CountStates(states, x, y);
    ++n[s];
    if (s == kUndecided) return s;
    if (s == kBoth) {
      if (n[kFirst] > n[kBoth] && n[kFirst] > n[kSecond]) return kFirst;
      return n[kSecond] > n[kBoth] && n[kSecond] > n[kFirst] ? kSecond : kBoth;
    }
    const State other = s == kFirst ? kSecond : kFirst;
    return n[kBoth] > n[s] ? kBoth : n[other] > n[s] ? other : s;
  });
}

// Empties the list of the occluded side and takes the other one from where the motion leads.
inline void Blank(const Map<State>& states, Map<List>* a, Map<List>* b) {
  Map<List> old_a = *a, old_b = *b;
  for (int y = 0; y < a->height; ++y) {
    for (int x = 0; x < a->width; ++x) {
      const State s = states.At(x, y);
      if (s != kFirst && s != kSecond) continue;
      const List& mine = (s == kFirst ? old_a : old_b).At(x, y);
      if (mine.empty()) continue;
      (s == kFirst ? a : b)->At(x, y).clear();
      const List* const there = Landing(s == kFirst ? &old_b : &old_a, x, y, mine[0]);
      if (there != nullptr && !there->empty()) (s == kFirst ? b : a)->At(x, y) = {there->front()};
    }
  }
}

// --- the fields of the instant -------------------------------------------------------------------

struct Spatial {
  enum Pass { kAll, kFill, kOccluded };
  static constexpr float kOutside = 16711425, kMatch = 65535, kConsistency = 10;

  const Map<float>&first, &second;
  const Map<State>& states;
  float t;
  Map<List> lists_a, lists_b;
  Map<Vec> a, b;
  motion::Monitor old_a{a}, old_b{b};  // `previous` is the field before the pass
  bool borrow = false;

  // The picture at the vector's end.
  static float Picture(const Map<float>& map, int x, int y, Vec v) {
    const float u = static_cast<float>(x) + 0.5f - v.x, w = static_cast<float>(y) + 0.5f + v.y;
    if (u < 0 || w < 0 || u >= static_cast<float>(map.width) || w >= static_cast<float>(map.height))
      return kOutside;
    return motion::Sample(map, u, w);
  }

  static List Gather(const motion::Monitor& old, const List& projected, int x, int y) {
    const Map<Vec>& map = old.previous;
    List list;
    motion::ForNeighbours(map, x, y, 1, [&](int u, int v) {
      const bool changed = old.changed[static_cast<size_t>(v * map.width + u)];
      if (changed && map.At(u, v).Known()) Add(&list, map.At(u, v));
    });
    if (map.At(x, y).Known()) Add(&list, map.At(x, y));
    for (Vec v : projected) Add(&list, v);
    return list;
  }

  static Vec Nearest(const List& list, Vec mean) {
    return *std::min_element(list.begin(), list.end(), [=](Vec p, Vec q) {
      return motion::Length1(mean - p) < motion::Length1(mean - q);
    });
  }

  static void Borrow(List* list, Vec* mean, const List& from, Vec from_mean) {
    if (!list->empty()) return;
    for (Vec v : from) list->push_back(v * -1);
    *mean = from_mean * -1;
  }

  void Choose(int x, int y, Vec* va, Vec* vb) const {
    const State s = states.At(x, y);
    List la = Gather(old_a, lists_a.At(x, y), x, y), lb = Gather(old_b, lists_b.At(x, y), x, y);
    if (s == kBoth && !borrow && (la.empty() || lb.empty())) return;
    if (la.size() == 1 && lb.size() == 1) {
      *va = la[0], *vb = lb[0];
      return;
    }
    uint32_t random = static_cast<uint32_t>(y * states.width + x);
    for (List* list : {&la, &lb}) {
      for (Vec& v : *list) std::swap(v, (*list)[motion::Random(&random) % list->size()]);
    }
    Vec mean_a = motion::NeighbourMean(old_a.previous, x, y);
    Vec mean_b = motion::NeighbourMean(old_b.previous, x, y);
    if (borrow) Borrow(&la, &mean_a, lb, mean_b), Borrow(&lb, &mean_b, la, mean_a);
    if (s == kFirst || s == kSecond) {
      const List& list = s == kFirst ? lb : la;
      if (!list.empty()) *(s == kFirst ? vb : va) = Nearest(list, s == kFirst ? mean_b : mean_a);
    } else if (la.empty() || lb.empty()) {
      if (s != kBoth) *va = *vb = {0, 0};
    } else {
      ChoosePair(la, mean_a, lb, mean_b, x, y, va, vb);
    }
  }

  void ChoosePair(const List& la, Vec mean_a, const List& lb, Vec mean_b, int x, int y, Vec* va,
                  Vec* vb) const {
    float best = 1.7014117e+38f;
    for (Vec p : la) {
      const float to_second = Picture(second, x, y, p * (1 - t));
      for (Vec q : lb) {
        const float to_first = Picture(first, x, y, q * t);
        const bool none = to_second == kOutside && to_first == kOutside;
        const float difference = none ? kOutside : std::fabs(to_second - to_first);
        const float cost = difference * kMatch + motion::Length1(p + q) * kConsistency +
                           (8 * motion::Length1(mean_a - p) + 8 * motion::Length1(mean_b - q));
        if (cost < best) best = cost, *va = p, *vb = q;
      }
    }
  }

  // Returns true if a pixel that was processed has a vector for a picture that shows it.
  bool Run(Pass pass) {
    bool filled = false;
    for (int y = 0; y < states.height; ++y) {
      for (int x = 0; x < states.width; ++x) {
        const State s = states.At(x, y);
        Vec &va = a.At(x, y), &vb = b.At(x, y);
        const bool empty = (s == kFirst || !va.Known()) && (s == kSecond || !vb.Known());
        if ((pass == kFill && !empty) || (pass == kOccluded && s == kBoth)) continue;
        Choose(x, y, &va, &vb);
        filled = filled || (s != kFirst && va.Known()) || (s != kSecond && vb.Known());
      }
    }
    lists_a = lists_b = Map<List>(states.width, states.height);
    old_a.Look(a), old_b.Look(b);
    return filled;
  }

  void Seed() { old_a = motion::Monitor(a), old_b = motion::Monitor(b); }

  void RunAll() {
    for (int i = 0; i < 5; ++i) Run(kAll);
    for (bool borrowing : {false, true}) {
      borrow = borrowing;
      Seed();
      int count = 1;
      while (Run(kFill) && count < 101) ++count;
      Seed();
      for (int i = 0; i < count; ++i) Run(kOccluded);
    }
  }
};

// Replaces unknown vectors by the mean of their neighbours, ring by ring.
inline void Spread(Map<Vec>* field) {
  const auto known = [](Vec v) { return v.Known(); };
  if (std::none_of(field->cells.begin(), field->cells.end(), known)) {
    *field = Map<Vec>(field->width, field->height);
  }
  while (!std::all_of(field->cells.begin(), field->cells.end(), known)) {
    const Map<Vec> old = *field;
    *field = MapOf<Vec>(old.width, old.height, [&](int x, int y) {
      bool any = old.At(x, y).Known();
      if (any) return old.At(x, y);
      motion::ForNeighbours(old, x, y, 1, [&](int u, int v) { any |= old.At(u, v).Known(); });
      return any ? motion::NeighbourMean(old, x, y) : kUnknown;
    });
  }
}

struct Fields {
  Map<Vec> a, b;
  Map<State> states;
};

inline Fields FieldsAt(const Map<float>& first, const Map<float>& second, const Map<Vec>& forward,
                       const Map<Vec>& backward, float t) {
  Map<List> lists_a = Candidates(forward, t), lists_b = Candidates(backward, 1 - t);
  const Map<State> states = Occlusion(lists_a, lists_b);
  Blank(states, &lists_a, &lists_b);
  const Map<Vec> none = MapOf<Vec>(states.width, states.height, [](int, int) { return kUnknown; });
  Spatial spatial{first, second, states, t, lists_a, lists_b, none, none};
  spatial.RunAll();
  for (size_t i = 0; i < none.cells.size(); ++i) {
    Vec &va = spatial.a.cells[i], &vb = spatial.b.cells[i];
    if (!va.Known() && vb.Known()) va = vb * -1;
    if (!vb.Known() && va.Known()) vb = va * -1;
  }
  Spread(&spatial.a), Spread(&spatial.b);
  return {spatial.a, spatial.b, states};
}

}  // namespace vxref::tween
