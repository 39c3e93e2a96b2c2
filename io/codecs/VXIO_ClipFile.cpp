// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipFile.h"

extern "C" {
#include <libavutil/common.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "VXIO_Formats.h"
#include "VXIO_InputFile.h"

namespace {

// Containers that store the video in the same file. Playlists and formats that refer to other files
// are excluded: a clip must not decide which files are opened. NUT is excluded because its demuxer
// passes on an incomplete last frame as a complete one.
constexpr std::array<std::string_view, 13> kContainers = {
    "matroska", "mov", "avi", "mpegts",       "mpeg", "ogg", "flv",
    "asf",      "mxf", "ivf", "yuv4mpegpipe", "dv",   "gif"};

constexpr size_t kHeadBytes = 65536;  // read to identify the container
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
  data.filename = "";  // identify by content only
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

// If libav has no name for a tag's value, sets the tag to `unspecified` and returns false. The
// value may be outside the range of the enum, so it is read as an int.
template <class Code>
bool IsKnown(Code* code, int codes, const char* (*name_of)(Code), Code unspecified) {
  static_assert(sizeof *code == sizeof(int));
  int number;
  std::memcpy(&number, code, sizeof number);
  if (number >= 0 && number < codes && name_of(*code)) return true;
  *code = unspecified;
  return false;
}

}  // namespace

std::string VXIOp_ClipFormatOf(const std::string& path) {
  VXIOp_LavLog log;
  const VXIOp_LavLog::Capture capture(&log);
  const AVInputFormat* format = Probe(path);
  return format ? std::string(FirstName(format->name)) : std::string();
}

bool VXIOp_ClearUnknownTags(AVColorSpace* matrix, AVColorRange* range, AVColorPrimaries* primaries,
                            AVColorTransferCharacteristic* transfer, AVChromaLocation* siting) {
  const bool known[] = {
      IsKnown(matrix, AVCOL_SPC_NB, av_color_space_name, AVCOL_SPC_UNSPECIFIED),
      IsKnown(range, AVCOL_RANGE_NB, av_color_range_name, AVCOL_RANGE_UNSPECIFIED),
      IsKnown(primaries, AVCOL_PRI_NB, av_color_primaries_name, AVCOL_PRI_UNSPECIFIED),
      IsKnown(transfer, AVCOL_TRC_NB, av_color_transfer_name, AVCOL_TRC_UNSPECIFIED),
      IsKnown(siting, AVCHROMA_LOC_NB, av_chroma_location_name, AVCHROMA_LOC_UNSPECIFIED)};
  return std::find(std::begin(known), std::end(known), false) == std::end(known);
}

// --- opening -------------------------------------------------------------------------------------

VXIOp_LavPtr<AVFormatContext> VXIOp_OpenContainer(const std::string& path, VXIOp_LavLog* log) {
  VXIOp_CheckFile(path, "a clip");
  const AVInputFormat* format = Probe(path);
  if (!format) {
    const VXIOp_Format* picture = VXIOp_FormatOfContent(VXIOp_Head(path, 16), path);
    if (picture) {
      VXIOp_ThrowInput(
          path, std::string("is a picture (") + picture->name + "), not a clip; read it as one");
    }
    VXIOp_ThrowInput(path, "is neither a clip of a known format (" + ContainerNames() +
                               ") nor a picture (" + VXIOp_FormatNames() + ")");
  }
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  AVFormatContext* file = nullptr;
  int error = avformat_open_input(&file, ("file:" + path).c_str(), format, &options);
  av_dict_free(&options);
  VXIOp_LavPtr<AVFormatContext> owner(file);
  if (error >= 0) error = avformat_find_stream_info(file, nullptr);
  if (error == AVERROR(ENOMEM)) {  // sizes in a header are unchecked
    VXIOp_ThrowInput(path, "asks for more memory than there is; it may be damaged");
  }
  if (error < 0) {
    VXIOp_ThrowInput(
        path, "is truncated or damaged; make or fetch the file again (" + log->Reason(error) + ")");
  }
  return owner;
}

VXIOp_ClipFile::VXIOp_ClipFile(const std::string& path, VXIOp_LavLog* log)
    : path_(path), log_(log) {
  const VXIOp_LavLog::Capture capture(log_);
  file_ = VXIOp_OpenContainer(path_, log_);
  ChooseStream();
}

VXIOp_ClipFile::~VXIOp_ClipFile() {
  const VXIOp_LavLog::Capture capture(log_);
  file_.reset();
}

void VXIOp_ClipFile::ChooseStream() {
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
  AVCodecParameters& parameters = *stream_->codecpar;
  if (!VXIOp_ClearUnknownTags(&parameters.color_space, &parameters.color_range,
                              &parameters.color_primaries, &parameters.color_trc,
                              &parameters.chroma_location)) {
    warnings_.push_back(path_ + ": has invalid colour tags; they are ignored");
  }
}

// --- what the header declares --------------------------------------------------------------------

const char* VXIOp_ClipFile::Tag(const char* name) const {
  const AVDictionaryEntry* found =
      av_dict_get(stream_->metadata, name, nullptr, AV_DICT_IGNORE_SUFFIX);
  return found ? found->value : nullptr;
}

std::vector<std::pair<std::string, std::string>> VXIOp_ClipFile::Tags() const {
  constexpr std::array<std::string_view, 6> kOfFile = {
      "encoder", "major_brand", "minor_version", "compatible_brands", "duration", "creation_time"};
  std::vector<std::pair<std::string, std::string>> tags;
  const AVDictionaryEntry* entry = nullptr;
  while ((entry = av_dict_get(file_->metadata, "", entry, AV_DICT_IGNORE_SUFFIX))) {
    std::string name = entry->key;
    for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (std::find(kOfFile.begin(), kOfFile.end(), name) != kOfFile.end()) continue;
    tags.emplace_back(std::move(name), entry->value);
  }
  const char* timecode = Tag("timecode");
  if (timecode && !av_dict_get(file_->metadata, "timecode", nullptr, 0)) {
    tags.emplace_back("timecode", timecode);
  }
  return tags;
}

int32_t VXIOp_ClipFile::Sounds() const {
  int32_t sounds = 0;
  for (unsigned i = 0; i < file_->nb_streams; ++i) {
    sounds += file_->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO ? 1 : 0;
  }
  return sounds;
}

std::string VXIOp_ClipFile::FormatName() const {
  return std::string(FirstName(file_->iformat->name));
}

AVRational VXIOp_ClipFile::FrameRate() const {
  const AVRational rate = av_guess_frame_rate(file_.get(), stream_, nullptr);
  // Matroska stores the duration of a frame in nanoseconds, which libav converts to a fraction of
  // numbers up to 30,000. It returns 19001/317 for 60000/1001.
  const double thousands = rate.den > 0 ? av_q2d(rate) * 1001 / 1000 : 0;
  const double nearest = std::round(thousands);
  const bool standard = std::abs(thousands - nearest) < 1e-6 * nearest && nearest <= 1000;
  return standard ? AVRational{static_cast<int>(nearest) * 1000, 1001} : rate;
}

AVRational VXIOp_ClipFile::PixelAspect() const {
  return av_guess_sample_aspect_ratio(file_.get(), stream_, nullptr);
}

std::optional<int64_t> VXIOp_ClipFile::DeclaredFrames() const {
  if (stream_->nb_frames > 0) return stream_->nb_frames;
  const char* tag = Tag("NUMBER_OF_FRAMES");
  const int64_t declared = tag ? std::atoll(tag) : 0;
  return declared > 0 ? std::optional<int64_t>(declared) : std::nullopt;
}

std::optional<double> VXIOp_ClipFile::DeclaredSeconds() const {
  if (stream_->duration > 0) {
    return static_cast<double>(stream_->duration) * av_q2d(stream_->time_base);
  }
  int hours = 0, minutes = 0;
  double seconds = 0;
  const char* tag = Tag("DURATION");
  if (tag && std::sscanf(tag, "%d:%d:%lf", &hours, &minutes, &seconds) == 3) {
    return hours * 3600.0 + minutes * 60.0 + seconds;
  }
  if (file_->duration == AV_NOPTS_VALUE || file_->duration <= 0 ||
      file_->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
    return std::nullopt;
  }
  return static_cast<double>(file_->duration) / AV_TIME_BASE;
}

std::optional<double> VXIOp_ClipFile::SecondsOf(int64_t stamp) const {
  if (stamp == AV_NOPTS_VALUE) return std::nullopt;
  int64_t start = 0;
  if (file_->start_time != AV_NOPTS_VALUE) {
    start = av_rescale_q(file_->start_time, kMicroseconds, stream_->time_base);
    const int64_t own = stream_->start_time;
    // If the video is the stream that starts first, its time stamp is more precise than start_time,
    // which is in microseconds.
    if (own != AV_NOPTS_VALUE &&
        av_rescale_q(own, stream_->time_base, kMicroseconds) == file_->start_time) {
      start = own;
    }
  }
  return static_cast<double>(av_sat_sub64(stamp, start)) * av_q2d(stream_->time_base);
}

// --- packets -------------------------------------------------------------------------------------

bool VXIOp_ClipFile::SeekToKey(int64_t stamp, int64_t decode_stamp, int64_t packets) {
  pending_.reset();
  const int64_t at = decode_stamp != AV_NOPTS_VALUE ? std::min(decode_stamp, stamp) : stamp;
  if (av_seek_frame(file_.get(), stream_->index, at, AVSEEK_FLAG_BACKWARD) < 0) return false;
  VXIOp_LavPtr<AVPacket> packet(av_packet_alloc());
  if (!packet) throw vx::Error(vx::ErrorCode::out_of_memory);
  for (;;) {
    if (Read(packet.get()) != 0) return false;
    if ((packet->flags & AV_PKT_FLAG_KEY) && packet->pts == stamp) break;
    const bool later = decode_stamp != AV_NOPTS_VALUE && packet->dts != AV_NOPTS_VALUE &&
                       packet->dts > decode_stamp;
    if (later) return false;
  }
  packets_ = packets + 1;
  pending_ = std::move(packet);
  return true;
}

int VXIOp_ClipFile::Read(AVPacket* packet) {
  if (pending_) {
    av_packet_unref(packet);
    av_packet_move_ref(packet, pending_.get());
    pending_.reset();
    return 0;
  }
  int error = 0;
  do {
    av_packet_unref(packet);
    error = av_read_frame(file_.get(), packet);
  } while (error >= 0 && packet->stream_index != stream_->index);
  if (error == AVERROR(ENOMEM)) throw vx::Error(vx::ErrorCode::out_of_memory);
  if (error >= 0 && (packet->flags & AV_PKT_FLAG_CORRUPT)) return AVERROR_INVALIDDATA;
  if (error < 0) return error;
  ++packets_;
  read_to_ = avio_tell(file_->pb);
  const int64_t stamp = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
  if (stamp >= last_stamp_) last_duration_ = packet->duration;
  last_stamp_ = std::max(last_stamp_, stamp);
  if (first_stamp_ == AV_NOPTS_VALUE || stamp < first_stamp_) first_stamp_ = stamp;
  return 0;
}

std::pair<double, double> VXIOp_ClipFile::ReadSpan() const {
  if (last_stamp_ == AV_NOPTS_VALUE) return {0, 0};
  const double unit = av_q2d(stream_->time_base);
  const AVRational rate = FrameRate();
  double duration = static_cast<double>(last_duration_) * unit;
  if (last_duration_ == 0 && rate.num > 0) duration = av_q2d(av_inv_q(rate));
  return {static_cast<double>(first_stamp_) * unit,
          static_cast<double>(last_stamp_) * unit + duration};
}

// libav reports the end of a truncated file like the end of a complete one. Therefore the length
// that the header declares is compared with what was read.
std::string VXIOp_ClipFile::TruncationReason() const {
  const std::string_view container = FirstName(file_->iformat->name);
  bool early = false;
  if (container == "mov") {
    early = packets_ < avformat_index_get_entries_count(stream_);
  } else if (container == "avi") {
    early = packets_ < stream_->nb_frames && EndsBeforeDeclaredTime();
  } else if (container == "matroska") {
    // In a file with sound, the declared duration may be that of the sound. It is used only if the
    // video stream has a DURATION tag.
    early = (file_->nb_streams == 1 || Tag("DURATION")) && EndsBeforeDeclaredTime();
  } else if (container == "mxf") {
    early = EndsBeforeDeclaredTime();
  } else if (container == "yuv4mpegpipe") {
    early = read_to_ < avio_size(file_->pb);  // the rest is an incomplete frame
  }
  return early ? "it ends before the time that its header says" : "";
}

bool VXIOp_ClipFile::EndsBeforeDeclaredTime() const {
  const std::optional<double> declared = DeclaredSeconds(), last = SecondsOf(last_stamp_);
  const AVRational rate = stream_->avg_frame_rate;
  // If the frame rate is variable, the duration of the last frame is unknown and the end cannot be
  // checked.
  if (!declared || rate.num <= 0 || av_cmp_q(rate, stream_->r_frame_rate) != 0) return false;
  return last.value_or(0) + 1.5 * av_q2d(av_inv_q(rate)) < *declared;
}
