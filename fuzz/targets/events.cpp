#include "Input.h"
#include "planning/LocalCorrect.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  LocalCorrect events(nullptr);
  const bool loaded = events.Load(input.path().c_str());
  fuzz::Require(events.eventsX.size() == events.filtersX.size() && events.eventsY.size() == events.filtersY.size(),
                "each event has its fit");
  fuzz::Require((events.eventsX.size() + events.eventsY.size()) * 12 <= size, "no more events than the bytes can hold");
  events.IsValid();
  std::vector<int> x, y;
  events.GetBadGradients(x, y);
  if (!loaded) return 0;
  const fuzz::InputFile output(nullptr, 0);
  LocalCorrect again(nullptr);
  fuzz::Require(events.Save(output.path().c_str()) && again.Load(output.path().c_str()), "what is saved can be loaded");
  fuzz::Require(again.eventsX.size() == events.eventsX.size(), "saving keeps all events");
  return 0;
}
