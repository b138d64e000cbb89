#include "film/PacketCopier.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "film/Failure.h"

namespace film {
namespace {

constexpr std::uint32_t timeCodeTag = MKTAG('t', 'm', 'c', 'd');

bool isOf(const AVStream& stream, AVMediaType type) { return stream.codecpar->codec_type == type; }

bool isCover(const AVStream& stream) { return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0; }

/// A file that was cut short early may name a sound of which not one packet follows.
bool isKnown(const AVStream& stream) { return !isOf(stream, AVMEDIA_TYPE_AUDIO) || stream.codecpar->sample_rate > 0; }

std::string describe(const AVStream& stream) {
  const AVCodecParameters& parameters = *stream.codecpar;
  const char* type = av_get_media_type_string(parameters.codec_type);
  std::string kind = parameters.codec_id != AV_CODEC_ID_NONE ? avcodec_get_name(parameters.codec_id) : "";
  char tag[AV_FOURCC_MAX_STRING_SIZE];
  if (kind.empty()) kind = parameters.codec_tag ? av_fourcc_make_string(tag, parameters.codec_tag) : "unknown";
  return (isCover(stream) ? std::string("cover picture") : std::string(type ? type : "unknown") + " stream") + " " +
         std::to_string(stream.index) + " (" + kind + ")";
}

/// The clip's own tag where the container means the same codec by it; 0 where the container is to choose.
std::uint32_t tagIn(const AVOutputFormat& container, const AVCodecParameters& parameters) {
  std::uint32_t usual = 0;
  if (!container.codec_tag || av_codec_get_id(container.codec_tag, parameters.codec_tag) == parameters.codec_id ||
      !av_codec_get_tag2(container.codec_tag, parameters.codec_id, &usual))
    return parameters.codec_tag;
  return 0;
}

/// FFmpeg's writer of Matroska tells readers to take Opus' delay off all times, but doesn't add it itself.
double delayIn(const Container& container, const AVCodecParameters& parameters) {
  if (!container.isMatroska() || parameters.codec_id != AV_CODEC_ID_OPUS || parameters.sample_rate <= 0) return 0;
  return static_cast<double>(parameters.initial_padding) / parameters.sample_rate;
}

/// Matroska keeps cover pictures as attached files.
void attach(AVStream& cover, const AVStream& source) {
  const bool png = source.codecpar->codec_id == AV_CODEC_ID_PNG;
  cover.codecpar->codec_type = AVMEDIA_TYPE_ATTACHMENT;
  cover.disposition = 0;
  if (MetadataText(cover.metadata, "filename").empty())
    av_dict_set(&cover.metadata, "filename", png ? "cover.png" : "cover.jpg", 0);
  if (MetadataText(cover.metadata, "mimetype").empty())
    av_dict_set(&cover.metadata, "mimetype", png ? "image/png" : "image/jpeg", 0);
  const AVPacket& picture = source.attached_pic;
  av_freep(&cover.codecpar->extradata);
  cover.codecpar->extradata =
      static_cast<std::uint8_t*>(av_mallocz(static_cast<size_t>(picture.size) + AV_INPUT_BUFFER_PADDING_SIZE));
  if (!cover.codecpar->extradata) throw std::bad_alloc();
  cover.codecpar->extradata_size = picture.size;
  std::memcpy(cover.codecpar->extradata, picture.data, static_cast<size_t>(picture.size));
}

bool hasId(const AVFormatContext& file, int id) {
  for (unsigned i = 0; i < file.nb_streams; ++i)
    if (file.streams[i]->id == id) return true;
  return false;
}

/// A stream's number in a transport stream: the one that it has in the clip, unless the writer needs that for a table
/// of its own; then the first that is free.
int idIn(const Container& container, const AVFormatContext& source, int own) {
  constexpr int usual = 0x100, firstOfStreams = 0x20, padding = 0x1fff;
  const int programTable = container.ending() == ".m2ts" || container.ending() == ".mts" ? 0x100 : 0x1000;
  if (own >= firstOfStreams && own < padding && own != programTable) return own;
  int id = usual;
  while (id == programTable || hasId(source, id)) ++id;
  return id;
}

}  // namespace

PacketCopier::PacketCopier(const std::string& clipPath, int film) : filmIndex(film), packet(MakePacket()) {
  AVFormatContext* opened = nullptr;
  int error = avformat_open_input(&opened, ("file:" + clipPath).c_str(), nullptr, nullptr);
  if (error >= 0) {
    input.reset(opened);
    error = avformat_find_stream_info(opened, nullptr);
  }
  if (error >= 0 && static_cast<unsigned>(film) >= input->nb_streams) error = AVERROR_STREAM_NOT_FOUND;
  if (error < 0) throw Failure(clipPath + ": can't be opened again for its sound (" + ErrorText(error) + ")");
  for (unsigned i = 0; i < input->nb_streams; ++i)
    if (const AVStream& stream = *input->streams[i];
        !timeCode && stream.codecpar->codec_tag == timeCodeTag && !MetadataText(stream.metadata, "timecode").empty())
      timeCode = &stream;
}

bool PacketCopier::isCopied(const AVStream& stream) const {
  if (stream.index == filmIndex) return false;
  // The reader itself passes over the chapters' titles, which are copied as chapters.
  if (stream.discard == AVDISCARD_ALL && isOf(stream, AVMEDIA_TYPE_DATA)) return false;
  // A time code that is metadata too is kept as such: a copied track would lose whether it drops frames.
  return stream.codecpar->codec_tag != timeCodeTag || MetadataText(stream.metadata, "timecode").empty();
}

bool PacketCopier::keepsIds(const Container& container) const {
  return std::strcmp(input->iformat->name, "mpegts") == 0 && std::strcmp(container.format().name, "mpegts") == 0;
}

AVStream& PacketCopier::addStreams(const Container& container, const AVCodecParameters& filmParameters,
                                   AVRational timeBase, AVFormatContext& file) {
  output = &file;
  AVStream* film = nullptr;
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    AVStream& stream = *input->streams[i];
    if (stream.index == filmIndex) {
      film = avformat_new_stream(output, nullptr);
      if (!film || avcodec_parameters_copy(film->codecpar, &filmParameters) < 0) throw std::bad_alloc();
      film->time_base = timeBase;
      if (keepsIds(container)) film->id = idIn(container, *input, stream.id);
    } else if (isCopied(stream) && !isKnown(stream)) {
      refused.push_back(describe(stream) + " is left out, since the clip holds nothing of it that can be read");
    } else if (isCopied(stream) && !addStream(stream, container, filmParameters, timeBase)) {
      refused.push_back(describe(stream) + " is left out, since " + container.ending() +
                        " files can't hold it; a name " +
                        (container.isMatroska() ? "that ends in .mov may keep it" : "that ends in .mkv keeps it"));
    }
  }
  for (unsigned i = 0; i < input->nb_streams; ++i)
    input->streams[i]->discard = targets.count(static_cast<int>(i)) ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  ended = targets.empty();
  if (!film) throw Failure(std::string(input->url) + ": its video stream is gone; was the file changed? Try again");
  return *film;
}

bool PacketCopier::addStream(const AVStream& stream, const Container& container,
                             const AVCodecParameters& filmParameters, AVRational timeBase) {
  const bool attachment = isOf(stream, AVMEDIA_TYPE_ATTACHMENT), cover = isCover(stream);
  // Films and sound must be what the container is known for; for anything else its writer's word is enough.
  const bool known = attachment || isOf(stream, AVMEDIA_TYPE_DATA) || (cover && container.isMatroska()) ||
                     container.holds(stream.codecpar->codec_id);
  if (!known || (attachment && !container.isMatroska())) return false;
  if (cover && container.isQuickTime() && std::strcmp(container.format().name, "mov") == 0) return false;
  const OutputFormat drafts(avformat_alloc_context());
  AVStream* draft = drafts ? avformat_new_stream(drafts.get(), nullptr) : nullptr;
  if (!draft || avcodec_parameters_copy(draft->codecpar, stream.codecpar) < 0) throw std::bad_alloc();
  draft->codecpar->codec_tag = tagIn(container.format(), *stream.codecpar);
  draft->time_base = stream.time_base;
  draft->avg_frame_rate = stream.avg_frame_rate;
  CopyStreamDescription(stream, *draft);
  if (cover && container.isMatroska()) attach(*draft, stream);
  if (!container.takes(filmParameters, timeBase, av_guess_frame_rate(input.get(), input->streams[filmIndex], nullptr),
                       draft))
    return false;
  AVStream* target = avformat_new_stream(output, nullptr);
  if (!target || avcodec_parameters_copy(target->codecpar, draft->codecpar) < 0) throw std::bad_alloc();
  target->time_base = draft->time_base;
  target->avg_frame_rate = draft->avg_frame_rate;
  target->sample_aspect_ratio = stream.sample_aspect_ratio;
  CopyStreamDescription(*draft, *target);
  if (keepsIds(container)) target->id = idIn(container, *input, stream.id);
  if (!isOf(*target, AVMEDIA_TYPE_ATTACHMENT))
    targets[stream.index] = {target->index, cover, delayIn(container, *target->codecpar)};
  return true;
}

int PacketCopier::readPacket() {
  if (readAhead.empty()) return av_read_frame(input.get(), packet.get());
  packet = std::move(readAhead.front());
  readAhead.pop_front();
  return 0;
}

/// When the streams that are copied begin, in the output's seconds; of those that begin far behind the others nothing.
std::map<int, double> PacketCopier::firstTimes() {
  constexpr int furthest = 256;
  std::map<int, double> times;
  for (int read = 0; read < furthest && times.size() < targets.size(); ++read) {
    Packet next = MakePacket();
    const int error = av_read_frame(input.get(), next.get());
    if (error == AVERROR(EAGAIN)) continue;
    if (error < 0) break;
    const double unit = av_q2d(input->streams[next->stream_index]->time_base);
    if (next->pts != AV_NOPTS_VALUE && targets.count(next->stream_index))
      times.emplace(next->stream_index, static_cast<double>(next->pts) * unit - span.origin);
    readAhead.push_back(std::move(next));
  }
  return times;
}

bool PacketCopier::onlySoundBeforeZero() {
  const std::map<int, double> times = firstTimes();
  return std::all_of(times.begin(), times.end(), [&](const auto& first) {
    const auto& [index, time] = first;
    return time >= 0 || isOf(*input->streams[index], AVMEDIA_TYPE_AUDIO);
  });
}

int PacketCopier::copyUntil(double seconds) {
  while (!ended) {
    if (!packetInHand) {
      const int error = readPacket();
      if (error == AVERROR(EAGAIN)) continue;
      // A clip that was cut short ends its sound where it ends; that isn't the output's fault.
      ended = error < 0;
      packetInHand = !ended;
      continue;
    }
    const auto target = targets.find(packet->stream_index);
    const AVStream& source = *input->streams[packet->stream_index];
    const std::int64_t stamp = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
    const double time = stamp == AV_NOPTS_VALUE ? 0.0 : static_cast<double>(stamp) * av_q2d(source.time_base);
    const bool cover = target != targets.end() && target->second.cover;
    if (!cover && time - span.origin > seconds) return 0;
    packetInHand = false;
    const bool within = cover || (time >= span.first && time < span.last);
    const int error = target != targets.end() && within ? writePacket() : 0;
    av_packet_unref(packet.get());
    if (error < 0) return error;
  }
  return 0;
}

void PacketCopier::noteTime(const AVPacket& written, AVRational timeBase) {
  const auto note = [&](std::int64_t stamp, std::optional<double>& earliest) {
    if (stamp == AV_NOPTS_VALUE) return;
    const double seconds = static_cast<double>(stamp) * av_q2d(timeBase);
    earliest = std::min(earliest.value_or(seconds), seconds);
  };
  note(written.dts, earliestDecoded);
  note(written.pts, earliestShown);
}

int PacketCopier::writePacket() {
  const Target& to = targets.at(packet->stream_index);
  const AVStream& source = *input->streams[packet->stream_index];
  const AVStream& target = *output->streams[to.index];
  const std::int64_t moved = TicksOf(span.origin - to.delay, source.time_base);
  const std::int64_t shown = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
  if (isOf(source, AVMEDIA_TYPE_SUBTITLE) && shown != AV_NOPTS_VALUE)
    packet->duration = std::min(packet->duration, TicksOf(span.last, source.time_base) - shown);
  if (to.cover) packet->pts = packet->dts = moved;
  if (packet->pts != AV_NOPTS_VALUE) packet->pts -= moved;
  if (packet->dts != AV_NOPTS_VALUE) packet->dts -= moved;
  av_packet_rescale_ts(packet.get(), source.time_base, target.time_base);
  packet->stream_index = to.index;
  packet->pos = -1;
  // Empty packets that only carry a changed description aren't sound.
  if (isOf(source, AVMEDIA_TYPE_AUDIO) && packet->size == 0) return 0;
  noteTime(*packet, target.time_base);
  const int error = av_interleaved_write_frame(output, packet.get());
  if (error != AVERROR_INVALIDDATA) return error;
  ++damaged;
  return 0;
}

}  // namespace film
