// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// COR: the colour engine: profiles, pools of profiles, transforms.
//
// Engine    The calls from COR_QCE_ProfileFromMemory on use the engine that COR_BindClient bound.
//           Without one they return QCE_NotAvailable.
// Errors    For null arguments the calls return QCE_BadArgument unless stated otherwise. On failure
//           `*out` is unchanged.
// Threads   Profiles and transforms are immutable and may be shared by any number of threads. Pools
//           are thread-safe.
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/U.h"

// ---- The engine ---------------------------------------------------------------------------------

// Returns the address of an engine procedure; null for an unknown name.
typedef void* (*COR_AddressProc)(const char* name);

// Stores the procedure that COR_BindClient needs. Returns bad argument (3) for null.
VXHOST_API U_Err COR_GetQIBAddressProc(COR_AddressProc* out);

// Binds the client layer to an engine and replaces an earlier one. Objects made by an engine may be
// used with that engine only. Returns false if proc is null or the engine lacks a required
// procedure.
VXHOST_API bool COR_BindClient(COR_AddressProc proc);

// Releases the engine. Does nothing if none is bound.
VXHOST_API void COR_ReleaseClient();

// ---- Status -------------------------------------------------------------------------------------

typedef int32_t QCE_Status;

enum : QCE_Status {
  QCE_Ok = 0,
  QCE_BadArgument = 3,
  QCE_OutOfMemory = 4,
  QCE_NotAvailable = 0x67656E20,  // no engine is bound
  QCE_CannotRead = 0x72656164,    // the file cannot be read
  QCE_TooLarge = 0x6C617267,      // more than COR_QCE_MaxProfileBytes
  QCE_Truncated = 0x7472756E,     // fewer bytes than the header declares
  QCE_Damaged = 0x62726F6B,       // not a profile, or inconsistent
  QCE_WrongClass = 0x636C6173,    // a device link, abstract or named colour profile
  QCE_WrongModel = 0x6D6F6465,    // not an RGB profile: CMYK, Lab, grey, ...
  QCE_NoPrimaries = 0x7072696D,   // RGB by lookup tables only, without primaries and tone curves
  QCE_BadCurve = 0x63757276,      // a tone curve without exponent: constant or decreasing
  QCE_UnknownName = 0x6E616D65,   // no built-in profile has that name
  QCE_UnknownID = 0x69646E74      // the pool contains no profile with that identifier
};

// Returns a short description of a status, never null. The text is static.
VXHOST_API const char* COR_QCE_StatusText(QCE_Status status);

// Throws the status (an int32_t by value) unless it is QCE_Ok.
VXHOST_API void QCE_Error(QCE_Status status);

// ---- Profiles -----------------------------------------------------------------------------------

class COR_QCE_Profile;
class COR_QCE_ProfilePool;
class COR_QCE_Transform;

using COR_QCE_ProfilePtr = boost::shared_ptr<COR_QCE_Profile>;
using COR_QCE_TransformPtr = boost::shared_ptr<COR_QCE_Transform>;

inline constexpr size_t COR_QCE_MaxProfileBytes = size_t{16} << 20;

// The identifier of a profile: a 128-bit digest of its bytes. All zero is the null identifier.
struct _t_QCE_ID {
  uint32_t words[4];
};
inline bool operator==(const _t_QCE_ID& a, const _t_QCE_ID& b) {
  return a.words[0] == b.words[0] && a.words[1] == b.words[1] && a.words[2] == b.words[2] &&
         a.words[3] == b.words[3];
}

// Creates a profile object from an ICC profile for RGB, of class display, input, output or colour
// space. The bytes are copied; bytes after the size in the header are ignored. If the profile
// contains lookup tables and also primaries with tone curves, the primaries and tone curves are
// used.
VXHOST_API QCE_Status COR_QCE_ProfileFromMemory(const void* bytes, size_t size,
                                                COR_QCE_ProfilePtr* out);
VXHOST_API QCE_Status COR_QCE_ProfileFromFile(const char* path, COR_QCE_ProfilePtr* out);

// Returns a built-in profile. The name is not case-sensitive: "sRGB", "gamma 1.0", "gamma 1.8",
// "gamma 2.2", "gamma 2.4" (all with the primaries of sRGB), "Rec.709", "Display P3", "ProPhoto".
// Every call returns the same profile bytes.
VXHOST_API QCE_Status COR_QCE_ProfileFromName(const char* name, COR_QCE_ProfilePtr* out);

// Returns the name of a built-in profile; null if there is none with this index.
VXHOST_API const char* COR_QCE_BuiltInProfileName(int32_t index);

// Stores the description for display; may be empty.
VXHOST_API QCE_Status COR_QCE_GetProfileDescription(const COR_QCE_ProfilePtr& profile,
                                                    std::u16string* out);

// Stores the bytes of the profile as in an ICC file.
VXHOST_API QCE_Status COR_QCE_GetProfileBytes(const COR_QCE_ProfilePtr& profile,
                                              std::vector<uint8_t>* out);

// Stores the exponent of the green curve (encoded to linear). If the curve is a power function,
// this is its exponent; else it is a least-squares fit to 16 samples from 0.1 to 0.9. A null
// profile means sRGB.
VXHOST_API QCE_Status COR_QCE_GetToneExponent(const COR_QCE_ProfilePtr& profile, float* out);

// Creates a profile with the same primaries and white point, and identity tone curves.
VXHOST_API QCE_Status COR_QCE_GetLinearRGBProfile(const COR_QCE_ProfilePtr& profile,
                                                  COR_QCE_ProfilePtr* out);

// ---- Pools --------------------------------------------------------------------------------------

// A pool maps identifiers to profiles. If several profiles have the same identifier, the pool
// contains the first one that was added.
VXHOST_API QCE_Status COR_QCE_NewProfilePool(COR_QCE_ProfilePool** out);

// Frees the pool. Null is ignored. Also works after COR_ReleaseClient.
VXHOST_API void COR_QCE_DisposeProfilePool(COR_QCE_ProfilePool* pool);

// Stores the identifier of a profile, and adds the profile to the pool. `pool` may be null.
VXHOST_API QCE_Status COR_QCE_GetProfileID(COR_QCE_ProfilePool* pool,
                                           const COR_QCE_ProfilePtr& profile, _t_QCE_ID* out);

// Stores in `out` the profile with this identifier. Every call returns the same object.
VXHOST_API QCE_Status COR_QCE_GetProfileByID(COR_QCE_ProfilePool* pool, const _t_QCE_ID& id,
                                             COR_QCE_ProfilePtr* out);

// ---- Transforms ---------------------------------------------------------------------------------

// Pixel formats; channels in the order alpha, red, green, blue:
//   Argb8       8 bits
//   Argb16      16 bits, white is 32768. Converted to the engine's integers by
//               (v * 65535 + 16384) / 32768 and back by (v * 32768 + 32767) / 65535. Values above
//               white are treated as white.
//   ArgbFloat   32-bit float. Values outside 0..1 are preserved if the profiles allow it: a curve
//               given by a formula is extended above 1, a curve given by a table is clamped there;
//               both are mirrored at 0.
enum : uint32_t {
  QCE_Format_Argb8 = 0x50524738,
  QCE_Format_Argb16 = 0x50524742,
  QCE_Format_ArgbFloat = 0x50524746
};

// Creates a relative colorimetric transform between two profiles, for pixels of one format. White
// is mapped to white. If both profiles have the same bytes, the transform does not change pixels.
VXHOST_API QCE_Status COR_QCE_NewTransform(const COR_QCE_ProfilePtr& from,
                                           const COR_QCE_ProfilePtr& to, uint32_t format,
                                           COR_QCE_TransformPtr* out);

// A list with exactly one option, QCE_Option_KeepAlpha. With value 0 the alpha of `dst` is
// unchanged; with any other value the alpha of `src` is copied.
inline constexpr uint32_t QCE_Option_KeepAlpha = 0x6B707463;
struct COR_QCE_Options {
  int32_t count;  // 1
  uint32_t code;
  int32_t value;
};

// Transforms `count` pixels. `src` and `dst` may be the same row. Both formats must equal the
// format of the transform. If `options` is null, alpha is copied.
VXHOST_API QCE_Status COR_QCE_Apply(const COR_QCE_TransformPtr& transform, uint32_t src_format,
                                    const void* src, uint32_t dst_format, void* dst, int32_t count,
                                    const COR_QCE_Options* options);
