#include "film/Container.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "film/Failure.h"

namespace film {
namespace {

/// Kinds of files for films; others that the library writes hold pictures, sound or a stream without an index.
constexpr const char* filmKinds[] = {"mp4",    "mov", "ipod", "3gp", "3g2", "matroska", "webm",
                                     "mpegts", "vob", "avi",  "mxf", "nut", "flv",      "asf"};
constexpr const char* usualEndings[] = {".mp4", ".mov", ".mkv", ".webm", ".ts", ".mpg", ".avi", ".mxf"};

/// What the library doesn't tell of some kinds, since it would write anything into them.
struct Contents {
  const char* kind;
  std::vector<AVCodecID> codecs;
};
const Contents contents[] = {
    {"mpegts",
     {AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO,   AV_CODEC_ID_MPEG4,        AV_CODEC_ID_H264,
      AV_CODEC_ID_HEVC,       AV_CODEC_ID_VC1,          AV_CODEC_ID_MP1,          AV_CODEC_ID_MP2,
      AV_CODEC_ID_MP3,        AV_CODEC_ID_AAC,          AV_CODEC_ID_AAC_LATM,     AV_CODEC_ID_AC3,
      AV_CODEC_ID_EAC3,       AV_CODEC_ID_DTS,          AV_CODEC_ID_TRUEHD,       AV_CODEC_ID_OPUS,
      AV_CODEC_ID_S302M,      AV_CODEC_ID_DVB_SUBTITLE, AV_CODEC_ID_DVB_TELETEXT, AV_CODEC_ID_HDMV_PGS_SUBTITLE,
      AV_CODEC_ID_SMPTE_KLV,  AV_CODEC_ID_TIMED_ID3}},
    {"vob",
     {AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MP1, AV_CODEC_ID_MP2, AV_CODEC_ID_AC3,
      AV_CODEC_ID_DTS, AV_CODEC_ID_PCM_DVD, AV_CODEC_ID_PCM_S16BE, AV_CODEC_ID_DVD_SUBTITLE}},
    {"mxf",
     {AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_DNXHD, AV_CODEC_ID_DVVIDEO, AV_CODEC_ID_JPEG2000, AV_CODEC_ID_PCM_S16LE,
      AV_CODEC_ID_PCM_S24LE}},
};

bool isOneOf(const char* name, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&](const char* each) { return std::strcmp(name, each) == 0; });
}

std::string endingOf(const std::string& path) {
  std::string ending = std::filesystem::path(path).extension().string();
  for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return ending;
}

const AVOutputFormat* filmKind(const std::string& ending) {
  // By these names the library would choose the stream of MPEG-1, which has no place for MPEG-2's sound, or that of
  // video discs.
  if (ending == ".mpg" || ending == ".mpeg" || ending == ".vob") return av_guess_format("vob", nullptr, nullptr);
  const AVOutputFormat* kind = av_guess_format(nullptr, ("film" + ending).c_str(), nullptr);
  const bool known = kind && std::any_of(std::begin(filmKinds), std::end(filmKinds),
                                         [&](const char* name) { return std::strcmp(name, kind->name) == 0; });
  return known ? kind : nullptr;
}

bool kindHolds(const AVOutputFormat& kind, AVCodecID codec) {
  for (const Contents& row : contents)
    if (std::strcmp(row.kind, kind.name) == 0)
      return std::find(row.codecs.begin(), row.codecs.end(), codec) != row.codecs.end();
  return avformat_query_codec(&kind, codec, FF_COMPLIANCE_NORMAL) == 1;
}

/// A file that forgets what is written to it.
class Nowhere {
 public:
  Nowhere() {
    constexpr int size = 4096;
    file = avio_alloc_context(
        static_cast<unsigned char*>(av_malloc(size)), size, 1, nullptr, nullptr,
        [](void*, std::uint8_t*, int bytes) { return bytes; }, [](void*, std::int64_t offset, int) { return offset; });
    if (!file) throw std::bad_alloc();
  }
  ~Nowhere() {
    av_freep(&file->buffer);
    avio_context_free(&file);
  }
  Nowhere(const Nowhere&) = delete;
  Nowhere& operator=(const Nowhere&) = delete;

  AVIOContext* file;
};

}  // namespace

Container::Container(const std::string& path) : muxer(filmKind(endingOf(path))), suffix(endingOf(path)) {
  if (!muxer)
    throw Failure(path + ": no kind of video file goes by that name; use one that ends in " +
                      AnyOf({std::begin(usualEndings), std::end(usualEndings)}),
                  kUsage);
}

bool Container::IsKnown(const std::string& path) { return filmKind(endingOf(path)) != nullptr; }

bool Container::isQuickTime() const { return isOneOf(muxer->name, {"mp4", "mov", "ipod", "3gp", "3g2"}); }

bool Container::isMatroska() const { return isOneOf(muxer->name, {"matroska", "webm"}); }

bool Container::holds(AVCodecID codec) const { return kindHolds(*muxer, codec); }

bool Container::holdsOpacityOf(AVCodecID codec) const { return codec != AV_CODEC_ID_VP9 || isMatroska(); }

bool Container::tellsTimes() const { return !isOneOf(muxer->name, {"avi"}); }

AVRational Container::timeBaseFor(AVRational timeBase, AVRational frameRate) const {
  return std::strcmp(muxer->name, "mxf") == 0 ? av_inv_q(frameRate) : timeBase;
}

bool Container::takes(const AVCodecParameters& video, AVRational timeBase, AVRational frameRate,
                      const AVStream* other) const {
  const Nowhere nowhere;
  AVFormatContext* opened = nullptr;
  if (avformat_alloc_output_context2(&opened, muxer, nullptr, "trial") < 0) throw std::bad_alloc();
  const OutputFormat output(opened);
  output->pb = nowhere.file;
  AVStream* film = avformat_new_stream(opened, nullptr);
  AVStream* beside = other ? avformat_new_stream(opened, nullptr) : nullptr;
  if (!film || (other && !beside)) throw std::bad_alloc();
  if (avcodec_parameters_copy(film->codecpar, &video) < 0) throw std::bad_alloc();
  film->time_base = timeBaseFor(timeBase, frameRate);
  film->avg_frame_rate = frameRate;
  if (other) {
    if (avcodec_parameters_copy(beside->codecpar, other->codecpar) < 0) throw std::bad_alloc();
    beside->time_base = other->time_base;
    beside->avg_frame_rate = other->avg_frame_rate;
    beside->disposition = other->disposition;
    av_dict_copy(&beside->metadata, other->metadata, 0);
  }
  return avformat_write_header(opened, nullptr) >= 0;
}

std::vector<std::string> Container::EndingsFor(AVCodecID codec) {
  std::vector<std::string> endings;
  for (const char* ending : usualEndings)
    if (const AVOutputFormat* kind = filmKind(ending); kind && kindHolds(*kind, codec)) endings.emplace_back(ending);
  return endings;
}

std::string AnyOf(const std::vector<std::string>& names) {
  std::string list;
  for (size_t i = 0; i < names.size(); ++i) list += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
  return list;
}

}  // namespace film
