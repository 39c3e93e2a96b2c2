// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Colour profiles, conversion between them, and tables for blending in linear light.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "VX/VX_ColorSettings.h"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/View.hpp"

namespace vx {

namespace detail {

// Throws an Error with the text of the engine's status, unless it is QCE_Ok.
inline void check_color(QCE_Status status) {
  if (status != QCE_Ok) throw Error(static_cast<ErrorCode>(status), COR_QCE_StatusText(status));
}

// Runs a C-style call that throws a status of the colour engine, and converts it to an Error.
template <class Call>
auto run_color(Call&& call) {
  try {
    return call();
  } catch (QCE_Status status) {
    throw Error(static_cast<ErrorCode>(status), COR_QCE_StatusText(status));
  }
}

}  // namespace detail

// An immutable ICC profile for RGB (host/COR.h). Copies share the data. Every function throws Error
// with the status of the colour engine. A vx::Library object must exist.
class Profile {
 public:
  // A built-in profile: "sRGB", "gamma 1.0", "gamma 1.8", "gamma 2.2", "gamma 2.4", "Rec.709",
  // "Display P3", "ProPhoto".
  static Profile named(const std::string& name) {
    return make([&](auto* out) { return COR_QCE_ProfileFromName(name.c_str(), out); });
  }
  static Profile from_file(const std::filesystem::path& path) {
    return make([&](auto* out) { return COR_QCE_ProfileFromFile(path.c_str(), out); });
  }
  static Profile from_bytes(std::span<const std::byte> bytes) {
    return make(
        [&](auto* out) { return COR_QCE_ProfileFromMemory(bytes.data(), bytes.size(), out); });
  }
  explicit Profile(COR_QCE_ProfilePtr handle) : handle_(std::move(handle)) {}

  // The description of the profile for users; may be empty.
  std::u16string description() const {
    std::u16string text;
    detail::check_color(COR_QCE_GetProfileDescription(handle_, &text));
    return text;
  }
  // The exponent of the power function (stored to linear) that fits the green tone curve best.
  double tone_exponent() const {
    float exponent = 0;
    detail::check_color(COR_QCE_GetToneExponent(handle_, &exponent));
    return exponent;
  }

  const COR_QCE_ProfilePtr& handle() const { return handle_; }

 private:
  template <class Make>
  static Profile make(Make&& function) {
    COR_QCE_ProfilePtr profile;
    detail::check_color(function(&profile));
    return Profile(std::move(profile));
  }

  COR_QCE_ProfilePtr handle_;
};

// The tone curves of a profile (VX_MakeLightCurves), for CompositeOptions::linear and
// TransformOptions::linear:
//   const auto light = vx::linear_light(vx::Profile::named("sRGB"));
//   vx::composite(canvas, layer, {.linear = light.get()});
inline std::shared_ptr<const LinearLight> linear_light(const Profile& profile) {
  const auto light = detail::run_color([&] { return VX_MakeLightCurves(profile.handle()); });
  return {light.get(), [light](const LinearLight*) {}};
}

// The tables of a profile (VX_MakeLinearizationTables), for CompositeOptions::linear,
// TransformOptions::linear and calls of the C-style interface.
inline std::shared_ptr<const LinearTables> linear_tables(const Profile& profile) {
  const auto tables =
      detail::run_color([&] { return VX_MakeLinearizationTables(profile.handle()); });
  return {tables.get(), [tables](const LinearTables*) {}};
}

// Converts colours from one profile to another, in pictures of one depth (8, 16 or 32). Copies
// share the transform; any number of threads may use it.
class ColorTransform {
 public:
  ColorTransform(const Profile& from, const Profile& to, int32_t depth) : depth_(depth) {
    detail::check_color(
        COR_QCE_NewTransform(from.handle(), to.handle(), format(depth), &transform_));
  }

  // Converts a picture in place. Alpha is unchanged; the colours of transparent pixels are
  // converted too. Throws Error (bad_parameter) for a picture of another depth.
  void apply(AnyView picture) const {
    if (picture.depth() != depth_) detail::refuse("the transform was made for another depth");
    visit(picture, [&](auto view) {
      for (int32_t y = 0; y < view.height(); ++y) {
        auto* const row = view.row(y).data();
        detail::check_color(COR_QCE_Apply(transform_, format(depth_), row, format(depth_), row,
                                          view.width(), nullptr));
      }
    });
  }

 private:
  static uint32_t format(int32_t depth) {
    switch (depth) {
      case 8: return QCE_Format_Argb8;
      case 16: return QCE_Format_Argb16;
      case 32: return QCE_Format_ArgbFloat;
      default: detail::refuse("the depth is 8, 16 or 32");
    }
  }

  COR_QCE_TransformPtr transform_;
  int32_t depth_;
};

// The colour settings of a project (VX_ColorSettings): a profile, whether pictures are stored in
// linear light, and whether only blending uses linear light. Movable. Used by one thread at a time.
class ColorSettings {
 public:
  struct Options {
    bool linearize = false;        // all operations work in linear light
    bool linear_blending = false;  // only blending works in linear light
  };

  // Creates settings with a profile. Throws Error with the status of the colour engine.
  explicit ColorSettings(const Profile& profile, const Options& options)
      : pool_(new_pool()), settings_(new VX_ColorSettings(pool_.get())) {
    detail::run_color([&] { settings_->SetProfile(profile.handle()); });
    settings_->SetLinearize(options.linearize);
    settings_->SetLinearBlending(options.linear_blending);
  }
  explicit ColorSettings(const Profile& profile) : ColorSettings(profile, Options()) {}

  // The profile of the pixels: the given profile or, with `linearize`, its linear counterpart.
  Profile profile() const {
    return Profile(detail::run_color([&] { return settings_->GetAdjustedProfile(); }));
  }
  // The tables to pass as CompositeOptions::linear or TransformOptions::linear. They are valid as
  // long as this object exists. Null unless `linear_blending` is on and `linearize` is off.
  const LinearTables* tables() const {
    return detail::run_color([&] { return settings_->GetLinearBlendingTables(/*force=*/false); });
  }
  // "Working Space - " and the description of the profile, in the user's language.
  std::u16string name() const { return VX_GetWorkingSpaceProfileName(settings_.get()); }

  VX_ColorSettings& classic() { return *settings_; }

 private:
  struct Dispose {
    void operator()(COR_QCE_ProfilePool* pool) const { COR_QCE_DisposeProfilePool(pool); }
  };
  using Pool = std::unique_ptr<COR_QCE_ProfilePool, Dispose>;

  static Pool new_pool() {
    COR_QCE_ProfilePool* pool = nullptr;
    detail::check_color(COR_QCE_NewProfilePool(&pool));
    return Pool(pool);
  }

  Pool pool_;
  std::unique_ptr<VX_ColorSettings> settings_;
};

}  // namespace vx
