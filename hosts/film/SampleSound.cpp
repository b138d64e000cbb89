#include "film/SampleSound.h"

#include <algorithm>
#include <cmath>

#include "film/Failure.h"

namespace film {
namespace {

constexpr int samplesASecond = 48000;
constexpr double noteSeconds = 0.5;
constexpr double tune[] = {261.63, 329.63, 392.00, 523.25, 440.00, 392.00,
                           329.63, 392.00, 293.66, 349.23, 440.00, 261.63};

/// Two harmonics that die away; a note rings on into the next.
float soundAt(double seconds) {
  constexpr double pi = 3.14159265358979323846;
  const int now = static_cast<int>(seconds / noteSeconds);
  double sum = 0.0;
  for (int n = std::max(0, now - 1); n <= now; ++n) {
    const double since = seconds - n * noteSeconds, hertz = tune[n % 12];
    const double loudness = 0.16 * std::min(1.0, since * 100) * std::exp(-3.0 * since);
    sum += loudness * (std::sin(2 * pi * hertz * since) + 0.35 * std::sin(4 * pi * hertz * since));
  }
  return static_cast<float>(sum);
}

}  // namespace

SampleSound::SampleSound(MovieWriter& movieWriter) : movie(movieWriter) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
  if (!codec) throw Failure("this FFmpeg has no AAC encoder; install one that has");
  encoder.reset(avcodec_alloc_context3(codec));
  encoder->sample_rate = samplesASecond;
  encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
  encoder->bit_rate = 96000;
  encoder->time_base = {1, samplesASecond};
  encoder->flags |= AV_CODEC_FLAG_BITEXACT | AV_CODEC_FLAG_GLOBAL_HEADER;
  av_channel_layout_default(&encoder->ch_layout, 1);
  if (const int error = avcodec_open2(encoder.get(), codec, nullptr); error < 0)
    throw Failure("the AAC encoder can't be opened (" + ErrorText(error) + "); install another FFmpeg");
  stream = &movie.addSound(*encoder);
}

void SampleSound::write(double seconds) {
  const Frame frame = MakeFrame();
  frame->format = encoder->sample_fmt;
  frame->nb_samples = encoder->frame_size;
  frame->sample_rate = samplesASecond;
  av_channel_layout_copy(&frame->ch_layout, &encoder->ch_layout);
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  const auto total = static_cast<std::int64_t>(seconds * samplesASecond);
  for (std::int64_t first = 0; first < total; first += encoder->frame_size) {
    if (av_frame_make_writable(frame.get()) < 0) throw std::bad_alloc();
    auto* samples = reinterpret_cast<float*>(frame->data[0]);
    for (int i = 0; i < frame->nb_samples; ++i) samples[i] = soundAt(static_cast<double>(first + i) / samplesASecond);
    frame->pts = first;
    encode(frame.get());
  }
  encode(nullptr);
}

void SampleSound::encode(const AVFrame* frame) {
  avcodec_send_frame(encoder.get(), frame);
  const Packet packet = MakePacket();
  while (avcodec_receive_packet(encoder.get(), packet.get()) >= 0) movie.writeSound(*encoder, *stream, *packet);
}

}  // namespace film
