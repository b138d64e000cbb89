#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "analysis/MotionConfidenceSet.h"
#include "film/Session.h"

// What the user should know of a clip and of what the analysis made of it.
namespace film {

/// What the planner takes for broken is not above this.
constexpr float usableConfidence = 0.1f;

/// The numbers of pictures, frames or fields, whose confidence isn't above that, as they come.
std::vector<int> LowConfidenceNumbers(const MotionConfidenceSet& confidence);

/// How the picture moved to a frame from the one before it, in pixels.
struct Step {
  double size = -1;     ///< the most of several points; negative where it isn't known
  double x = 0, y = 0;  ///< of the centre
};

/// One thing to know. `frames` counts what it is about; `places` are the frames themselves or where they lie.
struct Warning {
  std::string kind;  ///< for programs: "cuts"
  int count = 0;
  std::vector<int> places;
  std::string text;  ///< one line with what to do
};

/// Stretches of frames without usable motion, from the confidences of frames 0, 1, ...: cuts, where the scene changes
/// with the first such frame, and others; or that there is hardly any motion to be found at all, which also shows in
/// `steps`: without any texture their size is exactly 0. `steps` may be empty. `changes` tells whether the scene
/// changes with a frame.
std::vector<Warning> MotionWarnings(const std::vector<float>& confidences, const std::vector<Step>& steps,
                                    const std::function<bool(int frame)>& changes);

/// The frames that show the picture before them again: with the same samples, or coded anew, where the camera rests for
/// a frame and before and after it moves the same way. `steps` may be empty.
std::vector<int> RepeatedFrames(const std::vector<IndexedFrame>& frames, const std::vector<Step>& steps);

/// What there is to tell of them, of a clip of `frames`.
std::vector<Warning> RepeatWarnings(const std::vector<int>& repeated, int frames);

/// Gaps in the presentation times that are whole frames long by the pace around them.
std::vector<Warning> GapWarnings(const std::vector<IndexedFrame>& frames);

/// A zoom that leaves less than half of the frame.
std::vector<Warning> ZoomWarnings(double zoom);

/// A motion that was measured on frames of another size than the clip's, as that of an imported project may be.
std::vector<Warning> SizeWarnings(int analysedWidth, int analysedHeight, int width, int height);

/// Frames of a motion that no event of an axis holds, as in a project that was damaged. `events` are in order.
std::vector<Warning> EventWarnings(const std::vector<int>& framesWithoutEvent);

/// All of a session's clip, once it is analysed and its effect has shown a frame.
std::vector<Warning> FindWarnings(Session& session);

/// Those of them that follow from the settings: of the crop and of the zoom.
std::vector<Warning> FindPlanWarnings(Session& session);

/// "1 frame", "2 frames".
std::string Counted(int count, const std::string& one, const std::string& many);

/// Frames in order as "12, 40 to 48, 60 and 3 more".
std::string FrameList(const std::vector<int>& frames);
/// "2 frames (12, 40)".
std::string CountedFrames(const std::vector<int>& frames);

/// For programs: a list of objects with "kind", "count", "frames" and "text".
nlohmann::ordered_json DescribeWarnings(const std::vector<Warning>& warnings);

}  // namespace film
