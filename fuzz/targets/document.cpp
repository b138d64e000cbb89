// A whole effect document, with what its readers ask of it.
#include <memory>

#include "Input.h"
#include "film/ClipContents.h"
#include "film/EffectDocument.h"
#include "film/Failure.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"

namespace {

/// Some of the effect's parameters, one of each kind.
void Declare(film::ParameterStore& store) {
  store.addToggleButtonWithName("toggle", kRotationDampening, true, 0);
  store.addPopupMenuWithName("menu", kGlobalMode, 1, {"a", "b", "c"}, 0);
  store.addIntSliderWithName("whole", kGlobalSmoothing, 100, 1, 100, 1, 100, 1, 0);
  store.addFloatSliderWithName("number", kVariableZoomAmount, 1.0, 1.0, 2.0, 1.0, 2.0, 0.1, 0);
  store.addCustomParameterWithName("motion", kMotionStorage, std::make_shared<SerialisedMotion>(), 0);
  store.addCustomParameterWithName("events", kEventsStorage, std::make_shared<SerialisedEvents>(), 0);
  store.addCustomParameterWithName("gains", kAGCStorage, std::make_shared<SerialisedAGC>(), 0);
}

void Read(const std::string& path, std::size_t size) {
  const auto document = film::EffectDocument::Load(path);
  if (!document) return;
  film::ParameterStore store, again;
  Declare(store);
  Declare(again);
  document->restore(store);
  const int smoothing = static_cast<int>(store.find(kGlobalSmoothing)->value);
  fuzz::Require(smoothing >= 1 && smoothing <= 100, "a number is in its range");
  again.setNumbers(store.numbers());
  again.setArchives(store.archives());
  fuzz::Require(again.numbers() == store.numbers(), "numbers come back");
  if (const auto index = document->index())
    fuzz::Require(index->frames.size() <= 8 * size, "no more frames than the text can hold");
  document->fieldOrder();
  document->checkClip(film::ClipContents());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  try {
    Read(input.path(), size);
  } catch (const film::Failure& failure) {
    fuzz::Require(*failure.what() != '\0', "a failure has a text");
  }
  return 0;
}
