#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// An alert that hangs on the application's main window. Nothing waits for it.
struct AlertSheet {
  std::string button, message, details;
  int style = 0;  ///< 0 warning, 1 information
};

/// A modal panel, floating above the application's windows, that chooses one existing file. A package counts as a file;
/// other folders can't be chosen.
struct OpenPanel {
  std::string title;
  std::vector<std::string> allowedFileTypes;  ///< file name extensions without the dot
  std::string directory;                      ///< where it starts; empty is the user's home
};

/// The picture of a progress window: a window, a terminal line or a test's record. Called on the main thread only.
class ProgressView {
 public:
  virtual ~ProgressView() = default;
  virtual void showMessage(const std::string& text) = 0;
  virtual void showInformation(const std::string& text) = 0;
  virtual void showProgress(double percent) = 0;
  virtual void bringToFront() = 0;
  virtual void orderOut() = 0;  ///< takes the window off the screen
  virtual void close() = 0;     ///< the view isn't used any more
};

/// What the effect needs of the desktop that it runs on.
class Platform {
 public:
  virtual ~Platform() = default;

  /// The text for `key` in the user's language; the key itself where no text is known.
  virtual std::string localisedString(const std::string& key) = 0;

  virtual void beginAlertSheet(const AlertSheet& sheet) = 0;

  /// The chosen path, or nothing when the user cancelled.
  virtual std::optional<std::string> runModalOpenPanel(const OpenPanel& panel) = 0;

  /// Makes and shows the window of the description `name`. `cancel` is what its cancel button runs, on the main
  /// thread; it is valid until `close`.
  virtual std::unique_ptr<ProgressView> makeProgressView(const std::string& name, std::function<void()> cancel) = 0;

  /// Runs `block` later on the main thread, in the order of the calls. From any thread.
  virtual void dispatchAsyncMain(std::function<void()> block) = 0;

  /// Runs `block` on a thread of its own.
  virtual void dispatchAsyncGlobal(std::function<void()> block) = 0;

  /// Gives the main run loop `seconds` to turn; called from another thread. A host without one returns at once.
  virtual void runMainLoopFor(double seconds) = 0;
};
