#include "film/Session.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "film/Failure.h"
#include "film/Fields.h"
#include "film/Interrupt.h"
#include "film/OutputFile.h"
#include "film/ZoomLimit.h"
#include "numerics/Parallel.h"
#include "planning/MotionProcessorFCPX.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

/// The document to go on with, or nothing. A document that doesn't fit is an error, unless the user starts again.
std::optional<EffectDocument> loadDocument(const std::string& path, bool again) {
  try {
    return EffectDocument::Load(path);
  } catch (const Failure&) {
    if (!again) throw;
    EffectDocument::CheckReplaceable(path);
    return std::nullopt;
  }
}

bool fits(const EffectDocument& document, const ClipContents& contents, bool again) {
  try {
    document.checkClip(contents);
    return true;
  } catch (const Failure&) {
    if (!again) throw;
    return false;
  }
}

bool isNatural(const SettingChange& change) {
  return change.id == kRenderingType && static_cast<int>(change.value) == RenderNatural;
}

}  // namespace

std::string Session::DocumentPath(const SessionOptions& options) {
  return options.effectPath.empty() ? EffectDocument::PathFor(options.clip) : options.effectPath;
}

Session::Session(SessionOptions sessionOptions)
    : options(std::move(sessionOptions)),
      effectPath(DocumentPath(options)),
      platform(TerminalPlatform::UserLanguage()) {
  openDocument();
  applyThreads();
  checkZoomLimit();
}

void Session::openDocument() {
  std::optional<EffectDocument> document = loadDocument(effectPath, options.again);
  ScanOptions scan{options.threads};
  if (document) scan.known = document->index();
  scan.upToChange = options.untilChange;
  scan.progress = [](int) { return !Interrupted(); };
  ClipContents contents = ScanClip(options.clip, scan);
  if (!contents.warning.empty()) std::fprintf(stderr, "orvane: %s\n", contents.warning.c_str());
  if (document && !fits(*document, contents, options.again)) document.reset();
  const bool indexIsNew = contents.index != scan.known;
  contents.format.fieldOrder = fieldOrder(document ? &*document : nullptr);
  contents.planes.interlaced = contents.format.interlaced();
  source = std::make_unique<FrameSource>(std::move(contents), options.threads);
  current = std::make_unique<Effect>(*source, platform);
  if (!document) return;
  restore(*document);
  if (indexIsNew && otherFields.empty()) keepIndex();
}

AVFieldOrder Session::fieldOrder(const EffectDocument* document) const {
  if (const std::optional<AVFieldOrder> wanted = FieldOrderOf(options.fields)) return *wanted;
  const std::optional<AVFieldOrder> kept = document ? document->fieldOrder() : std::nullopt;
  return kept && options.fields.empty() ? *kept : DetectFieldOrder(options.clip);
}

// What was measured on frames says nothing of fields, nor of fields in another order.
void Session::restore(const EffectDocument& document) {
  document.restore(current->parameters());
  const AVFieldOrder stored = document.fieldOrder().value_or(AV_FIELD_PROGRESSIVE);
  if (stored == contents().format.fieldOrder || !current->holdsAnalysis()) return;
  otherFields = FieldWord(stored);
  const nlohmann::json numbers = current->parameters().numbers();
  current = std::make_unique<Effect>(*source, platform);
  current->parameters().setNumbers(numbers);
}

void Session::keepIndex() const {
  try {
    save();
  } catch (const Failure&) {
    // It only saves the next run some time.
  }
}

// Where a frame's rows or lanes aren't a multiple of the stripe count some would be left out.
void Session::applyThreads() const {
  const int width = contents().format.width, height = contents().format.height;
  int count = Vorn::StripeCountFor(width, height);
  if (options.threads > 0) {
    count = options.threads;
    while (count > 1 && (height % count != 0 || 4LL * width % count != 0)) --count;
  }
  Vorn::SetProcessorCount(count);
}

bool Session::needsAnalysis() const { return options.again || !current->holdsWholeAnalysis(); }

void Session::checkDocumentCanBeWritten() const {
  try {
    const OutputFile trial(effectPath);
  } catch (const Failure& failure) {
    throw Failure(std::string(failure.what()) + "; --effect FILE keeps the effect document elsewhere");
  }
}

void Session::applySettings() {
  const nlohmann::json before = current->parameters().numbers();
  current->change(options.changes);
  // What was measured on other fields stays in the document until there is something to take its place.
  if (current->parameters().numbers() != before && otherFields.empty()) save();
}

void Session::trySettings() {
  current->change(options.changes);
  findSmoothing();
}

void Session::limitZoom() {
  if (!options.maxZoom) return;
  const nlohmann::json before = current->parameters().numbers();
  findSmoothing();
  if (current->parameters().numbers() != before) save();
}

void Session::checkZoomLimit() const {
  if (!options.maxZoom) return;
  const auto wanted = [this](unsigned id) {
    double value = current->parameters().find(id)->value;
    for (const SettingChange& change : options.changes)
      if (change.id == id) value = change.value;
    return static_cast<int>(value);
  };
  CheckZoomLimit(wanted, options.clip);
}

void Session::findSmoothing() {
  if (!options.maxZoom) return;
  // With less smoothing there may be a crop after all.
  const bool tryAgain = fellBack && std::none_of(options.changes.begin(), options.changes.end(), isNatural);
  if (tryAgain) current->change({{kRenderingType, RenderZoom}});
  try {
    const ZoomLimit limit = LimitZoom(*current, options.clip, *options.maxZoom);
    if (options.progress != ProgressStyle::None && options.progress != ProgressStyle::Json)
      std::fprintf(stderr, "orvane: %s: %s\n", options.clip.c_str(), TextOf(limit).c_str());
  } catch (const Failure&) {
    if (tryAgain) current->change({{kRenderingType, RenderNatural}});
    throw;
  }
}

std::optional<double> Session::analyse(const AnalysisWatcher& watcher) {
  Progress progress(options.progress, options.progress == ProgressStyle::Json ? stdout : stderr, "Analysing",
                    contents().identity.frames);
  const auto rendering = [this] { return static_cast<int>(current->parameters().find(kRenderingType)->value); };
  const int wanted = rendering();
  const Stored before{current->parameters().numbers(), current->parameters().archives(), current->analysedFrames()};
  bool whole = false;
  try {
    whole = current->analyse([&](int frames) { progress.update(frames); }, Interrupted, watcher);
  } catch (...) {
    keep(before);
    throw;
  }
  progress.finish();
  fellBack = wanted == RenderZoom && rendering() == RenderNatural;
  if (whole)
    save();
  else
    keep(before);
  openAnew();
  options.again = false;
  otherFields.clear();
  return whole ? std::optional<double>(progress.rate()) : std::nullopt;
}

bool Session::watchAnalysis(const std::function<void(int frames)>& progress, const std::function<bool()>& cancelled,
                            const AnalysisWatcher& watcher) {
  Effect passing(*source, platform);
  passing.parameters().setNumbers(current->parameters().numbers());
  // What is planned at the end of the pass is nobody's business: in this mode a plan without a crop is no news.
  passing.parameters().setNumber(kGlobalMode, GlobalCancel);
  return passing.analyse(progress, cancelled, watcher);
}

// A pass that didn't get to its end may cost nothing: of its motion and that of before the longer one stays.
void Session::keep(const Stored& before) {
  if (current->analysedFrames() >= before.frames) return save();
  current->parameters().setNumbers(before.numbers);
  current->parameters().setArchives(before.archives);
}

void Session::openAnew() {
  const nlohmann::json numbers = current->parameters().numbers(), archives = current->parameters().archives();
  current = std::make_unique<Effect>(*source, platform);
  current->parameters().setNumbers(numbers);
  current->parameters().setArchives(archives);
}

std::optional<ProjectImport> Session::importProject(const std::string& package) {
  const nlohmann::json before = current->parameters().numbers();
  std::optional<ProjectImport> result = current->importProject(package);
  if (!result) return result;
  // What was measured on other fields stays in the document until there is something to take its place.
  if (result->motionReplaced || (current->parameters().numbers() != before && otherFields.empty())) save();
  if (result->motionReplaced) otherFields.clear();
  openAnew();
  return result;
}

void Session::requireAnalysis() const {
  if (!current->holdsAnalysis() && !otherFields.empty())
    throw Failure(options.clip + ": the stored analysis was made with --fields " + otherFields +
                  "; render with that, or run `orvane analyse` on the clip with --fields " +
                  FieldWord(contents().format.fieldOrder));
  if (!current->holdsAnalysis())
    throw Failure(options.clip + ": no analysis of this clip is stored; run `orvane analyse` on it first");
}

void Session::save() const { EffectDocument::Save(effectPath, contents(), current->parameters()); }

}  // namespace film
