#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "film/ClipContents.h"
#include "film/Effect.h"
#include "film/EffectDocument.h"
#include "film/FrameSource.h"
#include "film/Progress.h"
#include "film/Settings.h"
#include "film/TerminalPlatform.h"

namespace film {

/// What the commands on a clip have in common.
struct SessionOptions {
  std::string clip;
  std::string effectPath;  ///< empty for the one beside the clip
  std::string fields;      ///< "top", "bottom", "none" or "auto"; empty for what the document says, else "auto"
  std::vector<SettingChange> changes;
  std::optional<double> maxZoom;  ///< lower the smoothing until the zoom is no more than this
  bool again = false;
  bool untilChange = false;  ///< a clip whose size or pixel format changes is used up to there
  int threads = 0;           ///< 0 for as many as there are processors
  ProgressStyle progress = ProgressStyle::None;
};

/// A clip with its effect and the document that keeps it.
class Session {
 public:
  /// Where the document lies.
  static std::string DocumentPath(const SessionOptions& options);

  /// Reads the clip and its document, if there is one. With `again` a document that can't be used is as good as none.
  /// Fails with the status for wrong usage where the limit of the zoom doesn't go with the settings.
  explicit Session(SessionOptions options);

  Effect& effect() { return *current; }
  const ClipContents& contents() const { return source->contents(); }
  /// The clip's frame as filmed, or null when it has none such.
  SharedPicture picture(int number) { return source->fetch(number); }
  const std::string& documentPath() const { return effectPath; }
  ProgressStyle progressStyle() const { return options.progress; }

  /// Whether the clip still has to be analysed before it can be rendered as a whole.
  bool needsAnalysis() const;

  /// Fails at once if the document couldn't be saved later.
  void checkDocumentCanBeWritten() const;

  /// Applies the changes of settings and saves the document if that changed anything.
  void applySettings();

  /// Applies them for as long as this run lasts, the limit of the zoom too.
  void trySettings();

  /// Keeps to the limit of the zoom, if there is one, and saves the smoothing that it takes. After an analysis.
  void limitZoom();

  /// Analyses the clip and saves the document, of a cancelled pass too unless the analysis of before covers more. The
  /// frames a second, or nothing when it was cancelled. The effect is then as after opening the document anew, so that
  /// a later run renders the same frames.
  std::optional<double> analyse(const AnalysisWatcher& watcher = nullptr);

  /// Analyses the clip anew for the watcher's sake alone, with the settings in hand; nothing of it is kept. `progress`
  /// and `cancelled` are as for `Effect::analyse`. Returns whether the pass went through.
  bool watchAnalysis(const std::function<void(int frames)>& progress, const std::function<bool()>& cancelled,
                     const AnalysisWatcher& watcher);

  /// Takes over a project of the standalone application and saves the document with what came of it, of a bad import
  /// too. Nothing if `package` isn't named like one. The effect is then as after opening the document anew.
  std::optional<ProjectImport> importProject(const std::string& package);

  /// Fails if there is nothing to render from.
  void requireAnalysis() const;

 private:
  /// What the document holds besides the clip, and how many frames that analysis covers.
  struct Stored {
    nlohmann::json numbers, archives;
    int frames;
  };

  void openDocument();
  AVFieldOrder fieldOrder(const EffectDocument* document) const;
  void restore(const EffectDocument& document);
  void openAnew();
  void keep(const Stored& before);
  void save() const;
  void keepIndex() const;
  void checkZoomLimit() const;
  void findSmoothing();
  void applyThreads() const;

  SessionOptions options;
  std::string effectPath;
  TerminalPlatform platform;
  std::string otherFields;  // the field order that the stored analysis was made with, where it isn't the clip's
  std::unique_ptr<FrameSource> source;
  std::unique_ptr<Effect> current;
  bool fellBack = false;  // the analysis turned Zoom into Natural, for want of a crop
};

}  // namespace film
