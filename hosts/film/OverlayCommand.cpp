#include <atomic>
#include <cstdio>
#include <optional>
#include <utility>
#include <vector>

#include "film/Commands.h"
#include "film/Comparison.h"
#include "film/Fields.h"
#include "film/HalfSize.h"
#include "film/Interrupt.h"
#include "film/OutputFile.h"
#include "film/OverlayPainter.h"
#include "film/RunFiles.h"
#include "film/Summary.h"
#include "film/WrittenSpan.h"

namespace film {
namespace {

/// Draws on the pictures of an analysis as they go by, and writes them.
class OverlayWriter {
 public:
  OverlayWriter(Session& session, const RenderOptions& renderOptions, const Span& writtenSpan)
      : render(renderOptions),
        span(writtenSpan),
        clip(session.contents()),
        written(WrittenContents(render, clip)),
        painter(session.effect(), clip, QuarterTurns(clip.path), render.preview ? 2.0 : 1.0),
        movie(render.out, written, MovieSpanOf(span, written), render.encoder),
        pool(clip.format.width, clip.format.height),
        halfPool(written.format.width, written.format.height),
        progress(session.progressStyle(), ProgressStream(session.progressStyle()), "Drawing", span.last + 1) {
    tellNotes();
  }

  /// The next picture of the analysis.
  void take(int number, const SharedPicture& picture, const TrackerEstimator& analysis) {
    const std::vector<FeatureMark>& marks = trails.take(analysis);
    const int frame = clip.format.interlaced() ? number / 2 : number;
    if (frame >= span.first && frame <= span.last) paint(number, *picture, marks);
    progress.update(std::min(frame, span.last) + 1);
  }

  bool hasAll() const { return complete; }

  Made finish() {
    movie.finish();
    progress.finish();
    tellNotes();
    return {render.out, span.count(), progress.rate(), {}, movie.notes()};
  }

 private:
  void paint(int number, const FloatPicture& picture, const std::vector<FeatureMark>& marks) {
    SharedPicture drawn = pool.take();
    *drawn = picture;
    painter.paint(number, marks, drawn.get());
    if (!clip.format.interlaced()) return write(std::move(drawn));
    // Each field gets in its own rows what belongs to its moment.
    if (number % 2 == 0) {
      firstField = std::move(drawn);
    } else {
      CopyField(*drawn, SecondField(clip.format.fieldOrder), *firstField);
      write(std::move(firstField));
    }
  }

  void write(SharedPicture picture) {
    complete = picture->number >= span.last;
    if (render.preview) {
      SharedPicture half = halfPool.take();
      Halve(*picture, clip.format.fieldOrder, half.get());
      picture = std::move(half);
    }
    movie.write(std::move(picture));
  }

  /// Prints what there is to tell of the movie and wasn't yet.
  void tellNotes() {
    for (; told < movie.notes().size(); ++told)
      std::fprintf(stderr, "orvane: %s: %s\n", render.out.c_str(), movie.notes()[told].c_str());
  }

  const RenderOptions& render;
  Span span;
  const ClipContents& clip;
  ClipContents written;
  OverlayPainter painter;
  MovieWriter movie;
  size_t told = 0;
  PicturePool pool, halfPool;
  Progress progress;
  FeatureTrails trails;
  SharedPicture firstField;
  std::atomic<bool> complete = false;  // asked by the thread that may cancel the analysis
};

/// Nothing when the user cancelled.
std::optional<Made> drawSpan(Session& session, const RenderOptions& render, const Span& span) {
  OverlayWriter writer(session, render, span);
  session.watchAnalysis([](int) {}, [&] { return Interrupted() || writer.hasAll(); },
                        [&](int number, const SharedPicture& picture, const TrackerEstimator& analysis) {
                          if (!writer.hasAll()) writer.take(number, picture, analysis);
                        });
  if (!writer.hasAll()) return std::nullopt;
  return writer.finish();
}

}  // namespace

ExitStatus Overlay(const SessionOptions& options, const RenderOptions& render) {
  CheckOutput(render.out, render.force);
  const OutputFile trial(render.out);
  Session session(options);
  const Span span = SpanOf(render, session.contents());
  if (session.needsAnalysis()) {
    CheckBeforeAnalysis(session, render, WrittenContents(render, session.contents()));
    if (!session.analyse()) return Cancelled(KeptAnalysis(session));
  }
  session.trySettings();
  // All of them, also with an analysis of before: what they tell is what an overlay is for.
  const std::vector<Warning> warnings = TellWarnings(session);
  std::optional<Made> made = drawSpan(session, render, span);
  if (!made) return Cancelled("nothing was written to " + render.out);
  made->warnings = warnings;
  PrintSummary(session, *made);
  return kDone;
}

}  // namespace film
