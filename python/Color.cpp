// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Profiles, colour settings, tables for linear light.

#include <pybind11/stl.h>

#include <mutex>

#include "Arguments.h"
#include "Errors.h"
#include "LinearTables.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_ColorSettings.h"
#include "VX/cpp/Color.hpp"
#include "VXIO/VXIO_Profile.h"

namespace vxpy {

namespace {

// Raises errors of the colour engine as ValueError with the engine's message.
template <class Function>
void RunEngine(const char* what, Function&& function) {
  const Call call;
  QCE_Status status;
  {
    const py::gil_scoped_release release;
    status = CodeOf(std::forward<Function>(function));
  }
  if (status == QCE_Ok) return;
  if (status == QCE_OutOfMemory) Check(VX_ErrOutOfMemory);
  throw py::value_error(std::string(what) + ": " + COR_QCE_StatusText(status));
}

Profile OfName(const py::object& arg) {
  if (!py::isinstance<py::str>(arg)) {
    throw py::type_error("name: one of Profile.names(), not " + Quoted(arg));
  }
  const auto name = arg.cast<std::string>();
  Profile made;
  RunEngine("name", [&] { return COR_QCE_ProfileFromName(name.c_str(), &made.profile); });
  return made;
}

Profile OfBytes(const py::object& bytes) {
  if (!py::isinstance<py::bytes>(bytes)) {
    throw py::type_error("profile: needs the bytes of an ICC profile, not " + Quoted(bytes) +
                         "; Profile.named takes names");
  }
  const auto data = bytes.cast<std::string>();
  Profile made;
  RunEngine("profile",
            [&] { return COR_QCE_ProfileFromMemory(data.data(), data.size(), &made.profile); });
  return made;
}

float Exponent(const Profile& profile) {
  float exponent = 0;
  RunEngine("profile", [&] { return COR_QCE_GetToneExponent(profile.profile, &exponent); });
  return exponent;
}

py::bytes Bytes(const Profile& profile) {
  std::vector<uint8_t> bytes;
  RunEngine("profile", [&] { return COR_QCE_GetProfileBytes(profile.profile, &bytes); });
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Profile Linear(const Profile& profile) {
  Profile made;
  RunEngine("profile", [&] { return COR_QCE_GetLinearRGBProfile(profile.profile, &made.profile); });
  return made;
}

LinearTables TablesOf(const py::object& arg) {
  const auto& profile = ParseObject<Profile>("profile", arg);
  LinearTables made;
  RunEngine("profile", [&] {
    made.tables = VX_MakeLinearizationTables(profile.profile);
    return QCE_Ok;
  });
  return made;
}

py::array Table(const uint16_t* entries, size_t count) {
  py::array_t<uint16_t> array(static_cast<py::ssize_t>(count), entries);
  array.attr("setflags")(py::arg("write") = false);
  return array;
}

py::object ConvertColors(const py::object& picture, const py::object& from_arg,
                         const py::object& to_arg, const py::object& out,
                         const py::object& order_arg) {
  const auto& from = ParseObject<Profile>("source", from_arg);
  const auto& to = ParseObject<Profile>("target", to_arg);
  const Source source(picture, ParseOrder(order_arg), "picture", out);
  const int32_t depth = source.depth();
  Target target = Target::CopyOf(source, out);
  RunEngine("profile", [&] {
    vx::ColorTransform(vx::Profile(from.profile), vx::Profile(to.profile), depth)
        .apply(*target.world());
    return QCE_Ok;
  });
  return target.Finish();
}

// --- settings ------------------------------------------------------------------------------------

// Returns the profile pool of all settings made from Python. It is never freed.
COR_QCE_ProfilePool* SharedPool() {
  static COR_QCE_ProfilePool* const pool = [] {
    COR_QCE_ProfilePool* made = nullptr;
    RunEngine("settings", [&] { return COR_QCE_NewProfilePool(&made); });
    return made;
  }();
  return pool;
}

// Colour settings fill their caches on first use. The mutex allows several threads to use one
// object.
class Settings {
 public:
  explicit Settings(const Profile& profile) : settings_(SharedPool()) { SetProfile(profile); }
  Settings(const Settings& other) : settings_(other.settings_) {}
  Settings& operator=(const Settings&) = delete;

  void SetProfile(const Profile& profile) {
    Locked([&](VX_ColorSettings& s) { s.SetProfile(profile.profile); });
  }
  Profile GetProfile() {
    Profile result;
    Locked([&](VX_ColorSettings& s) { result.profile = s.GetProfile(); });
    return result;
  }
  Profile GetAdjusted() {
    Profile result;
    Locked([&](VX_ColorSettings& s) { result.profile = s.GetAdjustedProfile(); });
    return result;
  }
  float GetExponent() {
    float exponent = 0;
    Locked([&](VX_ColorSettings& s) { exponent = s.GetCalGrayGamma(); });
    return exponent;
  }
  // Returns a copy, because the settings delete their tables when the profile changes.
  std::optional<LinearTables> GetTables(bool force) {
    std::optional<LinearTables> result;
    Locked([&](VX_ColorSettings& s) {
      if (const VX_LinearBlendingTables* tables = s.GetLinearBlendingTables(force)) {
        result = LinearTables{
            boost::shared_ptr<const VX_LinearBlendingTables>(new VX_LinearBlendingTables(*tables))};
      }
    });
    return result;
  }
  std::u16string GetName() {
    std::u16string name;
    Locked([&](VX_ColorSettings& s) { name = VX_GetWorkingSpaceProfileName(&s); });
    return name;
  }
  bool Equals(Settings& other) {
    bool equal = false;
    Locked([&](VX_ColorSettings& s) { equal = s == other.settings_; });
    return equal;
  }
  VX_ColorSettings& raw() { return settings_; }

 private:
  template <class Function>
  void Locked(Function&& function) {
    RunEngine("settings", [&] {
      const std::lock_guard lock(TheMutex());
      function(settings_);
      return QCE_Ok;
    });
  }
  static std::mutex& TheMutex() {
    static std::mutex mutex;
    return mutex;
  }

  VX_ColorSettings settings_;
};

// Returns a copy of the library's default settings, see VX_GetEmergencyColorSettings.
std::unique_ptr<Settings> Emergency() {
  Profile profile;
  RunEngine("settings", [&] {
    static std::mutex first_call;
    const std::lock_guard lock(first_call);
    profile.profile = VX_GetEmergencyColorSettings()->GetProfile();
    return QCE_Ok;
  });
  return std::make_unique<Settings>(profile);
}

// --- classes -------------------------------------------------------------------------------------

void AddProfile(py::module_& module) {
  py::class_<Profile>(module, "Profile",
                      "An ICC profile for RGB: Profile(bytes) from the bytes of a file, "
                      "Profile.named(name) for a built-in profile. Raises TypeError, and "
                      "ValueError with the reason for an invalid profile. Immutable and "
                      "thread-safe.")
      .def(py::init(&OfBytes), py::arg("profile"))
      .def_static("named", &OfName, py::arg("name"),
                  "Returns a built-in profile. name: \"sRGB\", \"gamma 1.0\", \"gamma 1.8\", "
                  "\"gamma 2.2\", \"gamma 2.4\", "
                  "\"Rec.709\", \"Display P3\" or \"ProPhoto\".")
      .def_static(
          "names",
          [] {
            std::vector<std::string> names;
            for (int32_t i = 0; const char* name = COR_QCE_BuiltInProfileName(i); ++i) {
              names.emplace_back(name);
            }
            return names;
          },
          "Returns the names of the built-in profiles.")
      .def_property_readonly(
          "description", [](const Profile& p) { return VXIO_ProfileName(p.profile); },
          "The description that the profile contains.")
      .def_property_readonly(
          "exponent", &Exponent,
          "Exponent of the green curve from stored to linear values; the best fit "
          "if the curve is not a power function.")
      .def("linear", &Linear, "Returns a profile with the same primaries and linear curves.")
      .def("__bytes__", &Bytes)
      .def("__repr__",
           [](const Profile& p) { return "<vx.Profile " + VXIO_ProfileName(p.profile) + ">"; });
}

}  // namespace

LightCurvesPtr ParseLinear(const py::object& linear) {
  if (linear.is_none()) return nullptr;
  const auto& profile = ParseObject<Profile>("linear", linear);
  if (profile.curves == nullptr) {
    LightCurvesPtr made;
    RunEngine("linear", [&] {
      made = VX_MakeLightCurves(profile.profile);
      return QCE_Ok;
    });
    profile.curves = made;
  }
  return profile.curves;
}

void AddColor(py::module_& module) {
  AddProfile(module);
  py::class_<LinearTables>(module, "LinearTables",
                           "Tables for blending in linear light with the curves of a profile: "
                           "LinearTables(profile). Immutable and thread-safe.")
      .def(py::init(&TablesOf), py::arg("profile"))
      .def_property_readonly(
          "linearize", [](const LinearTables& t) { return Table(t.tables->linearize, 256); },
          "Linear value 0..32768 of each stored 8-bit value: 256 x uint16, read-only.")
      .def_property_readonly(
          "delinearize", [](const LinearTables& t) { return Table(t.tables->delinearize, 4097); },
          "Stored value 0..32768 of each linear value >> 3: 4097 x uint16, read-only.")
      .def_property_readonly(
          "gamma", [](const LinearTables& t) { return t.tables->gamma; },
          "Exponent from stored to linear values, for float pixels.");
  py::class_<Settings>(module, "ColorSettings",
                       "Colour settings of a project: ColorSettings(profile). With linearize all "
                       "work is in linear light, with linear_blending only blending.")
      .def(py::init([](const py::object& profile) {
             return std::make_unique<Settings>(ParseObject<Profile>("profile", profile));
           }),
           py::arg("profile"))
      .def_static("emergency", &Emergency,
                  "Returns default settings: sRGB, blending of stored values.")
      .def(
          "copy", [](const Settings& s) { return Settings(s); },
          "Returns a copy of the settings. Its tables are computed again.")
      .def_property("profile", &Settings::GetProfile, &Settings::SetProfile,
                    "Profile of the project; writable.")
      .def_property_readonly("adjusted_profile", &Settings::GetAdjusted,
                             "The profile; with linearize the profile with linear curves.")
      .def_property(
          "linearize", [](Settings& s) { return s.raw().GetLinearize(); },
          [](Settings& s, bool on) { s.raw().SetLinearize(on); },
          "True if all work is in linear light; writable.")
      .def_property(
          "linear_blending", [](Settings& s) { return s.raw().GetLinearBlending(); },
          [](Settings& s, bool on) { s.raw().SetLinearBlending(on); },
          "True if only blending is in linear light; writable.")
      .def_property_readonly("exponent", &Settings::GetExponent,
                             "Exponent of the adjusted profile from stored to linear values.")
      .def("tables", &Settings::GetTables, py::kw_only(), py::arg("force") = false,
           "Returns LinearTables if linear_blending is True and linearize is False, else None. "
           "force: return LinearTables always.")
      .def_property_readonly("name", &Settings::GetName, "Name of the working space, for display.")
      .def("__eq__", &Settings::Equals, py::is_operator());
  module.def("convert_colors", &ConvertColors);
}

}  // namespace vxpy
