#include "numerics/Point2D.h"

#include <cstdlib>

namespace Vorn {

Point2D::Point2D(const std::string& text) {
  const size_t comma = text.find(',');
  if (comma == std::string::npos) return;
  x = std::atof(text.substr(0, comma).c_str());
  y = std::atof(text.substr(comma + 1).c_str());
}

}  // namespace Vorn
