#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "imaging/ImageInterpolator.h"
#include "numerics/Geometry.h"
#include "numerics/Median.h"
#include "rendering/Matte.h"
#include "rendering/VideoCompleter.h"

// Borrowing, pixel by pixel.

using Vorn::Image;
using Vorn::Matrix;
using Vorn::PixelARGBSF;
using Vorn::Point2D;

namespace {

constexpr float kOpaque = 0.95f;         // alpha from which a sample counts as whole
constexpr int kFarthest = 10000;         // frames
constexpr double kLargestSpread = 20.0;  // of the samples' luma
constexpr int kRim = 3;                  // pixels along a frame's edges that aren't borrowed

double Luma(const PixelARGBSF& pixel) { return 0.299 * pixel.r + 0.587 * pixel.g + 0.114 * pixel.b; }

}  // namespace

/// An empty pixel, and its place in the layout.
struct Hole {
  int x, y;
  double px, py;
  Point2D place() const { return {px, py}; }
};

struct VideoCompleter::Work {
  std::vector<Hole> holes;
  int filled = 0;

  // Of one pixel at a time.
  std::vector<int> frames;      // the candidates
  std::vector<Point2D> places;  // where they show the pixel
  std::vector<Sample> samples;
  std::vector<std::pair<int, const Image*>> held;  // the frames that the stripe has in use, the latest last
};

/// A frame that stays in use until the stripe is done; null if it can't be fetched.
const Image* VideoCompleter::hold(Work& work, int frame) {
  const auto known =
      std::find_if(work.held.rbegin(), work.held.rend(), [frame](const auto& h) { return h.first == frame; });
  if (known != work.held.rend()) return known->second;
  work.held.emplace_back(frame, getFrame(frame, frameNumber, frameWidth, frameHeight));
  return work.held.back().second;
}

void VideoCompleter::dropHeld(const Work& work) {
  for (const auto& [frame, image] : work.held)
    if (image) doneFrame(frame, frameWidth, frameHeight);
}

void VideoCompleter::CompleteStripe(int first, int end) {
  if (!layout) return;
  Work work;
  findHoles(work, first, std::min(end, frameHeight));
  const int total = static_cast<int>(work.holes.size());
  if (mosaicWork && renderMode_ == CompleteNearest && coverer) {
    fillFromCoverage(work);
  } else if (mosaicWork) {
    for (const Hole& hole : work.holes) {
      PixelARGBSF pixel = background;
      if (!completePixel(work, hole.place(), pixel)) continue;
      fill(hole.x, hole.y, pixel);
      ++work.filled;
    }
  }
  dropHeld(work);
  integrateStats(work.filled, total);
}

/// The pixels that aren't known as a whole, row by row.
void VideoCompleter::findHoles(Work& work, int first, int end) {
  const int maximum = MatteMaximum(*srcMatte);
  for (int y = first; y < end; ++y) {
    for (int x = 0; x < frameWidth; ++x) {
      if (MatteValue(*srcMatte, x, y) >= maximum) continue;
      const Point2D place = placeInLayout(x, invertAxes ? frameHeight - 1 - y : y);
      work.holes.push_back({x, y, place.x, place.y});
    }
  }
}

Point2D VideoCompleter::placeInLayout(int x, int y) const {
  Point2D place = Point2D(x, y) - origin;
  if (scaled) place = Vorn::ProjectPoint(Hf2m, place);
  return Vorn::ProjectPoint(Hback, place) + layout->originOffset;
}

void VideoCompleter::fill(int x, int y, PixelARGBSF pixel) {
  if (pixel.a >= kOpaque) pixel.a = 1.0f;
  reinterpret_cast<PixelARGBSF*>(srcImage->rows[y])[x] = pixel;
  FillMatte(*srcMatte, x, y);
}

/// Fills each hole from the first frame of the coverage's list that covers it well. Frame by frame, so that few of them
/// need be in memory at a time.
void VideoCompleter::fillFromCoverage(Work& work) {
  for (const int frame : coverer->frames) {
    if (work.holes.empty()) return;
    if (std::abs(frame - frameNumber) < kFarthest) work.filled += fillFrom(work, frame);
  }
}

/// Fills from one frame, and takes the holes that it covers off the list, whether its pixel is whole or not. Returns
/// how many were filled.
int VideoCompleter::fillFrom(Work& work, int frame) {
  const Matrix* inverse = nullptr;
  if (layout->projections.Index(frame) < 0) return 0;
  const bool moved = layout->inverseProjections.Get(frame, inverse);
  const auto placeOf = [&](const Hole& hole) {
    const Point2D inPlane = hole.place() - layout->originOffset;
    return (moved ? Vorn::ProjectPoint(*inverse, inPlane) : inPlane) + layout->centreOffset;
  };
  const auto covered = [&](const Hole& hole) { return isInside(placeOf(hole)); };
  auto left = std::find_if(work.holes.begin(), work.holes.end(), covered);
  if (left == work.holes.end()) return 0;
  const Image* const image = getFrame(frame, frameNumber, frameWidth, frameHeight);
  if (!image) return 0;

  int filled = 0;
  for (auto hole = left; hole != work.holes.end(); ++hole) {
    const Point2D at = placeOf(*hole);
    if (!isInside(at)) {
      *left++ = *hole;
      continue;
    }
    PixelARGBSF pixel = background;
    if (!borrowFrom(*image, frame, at, pixel)) continue;
    fill(hole->x, hole->y, pixel);
    ++filled;
  }
  work.holes.erase(left, work.holes.end());
  doneFrame(frame, frameWidth, frameHeight);
  return filled;
}

/// The colour of an empty pixel; false if no frame has one.
bool VideoCompleter::completePixel(Work& work, const Point2D& place, PixelARGBSF& pixel) {
  layout->InFrames(place.x, place.y, work.frames, work.places, frameNumber, neighbourHood);
  if (work.frames.empty()) return false;
  switch (renderMode_) {
    case CompleteNearest:
      return fromNearest(work, pixel);
    case CompleteMean:
      return fromMean(work, pixel);
    case CompleteMedian:
      return fromMedian(work, pixel);
    case CompleteSame:
      return fromSame(work, place, pixel);
    default:
      return false;
  }
}

bool VideoCompleter::isInside(const Point2D& place) const {
  return place.x >= kRim && place.x < frameWidth - kRim && place.y >= kRim && place.y < frameHeight - kRim;
}

PixelARGBSF VideoCompleter::sampleAt(const Image& image, double x, double y) const {
  return bestInterpolation_ ? Vorn::Lanczos3ARGBSF(&image, x, y) : Vorn::BilinearARGBSF(&image, x, y);
}

/// The pixel of a frame, in the light of the frame in hand; false, and the sample as it is, if it isn't whole.
bool VideoCompleter::borrowFrom(const Image& image, int frame, const Point2D& at, PixelARGBSF& pixel) const {
  pixel = sampleAt(image, at.x, invertAxes ? frameHeight - 1 - at.y : at.y);
  if (!(pixel.a > kOpaque)) return false;
  pixel = compensateGain(pixel, frame, frameNumber);
  return true;
}

/// The nearest candidate in time, without a coverage's list.
bool VideoCompleter::fromNearest(Work& work, PixelARGBSF& pixel) {
  int best = -1, least = kFarthest;
  for (size_t i = 0; i < work.frames.size(); ++i) {
    const int distance = std::abs(work.frames[i] - frameNumber);
    if (!isInside(work.places[i]) || distance >= least) continue;
    least = distance;
    best = static_cast<int>(i);
  }
  if (best < 0) return false;
  const Image* image = hold(work, work.frames[best]);
  return image && borrowFrom(*image, work.frames[best], work.places[best], pixel);
}

/// Samples the candidates of the neighbourhood, where they show the pixel well inside. Rows aren't turned round for
/// inverted axes here, by design.
void VideoCompleter::takeSamples(Work& work) {
  work.samples.clear();
  int low = 0, high = -1;
  getRange(frameNumber, neighbourHood, work.frames, low, high);
  for (size_t i = 0; i < work.frames.size(); ++i) {
    const int frame = work.frames[i];
    if (frame < low || frame > high || !isInside(work.places[i])) continue;
    const Image* image = hold(work, frame);
    if (!image) continue;
    work.samples.push_back({sampleAt(*image, work.places[i].x, work.places[i].y), static_cast<int>(i)});
  }
}

bool VideoCompleter::fromMean(Work& work, PixelARGBSF& pixel) {
  takeSamples(work);
  if (work.samples.empty()) return false;
  double luma = 0;
  for (Sample& sample : work.samples) {
    sample.pixel = compensateGain(sample.pixel, work.frames[sample.candidate], frameNumber);
    luma += Luma(sample.pixel);
  }
  luma /= static_cast<double>(work.frames.size());  // of all candidates, sampled or not, by design
  double spread = 0;
  PixelARGBSF sum{};
  for (const Sample& sample : work.samples) {
    spread += std::fabs(Luma(sample.pixel) - luma);
    sum.a += sample.pixel.a;
    sum.r += sample.pixel.r;
    sum.g += sample.pixel.g;
    sum.b += sample.pixel.b;
  }
  const auto n = static_cast<float>(work.samples.size());
  if (!(spread / n < kLargestSpread)) return false;
  pixel = {sum.a / n, sum.r / n, sum.g / n, sum.b / n};
  return true;
}

bool VideoCompleter::fromMedian(Work& work, PixelARGBSF& pixel) {
  takeSamples(work);
  if (work.samples.empty()) return false;
  std::vector<int> lumas;
  for (const Sample& sample : work.samples) lumas.push_back(static_cast<int>(Luma(sample.pixel)));
  Vorn::Median median;
  median.Get<int>(lumas);
  // The gain is that of the candidate at the sample's position, though some candidates gave no sample: as designed.
  pixel = compensateGain(work.samples[median.index].pixel, work.frames[median.index], frameNumber);
  return true;
}

bool VideoCompleter::fromSame(Work& work, const Point2D& place, PixelARGBSF& pixel) {
  const Point2D at = layout->LocationInFrame(place.x, place.y, frameNumber);
  if (!(at.x > -1 && at.x < frameWidth && at.y > -1 && at.y < frameHeight)) return false;
  const Image* image = hold(work, frameNumber);
  if (!image) return false;
  pixel = sampleAt(*image, at.x, at.y);
  return true;
}
