#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

#include "imaging/ArrayPyramid.h"
#include "imaging/FastArray.h"
#include "numerics/PointSet.h"
#include "tracking/Feature.h"
#include "tracking/FeatureTracker.h"
#include "tracking/WindowSampling.h"

namespace Vorn {

/// Corner features by the smaller eigenvalue of the local gradient matrix (J. Shi and C. Tomasi, "Good Features to
/// Track", CVPR 1994), followed by a coarse-to-fine Lucas-Kanade search (B. Lucas and T. Kanade, "An Iterative Image
/// Registration Technique", IJCAI 1981; J.-Y. Bouguet, "Pyramidal Implementation of the Lucas Kanade Feature Tracker",
/// 2000). What moves against its neighbours is dropped, and doubtful or all features are tracked back to see whether
/// they arrive where they came from.
///
/// Frames are luma on a scale of 0 to `imageMax`. `SetOptions`, `Initialise`, then `Start` on the first frame, `Track`
/// on each further one, `Replenish` on a frame just tracked when there are too few features, `Clear` between clips.
/// Calls come from one thread at a time; inside, the work is spread over the processors, and the results don't depend
/// on their number.
class KLTTracker : public FeatureTracker {
 public:
  KLTTracker() = default;

  void Clear() override;
  /// `maxFeatures` is the budget that old and new features share, `window` the side of the tracking window in pixels,
  /// `levels` the pyramid levels to track on. `minEigenvalue` and `maxRange` are kept and have no effect, by design;
  /// `blockMode` takes the detection threshold from the surroundings instead of the whole frame. False, and nothing
  /// changed, if `maxFeatures` or `window` isn't positive.
  bool SetOptions(int maxFeatures, int window, int levels, float minEigenvalue, int maxRange, bool blockMode) override;
  /// Makes room for frames of `width` by `height` pixels. False if there isn't that much memory.
  bool Initialise(int width, int height) override;
  /// Begins a clip with its first frame: forgets all features, then detects new ones and appends them to the lists.
  /// With `resume` the points of the list become features first, each with its `id`, and both lists are emptied; only
  /// what is new then comes back in them, and nothing is detected if the points fill the budget.
  void Start(ArrayPyramid& pyramid, std::list<Point2D>& points, std::vector<FeatureStorage::TrackStatus>& statuses,
             bool resume) override;
  /// Keeps the live features at their places and fills the gaps between them with new ones, best first, none nearer
  /// than half a window to another; appends all (or with `newOnly` the new ones) to the lists, with their `id`.
  void DetectFeatures(FastArray& frame, std::list<Point2D>& points, std::vector<FeatureStorage::TrackStatus>& statuses,
                      bool newOnly) override;
  /// Empties both lists and detects; they then hold all features.
  void Replenish(FastArray& frame, std::list<Point2D>& points,
                 std::vector<FeatureStorage::TrackStatus>& statuses) override;

  /// Follows the features into `current` and puts the survivors into the lists, each with its `id`, the residual of its
  /// match as `weight`, and `TrackContinued`. `verifyAll` tracks all of them back to `previous` and drops those that
  /// end away from where they came from; `verifySelected` does it for those whose motion stands out. `prediction` is
  /// the 3 by 3 motion expected about the frame's centre; only the choice of those looks at it. Always true.
  bool Track(ArrayPyramid& current, ArrayPyramid& previous, const Matrix& prediction, std::list<Point2D>& points,
             std::vector<FeatureStorage::TrackStatus>& statuses, bool verifyAll, bool verifySelected);
  /// The same with the flags of the last call.
  bool Track(ArrayPyramid& current, ArrayPyramid& previous, const Matrix& prediction, std::list<Point2D>& points,
             std::vector<FeatureStorage::TrackStatus>& statuses) override;
  /// Follows feature `index` on one level, from `source`, whose gradients are given, to `target`. Outside of these
  /// arrays, up to one window from their edges, everything reads as 0.
  void TrackFeature(unsigned int index, FastArray* target, FastArray* source, FastArray* gradientX,
                    FastArray* gradientY, int level) override;

  /// Adds a feature for each point, found in frame number `frame` whose picture is `image`; a point gives its `id`.
  /// Always true.
  bool AddFeatures(const PointSet& points, int frame, const FastArray* image);
  /// How many features are being followed; those just detected don't count.
  int CountActive() const;

  /// The smaller eigenvalue of the gradient matrix of the 3 by 3 pixels around each pixel of rows `firstRow` to
  /// `lastRow`, the outermost rows and columns of the frame excepted, which are left alone in `output`. The gradients
  /// are `stride` floats a row apart. Raises `maxEvalue` to the largest value found.
  void CalculateEigenvalues(const float* gradientX, const float* gradientY, int stride, int width, int height,
                            int firstRow, int lastRow, float* output, int outputStride);
  /// The largest eigenvalue in each block of block row `blockRow`, 0 for a block without any, into
  /// `output`[`blockRow` * nx + column], with nx blocks of 50 pixels across, rounded up.
  void FindBlockEVMaximum(int blockRow, const float* evalues, int width, int height, int stride, float* output) const;

  /// The whole state of tracks. Of a track of hundreds of points the older half is dropped, so that memory doesn't grow
  /// with the clip; `start` moves along if it is known.
  std::vector<Feature> features;
  float eigenvalueFraction = 0.005F;  ///< The detection threshold as a fraction of the largest eigenvalue.
  bool blockMode = false;
  int nextFeatureId = 0;
  int maxFeatures = 1000;
  float maxEvalue = 0.0F;  ///< The largest eigenvalue of the last detection.
  float maxRange = 30.0F;  ///< Kept and read by nothing, by design.
  int levels = 1;
  int framesTracked = 0;  ///< Frames since the last detection.

  FastArray gradientX, gradientY;                                    ///< Gradients of the frame, at full size.
  std::unique_ptr<ArrayPyramid> gradientPyramidX, gradientPyramidY;  ///< Based on `gradientX` and `gradientY`.

  int residualScale = 255;           ///< The scale of the residual thresholds.
  int imageMax = 255;                ///< The largest value of a frame.
  float residualThreshold = 150.0F;  ///< Mean squared difference of a match; set anew by `Track`.
  bool verifyAll = true;
  bool verifySelected = false;
  bool verifying = false;         ///< Tracking back, from the current frame to the previous one.
  bool gradientsCurrent = false;  ///< The gradient pyramids hold the last frame tracked, on all levels.

 private:
  /// What one feature's search found on the level in hand.
  struct LevelResult {
    FeatureStatus status = FeatureLost;
    Point2D point;  // in pixels of the level
  };
  /// A pixel that may become a feature.
  struct Candidate {
    float evalue;
    int pixel;  // y * width + x
  };
  /// Sums over a window of the products of its gradients.
  struct GradientMatrix {
    double xx = 0.0, yy = 0.0, xy = 0.0;
    double Determinant() const { return xx * yy - xy * xy; }
  };

  // KLTTracker.cpp
  void resumeFeatures(const FastArray& frame, std::list<Point2D>& points,
                      std::vector<FeatureStorage::TrackStatus>& statuses);
  static void getGradients(const FastArray* frame, FastArray* x, FastArray* y);
  void sizeGradientPyramids();

  // KLTTrackerSelection.cpp
  void computeEigenvalueMap(int width, int height);
  void updateMaxEvalue(float evalue);
  void findThresholds(int width, int height);
  const float* thresholdsOfRow(int y, int width);
  void removeOverlaps(int width, int height);
  void keepFeatures(int width, int height);
  void addCandidates(int width, int height);
  void countCandidates(int width, int height);
  void collectCandidates(int width, int height, int lowBand, int endBand);
  void markFeature(int x, int y, int width, int height);
  void reportFeatures(std::list<Point2D>& points, std::vector<FeatureStorage::TrackStatus>& statuses,
                      bool newOnly) const;

  // KLTTrackerSearch.cpp
  void beginFrame(int width, int height);
  void trackForward(ArrayPyramid& current, ArrayPyramid& previous, int level);
  void trackFeatures(const std::vector<int>& indices, FastArray& target, FastArray& source, int level);
  void collectSurvivors(std::list<Point2D>& points, std::vector<FeatureStorage::TrackStatus>& statuses);
  GradientMatrix calculateGradientMatrix(const WindowPosition& position, const FastArray& gradientX,
                                         const FastArray& gradientY, const FastArray& source,
                                         WindowBlocks& blocks) const;
  FeatureStatus gradientDescentSearch(Point2D& corner, const FastArray& target, const GradientMatrix& matrix,
                                      WindowBlocks& blocks) const;
  float calculateMatchQuality(float* a, float* b, int size) const;
  void storeIntermediateResult(unsigned int index, FeatureStatus status, const Point2D& point);
  void integrateIntermediateResults(int level, bool backward);
  void integrateIntermediateResults(int level, const std::vector<int>& selected);
  void integrateIntermediateResult(int index, int level, bool backward);

  // KLTTrackerVerification.cpp
  void sortIntoCells(int width, int height, bool (*takesPart)(const Feature&));
  void measureSteps();
  void rejectBlockOutliers(int width, int height);
  void BlockCheck(int block);
  void stageOutliers(const std::vector<int>& ids);
  void rejectOutliers();
  void selectDoubtful(const Matrix& prediction, int width, int height);
  void verifyBackward(ArrayPyramid& current, ArrayPyramid& previous);

  std::vector<LevelResult> intermediate;  // one a feature; each task writes its own
  std::vector<int> stagedOutliers;        // ids
  std::vector<int> doubtful;              // indices of the features to verify

  // Kept between frames so that none allocates.
  FastArray eigenvalues;
  std::vector<float> blockThresholds, rowThresholds;
  std::vector<int> candidateCounts;
  std::vector<Candidate> candidates;
  std::vector<std::uint8_t> occupied;  // a byte a pixel
  std::vector<Point2D> steps;          // how far each feature went in the last frame; 0 for those that aren't followed
  std::vector<int> searchOrder;        // indices, near ones together, so that they find the pixels in the cache
  std::vector<int> featureCells, cellStart, cellFeatures;
  std::vector<Point2D> survivors;

  std::mutex maxEvalueLock, outliersLock;
};

}  // namespace Vorn
