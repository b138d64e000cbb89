// The weights of the features across the frames: who may take part in a frame's fit, and what its outcome does to them.

#include <algorithm>
#include <cmath>

#include "analysis/RobustGlobalME.h"
#include "numerics/Geometry.h"

using Vorn::MatchPair;
using Vorn::MatchSet;
using Vorn::Matrix;
using Vorn::Point2D;
using Vorn::PointSet;

namespace {

constexpr double kStillPixels = 0.4;
constexpr float kMaxScore = 2.0f;
constexpr int kFramesToFullWeight = 30;

bool HasMoved(const Point2D& current, const Point2D& previous) {
  return !(std::fabs(current.x - previous.x) < kStillPixels && std::fabs(current.y - previous.y) < kStillPixels);
}

/// A feature earns its full weight in 30 frames.
float Reliability(int inlierRun) {
  if (inlierRun < 1) return 0.0f;
  return inlierRun < kFramesToFullWeight ? static_cast<float>(inlierRun) * 0.033333335f : 1.0f;
}

}  // namespace

/// When 90% or more of the features move, those that stand still are suspected to be burnt in. When nearly all of them
/// stand still, that is a locked-off camera and nothing is treated as a title.
void RobustGlobalME::testForTitles() {
  if (framesEstimated < 2 || matchWeights.empty()) return;
  work.still =
      static_cast<int>(std::ranges::count_if(matchWeights, [](const MatchWeight& w) { return w.stillRun > 0; }));
  if (0.9 * static_cast<double>(matchWeights.size()) > work.still) work.titleMode = subtitleDetection;
}

/// Gives each match the standing of its feature, takes out the barred features and the titles, and forgets the features
/// that the tracker has lost.
void RobustGlobalME::carryWeightsOver() {
  const auto qualityScale =
      static_cast<float>(std::pow(0.75 * qualityMax, 2) / (static_cast<double>(windowSize) * windowSize));
  liveMatches.Reset(work.matches, work.current);
  used.assign(work.matches.matches.size(), 0);
  std::erase_if(matchWeights, [&](const MatchWeight& record) {
    const int index = liveMatches.First(record.id);
    if (index < 0) return true;
    // Marks go by the position at this moment, and don't follow when matches in front are taken out. Kept: which
    // matches without a record take part has always come out so.
    used[liveMatches.Position(index)] = 1;
    if (record.weight < 0) {
      liveMatches.RemoveFirst(record.id);
    } else if (record.stillRun < 1 || !work.titleMode) {
      MatchPair& match = work.matches.matches[index];
      Point2D& point = work.current[match.second];
      match.score = std::clamp(record.weight - point.weight / qualityScale, 0.0, static_cast<double>(kMaxScore));
      point.weight = Reliability(record.inlierRun);
    } else {
      liveMatches.RemoveFirst(record.id);
      ++work.still;
    }
    return false;
  });
  takeLiveMatches();
}

/// Leaves in `work` only the matches that haven't been taken out.
void RobustGlobalME::takeLiveMatches() {
  kept.Clear();
  for (size_t i = 0; i < work.matches.matches.size(); ++i) {
    const MatchPair& m = work.matches.matches[i];
    if (liveMatches.IsLeft(static_cast<int>(i))) kept.AddMatch(m.first, m.second, m.score);
  }
  std::swap(work.matches, kept);
}

/// Takes out the matches at positions without a mark: features that appeared since the last frame.
void RobustGlobalME::dropUnrecorded() {
  kept.Clear();
  for (size_t i = 0; i < work.matches.matches.size(); ++i) {
    const MatchPair& m = work.matches.matches[i];
    if (used[i]) kept.AddMatch(m.first, m.second, m.score);
  }
  std::swap(work.matches, kept);
}

bool RobustGlobalME::tooFewTrusted() const {
  const auto count = static_cast<int>(work.matches.matches.size());
  return 0.05 * static_cast<double>(matchWeights.size()) > count || count < minPointsQuasiAffine;
}

/// Gives all features a new chance, titles excepted.
void RobustGlobalME::resetWeights(const PointSet& current, const PointSet& previous, const MatchSet& matches) {
  work.reset = true;
  work.matches = matches;
  liveMatches.Reset(matches, current);
  for (MatchWeight& record : matchWeights) {
    record.weight = weightInitInlier;
    record.inlierRun = 1;
    if (work.titleMode && record.stillRun > 0 && liveMatches.First(record.id) >= 0) liveMatches.RemoveFirst(record.id);
  }
  takeLiveMatches();

  indexRecords(current.points.size());
  for (size_t k = 0; k < current.points.size(); ++k) {
    int& position = recordOfId[current.points[k].id];
    if (position >= 0) continue;
    position = static_cast<int>(matchWeights.size());
    matchWeights.push_back(newRecord(current.points[k].id, true, HasMoved(current.points[k], previous.points[k])));
  }
}

/// Judges every feature by the motion `h` of the frame.
void RobustGlobalME::updateWeights(const Matrix& h, const PointSet& current, const PointSet& previous) {
  const double limit = landmarkThresh;
  const double limitOfKnown = work.reset || work.qaWins ? 2 * limit : limit;  // the simpler model may err by twice
  const auto originX = static_cast<float>(origin.x), originY = static_cast<float>(origin.y);
  indexRecords(current.points.size());
  for (size_t k = 0; k < current.points.size(); ++k) {
    const Point2D& point = current.points[k];
    const Point2D& before = previous.points[k];
    const double distance = Vorn::Distance(Vorn::ProjectPoint(h, before, originX, originY), point);
    const bool moved = HasMoved(point, before);
    int& position = recordOfId[point.id];
    if (position >= 0) {
      updateRecord(matchWeights[position], limitOfKnown > distance, moved);
    } else {
      position = static_cast<int>(matchWeights.size());
      matchWeights.push_back(newRecord(point.id, 2 * limit > distance, moved));
    }
  }
}

void RobustGlobalME::updateRecord(MatchWeight& record, bool agrees, bool moved) const {
  record.stillRun = record.stillRun >= 0 && !moved ? record.stillRun + 1 : -1;
  ++record.age;
  if (!agrees) {
    record.inlierRun = 0;
    record.weight = weightMin;  // barred at once, whatever its past
    return;
  }
  ++record.inlierRun;
  const float grown = std::clamp(record.weight + weightDiffInlier, weightMin, weightMax);
  // A barred feature can't win back trust by itself: its weight stays below 0 until a reset.
  if (record.weight >= 0 || grown < 0) record.weight = grown;
}

MatchWeight RobustGlobalME::newRecord(int id, bool agrees, bool moved) const {
  return {id, agrees ? weightInitInlier : weightInitOutlier, agrees ? 1 : 0, 1, moved ? -1 : 1};
}

/// Makes `recordOfId` lead to the first record of each id, with room for `additional` new ones.
void RobustGlobalME::indexRecords(size_t additional) {
  recordOfId.Reset(matchWeights.size() + additional);
  for (size_t i = matchWeights.size(); i-- > 0;) recordOfId[matchWeights[i].id] = static_cast<int>(i);
}

void RobustGlobalME::Resume(int /*frame*/, const Matrix& motionOfFrame, const PointSet& current,
                            const PointSet& previous, const MatchSet& matches) {
  matchWeights.clear();
  for (const MatchPair& m : matches.matches) {
    const Point2D& point = current[m.second];
    const Point2D& before = previous[m.first];
    const double error = getProjectedError(before - origin, point - origin, motionOfFrame);
    matchWeights.push_back(newRecord(point.id, error < 1.5 * landmarkThresh, HasMoved(point, before)));
  }
  recomputeMatchQuality = true;
}
