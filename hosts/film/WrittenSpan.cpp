#include "film/WrittenSpan.h"

#include <algorithm>

#include "film/ClipDescription.h"
#include "film/HalfSize.h"

namespace film {
namespace {

constexpr double previewSeconds = 10.0;

/// The last frame from `first` on that is shown before so many seconds are over.
int lastWithin(double seconds, int first, const ClipContents& clip) {
  const std::vector<IndexedFrame>& frames = clip.index->frames;
  const AVRational timeBase{clip.identity.timeBaseNumerator, clip.identity.timeBaseDenominator};
  const auto from = frames.begin() + first;
  const std::int64_t end = from->time + TicksOf(seconds, timeBase);
  const auto behind =
      std::find_if(from + 1, frames.end(), [&](const IndexedFrame& frame) { return frame.time >= end; });
  return static_cast<int>(behind - frames.begin()) - 1;
}

/// When a frame of the clip is shown no more.
std::int64_t endOf(const IndexedFrame& frame, const ClipContents& clip) {
  const AVRational timeBase{clip.identity.timeBaseNumerator, clip.identity.timeBaseDenominator};
  return frame.time + (frame.duration > 0 ? frame.duration : av_rescale_q(1, av_inv_q(clip.frameRate), timeBase));
}

}  // namespace

Span SpanOf(const RenderOptions& render, const ClipContents& clip) {
  const int end = clip.identity.frames - 1;
  Span span{render.from.value_or(0), render.to.value_or(end)};
  if (span.first < 0 || span.first > end || span.last < 0 || span.last > end)
    throw Failure(clip.path + ": --from and --to must lie within its frames, 0 to " + std::to_string(end), kUsage);
  if (span.first > span.last) throw Failure("--from must not lie behind --to", kUsage);
  if (render.preview) span.last = std::min(span.last, lastWithin(previewSeconds, span.first, clip));
  return span;
}

ClipContents WrittenContents(const RenderOptions& render, const ClipContents& clip) {
  return render.preview ? HalfSized(clip) : clip;
}

void CheckBeforeAnalysis(const Session& session, const RenderOptions& render, const ClipContents& written) {
  session.checkDocumentCanBeWritten();
  const MovieWriter trial(render.out, written, MovieSpan{}, render.encoder);
}

MovieSpan MovieSpanOf(const Span& span, const ClipContents& clip) {
  const std::vector<IndexedFrame>& frames = clip.index->frames;
  MovieSpan movie;
  movie.firstTime = frames[span.first].time;
  movie.whole = span.first == 0 && span.last == clip.identity.frames - 1;
  // Behind a change the file's sound goes on, to pictures that aren't there.
  if (!movie.whole || clip.index->end == ClipEnd::Change) movie.end = endOf(frames[span.last], clip);
  return movie;
}

}  // namespace film
