// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_ColorSpaces.h"

#include "color/VXp_ColorSpaces.h"

// --- 8 bits --------------------------------------------------------------------------------------

VX_Err VX_RGBtoHLS_Straight(void* /*ref*/, const VX_Pixel8* rgb, VX_Fixed hls[3]) {
  return VXp_RgbToHls(rgb, hls);
}
VX_Err VX_HLStoRGB_Straight(void* /*ref*/, const VX_Fixed hls[3], VX_Pixel8* rgb) {
  return VXp_HlsToRgb(hls, rgb);
}
VX_Err VX_RGBtoYIQ_Straight(void* /*ref*/, const VX_Pixel8* rgb, VX_Fixed yiq[3]) {
  return VXp_RgbToYiq(rgb, yiq);
}
VX_Err VX_YIQtoRGB_Straight(void* /*ref*/, const VX_Fixed yiq[3], VX_Pixel8* rgb) {
  return VXp_YiqToRgb(yiq, rgb);
}
VX_Err VX_Luminance_Straight(void* /*ref*/, const VX_Pixel8* rgb, int32_t* out) {
  return VXp_ReadLuminance(rgb, out);
}
VX_Err VX_Hue_Straight(void* /*ref*/, const VX_Pixel8* rgb, int32_t* out) {
  return VXp_ReadHls(rgb, &VXp_HlsOf<VX_Pixel8>::Hue, out);
}
VX_Err VX_Lightness_Straight(void* /*ref*/, const VX_Pixel8* rgb, int32_t* out) {
  return VXp_ReadHls(rgb, &VXp_HlsOf<VX_Pixel8>::Lightness, out);
}
VX_Err VX_Saturation_Straight(void* /*ref*/, const VX_Pixel8* rgb, int32_t* out) {
  return VXp_ReadHls(rgb, &VXp_HlsOf<VX_Pixel8>::Saturation, out);
}

// --- 16 bits -------------------------------------------------------------------------------------

VX_Err VX_RGBtoHLS_Straight16(void* /*ref*/, const VX_Pixel16* rgb, VX_Fixed hls[3]) {
  return VXp_RgbToHls(rgb, hls);
}
VX_Err VX_HLStoRGB_Straight16(void* /*ref*/, const VX_Fixed hls[3], VX_Pixel16* rgb) {
  return VXp_HlsToRgb(hls, rgb);
}
VX_Err VX_RGBtoYIQ_Straight16(void* /*ref*/, const VX_Pixel16* rgb, VX_Fixed yiq[3]) {
  return VXp_RgbToYiq(rgb, yiq);
}
VX_Err VX_YIQtoRGB_Straight16(void* /*ref*/, const VX_Fixed yiq[3], VX_Pixel16* rgb) {
  return VXp_YiqToRgb(yiq, rgb);
}
VX_Err VX_Luminance_Straight16(void* /*ref*/, const VX_Pixel16* rgb, int32_t* out) {
  return VXp_ReadLuminance(rgb, out);
}
VX_Err VX_Hue_Straight16(void* /*ref*/, const VX_Pixel16* rgb, int32_t* out) {
  return VXp_ReadHls(rgb, &VXp_HlsOf<VX_Pixel16>::Hue, out);
}
VX_Err VX_Lightness_Straight16(void* /*ref*/, const VX_Pixel16* rgb, int32_t* out) {
  return VXp_ReadHls(rgb, &VXp_HlsOf<VX_Pixel16>::Lightness, out);
}
VX_Err VX_Saturation_Straight16(void* /*ref*/, const VX_Pixel16* rgb, int32_t* out) {
  return VXp_ReadHls(rgb, &VXp_HlsOf<VX_Pixel16>::Saturation, out);
}

// --- float ---------------------------------------------------------------------------------------

VX_Err VX_RGBtoHLS_StraightFloat(void* /*ref*/, const VX_PixelFloat* rgb, float hls[3]) {
  return VXp_RgbToHls(rgb, hls);
}
VX_Err VX_HLStoRGB_StraightFloat(void* /*ref*/, const float hls[3], VX_PixelFloat* rgb) {
  return VXp_HlsToRgb(hls, rgb);
}
VX_Err VX_RGBtoYIQ_StraightFloat(void* /*ref*/, const VX_PixelFloat* rgb, float yiq[3]) {
  return VXp_RgbToYiq(rgb, yiq);
}
VX_Err VX_YIQtoRGB_StraightFloat(void* /*ref*/, const float yiq[3], VX_PixelFloat* rgb) {
  return VXp_YiqToRgb(yiq, rgb);
}
VX_Err VX_Luminance_StraightFloat(void* /*ref*/, const VX_PixelFloat* rgb, float* out) {
  return VXp_ReadLuminance(rgb, out);
}
VX_Err VX_Hue_StraightFloat(void* /*ref*/, const VX_PixelFloat* rgb, float* out) {
  return VXp_ReadHls(rgb, &VXp_HlsOf<VX_PixelFloat>::Hue, out);
}
VX_Err VX_Lightness_StraightFloat(void* /*ref*/, const VX_PixelFloat* rgb, float* out) {
  return VXp_ReadHls(rgb, &VXp_HlsOf<VX_PixelFloat>::Lightness, out);
}
VX_Err VX_Saturation_StraightFloat(void* /*ref*/, const VX_PixelFloat* rgb, float* out) {
  return VXp_ReadHls(rgb, &VXp_HlsOf<VX_PixelFloat>::Saturation, out);
}
