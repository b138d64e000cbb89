#include "estimation/LOPROSAC.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "estimation/LM.h"

namespace Vorn {
namespace {

constexpr double noError = 1e10;      // above every error: nothing was found yet
constexpr double inlierRadius = 2.0;  // in the normalised coordinates that the solver is given
constexpr int unlimited = std::numeric_limits<int>::max();

struct Support {
  int inliers;
  double mean;  // of the roots of all errors, those of outliers too
};

// Marks the inliers among the weighted squared errors.
Support Judge(const std::vector<double>& errors, std::vector<unsigned char>& flags) {
  const int n = static_cast<int>(errors.size());
  flags.resize(errors.size());
  double sum = 0;
  int inliers = 0;
  for (int k = 0; k < n; ++k) {
    const double r = std::sqrt(errors[k]);
    const bool isInlier = r < inlierRadius;
    flags[k] = isInlier;
    inliers += isInlier;
    sum += r;
  }
  return {inliers, n < 1 ? noError : sum / n};
}

// T_N: the trials that show an all-inlier sample with probability 0.99 when a tenth of the matches are inliers.
int CeilingOnTrials(int sampleSize) {
  const double missed = std::log1p(-std::exp(sampleSize * std::log(0.1)));
  const double needed = std::log(0.01) / missed;
  return missed < 0 && needed < static_cast<double>(unlimited) ? static_cast<int>(std::ceil(needed)) : unlimited;
}

int LocalPasses(int inliers, int sampleSize) {
  if (inliers > 20 * sampleSize) return 10;
  return inliers > 7 * sampleSize ? 5 : 1;
}

}  // namespace

std::vector<double> LOPROSAC::Solve(PointSet& a, PointSet& b, MatchSet& m) {
  setProblem(a, b, m);
  beginSolve();
  if (startFromModel) evaluateInitialConfiguration();
  if (bestInliers >= numMatches || numMatches < model->minSamples)
    seeds.push_back(static_cast<unsigned int>(rand()));
  else
    runTrials();
  if (!loApplied) localOptimisation(0);
  return bestModel;
}

void LOPROSAC::beginSolve() {
  const int m = model->minSamples;
  serialPhase = true;
  parallelPhase = loApplied = false;
  bestInliers = 0;
  bestError = bestMeanError = noError;
  bestModel.clear();
  seeds.clear();
  trials = 1;
  trialLimit = CeilingOnTrials(m);
  minSupport = static_cast<int>(numMatches * (1 - 0.9));
  nStar = numMatches;
  iStar = bestSupport = 0;
  poolSize = m;
  tPrimeN = 1;
  adaptiveTrials = trialLimit;
  tN = trialLimit;
  for (int i = m, j = numMatches; i >= 1; --i, --j) tN *= static_cast<double>(i) / j;
}

// The opening draws, from a small pool of the best matches, are made one at a time; the crowd comes when it has grown.
void LOPROSAC::runTrials() {
  drawSeeds();
  trialContext = {this, groupSize};
  RunTrialGroup(1, 0);
  if (parallelPhase) runTrialsOnAllProcessors(groupSize);
}

void LOPROSAC::RunTrialGroup(int size, unsigned int seedIndex) {
  PROSACFeatureIO group(std::max(size, 1), seedIndex);
  for (int t = peek(trials); !mayStop(t); t = peek(trials)) {
    for (int s = 0; s < group.size(); ++s) {
      growPool(t);
      drawSample(t, group.points1[s], group.points2[s], group.matches[s], seedIndex);
    }
    evaluateSubSet(group, *model);
    if (serialPhase && poolSize > 10 * model->minSamples) {
      serialPhase = false;
      parallelPhase = true;
      return;
    }
  }
}

bool LOPROSAC::mayStop(int t) {
  if (peek(bestSupport) < minSupport || t <= peek(adaptiveTrials)) return t >= trialLimit && t > minTrials;
  return t > minTrials;
}

// One step of the schedule once its trials are used up: the pool grows by a match, the schedule to T_n+1.
void LOPROSAC::growPool(int t) {
  if (t <= peek(tPrimeN) || peek(poolSize) >= peek(nStar)) return;
  const std::lock_guard<std::mutex> guard(scheduleLock);
  if (t <= tPrimeN || poolSize >= peek(nStar)) return;  // another thread has taken the step meanwhile
  const int n = poolSize;
  const double next = (n + 1) * tN / (n + 1 - model->minSamples);
  publish(poolSize, n + 1);
  publish(tPrimeN, static_cast<int>(std::min(tPrimeN + std::ceil(next - tN), static_cast<double>(unlimited))));
  tN = next;
}

void LOPROSAC::drawSample(int t, PointSet& a, PointSet& b, MatchSet& sample, unsigned int seedIndex) {
  const int m = model->minSamples, pool = peek(poolSize);
  if (t > peek(tPrimeN)) {
    selectTopSubSet(a, b, sample, m, pool, seedIndex);
    return;
  }
  selectTopSubSet(a, b, sample, m - 1, pool - 1, seedIndex);
  // The match behind the pool is forced, which is beyond the method but meant; a full pool ends with its own last one.
  const MatchPair& last = matches->matches[std::min(pool, numMatches - 1)];
  a.Add((*points1)[last.first]);
  b.Add((*points2)[last.second]);
  sample.AddMatch(m - 1, m - 1, 1.0);
}

void LOPROSAC::selectTopSubSet(PointSet& a, PointSet& b, MatchSet& sample, int count, int pool,
                               unsigned int seedIndex) {
  thread_local std::vector<int> positions;
  drawPositions(count, pool, seeds[seedIndex], positions);
  fillSample(positions, a, b, sample);
}

void LOPROSAC::evaluateSubSet(PROSACFeatureIO& group, EstimationModel& estimationModel) {
  group.inliers = 0;
  group.error = noError;
  group.bestSample = -1;
  group.bestParams.clear();
  for (int s = 0; s < group.size(); ++s) {
    std::vector<unsigned char>& flags = group.inlierFlags[s];
    if (!estimationModel.Estimate(group.points1[s], group.points2[s], group.matches[s], group.params)) continue;
    if (estimationModel.IsDegenerate(group.params)) continue;
    errorsOfMatches(group.params, group.errors);
    const Support support = Judge(group.errors, flags);
    if (support.inliers > group.inliers || (support.inliers == group.inliers && support.mean < group.error)) {
      group.bestParams = group.params;
      group.inliers = support.inliers;
      group.error = support.mean;
      group.bestSample = s;
    }
  }
  integratePROSACResult(group);
}

void LOPROSAC::integratePROSACResult(const PROSACFeatureIO& group) {
  bool improved = false, late = false;
  {
    const std::lock_guard<std::mutex> guard(resultLock);
    if (group.inliers > bestSupport) updateStoppingPool(group.inliers, group.inlierFlags[group.bestSample]);
    improved = group.inliers > bestInliers || (group.inliers == bestInliers && group.error < bestMeanError);
    if (improved) {
      bestModel = group.bestParams;
      bestInliers = group.inliers;
      bestMeanError = group.error;
    }
    publish(trials, trials + group.size());
    late = trials >= 50;
  }
  if (improved && late) localOptimisation(static_cast<int>(group.threadIndex));
}

// Looks for the pool size whose inlier ratio lets the search stop soonest, as long as the inliers in it can't be there
// by chance. With no match beyond a sample there is nothing to choose.
void LOPROSAC::updateStoppingPool(int support, const std::vector<unsigned char>& flags) {
  const int m = model->minSamples;
  publish(bestSupport, support);
  if (numMatches <= m) return;
  long long i = support, bestI = support, bestN = numMatches;
  double q = static_cast<double>(support) / numMatches;
  for (int n = numMatches; n > m; --n) {
    if (i * bestN > bestI * n) {
      const double expected = q * n;
      if (static_cast<double>(i) > std::sqrt((1 - q) * expected * 2.706) + expected) {
        if (i < Imin(m, n, 0.01)) break;
        q = static_cast<double>(i) / n;
        bestN = n;
        bestI = i;
      }
    }
    i -= flags[n - 1];
  }
  if (nStar * bestI <= iStar * bestN) return;
  const double inlierRatio = static_cast<double>(bestI) / static_cast<double>(bestN);
  publish(nStar, static_cast<int>(bestN));
  iStar = static_cast<int>(bestI);
  publish(adaptiveTrials, getMaxTrials(0.95, 1 - inlierRatio, m, trialLimit));
}

int LOPROSAC::getMaxTrials(double confidence, double outlierRatio, int sampleSize, int limit) {
  if (outlierRatio <= 0) return 1;
  const double g = std::log1p(-std::exp(std::log(1 - outlierRatio) * sampleSize));
  const double h = std::log(1 - confidence);
  return g < 0 && h / g < limit ? static_cast<int>(std::ceil(h / g)) : limit;
}

int LOPROSAC::Imin(int m, int n, double beta) {
  return static_cast<int>(std::ceil(std::sqrt((1 - beta) * n * beta) * 1.6449924011982548 + (m + n * beta)));
}

// The given model counts like a trial's, so that a search from a good one ends soon.
void LOPROSAC::evaluateInitialConfiguration() {
  std::vector<double> params = model->GetModel(), errors;
  if (params.empty()) return;
  std::vector<unsigned char> flags;
  errorsOfMatches(params, errors);
  const Support support = Judge(errors, flags);
  updateStoppingPool(support.inliers, flags);
  bestInliers = support.inliers;
  bestModel = params;
  bestMeanError = support.mean;
}

void LOPROSAC::localOptimisation(int seedIndex) {
  const std::lock_guard<std::mutex> guard(loLock);
  const std::vector<double> start = currentBest();
  auto* problem = dynamic_cast<FeaturesOptFunction*>(optimiser);
  if (start.empty() || !problem) return;

  std::vector<double> best = start, params = start;
  std::vector<int> inliers;
  const double startError = evaluateInlierMatches(params, inliers);
  double bestLocalError = startError;
  PointSet a, b;
  MatchSet sample;
  const int count = static_cast<int>(inliers.size());
  const int passes = count > 0 ? LocalPasses(count, model->minSamples) : 0;
  for (int pass = 0; pass < passes; ++pass) {
    selectLargeSample(inliers, a, b, sample, seedIndex);
    params = start;
    const double error = robustOptimise(*problem, a, b, sample, inliers, params);
    if (error < bestLocalError) {
      bestLocalError = error;
      best = params;
    }
  }
  if (bestLocalError < startError) integrateLO(best, bestLocalError);
}

std::vector<double> LOPROSAC::currentBest() {
  const std::lock_guard<std::mutex> guard(resultLock);
  return bestModel;
}

// Lists the matches within the inlier radius by plain distance; the result is their mean squared distance.
double LOPROSAC::evaluateInlierMatches(std::vector<double>& params, std::vector<int>& inliers) {
  std::vector<double> distances;
  distancesOfMatches(params, distances);
  double sum = 0;
  inliers.clear();
  for (int k = 0; k < numMatches; ++k) {
    if (!(std::sqrt(distances[k]) < inlierRadius)) continue;
    inliers.push_back(k);
    sum += distances[k];
  }
  return inliers.empty() ? 0.0 : sum / static_cast<double>(inliers.size());
}

void LOPROSAC::selectLargeSample(const std::vector<int>& inliers, PointSet& a, PointSet& b, MatchSet& sample,
                                 int seedIndex) {
  const int wanted = 7 * model->minSamples, available = static_cast<int>(inliers.size());
  if (available <= wanted) {
    fillSample(inliers, a, b, sample);
    return;
  }
  std::vector<int> positions;
  drawPositions(wanted, available, seeds[seedIndex], positions);
  for (int& position : positions) position = inliers[position];
  fillSample(positions, a, b, sample);
}

// Refines `params` on the sample and returns their mean squared distance over the inliers, each at most the radius.
double LOPROSAC::robustOptimise(FeaturesOptFunction& problem, const PointSet& a, const PointSet& b,
                                const MatchSet& sample, const std::vector<int>& inliers, std::vector<double>& params) {
  problem.points1 = &a;
  problem.points2 = &b;
  problem.matches = &sample;
  problem.numResiduals = 2 * static_cast<int>(sample.Count());
  LM minimiser(problem);
  minimiser.maxIterations = 30;
  minimiser.Optimise(params, false);
  problem.points1 = problem.points2 = nullptr;  // the sample goes away
  problem.matches = nullptr;

  std::vector<double> distances;
  distancesOfMatches(params, distances);
  double sum = 0;
  for (int k : inliers) sum += std::sqrt(distances[k]) < inlierRadius ? distances[k] : inlierRadius * inlierRadius;
  return sum / static_cast<double>(inliers.size());
}

// Compares a mean of roots from the trials with a mean of squares from here; kept, it decides what counts as better.
void LOPROSAC::integrateLO(const std::vector<double>& params, double error) {
  const std::lock_guard<std::mutex> guard(resultLock);
  if (!(bestMeanError > error)) return;
  bestModel = params;
  bestMeanError = error;
  loApplied = true;
}

}  // namespace Vorn
