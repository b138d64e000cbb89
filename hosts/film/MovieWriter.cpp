#include "film/MovieWriter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "film/Failure.h"

namespace film {
namespace {

constexpr AVCodecID codecId = AV_CODEC_ID_H264;

const AVOutputFormat& containerFor(const std::string& path) {
  const AVOutputFormat* format = av_guess_format(nullptr, path.c_str(), nullptr);
  if (!format || avformat_query_codec(format, codecId, FF_COMPLIANCE_NORMAL) != 1)
    throw Failure(path + ": no container for H.264 goes by that name; use one that ends in .mp4, .mov or .mkv", kUsage);
  return *format;
}

/// Whether a preset looks at more frames ahead than memory is good for.
bool looksFarAhead(const std::string& preset) {
  for (const char* quick : {"ultrafast", "superfast", "veryfast", "faster"})
    if (preset == quick) return false;
  return true;
}

bool codecTakes(const AVCodec& codec, AVPixelFormat format) {
  for (const AVPixelFormat* taken = codec.pix_fmts; taken && *taken != AV_PIX_FMT_NONE; ++taken)
    if (*taken == format) return true;
  return false;
}

void freeOutput(AVFormatContext* output) {
  if (output && output->pb) avio_closep(&output->pb);
  avformat_free_context(output);
}

Planes planesOf(AVFrame& frame) {
  Planes planes;
  for (int p = 0; p < 3; ++p) {
    planes.data[p] = frame.data[p];
    planes.stride[p] = frame.linesize[p];
  }
  return planes;
}

}  // namespace

MovieWriter::MovieWriter(const std::string& path, const ClipContents& contents, const MovieSpan& movieSpan,
                         const EncoderOptions& options)
    : file((containerFor(path), path)),  // first, since it needs no trace on the disk
      clip(contents),
      span(movieSpan),
      planes(contents.planes),
      output(nullptr, freeOutput),
      frame(MakeFrame()),
      packet(MakePacket()),
      timeBase{contents.identity.timeBaseNumerator, contents.identity.timeBaseDenominator} {
  openEncoder(options);
  openFile(options);
  if (!clip.path.empty()) copyFromClip();
}

MovieWriter::~MovieWriter() {
  {
    const std::lock_guard<std::mutex> guard(lock);
    abandoned = true;
  }
  changed.notify_all();
  if (worker.joinable()) worker.join();
}

void MovieWriter::choosePixelFormat(const AVCodec& codec) {
  pixelFormat = EncodedPixelFormat(clip.format);
  if ((planes.halfWidth && planes.width % 2 != 0) || (planes.halfHeight && planes.height % 2 != 0)) {
    // H.264 counts the sizes of such pictures in pairs.
    VideoFormat fine = clip.format;
    fine.pixelFormat = planes.bits == 8 ? AV_PIX_FMT_YUV444P : AV_PIX_FMT_YUV444P10;
    pixelFormat = fine.pixelFormat;
    planes.halfWidth = planes.halfHeight = false;
    remarks.push_back("written with full chroma, since H.264 has no odd sizes with halved chroma");
  }
  if (!codecTakes(codec, pixelFormat))
    throw Failure(clip.path + ": no H.264 encoder for pictures of " + std::to_string(planes.bits) +
                  " bits; convert the clip to 8 or 10 bits first");
}

void MovieWriter::openEncoder(const EncoderOptions& options) {
  const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
  if (!codec) throw Failure(file.path() + ": this FFmpeg has no H.264 encoder; install one with libx264");
  choosePixelFormat(*codec);
  encoder.reset(avcodec_alloc_context3(codec));
  encoder->width = clip.format.width;
  encoder->height = clip.format.height;
  encoder->pix_fmt = pixelFormat;
  encoder->time_base = timeBase;
  encoder->framerate = clip.frameRate;
  encoder->thread_count = options.threads;
  encoder->sample_aspect_ratio = clip.format.sampleAspect;
  encoder->color_range = clip.format.range;
  encoder->color_primaries = clip.format.primaries;
  encoder->color_trc = clip.format.transfer;
  encoder->colorspace = clip.format.matrix;
  encoder->chroma_sample_location = clip.format.siting;
  encoder->field_order = clip.format.fieldOrder;
  if (clip.format.interlaced()) encoder->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
  if (options.exact) encoder->flags |= AV_CODEC_FLAG_BITEXACT;
  if (containerFor(file.path()).flags & AVFMT_GLOBALHEADER) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  AVDictionary* dictionary = nullptr;
  av_dict_set(&dictionary, "crf", std::to_string(options.crf.value_or(17.0)).c_str(), 0);
  const std::string preset = options.preset.empty() ? "medium" : options.preset;
  av_dict_set(&dictionary, "preset", preset.c_str(), 0);
  if (clip.format.fieldOrder == AV_FIELD_BB) av_dict_set(&dictionary, "x264-params", "bff=1", 0);
  if (looksFarAhead(preset)) av_dict_set(&dictionary, "rc-lookahead", "20", 0);
  const int result = avcodec_open2(encoder.get(), codec, &dictionary);
  av_dict_free(&dictionary);
  if (result < 0)
    throw Failure(file.path() + ": the H.264 encoder refuses these settings; check --crf and --preset (" +
                  ErrorText(result) + ")");
  frame->format = pixelFormat;
  frame->width = encoder->width;
  frame->height = encoder->height;
  check(av_frame_get_buffer(frame.get(), 0));
  converter = std::make_unique<ColourConverter>(planes);
}

void MovieWriter::openFile(const EncoderOptions& options) {
  AVFormatContext* opened = nullptr;
  const AVOutputFormat& container = containerFor(file.path());
  check(avformat_alloc_output_context2(&opened, &container, nullptr, file.temporaryPath().c_str()));
  output.reset(opened);
  if (options.exact) output->flags |= AVFMT_FLAG_BITEXACT;
  video = avformat_new_stream(opened, nullptr);
  check(avcodec_parameters_from_context(video->codecpar, encoder.get()));
  video->codecpar->field_order = clip.format.fieldOrder;
  video->time_base = timeBase;
  video->avg_frame_rate = clip.frameRate;
  video->sample_aspect_ratio = clip.format.sampleAspect;
  check(avio_open(&opened->pb, ("file:" + file.temporaryPath()).c_str(), AVIO_FLAG_WRITE));
}

void MovieWriter::copyFromClip() {
  const int videoStream = ClipReader(clip.path, 1).stream().index;
  copier = std::make_unique<PacketCopier>(clip.path, videoStream, *output);
  const AVFormatContext& source = copier->source();
  if (static_cast<unsigned>(videoStream) < source.nb_streams)
    CopyStreamDescription(*source.streams[videoStream], *video);
  av_dict_copy(&output->metadata, source.metadata, 0);
  for (const char* ofTheContainer : {"major_brand", "minor_version", "compatible_brands", "encoder"})
    av_dict_set(&output->metadata, ofTheContainer, nullptr, 0);
  if (!span.whole) {
    const double first = static_cast<double>(span.firstTime) * av_q2d(timeBase);
    copier->setSpan(first, first + span.seconds);
  }
  const std::vector<std::string>& leftOut = copier->leftOut();
  remarks.insert(remarks.end(), leftOut.begin(), leftOut.end());
}

void MovieWriter::writeHeader() {
  if (headerWritten) return;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "movflags", "+faststart", 0);  // the index in front; other containers don't know it
  if (timeBase.num == 1) av_dict_set(&options, "video_track_timescale", std::to_string(timeBase.den).c_str(), 0);
  const int result = avformat_write_header(output.get(), &options);
  av_dict_free(&options);
  check(result);
  headerWritten = true;
}

AVStream& MovieWriter::addSound(const AVCodecContext& soundEncoder) {
  AVStream* stream = avformat_new_stream(output.get(), nullptr);
  check(avcodec_parameters_from_context(stream->codecpar, &soundEncoder));
  stream->time_base = soundEncoder.time_base;
  return *stream;
}

void MovieWriter::writeSound(const AVCodecContext& soundEncoder, const AVStream& stream, AVPacket& soundPacket) {
  writeHeader();
  av_packet_rescale_ts(&soundPacket, soundEncoder.time_base, stream.time_base);
  soundPacket.stream_index = stream.index;
  check(av_interleaved_write_frame(output.get(), &soundPacket));
}

void MovieWriter::write(SharedPicture picture) {
  writeHeader();
  if (!worker.joinable()) worker = std::thread([this] { encodeQueue(); });
  std::unique_lock<std::mutex> guard(lock);
  changed.wait(guard, [this] { return error || queue.size() < longestQueue; });
  if (error) std::rethrow_exception(error);
  queue.push_back(std::move(picture));
  changed.notify_all();
}

void MovieWriter::finish() {
  {
    const std::lock_guard<std::mutex> guard(lock);
    closing = true;
  }
  changed.notify_all();
  if (worker.joinable()) worker.join();
  if (error) std::rethrow_exception(error);
  writeHeader();
  check(av_write_trailer(output.get()));
  check(output->pb->error);
  const int result = avio_closep(&output->pb);
  check(result);
  file.commit();
  if (copier && copier->damagedPackets() > 0)
    remarks.push_back("packets of sound or subtitles that are left out because the clip has them damaged: " +
                      std::to_string(copier->damagedPackets()));
}

void MovieWriter::encodeQueue() {
  try {
    while (SharedPicture picture = nextPicture()) {
      convert(*picture);
      picture.reset();
      dropPicture();  // before the encoder's share of the time: the memory is large
      if (copier) check(copier->copyUntil(static_cast<double>(frame->pts) * av_q2d(timeBase)));
      send(frame.get());
    }
    if (abandoned) return;
    send(nullptr);
    if (copier) check(copier->copyUntil(1e18));
  } catch (...) {
    const std::lock_guard<std::mutex> guard(lock);
    error = std::current_exception();
    changed.notify_all();
  }
}

SharedPicture MovieWriter::nextPicture() {
  std::unique_lock<std::mutex> guard(lock);
  changed.wait(guard, [this] { return closing || abandoned || !queue.empty(); });
  if (abandoned || queue.empty()) return nullptr;
  return queue.front();
}

void MovieWriter::dropPicture() {
  const std::lock_guard<std::mutex> guard(lock);
  queue.pop_front();
  changed.notify_all();
}

void MovieWriter::convert(const FloatPicture& picture) {
  check(av_frame_make_writable(frame.get()));
  converter->toCodes(picture.samples.data(), picture.rowBytes(), planesOf(*frame));
  frame->pts = picture.time - (span.whole ? 0 : span.firstTime);
  frame->pict_type = AV_PICTURE_TYPE_NONE;
  frame->interlaced_frame = clip.format.interlaced();
  frame->top_field_first = clip.format.fieldOrder == AV_FIELD_TT;
  durations[frame->pts] = picture.duration;
}

void MovieWriter::send(const AVFrame* next) {
  check(avcodec_send_frame(encoder.get(), next));
  while (true) {
    const int result = avcodec_receive_packet(encoder.get(), packet.get());
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
    check(result);
    if (const auto known = durations.find(packet->pts); known != durations.end()) {
      packet->duration = known->second;
      durations.erase(known);
    }
    av_packet_rescale_ts(packet.get(), timeBase, video->time_base);
    packet->stream_index = video->index;
    check(av_interleaved_write_frame(output.get(), packet.get()));
  }
}

void MovieWriter::check(int result) const {
  if (result >= 0) return;
  const int code = AVUNERROR(result);
  FailToWrite(file.path(), code > 0 && code < 4096 ? code : EIO);
}

}  // namespace film
