#include "tracking/Feature.h"

#include <ostream>

namespace Vorn {

Feature::Feature(const Feature& other)
    : id(other.id), start(other.start), status(other.status), quality(other.quality), track(other.track) {}

Feature& Feature::operator=(const Feature& other) {
  id = other.id;
  start = other.start;
  status = other.status;
  quality = other.quality;
  if (this != &other) track = other.track;
  for (auto& array : matrices) array.reset();
  return *this;
}

void Feature::Clear() {
  id = start = -1;
  status = FeatureLost;
  quality = 0.0;
  track.clear();
}

Point2D Feature::Location(int frame) const { return IsActive(frame) ? track[frame - start] : Point2D(); }

bool Feature::IsActive(int frame) const {
  const long long position = static_cast<long long>(frame) - start;
  return position >= 0 && position < static_cast<long long>(track.size());
}

std::ostream& operator<<(std::ostream& stream, const Feature& feature) {
  const long long end = feature.start + static_cast<long long>(feature.track.size()) - 1;
  stream << "Feature " << feature.id << "\nstart " << feature.start << " end " << end << '\n';
  for (const Point2D& point : feature.track) stream << point.x << ' ' << point.y << '\n';
  return stream;
}

}  // namespace Vorn
