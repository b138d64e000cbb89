#include "film/CommandOptions.h"

#include <algorithm>
#include <sstream>

#include "film/EncoderTable.h"
#include "film/Interrupt.h"
#include "film/Settings.h"

namespace film {
namespace {

// What a run on one clip of several gets in its own way, or not at all.
constexpr const char* notHandedOn[] = {"CLIP",    "--out",     "--out-dir", "--jobs",  "--progress",
                                       "--quiet", "--threads", "--log",     "--effect"};

std::string numberText(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

/// Unlike CLI::Range it refuses what is no number too.
CLI::Validator between(double least, double most) {
  return {[=](const std::string& word) {
            double value = 0;
            if (CLI::detail::lexical_cast(word, value) && value >= least && value <= most) return std::string();
            return word + " is no number from " + numberText(least) + " to " + numberText(most);
          },
          ""};
}

constexpr const char* encodingGroup = "Encoding, which follows the clip unless told otherwise";

void addCodecOptions(CLI::App* command, EncoderOptions* encoder) {
  std::string codecs;
  for (const std::string& name : CodecNames()) codecs += (codecs.empty() ? "" : "|") + name;
  command->add_option("--codec", encoder->codec, "what OUT is encoded as; the clip's own codec unless given")
      ->type_name(codecs)
      ->group(encodingGroup);
  command
      ->add_option(
          "--crf", encoder->crf,
          "quality with h264 and hevc, and up to 63 with vp9 and av1: 0 best, 17 looks lossless (about what is "
          "used unless given), 51 worst")
      ->type_name("0..51")
      ->check(between(0, 63))
      ->group(encodingGroup);
}

/// What else may become of the pictures.
void addFilmOptions(CLI::App* command, EncoderOptions* encoder) {
  command
      ->add_flag("--lossless", encoder->lossless,
                 "every code comes back, at many times the size: with h264, hevc, vp9, av1, ffv1 and the codecs named "
                 "after it that know nothing else")
      ->excludes("--crf")
      ->group(encodingGroup);
  command
      ->add_flag("--alpha", encoder->alpha,
                 "keep the area that --rendering natural leaves empty transparent: prores (the default then), png and "
                 "qtrle in a .mov, ffv1 in a .mkv, vp9 in a .webm")
      ->group(encodingGroup);
  command
      ->add_option("--encoder-option", encoder->extras,
                   "an option of the encoder's own, such as tune=grain; may be given again")
      ->type_name("NAME=VALUE")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->group(encodingGroup);
}

}  // namespace

void RefuseEmptyValues(CLI::App* app) {
  for (CLI::Option* option : app->get_options())
    if (option->get_type_size_max() > 0)
      option->check(CLI::Validator(
          [](const std::string& word) { return word.empty() ? "it is empty; give it a value" : ""; }, ""));
  for (CLI::App* below : app->get_subcommands([](const CLI::App*) { return true; })) RefuseEmptyValues(below);
}

void AddRunOptions(CLI::App* command, Arguments* arguments) {
  command
      ->add_option("--progress", arguments->progress,
                   "how to show progress; auto draws a bar on a terminal and writes lines elsewhere")
      ->type_name("auto|bar|lines|json|none")
      ->check(CLI::IsMember({"auto", "bar", "lines", "json", "none"}).description(""));
  command->add_flag("--quiet", arguments->quiet, "show errors only")->excludes("--progress");
  command->add_option("--threads", arguments->threads, "processors to use; all unless given")
      ->type_name("1..256")
      ->check(CLI::Range(1, 256).description(""));
  command->add_option("--log", arguments->log, "write the log to this file")->type_name("FILE");
}

void AddClipOptions(CLI::App* command, Arguments* arguments) {
  command->add_option("CLIP", arguments->session.clip, "the video file")->type_name("")->required();
  AddDocumentOptions(command, arguments);
}

void AddDocumentOptions(CLI::App* command, Arguments* arguments) {
  command
      ->add_option("--effect", arguments->session.effectPath,
                   "the effect document; CLIP.orvane.json beside the clip unless given")
      ->type_name("FILE");
  command->add_flag("--until-change", arguments->session.untilChange,
                    "use a clip whose size or pixel format changes up to there");
  AddFieldsOption(command, &arguments->session.fields,
                  "which field of an interlaced frame comes first, none for progressive frames, auto to find out; "
                  "stays until changed");
  AddRunOptions(command, arguments);
}

void AddFieldsOption(CLI::App* command, std::string* fields, const std::string& help) {
  command->add_option("--fields", *fields, help)
      ->check(CLI::IsMember({"auto", "top", "bottom", "none"}).description(""))
      ->type_name("auto|top|bottom|none");
}

void AddSettingOptions(CLI::App* command, Arguments* arguments) {
  const std::vector<SettingOption>& options = SettingOptions();
  arguments->settings.resize(options.size());
  for (size_t i = 0; i < options.size(); ++i) {
    std::string values;
    for (const std::string& word : options[i].words) values += (values.empty() ? "" : "|") + word;
    if (values.empty())
      values = SettingText(options[i], options[i].least) + ".." + SettingText(options[i], options[i].most);
    command->add_option(std::string("--") + options[i].name, arguments->settings[i], options[i].help)
        ->type_name(values)
        ->group("Settings, which stay until changed");
  }
}

void AddPresetOption(CLI::App* command, Arguments* arguments) {
  command
      ->add_option("--preset", arguments->presets,
                   "settings under one name, see `orvane presets`; other setting options win over them. ultrafast to "
                   "veryslow is how long the encoder tries to make its file small. May be given once for each")
      ->type_name("NAME|FILE.json")
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void AddZoomLimitOption(CLI::App* command, Arguments* arguments) {
  command
      ->add_option("--max-zoom", arguments->session.maxZoom,
                   "lower the smoothing until the zoom is X or less; nothing is measured again")
      ->type_name("X")
      ->check(between(1, 10));
}

void AddSeveralClipsOptions(CLI::App* command, Arguments* arguments) {
  command
      ->add_option("CLIP", arguments->clips,
                   "the video file; or several, and folders, which stand for the video files in them")
      ->type_name("")
      ->required();
  command->add_option("-j,--jobs", arguments->batch.jobs, "of several clips, how many at a time; 1 unless given")
      ->type_name("N")
      ->check(CLI::Range(1, mostChildren).description(""));
}

void AddSpanOptions(CLI::App* command, Arguments* arguments) {
  command->add_option("--from", arguments->render.from, "the first frame to write, from 0")->type_name("N");
  command->add_option("--to", arguments->render.to, "the last frame to write")->type_name("N");
}

void AddPreviewOption(CLI::App* command, Arguments* arguments) {
  command->add_flag("--preview", arguments->render.preview,
                    "write ten seconds at half the width and height, from the start or from --from");
}

void AddAnalysisOptions(CLI::App* command, Arguments* arguments) {
  command->add_flag("--again", arguments->session.again, "analyse even if an analysis is stored");
  command->add_option("--seed", arguments->seed, "makes a run with --threads 1 repeat exactly")->type_name("N");
}

void AddRenderOptions(CLI::App* command, Arguments* arguments) {
  command->add_option("-o,--out", arguments->render.out, "the file to write")
      ->type_name("OUT")
      ->check([](const std::string& name) {
        return name.empty() ? "the name of the file to write is empty; give one that ends in .mp4" : "";
      });
  command->add_flag("--force", arguments->render.force, "replace OUT if it exists");
  addCodecOptions(command, &arguments->render.encoder);
  addFilmOptions(command, &arguments->render.encoder);
  AddPresetOption(command, arguments);
}

std::vector<std::string> HandedOn(const CLI::App& command) {
  std::vector<std::string> words;
  for (const CLI::Option* option : command.get_options()) {
    const std::string name = option->get_name();
    if (option->count() == 0 ||
        std::find(std::begin(notHandedOn), std::end(notHandedOn), name) != std::end(notHandedOn))
      continue;
    if (option->get_type_size_max() == 0) {
      words.push_back(name);
      continue;
    }
    for (const std::string& value : option->results()) words.emplace_back(name).append("=").append(value);
  }
  return words;
}

}  // namespace film
