#pragma once

#include <string>

#include "film/ClipContents.h"
#include "film/FloatPicture.h"

// Two pictures of one frame as one picture.
namespace film {

enum class CompareLayout {
  Side,       ///< the first at the left, the second at the right
  Split,      ///< the left half of the first and the right half of the second, with a line between
  Difference  ///< how far they differ, four times enlarged; black where they are alike
};

/// How a clip is turned when it is shown, in quarter turns clockwise, 0 to 3. Pictures are put together as coded, so
/// that what is to lie at the left may be the coded picture's top.
int QuarterTurns(const std::string& clip);

/// `contents` with the size of the pictures that a layout makes.
ClipContents ComparedContents(const ClipContents& contents, CompareLayout layout, int quarterTurns);

/// `a`, `b`: pictures of one size. `out`: a picture of the size as above; it gets the number and times of `a`.
void ComparePictures(const FloatPicture& a, const FloatPicture& b, CompareLayout layout, int quarterTurns,
                     FloatPicture* out);

}  // namespace film
