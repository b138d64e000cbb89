#include "film/TerminalPlatform.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <utility>

#include "film/Resources.h"

namespace film {
namespace {

LocalisedStrings textsFor(const std::string& language) {
  std::istringstream in(StringsFileFor(language.substr(0, 2)));
  return ReadStringsFile(in);
}

}  // namespace

/// A progress window without a picture: its percentage goes to the sink, and closing it takes the button away.
class TerminalPlatform::View : public ProgressView {
 public:
  explicit View(TerminalPlatform& terminal) : platform(terminal) {}
  ~View() override = default;

  void showMessage(const std::string&) override {}
  void showInformation(const std::string&) override {}
  void showProgress(double percent) override {
    if (platform.progressSink) platform.progressSink(percent);
  }
  void bringToFront() override {}
  void orderOut() override {}
  void close() override { platform.cancelButton = nullptr; }

 private:
  TerminalPlatform& platform;
};

TerminalPlatform::TerminalPlatform(const std::string& language)
    : texts(textsFor(language)), englishTexts(textsFor("en")) {}

TerminalPlatform::~TerminalPlatform() {
  for (std::thread& worker : workers) worker.join();
}

std::string TerminalPlatform::UserLanguage() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const char* value = std::getenv(variable); value && *value) return value;
  return "en";
}

void TerminalPlatform::pressCancel() {
  // A copy: the button closes its window, which takes the button away.
  if (const std::function<void()> button = cancelButton) button();
}

void TerminalPlatform::runUntil(const std::function<bool()>& done) {
  while (!done()) {
    std::function<void()> block;
    {
      std::unique_lock<std::mutex> guard(lock);
      queued.wait_for(guard, std::chrono::milliseconds(50), [this] { return !mainQueue.empty(); });
      if (mainQueue.empty()) continue;
      block = std::move(mainQueue.front());
      mainQueue.pop_front();
    }
    block();
  }
}

std::string TerminalPlatform::localisedString(const std::string& key) {
  for (const LocalisedStrings* strings : {&texts, &englishTexts})
    if (const auto found = strings->find(key); found != strings->end()) return found->second;
  return key;
}

void TerminalPlatform::beginAlertSheet(const AlertSheet& sheet) {
  if (alertSink) return alertSink(sheet);
  std::fprintf(stderr, "orvane: %s %s\n", sheet.message.c_str(), sheet.details.c_str());
}

std::optional<std::string> TerminalPlatform::runModalOpenPanel(const OpenPanel& panel) {
  const std::string extension = std::filesystem::path(chosenItem.value_or("")).extension().string();
  const bool allowed = std::any_of(panel.allowedFileTypes.begin(), panel.allowedFileTypes.end(),
                                   [&](const std::string& type) { return extension == "." + type; });
  return allowed ? chosenItem : std::nullopt;
}

std::unique_ptr<ProgressView> TerminalPlatform::makeProgressView(const std::string&, std::function<void()> cancel) {
  cancelButton = std::move(cancel);
  return std::make_unique<View>(*this);
}

void TerminalPlatform::dispatchAsyncMain(std::function<void()> block) {
  {
    const std::lock_guard<std::mutex> guard(lock);
    mainQueue.push_back(std::move(block));
  }
  queued.notify_one();
}

void TerminalPlatform::dispatchAsyncGlobal(std::function<void()> block) { workers.emplace_back(std::move(block)); }

// The main thread turns its queue all the time while a pass runs.
void TerminalPlatform::runMainLoopFor(double) {}

}  // namespace film
