#include "film/DescribeValues.h"
#include "numerics/PointSet.h"

namespace film {
namespace {

using Vorn::Point2D;
using Vorn::PointSet;

Description describe(const std::string& path, bool isOld) {
  PointSet set;
  const bool complete = set.Load(path.c_str());
  Spread x, y, weight;
  Description points = Description::array();
  for (const Point2D& point : set.points) {
    x.add(point.x);
    y.add(point.y);
    weight.add(point.weight);
    const auto number = [isOld](double value) { return isOld ? NumberOf(value) : NumberOf(static_cast<float>(value)); };
    points.push_back(
        {{"id", point.id}, {"x", number(point.x)}, {"y", number(point.y)}, {"weight", number(point.weight)}});
  }
  return {{"format", isOld ? "POINTS" : "PSET"},
          {"version", isOld ? 1 : set.formatVersion},
          {"complete", complete},
          {"comment", set.comment},
          {"x", x.json()},
          {"y", y.json()},
          {"weight", weight.json()},
          {"points", std::move(points)}};
}

std::string lines(const Description& d) {
  std::string text = Line("points", std::to_string(d["points"].size()));
  const std::string comment = d["comment"];
  if (!comment.empty()) text += Line("comment", comment);
  return text + Line("x", SpreadText(d["x"])) + Line("y", SpreadText(d["y"])) + Line("weight", SpreadText(d["weight"]));
}

bool rewrite(const std::string& in, const std::string& out) {
  PointSet set;
  set.Load(in.c_str());
  return set.Save(out.c_str());
}

}  // namespace

StoredFormat PointsFormat() {
  return {"PSET",
          "points",
          [](std::string_view head) { return IsChunked(head, "PSET"); },
          [](const std::string& path) { return describe(path, false); },
          lines,
          "points"};
}

StoredFormat OldPointsFormat() {
  return {"POINTS",
          "points, in the old text form",
          [](std::string_view head) { return BeginsWithLine(head, "POINTS"); },
          [](const std::string& path) { return describe(path, true); },
          lines,
          "points",
          "PSET",
          rewrite};
}

}  // namespace film
