#include "film/ClipContents.h"

#include <algorithm>
#include <vector>

#include "film/Failure.h"

namespace film {
namespace {

/// What a run over all frames found. Frames count from the first whole one.
struct Tally {
  std::vector<std::int64_t> wholeTimes;  ///< of the frames without damage, in the stream's time base
  std::optional<std::int64_t> damage;    ///< time of the first frame that came out damaged or not at all
};

Tally countFrames(ClipReader& reader, ClipContents* contents, const ScanProgress& progress) {
  Tally tally;
  CodedFrame coded;
  while (reader.next(&coded)) {
    const int number = static_cast<int>(tally.wholeTimes.size());
    if (number == 0) {
      // Pictures that refer to what lies before the clip's start don't count, nor does what was lost there.
      if (!coded.damaged) reader.firstLost.reset();
      if (coded.damaged) continue;
      contents->format = VideoFormatOf(*coded.frame);
      contents->firstTime = coded.time;
    }
    CheckSameFormat(contents->path, contents->format, *coded.frame, number);
    if (coded.damaged)
      tally.damage = std::min(tally.damage.value_or(coded.time), coded.time);
    else
      tally.wholeTimes.push_back(coded.time);
    if (progress && number % 16 == 0 && !progress(number)) throw Failure("cancelled", kCancelled);
  }
  if (reader.firstLost) tally.damage = std::min(tally.damage.value_or(*reader.firstLost), *reader.firstLost);
  return tally;
}

/// The seconds that the container promises, or 0.
double promisedSeconds(const ClipReader& reader) {
  const AVStream& stream = reader.stream();
  if (stream.duration > 0) return static_cast<double>(stream.duration) * av_q2d(stream.time_base);
  return reader.file().duration > 0 ? static_cast<double>(reader.file().duration) / AV_TIME_BASE : 0.0;
}

/// All whole frames; damage may only lie behind them.
int usableFrames(const ClipReader& reader, const Tally& tally, ClipContents* contents) {
  const std::string& path = contents->path;
  const std::vector<std::int64_t>& times = tally.wholeTimes;
  if (times.empty()) throw Failure(path + ": its video stream holds no frame that can be decoded; check that it plays");
  if (tally.damage && times.back() > *tally.damage) {
    const auto damaged = std::lower_bound(times.begin(), times.end(), *tally.damage) - times.begin();
    throw Failure(path + ": frame " + std::to_string(damaged) + " can't be decoded; repair the file or cut the clip " +
                  "around it, for example by converting it with ffmpeg, and try again");
  }
  const int frames = static_cast<int>(times.size());
  const double seconds = static_cast<double>(times.back() - times.front()) * av_q2d(reader.stream().time_base);
  if (reader.cutShort || tally.damage || promisedSeconds(reader) > seconds + 1.0)
    contents->warning = path + ": the file was cut short; it is used up to its last whole frame, number " +
                        std::to_string(frames - 1) + "; copy it again if there should be more";
  return frames;
}

void describe(const ClipReader& reader, int frames, ClipContents* contents) {
  const AVRational timeBase = reader.stream().time_base;
  contents->identity = {contents->format.width,   contents->format.height, frames, timeBase.num, timeBase.den,
                        reader.firstPacketHash(), reader.lastPacketHash()};
  contents->frameRate = reader.frameRate();
  const std::optional<PlaneFormat> planes = PlaneFormatOf(contents->format);
  if (!planes) {
    const char* name = av_get_pix_fmt_name(contents->format.pixelFormat);
    throw Failure(contents->path + ": pictures of the pixel format " + (name ? name : "unknown") +
                  " aren't supported; convert the clip to yuv420p, yuv422p or yuv444p of 8 or 10 bits first");
  }
  contents->planes = *planes;
}

/// Reads all packets but decodes the first frame only; false when the packets don't bear out `knownFrames`.
bool scanPackets(int knownFrames, ClipContents* contents) {
  ClipReader reader(contents->path, 1);
  const Packet packet = MakePacket();
  while (reader.nextPacket(*packet)) av_packet_unref(packet.get());
  if (reader.packets != knownFrames || reader.cutShort) return false;
  ClipReader again(contents->path, 1);
  CodedFrame first;
  do {
    if (!again.next(&first)) return false;
  } while (first.damaged);
  contents->format = VideoFormatOf(*first.frame);
  contents->firstTime = first.time;
  describe(reader, knownFrames, contents);
  return true;
}

}  // namespace

ClipContents ScanClip(const std::string& path, int knownFrames, int threads, const ScanProgress& progress) {
  ClipContents contents;
  contents.path = path;
  if (knownFrames > 0 && scanPackets(knownFrames, &contents)) return contents;
  RouteLibavMessages();
  const int errorsBefore = LibavErrors();
  ClipReader quick(path, threads);
  const Tally tally = countFrames(quick, &contents, progress);
  if (LibavErrors() == errorsBefore) {
    describe(quick, usableFrames(quick, tally, &contents), &contents);
    return contents;
  }
  // A decoder with threads may hand out a damaged frame before it knows of the damage, one without can't.
  ClipReader sure(path, 1);
  const Tally sureTally = countFrames(sure, &contents, progress);
  describe(sure, usableFrames(sure, sureTally, &contents), &contents);
  return contents;
}

void CheckSameFormat(const std::string& path, const VideoFormat& first, const AVFrame& frame, int number) {
  const VideoFormat other = VideoFormatOf(frame);
  if (other.width == first.width && other.height == first.height && other.pixelFormat == first.pixelFormat) return;
  throw Failure(path + ": size or pixel format changes at frame " + std::to_string(number) +
                "; split the clip there and stabilise the parts one by one");
}

}  // namespace film
