// The stored objects of an effect document, as the JSON that holds them.
#include <nlohmann/json.hpp>

#include "Input.h"
#include "film/JsonArchive.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = nlohmann::json::parse(data, data + size, nullptr, false);
  if (!document.is_object()) return 0;
  const film::JsonArchive archive(document);
  const SerialisedMotion motion(archive);
  const SerialisedEvents events(archive);
  const SerialisedAGC gains(archive);
  fuzz::Require(motion.getMotion()->hset.size() <= document.size(), "no more frames than there are keys");
  fuzz::Require(gains.data()->gains.size() <= document.size(), "no more gains than there are keys");
  fuzz::Require(events.eventsX()->size() <= document.size(), "no more events than there are keys");
  film::JsonArchive again;
  events.encodeWithCoder(again);
  motion.encodeWithCoder(again);
  return 0;
}
