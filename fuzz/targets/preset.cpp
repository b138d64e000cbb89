// A file of settings, as --preset names it.
#include "Input.h"
#include "film/Failure.h"
#include "film/Presets.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  try {
    const std::vector<film::SettingChange> settings = film::LoadPreset(input.path());
    fuzz::Require(settings.size() <= film::SettingOptions().size(), "no setting stands there twice");
    for (const film::SettingOption& option : film::SettingOptions())
      for (const film::SettingChange& setting : settings)
        if (setting.id == option.id && option.words.empty())
          fuzz::Require(setting.value >= option.least && setting.value <= option.most, "a number is in its range");
    const std::string text = film::DescribePreset(settings).dump();
    const fuzz::InputFile written(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    fuzz::Require(film::LoadPreset(written.path()).size() == settings.size(), "what is written can be read");
  } catch (const film::Failure& failure) {
    fuzz::Require(*failure.what() != '\0', "a failure has a text");
  }
  return 0;
}
