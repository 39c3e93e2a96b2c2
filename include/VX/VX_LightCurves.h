// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Blending in linear light by the tone curves of a profile.
//
// At 8 and 16 bits the calls blend with the tables of the profile, like VX_TransferRect. Float
// pixels are converted by the curves themselves, with an error of at most 1e-5 of the stored value
// after conversion and inverse, blended, and converted back once. VX_TransferRect with tables uses
// a fitted exponent for float pixels instead.
//
// In a float picture, a channel that the mode does not change keeps its bits, and a channel that
// becomes that of the source gets the bits of the source. Above 1, curves given by a formula are
// extended and curves given by a table are clamped; negative values are mirrored. NaN remains NaN.
// Alpha is not converted.

#include <boost/shared_ptr.hpp>

#include "VX/VX_Transform.h"
#include "host/COR.h"

// The curves and the tables of one profile. Immutable; any number of threads may share them.
class VX_LightCurves;

// Prepares the curves of a profile. Throws a status of the colour engine (QCE_Status).
VX_API boost::shared_ptr<const VX_LightCurves> VX_MakeLightCurves(
    const boost::shared_ptr<COR_QCE_Profile>& profile);

// Composites like VX_TransferRect, in linear light. `curves` is null to blend stored values. For
// float worlds the slot VX_TransferRect_S is not called; the slots of rows are.
VX_API VX_Err VX_TransferRectLinear(VX_ProgressInfo* progress, int32_t field, const M_Rect* rect,
                                    const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                                    const VX_LightCurves* curves, const VX_MaskSpec* mask,
                                    int32_t x, int32_t y, VX_LayerDef* dst);

// Draws like VX_TransformMotion, in linear light. Samples are taken from stored values at all
// depths. `curves` is null to blend stored values. For float worlds the slots VX_TransformWorld_S
// and VX_TransferRect_S are not called.
VX_API VX_Err VX_TransformMotionLinear(VX_ProgressInfo* progress, int32_t quality, int32_t field,
                                       const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                                       const VX_LightCurves* curves, const VX_TransformMask* mask,
                                       const M_Matrix3* matrices, int32_t num_matrices,
                                       uint8_t src2dst, const M_Rect* dst_rect, VX_LayerDef* dst);
