#include "estimation/EstimationModel.h"

namespace Vorn {

void MatchColumns::Fill(const PointSet& a, const PointSet& b, const MatchSet& matches) {
  const size_t n = matches.matches.size();
  for (std::vector<double>* column : {&x1, &y1, &x2, &y2, &weight}) column->resize(n);
  unscored.clear();
  for (size_t k = 0; k < n; ++k) {
    const MatchPair& pair = matches.matches[k];
    const Point2D &p = a[pair.first], &q = b[pair.second];
    x1[k] = p.x;
    y1[k] = p.y;
    x2[k] = q.x;
    y2[k] = q.y;
    weight[k] = q.weight;
    if (pair.score <= 0) unscored.push_back(static_cast<int>(k));
  }
}

double EstimationModel::Evaluate(PointSet& a, PointSet& b, MatchSet& matches) {
  double sum = 0;
  for (const MatchPair& pair : matches.matches)
    if (pair.score > 0) sum += Evaluate(a[pair.first], b[pair.second]);
  return sum;
}

std::vector<double> EstimationModel::Evaluate(PointSet& a, PointSet& b, MatchSet& matches,
                                              std::vector<double>& params) {
  std::vector<double> errors;
  errors.reserve(matches.matches.size());
  for (const MatchPair& pair : matches.matches)
    errors.push_back(pair.score > 0 ? Evaluate(a[pair.first], b[pair.second], params) : 0.0);
  return errors;
}

}  // namespace Vorn
