#include "film/EncoderExtras.h"

#include <algorithm>

#include "film/Failure.h"

namespace film {
namespace {

/// The names of the options that only this encoder has.
std::string ownOptions(AVCodecContext& context) {
  std::string names;
  const AVOption* option = nullptr;
  if (context.codec->priv_class)
    while ((option = av_opt_next(context.priv_data, option)))
      if (option->type != AV_OPT_TYPE_CONST) names += (names.empty() ? "" : ", ") + std::string(option->name);
  return names.empty() ? "FFmpeg's general ones" : names;
}

bool isList(const std::string& name) { return name.size() > 7 && name.compare(name.size() - 7, 7, "-params") == 0; }

std::string valueOf(AVCodecContext& context, const std::string& name) {
  std::uint8_t* text = nullptr;
  if (av_opt_get(&context, name.c_str(), AV_OPT_SEARCH_CHILDREN, &text) < 0 || !text) return {};
  std::string value = reinterpret_cast<const char*>(text);
  av_free(text);
  return value;
}

const AVOption* findOption(AVCodecContext& context, const std::string& name) {
  constexpr int encoding = AV_OPT_FLAG_ENCODING_PARAM | AV_OPT_FLAG_VIDEO_PARAM;
  return av_opt_find(&context, name.c_str(), nullptr, encoding, AV_OPT_SEARCH_CHILDREN);
}

void applyExtra(const std::string& out, const EncoderKind& kind, const std::string& extra, AVCodecContext& context) {
  const size_t equals = extra.find('=');
  if (equals == std::string::npos || equals == 0)
    throw Failure("--encoder-option " + extra + ": give a name, an equals sign and a value, such as tune=grain",
                  kUsage);
  const std::string name = extra.substr(0, equals);
  std::string value = extra.substr(equals + 1);
  if (!findOption(context, name))
    throw Failure(out + ": --encoder-option " + name + " is unknown to the encoder " + kind.encoder + "; it has " +
                      ownOptions(context),
                  kUsage);
  if (const std::string before = isList(name) ? valueOf(context, name) : ""; !before.empty())
    value = before + ":" + value;
  if (av_opt_set(&context, name.c_str(), value.c_str(), AV_OPT_SEARCH_CHILDREN) < 0)
    throw Failure(out + ": --encoder-option " + extra + " isn't a value that the encoder " + kind.encoder + " takes",
                  kUsage);
}

}  // namespace

void ApplyExtras(const std::string& out, const EncoderKind& kind, const std::vector<std::string>& extras,
                 AVCodecContext& context) {
  for (const std::string& extra : extras) applyExtra(out, kind, extra, context);
}

}  // namespace film
