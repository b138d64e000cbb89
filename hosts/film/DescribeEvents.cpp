#include "film/DescribeEvents.h"

#include <algorithm>

#include "film/DescribeValues.h"

namespace film {
namespace {

const char* kindOf(const MotionInterval& event) {
  if (event.motion_type == MotionStill) return "hold";
  return event.motion_type == MotionBroken ? "broken" : "move";
}

const char* fitOf(const MotionFixParams& fit) {
  if (fit.comp_type == Hold) return "Hold";
  return fit.comp_type == None ? "None" : "Linear";
}

void addEvents(const char* axis, const std::vector<MotionInterval>& events, const std::vector<MotionFixParams>& fits,
               Description& list) {
  for (size_t i = 0; i < events.size(); ++i) {
    const MotionInterval& event = events[i];
    const MotionFixParams fit = i < fits.size() ? fits[i] : MotionFixParams();
    list.push_back({{"axis", axis},
                    {"index", i},
                    {"kind", kindOf(event)},
                    {"first", event.begin_frame},
                    {"last", event.end_frame},
                    {"cut", event.cut},
                    {"fit", fitOf(fit)},
                    {"easeIn", fit.ease_in},
                    {"linearPeriod", fit.linear_period},
                    {"easeOut", fit.ease_out},
                    {"gradient", NumberOf(fit.gradient)},
                    {"gradientIn", NumberOf(fit.gradient_in)},
                    {"startPosition", NumberOf(fit.start_pos)},
                    {"endPosition", NumberOf(fit.end_pos)}});
  }
}

/// "hold 0 to 14, move 15 to 80"
std::string axisText(const Description& events, const char* axis) {
  constexpr int shown = 12;
  std::string text;
  int count = 0;
  for (const Description& event : events) {
    if (event["axis"] != axis || ++count > shown) continue;
    text += (text.empty() ? "" : ", ") + event["kind"].get<std::string>() + " " + event["first"].dump() + " to " +
            event["last"].dump();
  }
  if (count > shown) text += " and " + std::to_string(count - shown) + " more";
  return text.empty() ? "none" : text;
}

}  // namespace

Description EventsOf(const std::vector<MotionInterval>& eventsX, const std::vector<MotionFixParams>& filtersX,
                     const std::vector<MotionInterval>& eventsY, const std::vector<MotionFixParams>& filtersY) {
  Description list = Description::array();
  addEvents("horizontal", eventsX, filtersX, list);
  addEvents("vertical", eventsY, filtersY, list);
  return list;
}

std::string EventLines(const Description& description) {
  const Description& events = description["events"];
  return Line("horizontal events", axisText(events, "horizontal")) +
         Line("vertical events", axisText(events, "vertical"));
}

}  // namespace film
