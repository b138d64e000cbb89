#include "film/Effect.h"

#include <algorithm>
#include <cmath>

#include "analysis/TrackerEstimator.h"
#include "film/EngineMessages.h"
#include "film/Failure.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"

namespace film {
namespace {

const SerialisedMotion* storedMotion(const ParameterStore& store) {
  const Parameter* parameter = store.find(kMotionStorage);
  return parameter ? dynamic_cast<const SerialisedMotion*>(parameter->custom.get()) : nullptr;
}

/// The services of a host without a clip.
class DeclarationHost : public FxAPIManager {
 public:
  explicit DeclarationHost(ParameterStore* parameters) : store(parameters) {}

 protected:
  void* service(const std::type_info& protocol) override {
    return protocol == typeid(FxParameterCreationAPI_v4) ? static_cast<FxParameterCreationAPI_v4*>(store) : nullptr;
  }

 private:
  ParameterStore* store;
};

}  // namespace

Effect::Effect(FrameSource& frames, TerminalPlatform& terminal)
    : source(frames),
      platform(terminal),
      host(frames, store),
      pool(frames.contents().format.width, frames.contents().format.height),
      effect(std::make_unique<OrvaneFCPXPlugIn>(&host, &terminal)) {
  if (!effect->addParameters()) throw Failure("the effect could not declare its parameters");
}

bool Effect::holdsAnalysis() const {
  const SerialisedMotion* motion = storedMotion(store);
  int width = 0, height = 0;
  if (motion) motion->getAnalysisWidth(&width, &height);
  return width > 0 && height > 0;
}

bool Effect::holdsWholeAnalysis() const {
  const int last = pictureCount() - 1;
  // By its matrix: the range of a cancelled pass reaches one frame further than its matrices.
  return holdsAnalysis() && (last == 0 || storedMotion(store)->getMotion()->Index(last) >= 0);
}

int Effect::analysedFrames() const {
  if (!holdsAnalysis()) return 0;
  const auto motion = storedMotion(store)->getMotion();
  int matrices = 0;
  for (int number = 0; number < pictureCount(); ++number) matrices += motion->Index(number) >= 0 ? 1 : 0;
  return matrices * frameCount() / pictureCount();
}

int Effect::framesBeyondClip() const {
  const int each = pictureCount() / frameCount();
  const int last = holdsAnalysis() ? storedMotion(store)->getMotion()->end / each : 0;
  // An analysis of fields goes on to the frame that is behind the last one.
  return std::max(0, last - (interlaced() ? frameCount() : frameCount() - 1));
}

void Effect::change(const std::vector<SettingChange>& changes) {
  std::vector<SettingChange> news;
  for (const SettingChange& change : changes)
    if (const Parameter* parameter = store.find(change.id); parameter && parameter->value != change.value)
      news.push_back(change);
  if (news.empty()) return;
  const bool planned = holdsAnalysis();
  if (planned) showFirstFrame();
  for (const SettingChange& change : news)
    if (store.setNumber(change.id, change.value)) tellChange(change.id);
  if (planned) storeEvents();
}

void Effect::tellChange(unsigned id) {
  const EngineMessages aside;
  effect->parameterChanged(id);
}

// The effect itself stores events after an analysis only; without this a changed setting would meet the old ones when
// the document is opened again.
void Effect::storeEvents() {
  const MotionProcessorFCPX* planner = effect->ObjC_MP.get();
  if (!planner) return;
  const auto events = std::make_shared<SerialisedEvents>();
  events->setEventsX(*planner->eventsX(), *planner->eventsY());
  events->setFiltersX(*planner->filtersX(), *planner->filtersY());
  store.setCustomParameterValue(events, kEventsStorage);
}

void Effect::watch(const AnalysisWatcher& watcher) {
  if (!watcher) return;
  host.watchSource([this, watcher](double time, const SharedPicture& picture) {
    const int number = static_cast<int>(interlaced() ? std::lround(2 * time) : std::lround(time));
    if (number < pictureCount()) watcher(number, picture, *effect->ObjC_TRKME);
  });
}

bool Effect::analyse(const std::function<void(int frames)>& progress, const std::function<bool()>& cancelled,
                     const AnalysisWatcher& watcher) {
  showFirstFrame();
  watch(watcher);
  const auto lastStored = [this] { return store.find(kAGCStorage)->custom.get(); };
  const std::shared_ptr<const KeyedCodable> before = store.find(kAGCStorage)->custom;
  platform.setProgressSink(
      [&](double percent) { progress(static_cast<int>(std::lround(percent * frameCount() / 100.0))); });
  store.press(kAnalysisButton);
  bool pressed = false;
  platform.runUntil([&] {
    if (!pressed && cancelled()) {
      pressed = true;
      platform.pressCancel();
    }
    return lastStored() != before.get();
  });
  platform.setProgressSink(nullptr);
  host.tellWatcher();
  host.watchSource(nullptr);
  host.rethrowTrouble();
  return !pressed;
}

std::optional<ProjectImport> Effect::importProject(const std::string& package) {
  std::optional<AlertSheet> alert;
  const std::shared_ptr<const KeyedCodable> before = store.find(kMotionStorage)->custom;
  platform.setAlertSink([&](const AlertSheet& sheet) { alert = sheet; });
  platform.setChosenItem(package);
  {
    const EngineMessages aside;
    store.press(kImportProjectButton);
  }
  platform.setChosenItem(std::nullopt);
  platform.setAlertSink(nullptr);
  host.rethrowTrouble();
  if (!alert) return std::nullopt;
  ProjectImport result;
  result.good = alert->message == platform.localisedString("OrvaneFCPX::ImportMessageGood");
  result.hasSize = alert->details != platform.localisedString("OrvaneFCPX::ImportMissingDimensions");
  result.motionReplaced = store.find(kMotionStorage)->custom != before;
  result.text = alert->message + " " + alert->details;
  return result;
}

void Effect::showFirstFrame() { render(0); }

SharedPicture Effect::render(int number) {
  const SharedPicture input = host.picture(number);
  host.rethrowTrouble();
  if (!input)
    throw Failure(source.contents().path + ": frame " + std::to_string(number) +
                  " can't be read any more; was the file changed? Try again");
  SharedPicture output = renderAt(number, input);
  if (interlaced())
    CopyField(*renderAt(number + 0.5, input), SecondField(source.contents().format.fieldOrder), *output);
  return output;
}

SharedPicture Effect::renderAt(double time, const SharedPicture& input) {
  SharedPicture output = pool.take();
  output->number = input->number;
  output->time = input->time;
  output->duration = input->duration;
  output->notes = input->notes;
  const AVFieldOrder order = source.contents().format.fieldOrder;
  FilmImage inputImage(input, HostFieldAt(order, time)), outputImage(output, HostFieldAt(order, time));
  FxRenderInfo info;
  info.time.frame = time;
  info.qualityLevel = 2;
  info.fieldOrder = HostFieldAt(order, 0.0);
  info.depth = 3;
  std::optional<EngineMessages> aside;
  if (!effect->ObjC_MP) aside.emplace();  // the effect plans in this call, from whatever was stored
  const bool rendered = effect->renderOutput(&outputImage, &inputImage, info);
  aside.reset();
  host.rethrowTrouble();
  if (!rendered) throw Failure(source.contents().path + ": the effect refused frame " + std::to_string(input->number));
  return output;
}

void DeclareParameters(ParameterStore* store, TerminalPlatform* platform) {
  DeclarationHost host(store);
  if (!OrvaneFCPXPlugIn(&host, platform).addParameters()) throw Failure("the effect could not declare its parameters");
}

}  // namespace film
