#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "plugin/Platform.h"
#include "plugin/StringsFile.h"

namespace film {

/// The desktop's services in a terminal: the main queue is turned by `runUntil`, the progress window is whatever the
/// command shows, alerts are lines on the standard error stream, and an open panel gets the answer that was given
/// beforehand.
class TerminalPlatform : public Platform {
 public:
  /// `language`: two letters, or more of a locale's name; English where it has no strings file.
  explicit TerminalPlatform(const std::string& language);
  ~TerminalPlatform() override;

  /// The language that the environment asks for.
  static std::string UserLanguage();

  /// From now on every text is its own key.
  void showKeys() { texts = englishTexts = {}; }

  /// Receives the percentage of a progress window that is open.
  void setProgressSink(std::function<void(double percent)> sink) { progressSink = std::move(sink); }

  /// Receives the alerts in place of the standard error stream; an empty one brings that back.
  void setAlertSink(std::function<void(const AlertSheet& sheet)> sink) { alertSink = std::move(sink); }

  /// The item that open panels choose from now on, where they let a user choose it: a file or package of their types.
  /// Nothing cancels them.
  void setChosenItem(std::optional<std::string> item) { chosenItem = std::move(item); }

  /// Whether the effect has a progress window open.
  bool windowIsOpen() const { return static_cast<bool>(cancelButton); }
  /// Presses that window's cancel button; nothing happens without one.
  void pressCancel();

  /// Runs the main queue's blocks on this thread until `done` says so, which is asked between blocks and now and then.
  void runUntil(const std::function<bool()>& done);

  std::string localisedString(const std::string& key) override;
  void beginAlertSheet(const AlertSheet& sheet) override;
  std::optional<std::string> runModalOpenPanel(const OpenPanel& panel) override;
  std::unique_ptr<ProgressView> makeProgressView(const std::string& name, std::function<void()> cancel) override;
  void dispatchAsyncMain(std::function<void()> block) override;
  void dispatchAsyncGlobal(std::function<void()> block) override;
  void runMainLoopFor(double seconds) override;

 private:
  class View;

  LocalisedStrings texts, englishTexts;
  std::function<void(double)> progressSink;
  std::function<void(const AlertSheet&)> alertSink;
  std::optional<std::string> chosenItem;
  std::function<void()> cancelButton;
  std::mutex lock;
  std::condition_variable queued;
  std::deque<std::function<void()>> mainQueue;
  std::vector<std::thread> workers;
};

}  // namespace film
