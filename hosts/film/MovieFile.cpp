#include "film/MovieFile.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <numeric>

#include "film/Failure.h"

namespace film {
namespace {

void freeOutput(AVFormatContext* output) {
  if (output && output->pb) avio_closep(&output->pb);
  avformat_free_context(output);
}

/// Ticks of the film's time in QuickTime files: times without a fraction keep their own.
int filmTicks(AVRational timeBase) {
  int ticks = timeBase.den;
  while (timeBase.num != 1 && ticks < 10000) ticks *= 2;
  return ticks;
}

/// Ticks in which QuickTime files tell where each stream begins: such that film and sound begin on one.
int movieTicks(const AVFormatContext& output, AVRational timeBase) {
  constexpr std::int64_t most = 1000000;
  const int own = filmTicks(timeBase);
  std::int64_t common = own;
  for (unsigned i = 0; i < output.nb_streams; ++i) {
    const AVCodecParameters& parameters = *output.streams[i]->codecpar;
    if (parameters.codec_type == AVMEDIA_TYPE_AUDIO && parameters.sample_rate > 0 && common <= most)
      common = std::lcm(common, static_cast<std::int64_t>(parameters.sample_rate));
  }
  return common <= most ? static_cast<int>(common) : own;
}

/// Whether each picture of the clip is one field of a film; to this host they are whole frames.
bool holdsSingleFields(const std::string& path) {
  ClipReader reader(path, 1);
  CodedFrame first;
  return reader.stream().codecpar->codec_id == AV_CODEC_ID_HEVC && reader.next(&first) && first.frame->interlaced_frame;
}

/// Fails where a picture is shown before the one that precedes it: no kind of file holds that.
void checkTimes(const ClipContents& clip) {
  const std::vector<IndexedFrame>& frames = clip.index->frames;
  const auto back = std::adjacent_find(frames.begin(), frames.end(),
                                       [](const auto& one, const auto& next) { return next.time < one.time; });
  if (back != frames.end())
    throw Failure(clip.path + ": its time stamps go back at frame " + std::to_string(back - frames.begin() + 1) +
                  ", as where files were joined; `ffmpeg -i CLIP -map 0 -c copy NEW` makes one whose times go on");
}

/// Whether each picture is shown when counting frames from 0 on says, to half a frame.
bool isCounted(const ClipContents& clip, AVRational timeBase) {
  const std::vector<IndexedFrame>& frames = clip.index->frames;
  const double length = av_q2d(av_inv_q(clip.frameRate)), unit = av_q2d(timeBase);
  for (size_t n = 0; n < frames.size(); ++n)
    if (std::fabs(static_cast<double>(frames[n].time) * unit - static_cast<double>(n) * length) >= length / 2)
      return false;
  return true;
}

}  // namespace

MovieFile::MovieFile(const std::string& path, const ClipContents& contents, const MovieSpan& movieSpan)
    : kind(path), file(path), clip(contents), span(movieSpan), output(nullptr, freeOutput) {
  if (!clip.path.empty()) copier = std::make_unique<PacketCopier>(clip.path, ClipReader(clip.path, 1).stream().index);
}

AVRational MovieFile::pixelAspect() const {
  return copier ? av_guess_sample_aspect_ratio(nullptr, const_cast<AVStream*>(&copier->film()), nullptr)
                : AVRational{0, 1};
}

int MovieFile::delay() const {
  return copier && std::strcmp(copier->source().iformat->name, "avi") == 0 ? source()->video_delay : 0;
}

void MovieFile::open(const ChosenEncoder& encoder, const EncoderOptions& options, AVRational timeBase) {
  clock = timeBase;
  checkTimes(clip);
  AVFormatContext* opened = nullptr;
  check(avformat_alloc_output_context2(&opened, &kind.format(), nullptr, file.temporaryPath().c_str()));
  output.reset(opened);
  if (options.exact) output->flags |= AVFMT_FLAG_BITEXACT;
  // What is copied is handed over in time with the film, so nothing is gained by waiting longer for rare packets.
  output->max_interleave_delta = AV_TIME_BASE;
  const std::unique_ptr<AVCodecParameters, void (*)(AVCodecParameters*)> parameters(
      avcodec_parameters_alloc(), [](AVCodecParameters* each) { avcodec_parameters_free(&each); });
  check(avcodec_parameters_from_context(parameters.get(), encoder.context.get()));
  parameters->field_order = clip.format.fieldOrder;
  if (copier) {
    film = &copier->addStreams(kind, *parameters, timeBase, *output);
  } else {
    film = avformat_new_stream(opened, nullptr);
    check(avcodec_parameters_copy(film->codecpar, parameters.get()));
  }
  film->time_base = kind.timeBaseFor(timeBase, clip.frameRate);
  chooseTag(encoder);
  film->avg_frame_rate = clip.frameRate;
  film->sample_aspect_ratio = encoder.context->sample_aspect_ratio;
  describe();
  remarkOnLosses(timeBase);
  // The library would move all times by what lies before 0.
  if (copier && kind.isMatroska() && (!span.whole || span.firstTime >= 0) && copier->onlySoundBeforeZero())
    output->avoid_negative_ts = 0;
  if (const int error = avio_open(&opened->pb, ("file:" + file.temporaryPath()).c_str(), AVIO_FLAG_WRITE); error < 0)
    FailToWrite(file.path(), AVUNERROR(error));
  if (copier) writeHeader();  // no sound can follow; what the file can't hold is told before any work
}

CopiedSpan MovieFile::copiedSpan() const {
  const double unit = av_q2d(clock);
  CopiedSpan part;
  if (!span.whole) part.first = part.origin = static_cast<double>(span.firstTime) * unit;
  if (span.end) part.last = static_cast<double>(*span.end) * unit;
  return part;
}

void MovieFile::chooseTag(const ChosenEncoder& encoder) {
  if (encoder.kind->id != AV_CODEC_ID_HEVC || !kind.isQuickTime()) return;
  // Apple's players know this tag only; the other one is kept where the clip had it.
  constexpr std::uint32_t usual = MKTAG('h', 'v', 'c', '1'), other = MKTAG('h', 'e', 'v', '1');
  film->codecpar->codec_tag = source() && source()->codec_tag == other ? other : usual;
}

void MovieFile::describe() {
  if (!copier) {
    DescribeLight(clip.format, *film);
    return;
  }
  const CopiedSpan part = copiedSpan();
  copier->setSpan(part);
  CopyMetadata(copier->source(), *output);
  CopyChapters(copier->source(), part, *output);
  lost = CopyVideoDescription(copier->film(), clip.format, *film);
  describeTimeCode();
}

void MovieFile::describeTimeCode() {
  const AVStream* track = copier->timeCodeTrack();
  std::string code = MetadataText(film->metadata, "timecode");
  if (code.empty()) code = MetadataText(output->metadata, "timecode");
  if (code.empty() && track) code = MetadataText(track->metadata, "timecode");
  if (code.empty()) return;
  const bool ownRate = track && track->avg_frame_rate.num > 0 && track->avg_frame_rate.den > 0;
  const AVRational rate = TimeCodeRate(code, ownRate ? track->avg_frame_rate : clip.frameRate);
  if (rate.num == 0) {
    lost.push_back("the time code " + code + " is left out, since it can't be counted at this frame rate");
    av_dict_set(&film->metadata, "timecode", nullptr, 0);
    av_dict_set(&output->metadata, "timecode", nullptr, 0);
    return;
  }
  if (!span.whole) {
    const double start = static_cast<double>(span.firstTime - clip.firstTime) * av_q2d(clock);
    code = TimeCodeAfter(code, rate, static_cast<int>(std::lround(start * av_q2d(rate))));
    if (!MetadataText(output->metadata, "timecode").empty())
      av_dict_set(&output->metadata, "timecode", code.c_str(), 0);
  }
  av_dict_set(&film->metadata, "timecode", code.c_str(), 0);
  if (kind.isQuickTime()) film->avg_frame_rate = rate;  // the time code's track goes by it, and nothing else does
}

void MovieFile::remarkOnLosses(AVRational timeBase) {
  if (!copier) return;
  lost.insert(lost.end(), copier->leftOut().begin(), copier->leftOut().end());
  if (holdsSingleFields(clip.path))
    lost.emplace_back(
        "that each of its pictures is one field is left out, since no encoder here tells it; they are written as "
        "whole frames");
  const bool rotated = av_stream_get_side_data(film, AV_PKT_DATA_DISPLAYMATRIX, nullptr) != nullptr;
  if (rotated && !kind.isQuickTime())
    lost.push_back("the rotation is left out, since " + kind.ending() +
                   " files have no place for it; a name ending in .mov or .mp4 keeps it");
  const bool coded = !MetadataText(film->metadata, "timecode").empty();
  if (coded && !kind.isQuickTime() && !kind.isMatroska() && kind.ending() != ".mxf")
    lost.push_back("the time code is left out, since " + kind.ending() + " files have no place for it");
  if (output->nb_chapters > 0 && !kind.isQuickTime() && !kind.isMatroska() && kind.ending() != ".nut")
    lost.push_back("the chapters are left out, since " + kind.ending() + " files have no place for them");
  if (av_cmp_q(film->time_base, timeBase) != 0 && !isCounted(clip, timeBase))
    lost.push_back("the pictures' own times are left out, since " + kind.ending() +
                   " files count frames; a name ending in .mov or .mkv keeps them");
  const std::vector<IndexedFrame>& frames = clip.index->frames;
  const bool broken = std::any_of(frames.begin(), frames.end(), [&](const IndexedFrame& frame) {
    return (frame.time % timeBase.den) * 1000 * timeBase.num % timeBase.den != 0;
  });
  if (kind.isMatroska() && broken)
    lost.emplace_back("time stamps are rounded to milliseconds, as in all Matroska files");
}

AVStream& MovieFile::addSound(const AVCodecContext& soundEncoder) {
  AVStream* stream = avformat_new_stream(output.get(), nullptr);
  check(avcodec_parameters_from_context(stream->codecpar, &soundEncoder));
  stream->time_base = soundEncoder.time_base;
  return *stream;
}

void MovieFile::writeHeader() {
  if (headerWritten) return;
  AVDictionary* options = nullptr;
  if (kind.isQuickTime()) {
    std::string flags = "+faststart";  // the index in front
    if (NeedsOwnKeys(output->metadata, kind)) flags += "+use_metadata_tags";
    av_dict_set(&options, "movflags", flags.c_str(), 0);
    av_dict_set_int(&options, "video_track_timescale", clock.num == 1 ? clock.den : 0, 0);
    av_dict_set_int(&options, "movie_timescale", movieTicks(*output, clock), 0);
  }
  if (kind.ending() == ".m2ts" || kind.ending() == ".mts")
    av_dict_set(&options, "mpegts_m2ts_mode", "1", 0);  // it would go by the temporary name
  const int result = avformat_write_header(output.get(), &options);
  av_dict_free(&options);
  check(result);
  headerWritten = true;
}

void MovieFile::writeFilm(AVPacket& packet, AVRational timeBase) {
  if (copier) check(copier->copyUntil(static_cast<double>(packet.dts) * av_q2d(timeBase)));
  if (!firstDecoded) firstDecoded = static_cast<double>(packet.dts) * av_q2d(timeBase);
  av_packet_rescale_ts(&packet, timeBase, film->time_base);
  packet.stream_index = film->index;
  check(av_interleaved_write_frame(output.get(), &packet));
}

void MovieFile::writeSound(AVPacket& packet, AVRational timeBase, const AVStream& stream) {
  writeHeader();
  av_packet_rescale_ts(&packet, timeBase, stream.time_base);
  packet.stream_index = stream.index;
  check(av_interleaved_write_frame(output.get(), &packet));
}

/// Most kinds of files can't tell of times before 0, but B-frames are decoded that much earlier than they are shown.
void MovieFile::remarkOnShift() {
  if (!copier || !span.whole || output->avoid_negative_ts <= 0) return;
  const bool byShown = kind.isMatroska();
  const double first = std::min(byShown ? 0.0 : firstDecoded.value_or(0.0), copier->earliest(byShown).value_or(0.0));
  const auto milliseconds = static_cast<int>(std::lround(-first * 1000));
  if (milliseconds > 0)
    lost.push_back("all times are " + std::to_string(milliseconds) +
                   " ms later than in the clip, of pictures and sound alike, since " + kind.ending() +
                   " files have none before 0; a name ending in .mov or .mp4 keeps them");
}

void MovieFile::finish() {
  writeHeader();
  if (copier) check(copier->copyUntil(1e18));
  remarkOnShift();
  check(av_write_trailer(output.get()));
  check(output->pb->error);
  if (const int error = avio_closep(&output->pb); error < 0) FailToWrite(file.path(), AVUNERROR(error));
  file.commit();
  if (copier && copier->damagedPackets() > 0)
    lost.push_back("packets of sound or subtitles that are left out because the clip has them damaged: " +
                   std::to_string(copier->damagedPackets()));
}

void MovieFile::check(int result) const {
  if (result >= 0) return;
  // Anything else than the disk's own troubles comes from the writer of that kind of file, whatever code it chose.
  if (output && output->pb && output->pb->error < 0) FailToWrite(file.path(), AVUNERROR(output->pb->error));
  if (result == AVERROR(ENOSPC) || result == AVERROR(EDQUOT)) FailToWrite(file.path(), AVUNERROR(result));
  throw Failure(file.path() + ": FFmpeg can't put this film into a " + kind.ending() + " file (" + ErrorText(result) +
                "); choose another ending, such as .mov or .mkv, or another --codec");
}

}  // namespace film
