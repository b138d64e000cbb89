#include "film/MovieWriter.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace film {

MovieWriter::MovieWriter(const std::string& path, const ClipContents& contents, const MovieSpan& movieSpan,
                         const EncoderOptions& options)
    : file(path, contents, movieSpan),
      clip(contents),
      span(movieSpan),
      timeBase{contents.identity.timeBaseNumerator, contents.identity.timeBaseDenominator},
      frame(MakeFrame()),
      packet(MakePacket()) {
  openEncoder(options);
  prepareFrame();
  file.open(chosen, options, timeBase);
  gatherRemarks();
}

MovieWriter::~MovieWriter() {
  {
    const std::lock_guard<std::mutex> guard(lock);
    abandoned = true;
  }
  changed.notify_all();
  if (worker.joinable()) worker.join();
}

void MovieWriter::openEncoder(const EncoderOptions& options) {
  EncoderWish wish;
  wish.out = file.path();
  wish.container = &file.container();
  wish.format = clip.format;
  // As players do: the container's word counts for more than the stream's.
  if (const AVRational told = file.pixelAspect(); told.num > 0) wish.format.sampleAspect = told;
  wish.planes = clip.planes;
  wish.frameRate = clip.frameRate;
  wish.timeBase = timeBase;
  wish.source = file.source();
  wish.delay = file.delay();
  wish.options = options;
  chosen = ChooseEncoder(wish);
}

void MovieWriter::prepareFrame() {
  const AVCodecContext& encoder = *chosen.context;
  frame->format = encoder.pix_fmt;
  frame->width = encoder.width;
  frame->height = encoder.height;
  frame->color_range = encoder.color_range;
  frame->color_primaries = encoder.color_primaries;
  frame->color_trc = encoder.color_trc;
  frame->colorspace = encoder.colorspace;
  frame->chroma_location = encoder.chroma_sample_location;
  frame->sample_aspect_ratio = encoder.sample_aspect_ratio;
  frame->interlaced_frame = clip.format.interlaced();
  frame->top_field_first = clip.format.fieldOrder == AV_FIELD_TT;
  file.check(av_frame_get_buffer(frame.get(), 0));
  // Where the clip has no opacity of its own, a is how much of a pixel the picture covers.
  converter = std::make_unique<ColourConverter>(chosen.planes, chosen.planes.alpha && !clip.planes.alpha);
}

void MovieWriter::write(SharedPicture picture) {
  file.writeHeader();
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
  file.finish();
  gatherRemarks();
  for (const std::string& loss : lostNotes)
    if (std::find(remarks.begin(), remarks.end(), loss) == remarks.end()) remarks.push_back(loss);
}

void MovieWriter::gatherRemarks() {
  remarks = chosen.remarks;
  remarks.insert(remarks.end(), file.remarks().begin(), file.remarks().end());
}

void MovieWriter::encodeQueue() {
  try {
    while (SharedPicture picture = nextPicture()) {
      convert(*picture);
      picture.reset();
      dropPicture();  // before the encoder's share of the time: the memory is large
      send(frame.get());
    }
    if (!abandoned) send(nullptr);
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
  file.check(av_frame_make_writable(frame.get()));
  converter->toCodes(picture.samples.data(), picture.rowBytes(), framePlanes.toFill(*frame));
  framePlanes.finish(*frame);
  Annotate(picture.notes, chosen.kind->encoder, *frame, &lostNotes);
  const std::int64_t time = picture.time - (span.whole ? 0 : span.firstTime);
  durations[time] = picture.duration;
  frame->pict_type = AV_PICTURE_TYPE_NONE;
  frame->pts = time;
  if (!chosen.kind->countsFrames) return;
  if (pictures == 0) firstTime = time;
  times[pictures] = time;
  frame->pts = pictures++;
}

void MovieWriter::send(const AVFrame* next) {
  file.check(avcodec_send_frame(chosen.context.get(), next));
  while (true) {
    const int result = avcodec_receive_packet(chosen.context.get(), packet.get());
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
    file.check(result);
    if (chosen.kind->countsFrames) restoreTimes(*packet);
    if (const auto known = durations.find(packet->pts); known != durations.end()) {
      packet->duration = known->second;
      durations.erase(known);
    }
    file.writeFilm(*packet, timeBase);
  }
}

/// Puts the pictures' own times in place of their numbers. The pictures that were decoded before the first is shown
/// take places before it, one frame's length apart.
void MovieWriter::restoreTimes(AVPacket& encoded) {
  const std::int64_t usual = std::max<std::int64_t>(1, av_rescale_q(1, av_inv_q(clip.frameRate), timeBase));
  const std::int64_t shown = encoded.pts, decoded = encoded.dts;
  if (const auto known = times.find(shown); known != times.end()) encoded.pts = known->second;
  const auto known = times.find(decoded);
  encoded.dts = known != times.end() ? known->second : firstTime + decoded * usual;
  times.erase(times.begin(), times.lower_bound(std::min(shown, decoded)));
}

}  // namespace film
