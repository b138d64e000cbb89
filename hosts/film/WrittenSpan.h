#pragma once

#include "film/Commands.h"
#include "film/MovieWriter.h"

// What of a clip a command writes.
namespace film {

/// Frames of a clip, both inclusive.
struct Span {
  int first, last;

  int count() const { return last - first + 1; }
};

/// The frames that the options ask for. Fails where they lie outside the clip or are turned round.
Span SpanOf(const RenderOptions& render, const ClipContents& clip);

/// What the pictures that are written are like, with the clip's as `clip`.
ClipContents WrittenContents(const RenderOptions& render, const ClipContents& clip);

/// Fails where an analysis would be in vain: its result couldn't be kept, or a film of `written` couldn't be encoded.
void CheckBeforeAnalysis(const Session& session, const RenderOptions& render, const ClipContents& written);

MovieSpan MovieSpanOf(const Span& span, const ClipContents& clip);

}  // namespace film
