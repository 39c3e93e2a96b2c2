// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipOutput.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <string_view>
#include <type_traits>

#include "VX/VX.hpp"

// The functions through which libav writes the temporary file.
struct VXIOp_ClipOutputStream {
  using Byte = std::conditional_t<(LIBAVFORMAT_VERSION_MAJOR >= 61), const uint8_t, uint8_t>;

  static int Write(void* opaque, Byte* bytes, int count) {
    auto* output = static_cast<VXIOp_ClipOutput*>(opaque);
    errno = 0;
    const auto size = static_cast<size_t>(count);
    if (fwrite(bytes, 1, size, output->file_.stream()) == size) return count;
    return Failed(output);
  }

  static int64_t Seek(void* opaque, int64_t offset, int whence) {
    auto* output = static_cast<VXIOp_ClipOutput*>(opaque);
    FILE* stream = output->file_.stream();
    errno = 0;
    if (whence == AVSEEK_SIZE) {
      const off_t here = ftello(stream);
      if (fseeko(stream, 0, SEEK_END) != 0) return Failed(output);
      const off_t size = ftello(stream);
      return fseeko(stream, here, SEEK_SET) == 0 ? size : Failed(output);
    }
    return fseeko(stream, offset, whence) == 0 ? ftello(stream) : Failed(output);
  }

  static int Failed(VXIOp_ClipOutput* output) {
    if (output->write_error_ == 0) output->write_error_ = errno ? errno : EIO;
    return AVERROR(output->write_error_);
  }
};

namespace {

constexpr int kBufferBytes = 65536;

}  // namespace

VXIOp_ClipOutput::VXIOp_ClipOutput(const std::string& path, VXIOp_LavLog* log)
    : path_(path), log_(log), file_(path) {
  const VXIOp_LavLog::Capture capture(log_);
  AVFormatContext* container = nullptr;
  const char* muxer = VXIOp_ClipContainerOfName(path)->muxer;
  const int error = avformat_alloc_output_context2(&container, nullptr, muxer, nullptr);
  container_.reset(container);
  if (error == AVERROR(EINVAL)) {
    VXIOp_ThrowOutput(path, std::string("the installed libavformat has no muxer ") + muxer);
  }
  Check(error);
  // Without libav's version and without random identifiers.
  container_->flags |= AVFMT_FLAG_BITEXACT | AVFMT_FLAG_CUSTOM_IO;
  container_->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;  // FLAC in MP4
  auto* bytes = static_cast<unsigned char*>(av_malloc(kBufferBytes));
  if (!bytes) throw vx::Error(vx::ErrorCode::out_of_memory);
  buffer_.reset(avio_alloc_context(bytes, kBufferBytes, /*write_flag=*/1, this,
                                   /*read_packet=*/nullptr, VXIOp_ClipOutputStream::Write,
                                   VXIOp_ClipOutputStream::Seek));
  if (!buffer_) {
    av_free(bytes);
    throw vx::Error(vx::ErrorCode::out_of_memory);
  }
  container_->pb = buffer_.get();
}

VXIOp_ClipOutput::~VXIOp_ClipOutput() {
  const VXIOp_LavLog::Capture capture(log_);
  container_.reset();
}

void VXIOp_ClipOutput::Check(int error) {
  if (write_error_ != 0) file_.Throw("cannot be written", write_error_);
  if (error == AVERROR(ENOMEM)) throw vx::Error(vx::ErrorCode::out_of_memory);
  if (error < 0) VXIOp_ThrowOutput(path_, "cannot be written (" + log_->Reason(error) + ")");
}

bool VXIOp_ClipOutput::needs_global_header() const {
  return container_->oformat->flags & AVFMT_GLOBALHEADER;
}

bool VXIOp_ClipOutput::Stores(AVCodecID codec) const {
  // The muxer of MOV lists these codecs, but writes them to MP4 only.
  constexpr AVCodecID kOnlyMp4[] = {AV_CODEC_ID_FLAC, AV_CODEC_ID_OPUS, AV_CODEC_ID_TRUEHD};
  const bool mov = std::string_view(container_->oformat->name) == "mov";
  if (mov && std::find(std::begin(kOnlyMp4), std::end(kOnlyMp4), codec) != std::end(kOnlyMp4)) {
    return false;
  }
  return avformat_query_codec(container_->oformat, codec, FF_COMPLIANCE_NORMAL) == 1;
}

void VXIOp_ClipOutput::SetTags(const VXIO_ClipOptions& options) {
  for (const auto& [name, value] : options.tags) {
    av_dict_set(&container_->metadata, name.c_str(), value.c_str(), 0);
  }
}

AVStream* VXIOp_ClipOutput::AddStream(const AVCodecParameters& parameters) {
  AVStream* stream = avformat_new_stream(container_.get(), nullptr);
  if (!stream) throw vx::Error(vx::ErrorCode::out_of_memory);
  Check(avcodec_parameters_copy(stream->codecpar, &parameters));
  stream->codecpar->codec_tag = 0;  // chosen by the container
  return stream;
}

void VXIOp_ClipOutput::Begin() {
  Check(avformat_write_header(container_.get(), nullptr));
  begun_ = true;
}

void VXIOp_ClipOutput::Write(AVPacket* packet, const AVStream& stream, AVRational time_base) {
  packet->stream_index = stream.index;
  av_packet_rescale_ts(packet, time_base, stream.time_base);
  Check(av_interleaved_write_frame(container_.get(), packet));
}

void VXIOp_ClipOutput::Finish(VXIO_Clobber clobber) {
  Check(av_write_trailer(container_.get()));
  avio_flush(buffer_.get());
  Check(buffer_->error);
  file_.Finish();
  file_.Commit(clobber);
}
