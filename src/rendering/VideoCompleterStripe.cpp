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
using Vorn::PixelARGBSF;
using Vorn::Point2D;

namespace {

constexpr float kOpaque = 0.95f;         // alpha from which a sample counts as whole
constexpr int kFarthest = 10000;         // frames
constexpr double kLargestSpread = 20.0;  // of the samples' luma
constexpr int kRim = 3;                  // pixels along a frame's edges that aren't borrowed

double Luma(const PixelARGBSF& pixel) { return 0.299 * pixel.r + 0.587 * pixel.g + 0.114 * pixel.b; }

}  // namespace

struct VideoCompleter::Work {
  std::vector<int> offered;     // the coverage's frames, in its order
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
  if (coverer) work.offered = coverer->frames;
  const int maximum = MatteMaximum(*srcMatte);
  int filled = 0, total = 0;
  for (int y = first; y < std::min(end, frameHeight); ++y) {
    auto* row = reinterpret_cast<PixelARGBSF*>(srcImage->rows[y]);
    for (int x = 0; x < frameWidth; ++x) {
      if (MatteValue(*srcMatte, x, y) >= maximum) continue;
      ++total;
      if (!mosaicWork) continue;
      PixelARGBSF pixel{};
      if (!completePixel(work, x, invertAxes ? frameHeight - 1 - y : y, pixel)) continue;
      if (pixel.a >= kOpaque) pixel.a = 1.0f;
      row[x] = pixel;
      FillMatte(*srcMatte, x, y);
      ++filled;
    }
  }
  dropHeld(work);
  integrateStats(filled, total);
}

/// The colour of an empty pixel; false if no frame has one.
bool VideoCompleter::completePixel(Work& work, int x, int y, PixelARGBSF& pixel) {
  Point2D place = Point2D(x, y) - origin;
  if (scaled) place = Vorn::ProjectPoint(Hf2m, place);
  place = Vorn::ProjectPoint(Hback, place) + layout->originOffset;
  if (renderMode_ == CompleteNearest && coverer) return fromNearest(work, place, pixel);

  layout->InFrames(place.x, place.y, work.frames, work.places, frameNumber, neighbourHood);
  if (work.frames.empty()) return false;
  switch (renderMode_) {
    case CompleteNearest:
      return fromNearest(work, place, pixel);
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

/// The first frame of the coverage's list that covers the pixel well; without such a list the nearest candidate in
/// time.
bool VideoCompleter::fromNearest(Work& work, const Point2D& place, PixelARGBSF& pixel) {
  const auto take = [&](int frame, const Point2D& at) {
    const Image* image = hold(work, frame);
    if (!image) return false;
    pixel = sampleAt(*image, at.x, invertAxes ? frameHeight - 1 - at.y : at.y);
    if (pixel.a > kOpaque) pixel = compensateGain(pixel, frame, frameNumber);
    return true;
  };
  if (coverer) {
    for (const int frame : work.offered) {
      const Point2D at = layout->LocationInFrame(place.x, place.y, frame);
      if (isInside(at) && std::abs(frame - frameNumber) < kFarthest && take(frame, at)) return pixel.a > kOpaque;
    }
    return false;
  }
  int best = -1, least = kFarthest;
  for (size_t i = 0; i < work.frames.size(); ++i) {
    const int distance = std::abs(work.frames[i] - frameNumber);
    if (!isInside(work.places[i]) || distance >= least) continue;
    least = distance;
    best = static_cast<int>(i);
  }
  return best >= 0 && take(work.frames[best], work.places[best]) && pixel.a > kOpaque;
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
