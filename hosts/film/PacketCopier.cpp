#include "film/PacketCopier.h"

#include <algorithm>
#include <limits>

#include "film/Failure.h"

namespace film {
namespace {

bool carriesSound(const AVStream& stream) { return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO; }

bool isCopied(const AVStream& stream) {
  const AVMediaType type = stream.codecpar->codec_type;
  return type == AVMEDIA_TYPE_AUDIO || type == AVMEDIA_TYPE_SUBTITLE;
}

bool containerTakes(const AVFormatContext& output, const AVStream& stream) {
  const AVCodecID codec = stream.codecpar->codec_id;
  if (codec == AV_CODEC_ID_NONE) return false;
  return avformat_query_codec(output.oformat, codec, FF_COMPLIANCE_NORMAL) == 1;
}

/// A file that was cut short early may name a sound of which not one packet follows.
bool isKnown(const AVStream& stream) { return !carriesSound(stream) || stream.codecpar->sample_rate > 0; }

std::string describe(const AVStream& stream) {
  return std::string(av_get_media_type_string(stream.codecpar->codec_type)) + " stream " +
         std::to_string(stream.index) + " (" + avcodec_get_name(stream.codecpar->codec_id) + ")";
}

}  // namespace

PacketCopier::PacketCopier(const std::string& clipPath, int videoStream, AVFormatContext& outputFile)
    : output(&outputFile),
      packet(MakePacket()),
      spanFirst(-std::numeric_limits<double>::infinity()),
      spanLast(std::numeric_limits<double>::infinity()) {
  AVFormatContext* opened = nullptr;
  int error = avformat_open_input(&opened, ("file:" + clipPath).c_str(), nullptr, nullptr);
  if (error >= 0) {
    input.reset(opened);
    error = avformat_find_stream_info(opened, nullptr);
  }
  if (error < 0) throw Failure(clipPath + ": can't be opened again for its sound (" + ErrorText(error) + ")");
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    AVStream& stream = *input->streams[i];
    stream.discard = AVDISCARD_ALL;
    if (static_cast<int>(i) == videoStream || !isCopied(stream)) continue;
    if (!isKnown(stream)) {
      refused.push_back(describe(stream) + " is left out, since the clip holds nothing of it that can be read");
    } else if (!containerTakes(*output, stream)) {
      refused.push_back(describe(stream) +
                        " is left out, since this kind of file can't hold it; a name ending in .mkv keeps it");
    } else {
      stream.discard = AVDISCARD_DEFAULT;
      addStream(stream, *output);
    }
  }
  ended = targets.empty();
}

void PacketCopier::addStream(const AVStream& source, AVFormatContext& file) {
  AVStream* target = avformat_new_stream(&file, nullptr);
  avcodec_parameters_copy(target->codecpar, source.codecpar);
  target->codecpar->codec_tag = 0;  // the container chooses its own
  target->time_base = source.time_base;
  CopyStreamDescription(source, *target);
  targets[source.index] = target->index;
}

void PacketCopier::setSpan(double first, double last) {
  spanFirst = first;
  spanLast = last;
  shift = -first;
}

int PacketCopier::copyUntil(double seconds) {
  while (!ended) {
    if (!packetInHand) {
      const int error = av_read_frame(input.get(), packet.get());
      if (error == AVERROR(EAGAIN)) continue;
      // A clip that was cut short ends its sound where it ends; that isn't the output's fault.
      ended = error < 0;
      packetInHand = !ended;
      continue;
    }
    const AVStream& source = *input->streams[packet->stream_index];
    const std::int64_t stamp = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
    const double time = stamp == AV_NOPTS_VALUE ? 0.0 : static_cast<double>(stamp) * av_q2d(source.time_base);
    if (time + shift > seconds) return 0;
    packetInHand = false;
    const bool wanted = targets.count(packet->stream_index) && time >= spanFirst && time < spanLast;
    const int error = wanted ? writePacket() : 0;
    av_packet_unref(packet.get());
    if (error < 0) return error;
  }
  return 0;
}

int PacketCopier::writePacket() {
  const AVStream& source = *input->streams[packet->stream_index];
  const AVStream& target = *output->streams[targets.at(packet->stream_index)];
  const auto moved = static_cast<std::int64_t>(shift / av_q2d(source.time_base));
  if (packet->pts != AV_NOPTS_VALUE) packet->pts += moved;
  if (packet->dts != AV_NOPTS_VALUE) packet->dts += moved;
  av_packet_rescale_ts(packet.get(), source.time_base, target.time_base);
  packet->stream_index = target.index;
  packet->pos = -1;
  // Empty packets that only carry a changed description aren't sound.
  if (carriesSound(source) && packet->size == 0) return 0;
  const int error = av_interleaved_write_frame(output, packet.get());
  if (error != AVERROR_INVALIDDATA) return error;
  ++damaged;
  return 0;
}

void CopyStreamDescription(const AVStream& source, AVStream& target) {
  av_dict_copy(&target.metadata, source.metadata, 0);
  target.disposition = source.disposition;
  for (int i = 0; i < source.nb_side_data; ++i) {
    const AVPacketSideData& data = source.side_data[i];
    if (data.type == AV_PKT_DATA_CPB_PROPERTIES) continue;  // the encoder tells its own
    if (std::uint8_t* copy = av_stream_new_side_data(&target, data.type, data.size))
      std::copy_n(data.data, data.size, copy);
  }
}

}  // namespace film
