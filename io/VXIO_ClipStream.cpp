// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipStream.h"

extern "C" {
#include <libavutil/common.h>
#include <libavutil/log.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "VXIO_Open.h"

namespace {

// Containers that hold their video themselves. Playlists, and formats that name other files, stay
// out: a clip must not decide which files are opened. NUT stays out because half a frame at its end
// is passed on for a whole one.
constexpr std::array<std::string_view, 13> kContainers = {
    "matroska", "mov", "avi", "mpegts",       "mpeg", "ogg", "flv",
    "asf",      "mxf", "ivf", "yuv4mpegpipe", "dv",   "gif"};

constexpr size_t kHeadBytes = 65536;  // that tell a container
constexpr AVRational kMicroseconds = {1, AV_TIME_BASE};

std::string_view FirstName(const char* names) {
  const std::string_view all(names);
  return all.substr(0, all.find(','));
}

const AVInputFormat* Probe(const std::string& path) {
  std::string head = VXIOp_Head(path, kHeadBytes);
  const auto size = static_cast<int>(head.size());
  head.resize(head.size() + AVPROBE_PADDING_SIZE);
  AVProbeData data{};
  data.filename = "";  // a name proves nothing
  data.buf = reinterpret_cast<unsigned char*>(head.data());
  data.buf_size = size;
  int score = 0;
  const AVInputFormat* format = av_probe_input_format3(&data, /*is_opened=*/1, &score);
  if (!format || score <= AVPROBE_SCORE_RETRY) return nullptr;
  const bool ours = std::find(kContainers.begin(), kContainers.end(), FirstName(format->name)) !=
                    kContainers.end();
  return ours ? format : nullptr;
}

std::string ContainerNames() {
  std::string names;
  for (const std::string_view name : kContainers) {
    names += (names.empty() ? "" : ", ") + std::string(name);
  }
  return names;
}

thread_local VXIOp_LavWords* listening = nullptr;

// Stands in every decoder that is opened here, and so tells theirs from those of other programs'
// parts.
AVPixelFormat ChooseFormat(AVCodecContext* codec, const AVPixelFormat* formats) {
  return avcodec_default_get_format(codec, formats);
}

// The decoder or encoder that a teller is or works for; null for other tellers.
const AVCodecContext* CodecOf(void* teller) {
  while (teller) {
    const AVClass* kind = *static_cast<AVClass**>(teller);
    if (kind == avcodec_get_class()) return static_cast<AVCodecContext*>(teller);
    if (!kind || kind->parent_log_context_offset == 0) return nullptr;
    std::memcpy(&teller, static_cast<char*>(teller) + kind->parent_log_context_offset,
                sizeof teller);
  }
  return nullptr;
}

void Log(void* teller, int level, const char* format, va_list arguments) {
  VXIOp_LavWords* words = listening;
  // Also on the threads of the decoder, whose contexts are copies.
  const AVCodecContext* codec = CodecOf(teller);
  if (codec && codec->get_format == ChooseFormat) {
    words = static_cast<VXIOp_LavWords*>(codec->opaque);
  }
  if (!words) return av_log_default_callback(teller, level, format, arguments);
  if (level > AV_LOG_ERROR) return;
  char text[512];
  std::vsnprintf(text, sizeof text, format, arguments);
  words->Hear(text);
}

void StartListening() {
  [[maybe_unused]] static const bool once = [] {
    av_log_set_callback(Log);
    return true;
  }();
}

std::string WordsOf(int error) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(error, text, sizeof text);
  return text;
}

std::string Why(std::string words, int error) { return words.empty() ? WordsOf(error) : words; }

void CheckMemory(const void* made) {
  if (!made) throw VX_Err{VX_ErrOutOfMemory};
}

// Some files tell it in words beside the stream.
const char* Tag(const AVStream& stream, const char* name) {
  const AVDictionaryEntry* found =
      av_dict_get(stream.metadata, name, nullptr, AV_DICT_IGNORE_SUFFIX);
  return found ? found->value : nullptr;
}

// Some demuxers and decoders pass on any number that stands for a tag. False for one that had no
// meaning, and is forgotten. It is looked at as a number, since its type may not hold it.
template <class Code>
bool Known(Code* code, int codes, const char* (*name_of)(Code), Code unspecified) {
  static_assert(sizeof *code == sizeof(int));
  int number;
  std::memcpy(&number, code, sizeof number);
  if (number >= 0 && number < codes && name_of(*code)) return true;
  *code = unspecified;
  return false;
}
bool Known(AVColorSpace* code) {
  return Known(code, AVCOL_SPC_NB, av_color_space_name, AVCOL_SPC_UNSPECIFIED);
}
bool Known(AVColorRange* code) {
  return Known(code, AVCOL_RANGE_NB, av_color_range_name, AVCOL_RANGE_UNSPECIFIED);
}
bool Known(AVColorPrimaries* code) {
  return Known(code, AVCOL_PRI_NB, av_color_primaries_name, AVCOL_PRI_UNSPECIFIED);
}
bool Known(AVColorTransferCharacteristic* code) {
  return Known(code, AVCOL_TRC_NB, av_color_transfer_name, AVCOL_TRC_UNSPECIFIED);
}
bool Known(AVChromaLocation* code) {
  return Known(code, AVCHROMA_LOC_NB, av_chroma_location_name, AVCHROMA_LOC_UNSPECIFIED);
}

}  // namespace

std::string VXIOp_ClipFormatOf(const std::string& path) {
  StartListening();
  VXIOp_LavWords words;
  const VXIOp_LavWords::Listening listen(&words);
  const AVInputFormat* format = Probe(path);
  return format ? std::string(FirstName(format->name)) : std::string();
}

// --- what libav says -----------------------------------------------------------------------------

void VXIOp_LavWords::Hear(const char* words) {
  const std::string line = VXIOp_FirstLine(words);
  const std::lock_guard lock(mutex_);
  if (first_.empty()) first_ = line;
}

std::string VXIOp_LavWords::Take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(first_, {});
}

VXIOp_LavWords::Listening::Listening(VXIOp_LavWords* words) : before_(listening) {
  listening = words;
}

VXIOp_LavWords::Listening::~Listening() { listening = before_; }

// --- opening -------------------------------------------------------------------------------------

VXIOp_ClipStream::VXIOp_ClipStream(const std::string& path) : path_(path) {
  StartListening();
  const VXIOp_LavWords::Listening listen(&words_);
  packet_.reset(av_packet_alloc());
  frame_.reset(av_frame_alloc());
  CheckMemory(packet_.get());
  CheckMemory(frame_.get());
  OpenFile();
  ChooseStream();
  OpenCodec();
  static_cast<void>(words_.Take());  // what the search for the streams left
}

VXIOp_ClipStream::~VXIOp_ClipStream() {
  const VXIOp_LavWords::Listening listen(&words_);
  codec_.reset();
  file_.reset();
}

void VXIOp_ClipStream::OpenFile() {
  VXIOp_CheckFile(path_, "a clip");
  const AVInputFormat* format = Probe(path_);
  if (!format) {
    const VXIOp_Format* picture = VXIOp_FormatOfContent(VXIOp_Head(path_, 16), path_);
    if (picture) {
      VXIOp_ThrowInput(
          path_, std::string("is a picture (") + picture->name + "), not a clip; read it as one");
    }
    VXIOp_ThrowInput(path_, "is neither a clip of a known format (" + ContainerNames() +
                                ") nor a picture (" + VXIOp_FormatNames() + ")");
  }
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  AVFormatContext* file = nullptr;
  int error = avformat_open_input(&file, ("file:" + path_).c_str(), format, &options);
  av_dict_free(&options);
  file_.reset(file);
  if (error >= 0) error = avformat_find_stream_info(file, nullptr);
  if (error == AVERROR(ENOMEM)) {  // a header may ask for anything
    VXIOp_ThrowInput(path_, "asks for more memory than there is; it may be damaged");
  }
  if (error < 0) {
    VXIOp_ThrowInput(path_, "is truncated or damaged; make or fetch the file again (" +
                                Why(words_.Take(), error) + ")");
  }
}

void VXIOp_ClipStream::ChooseStream() {
  int videos = 0;
  for (unsigned i = 0; i < file_->nb_streams; ++i) {
    AVStream* stream = file_->streams[i];
    constexpr int kStill = AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS;
    stream->discard = AVDISCARD_ALL;
    if (stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO) continue;
    if (stream->disposition & kStill) continue;
    ++videos;
    const bool is_default = stream->disposition & AV_DISPOSITION_DEFAULT;
    if (!stream_ || (is_default && !(stream_->disposition & AV_DISPOSITION_DEFAULT))) {
      stream_ = stream;
    }
  }
  if (!stream_) VXIOp_ThrowInput(path_, "holds no video; give a file with a video stream");
  stream_->discard = AVDISCARD_DEFAULT;
  if (videos > 1) {
    warnings_.push_back(path_ + ": holds " + std::to_string(videos) + " video streams; number " +
                        std::to_string(stream_->index) + " is read");
  }
  AVCodecParameters& told = *stream_->codecpar;
  const int forgotten = !Known(&told.color_space) + !Known(&told.color_range) +
                        !Known(&told.color_primaries) + !Known(&told.color_trc) +
                        !Known(&told.chroma_location);
  if (forgotten > 0) {
    warnings_.push_back(path_ + ": has tags of colour without a meaning; they count as absent");
  }
}

void VXIOp_ClipStream::OpenCodec() {
  const AVCodecParameters& told = *stream_->codecpar;
  const AVCodec* decoder = avcodec_find_decoder(told.codec_id);
  // The alpha of VP8 and VP9 lies beside the frames, where only this decoder looks for it.
  const char* has_alpha = Tag(*stream_, "alpha_mode");
  const bool vpx = told.codec_id == AV_CODEC_ID_VP8 || told.codec_id == AV_CODEC_ID_VP9;
  if (vpx && has_alpha && std::strcmp(has_alpha, "1") == 0) {
    const AVCodec* other =
        avcodec_find_decoder_by_name(told.codec_id == AV_CODEC_ID_VP8 ? "libvpx" : "libvpx-vp9");
    if (other) {
      decoder = other;
      alpha_beside_ = true;
    } else {
      warnings_.push_back(path_ + ": its alpha cannot be read without libvpx; it counts as opaque");
    }
  }
  if (!decoder) {
    VXIOp_ThrowInput(path_, std::string("this libavcodec cannot decode its video (") +
                                avcodec_get_name(told.codec_id) +
                                "); convert it to another codec first");
  }
  VXIOp_CheckSize(path_, told.width, told.height);
  codec_.reset(avcodec_alloc_context3(decoder));
  CheckMemory(codec_.get());
  codec_->opaque = &words_;
  codec_->get_format = ChooseFormat;
  codec_->pkt_timebase = stream_->time_base;
  codec_->flags |= AV_CODEC_FLAG_BITEXACT;   // the same pixels on every processor
  codec_->flags |= AV_CODEC_FLAG_UNALIGNED;  // cut to what is shown, not to what suits vectors
  codec_->err_recognition = AV_EF_CRCCHECK;
  codec_->thread_count = VXIOp_Threads();
  // A frame that FFV1 finds damaged it only tells about; so it must be clear which one it means.
  if (told.codec_id == AV_CODEC_ID_FFV1) codec_->thread_type = FF_THREAD_SLICE;
  int error = avcodec_parameters_to_context(codec_.get(), &told);
  if (error >= 0) error = avcodec_open2(codec_.get(), decoder, nullptr);
  if (error == AVERROR(ENOMEM)) throw VX_Err{VX_ErrOutOfMemory};
  if (error < 0) {
    VXIOp_ThrowInput(path_, std::string("its video (") + avcodec_get_name(told.codec_id) +
                                ") cannot be decoded (" + Why(words_.Take(), error) + ")");
  }
}

// --- what the file says --------------------------------------------------------------------------

std::string VXIOp_ClipStream::FormatName() const {
  return std::string(FirstName(file_->iformat->name));
}

AVPixelFormat VXIOp_ClipStream::ToldFormat() const {
  return alpha_beside_ ? AV_PIX_FMT_YUVA420P
                       : static_cast<AVPixelFormat>(stream_->codecpar->format);
}

AVRational VXIOp_ClipStream::FrameRate() const {
  return av_guess_frame_rate(file_.get(), stream_, nullptr);
}

AVRational VXIOp_ClipStream::PixelAspect() const {
  return av_guess_sample_aspect_ratio(file_.get(), stream_, nullptr);
}

std::optional<int64_t> VXIOp_ClipStream::ToldFrames() const {
  if (stream_->nb_frames > 0) return stream_->nb_frames;
  const char* tag = Tag(*stream_, "NUMBER_OF_FRAMES");
  const int64_t told = tag ? std::atoll(tag) : 0;
  return told > 0 ? std::optional<int64_t>(told) : std::nullopt;
}

std::optional<double> VXIOp_ClipStream::ToldSeconds() const {
  if (stream_->duration > 0) {
    return static_cast<double>(stream_->duration) * av_q2d(stream_->time_base);
  }
  int hours = 0, minutes = 0;
  double seconds = 0;
  const char* tag = Tag(*stream_, "DURATION");
  if (tag && std::sscanf(tag, "%d:%d:%lf", &hours, &minutes, &seconds) == 3) {
    return hours * 3600.0 + minutes * 60.0 + seconds;
  }
  if (file_->duration == AV_NOPTS_VALUE || file_->duration <= 0 ||
      file_->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
    return std::nullopt;
  }
  return static_cast<double>(file_->duration) / AV_TIME_BASE;
}

std::optional<double> VXIOp_ClipStream::SecondsOf(int64_t stamp) const {
  if (stamp == AV_NOPTS_VALUE) return std::nullopt;
  int64_t start = 0;
  if (file_->start_time != AV_NOPTS_VALUE) {
    start = av_rescale_q(file_->start_time, kMicroseconds, stream_->time_base);
    const int64_t own = stream_->start_time;
    // Where the video begins first, its own stamp is the finer one.
    if (own != AV_NOPTS_VALUE &&
        av_rescale_q(own, stream_->time_base, kMicroseconds) == file_->start_time) {
      start = own;
    }
  }
  return static_cast<double>(av_sat_sub64(stamp, start)) * av_q2d(stream_->time_base);
}

// --- frames --------------------------------------------------------------------------------------

void VXIOp_ClipStream::Fail(const std::string& why) {
  failure_ = "is truncated or damaged at frame " + std::to_string(decoded_) +
             "; make or fetch the file again (" + why + ")";
  VXIOp_ThrowInput(path_, failure_);
}

bool VXIOp_ClipStream::Next() {
  if (!failure_.empty()) VXIOp_ThrowInput(path_, failure_);
  if (ended_) return false;
  const VXIOp_LavWords::Listening listen(&words_);
  int got;
  while ((got = avcodec_receive_frame(codec_.get(), frame_.get())) == AVERROR(EAGAIN)) Feed();
  if (got == AVERROR(ENOMEM)) throw VX_Err{VX_ErrOutOfMemory};
  if (got == AVERROR_EOF && torn_.empty() && decoded_ > 0) {
    ended_ = true;
    return false;
  }
  if (got == AVERROR_EOF && torn_.empty()) torn_ = "it ends before its first frame";
  if (got == AVERROR_EOF) Fail(torn_);
  if (got < 0) Fail(Why(words_.Take(), got));
  JudgeFrame();
  ++decoded_;
  return true;
}

// Hands the decoder a packet, or the word that there are no more.
void VXIOp_ClipStream::Feed() {
  int error = 0;
  do {
    av_packet_unref(packet_.get());
    error = av_read_frame(file_.get(), packet_.get());
  } while (error >= 0 && packet_->stream_index != stream_->index);
  if (error == AVERROR(ENOMEM)) throw VX_Err{VX_ErrOutOfMemory};
  if (error >= 0 && (packet_->flags & AV_PKT_FLAG_CORRUPT)) error = AVERROR_INVALIDDATA;
  if (error < 0) {
    // The frames that the decoder holds come out first.
    torn_ = error == AVERROR_EOF ? JudgeEnd() : Why(words_.Take(), error);
    draining_ = true;
    error = avcodec_send_packet(codec_.get(), nullptr);
  } else {
    ++packets_;
    read_to_ = avio_tell(file_->pb);
    const int64_t stamp = packet_->pts != AV_NOPTS_VALUE ? packet_->pts : packet_->dts;
    last_stamp_ = std::max(last_stamp_, stamp);
    last_decoded_stamp_ = packet_->dts;
    error = avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
  }
  if (error == AVERROR(ENOMEM)) throw VX_Err{VX_ErrOutOfMemory};
  if (error < 0) Fail(Why(words_.Take(), error));
}

void VXIOp_ClipStream::JudgeFrame() {
  Known(&frame_->colorspace);
  Known(&frame_->color_range);
  Known(&frame_->chroma_location);
  // Frames are stored out of order; one that is shown before this may be among those that are lost.
  const int64_t stamp = frame_->best_effort_timestamp;
  if (!torn_.empty() && stamp > last_decoded_stamp_) Fail(torn_);
  // A transport stream does not tell how long it is, but such a gap tells that it was cut off.
  const AVRational rate = FrameRate();
  if (draining_ && decoded_ > 0 && rate.num > 0 && FormatName() == "mpegts" &&
      static_cast<double>(stamp - shown_stamp_) * av_q2d(stream_->time_base) > 1.5 / av_q2d(rate)) {
    Fail("frames before its last are missing");
  }
  shown_stamp_ = stamp;
  if (frame_->decode_error_flags != 0 || (frame_->flags & AV_FRAME_FLAG_CORRUPT)) {
    Fail(Why(words_.Take(), AVERROR_INVALIDDATA));
  }
  std::string words = words_.Take();
  if (codec_->codec_id == AV_CODEC_ID_FFV1 && !words.empty()) Fail(words);
}

// Why the end of the file is not that of the clip, or nothing. Libav takes a file that just stops
// for one that has ended, so what its header says is held against what came.
std::string VXIOp_ClipStream::JudgeEnd() const {
  const std::string_view container = FirstName(file_->iformat->name);
  bool early = false;
  if (container == "mov") {
    early = packets_ < avformat_index_get_entries_count(stream_);
  } else if (container == "avi") {
    early = packets_ < stream_->nb_frames && EndsBeforeItsTime();
  } else if (container == "matroska") {
    // The duration of a file with sound may be that of the sound.
    early = (file_->nb_streams == 1 || Tag(*stream_, "DURATION")) && EndsBeforeItsTime();
  } else if (container == "mxf") {
    early = EndsBeforeItsTime();
  } else if (container == "yuv4mpegpipe") {
    early = read_to_ < avio_size(file_->pb);  // half a frame is left
  }
  return early ? "it ends before the time that its header says" : "";
}

bool VXIOp_ClipStream::EndsBeforeItsTime() const {
  const std::optional<double> told = ToldSeconds(), last = SecondsOf(last_stamp_);
  const AVRational rate = stream_->avg_frame_rate;
  // How long the last frame of a variable rate lasts need not be known.
  if (!told || rate.num <= 0 || av_cmp_q(rate, stream_->r_frame_rate) != 0) return false;
  return last.value_or(0) + 1.5 * av_q2d(av_inv_q(rate)) < *told;
}
