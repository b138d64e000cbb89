#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "film/ClipContents.h"
#include "film/ColourConverter.h"
#include "film/EncoderOptions.h"
#include "film/FloatPicture.h"
#include "film/OutputFile.h"
#include "film/PacketCopier.h"

namespace film {

/// How long the output is to be, out of the clip that it comes from.
struct MovieSpan {
  std::int64_t firstTime = 0;  ///< presentation time of the first picture in the stream's time base
  bool whole = true;           ///< all of the clip; else times are moved so that the first picture stands at 0
  double seconds = 0.0;        ///< length; read when not `whole`
};

/// Writes pictures as H.264 with the clip's depth, chroma, colour description, time stamps and rotation, and the
/// clip's sound beside them. Conversion and encoding run on a thread of their own behind a short queue.
///
/// The file takes its name in `finish`. A writer that is destroyed before leaves no file.
class MovieWriter {
 public:
  /// The kind of container follows from the name. `clip`: what the pictures come from; its `path` may be empty for
  /// pictures that come from nowhere, and then `timeBase` is the frame's length.
  MovieWriter(const std::string& path, const ClipContents& clip, const MovieSpan& span, const EncoderOptions& options);
  ~MovieWriter();
  MovieWriter(const MovieWriter&) = delete;
  MovieWriter& operator=(const MovieWriter&) = delete;

  /// What the user should know about the file: streams that it couldn't take, a chroma that had to change; after
  /// `finish` also packets that were lost.
  const std::vector<std::string>& notes() const { return remarks; }

  /// Adds a stream of sound that isn't copied from a clip. Before anything is written.
  AVStream& addSound(const AVCodecContext& soundEncoder);
  /// A packet for that stream, in its encoder's time base. Before the first picture; the library keeps the packets
  /// until their pictures come, so this is for clips of a few seconds.
  void writeSound(const AVCodecContext& soundEncoder, const AVStream& stream, AVPacket& soundPacket);

  /// Takes a picture that nobody changes any more. Waits while the queue is full. Fails with whatever went wrong on the
  /// other thread since.
  void write(SharedPicture picture);

  /// Encodes what is queued, completes the file and gives it its name.
  void finish();

 private:
  static constexpr size_t longestQueue = 1;  // with the one that is being converted

  void choosePixelFormat(const AVCodec& codec);
  void openEncoder(const EncoderOptions& options);
  void openFile(const EncoderOptions& options);
  void copyFromClip();
  void writeHeader();
  void encodeQueue();
  SharedPicture nextPicture();
  void convert(const FloatPicture& picture);
  void dropPicture();
  void send(const AVFrame* next);
  void check(int result) const;

  OutputFile file;
  ClipContents clip;
  MovieSpan span;
  PlaneFormat planes;
  std::vector<std::string> remarks;
  std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> output;
  CodecContext encoder;
  Frame frame;
  Packet packet;
  AVStream* video = nullptr;
  std::unique_ptr<ColourConverter> converter;
  std::unique_ptr<PacketCopier> copier;
  bool headerWritten = false;
  AVRational timeBase{1, 25};
  AVPixelFormat pixelFormat = AV_PIX_FMT_NONE;
  std::map<std::int64_t, std::int64_t> durations;  // of the pictures in the encoder, by time

  std::thread worker;
  std::mutex lock;
  std::condition_variable changed;
  std::deque<SharedPicture> queue;
  bool closing = false;
  std::atomic<bool> abandoned = false;
  std::exception_ptr error;
};

}  // namespace film
