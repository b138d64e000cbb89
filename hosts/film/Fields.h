#pragma once

#include <optional>
#include <string>

#include "film/FloatPicture.h"
#include "film/VideoFormat.h"

// Interlaced clips: each frame holds two fields, the even rows (the top field) and the odd ones, of which one was taken
// half a frame later than the other. A field order is one of AV_FIELD_TT and AV_FIELD_BB, the top or the bottom field
// coming first, or AV_FIELD_PROGRESSIVE.
namespace film {

/// The rows of a frame that belong to one field: 0 the even rows, 1 the odd ones.
enum class Field { Top, Bottom };

/// The field that is shown first or second in clips of this order, which is not AV_FIELD_PROGRESSIVE.
Field FirstField(AVFieldOrder order);
Field SecondField(AVFieldOrder order);

/// What most of the first frames of a clip's best video stream say. Where they don't say that they are interlaced, and
/// can't say that they aren't, what the container does. Fails where the clip can't be opened.
AVFieldOrder DetectFieldOrder(const std::string& path);

/// "top", "bottom" or "none" for a field order, and back; nothing for another word.
const char* FieldWord(AVFieldOrder order);
std::optional<AVFieldOrder> FieldOrderOf(const std::string& word);

/// Puts the rows of one field of `source` into `target`, which has the same size.
void CopyField(const FloatPicture& source, Field field, FloatPicture& target);

/// Makes `target` the picture at the moment of one field of `source`: its rows, and between them the mean of the two
/// neighbours. A missing neighbour is replaced by the other one; a picture of one row is copied.
void KeepField(const FloatPicture& source, Field field, FloatPicture& target);

}  // namespace film
