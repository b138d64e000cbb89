#pragma once

#include "numerics/Point2D.h"

/// The coordinate of a point on an axis: x on axis 0, horizontal, and y on axis 1, vertical.
inline double OnAxis(const Vorn::Point2D& point, int axis) { return axis == 0 ? point.x : point.y; }
