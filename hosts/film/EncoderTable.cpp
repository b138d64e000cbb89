#include "film/EncoderTable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace film {
namespace {

void set(AVCodecContext& context, const char* name, const std::string& value) {
  av_opt_set(&context, name, value.c_str(), AV_OPT_SEARCH_CHILDREN);
}

std::string textOf(double number) {
  std::ostringstream text;
  text << number;
  return text.str();
}

double crfOf(const EncoderTask& task, double usual) { return task.options.crf.value_or(usual); }

/// The word's place among the common ones, or -1.
int speedIndex(const std::string& word) {
  const std::vector<std::string>& words = SpeedWords();
  const auto place = std::find(words.begin(), words.end(), word);
  return place == words.end() ? -1 : static_cast<int>(place - words.begin());
}

/// The encoder's number for a speed: one of `numbers`, which stand for the common words, or the number that was given.
std::string speedNumber(const EncoderTask& task, const int (&numbers)[9]) {
  const std::string& word = task.options.preset;
  const int index = speedIndex(word.empty() ? "medium" : word);
  return index < 0 ? word : std::to_string(numbers[index]);
}

/// The grading screen as x264 and x265 take it: G(x,y)B(x,y)R(x,y)WP(x,y)L(most,least), in steps of 0.00002 and 0.0001
/// candela a square metre.
std::string masteringText(const AVMasteringDisplayMetadata& screen) {
  constexpr double unit = 0.00002, lightUnit = 0.0001;
  std::ostringstream text;
  const auto pair = [&](const char* name, AVRational first, AVRational second, double step) {
    text << name << '(' << std::llround(av_q2d(first) / step) << ',' << std::llround(av_q2d(second) / step) << ')';
  };
  const auto& [red, green, blue] = screen.display_primaries;
  pair("G", green[0], green[1], unit);
  pair("B", blue[0], blue[1], unit);
  pair("R", red[0], red[1], unit);
  pair("WP", screen.white_point[0], screen.white_point[1], unit);
  pair("L", screen.max_luminance, screen.min_luminance, lightUnit);
  return text.str();
}

bool describesScreen(const VideoFormat& format) {
  return format.mastering && format.mastering->has_primaries && format.mastering->has_luminance;
}

/// `name=value` pairs for the encoders that take them in one option.
class Parameters {
 public:
  void add(const std::string& name, const std::string& value) {
    if (!text.empty()) text += ':';
    text.append(name).append("=").append(value);
  }
  void addLight(const VideoFormat& format, const char* screen, const char* light) {
    if (describesScreen(format)) add(screen, masteringText(*format.mastering));
    if (format.light) add(light, std::to_string(format.light->MaxCLL) + "," + std::to_string(format.light->MaxFALL));
  }
  const std::string& joined() const { return text; }

 private:
  std::string text;
};

void configureX264(const EncoderTask& task, AVCodecContext& context) {
  const std::string preset = task.options.preset.empty() ? "medium" : task.options.preset;
  set(context, "preset", preset);
  if (task.options.lossless)
    set(context, "qp", "0");
  else
    set(context, "crf", textOf(crfOf(task, 17.0)));
  // The slow ones look at more frames ahead than memory is good for, and those of more than 8 bits take twice as much.
  const bool deep = task.planes.bits > 8;
  if (speedIndex(preset) < 0 || speedIndex(preset) >= speedIndex("fast"))
    set(context, "rc-lookahead", deep ? "14" : "20");
  set(context, "udu_sei", "1");  // a camera's own notes
  Parameters parameters;
  if (task.format.fieldOrder == AV_FIELD_BB) parameters.add("bff", "1");
  if (deep) parameters.add("sync-lookahead", "0");  // frames that only wait for the look ahead
  parameters.addLight(task.format, "mastering-display", "cll");
  if (!parameters.joined().empty()) set(context, "x264-params", parameters.joined());
}

void configureX265(const EncoderTask& task, AVCodecContext& context) {
  set(context, "preset", task.options.preset.empty() ? "fast" : task.options.preset);
  Parameters parameters;
  parameters.add("log-level", "none");  // it would write to the terminal past everybody
  if (task.options.threads > 0) parameters.add("pools", std::to_string(task.options.threads));
  if (task.options.exact) parameters.add("info", "0");
  if (task.options.lossless)
    parameters.add("lossless", "1");
  else
    set(context, "crf", textOf(crfOf(task, 17.0)));
  parameters.add("rc-lookahead", task.planes.bits > 8 ? "6" : "10");  // much memory for each frame that it looks at
  parameters.add("frame-threads", "1");
  parameters.addLight(task.format, "master-display", "max-cll");
  set(context, "x265-params", parameters.joined());
}

void configureVp9(const EncoderTask& task, AVCodecContext& context) {
  if (task.options.lossless)
    set(context, "lossless", "1");
  else
    set(context, "crf", textOf(std::round(crfOf(task, 15.0))));
  set(context, "b", "0");
  set(context, "deadline", "good");
  set(context, "cpu-used", speedNumber(task, {8, 7, 6, 5, 5, 4, 2, 1, 0}));
  set(context, "row-mt", "1");
  set(context, "lag-in-frames", "16");
  if (task.planes.alpha) set(context, "auto-alt-ref", "0");  // it can't be had with transparency
}

// Not SVT-AV1, which is faster: its release here may wait for ever when it is closed before a clip's end.
void configureAom(const EncoderTask& task, AVCodecContext& context) {
  if (task.options.lossless)
    set(context, "aom-params", "lossless=1");
  else
    set(context, "crf", textOf(std::round(crfOf(task, 14.0))));
  set(context, "b", "0");
  set(context, "cpu-used", speedNumber(task, {8, 8, 7, 7, 6, 6, 4, 3, 2}));
  set(context, "row-mt", "1");
  set(context, "lag-in-frames", "16");
}

void configureProres(const EncoderTask& task, AVCodecContext& context) {
  const bool full = !task.planes.halfWidth;
  int profile = full ? FF_PROFILE_PRORES_4444 : FF_PROFILE_PRORES_HQ;
  const AVCodecParameters* source = task.source;
  if (source && source->codec_id == AV_CODEC_ID_PRORES && source->profile >= FF_PROFILE_PRORES_PROXY &&
      (source->profile >= FF_PROFILE_PRORES_4444) == full)
    profile = source->profile;
  set(context, "profile", std::to_string(profile));
  context.profile = profile;  // the encoder keeps it to itself, and MXF asks for it
  set(context, "vendor", "apl0");
}

const char* dnxhrProfile(const EncoderTask& task) {
  if (!task.planes.halfWidth) return "dnxhr_444";
  if (task.planes.bits > 8) return "dnxhr_hqx";
  if (task.source && task.source->codec_id == AV_CODEC_ID_DNXHD) {
    if (task.source->profile == FF_PROFILE_DNXHR_LB) return "dnxhr_lb";
    if (task.source->profile == FF_PROFILE_DNXHR_SQ) return "dnxhr_sq";
  }
  return "dnxhr_hq";
}

void configureDnxhd(const EncoderTask& task, AVCodecContext& context) {
  set(context, "profile", context.bit_rate > 0 ? "dnxhd" : dnxhrProfile(task));
}

/// DNxHD has fixed rates for each size: the nearest to the clip's own that it has for this one, or for fields the
/// highest, else DNxHR, which has none.
std::vector<std::int64_t> dnxhdRates(const EncoderTask& task) {
  const AVCodecParameters* source = task.source;
  std::vector<std::int64_t> rates;
  if (source && source->codec_id == AV_CODEC_ID_DNXHD && source->profile == FF_PROFILE_DNXHD) {
    for (int megabits : {36,  42,  45,  60,  63,  75,  80,  84,  90,  100, 110, 115, 120,
                         145, 175, 180, 185, 220, 240, 290, 350, 365, 390, 440, 730, 880})
      rates.push_back(megabits * 1000000LL);
    const auto distance = [&](std::int64_t rate) { return std::abs(rate - source->bit_rate); };
    std::sort(rates.begin(), rates.end(), [&](auto a, auto b) { return distance(a) < distance(b); });
  } else if (task.format.interlaced()) {
    rates = {220000000, 185000000, 145000000, 120000000};  // DNxHR has no fields
  }
  rates.push_back(0);
  return rates;
}

void configureFfv1(const EncoderTask& task, AVCodecContext& context) {
  set(context, "level", "3");
  set(context, "coder", "range_tab");
  set(context, "context", "1");
  set(context, "g", "1");
  set(context, "slices", task.planes.height >= 480 ? "16" : "4");
  set(context, "slicecrc", "1");
}

/// The finest quantiser but one of the encoders that have nothing else.
void configureQuantiser(const EncoderTask& task, AVCodecContext& context) {
  context.flags |= AV_CODEC_FLAG_QSCALE;
  context.global_quality = 2 * FF_QP2LAMBDA;
  if (context.codec_id == AV_CODEC_ID_MJPEG) {
    if (!task.planes.fullRange) context.strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;  // limited range
    return;
  }
  context.gop_size = 15;
  context.max_b_frames = task.source && task.source->video_delay == 0 ? 0 : 2;
}

void configureNothing(const EncoderTask&, AVCodecContext&) {}

std::vector<std::int64_t> noRate(const EncoderTask&) { return {0}; }

}  // namespace

const std::vector<EncoderKind>& EncoderKinds() {
  using Lossless = EncoderKind::Lossless;
  constexpr bool fields = true, frames = false;  // the pictures that it tells of
  constexpr bool even = true, any = false;       // sizes
  constexpr bool counts = true, stamps = false;  // time
  static const std::vector<EncoderKind> kinds = {
      {"h264", "H.264", AV_CODEC_ID_H264, "libx264", 51, "placebo", Lossless::OnDemand, fields, even, stamps,
       configureX264, noRate},
      {"h264", "H.264", AV_CODEC_ID_H264, "libx264rgb", 51, "placebo", Lossless::OnDemand, fields, even, stamps,
       configureX264, noRate},
      {"ffv1", "FFV1", AV_CODEC_ID_FFV1, "ffv1", 0, nullptr, Lossless::Always, fields, any, stamps, configureFfv1,
       noRate},
      {"hevc", "HEVC", AV_CODEC_ID_HEVC, "libx265", 51, "placebo", Lossless::OnDemand, frames, even, stamps,
       configureX265, noRate},
      {"vp9", "VP9", AV_CODEC_ID_VP9, "libvpx-vp9", 63, "0..8", Lossless::OnDemand, frames, any, stamps, configureVp9,
       noRate},
      {"av1", "AV1", AV_CODEC_ID_AV1, "libaom-av1", 63, "0..8", Lossless::OnDemand, frames, any, stamps, configureAom,
       noRate},
      {"prores", "ProRes", AV_CODEC_ID_PRORES, "prores_ks", 0, nullptr, Lossless::Never, fields, any, stamps,
       configureProres, noRate},
      {"dnxhd", "DNxHD", AV_CODEC_ID_DNXHD, "dnxhd", 0, nullptr, Lossless::Never, fields, any, stamps, configureDnxhd,
       dnxhdRates},
      {"mpeg2", "MPEG-2", AV_CODEC_ID_MPEG2VIDEO, "mpeg2video", 0, nullptr, Lossless::Never, fields, any, counts,
       configureQuantiser, noRate},
      {"mpeg4", "MPEG-4", AV_CODEC_ID_MPEG4, "mpeg4", 0, nullptr, Lossless::Never, fields, any, counts,
       configureQuantiser, noRate},
      {"mjpeg", "MJPEG", AV_CODEC_ID_MJPEG, "mjpeg", 0, nullptr, Lossless::Never, frames, any, stamps,
       configureQuantiser, noRate},
      {"png", "PNG", AV_CODEC_ID_PNG, "png", 0, nullptr, Lossless::Always, frames, any, stamps, configureNothing,
       noRate},
      {"qtrle", "QuickTime Animation", AV_CODEC_ID_QTRLE, "qtrle", 0, nullptr, Lossless::Always, frames, any, stamps,
       configureNothing, noRate},
      {"utvideo", "Ut Video", AV_CODEC_ID_UTVIDEO, "utvideo", 0, nullptr, Lossless::Always, frames, even, stamps,
       configureNothing, noRate},
      {"magicyuv", "MagicYUV", AV_CODEC_ID_MAGICYUV, "magicyuv", 0, nullptr, Lossless::Always, frames, even, stamps,
       configureNothing, noRate},
      {"huffyuv", "HuffYUV", AV_CODEC_ID_HUFFYUV, "huffyuv", 0, nullptr, Lossless::Always, frames, even, stamps,
       configureNothing, noRate},
      {"ffvhuff", "FFmpeg's HuffYUV", AV_CODEC_ID_FFVHUFF, "ffvhuff", 0, nullptr, Lossless::Always, frames, even,
       stamps, configureNothing, noRate},
      {"v210", "v210", AV_CODEC_ID_V210, "v210", 0, nullptr, Lossless::Always, frames, even, stamps, configureNothing,
       noRate},
      {"rawvideo", "raw video", AV_CODEC_ID_RAWVIDEO, "rawvideo", 0, nullptr, Lossless::Always, frames, even, stamps,
       configureNothing, noRate},
  };
  return kinds;
}

std::vector<std::string> CodecNames() {
  std::vector<std::string> names;
  for (const EncoderKind& kind : EncoderKinds())
    if (names.empty() || names.back() != kind.codec) names.emplace_back(kind.codec);
  return names;
}

const std::vector<std::string>& SpeedWords() {
  static const std::vector<std::string> words = {"ultrafast", "superfast", "veryfast", "faster",  "fast",
                                                 "medium",    "slow",      "slower",   "veryslow"};
  return words;
}

bool HasSpeed(const EncoderKind& kind, const std::string& word) {
  if (!kind.speeds) return false;
  if (speedIndex(word) >= 0 || word == kind.speeds) return true;
  const std::string own = kind.speeds;
  const size_t dots = own.find("..");
  if (dots == std::string::npos || word.empty()) return false;
  int number = -1;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  return error == std::errc() && end == word.data() + word.size() && number >= 0 &&
         number <= std::atoi(own.c_str() + dots + 2);
}

}  // namespace film
