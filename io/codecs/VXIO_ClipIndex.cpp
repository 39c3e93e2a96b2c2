// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipIndex.h"

#include <algorithm>

#include "VX/VX.hpp"

namespace {

// Returns true if each packet of the codec contains one frame. VP8 has packets of hidden frames.
// Interlaced H.264 and HEVC may have one packet for each field.
bool HasFramePerPacket(const AVCodecParameters& parameters) {
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(parameters.codec_id);
  if (descriptor && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY)) return true;
  switch (parameters.codec_id) {
    case AV_CODEC_ID_FFV1:
    case AV_CODEC_ID_PNG:
    case AV_CODEC_ID_VP9: return true;
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
      return parameters.field_order == AV_FIELD_PROGRESSIVE ||
             parameters.field_order == AV_FIELD_UNKNOWN;
    default: return false;
  }
}

// Returns true if a VP9 packet shows no frame. Hidden frames are usually in one packet with a frame
// that is shown; the last byte of such a packet has the bits 110.
bool IsHidden(const AVPacket& packet) {
  if (packet.size < 1) return true;
  if ((packet.data[packet.size - 1] & 0xE0) == 0xC0) return false;
  // Two bits of marker, two bits of profile (and one more for profile 3), show_existing_frame,
  // frame_type, show_frame.
  const int first = packet.data[0];
  const int shift = (first & 0x30) == 0x30 ? 1 : 0;
  const bool existing = (first >> (3 - shift)) & 1, shown = (first >> (1 - shift)) & 1;
  return !existing && !shown;
}

}  // namespace

VXIOp_ClipIndex::VXIOp_ClipIndex(const std::string& path) {
  VXIOp_LavLog log;
  VXIOp_ClipFile file(path, &log);
  const VXIOp_LavLog::Capture capture(&log);
  const AVCodecParameters& parameters = *file.stream().codecpar;
  const std::string container = file.FormatName();
  if (container != "matroska" && container != "mov") return;
  if (!HasFramePerPacket(parameters)) return;
  const bool vp9 = parameters.codec_id == AV_CODEC_ID_VP9;
  const VXIOp_LavPtr<AVPacket> packet(av_packet_alloc());
  if (!packet) throw vx::Error(vx::ErrorCode::out_of_memory);
  std::vector<int64_t> stamps;
  std::vector<Key> keys;
  int error;
  while ((error = file.Read(packet.get())) == 0) {
    const bool key = packet->flags & AV_PKT_FLAG_KEY;
    const bool first_is_no_key = stamps.empty() && !key;
    if (packet->pts == AV_NOPTS_VALUE || (packet->flags & AV_PKT_FLAG_DISCARD) || first_is_no_key ||
        (vp9 && IsHidden(*packet))) {
      return;
    }
    if (key) keys.push_back({0, packet->pts, packet->dts, static_cast<int64_t>(stamps.size())});
    stamps.push_back(packet->pts);
  }
  if (error != AVERROR_EOF || stamps.empty() || !file.TruncationReason().empty()) return;
  const int64_t first = stamps[0];
  std::sort(stamps.begin(), stamps.end());
  // Frames before the first key frame are not decoded.
  const bool leads = stamps[0] < first;
  const bool repeats = std::adjacent_find(stamps.begin(), stamps.end()) != stamps.end();
  if (leads || repeats) return;
  for (Key& key : keys) {
    key.frame = std::lower_bound(stamps.begin(), stamps.end(), key.stamp) - stamps.begin();
  }
  std::sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) { return a.frame < b.frame; });
  for (const int64_t stamp : stamps) seconds_.push_back(*file.SecondsOf(stamp));
  stamps_ = std::move(stamps);
  keys_ = std::move(keys);
}

const VXIOp_ClipIndex::Key& VXIOp_ClipIndex::KeyBefore(int64_t frame) const {
  const auto after =
      std::upper_bound(keys_.begin(), keys_.end(), frame,
                       [](int64_t number, const Key& key) { return number < key.frame; });
  return after[-1];
}
