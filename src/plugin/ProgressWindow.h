#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "plugin/Platform.h"

/// The small window that an analysis shows while it runs: a message, a line of information, a bar, a cancel button.
/// All operations on the main thread, but `cancelButton` and `wasCancelled`, which any thread may call.
class ProgressWindow {
 public:
  /// Loads and shows the window that the platform makes of the description "ProgressWindow".
  explicit ProgressWindow(Platform& platform);

  void setMessage(const std::string& message);
  void setInformation(const std::string& information);
  void setProgress(double percent);
  void bringToFront();

  bool wasCancelled() const { return cancelled; }
  /// The button's action: notes the wish and closes the window. Pressing it again changes nothing.
  void cancelButton();
  void hideAndClose();

 private:
  void close();

  std::unique_ptr<ProgressView> view;  // outlives its closing: the button's action runs inside it
  std::atomic<bool> closed = false;
  std::atomic<bool> cancelled = false;
};
