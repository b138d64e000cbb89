#pragma once

#include "film/ClipContents.h"
#include "film/FloatPicture.h"

// Pictures of half a clip's size, for a quick look.
namespace film {

/// `contents` with half the width and height, rounded down to even numbers but no less than 2, and progressive.
ClipContents HalfSized(const ClipContents& contents);

/// `half`: gets the mean of each two by two samples of `whole`, and its number and times. Its size is half of that
/// of `whole` as above; what a size leaves over at the right and the bottom is left away. Of a picture of two fields,
/// which `order` tells, only the rows of the first are used: the mean of both would show two moments at once.
void Halve(const FloatPicture& whole, AVFieldOrder order, FloatPicture* half);

}  // namespace film
