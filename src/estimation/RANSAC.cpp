#include "estimation/RANSAC.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

#include "numerics/Geometry.h"
#include "numerics/Parallel.h"
#include "numerics/Random.h"

namespace Vorn {
namespace {

constexpr double noError = 1e10;  // above every error: nothing was found yet

bool Contains(const std::vector<int>& values, int value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

double Mean(const std::vector<double>& values) {
  double sum = 0;
  for (double v : values) sum += v;
  return sum / static_cast<double>(values.size());
}

double MeanSquareAbout(double centre, const std::vector<double>& values) {
  double sum = 0;
  for (double v : values) sum += (v - centre) * (v - centre);
  return sum / static_cast<double>(values.size());
}

struct Support {
  int inliers;
  double spread;
};

Support SupportWithin(double limit, const std::vector<double>& errors) {
  // Without any error the limit is 0 too, and no match would lie below it: an exact fit is everyone's.
  const bool exact = std::all_of(errors.begin(), errors.end(), [](double e) { return e == 0.0; });
  const auto isInlier = [=](double e) { return exact || e < limit; };
  double sum = 0, squares = 0;
  int inliers = 0;
  for (double e : errors) {
    if (!isInlier(e)) continue;
    sum += e;
    ++inliers;
  }
  if (inliers == 0) return {0, noError};
  const double mean = sum / inliers;
  for (double e : errors)
    if (isInlier(e)) squares += (e - mean) * (e - mean);
  return {inliers, std::sqrt(squares / inliers)};
}

}  // namespace

void RansacTrialWrapperFunction(void* context, size_t index) {
  const auto* trial = static_cast<const RansacTrialContext*>(context);
  trial->solver->RunTrialGroup(trial->groupSize, static_cast<unsigned int>(index));
}

RANSAC::RANSAC(EstimationModel* estimationModel) : model(estimationModel), trialContext{this, 1} {
  srand(SeedFromClock());
}

void RANSAC::SetModel(EstimationModel* estimationModel) {
  model = estimationModel;
  srand(SeedFromClock());
}

void RANSAC::SetTiling(PointTiling& pointTiling) {
  tiling = &pointTiling;
  useTiling = true;
}

void RANSAC::SetModelToBest() { model->SetModel(bestModel); }

std::vector<double> RANSAC::Solve(PointSet& a, PointSet& b, MatchSet& m) {
  setProblem(a, b, m);
  bestInliers = 0;
  bestError = noError;
  bestModel.clear();
  trials = 0;
  maxTrials = trialCeiling;
  gatherTiles();
  drawSeeds();
  if (numMatches >= model->minSamples) runTrialsOnAllProcessors(groupSize);
  return bestModel;
}

void RANSAC::setProblem(PointSet& a, PointSet& b, MatchSet& m) {
  points1 = &a;
  points2 = &b;
  matches = &m;
  columns.Fill(a, b, m);
  numMatches = columns.Count();
}

void RANSAC::drawSeeds() {
  seeds.resize(ProcessorCount());
  for (unsigned int& seed : seeds) seed = static_cast<unsigned int>(rand());
}

void RANSAC::runTrialsOnAllProcessors(int size) {
  trialContext = {this, size};
  ApplyInParallel(static_cast<int>(seeds.size()), &trialContext, RansacTrialWrapperFunction);
}

void RANSAC::RunTrialGroup(int size, unsigned int seedIndex) {
  RansacFeatureIO group(std::max(size, 1));
  std::vector<double> params, errors;
  while (peek(trials) < peek(maxTrials) || peek(trials) < minTrials) {
    for (int s = 0; s < group.size(); ++s)
      selectSubSet(group.points1[s], group.points2[s], group.matches[s], seedIndex);
    evaluateSubSet(group, params, errors);
    integrateResult(group);
  }
}

void RANSAC::evaluateSubSet(RansacFeatureIO& group, std::vector<double>& params, std::vector<double>& errors) {
  group.inliers = 0;
  group.error = noError;
  group.bestParams.clear();
  for (int s = 0; s < group.size(); ++s) {
    if (!model->Estimate(group.points1[s], group.points2[s], group.matches[s], params)) continue;
    if (model->IsDegenerate(params)) continue;
    errorsOfMatches(params, errors);
    double rootMean = 0;
    for (double e : errors) rootMean += std::sqrt(e);
    rootMean /= numMatches;
    // The variance of the squared errors about the mean of their roots: a mixture, but the thresholds in use rely on
    // it.
    const double variance = MeanSquareAbout(rootMean, errors);
    const Support found =
        SupportWithin(std::min(threshold, std::sqrt(model->chiThreshold) * std::sqrt(variance)), errors);
    if (found.inliers > group.inliers || (found.inliers == group.inliers && found.spread < group.error)) {
      group.bestParams = params;
      group.inliers = found.inliers;
      group.error = found.spread;
    }
  }
}

void RANSAC::integrateResult(const RansacFeatureIO& group) {
  const std::lock_guard<std::mutex> guard(resultLock);
  if (group.inliers > bestInliers || (group.inliers == bestInliers && group.error < bestError)) {
    bestModel = group.bestParams;
    bestInliers = group.inliers;
    bestError = group.error;
  }
  publish(trials, trials + group.size());
  updateThresholds(bestInliers);
}

void RANSAC::updateThresholds(int inliers) {
  if (inliers <= 0) return;
  const double ratio = static_cast<double>(inliers) / numMatches;
  const double needed = -6.0 / std::log10(1.0 - std::pow(ratio, model->minSamples));
  // A tiny ratio can make the logarithm 0 and the quotient infinite.
  publish(maxTrials, needed < trialCeiling && !std::signbit(needed) ? static_cast<int>(needed) : trialCeiling);
}

void RANSAC::errorsOfMatches(std::vector<double>& params, std::vector<double>& errors) {
  errors.resize(numMatches);
  if (!model->squaredDistances(columns, params, errors.data())) {
    errors = model->Evaluate(*points1, *points2, *matches, params);
    return;
  }
  for (int k = 0; k < numMatches; ++k) errors[k] *= columns.weight[k];
  for (int k : columns.unscored) errors[k] = 0.0;
}

void RANSAC::distancesOfMatches(std::vector<double>& params, std::vector<double>& distances) {
  distances.resize(numMatches);
  if (model->squaredDistances(columns, params, distances.data())) return;
  for (int k = 0; k < numMatches; ++k) {
    Point2D projected;
    model->Project(Point2D(columns.x1[k], columns.y1[k]), projected, params);
    const double d = Distance(projected, Point2D(columns.x2[k], columns.y2[k]));
    distances[k] = d * d;
  }
}

void RANSAC::drawPositions(int count, int pool, unsigned int& seed, std::vector<int>& positions) {
  positions.clear();
  while (static_cast<int>(positions.size()) < count) {
    const int position = rand_r(&seed) % pool;
    if (!Contains(positions, position)) positions.push_back(position);
  }
}

void RANSAC::fillSample(const std::vector<int>& positions, PointSet& a, PointSet& b, MatchSet& sample) const {
  a.Clear();
  b.Clear();
  sample.Clear();
  for (int k = 0; k < static_cast<int>(positions.size()); ++k) {
    const MatchPair& pair = matches->matches[positions[k]];
    a.Add((*points1)[pair.first]);
    b.Add((*points2)[pair.second]);
    sample.AddMatch(k, k, 1.0);
  }
}

void RANSAC::selectSubSet(PointSet& a, PointSet& b, MatchSet& sample, unsigned int seedIndex) {
  thread_local std::vector<int> positions;
  if (matchesOfTile.empty())
    drawPositions(model->minSamples, numMatches, seeds[seedIndex], positions);
  else
    drawFromTiles(seeds[seedIndex], positions);
  fillSample(positions, a, b, sample);
}

// Lists the matches of each tile. Points without a match are left out, which is what drawing them again comes to. With
// too few points for a sample in the tiles there are no lists, and samples are drawn from all matches.
void RANSAC::gatherTiles() {
  matchesOfTile.clear();
  if (!useTiling || !tiling || tiling->randomFree) return;
  const std::vector<int> matchOfPoint = firstMatches(*points1, *matches);
  const int known = tiling->fromMatches ? numMatches : static_cast<int>(matchOfPoint.size());
  std::map<int, std::vector<int>> tiles;
  int points = 0;
  for (int i = 0; i < std::min(tiling->pointCount, known); ++i) {
    const int position = tiling->fromMatches ? i : matchOfPoint[i];
    if (position < 0) continue;
    tiles[tiling->GetTile(i)].push_back(position);
    ++points;
  }
  if (points < model->minSamples) return;
  for (auto& [tile, positions] : tiles) matchesOfTile.push_back(std::move(positions));
}

void RANSAC::drawFromTiles(unsigned int& seed, std::vector<int>& positions) const {
  std::vector<int> usedTiles;
  positions.clear();
  while (static_cast<int>(positions.size()) < model->minSamples)
    positions.push_back(getRandomPoint(positions, usedTiles, seed));
}

// A match that isn't in `drawn`, from a tile that isn't in `usedTiles` as long as there is one. First the tile is drawn
// and then the match in it, so that crowded tiles aren't favoured. When every tile has been used, all are open again.
int RANSAC::getRandomPoint(const std::vector<int>& drawn, std::vector<int>& usedTiles, unsigned int& seed) const {
  while (true) {
    if (usedTiles.size() >= matchesOfTile.size()) usedTiles.clear();
    const int tile = rand_r(&seed) % static_cast<int>(matchesOfTile.size());
    if (Contains(usedTiles, tile)) continue;
    usedTiles.push_back(tile);
    const std::vector<int>& inTile = matchesOfTile[tile];
    const int position = inTile[rand_r(&seed) % inTile.size()];
    if (!Contains(drawn, position)) return position;
  }
}

double RANSAC::inlierLimit() const { return std::min(threshold, std::sqrt(model->chiThreshold) * bestError); }

std::vector<int> RANSAC::GetInOutlierMatches(const PointSet& a, const PointSet& b, const MatchSet& m, bool inliers) {
  std::vector<double> errors(a.points.size(), noError);
  if (!bestModel.empty())
    for (const MatchPair& pair : m.matches)
      errors[pair.first] = model->Evaluate(a[pair.first], b[pair.second], bestModel);
  const double limit = inlierLimit();
  std::vector<int> positions;
  for (size_t k = 0; k < m.matches.size(); ++k) {
    const bool isInlier = !bestModel.empty() && errors[m.matches[k].first] < limit;
    if (isInlier == inliers) positions.push_back(static_cast<int>(k));
  }
  return positions;
}

std::vector<int> RANSAC::GetInOutliers(const PointSet& a, const PointSet& b, const MatchSet& m, bool inliers) {
  std::vector<int> indices, found;
  const std::vector<double> roots = symmetricRootErrors(a, b, m, indices);
  const double limit = inlierLimit();
  for (size_t i = 0; i < indices.size(); ++i) {
    const bool isInlier = !bestModel.empty() && roots[i] < limit;
    if (isInlier == inliers) found.push_back(indices[i]);
  }
  return found;
}

std::vector<int> RANSAC::GetOutliers(const PointSet& a, const PointSet& b, const MatchSet& m) {
  std::vector<int> indices, found;
  const std::vector<double> roots = symmetricRootErrors(a, b, m, indices);
  const double deviation = std::sqrt(MeanSquareAbout(Mean(roots), roots));
  const double limit = std::min(threshold, std::sqrt(model->chiThreshold) * deviation);
  for (size_t i = 0; i < indices.size(); ++i)
    if (bestModel.empty() || roots[i] > limit) found.push_back(indices[i]);
  return found;
}

// Of each point of `a` the position of its first match, or -1.
std::vector<int> RANSAC::firstMatches(const PointSet& a, const MatchSet& m) const {
  std::vector<int> positions(a.points.size(), -1);
  for (size_t k = m.matches.size(); k-- > 0;) positions[m.matches[k].first] = static_cast<int>(k);
  return positions;
}

// The roots of the symmetric errors under the best model, of the points in `indices`: those that have a match.
std::vector<double> RANSAC::symmetricRootErrors(const PointSet& a, const PointSet& b, const MatchSet& m,
                                                std::vector<int>& indices) {
  const std::vector<int> matchOfPoint = firstMatches(a, m);
  std::vector<double> roots;
  if (!bestModel.empty()) SetModelToBest();
  for (size_t i = 0; i < matchOfPoint.size(); ++i) {
    if (matchOfPoint[i] < 0) continue;
    const Point2D& matched = b[m.matches[matchOfPoint[i]].second];
    indices.push_back(static_cast<int>(i));
    roots.push_back(bestModel.empty() ? noError : std::sqrt(model->Evaluate(a[i], matched)));
  }
  return roots;
}

}  // namespace Vorn
