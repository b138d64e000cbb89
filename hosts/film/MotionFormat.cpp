#include <cmath>

#include "analysis/HomographySet.h"
#include "film/DescribeValues.h"

namespace film {
namespace {

using Vorn::HomographySet;
using Vorn::Matrix;

// Motion from frame to frame and corrections of frames have the same form, and nothing in it tells one from the other.
constexpr const char* matrices = "a matrix for each frame: motion, or a correction";
constexpr const char* oldMatrices = "a matrix for each frame, motion or a correction, in the old text form";

/// How far a frame's matrix moves the point that it acts about, in pixels.
double moveOf(const Matrix& m) { return std::hypot(m(0, 2) / m(2, 2), m(1, 2) / m(2, 2)); }

/// How far it turns the picture, in degrees.
double turnOf(const Matrix& m) {
  return std::abs(std::atan2(m(1, 0) / m(2, 2), m(0, 0) / m(2, 2))) * 180.0 / std::acos(-1.0);
}

Description rowOf(const HomographySet& motion, const Vorn::HomographyFrame& frame) {
  Description row{{"frame", frame.frame}};
  if (motion.version == 1 || motion.sizeParam == 8)
    AddMatrix(row, frame.matrix);
  else
    for (unsigned int i = 0; i < 9; ++i)
      row[EntryName(i / 3, i % 3)] = NumberOf(static_cast<float>(frame.matrix(i / 3, i % 3)));
  return row;
}

Description describe(const std::string& path) {
  HomographySet motion;
  const bool complete = motion.Load(path.c_str());
  Spread moves, turns;
  FrameSpan span;
  Description frames = Description::array();
  for (const Vorn::HomographyFrame& frame : motion.hset) {
    span.add(frame.frame);
    moves.add(moveOf(frame.matrix));
    turns.add(turnOf(frame.matrix));
    frames.push_back(rowOf(motion, frame));
  }
  return {{"format", "HSET"},
          {"version", motion.version},
          {"complete", complete},
          {"text", motion.version == 1},
          {"valueBytes", motion.sizeParam},
          {"origin", motion.originLocation == 4 ? "centre" : "corner"},
          {"originLocation", motion.originLocation},
          {"start", span.first},
          {"end", span.last},
          {"ranges", motion.version == 1 && !span.empty ? SpansOf(span.first, span.last) : SpansOf(motion.range)},
          {"move", moves.json()},
          {"turn", turns.json()},
          {"frames", std::move(frames)}};
}

std::string lines(const Description& d) {
  const size_t held = d["frames"].size();
  std::string frames = Count(held, "frame", "frames");
  if (held > 0) frames += ", " + d["start"].dump() + " to " + d["end"].dump();
  return Line("matrices", frames) + Line("covered", SpanText(d["ranges"])) +
         Line("move by a matrix", SpreadText(d["move"], "pixels")) +
         Line("turn by a matrix", SpreadText(d["turn"], "degrees")) +
         Line("origin", d["origin"] == "centre" ? "the frame's centre" : "the frame's top left corner");
}

/// With all digits that the text had.
bool rewrite(const std::string& in, const std::string& out) {
  HomographySet motion;
  motion.Load(in.c_str());
  motion.version = HomographySet::compatibleVersion;
  motion.sizeParam = 8;
  return motion.Save(out.c_str());
}

}  // namespace

StoredFormat MotionFormat() {
  return {"HSET", matrices, [](std::string_view head) { return IsChunked(head, "HSET"); }, describe, lines, "frames"};
}

StoredFormat OldMotionFormat() {
  return {"HSET",   oldMatrices, [](std::string_view head) { return BeginsWithLine(head, "HSET"); },
          describe, lines,       "frames",
          "HSET",   rewrite};
}

}  // namespace film
