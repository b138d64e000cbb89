#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/mastering_display_metadata.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <memory>
#include <string>

// Owners for FFmpeg's objects.
namespace film {

struct LibavDelete {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
};
/// A file to be written whose bytes go somewhere that somebody else owns.
struct LibavDeleteOutput {
  void operator()(AVFormatContext* output) const { avformat_free_context(output); }
};
using CodecContext = std::unique_ptr<AVCodecContext, LibavDelete>;
using Frame = std::unique_ptr<AVFrame, LibavDelete>;
using Packet = std::unique_ptr<AVPacket, LibavDelete>;
using InputFile = std::unique_ptr<AVFormatContext, LibavDelete>;

using OutputFormat = std::unique_ptr<AVFormatContext, LibavDeleteOutput>;

inline Frame MakeFrame() { return Frame(av_frame_alloc()); }
inline Packet MakePacket() { return Packet(av_packet_alloc()); }

/// FFmpeg's own text for one of its error codes.
std::string ErrorText(int code);

/// Sends FFmpeg's messages to the platform's log in place of the standard error stream.
void RouteLibavMessages();

/// How many errors FFmpeg has told of since `RouteLibavMessages`.
int LibavErrors();

}  // namespace film
