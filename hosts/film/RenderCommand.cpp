#include <cstdio>

#include "film/Commands.h"
#include "film/HalfSize.h"
#include "film/Interrupt.h"
#include "film/OutputFile.h"
#include "film/RunFiles.h"
#include "film/Summary.h"
#include "film/TracksRecorder.h"
#include "film/WrittenSpan.h"

namespace film {
namespace {

/// Prints the notes about a movie from the one at `first`; how many there are.
size_t tellNotes(const MovieWriter& movie, const std::string& out, size_t first) {
  for (size_t i = first; i < movie.notes().size(); ++i)
    std::fprintf(stderr, "orvane: %s\n", OnOneLine(out + ": " + movie.notes()[i]).c_str());
  return movie.notes().size();
}

/// Renders a span of frames into a file; nothing when the user cancelled.
std::optional<Made> renderSpan(Session& session, const RenderOptions& render, const Span& span) {
  Progress progress(session.progressStyle(), ProgressStream(session.progressStyle()), "Rendering", span.count());
  SharedPicture picture = session.effect().render(span.first);
  const ClipContents written = WrittenContents(render, session.contents());
  MovieWriter movie(render.out, written, MovieSpanOf(span, written), render.encoder);
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
  return Made{render.out, span.count(), progress.rate(), {}, movie.notes()};
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
  std::optional<Made> made = renderSpan(session, render, span);
  if (!made) return Cancelled("nothing was written to " + render.out);
  made->warnings = warnings;
  PrintSummary(session, *made);
  return kDone;
}

}  // namespace

ExitStatus Render(const SessionOptions& options, const RenderOptions& render) {
  CheckOutput(render.out, render.force);
  const OutputFile trial(render.out);  // a folder that can't be written to is told at once
  Session session(options);
  session.requireAnalysis();
  const Span span = SpanOf(render, session.contents());
  session.applySettings();
  if (session.needsAnalysis())
    std::fprintf(stderr,
                 "orvane: %s: only part of it is analysed, the rest is rendered as it is; `orvane analyse` on it "
                 "analyses all\n",
                 options.clip.c_str());
  session.limitZoom();
  return renderAndTell(session, render, span, TellPlanWarnings(session));
}

ExitStatus Stabilise(const SessionOptions& options, const RenderOptions& render, const std::string& tracks) {
  CheckOutput(render.out, render.force);
  const OutputFile trial(render.out);
  TracksRecorder recorder(tracks, options.clip);
  Session session(options);
  const Span span = SpanOf(render, session.contents());
  if (session.needsAnalysis()) CheckBeforeAnalysis(session, render, WrittenContents(render, session.contents()));
  session.applySettings();
  std::vector<Warning> warnings;
  if (session.needsAnalysis()) {
    if (!session.analyse(recorder.watcher())) return Cancelled(KeptAnalysis(session));
    recorder.finish();
    warnings = limitZoomAndTell(session);
  } else {
    if (!recorder.follow(session)) return Cancelled("nothing was written to " + render.out + " and " + tracks);
    recorder.finish();
    session.limitZoom();
    warnings = TellPlanWarnings(session);
  }
  return renderAndTell(session, render, span, warnings);
}

}  // namespace film
