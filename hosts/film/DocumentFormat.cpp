#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>

#include "film/DescribeEvents.h"
#include "film/DescribeValues.h"
#include "film/Effect.h"
#include "film/EffectDocument.h"
#include "film/Failure.h"
#include "film/Report.h"
#include "film/TerminalPlatform.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"

namespace film {
namespace {

bool recognises(std::string_view head) {
  const size_t first = head.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && head[first] == '{';
}

/// A stored object, or an empty one where the document has none.
template <class Stored>
Stored objectIn(const ParameterStore& parameters, unsigned id) {
  const Parameter* parameter = parameters.find(id);
  const auto* object = parameter ? dynamic_cast<const Stored*>(parameter->custom.get()) : nullptr;
  return object ? *object : Stored();
}

/// A row for each analysed frame: motion, confidence and gain.
Description framesOf(const SerialisedMotion& motion, const AGCStorage& gains) {
  Description frames = Description::array();
  const std::vector<float> factors = gains.GetGains();
  const long first = gains.GetStart();
  for (const Vorn::HomographyFrame& held : motion.getMotion()->hset) {
    Description row{{"frame", held.frame}};
    AddMatrix(row, held.matrix);
    row["confidence"] = NumberOf(motion.getConfidence()->Get(held.frame));
    const long at = held.frame - first;
    row["gain"] = NumberOf(at >= 0 && at < static_cast<long>(factors.size()) ? factors[static_cast<size_t>(at)] : 1.0F);
    frames.push_back(std::move(row));
  }
  return frames;
}

/// What JSON that is no effect document may be, by what stands in it.
std::string guessOf(const nlohmann::json& read) {
  if (read.contains("motion") && read.contains("intended")) return "the truth of a sample clip (orvane sample --truth)";
  if (read.contains("format") && read["format"].is_string() && read.contains("complete"))
    return "what orvane show --json told of a file of the format " + read["format"].get<std::string>();
  constexpr size_t named = 3;
  std::string names;
  size_t count = 0;
  for (const auto& [name, value] : read.items())
    if (++count <= named) names.append(names.empty() ? "" : ", ").append(nlohmann::json(name).dump());
  if (count > named) names += " and " + std::to_string(count - named) + " more";
  return count == 0 ? "an empty object" : "an object with " + names;
}

/// Fails with what JSON of other programs is. What has parts of an effect document passes, be it damaged or newer.
void refuseOtherJson(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  constexpr const char* ours = "; the JSON files that this program reads are effect documents and presets";
  const nlohmann::json read = nlohmann::json::parse(text, nullptr, false);
  if (read.is_discarded()) {
    if (text.find("\"archives\"") == std::string::npos && text.find("\"clip\"") == std::string::npos)
      throw Failure(path + ": this is no effect document: it begins as JSON does, and isn't, or isn't whole" + ours);
  } else if (!read.contains("archives") && !read.contains("clip")) {
    throw Failure(path + ": this is JSON and no effect document; it looks like " + guessOf(read) + ours);
  }
}

std::optional<EffectDocument> load(const std::string& path) {
  try {
    return EffectDocument::Load(path);
  } catch (const Failure&) {
    refuseOtherJson(path);
    throw;
  }
}

Description describe(const std::string& path) {
  const auto document = load(path);
  if (!document) throw Failure(path + ": there is no such file; check the name");
  ParameterStore parameters;
  TerminalPlatform texts("");
  DeclareParameters(&parameters, &texts);
  document->restore(parameters);
  const auto motion = objectIn<SerialisedMotion>(parameters, kMotionStorage);
  const auto events = objectIn<SerialisedEvents>(parameters, kEventsStorage);
  const auto gains = objectIn<SerialisedAGC>(parameters, kAGCStorage);
  int width = 0, height = 0;
  motion.getAnalysisWidth(&width, &height);
  return {{"format", "effect document"},
          {"version", EffectDocument::currentVersion},
          {"complete", true},
          {"clip", document->clip()},
          {"settings", DescribeSettings(parameters)},
          {"analysedWidth", width},
          {"analysedHeight", height},
          {"ranges", SpansOf(motion.getMotion()->range)},
          {"events", EventsOf(*events.eventsX(), *events.filtersX(), *events.eventsY(), *events.filtersY())},
          {"frames", framesOf(motion, *gains.data())}};
}

/// A member of the clip's description, or a dash where the document lacks it.
std::string clipText(const Description& d, const char* member) {
  const Description& clip = d["clip"];
  return clip.contains(member) ? Short(clip[member]) : "-";
}

std::string lines(const Description& d) {
  std::string text = Line("clip", clipText(d, "frames") + " frames, " + clipText(d, "width") + " x " +
                                      clipText(d, "height") + ", time base " + clipText(d, "timeBase"));
  if (d["frames"].empty())
    text += Line("analysed frames", "none");
  else
    text += Line("analysed frames",
                 SpanText(d["ranges"]) + ", at " + d["analysedWidth"].dump() + " x " + d["analysedHeight"].dump()) +
            EventLines(d);
  return text + Line("settings", SettingsText(d["settings"]));
}

}  // namespace

StoredFormat DocumentFormat() {
  return {"effect document", "the effect on a clip", recognises, describe, lines, "frames"};
}

}  // namespace film
