#include "film/ClipReader.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "film/Failure.h"

namespace film {
namespace {

void checkFile(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::none)
    throw Failure(path + ": can't be read (" + error.message() + "); check the name and the access rights");
  if (!std::filesystem::exists(status)) throw Failure(path + ": no such file; check the name and the folder");
  if (std::filesystem::is_directory(status)) throw Failure(path + ": this is a folder; name a video file in it");
  if (!std::filesystem::is_regular_file(status) && !std::filesystem::is_block_file(status))
    throw Failure(path + ": this is a pipe or a device, and a clip is read more than once; save it as a file first");
  if (std::filesystem::is_regular_file(status) && std::filesystem::file_size(path, error) == 0)
    throw Failure(path + ": the file is empty; copy it again from where it came");
}

/// 64-bit FNV-1a.
std::string hashOf(const AVPacket& packet) {
  std::uint64_t hash = 14695981039346656037u;
  for (int i = 0; i < packet.size; ++i) hash = (hash ^ packet.data[i]) * 1099511628211u;
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return packet.data ? text : "";
}

/// Formats that show any text or bytes as a picture; a clip of them is a file given by mistake.
bool showsAnything(const AVInputFormat& format) {
  for (const char* name : {"tty", "bin", "xbin", "adf", "idf"})
    if (std::strcmp(format.name, name) == 0) return true;
  return false;
}

constexpr std::int64_t longestByteSearch = std::int64_t{1} << 22, shortWayBack = std::int64_t{1} << 16;

InputFile openInput(const std::string& path) {
  checkFile(path);
  AVFormatContext* opened = nullptr;
  // As a plain file, whatever its name looks like; and a playlist can't lead anywhere else.
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  const int error = avformat_open_input(&opened, ("file:" + path).c_str(), nullptr, &options);
  av_dict_free(&options);
  if (error == AVERROR(EACCES)) throw Failure(path + ": no permission to read it; change its access rights");
  if (error < 0)
    throw Failure(path + ": not a video, or one that was cut short before its index was written; " +
                  "check that it plays, and repair or copy it again (" + ErrorText(error) + ")");
  InputFile input(opened);
  if (showsAnything(*input->iformat)) throw Failure(path + ": not a video; name a video file");
  return input;
}

int findVideoStream(AVFormatContext& input, const std::string& path) {
  const int error = avformat_find_stream_info(&input, nullptr);
  bool anyAudio = false;
  for (unsigned i = 0; i < input.nb_streams; ++i) {
    AVStream& stream = *input.streams[i];
    anyAudio |= stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    // A cover picture is no film, though the library ranks it as a video stream when there is no other.
    if (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) stream.discard = AVDISCARD_ALL;
  }
  const int best = av_find_best_stream(&input, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (best >= 0 && !(input.streams[best]->disposition & AV_DISPOSITION_ATTACHED_PIC)) return best;
  if (anyAudio) throw Failure(path + ": holds sound but no video; name a file with a video stream");
  throw Failure(path + ": no video stream found; name a video file" +
                (error < 0 ? " (" + ErrorText(error) + ")" : std::string()));
}

}  // namespace

ClipReader::ClipReader(const std::string& path, int threads)
    : clipPath(path),
      input(openInput(path)),
      packet(MakePacket()),
      firstPacket(MakePacket()),
      lastPacket(MakePacket()),
      found(MakePacket()) {
  streamIndex = findVideoStream(*input, path);
  for (unsigned i = 0; i < input->nb_streams; ++i)
    if (static_cast<int>(i) != streamIndex) input->streams[i]->discard = AVDISCARD_ALL;
  openDecoder(threads);
}

void ClipReader::openDecoder(int threads) {
  const AVCodecParameters& parameters = *stream().codecpar;
  const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
  if (!codec)
    throw Failure(clipPath + ": no decoder for its video format (" + avcodec_get_name(parameters.codec_id) +
                  "); convert it to H.264 first");
  decoder.reset(avcodec_alloc_context3(codec));
  decoder->thread_count = threads;
  decoder->pkt_timebase = stream().time_base;
  int error = avcodec_parameters_to_context(decoder.get(), &parameters);
  if (error >= 0) error = avcodec_open2(decoder.get(), codec, nullptr);
  if (error < 0)
    throw Failure(clipPath + ": the video can't be decoded; check that it plays (" + ErrorText(error) + ")");
}

AVRational ClipReader::frameRate() const {
  const AVRational rate = av_guess_frame_rate(input.get(), &stream(), nullptr);
  return rate.num > 0 && rate.den > 0 ? rate : AVRational{25, 1};
}

bool ClipReader::nextPacket(AVPacket& target) {
  if (foundOne)
    av_packet_move_ref(&target, found.get());
  else if (!readPacket(target))
    return false;
  foundOne = false;
  note(target);
  return true;
}

bool ClipReader::readPacket(AVPacket& target) {
  while (true) {
    const int error = av_read_frame(input.get(), &target);
    if (error == AVERROR(EAGAIN)) continue;
    if (error < 0) {
      cutShort |= error != AVERROR_EOF;
      return false;
    }
    if (target.stream_index == streamIndex) return true;
    av_packet_unref(&target);
  }
}

bool ClipReader::seek(const AccessPoint& point) {
  // Containers whose times may jump, or that have none, have no index by time either.
  const bool bytesFirst = (input->iformat->flags & (AVFMT_TS_DISCONT | AVFMT_NOTIMESTAMPS)) != 0;
  const bool landed = bytesFirst ? seekByte(point) || seekTime(point) : seekTime(point) || seekByte(point);
  if (landed) beginAt(point);
  return landed;
}

bool ClipReader::skipTo(const AccessPoint& point) {
  for (int number = 0; number <= point.packet; ++number) {
    av_packet_unref(found.get());
    if (!readPacket(*found)) return false;
  }
  beginAt(point);
  return true;
}

bool ClipReader::seekByte(const AccessPoint& point) {
  if (point.position < 0 || (input->iformat->flags & AVFMT_NO_BYTE_SEEK) != 0) return false;
  // Where packets aren't those of the container, the first one may lack its beginning.
  for (const std::int64_t begin : {point.position, std::max<std::int64_t>(point.position - shortWayBack, 0)}) {
    if (av_seek_frame(input.get(), streamIndex, begin, AVSEEK_FLAG_BYTE) < 0) return false;
    // Times and places of what comes then may be wrong.
    const std::int64_t end = point.position + longestByteSearch;
    if (findPacket(
            point, [](const AVPacket&) { return true; }, [&](const AVPacket& read) { return read.pos > end; }))
      return true;
  }
  return false;
}

bool ClipReader::seekTime(const AccessPoint& point) {
  if (point.time == AV_NOPTS_VALUE) return false;
  if (av_seek_frame(input.get(), streamIndex, point.time, AVSEEK_FLAG_BACKWARD) < 0) return false;
  return findPacket(
      point, [&](const AVPacket& read) { return read.pos < 0 || point.position < 0 || read.pos == point.position; },
      [&](const AVPacket& read) { return read.dts != AV_NOPTS_VALUE && read.dts > point.time; });
}

/// Reads on to the point's packet, the first that has its check and that `fits`; false when there is none before one
/// that is `behind` it.
bool ClipReader::findPacket(const AccessPoint& point, const PacketTest& fits, const PacketTest& behind) {
  for (int read = 0; read <= point.packet + 1; ++read) {
    av_packet_unref(found.get());
    if (!readPacket(*found)) return false;
    if (fits(*found) && CheckOf(*found) == point.check) return true;
    if (behind(*found)) return false;
  }
  return false;
}

void ClipReader::beginAt(const AccessPoint& point) {
  avcodec_flush_buffers(decoder.get());
  foundOne = true;
  packetsEnded = false;
  nextNumber = point.packet;
}

void ClipReader::note(const AVPacket& read) {
  ++nextNumber;
  if (log) log->add(read);
  if (read.flags & AV_PKT_FLAG_DISCARD) return;  // an edit list cuts it away
  if (!firstPacket->data) av_packet_ref(firstPacket.get(), &read);
  av_packet_unref(lastPacket.get());
  av_packet_ref(lastPacket.get(), &read);
}

std::string ClipReader::firstPacketHash() const { return hashOf(*firstPacket); }

std::string ClipReader::lastPacketHash() const { return hashOf(*lastPacket); }

void ClipReader::feed() {
  if (!nextPacket(*packet)) {
    packetsEnded = true;
    if (doubtful) noteLost(*doubtful);
    avcodec_send_packet(decoder.get(), nullptr);
    return;
  }
  if (packet->pts != AV_NOPTS_VALUE) lastFed = packet->pts;
  doubt();
  packet->pos = nextNumber - 1;  // decoders hand it on with the picture and make no other use of it
  if (avcodec_send_packet(decoder.get(), packet.get()) < 0) noteLost(lastFed);
  av_packet_unref(packet.get());
}

/// Notes what a reader says of damage. It says so too of the last packet before a joint of two files, or of the one
/// before that, though both are whole: what was joined begins with a picture that refers to none before. The decoder
/// would tell of damage there.
void ClipReader::doubt() {
  constexpr int reach = 2;
  if (packet->flags & AV_PKT_FLAG_KEY) doubtful.reset();
  if (doubtful && nextNumber - doubtfulNumber >= reach) {
    noteLost(*doubtful);
    doubtful.reset();
  }
  if ((packet->flags & AV_PKT_FLAG_CORRUPT) == 0 || doubtful) return;
  doubtful = lastFed;
  doubtfulNumber = nextNumber;
}

void ClipReader::noteLost(std::int64_t time) { firstLost = std::min(firstLost.value_or(time), time); }

bool ClipReader::next(CodedFrame* coded) {
  if (!coded->frame) coded->frame = MakeFrame();
  AVFrame& frame = *coded->frame;
  while (true) {
    const int error = avcodec_receive_frame(decoder.get(), &frame);
    if (error == AVERROR_EOF) return false;
    if (error == AVERROR(EAGAIN)) {
      if (packetsEnded) return false;
      feed();
    } else if (error < 0) {
      noteLost(lastFed);  // a decoder with threads tells of a refused packet only some packets later
    } else {
      break;
    }
  }
  coded->damaged = (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame.decode_error_flags != 0;
  coded->time = timeOf(frame);
  coded->duration = std::max<std::int64_t>(frame.pkt_duration, 0);
  coded->packet = frame.pkt_pos >= 0 && frame.pkt_pos < nextNumber ? static_cast<int>(frame.pkt_pos) : -1;
  return true;
}

std::int64_t ClipReader::timeOf(const AVFrame& frame) {
  const std::int64_t usual = av_rescale_q(1, av_inv_q(frameRate()), stream().time_base);
  const std::int64_t stamp = frame.best_effort_timestamp == AV_NOPTS_VALUE ? nextTime : frame.best_effort_timestamp;
  nextTime = stamp + (frame.pkt_duration > 0 ? frame.pkt_duration : usual);
  return stamp;
}

}  // namespace film
