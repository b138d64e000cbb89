#include "analysis/RobustGlobalME.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>

#include "estimation/FeaturesOptFunction.h"
#include "estimation/LOPROSAC.h"
#include "estimation/NormalisePoints.h"
#include "estimation/WeightedHomographyModel.h"
#include "estimation/WeightedQuasiAffineModel.h"
#include "numerics/Geometry.h"

using Vorn::ArrayPyramid;
using Vorn::EstimationModel;
using Vorn::FastArray;
using Vorn::LOPROSAC;
using Vorn::MatchPair;
using Vorn::MatchSet;
using Vorn::Matrix;
using Vorn::Point2D;
using Vorn::PointSet;

namespace {

constexpr double kNoFitError = 10000.0;
constexpr int kRefineIterations = 1000;

Matrix Identity() { return Matrix::GetIdentity(3); }

/// The width and height of the box around all points; 0 by 0 for none.
Point2D SizeOfBox(const PointSet& set) {
  if (set.points.empty()) return {0.0, 0.0};
  Point2D low = set.points.front(), high = low;
  for (const Point2D& p : set.points) {
    low.x = std::min(low.x, p.x);
    low.y = std::min(low.y, p.y);
    high.x = std::max(high.x, p.x);
    high.y = std::max(high.y, p.y);
  }
  return high - low;
}

/// The matches at `positions` with their points, as sets of their own whose pairs are (k, k).
void TakeSubset(const std::vector<int>& positions, const PointSet& previous, const PointSet& current,
                const MatchSet& matches, PointSet& subsetPrevious, PointSet& subsetCurrent, MatchSet& subsetMatches) {
  for (size_t k = 0; k < positions.size(); ++k) {
    const MatchPair& pair = matches.matches[positions[k]];
    subsetPrevious.Add(previous[pair.first]);
    subsetCurrent.Add(current[pair.second]);
    subsetMatches.AddMatch(static_cast<int>(k), static_cast<int>(k), pair.score);
  }
}

}  // namespace

RobustGlobalME::RobustGlobalME()
    : homgModel(std::make_unique<Vorn::WeightedHomographyModel>()),
      qaModel(std::make_unique<Vorn::WeightedQuasiAffineModel>()) {}

void RobustGlobalME::SetOptions(bool /*unused*/, bool direct, int trackDuration, float landThresh) {
  useDirect = direct;
  minTrackDuration = trackDuration;
  landmarkThresh = landThresh;
}

void RobustGlobalME::SetSourceDimensions(int width, int height) {
  sourceWidth = width;
  sourceHeight = height;
  const int centreX = width / 2, centreY = height / 2;  // whole pixels
  origin = Point2D(centreX, centreY);
  motion.originLocation = 4;
  qaMotion.originLocation = 4;
}

void RobustGlobalME::SetPyramids(ArrayPyramid* current, ArrayPyramid* previous) {
  currentPyramid = current;
  previousPyramid = previous;
}

void RobustGlobalME::Begin(int frame) { SetIdentity(frame); }

void RobustGlobalME::SetIdentity(int frame) {
  const Matrix identity = Identity();
  motion.Set(frame, identity);
  qaMotion.Set(frame, identity);
  confSet.Set(frame, 1.0f);
}

void RobustGlobalME::Clear() {
  motion.Clear();
  qaMotion.Clear();
  confSet.Clear();
  matchWeights.clear();
  origin = Point2D(0.0, 0.0);
  sourceWidth = sourceHeight = -1;
  framesEstimated = 0;
  recomputeMatchQuality = false;
  subtitleDetection = true;
  currentPyramid = previousPyramid = nullptr;
}

bool RobustGlobalME::Estimate(int frame, PointSet& current, PointSet& previous, MatchSet& matches, Matrix& result) {
  directlyEstimated = false;
  if (recomputeMatchQuality) recomputeQualities(current, previous, matches);
  recomputeMatchQuality = false;
  if (matches.matches.empty()) {
    matchWeights.clear();
    return alignDirectly(frame, result) || storeNoMotion(frame, 0.0f, result);
  }

  beginWork(current, previous, matches);
  testForTitles();
  carryWeightsOver();
  if (framesEstimated >= 1) dropUnrecorded();
  if (tooFewTrusted()) resetWeights(current, previous, matches);
  work.matches.SortMatches(true);  // the solver draws from the front
  if (work.matches.matches.empty()) return storeNoMotion(frame, work.still >= 21 ? 1.0f : 0.0f, result);

  measureCoverage();
  if (!enoughMatches()) {
    restartWeights();
    return alignDirectly(frame, result) || storeNoMotion(frame, 0.0f, result);
  }
  fitMotion(frame);
  if (work.inliers.empty()) return storeNoMotion(frame, 0.0f, result);

  if (!isRejected()) {
    if (restsOnWeakGround() && !passesDirectCheck(frame)) {
      restartWeights();
      return storeNoMotion(frame, 0.0f, result);
    }
    storeFit(frame, result);
  } else {
    framesEstimated = 0;
    if (!alignDirectly(frame, result)) {
      matchWeights.clear();
      return storeNoMotion(frame, 0.0f, result);
    }
  }
  updateWeights(result, current, previous);
  ++framesEstimated;
  return true;
}

void RobustGlobalME::recomputeQualities(PointSet& current, const PointSet& previous, const MatchSet& matches) const {
  for (const MatchPair& m : matches.matches)
    current[m.second].weight = calculateMatchQuality(previous[m.first], current[m.second]);
}

/// Sets up the working copies, about the origin.
void RobustGlobalME::beginWork(const PointSet& current, const PointSet& previous, const MatchSet& matches) {
  work.current = current;
  work.previous = previous;
  work.matches = matches;
  for (Point2D& p : work.current.points) p -= origin;
  for (Point2D& p : work.previous.points) p -= origin;
  work.still = 0;
  work.titleMode = false;
  work.reset = false;
}

/// Whether the features, matched or not, span enough of the frame for a homography.
void RobustGlobalME::measureCoverage() {
  const Point2D box = SizeOfBox(work.current);
  const bool sized = sourceWidth > 0 && sourceHeight > 0;
  const double cx = sized ? box.x / sourceWidth : 1.0;
  const double cy = sized ? box.y / sourceHeight : 1.0;
  work.wantHomography = cx > 0.3 && cy > 0.3 && cx * cy > 0.3;
  work.lowCoverage = !work.wantHomography;
  work.quasiOnly = work.lowCoverage;
}

/// False if there are too few matches for any model. Too few for the homography alone leaves the similarity.
bool RobustGlobalME::enoughMatches() {
  const int count = static_cast<int>(work.matches.matches.size());
  if (count >= (work.wantHomography ? minPointsHomography : minPointsQuasiAffine)) return true;
  if (!work.wantHomography || count < minPointsQuasiAffine) return false;
  work.wantHomography = false;
  work.quasiOnly = true;
  return true;
}

/// Fits the similarity and, where it is wanted, the homography, and stores the similarity of the frame.
void RobustGlobalME::fitMotion(int frame) {
  work.normalPrevious = work.previous;
  work.normalCurrent = work.current;
  Vorn::normalisePoints(work.normalPrevious, work.toNormalPrevious);
  Vorn::normalisePoints(work.normalCurrent, work.toNormalCurrent);

  LOPROSAC solver;
  solver.threshold = 0.5;
  solver.trialCeiling = 10000;  // not consulted by this solver
  solver.minTrials = 100;
  fitSimilarity(frame, solver);
  if (work.wantHomography) fitHomography(solver);
  work.matrix = inPixels(work.fit, work.fit);  // without an inverse it stays in normalised coordinates, by design
}

void RobustGlobalME::fitSimilarity(int frame, LOPROSAC& solver) {
  Vorn::RobustQuasiAffineFeatureOpt optimiser;
  std::vector<double> fitted;
  solver.startFromModel = false;
  work.error = solveAndFit(solver, qaModel.get(), optimiser, fitted);
  work.count = static_cast<int>(work.inliers.size());
  work.qaWins = true;
  work.fit = Identity();
  if (fitted.empty()) return;  // and no similarity is stored for this frame
  work.fit = similarityMatrix(fitted);
  qaMotion.Set(frame, inPixels(work.fit, Identity()));
}

/// Lets the homography, which starts from the similarity, take its place unless the similarity is nearly as good: it
/// must come within a factor of 4 of the simpler model's error or have a quarter more inliers.
void RobustGlobalME::fitHomography(LOPROSAC& solver) {
  Vorn::RobustHomographyFeatureOpt optimiser;
  std::vector<double> start, fitted;
  work.fit.GetAsVector(start);
  homgModel->SetModel(start);
  solver.startFromModel = true;
  const double error = solveAndFit(solver, homgModel.get(), optimiser, fitted);
  const int count = static_cast<int>(work.inliers.size());
  if (0.25 * error > work.error && work.count > 0.8 * count) return;
  work.fit = Identity();
  if (!fitted.empty()) work.fit = fitted;
  work.error = error;
  work.count = count;
  work.qaWins = false;
}

/// Solves for `model` on the normalised points. Leaves its inliers in `work`, its parameters in `fitted` (empty if
/// there is no solution) and returns its error.
double RobustGlobalME::solveAndFit(LOPROSAC& solver, EstimationModel* model, Vorn::FeaturesOptFunction& optimiser,
                                   std::vector<double>& fitted) {
  solver.SetModel(model);
  solver.optimiser = &optimiser;
  std::vector<double> found = solver.Solve(work.normalPrevious, work.normalCurrent, work.matches);
  solver.SetModelToBest();
  work.inliers = solver.GetInOutlierMatches(work.normalPrevious, work.normalCurrent, work.matches, true);
  solver.optimiser = nullptr;
  return getFittedSolution(work.inliers, found, work.normalPrevious, work.normalCurrent, work.matches, model, fitted,
                           true);
}

/// The matrix of x' = a x - b y + c, y' = b x + a y + d.
Matrix RobustGlobalME::similarityMatrix(const std::vector<double>& p) {
  Matrix m = Identity();
  m(0, 0) = p[0];
  m(0, 1) = -p[1];
  m(0, 2) = p[2];
  m(1, 0) = p[1];
  m(1, 1) = p[0];
  m(1, 2) = p[3];
  return m;
}

/// A motion between normalised points as one in pixels about the origin; `fallback` if that has no inverse.
Matrix RobustGlobalME::inPixels(const Matrix& normalised, const Matrix& fallback) const {
  Matrix fromNormalCurrent = work.toNormalCurrent;
  if (!fromNormalCurrent.Inverse()) return fallback;
  return fromNormalCurrent * normalised * work.toNormalPrevious;
}

/// A large error is allowed only up to 50, and above 10 only when nearly all points are inliers. A fit that isn't
/// finite never stands.
bool RobustGlobalME::isRejected() const {
  if (std::isnan(work.error) || !work.matrix.IsValid()) return true;
  const float ratio = static_cast<float>(work.count) / static_cast<float>(work.current.points.size());
  return work.count < 5 || (work.error > 50.0 && ratio > 0.9) || (work.error > 10.0 && ratio <= 0.9);
}

bool RobustGlobalME::restsOnWeakGround() const { return work.lowCoverage || work.quasiOnly || work.reset; }

bool RobustGlobalME::passesDirectCheck(int frame) {
  Matrix m;
  if (!qaMotion.Get(frame, m)) std::cerr << "Pre-DirectCheck(): Failed to get QA matrix for frame " << frame << "\n";
  return DirectCheck(m);
}

void RobustGlobalME::storeFit(int frame, Matrix& result) {
  const double perInlier = work.error / (2.0 * static_cast<double>(work.inliers.size()));
  const double limit = confidenceMaxError;
  motion.Set(frame, work.matrix);
  result = work.matrix;
  confSet.Set(frame, static_cast<float>(1.0 - std::clamp(perInlier, 0.0, limit) / limit));
}

/// Aligns the images where that is allowed, and stores what came of it. False leaves the stores as they are.
bool RobustGlobalME::alignDirectly(int frame, Matrix& result) {
  if (!useDirect || !currentPyramid || !previousPyramid) return false;
  Matrix aligned = Identity();
  float confidence = 0.0f;
  if (!DirectEstimate(frame, aligned, confidence)) return false;
  motion.Set(frame, aligned);
  qaMotion.Set(frame, aligned);
  confSet.Set(frame, confidence);
  result = aligned;
  directlyEstimated = true;
  return true;
}

/// The identity for the frame. False, as no motion was measured.
bool RobustGlobalME::storeNoMotion(int frame, float confidence, Matrix& result) {
  const Matrix identity = Identity();
  motion.Set(frame, identity);
  qaMotion.Set(frame, identity);
  confSet.Set(frame, confidence);
  result = identity;
  return false;
}

void RobustGlobalME::restartWeights() {
  framesEstimated = 0;
  matchWeights.clear();
}

float RobustGlobalME::calculateMatchQuality(const Point2D& previous, const Point2D& current) const {
  if (windowSize < 1 || !previousPyramid || !currentPyramid) return 0.0f;
  const FastArray& a = (*previousPyramid)[0];
  const FastArray& b = (*currentPyramid)[0];
  if (a.Length() < 1 || b.Length() < 1) return 0.0f;

  const auto corner = [half = windowSize / 2](double v) {
    return std::lround(std::fmin(std::fmax(v, -1e9), 1e9)) - half;
  };
  const auto pixel = [](const FastArray& array, long x, long y) -> double {
    return array(static_cast<int>(std::clamp(x, 0L, array.width - 1L)),
                 static_cast<int>(std::clamp(y, 0L, array.height - 1L)));
  };
  const long ax = corner(previous.x), ay = corner(previous.y), bx = corner(current.x), by = corner(current.y);
  double sum = 0.0;
  for (int y = 0; y < windowSize; ++y) {
    for (int x = 0; x < windowSize; ++x) {
      const double difference = pixel(b, bx + x, by + y) - pixel(a, ax + x, ay + y);
      sum += difference * difference;
    }
  }
  return static_cast<float>(sum / (static_cast<double>(windowSize) * windowSize));
}

double RobustGlobalME::getProjectedError(const Point2D& previous, const Point2D& current, const Matrix& m) const {
  return Vorn::Distance(current, Vorn::ProjectPoint(m, previous));
}

double RobustGlobalME::getFittedSolution(std::vector<int>& inliers, std::vector<double>& found, PointSet& previous,
                                         PointSet& current, MatchSet& matches, EstimationModel* model,
                                         std::vector<double>& fitted, bool refine) {
  if (inliers.empty()) return kNoFitError;
  if (static_cast<int>(inliers.size()) < model->minSamples) {
    inliers.clear();
    return kNoFitError;
  }
  PointSet a, b;
  MatchSet subset;
  TakeSubset(inliers, previous, current, matches, a, b, subset);

  model->Estimate(a, b, subset);
  fitted = model->GetModel();
  const double closedForm = model->Evaluate(a, b, subset);
  model->SetModel(found);
  const double solvers = model->Evaluate(a, b, subset);
  if (closedForm > 0.1 && 0.85 * closedForm > solvers) fitted = found;
  if (!refine) return closedForm;

  model->Optimise(a, b, subset, fitted, kRefineIterations, verbose > 5);
  fitted = model->GetModel();
  return model->Evaluate(a, b, subset);
}
