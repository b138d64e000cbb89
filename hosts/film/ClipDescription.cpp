#include "film/ClipDescription.h"

extern "C" {
#include <libavutil/timecode.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

#include "film/PictureNotes.h"

namespace film {
namespace {

void drop(AVDictionary** metadata, std::initializer_list<const char*> keys) {
  for (const char* key : keys) av_dict_set(metadata, key, nullptr, 0);
}

/// What some programs that write Matroska add on a stream's packets.
void dropStatistics(AVDictionary** metadata) {
  std::vector<std::string> found;
  const AVDictionaryEntry* entry = nullptr;
  while ((entry = av_dict_get(*metadata, "", entry, AV_DICT_IGNORE_SUFFIX))) {
    const std::string key = entry->key;
    for (const char* start : {"BPS", "DURATION", "NUMBER_OF_FRAMES", "NUMBER_OF_BYTES", "_STATISTICS_"})
      if (key.rfind(start, 0) == 0) found.push_back(key);
  }
  for (const std::string& key : found) av_dict_set(metadata, key.c_str(), nullptr, 0);
}

void addSideData(AVStream& target, AVPacketSideDataType type, const void* bytes, size_t size) {
  if (av_stream_get_side_data(&target, type, nullptr)) return;
  if (std::uint8_t* copy = av_stream_new_side_data(&target, type, size)) std::memcpy(copy, bytes, size);
}

AVChapter* newChapter(const AVChapter& chapter, std::int64_t start, std::int64_t end) {
  auto* copy = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
  if (!copy) throw std::bad_alloc();
  copy->id = chapter.id;
  copy->time_base = chapter.time_base;
  copy->start = start;
  copy->end = end;
  av_dict_copy(&copy->metadata, chapter.metadata, 0);
  return copy;
}

}  // namespace

void CopyMetadata(const AVFormatContext& source, AVFormatContext& target) {
  av_dict_copy(&target.metadata, source.metadata, 0);
  drop(&target.metadata, {"major_brand", "minor_version", "compatible_brands", "encoder"});
}

std::int64_t TicksOf(double seconds, AVRational timeBase) {
  constexpr double furthest = 4e18;  // two of them can still be told apart by a difference
  return std::llround(std::clamp(seconds / av_q2d(timeBase), -furthest, furthest));
}

void CopyChapters(const AVFormatContext& source, const CopiedSpan& span, AVFormatContext& target) {
  if (source.nb_chapters == 0) return;
  target.chapters = static_cast<AVChapter**>(av_calloc(source.nb_chapters, sizeof(AVChapter*)));
  if (!target.chapters) throw std::bad_alloc();
  for (unsigned i = 0; i < source.nb_chapters; ++i) {
    const AVChapter& chapter = *source.chapters[i];
    const std::int64_t first = TicksOf(span.first, chapter.time_base), last = TicksOf(span.last, chapter.time_base);
    if (chapter.end <= first || chapter.start >= last) continue;
    const std::int64_t origin = TicksOf(span.origin, chapter.time_base);
    target.chapters[target.nb_chapters++] =
        newChapter(chapter, std::max(chapter.start, first) - origin, std::min(chapter.end, last) - origin);
  }
}

void CopyStreamDescription(const AVStream& source, AVStream& target) {
  av_dict_copy(&target.metadata, source.metadata, 0);
  target.disposition = source.disposition;
  for (int i = 0; i < source.nb_side_data; ++i) {
    const AVPacketSideData& data = source.side_data[i];
    addSideData(target, data.type, data.data, data.size);
  }
}

std::vector<std::string> CopyVideoDescription(const AVStream& source, const VideoFormat& format, AVStream& target) {
  std::vector<std::string> lost;
  av_dict_copy(&target.metadata, source.metadata, 0);
  drop(&target.metadata, {"encoder", "vendor_id"});
  dropStatistics(&target.metadata);
  target.disposition = source.disposition;
  for (int i = 0; i < source.nb_side_data; ++i) {
    const AVPacketSideData& data = source.side_data[i];
    if (data.type == AV_PKT_DATA_CPB_PROPERTIES) continue;  // the encoder tells its own
    if (data.type == AV_PKT_DATA_DOVI_CONF)
      lost.push_back(DolbyVisionLoss());
    else
      addSideData(target, data.type, data.data, data.size);
  }
  DescribeLight(format, target);
  return lost;
}

void DescribeLight(const VideoFormat& format, AVStream& target) {
  if (format.mastering)
    addSideData(target, AV_PKT_DATA_MASTERING_DISPLAY_METADATA, &*format.mastering, sizeof *format.mastering);
  if (format.light) addSideData(target, AV_PKT_DATA_CONTENT_LIGHT_LEVEL, &*format.light, sizeof *format.light);
}

bool NeedsOwnKeys(const AVDictionary* metadata, const Container& container) {
  const bool mov = std::strcmp(container.format().name, "mov") == 0;
  constexpr const char* inBoth[] = {"title",    "artist",      "album",         "date",          "comment",
                                    "genre",    "copyright",   "creation_time", "timecode",      "encoder",
                                    "location", "description", "major_brand",   "minor_version", "compatible_brands"};
  constexpr const char* inMov[] = {"author", "make", "model", "keywords"};
  constexpr const char* inMp4[] = {"album_artist", "composer",   "grouping",   "lyrics",      "synopsis",
                                   "show",         "episode_id", "network",    "keywords",    "track",
                                   "disc",         "hd_video",   "media_type", "compilation", "gapless_playback"};
  const auto has = [](const auto& keys, const char* key) {
    return std::any_of(std::begin(keys), std::end(keys), [&](const char* each) { return std::strcmp(each, key) == 0; });
  };
  const AVDictionaryEntry* entry = nullptr;
  while ((entry = av_dict_get(metadata, "", entry, AV_DICT_IGNORE_SUFFIX)))
    if (!has(inBoth, entry->key) && !(mov ? has(inMov, entry->key) : has(inMp4, entry->key))) return true;
  return false;
}

AVRational TimeCodeRate(const std::string& timeCode, AVRational frameRate) {
  AVTimecode parsed;
  const int whole = static_cast<int>(std::lround(av_q2d(frameRate)));
  // Codes that drop frames count those of NTSC's rates, which a variable rate is only near to.
  const int ntsc = 30 * std::max(1, (whole + 15) / 30);
  for (const AVRational rate : {frameRate, AVRational{ntsc * 1000, 1001}, AVRational{whole, 1}})
    if (av_timecode_init_from_string(&parsed, rate, timeCode.c_str(), nullptr) >= 0) return rate;
  return {0, 1};
}

std::string TimeCodeAfter(const std::string& timeCode, AVRational rate, int frames) {
  AVTimecode parsed;
  if (av_timecode_init_from_string(&parsed, rate, timeCode.c_str(), nullptr) < 0) return timeCode;
  char text[AV_TIMECODE_STR_SIZE];
  return av_timecode_make_string(&parsed, text, frames);
}

std::string MetadataText(const AVDictionary* metadata, const char* key) {
  const AVDictionaryEntry* entry = av_dict_get(metadata, key, nullptr, 0);
  return entry ? entry->value : "";
}

}  // namespace film
