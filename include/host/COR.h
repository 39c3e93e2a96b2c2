// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// COR: the colour engine. Profiles, pools of profiles, transforms.
//
// Every call from COR_QCE_ProfileFromMemory on goes through the engine that COR_BindClient bound
// and gives QCE_NotAvailable while there is none. A call that fails changes nothing behind its
// `out`. Null places and null arguments give QCE_BadArgument unless a call says otherwise. Profiles
// and transforms are immutable: any number of threads may share one. Pools lock by themselves.
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/U.h"

// ---- The engine ---------------------------------------------------------------------------------

// Gives the address of the engine's procedure of that name, null for an unknown name.
typedef void* (*COR_AddressProc)(const char* name);

// Stores the procedure through which a client finds the engine. Gives 3 for a null place.
VXHOST_API U_Err COR_GetQIBAddressProc(COR_AddressProc* out);

// Binds the client layer to an engine. False when proc is null or the engine lacks something that
// the client needs. Binding again replaces the engine; what an engine made is for that engine only.
VXHOST_API bool COR_BindClient(COR_AddressProc proc);

// Releases the client layer. Harmless when it is not bound.
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
  QCE_Truncated = 0x7472756E,     // the header claims more bytes than there are
  QCE_Damaged = 0x62726F6B,       // not a profile, or its parts do not fit together
  QCE_WrongClass = 0x636C6173,    // a device link, an abstract or a named colour profile
  QCE_WrongModel = 0x6D6F6465,    // not for RGB: CMYK, Lab, grey, ...
  QCE_NoPrimaries = 0x7072696D,   // RGB by tables only: no primaries and tone curves
  QCE_BadCurve = 0x63757276,      // a tone curve that is flat or falls, so that it has no exponent
  QCE_UnknownName = 0x6E616D65,   // no built-in profile of that name
  QCE_UnknownID = 0x69646E74      // the pool has never met a profile of that identity
};

// A few words for people ("claims more bytes than it has"), never null; lives for ever.
VXHOST_API const char* COR_QCE_StatusText(QCE_Status status);

// Throws the status, an int32_t by value, unless it is QCE_Ok.
VXHOST_API void QCE_Error(QCE_Status status);

// ---- Profiles -----------------------------------------------------------------------------------

class COR_QCE_Profile;
class COR_QCE_ProfilePool;
class COR_QCE_Transform;

using COR_QCE_ProfilePtr = boost::shared_ptr<COR_QCE_Profile>;
using COR_QCE_TransformPtr = boost::shared_ptr<COR_QCE_Transform>;

inline constexpr size_t COR_QCE_MaxProfileBytes = size_t{16} << 20;

// The identity of a profile: a 128-bit digest of its bytes. All zero is the null ID.
struct _t_QCE_ID {
  uint32_t words[4];
};
inline bool operator==(const _t_QCE_ID& a, const _t_QCE_ID& b) {
  return a.words[0] == b.words[0] && a.words[1] == b.words[1] && a.words[2] == b.words[2] &&
         a.words[3] == b.words[3];
}

// An ICC profile for RGB of the class display, input, output or colour space. The bytes are copied,
// but for those past the size that the header claims. Primaries and tone curves are what counts,
// also where the profile has tables for colours besides.
VXHOST_API QCE_Status COR_QCE_ProfileFromMemory(const void* bytes, size_t size,
                                                COR_QCE_ProfilePtr* out);
VXHOST_API QCE_Status COR_QCE_ProfileFromFile(const char* path, COR_QCE_ProfilePtr* out);

// A built-in one, by name without regard to case: "sRGB", "gamma 1.0", "gamma 1.8", "gamma 2.2",
// "gamma 2.4" (these with the primaries of sRGB), "Rec.709", "Display P3", "ProPhoto". The same
// bytes on every call.
VXHOST_API QCE_Status COR_QCE_ProfileFromName(const char* name, COR_QCE_ProfilePtr* out);

// The name of built-in profile `index`, null from the end on.
VXHOST_API const char* COR_QCE_BuiltInProfileName(int32_t index);

// The description, for people; may be empty.
VXHOST_API QCE_Status COR_QCE_GetProfileDescription(const COR_QCE_ProfilePtr& profile,
                                                    std::u16string* out);

// The profile as it stands in a file.
VXHOST_API QCE_Status COR_QCE_GetProfileBytes(const COR_QCE_ProfilePtr& profile,
                                              std::vector<uint8_t>* out);

// The exponent of the green curve, from stored to linear: that of the profile for a pure power,
// else the one that fits best (least squares) at 16 samples from 0.1 to
// 0.9. A null profile stands for sRGB.
VXHOST_API QCE_Status COR_QCE_GetToneExponent(const COR_QCE_ProfilePtr& profile, float* out);

// The profile with the same primaries and white and identity curves.
VXHOST_API QCE_Status COR_QCE_GetLinearRGBProfile(const COR_QCE_ProfilePtr& profile,
                                                  COR_QCE_ProfilePtr* out);

// ---- Pools --------------------------------------------------------------------------------------

// A pool remembers profiles by their identity. One profile of each identity: the first it met.
VXHOST_API QCE_Status COR_QCE_NewProfilePool(COR_QCE_ProfilePool** out);

// Null is accepted. Works also when the client has been released.
VXHOST_API void COR_QCE_DisposeProfilePool(COR_QCE_ProfilePool* pool);

// The identity of a profile, which the pool (may be null) learns by being asked.
VXHOST_API QCE_Status COR_QCE_GetProfileID(COR_QCE_ProfilePool* pool,
                                           const COR_QCE_ProfilePtr& profile, _t_QCE_ID* out);

// The profile of that identity that the pool knows, always the same object.
VXHOST_API QCE_Status COR_QCE_GetProfileByID(COR_QCE_ProfilePool* pool, const _t_QCE_ID& id,
                                             COR_QCE_ProfilePtr* out);

// ---- Transforms ---------------------------------------------------------------------------------

// Pixels in the order alpha, red, green, blue: 8 bits; 16 bits with white at 32768; 32-bit floats.
// Integers map to those of the engine by (v * 65535 + 16384) / 32768 and back by
// (v * 32768 + 32767) / 65535; integers above white count as white. Floats outside 0..1 are kept
// where curves and primaries allow it: a curve given by a formula goes on above 1, one given by a
// table ends there, and both are mirrored at 0.
enum : uint32_t {
  QCE_Format_Argb8 = 0x50524738,
  QCE_Format_Argb16 = 0x50524742,
  QCE_Format_ArgbFloat = 0x50524746
};

// From one profile to another, relative colorimetric, for pixels of one format. White becomes
// white, and profiles with the same bytes leave pixels as they are.
VXHOST_API QCE_Status COR_QCE_NewTransform(const COR_QCE_ProfilePtr& from,
                                           const COR_QCE_ProfilePtr& to, uint32_t format,
                                           COR_QCE_TransformPtr* out);

// A list of one option: with the code QCE_Option_KeepAlpha and a value that is not 0, alpha is
// copied as it stands; with 0 the alpha of `dst` stays.
inline constexpr uint32_t QCE_Option_KeepAlpha = 0x6B707463;
struct COR_QCE_Options {
  int32_t count;  // 1
  uint32_t code;
  int32_t value;
};

// Transforms `count` pixels; `src` and `dst` may be the same row. Both formats must be the one that
// the transform was made for. Null options copy alpha.
VXHOST_API QCE_Status COR_QCE_Apply(const COR_QCE_TransformPtr& transform, uint32_t src_format,
                                    const void* src, uint32_t dst_format, void* dst, int32_t count,
                                    const COR_QCE_Options* options);
