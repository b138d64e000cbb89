#include <algorithm>
#include <cstdio>

#include "film/ClipDescription.h"
#include "film/Commands.h"
#include "film/HalfSize.h"
#include "film/Interrupt.h"
#include "film/OutputFile.h"
#include "film/RunFiles.h"
#include "film/Summary.h"

namespace film {
namespace {

constexpr double previewSeconds = 10.0;

struct Span {
  int first, last;
};

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

Span spanOf(const RenderOptions& render, const ClipContents& clip) {
  const int end = clip.identity.frames - 1;
  Span span{render.from.value_or(0), render.to.value_or(end)};
  if (span.first < 0 || span.first > end || span.last < 0 || span.last > end)
    throw Failure(clip.path + ": --from and --to must lie within its frames, 0 to " + std::to_string(end), kUsage);
  if (span.first > span.last) throw Failure("--from must not lie behind --to", kUsage);
  if (render.preview) span.last = std::min(span.last, lastWithin(previewSeconds, span.first, clip));
  return span;
}

/// What the pictures that are written are like.
ClipContents writtenContents(const RenderOptions& render, const ClipContents& clip) {
  return render.preview ? HalfSized(clip) : clip;
}

/// When a frame of the clip is shown no more.
std::int64_t endOf(const IndexedFrame& frame, const ClipContents& clip) {
  const AVRational timeBase{clip.identity.timeBaseNumerator, clip.identity.timeBaseDenominator};
  return frame.time + (frame.duration > 0 ? frame.duration : av_rescale_q(1, av_inv_q(clip.frameRate), timeBase));
}

MovieSpan movieSpan(const Span& span, const ClipContents& clip) {
  const std::vector<IndexedFrame>& frames = clip.index->frames;
  MovieSpan movie;
  movie.firstTime = frames[span.first].time;
  movie.whole = span.first == 0 && span.last == clip.identity.frames - 1;
  // Behind a change the file's sound goes on, to pictures that aren't there.
  if (!movie.whole || clip.index->end == ClipEnd::Change) movie.end = endOf(frames[span.last], clip);
  return movie;
}

/// Prints the notes about a movie from the one at `first`; how many there are.
size_t tellNotes(const MovieWriter& movie, const std::string& out, size_t first) {
  for (size_t i = first; i < movie.notes().size(); ++i)
    std::fprintf(stderr, "orvane: %s\n", OnOneLine(out + ": " + movie.notes()[i]).c_str());
  return movie.notes().size();
}

/// Renders a span of frames into a file; the frames a second, or nothing when the user cancelled.
std::optional<double> renderSpan(Session& session, const RenderOptions& render, const Span& span) {
  Progress progress(session.progressStyle(), ProgressStream(session.progressStyle()), "Rendering",
                    span.last - span.first + 1);
  SharedPicture picture = session.effect().render(span.first);
  const ClipContents written = writtenContents(render, session.contents());
  MovieWriter movie(render.out, written, movieSpan(span, written), render.encoder);
  PicturePool smaller(written.format.width, written.format.height);
  const size_t told = tellNotes(movie, render.out, 0);
  for (int number = span.first; number <= span.last; ++number) {
    if (Interrupted()) return std::nullopt;
    if (!picture) picture = session.effect().render(number);
    if (render.preview) {
      SharedPicture half = smaller.take();
      Halve(*picture, session.contents().format.fieldOrder, half.get());
      picture = std::move(half);
    }
    movie.write(std::move(picture));
    picture = nullptr;
    progress.update(number - span.first + 1);
  }
  movie.finish();
  progress.finish();
  tellNotes(movie, render.out, told);
  return progress.rate();
}

/// What the user should know after an analysis, with the zoom that will be used.
std::vector<Warning> limitZoomAndTell(Session& session) {
  try {
    session.limitZoom();
  } catch (const Failure&) {
    TellWarnings(session);
    throw;
  }
  return TellWarnings(session);
}

ExitStatus renderAndTell(Session& session, const RenderOptions& render, const Span& span,
                         const std::vector<Warning>& warnings) {
  const std::optional<double> rate = renderSpan(session, render, span);
  if (!rate) return Cancelled("nothing was written to " + render.out);
  PrintSummary(session, render.out, span.last - span.first + 1, *rate, warnings);
  return kDone;
}

}  // namespace

ExitStatus Render(const SessionOptions& options, const RenderOptions& render) {
  CheckOutput(render.out, render.force);
  const OutputFile trial(render.out);  // a folder that can't be written to is told at once
  Session session(options);
  session.requireAnalysis();
  const Span span = spanOf(render, session.contents());
  session.applySettings();
  if (session.needsAnalysis())
    std::fprintf(stderr,
                 "orvane: %s: only part of it is analysed, the rest is rendered as it is; `orvane analyse` on it "
                 "analyses all\n",
                 options.clip.c_str());
  session.limitZoom();
  return renderAndTell(session, render, span, {});
}

ExitStatus Stabilise(const SessionOptions& options, const RenderOptions& render) {
  CheckOutput(render.out, render.force);
  const OutputFile trial(render.out);
  Session session(options);
  const Span span = spanOf(render, session.contents());
  if (session.needsAnalysis()) {
    session.checkDocumentCanBeWritten();
    // What couldn't be encoded is told now and not after the analysis.
    const MovieWriter trialMovie(render.out, writtenContents(render, session.contents()), MovieSpan{}, render.encoder);
  }
  session.applySettings();
  std::vector<Warning> warnings;
  if (session.needsAnalysis()) {
    if (!session.analyse()) return Cancelled(KeptAnalysis(session));
    warnings = limitZoomAndTell(session);
  } else {
    session.limitZoom();
  }
  return renderAndTell(session, render, span, warnings);
}

}  // namespace film
