#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "film/FilmHost.h"
#include "film/ParameterStore.h"
#include "film/Settings.h"
#include "film/TerminalPlatform.h"
#include "plugin/OrvaneFCPXPlugIn.h"

namespace film {

/// What came of importing a project.
struct ProjectImport {
  bool good = false;            ///< motion and events were taken over
  bool hasSize = false;         ///< the project told the size of its frames
  bool motionReplaced = false;  ///< what was stored of the motion before is gone, of a bad import too
  std::string text;             ///< what the alert says to the user
};

/// Looks on while a clip is analysed: gets each picture in turn, on the analysis' thread, with the analysis as it
/// stands behind it. `number`: of the frame, or of the field in an interlaced clip, whose `picture` is the frame with
/// both. What it throws ends the analysis.
using AnalysisWatcher = std::function<void(int number, const SharedPicture& picture, const TrackerEstimator& analysis)>;

/// The effect applied to a clip, with what a host's user does to it.
class Effect {
 public:
  /// Both are lent.
  Effect(FrameSource& frames, TerminalPlatform& platform);

  ParameterStore& parameters() { return store; }
  const OrvaneFCPXPlugIn& plugIn() const { return *effect; }

  /// Whether a motion for all of the clip is stored.
  bool holdsWholeAnalysis() const;
  /// Whether any is.
  bool holdsAnalysis() const;
  /// How many frames the stored motion covers.
  int analysedFrames() const;
  /// How many frames the stored motion has beyond the clip's end, as that of another clip may.
  int framesBeyondClip() const;

  /// Changes settings, each as if its control had been moved. Where an analysis is stored, the first frame is shown
  /// before, so that the effect plans anew at each change, and the events that it found are stored in the end.
  void change(const std::vector<SettingChange>& changes);

  /// Shows the first frame, from which the effect learns whether the clip is made of fields, presses the analysis
  /// button and waits. `progress` gets the number of frames done. `cancelled` is asked all the
  /// time; true presses the cancel button. Returns whether the pass went through.
  bool analyse(const std::function<void(int frames)>& progress, const std::function<bool()>& cancelled,
               const AnalysisWatcher& watcher = nullptr);

  /// Presses the import button and chooses `package`. Nothing if no user could choose such an item.
  std::optional<ProjectImport> importProject(const std::string& package);

  /// Renders the first frame, so that the effect builds its plan from what is stored.
  void showFirstFrame();

  /// The effect's output for a frame, of an interlaced clip woven from its outputs for both fields. Fails when the
  /// clip's frame can't be read or the effect refuses.
  SharedPicture render(int number);

 private:
  int frameCount() const { return source.contents().identity.frames; }
  bool interlaced() const { return source.contents().format.interlaced(); }
  /// What the effect counts: frames, or fields.
  int pictureCount() const { return interlaced() ? 2 * frameCount() : frameCount(); }
  SharedPicture renderAt(double time, const SharedPicture& input);
  void tellChange(unsigned id);
  void storeEvents();
  void watch(const AnalysisWatcher& watcher);

  FrameSource& source;
  TerminalPlatform& platform;
  ParameterStore store;
  FilmHost host;
  PicturePool pool;
  std::unique_ptr<OrvaneFCPXPlugIn> effect;
};

/// Has an effect without a clip declare its parameters to `store`.
void DeclareParameters(ParameterStore* store, TerminalPlatform* platform);

}  // namespace film
