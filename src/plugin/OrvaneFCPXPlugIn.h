#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>

#include "plugin/FxPlug.h"
#include "plugin/Platform.h"
#include "plugin/ProgressWindow.h"

class MotionProcessorFCPX;
class OutputRenderer;
class TrackerEstimator;
class VideoCompleter;
struct ProjectFile;

/// Ids of the effect's parameters. Projects store values under them.
enum ParameterId : unsigned {
  kMotionStorage = 101,
  kDetectSubtitles = 102,
  kAnalysisButton = 100,
  kImportProjectButton = 103,
  kGlobalMode = 200,
  kGlobalSmoothing = 201,
  kEventDetection = 203,
  kEventsStorage = 204,
  kRotationDampening = 205,
  kRenderingType = 300,
  kAGCStorage = 303,
  kCropAspect = 310,
  kCropEqual = 311,
  kCropCentre = 312,
  kZoomType = 313,
  kVariableZoomAmount = 314,
  kCropGroup = 1000,
  kZoomGroup = 1100,
};

/// The stabilisation effect as its host sees it: one instance for each time that it is applied to a clip.
///
/// A host makes an instance, calls `addParameters`, tells every changed value to `parameterChanged`, runs the push
/// buttons on its main thread, and asks for each output frame with `renderOutput`. The engine objects are made on
/// demand and stay until the instance goes; the stored parameters are read only when they are made.
class OrvaneFCPXPlugIn {
 public:
  /// Both are lent and must outlive the instance.
  OrvaneFCPXPlugIn(FxAPIManager* apiManager, Platform* platform);
  /// Cancels a running analysis and waits for its worker; what it has found by then isn't stored.
  ~OrvaneFCPXPlugIn();
  OrvaneFCPXPlugIn(const OrvaneFCPXPlugIn&) = delete;
  OrvaneFCPXPlugIn& operator=(const OrvaneFCPXPlugIn&) = delete;

  bool variesOverTime() const { return false; }
  std::map<std::string, bool> properties() const { return {{"MayRemapTime", true}}; }

  /// Declares the parameters to the host; false if it has no service for that.
  bool addParameters();

  /// Takes a changed value into the engine objects that exist, and shows and hides controls. Always true.
  bool parameterChanged(unsigned id);

  /// The output has the input's size. False if a result pointer is null.
  bool getOutputWidth(int* width, int* height, const FxImageInfo& withInput, const FxRenderInfo& withInfo) const;

  /// The effect renders on the processor only.
  bool frameSetup(const FxRenderInfo& renderInfo, const FxImageInfo& inputInfo, bool* hardware, bool* software) const;
  bool frameCleanup() const { return true; }

  /// Renders the frame at `withInfo.time` from `withInput` into `outputImage`'s memory, both bitmaps of four floats
  /// a, r, g, b a pixel. False without the host's parameter, timing or image service, or if the input is no bitmap.
  /// A frame without stored motion goes through as it is.
  bool renderOutput(FxImage* outputImage, FxImage* withInput, const FxRenderInfo& withInfo);

  /// The analysis button: starts a pass over the whole clip and returns. Pressed while one runs, it only brings that
  /// one's window forward. When the pass has ended, early or not, the main thread runs `storeAnalysis`.
  void doAnalysisTask();

  /// Plans from the motion just measured, stores motion, events and gains with the project, and brings the render
  /// objects up to date. If no crop covers all frames, rendering falls back to Natural and the user is told.
  void storeAnalysis();

  /// The import button: asks for a project of the standalone application and takes its motion, events and gains over
  /// in place of an analysis. An alert tells how it went. Pressed while an analysis runs, it only brings its window
  /// forward, since both would write the same motion.
  void doImportProject();

  /// Empty if `path` is; a copy of an absolute path; otherwise `path` within the folder `prefix`.
  static std::string getFullPath(const std::string& path, const std::string& prefix);

  // The engine objects, for hosts to read; null until a render or an analysis has made them.
  std::unique_ptr<TrackerEstimator> ObjC_TRKME;
  std::unique_ptr<MotionProcessorFCPX> ObjC_MP;
  std::unique_ptr<VideoCompleter> ObjC_VC;
  std::unique_ptr<OutputRenderer> ObjC_OR;

 private:
  struct AnalysisPass;
  struct RenderSettings;

  std::string localised(const char* key) const { return platform->localisedString(key); }

  void globalModeChanged();
  void smoothingChanged();
  void prioritiesChanged();
  void rotationChanged();
  void renderingTypeChanged();
  void cropChanged(unsigned id);
  void zoomTypeChanged();
  void replan();

  void runAnalysisPass(AnalysisPass& pass);
  bool analyseFrame(AnalysisPass& pass);
  void beginAnalysis(AnalysisPass& pass, const FxImage& frame, int weave);
  void reportProgress(const AnalysisPass& pass);
  void planStoredAnalysis();
  void fallBackToNatural();
  void storeEvents(FxParameterSettingAPI& setting);
  void storeMotion(FxParameterSettingAPI& setting);
  void storeGains(FxParameterSettingAPI& setting);
  void showAlert(const char* message, const char* details, int style);
  static FxRenderInfo fullSizeFrameAt(double time);

  bool takeProject(const ProjectFile& project, const std::string& package, FxParameterSettingAPI& setting);
  bool loadProjectMotion(const ProjectFile& project, const std::string& package);
  bool loadProjectEvents(const std::string& path, FxParameterSettingAPI& setting);
  void takeDimensionsOfFirstFrame();

  void createEstimator();
  void createPlanner(double time);
  void createCompleter(const FxRenderInfo& renderInfo);
  void updateCompleter(bool inverted, bool motionIsNews);
  void updateRenderer(const RenderSettings& settings, bool inverted, bool planChanged);
  void fixInterlaceMode(int interlacing, double time);

  FxAPIManager* _apiManager;
  Platform* platform;
  int analysisWide = 0, analysisHigh = 0;  // pixels of the analysed frames
  int interlaceMode = -1;                  // -1 not yet known, 0 progressive, 1 and 2 the field orders

  // Blocks that wait on the main queue hold it weakly, so that none runs on an instance that is gone.
  std::shared_ptr<ProgressWindow> progressWindow;  // null unless a pass runs
  std::shared_ptr<char> alive = std::make_shared<char>();
  std::shared_ptr<std::atomic<bool>> passRuns = std::make_shared<std::atomic<bool>>(false);  // shared with the worker
};
