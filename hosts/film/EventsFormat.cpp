#include "film/DescribeEvents.h"
#include "planning/LocalCorrect.h"

namespace film {
namespace {

Description describe(const std::string& path) {
  LocalCorrect stored(nullptr);
  const bool complete = stored.Load(path.c_str());
  Description description{
      {"format", "MFP" + std::to_string(stored.version)}, {"version", stored.version}, {"complete", complete}};
  description["events"] = EventsOf(stored.eventsX, stored.filtersX, stored.eventsY, stored.filtersY);
  return description;
}

bool rewrite(const std::string& in, const std::string& out) {
  LocalCorrect stored(nullptr);
  stored.Load(in.c_str());
  return stored.Save(out.c_str());
}

}  // namespace

StoredFormat EventsFormat() {
  return {"MFP3",
          "the events and their fits",
          [](std::string_view head) { return head.starts_with("MFP3"); },
          describe,
          EventLines,
          "events"};
}

StoredFormat OldEventsFormat() {
  return {"MFP",
          "the events and their fits, in an old form",
          [](std::string_view head) { return head.starts_with("MFP"); },
          describe,
          EventLines,
          "events",
          "MFP3",
          rewrite};
}

}  // namespace film
