// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Decodes the video stream of a clip.

#include "VXIO_ClipFile.h"
#include "VXIO_ClipIndex.h"

class VXIOp_ClipDecoder {
 public:
  // Throws VXIO_Error (Input).
  explicit VXIOp_ClipDecoder(const std::string& path);
  ~VXIOp_ClipDecoder();
  VXIOp_ClipDecoder(const VXIOp_ClipDecoder&) = delete;
  VXIOp_ClipDecoder& operator=(const VXIOp_ClipDecoder&) = delete;

  // Decodes the next frame into frame(). Returns false after the last frame. Throws VXIO_Error
  // (Input) if the frame is damaged; every later call then throws the same error.
  bool Next();

  // Continues at a key frame, so that Next returns frame `number`, which has the time `stamp`.
  // Returns false if it cannot; the decoder must then be made anew. Throws like Next.
  bool SeekTo(const VXIOp_ClipIndex::Key& key, int64_t number, int64_t stamp);

  const AVFrame& frame() const { return *frame_; }
  int64_t decoded() const { return decoded_; }  // number of frames decoded so far
  AVPixelFormat DeclaredFormat() const;
  const VXIOp_ClipFile& file() const { return file_; }
  const std::vector<std::string>& warnings() const { return warnings_; }
  VXIOp_LavLog* log() { return &log_; }

 private:
  void Open();
  bool Decode();
  void Feed();
  void CheckFrame();
  [[noreturn]] void Fail(const std::string& why);

  std::string path_;
  VXIOp_LavLog log_;  // outlives file_ and codec_
  VXIOp_ClipFile file_;
  VXIOp_LavPtr<AVCodecContext> codec_;
  VXIOp_LavPtr<AVPacket> packet_;
  VXIOp_LavPtr<AVFrame> frame_;
  std::vector<std::string> warnings_;
  bool alpha_in_side_data_ = false;  // the frames have alpha that the stream's format does not
  int64_t decoded_ = 0;
  int64_t previous_stamp_ = AV_NOPTS_VALUE;     // presentation time of the last frame
  int64_t last_decode_stamp_ = AV_NOPTS_VALUE;  // decoding time of the last packet
  bool draining_ = false;                       // the decoder has received all packets
  bool ended_ = false;
  int64_t wanted_ = AV_NOPTS_VALUE;  // SeekTo skips frames before this time, and their damage
  bool has_next_ = false;            // SeekTo has decoded the frame that Next returns
  std::string truncation_;           // why reading stopped before the end of the clip
  std::string failure_;
};
