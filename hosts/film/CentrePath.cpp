#include "film/CentrePath.h"

#include <algorithm>

#include "numerics/Geometry.h"

using Vorn::Matrix;
using Vorn::Point2D;

namespace film {
namespace {

bool isBroken(const MotionProcessorFCPX& planner, int number) {
  return std::any_of(
      planner.preliminaryEvents.begin(), planner.preliminaryEvents.end(), [number](const MotionInterval& event) {
        return event.motion_type == MotionBroken && event.begin_frame <= number && number <= event.end_frame;
      });
}

/// Adds the frames of one direction to the path. `toScene` leads from the frame in hand to the one that is drawn on.
class PathWalker {
 public:
  PathWalker(const MotionProcessorFCPX& motionPlanner, const OutputWindow& outputWindow)
      : planner(motionPlanner),
        window(outputWindow),
        middle(Vorn::FrameCentre(planner.analysedWidth, planner.analysedHeight)),
        origin(planner.actualMotion()->originLocation == 4 ? middle : Point2D()) {}

  void walk(int number, int step, int reach, CentrePath* path) const {
    Matrix toScene = Matrix::GetIdentity(3);
    for (int frame = number; reach > 0; --reach) {
      // Frame f's motion leads to it from the frame before.
      const int moved = step < 0 ? frame : frame + 1;
      Matrix motion;
      if (isBroken(planner, frame) || isBroken(planner, frame + step) || !planner.actualMotion()->Get(moved, motion))
        return;
      frame += step;
      if (frame < planner.rawMotion.start) return;
      if (step > 0 && !motion.Inverse()) return;
      toScene = toScene * motion;
      add(frame, toScene, path);
    }
  }

  void add(int frame, const Matrix& toScene, CentrePath* path) const {
    path->measured.push_back(inScene(toScene, middle));
    path->planned.push_back(inScene(toScene, window.centre(frame)));
  }

 private:
  Point2D inScene(const Matrix& toScene, const Point2D& point) const {
    return Vorn::ProjectPoint(toScene, point - origin) + origin;
  }

  const MotionProcessorFCPX& planner;
  const OutputWindow& window;
  Point2D middle, origin;
};

}  // namespace

CentrePath CentrePathAround(const MotionProcessorFCPX& planner, const OutputWindow& window, int number, int reach) {
  const PathWalker walker(planner, window);
  CentrePath path;
  walker.walk(number, -1, reach, &path);
  std::reverse(path.measured.begin(), path.measured.end());
  std::reverse(path.planned.begin(), path.planned.end());
  path.now = path.measured.size();
  walker.add(number, Matrix::GetIdentity(3), &path);
  walker.walk(number, 1, reach, &path);
  return path;
}

}  // namespace film
