#include "film/GivenOptions.h"

#include <filesystem>

#include "film/Presets.h"

namespace film {
namespace {

bool isFolder(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

void refuseForSeveral(bool given, const std::string& option) {
  if (given)
    throw Failure(option + " is for one clip; leave it away, or run the clips one by one (--help tells more)", kUsage);
}

[[noreturn]] void refuseSecond(const std::string& first, const std::string& second) {
  throw Failure("--preset " + first + " and --preset " + second + " say the same thing twice; leave one away", kUsage);
}

}  // namespace

void TakeClips(Arguments* arguments, bool writesFilms) {
  const std::vector<std::string>& clips = arguments->clips;
  if (writesFilms && arguments->batch.outFolder.empty())
    for (const std::string& clip : clips)
      if (isFolder(clip))
        throw Failure(clip + ": this is a folder; name a video file in it, or give -O DIR for all that are in it");
  const bool single = clips.size() == 1 && arguments->batch.outFolder.empty() && !isFolder(clips[0]);
  if (writesFilms && single && arguments->render.out.empty())
    throw Failure("-o OUT is missing, the file to write (or -O DIR for several clips); --help lists what there is",
                  kUsage);
  if (single) {
    arguments->session.clip = clips[0];
    return;
  }
  if (writesFilms && arguments->batch.outFolder.empty())
    throw Failure("several clips need -O DIR, the folder for their films; --help lists what there is", kUsage);
  refuseForSeveral(!arguments->session.effectPath.empty(), "--effect");
  refuseForSeveral(!arguments->log.empty(), "--log");
  refuseForSeveral(!arguments->tracks.empty(), "--tracks");
  arguments->batch.clips = clips;
}

void TakeSettings(Arguments* arguments) {
  std::vector<SettingChange> preset;
  std::string settingsWord, speedWord;
  for (const std::string& word : arguments->presets) {
    std::string& taken = IsEncoderSpeed(word) ? speedWord : settingsWord;
    if (!taken.empty()) refuseSecond(taken, word);
    taken = word;
  }
  if (!speedWord.empty()) arguments->render.encoder.preset = speedWord;
  if (!settingsWord.empty()) preset = LoadPreset(settingsWord);
  arguments->session.changes = OverridePreset(preset, ReadSettings(arguments->settings));
}

}  // namespace film
