// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The video stream of a clip: the file, its packets, its decoder, and what libav says about them.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// The name of the container that a file is by its contents, of those that are read; else empty.
std::string VXIOp_ClipFormatOf(const std::string& path);

// Frees what libav made.
struct VXIOp_LavFree {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
template <class Thing>
using VXIOp_LavPtr = std::unique_ptr<Thing, VXIOp_LavFree>;

// Keeps the first error that libav tells, until it is taken. Decoders tell from their own threads.
class VXIOp_LavWords {
 public:
  void Hear(const char* words);
  std::string Take();

  // While this lives, what libav says on this thread goes there.
  class Listening {
   public:
    explicit Listening(VXIOp_LavWords* words);
    ~Listening();
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

   private:
    VXIOp_LavWords* before_;
  };

 private:
  std::mutex mutex_;
  std::string first_;
};

class VXIOp_ClipStream {
 public:
  // Throws VXIO_Error (Input).
  explicit VXIOp_ClipStream(const std::string& path);
  ~VXIOp_ClipStream();
  VXIOp_ClipStream(const VXIOp_ClipStream&) = delete;
  VXIOp_ClipStream& operator=(const VXIOp_ClipStream&) = delete;

  // Decodes the next frame into frame(); false after the last. Throws VXIO_Error (Input), then and
  // ever after, for one that is damaged.
  bool Next();

  const AVFrame& frame() const { return *frame_; }
  int64_t decoded() const { return decoded_; }  // frames so far

  const AVStream& stream() const { return *stream_; }
  std::string FormatName() const;
  AVPixelFormat ToldFormat() const;
  AVRational FrameRate() const;
  AVRational PixelAspect() const;
  // What the file says, without a guess from its bit rate.
  std::optional<int64_t> ToldFrames() const;
  std::optional<double> ToldSeconds() const;
  // Of a time stamp of the stream, since the start of the file.
  std::optional<double> SecondsOf(int64_t stamp) const;
  const std::vector<std::string>& warnings() const { return warnings_; }
  VXIOp_LavWords* words() { return &words_; }

 private:
  void OpenFile();
  void ChooseStream();
  void OpenCodec();
  void Feed();
  void JudgeFrame();
  std::string JudgeEnd() const;
  bool EndsBeforeItsTime() const;
  [[noreturn]] void Fail(const std::string& why);

  std::string path_;
  VXIOp_LavWords words_;
  VXIOp_LavPtr<AVFormatContext> file_;
  VXIOp_LavPtr<AVCodecContext> codec_;
  VXIOp_LavPtr<AVPacket> packet_;
  VXIOp_LavPtr<AVFrame> frame_;
  AVStream* stream_ = nullptr;
  std::vector<std::string> warnings_;
  bool alpha_beside_ = false;  // the frames have alpha that their parameters do not tell
  int64_t decoded_ = 0;
  int64_t packets_ = 0;
  int64_t read_to_ = 0;                          // the byte of the file after the last of them
  int64_t shown_stamp_ = AV_NOPTS_VALUE;         // of the last frame
  int64_t last_stamp_ = AV_NOPTS_VALUE;          // when the latest of the packets is shown
  int64_t last_decoded_stamp_ = AV_NOPTS_VALUE;  // when the last packet is decoded
  bool draining_ = false;                        // the decoder has all packets
  bool ended_ = false;
  std::string torn_;  // why no more packets come although the file has not ended
  std::string failure_;
};
