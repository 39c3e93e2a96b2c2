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
#include "VXIO/VXIO_Profile.h"

namespace vxpy {

namespace {

// vx.Profile. An error of the colour engine is a ValueError with the engine's text.
struct Profile {
  COR_QCE_ProfilePtr profile;
};

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

Profile OfName(const py::object& word) {
  if (!py::isinstance<py::str>(word)) {
    throw py::type_error("name: one of Profile.names(), not " + Quoted(word));
  }
  const auto name = word.cast<std::string>();
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

LinearTables TablesOf(const py::object& word) {
  const auto& profile = ParseObject<Profile>("profile", word);
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

py::object ConvertColors(const py::object& picture, const py::object& from_word,
                         const py::object& to_word, const py::object& out,
                         const py::object& order_word) {
  const auto& from = ParseObject<Profile>("source", from_word);
  const auto& to = ParseObject<Profile>("target", to_word);
  const Source source(picture, ParseOrder(order_word), "picture");
  const int32_t depth = source.depth();
  Target target = Target::CopyOf(source, out);
  RunEngine("profile", [&] {
    VXIO_ConvertColors(VXIO_NewTransform(from.profile, to.profile, depth), target.world());
    return QCE_Ok;
  });
  return target.Finish();
}

// --- settings ------------------------------------------------------------------------------------

// Returns the profile pool of all settings made from Python. It is never freed.
COR_QCE_ProfilePool* ThePool() {
  static COR_QCE_ProfilePool* const pool = [] {
    COR_QCE_ProfilePool* made = nullptr;
    RunEngine("settings", [&] { return COR_QCE_NewProfilePool(&made); });
    return made;
  }();
  return pool;
}

// Colour settings fill their caches on first use; the mutex makes this thread-safe.
class Settings {
 public:
  explicit Settings(const Profile& profile) : settings_(ThePool()) { SetProfile(profile); }
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

// Returns a copy of the library's settings for callers that have none of their own.
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
                      "An ICC profile for RGB. From the bytes of a file, Profile(bytes), or a "
                      "built-in one, Profile.named(name); ValueError says what is wrong with it. "
                      "Immutable; any thread may use it.")
      .def(py::init(&OfBytes), py::arg("profile"))
      .def_static("named", &OfName, py::arg("name"),
                  "\"sRGB\", \"gamma 1.0\", \"gamma 1.8\", \"gamma 2.2\", \"gamma 2.4\", "
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
          "The names of the built-in profiles.")
      .def_property_readonly(
          "description", [](const Profile& p) { return VXIO_ProfileName(p.profile); },
          "What the profile calls itself.")
      .def_property_readonly("exponent", &Exponent,
                             "Of the green curve, from stored to linear; the best fit where the "
                             "curve is no pure power.")
      .def("linear", &Linear, "The profile with the same primaries and straight curves.")
      .def("__bytes__", &Bytes)
      .def("__repr__",
           [](const Profile& p) { return "<vx.Profile " + VXIO_ProfileName(p.profile) + ">"; });
}

}  // namespace

void AddColor(py::module_& module) {
  AddProfile(module);
  py::class_<LinearTables>(module, "LinearTables",
                           "Tables for blending in linear light with the curves of a profile: "
                           "LinearTables(profile). Immutable; any thread may use them.")
      .def(py::init(&TablesOf), py::arg("profile"))
      .def_property_readonly(
          "linearize", [](const LinearTables& t) { return Table(t.tables->linearize, 256); },
          "256 x uint16, read-only: stored 8-bit value to linear 0..32768.")
      .def_property_readonly(
          "delinearize", [](const LinearTables& t) { return Table(t.tables->delinearize, 4097); },
          "4097 x uint16, read-only: linear value >> 3 to stored value 0..32768.")
      .def_property_readonly(
          "gamma", [](const LinearTables& t) { return t.tables->gamma; },
          "The exponent from stored to linear, for float pixels.");
  py::class_<Settings>(module, "ColorSettings",
                       "In which colours a project works: ColorSettings(profile). linearize works "
                       "in linear light throughout, linear_blending blends in it only.")
      .def(py::init([](const py::object& profile) {
             return std::make_unique<Settings>(ParseObject<Profile>("profile", profile));
           }),
           py::arg("profile"))
      .def_static("emergency", &Emergency,
                  "For callers that have no settings of a project: sRGB, blending as stored.")
      .def(
          "copy", [](const Settings& s) { return Settings(s); },
          "The same choices; what was made from them is made anew.")
      .def_property("profile", &Settings::GetProfile, &Settings::SetProfile,
                    "The Profile of the project; may be set.")
      .def_property_readonly("adjusted_profile", &Settings::GetAdjusted,
                             "The profile, or with linearize its linear counterpart.")
      .def_property(
          "linearize", [](Settings& s) { return s.raw().GetLinearize(); },
          [](Settings& s, bool on) { s.raw().SetLinearize(on); },
          "Whether all work is in linear light; may be set.")
      .def_property(
          "linear_blending", [](Settings& s) { return s.raw().GetLinearBlending(); },
          [](Settings& s, bool on) { s.raw().SetLinearBlending(on); },
          "Whether blending alone is in linear light; may be set.")
      .def_property_readonly("exponent", &Settings::GetExponent,
                             "Of the adjusted profile, from stored to linear.")
      .def("tables", &Settings::GetTables, py::kw_only(), py::arg("force") = false,
           "LinearTables when linear blending is chosen and linearize is not, else None; with "
           "force in any case.")
      .def_property_readonly("name", &Settings::GetName, "For people.")
      .def("__eq__", &Settings::Equals, py::is_operator());
  module.def("convert_colors", &ConvertColors);
}

}  // namespace vxpy
