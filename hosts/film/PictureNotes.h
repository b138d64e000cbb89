#pragma once

#include <memory>
#include <set>
#include <string>

#include "film/Libav.h"

// What a stream says of single pictures: closed captions, the part of the frame in use, a camera's own notes.
namespace film {

/// A frame that holds notes and no samples; null for none.
using PictureNotes = std::shared_ptr<const AVFrame>;

/// The notes of a decoded picture, but for those that only describe how it was coded, or the whole stream.
PictureNotes NotesOf(const AVFrame& frame);

/// Puts those notes on `frame` that FFmpeg's encoder of this name writes, in place of whatever it had. The others are
/// told in `lost`, in words: one line for each kind.
void Annotate(const PictureNotes& notes, const std::string& encoder, AVFrame& frame, std::set<std::string>* lost);

/// In words, that Dolby Vision's own data can't go along.
std::string DolbyVisionLoss();

}  // namespace film
