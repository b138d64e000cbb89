#include "film/Report.h"

#include <algorithm>
#include <cstdio>

#include "film/Fields.h"
#include "film/FrameNumbers.h"
#include "film/Warnings.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/SerialisedMotion.h"

namespace film {
namespace {

using Json = nlohmann::ordered_json;

const char* kindOf(const MotionInterval& event) {
  if (event.motion_type == MotionStill) return "hold";
  return event.motion_type == MotionBroken ? "broken" : "move";
}

Json describeEvents(const std::vector<MotionInterval>& events, const FrameNumbers& frames) {
  Json list = Json::array();
  for (const MotionInterval& event : events)
    list.push_back(
        {{"kind", kindOf(event)}, {"first", frames.of(event.begin_frame)}, {"last", frames.of(event.end_frame)}});
  return list;
}

Json describeRanges(const Vorn::MultiRange& ranges, const FrameNumbers& frames) {
  Json list = Json::array();
  for (const Vorn::Range& range : ranges.data)
    list.push_back({{"first", frames.of(range.first)}, {"last", frames.of(range.last)}});
  return list;
}

/// " of 1920 x 1080", in whose pixels the border is, where that isn't the clip's size.
std::string textOfOtherSize(const Json& size, const Json& clip) {
  if (size["width"] == clip["width"] && size["height"] == clip["height"]) return "";
  return " of " + size["width"].dump() + " x " + size["height"].dump();
}

double ratio(int whole, int part) { return part > 0 ? static_cast<double>(whole) / part : 1.0; }

struct Ratios {
  double x = 1, y = 1;
};

/// Frame size over border size.
Ratios borderRatios(const Effect& effect) {
  const MotionProcessorFCPX* planner = effect.plugIn().ObjC_MP.get();
  if (!planner) return {};
  const Vorn::Rectangle& border = *planner->border();
  return {ratio(planner->analysedWidth, border.brx - border.tlx + 1),
          ratio(planner->analysedHeight, border.bry - border.tly + 1)};
}

void describePlan(Session& session, Json* description) {
  const Effect& effect = session.effect();
  const MotionProcessorFCPX& planner = *effect.plugIn().ObjC_MP;
  const FrameNumbers frames(session.contents());
  (*description)["events"] = {{"horizontal", describeEvents(*planner.eventsX(), frames)},
                              {"vertical", describeEvents(*planner.eventsY(), frames)}};
  const Vorn::Rectangle& border = *planner.border();
  const Ratios ratios = borderRatios(effect);
  (*description)["border"] = {{"left", border.tlx},          {"top", border.tly},
                              {"right", border.brx},         {"bottom", border.bry},
                              {"found", planner.goodCrop()}, {"zoomToFill", std::max(ratios.x, ratios.y)}};
  (*description)["analysedSize"] = {{"width", planner.analysedWidth}, {"height", planner.analysedHeight}};
}

void addCount(const std::vector<MotionInterval>& events, int* holds, int* moves, int* broken) {
  for (const MotionInterval& event : events)
    ++*(event.motion_type == MotionStill ? holds : event.motion_type == MotionBroken ? broken : moves);
}

std::string spans(const Json& list) {
  std::string text;
  for (const Json& span : list)
    text += (text.empty() ? "" : ", ") +
            (span.contains("kind") ? span["kind"].get<std::string>() + " " : std::string()) +
            std::to_string(span["first"].get<int>()) + " to " + std::to_string(span["last"].get<int>());
  return text.empty() ? "none" : text;
}

std::string numberList(const Json& list) {
  constexpr size_t shown = 20;
  std::string text;
  for (size_t i = 0; i < std::min(list.size(), shown); ++i) text += (i ? ", " : "") + list[i].dump();
  if (list.size() > shown) text += " and " + std::to_string(list.size() - shown) + " more";
  return text.empty() ? "none" : text;
}

std::string rounded(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", value);
  return text;
}

std::string textOfLoss(const Json& plan) {
  char text[200];
  const double cut = plan["cutPercent"], empty = plan["emptyPercent"], emptiest = plan["emptiestPercent"];
  std::snprintf(text, sizeof text, "zoom:                     %.3f\nframe lost:               %.1f %%\n",
                plan["zoom"].get<double>(), cut);
  std::string all = text;
  if (empty < emptiest)
    std::snprintf(text, sizeof text, "empty borders:            %.1f %% of the frame on average, %.1f %% at most\n",
                  empty, emptiest);
  else
    std::snprintf(text, sizeof text, "empty borders:            %.1f %% of the frame\n", empty);
  return all + text;
}

}  // namespace

double ZoomOf(Effect& effect) {
  const auto value = [&](unsigned id) { return effect.parameters().find(id)->value; };
  if (value(kRenderingType) != 2) return 1.0;
  const Ratios ratios = borderRatios(effect);
  if (value(kZoomType) == 2) return value(kVariableZoomAmount);
  return value(kZoomType) == 1 ? std::min(ratios.x, ratios.y) : std::max(ratios.x, ratios.y);
}

std::string EventText(const Effect& effect) {
  const MotionProcessorFCPX* planner = effect.plugIn().ObjC_MP.get();
  int holds = 0, moves = 0, broken = 0;
  if (planner) {
    addCount(*planner->eventsX(), &holds, &moves, &broken);
    addCount(*planner->eventsY(), &holds, &moves, &broken);
  }
  if (holds + moves + broken == 0) return "no events";
  std::string text = Counted(holds, "hold", "holds") + ", " + Counted(moves, "move", "moves");
  if (broken > 0) text += ", " + Counted(broken, "broken stretch", "broken stretches");
  return text;
}

Json DescribeSettings(const ParameterStore& parameters) {
  Json settings = Json::object();
  for (const SettingOption& option : SettingOptions()) {
    const Parameter* parameter = parameters.find(option.id);
    if (!parameter) continue;
    settings[option.name] = SettingJson(option, parameter->value);
  }
  return settings;
}

Json DescribeEffect(Session& session) {
  const ClipContents& clip = session.contents();
  Effect& effect = session.effect();
  Json description;
  description["clip"] = {{"path", clip.path},
                         {"width", clip.format.width},
                         {"height", clip.format.height},
                         {"frames", clip.identity.frames},
                         {"fps", av_q2d(clip.frameRate)},
                         {"fields", FieldWord(clip.format.fieldOrder)}};
  description["document"] = session.documentPath();
  const auto* motion = dynamic_cast<const SerialisedMotion*>(effect.parameters().find(kMotionStorage)->custom.get());
  description["analysed"] =
      effect.holdsAnalysis() && motion ? describeRanges(motion->getMotion()->range, FrameNumbers(clip)) : Json::array();
  if (effect.holdsAnalysis() && motion) {
    describePlan(session, &description);
    description["lowConfidence"] = FramesOf(clip, LowConfidenceNumbers(*motion->getConfidence()));
  }
  description["settings"] = DescribeSettings(effect.parameters());
  description["warnings"] = DescribeWarnings(FindWarnings(session));
  return description;
}

std::string TextOf(const Json& description) {
  const Json& clip = description["clip"];
  std::string text = clip["path"].get<std::string>() + ": " + Counted(clip["frames"], "frame", "frames") + ", " +
                     clip["width"].dump() + " x " + clip["height"].dump() + ", " + rounded(clip["fps"]) +
                     " frames a second" +
                     (clip["fields"] == "none" ? "" : ", " + clip["fields"].get<std::string>() + " field first") + "\n";
  text += "effect document:          " + description["document"].get<std::string>() + "\n";
  if (description.contains("events")) {
    const Json& border = description["border"];
    text += "analysed frames:          " + spans(description["analysed"]) + "\n";
    text += "horizontal events:        " + spans(description["events"]["horizontal"]) + "\n";
    text += "vertical events:          " + spans(description["events"]["vertical"]) + "\n";
    text += "crop border:              " + border["left"].dump() + ", " + border["top"].dump() + " to " +
            border["right"].dump() + ", " + border["bottom"].dump() +
            textOfOtherSize(description["analysedSize"], clip) + ", zoom to fill " + rounded(border["zoomToFill"]) +
            (border["found"].get<bool>() ? "" : " (no border was found)") + "\n";
    text += "frames of low confidence: " + numberList(description["lowConfidence"]) + "\n";
  } else {
    text += "analysed frames:          none; run `orvane analyse` on the clip\n";
  }
  if (description.contains("plan")) text += textOfLoss(description["plan"]);
  text += "settings:                ";
  for (const auto& [name, value] : description["settings"].items())
    text += " --" + name + " " + (value.is_string() ? value.get<std::string>() : value.dump());
  text += "\n";
  for (const Json& warning : description["warnings"]) text += "warning: " + warning["text"].get<std::string>() + "\n";
  return text;
}

}  // namespace film
