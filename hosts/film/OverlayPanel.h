#pragma once

#include <array>
#include <string>
#include <vector>

#include "film/Canvas.h"
#include "film/FeatureTrails.h"
#include "film/OverlayScale.h"
#include "planning/MotionProcessorFCPX.h"

namespace film {

/// What the plan does with an axis on a frame.
enum class EventKind { Hold, Move, AsFilmed, Broken };
inline constexpr int eventKinds = 4;
EventKind EventKindAt(const std::vector<MotionInterval>& events, const std::vector<MotionFixParams>& fits, int number);

/// The strip at the picture's lower edge: frame number and confidence, the events and what they are on this frame, the
/// legend with how many features of each kind there are, and the whole clip's events and confidence as bars with a line
/// at the frame in hand. A picture that is too small for all of it gets the bars alone, or nothing.
class OverlayPanel {
 public:
  /// `planner` is lent. `pictures`: how many frames, or fields, the clip has; `each`: how many of them a frame has.
  OverlayPanel(const MotionProcessorFCPX& planner, int pictures, int each);

  void draw(Canvas& canvas, const OverlayScale& scale, int number, const std::vector<FeatureMark>& marks) const;

 private:
  /// A piece of the legend: a sign and words.
  struct Item {
    enum Sign { None, Feature, Chip, Line, Frame } sign = None;
    int kind = 0;
    Colour colour{};
    std::string words;
  };
  struct Layout;

  std::vector<Item> items(int number, const std::vector<FeatureMark>& marks) const;
  void addEvents(const char* name, EventKind kind, std::vector<Item>* list) const;
  void drawItem(Canvas& canvas, const OverlayScale& scale, const Item& item, double x, double baseline) const;
  void drawBars(Canvas& canvas, const Layout& layout, int number) const;
  void drawEventBar(Canvas& canvas, const Layout& layout, int top, const std::vector<MotionInterval>& events,
                    const std::vector<MotionFixParams>& fits) const;
  void drawConfidence(Canvas& canvas, const Layout& layout, int top) const;

  const MotionProcessorFCPX& planner;
  int pictures, each;
  std::array<bool, eventKinds> occurring{};  // in the clip
};

}  // namespace film
