// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Motion.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <span>

#include "VXIO_Codecs.h"
#include "VXIO_InputFile.h"
#include "VXIO_OutputFile.h"

static_assert(std::endian::native == std::endian::little, "numbers of a .flo are little-endian");

namespace {

using Vector = vx::MotionField::Vector;

constexpr std::array<char, 4> kFloMark = {'P', 'I', 'E', 'H'};
constexpr float kFloUnknown = 1e10f;
constexpr float kLargestKnown = 1e9f;  // readers treat larger components as unknown
constexpr const char* kNeedsExtension = "motion data need the extension .flo or .exr";
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

struct FloHeader {
  std::array<char, 4> mark;
  int32_t width, height;
};
static_assert(sizeof(FloHeader) == 12 && sizeof(Vector) == 8);

enum class Format { None, Flo, Exr };

Format FormatOf(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension == ".flo" ? Format::Flo : extension == ".exr" ? Format::Exr : Format::None;
}

bool IsKnown(const Vector& vector) {
  return std::fabs(vector.u) <= kLargestKnown && std::fabs(vector.v) <= kLargestKnown;
}

std::span<Vector> VectorsOf(vx::MotionField* field) {
  return {field->data(),
          static_cast<size_t>(field->width()) * static_cast<size_t>(field->height())};
}

// Returns a copy whose unknown vectors have this value in both components.
vx::MotionField WithUnknown(vx::MotionField field, float value) {
  for (Vector& vector : VectorsOf(&field)) {
    if (!IsKnown(vector)) vector = {value, value};
  }
  return field;
}

std::string EncodeFlo(const vx::MotionField& field) {
  const FloHeader header{kFloMark, field.width(), field.height()};
  std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
  const auto rows = static_cast<size_t>(field.height());
  bytes.append(reinterpret_cast<const char*>(field.data()),
               static_cast<size_t>(field.pitch()) * rows);
  return bytes;
}

vx::MotionField ReadFlo(const std::string& path) {
  FloHeader header{};
  const std::string head = VXIOp_Head(path, sizeof header);
  if (head.size() == sizeof header) std::memcpy(&header, head.data(), sizeof header);
  if (header.mark != kFloMark) VXIOp_ThrowInput(path, "is no .flo file; it begins otherwise");
  VXIOp_CheckSize(path, header.width, header.height);
  const uint64_t bytes = sizeof header + uint64_t{sizeof(Vector)} *
                                             static_cast<uint64_t>(header.width) *
                                             static_cast<uint64_t>(header.height);
  std::error_code none;
  const uint64_t size = std::filesystem::file_size(path, none);
  if (size != bytes) {
    VXIOp_ThrowInput(path, "has " + std::to_string(size) + " bytes; its header declares " +
                               std::to_string(header.width) + " x " +
                               std::to_string(header.height) + " vectors, which are " +
                               std::to_string(bytes) + " bytes");
  }
  vx::MotionField field(header.width, header.height);
  std::ifstream file(path, std::ios::binary);
  file.seekg(sizeof header);
  file.read(reinterpret_cast<char*>(field.data()),
            static_cast<std::streamsize>(bytes - sizeof header));
  if (!file) VXIOp_ThrowInput(path, "cannot be read");
  return field;
}

}  // namespace

bool VXIO_IsMotionFile(const std::string& path) { return FormatOf(path) != Format::None; }

void VXIO_CheckMotionFile(const std::string& path, VXIO_Clobber clobber) {
  if (!VXIO_IsMotionFile(path)) {
    VXIOp_ThrowOutput(path, kNeedsExtension);
  }
  VXIO_CheckFile(path, clobber);
}

std::string VXIO_EncodeMotion(const std::string& name, const vx::MotionField& field) {
  const Format format = FormatOf(name);
  if (format == Format::None) VXIOp_ThrowOutput(name, kNeedsExtension);
  if (field.width() <= 0 || field.height() <= 0) VXIOp_ThrowOutput(name, "there are no vectors");
  if (format == Format::Flo) return EncodeFlo(WithUnknown(field, kFloUnknown));
  return VXIOp_LoadCodecs(VXIO_ErrorKind::Output).EncodeMotionExr(name, WithUnknown(field, kNan));
}

void VXIO_WriteMotion(const std::string& path, const vx::MotionField& field, VXIO_Clobber clobber) {
  VXIO_CheckMotionFile(path, clobber);
  const std::string bytes = VXIO_EncodeMotion(path, field);
  VXIOp_OutputFile file(path);
  static_cast<void>(fwrite(bytes.data(), 1, bytes.size(), file.stream()));  // Finish checks
  file.Finish();
  file.Commit(clobber);
}

vx::MotionField VXIO_ReadMotion(const std::string& path) {
  VXIOp_CheckFile(path, "motion data");
  const Format format = FormatOf(path);
  if (format == Format::None) VXIOp_ThrowInput(path, "motion data have the extension .flo or .exr");
  return WithUnknown(format == Format::Flo ? ReadFlo(path) : VXIOp_LoadCodecs().ReadMotionExr(path),
                     kNan);
}

VXIO_MotionSummary VXIO_SummarizeMotion(const vx::MotionField& field) {
  VXIO_MotionSummary summary;
  int64_t known = 0;
  for (int32_t y = 0; y < field.height(); ++y) {
    for (int32_t x = 0; x < field.width(); ++x) {
      const Vector& vector = field.at(x, y);
      if (!vector.is_known()) {
        ++summary.unknown;
        continue;
      }
      ++known;
      summary.mean_u += vector.u;
      summary.mean_v += vector.v;
      summary.longest = std::max(summary.longest, std::hypot(double{vector.u}, double{vector.v}));
    }
  }
  if (known > 0) {
    summary.mean_u /= static_cast<double>(known);
    summary.mean_v /= static_cast<double>(known);
  }
  return summary;
}
