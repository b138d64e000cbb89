#pragma once

#include "film/Commands.h"
#include "film/MovieWriter.h"

// What of a clip a command writes, and as what.
namespace film {

/// Frames of a clip, both inclusive.
struct Span {
  int first, last;

  int count() const { return last - first + 1; }
};

/// The frames that the options ask for. Fails where they lie outside the clip or are turned round.
Span SpanOf(const RenderOptions& render, const ClipContents& clip);

/// What the pictures that are written are like.
ClipContents WrittenContents(const RenderOptions& render, const ClipContents& clip);

MovieSpan MovieSpanOf(const Span& span, const ClipContents& clip);

/// Prints the notes about a movie from the one at `first`; how many there are.
size_t TellNotes(const MovieWriter& movie, const std::string& out, size_t first);

}  // namespace film
