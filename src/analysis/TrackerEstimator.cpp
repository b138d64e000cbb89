#include "analysis/TrackerEstimator.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "analysis/FrameLuma.h"
#include "numerics/Log.h"
#include "tracking/KLTTracker.h"

using Vorn::ArrayPyramid;
using Vorn::FastArray;
using Vorn::HomographySet;
using Vorn::KLTTracker;
using Vorn::Log;
using Vorn::Matrix;
using Vorn::Point2D;
using Vorn::PointSet;

namespace {

constexpr long long kFarthestFrame = 1'000'000'000;
constexpr long long kFramesInGaps = 1 << 20;         // between the frames of a file; some ten hours of film
constexpr long long kFramesWithoutMotion = 1 << 17;  // that a file's ranges may cover: an hour that broke off early

/// Whether the frames from `start` to `end` can be those of a file that holds `number` of them. Planning and storing
/// walk over all frames, so a damaged file of a few bytes could cost hours and all memory.
bool IsSpan(long long start, long long end, std::size_t number) {
  return -kFarthestFrame <= start && end <= kFarthestFrame &&
         end - start < static_cast<long long>(number) + kFramesInGaps;
}

bool IsWithinReason(const HomographySet& motion) {
  long long covered = 0, first = motion.start, last = motion.end;
  for (const Vorn::Range& range : motion.range.data) {
    covered += static_cast<long long>(range.last) - range.first + 1;
    first = std::min<long long>(first, range.first);
    last = std::max<long long>(last, range.last);
  }
  const std::size_t number = motion.hset.size();
  return IsSpan(first, last, number) && covered <= 2 * static_cast<long long>(number) + kFramesWithoutMotion;
}

/// One level for each halving that leaves the smaller side at 61 pixels or more, and the frame itself.
int LevelsForSize(int width, int height) {
  int levels = 1;
  for (int side = std::min(width, height); side >= 121; side >>= 1) ++levels;
  return levels;
}

void CopyPoints(const std::list<Point2D>& points, PointSet& set) {
  set.Clear();
  for (const Point2D& p : points) set.Add(p);
}

}  // namespace

TrackerEstimator::TrackerEstimator()
    : ObjC_AGC(std::make_unique<AGCComputer>()),
      tracker(std::make_unique<KLTTracker>()),
      previousHomography(Matrix::GetIdentity(3)) {}

TrackerEstimator::~TrackerEstimator() = default;

void TrackerEstimator::clear() {
  analysedMotion.Clear();
  confidence_.Clear();
  tracker->Clear();
  currentPyramid.reset();
  previousPyramid.reset();
  currentLuma.reset();
  previousLuma.reset();
  supportWidth = supportHeight = 0;
  trackableFeatures = 0;
  activeFeaturesLastFrame = 0;
  doReplenish = false;
  previousGain = 1.0f;
  previousHomography.MakeIdentity();
  ObjC_AGC->clear();
}

void TrackerEstimator::setAnalysisWidth(int width, int height) {
  analysedWidth = width;
  analysedHeight = height;
}

void TrackerEstimator::getAnalysisWidth(int* width, int* height) const {
  *width = analysedWidth;
  *height = analysedHeight;
}

void TrackerEstimator::setRange(int first, int last) {
  rangeStart = first;
  rangeEnd = last;
}

void TrackerEstimator::range(int* first, int* last) const {
  *first = rangeStart;
  *last = rangeEnd;
}

void TrackerEstimator::setAxesInverted(char inverted) { invertAxes = inverted; }

void TrackerEstimator::setDetectSubtitles(char detect) {
  detectSubtitles = detect;
  motionEstimator.subtitleDetection = detect != 0;
}

void TrackerEstimator::setTrackOptionsWindow(int window, int levels, float minEigenvalue, int maxRange, float replenish,
                                             int maxInterval) {
  multiresolutionLevels = levels == -1 ? LevelsForSize(analysedWidth, analysedHeight) : levels;
  windowSize = window;
  replenishThreshold = replenish;
  maxDetectInterval = detectInterval = maxInterval;
  maxNumberFeatures = suggestNumberFeatureTracks();
  tracker->SetOptions(maxNumberFeatures, windowSize, multiresolutionLevels, minEigenvalue, maxRange, false);
  tracker->Initialise(analysedWidth, analysedHeight);
  motionEstimator.SetSourceDimensions(analysedWidth, analysedHeight);
}

void TrackerEstimator::setMotionOptions(char unused, char direct, int trackDuration, float landThresh) {
  motionEstimator.SetOptions(unused != 0, direct != 0, trackDuration, landThresh);
  motionEstimator.windowSize = tracker->window;
  motionEstimator.qualityMax = kltTracker().residualScale;
}

void TrackerEstimator::setFBPolicy(int policy, int verify) {
  fbPolicy = policy;
  maxVerifyInterval = verify;
}

int TrackerEstimator::suggestNumberFeatureTracks() const {
  if (windowSize == 0) return 0;
  const int across = analysedWidth / windowSize, down = analysedHeight / windowSize;
  return static_cast<int>(down * (across * 0.5));
}

void TrackerEstimator::setMotion(const HomographySet& motion, const MotionConfidenceSet& confidence) {
  analysedMotion = motion;
  confidence_ = confidence;
}

KLTTracker& TrackerEstimator::kltTracker() { return static_cast<KLTTracker&>(*tracker); }

void TrackerEstimator::processFrame(int frame, int weave, const void* data, int width, int height, int rowBytes) {
  if (width != analysedWidth || height != analysedHeight) {
    Log("TrackerEstimator: frame %d is left out, it has %d by %d pixels instead of %d by %d", frame, width, height,
        analysedWidth, analysedHeight);
    return;
  }
  getCurrentPyramidForFrame(frame, weave, data, width, height, rowBytes);
  // A run also begins with the first frame that arrives, should the range's first one have failed.
  if (frame == rangeStart || !previousPyramid)
    beginRun(frame);
  else
    followFrame(frame);
}

void TrackerEstimator::getCurrentPyramidForFrame(int frame, int weave, const void* data, int width, int height,
                                                 int rowBytes) {
  Log("Get pyramid for frame %d, lacing %d", frame, weave);
  if (!currentLuma) currentLuma = std::make_unique<FastArray>();
  currentLuma->Resize(width, height);
  LumaFromARGBSF(data, rowBytes, invertAxes != 0, *currentLuma);
  RebuildOtherField(*currentLuma, weave);
  if (!currentPyramid)
    currentPyramid = std::make_unique<ArrayPyramid>(*currentLuma, multiresolutionLevels, true);
  else
    currentPyramid->Generate(*currentLuma, true);
}

/// The first frame: finds features and has no motion.
void TrackerEstimator::beginRun(int frame) {
  trackPoints.clear();
  trackStatus.clear();
  tracker->Start(*currentPyramid, trackPoints, trackStatus, false);
  detectInterval = maxDetectInterval;
  featuresAtDetect = static_cast<int>(trackPoints.size());
  framesSinceDetect = 0;
  supportWidth = analysedWidth;
  supportHeight = analysedHeight;
  activeFeaturesLastFrame = 0;
  CopyPoints(trackPoints, previousPoints);

  motionEstimator.Begin(frame);
  gainStorage.SetGain(frame, 1.0f);
  previousGain = 1.0f;
  previousLuma = std::move(currentLuma);
  previousPyramid = std::move(currentPyramid);
}

void TrackerEstimator::followFrame(int frame) {
  const bool isLast = frame == rangeEnd;
  const bool firstSinceDetect = framesSinceDetect == 0;
  trackFeatures();
  if (firstSinceDetect) trackableFeatures = static_cast<int>(trackPoints.size());
  const bool weakSupport = sufficientSupport(trackPoints);
  if (!isLast && replenishIsDue(weakSupport)) doReplenish = true;
  activeFeaturesLastFrame = static_cast<int>(trackPoints.size());

  // Features that are found now aren't among the points of this frame: they are matched for the first time two frames
  // from now, when the tracker has moved them once.
  CopyPoints(trackPoints, currentPoints);
  matchPoints();
  if (doReplenish) replenish();

  Matrix homography = Matrix::GetIdentity(3);
  estimateMotion(frame, homography);
  measureGain(frame, homography);
  previousHomography = homography;
  if (!isLast) handBuffersOver();
}

/// Moves the features to their places in this frame, verified as the policy tells.
void TrackerEstimator::trackFeatures() {
  const bool due = framesSinceDetect == 0 || framesSinceVerify >= maxVerifyInterval;
  const bool verifyAll = fbPolicy == 1 || ((fbPolicy == 2 || fbPolicy == 3) && due);
  const bool verifySelected = fbPolicy == 3;
  kltTracker().Track(*currentPyramid, *previousPyramid, previousHomography, trackPoints, trackStatus, verifyAll,
                     verifySelected);
  ++framesSinceDetect;
  framesSinceVerify = verifyAll ? 0 : framesSinceVerify + 1;
}

/// Whether too many features are gone, too little of the frame is covered, or enough frames have passed.
bool TrackerEstimator::replenishIsDue(bool weakSupport) const {
  const auto tracked = static_cast<float>(trackPoints.size());
  const float ratio = trackableFeatures > 0 ? tracked / static_cast<float>(trackableFeatures) : 0.0f;
  const bool settled = framesSinceDetect >= 2;
  const bool lost = settled && 1.0 - replenishThreshold > ratio;
  // Two fifths gone at once; an infinite quotient where there were none before.
  const bool dropped = settled && 0.6 >= tracked / static_cast<float>(activeFeaturesLastFrame);
  return trackPoints.empty() || lost || framesSinceDetect >= detectInterval || (settled && weakSupport) || dropped;
}

bool TrackerEstimator::sufficientSupport(const std::list<Point2D>& points) {
  double spanX = 0.0, spanY = 0.0;
  if (!points.empty()) {
    const auto [left, right] = std::ranges::minmax(points, {}, &Point2D::x);
    const auto [top, bottom] = std::ranges::minmax(points, {}, &Point2D::y);
    spanX = right.x - left.x;
    spanY = bottom.y - top.y;
  }
  if (0.5 * analysedWidth > spanX || 0.5 * analysedHeight > spanY) return true;

  // No lower bound is meant: at 0 or below a detection is due on every frame.
  if (spanX < 0.7 * supportWidth || spanY < 0.7 * supportHeight)
    detectInterval -= 4;
  else if (spanX < 0.85 * supportWidth || spanY < 0.85 * supportHeight)
    detectInterval -= 2;
  if (spanX < supportWidth) supportWidth = static_cast<int>(spanX);
  if (spanY < supportHeight) supportHeight = static_cast<int>(spanY);
  return false;
}

/// Pairs each point of the frame before with the first one of the same id in this frame, in the order of the former.
void TrackerEstimator::matchPoints() {
  matchedCurrent.Clear();
  matchedPrevious.Clear();
  matches.Clear();
  currentOfId.Reset(currentPoints.points.size());
  for (size_t i = currentPoints.points.size(); i-- > 0;) currentOfId[currentPoints.points[i].id] = static_cast<int>(i);
  int count = 0;
  for (const Point2D& previous : previousPoints.points) {
    const int position = currentOfId.Find(previous.id);
    if (position < 0) continue;
    matchedCurrent.Add(currentPoints.points[position]);
    matchedPrevious.Add(previous);
    matches.AddMatch(count, count, 1.0);
    ++count;
  }
}

void TrackerEstimator::replenish() {
  tracker->Replenish((*currentPyramid)[0], trackPoints, trackStatus);
  framesSinceDetect = 0;
  featuresAtDetect = static_cast<int>(trackPoints.size());
  doReplenish = false;
}

void TrackerEstimator::estimateMotion(int frame, Matrix& homography) {
  motionEstimator.SetPyramids(currentPyramid.get(), previousPyramid.get());
  motionEstimator.Estimate(frame, matchedCurrent, matchedPrevious, matches, homography);  // a failed frame has one too
}

void TrackerEstimator::measureGain(int frame, Matrix& homography) {
  const auto originX = static_cast<float>(analysedWidth * 0.5), originY = static_cast<float>(analysedHeight * 0.5);
  const float gain =
      motionEstimator.directlyEstimated
          ? ObjC_AGC->calculateFrame(frame, currentLuma.get(), previousLuma.get(), &homography, originX, originY,
                                     previousGain)
          : ObjC_AGC->calculateFrame(frame, currentLuma.get(), previousLuma.get(), &homography, originX, originY,
                                     &matchedCurrent, &matchedPrevious, previousGain, windowSize);
  gainStorage.SetGain(frame, gain);
  previousGain = gain;
}

void TrackerEstimator::handBuffersOver() {
  previousPoints = currentPoints;
  std::swap(previousLuma, currentLuma);
  std::swap(previousPyramid, currentPyramid);
}

void TrackerEstimator::finaliseFrom(int first, int last) {
  motionEstimator.motion.AppendRange(first, last);  // the similarities keep their own ranges
  analysedMotion = motionEstimator.motion;
  analysedQuasiAffine = motionEstimator.qaMotion;
  confidence_ = motionEstimator.confSet;
  gainStorage.AddRange(first, last);
}

bool TrackerEstimator::loadMotion(const char* motionPath, const char* rotationPath, const char* confidencePath) {
  if (!motionPath) return false;
  analysedMotion.Clear();  // else the ranges of before would stay beside the file's
  const bool loaded = analysedMotion.Load(motionPath) && IsWithinReason(analysedMotion);
  if (confidencePath) confidence_.Load(confidencePath);
  if (!IsSpan(confidence_.start, confidence_.end, confidence_.index.size())) confidence_.Clear();
  if (rotationPath) {
    analysedQuasiAffine.Clear();
    analysedQuasiAffine.Load(rotationPath);
    if (!IsWithinReason(analysedQuasiAffine)) analysedQuasiAffine.Clear();
  }
  if (!loaded) {
    analysedMotion.Clear();
    confidence_.Clear();
    return false;
  }
  // A set without frames has the frame -1 as its start and end, which so counts as certain; no frame has that number.
  for (int frame = analysedMotion.start; frame <= analysedMotion.end; ++frame) confidence_.Set(frame, 1.0f);
  return true;
}

void TrackerEstimator::saveMotionDebug() const {
  if (!analysedMotion.Save("fcpx.set")) Log("Failed to save analysed motion");
  if (!confidence_.Save("fcpx.mconf")) Log("Failed to save motion confidence");
}
