#include "film/ClipContents.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "film/Failure.h"

namespace film {
namespace {

/// What a run over all frames found. Frames count from the first whole one.
struct Tally {
  FrameIndex index;                    ///< with the frames without damage
  std::optional<std::int64_t> damage;  ///< time of the first frame that came out damaged or not at all
};

bool sameFormat(const VideoFormat& first, const AVFrame& frame) {
  const VideoFormat other = VideoFormatOf(frame);
  return other.width == first.width && other.height == first.height && other.pixelFormat == first.pixelFormat;
}

void passRemainingPackets(ClipReader& reader) {
  const Packet packet = MakePacket();
  while (reader.nextPacket(*packet)) av_packet_unref(packet.get());
}

Tally countFrames(ClipReader& reader, const ScanOptions& options, ClipContents* contents) {
  Tally tally;
  PacketLog log;
  reader.log = &log;
  std::vector<IndexedFrame>& frames = tally.index.frames;
  CodedFrame coded;
  while (reader.next(&coded)) {
    const int number = static_cast<int>(frames.size());
    if (number == 0) {
      // Pictures that refer to what lies before the clip's start don't count, nor does what was lost there.
      if (!coded.damaged) reader.firstLost.reset();
      if (coded.damaged) continue;
      contents->format = VideoFormatOf(*coded.frame);
      contents->firstTime = coded.time;
    }
    if (!sameFormat(contents->format, *coded.frame)) {
      if (!options.upToChange) CheckSameFormat(contents->path, contents->format, *coded.frame, number);
      tally.index.end = ClipEnd::Change;
      passRemainingPackets(reader);
      break;
    }
    if (coded.damaged)
      tally.damage = std::min(tally.damage.value_or(coded.time), coded.time);
    else
      frames.push_back({coded.time, coded.duration, coded.packet, CheckOf(*coded.frame)});
    if (options.progress && number % 16 == 0 && !options.progress(number)) throw Failure("cancelled", kCancelled);
  }
  if (reader.firstLost) tally.damage = std::min(tally.damage.value_or(*reader.firstLost), *reader.firstLost);
  log.finish(&tally.index);
  reader.log = nullptr;
  return tally;
}

/// Kinds of files that tell the length of each stream; others tell that of the longest.
bool tellsStreamLengths(const AVInputFormat& kind) {
  for (const char* name : {"mov,mp4,m4a,3gp,3g2,mj2", "avi", "mxf"})
    if (std::strcmp(kind.name, name) == 0) return true;
  return false;
}

/// When the last packet of any stream ends, in seconds.
double endOfAllStreams(const std::string& path) {
  const ClipReader reader(path, 1);
  AVFormatContext& file = reader.file();
  for (unsigned i = 0; i < file.nb_streams; ++i) file.streams[i]->discard = AVDISCARD_DEFAULT;
  const Packet packet = MakePacket();
  double end = 0;
  while (true) {
    const int error = av_read_frame(&file, packet.get());
    if (error == AVERROR(EAGAIN)) continue;
    if (error < 0) return end;
    const std::int64_t stamp = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
    const double unit = av_q2d(file.streams[packet->stream_index]->time_base);
    if (stamp != AV_NOPTS_VALUE) end = std::max(end, static_cast<double>(stamp + packet->duration) * unit);
    av_packet_unref(packet.get());
  }
}

/// Whether the container promises more than there is, by a second or more. `frames` aren't empty.
bool promisesMore(const ClipReader& reader, const std::vector<IndexedFrame>& frames) {
  const AVStream& stream = reader.stream();
  const double unit = av_q2d(stream.time_base), slack = 1.0;
  const std::int64_t end = frames.back().time + frames.back().duration;
  if (tellsStreamLengths(*reader.file().iformat))
    return static_cast<double>(stream.duration) * unit > static_cast<double>(end - frames.front().time) * unit + slack;
  // What is only guessed from the file's size is no promise.
  if (reader.file().duration_estimation_method != AVFMT_DURATION_FROM_STREAM) return false;
  const double promised = static_cast<double>(reader.file().duration) / AV_TIME_BASE;
  return promised > static_cast<double>(end) * unit + slack && promised > endOfAllStreams(reader.path()) + slack;
}

/// A frame is shown until the next one is; the packets' durations are those of the order in the file.
void completeDurations(std::vector<IndexedFrame>* frames) {
  for (size_t n = 0; n + 1 < frames->size(); ++n)
    if ((*frames)[n + 1].time > (*frames)[n].time) (*frames)[n].duration = (*frames)[n + 1].time - (*frames)[n].time;
}

constexpr std::ptrdiff_t jointFrames = 2;  // those that a container takes for damaged where two streams were joined

/// Fails on a clip without frames, and where damage lies before whole frames.
void checkFrames(const std::string& path, Tally* tally) {
  std::vector<IndexedFrame>& frames = tally->index.frames;
  const auto damaged = std::find_if(frames.begin(), frames.end(), [&](const IndexedFrame& frame) {
    return tally->damage && frame.time >= *tally->damage;
  });
  if (tally->index.end == ClipEnd::Change && frames.end() - damaged <= jointFrames) frames.erase(damaged, frames.end());
  if (frames.empty())
    throw Failure(path + ": its video stream holds no frame that can be decoded; check that it plays");
  if (tally->damage && frames.back().time > *tally->damage)
    throw Failure(path + ": frame " + std::to_string(damaged - frames.begin()) +
                  " can't be decoded; repair the file or cut the clip " +
                  "around it, for example by converting it with ffmpeg, and try again");
}

/// All whole frames; damage may only lie behind them.
std::shared_ptr<const FrameIndex> usableFrames(const ClipReader& reader, Tally tally, const std::string& path) {
  checkFrames(path, &tally);
  FrameIndex index = std::move(tally.index);
  completeDurations(&index.frames);
  const bool cut = reader.cutShort || tally.damage || promisesMore(reader, index.frames);
  if (cut && index.end == ClipEnd::Whole) index.end = ClipEnd::CutShort;
  return std::make_shared<const FrameIndex>(std::move(index));
}

std::string warningOf(const std::string& path, const FrameIndex& index) {
  const std::string last = std::to_string(index.frames.size() - 1);
  switch (index.end) {
    case ClipEnd::Whole:
      return "";
    case ClipEnd::CutShort:
      return path + ": the file was cut short; it is used up to its last whole frame, number " + last +
             "; copy it again if there should be more";
    case ClipEnd::Change:
      return path + ": size or pixel format changes behind frame " + last + "; it is used up to there";
  }
  return "";
}

void describe(const ClipReader& reader, std::shared_ptr<const FrameIndex> index, ClipContents* contents) {
  const AVRational timeBase = reader.stream().time_base;
  contents->identity = {contents->format.width,
                        contents->format.height,
                        static_cast<int>(index->frames.size()),
                        timeBase.num,
                        timeBase.den,
                        reader.firstPacketHash(),
                        reader.lastPacketHash()};
  contents->frameRate = reader.frameRate();
  contents->warning = warningOf(contents->path, *index);
  const std::optional<PlaneFormat> planes = PlaneFormatOf(contents->format);
  if (!planes) {
    const char* name = av_get_pix_fmt_name(contents->format.pixelFormat);
    throw Failure(contents->path + ": pictures of the pixel format " + (name ? name : "unknown") +
                  " aren't supported; convert the clip to yuv420p, yuv422p or yuv444p of 8 or 10 bits first");
  }
  contents->planes = *planes;
  contents->index = std::move(index);
}

/// Whether decoding begins with the frame that the index says. Other decoders may find other frames in the same
/// packets.
bool beginsAsKnown(const FrameIndex& known, ClipContents* contents) {
  ClipReader reader(contents->path, 1);
  CodedFrame first;
  do {
    if (!reader.next(&first)) return false;
  } while (first.damaged);
  contents->format = VideoFormatOf(*first.frame);
  contents->firstTime = first.time;
  const IndexedFrame& expected = known.frames.front();
  return first.time == expected.time && first.packet == expected.packet && CheckOf(*first.frame) == expected.check;
}

/// Reads all packets but decodes the first frame only; false when the packets don't bear out what is known.
bool scanPackets(const std::shared_ptr<const FrameIndex>& known, ClipContents* contents) {
  if (known->frames.empty()) return false;
  ClipReader reader(contents->path, 1);
  PacketLog log;
  reader.log = &log;
  passRemainingPackets(reader);
  if (log.packets() != known->packets || log.check() != known->packetsCheck) return false;
  if (!beginsAsKnown(*known, contents)) return false;
  describe(reader, known, contents);
  return true;
}

}  // namespace

ClipContents ScanClip(const std::string& path, const ScanOptions& options) {
  ClipContents contents;
  contents.path = path;
  RouteLibavMessages();
  if (options.known && (options.upToChange || options.known->end != ClipEnd::Change) &&
      scanPackets(options.known, &contents))
    return contents;
  const int errorsBefore = LibavErrors();
  ClipReader quick(path, options.threads);
  Tally tally = countFrames(quick, options, &contents);
  if (LibavErrors() == errorsBefore) {
    describe(quick, usableFrames(quick, std::move(tally), path), &contents);
    return contents;
  }
  // A decoder with threads may hand out a damaged frame before it knows of the damage, one without can't.
  ClipReader sure(path, 1);
  Tally sureTally = countFrames(sure, options, &contents);
  describe(sure, usableFrames(sure, std::move(sureTally), path), &contents);
  return contents;
}

void CheckSameFormat(const std::string& path, const VideoFormat& first, const AVFrame& frame, int number) {
  if (sameFormat(first, frame)) return;
  throw Failure(path + ": size or pixel format changes at frame " + std::to_string(number) +
                "; split the clip there and stabilise the parts one by one, or keep what comes before with "
                "--until-change");
}

}  // namespace film
