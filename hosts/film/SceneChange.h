#pragma once

#include <functional>

#include "film/FloatPicture.h"

namespace film {

/// Gives the picture of any of a clip's frames, or null.
using PictureOf = std::function<SharedPicture(int number)>;

/// How much two pictures of one size differ, 0 to about 1: the mean difference of their green over coarse cells, which
/// neither noise nor a moving hand changes much.
double CoarseDifference(const FloatPicture& a, const FloatPicture& b);

/// Whether the picture becomes another at once with `frame`, of a clip of `frames`: much more than it changes just
/// before and behind. Before frame 1 nothing is known, so it is none.
bool ScenesChangeAt(int frame, int frames, const PictureOf& pictures);

}  // namespace film
