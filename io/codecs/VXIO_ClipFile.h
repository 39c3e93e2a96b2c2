// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The file of a clip: its container, the video stream that is read, what its header declares, and
// whether the file was cut off.

extern "C" {
#include <libavformat/avformat.h>
}

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VXIO_LavLog.h"

// Some demuxers and decoders return tag values that libav does not define. VXIOp_ClearUnknownTags
// sets such values to "unspecified" and returns false if there was one.
bool VXIOp_ClearUnknownTags(AVColorSpace* matrix, AVColorRange* range, AVColorPrimaries* primaries,
                            AVColorTransferCharacteristic* transfer, AVChromaLocation* siting);

// Deleter for libav's objects.
struct VXIOp_LavFree {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
template <class Object>
using VXIOp_LavPtr = std::unique_ptr<Object, VXIOp_LavFree>;

// Opens a container and reads its headers. Messages are recorded in `log` if a Capture exists.
// Throws VXIO_Error (Input).
VXIOp_LavPtr<AVFormatContext> VXIOp_OpenContainer(const std::string& path, VXIOp_LavLog* log);

class VXIOp_ClipFile {
 public:
  // Opens a file. `log` must outlive the object. Throws VXIO_Error (Input).
  VXIOp_ClipFile(const std::string& path, VXIOp_LavLog* log);
  ~VXIOp_ClipFile();
  VXIOp_ClipFile(const VXIOp_ClipFile&) = delete;
  VXIOp_ClipFile& operator=(const VXIOp_ClipFile&) = delete;

  const AVStream& stream() const { return *stream_; }
  std::string FormatName() const;
  AVRational FrameRate() const;
  AVRational PixelAspect() const;
  // Returns the value of a metadata tag of the stream, or null.
  const char* Tag(const char* name) const;
  // Returns the metadata that do not describe the file itself, with names in lower case.
  std::vector<std::pair<std::string, std::string>> Tags() const;
  // Returns the number of sound streams.
  int32_t Sounds() const;
  // The next functions return what the file declares, not libav's estimates from the bit rate.
  std::optional<int64_t> DeclaredFrames() const;
  std::optional<double> DeclaredSeconds() const;
  // Converts a time stamp of the stream to seconds since the start of the file.
  std::optional<double> SecondsOf(int64_t stamp) const;
  const std::vector<std::string>& warnings() const { return warnings_; }

  // Reads the next packet of the video stream. Returns 0, AVERROR_EOF after the last, or another
  // AVERROR code.
  int Read(AVPacket* packet);
  // Continues with the packet that has this presentation time and is a key frame; `packets` is the
  // number of packets before it. Returns false if the container does not find it; the position is
  // then unknown.
  bool SeekToKey(int64_t stamp, int64_t decode_stamp, int64_t packets);
  // Returns why the file is truncated; empty if it is complete. Call it after Read has returned
  // AVERROR_EOF.
  std::string TruncationReason() const;
  // Returns the presentation time of the first frame and the end of the last frame of the packets
  // that were read, in seconds of the stream's clock.
  std::pair<double, double> ReadSpan() const;

 private:
  void ChooseStream();
  bool EndsBeforeDeclaredTime() const;

  std::string path_;
  VXIOp_LavLog* log_;
  VXIOp_LavPtr<AVFormatContext> file_;
  AVStream* stream_ = nullptr;
  std::vector<std::string> warnings_;
  VXIOp_LavPtr<AVPacket> pending_;        // the packet that SeekToKey found
  int64_t packets_ = 0;                   // read so far
  int64_t read_to_ = 0;                   // offset in the file after the last packet
  int64_t first_stamp_ = AV_NOPTS_VALUE;  // smallest presentation time of the packets
  int64_t last_stamp_ = AV_NOPTS_VALUE;   // largest presentation time of the packets
  int64_t last_duration_ = 0;             // of the packet with the largest presentation time
};
