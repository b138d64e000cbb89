#include "film/EncoderChoice.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "film/Failure.h"
#include "film/OpenEncoder.h"

namespace film {
namespace {

/// What stands against an encoder, the later the further it came.
enum class Fault { None, Missing, Container, Lossless, Pictures, Rows, Fields };

bool isClipsOwn(const EncoderWish& wish, const EncoderKind& kind) {
  return wish.source && wish.source->codec_id == kind.id;
}

/// The encoders of these two families work on ten bits whatever the stream is said to hold.
bool hasTenBitsOnly(const EncoderKind& kind) { return kind.id == AV_CODEC_ID_PRORES || kind.id == AV_CODEC_ID_DNXHD; }

void remarkOnPictures(const PlaneFormat& given, const PlaneFormat& taken, const EncoderKind& kind,
                      std::vector<std::string>* remarks) {
  const std::string label = kind.label;
  const bool finer = (given.halfWidth && !taken.halfWidth) || (given.halfHeight && !taken.halfHeight);
  const bool odd = given.width % 2 != 0 || given.height % 2 != 0;
  if (finer && odd && kind.evenSizes)
    remarks->push_back("written with full chroma, since " + label + " has no odd sizes with halved chroma");
  else if (finer || (given.bits != taken.bits))
    remarks->push_back("written with " + DescribePlanes(taken) + ", since " + label + " has no " +
                       DescribePlanes(given));
}

/// The pictures as `wanted`, or as near as may be.
std::optional<Candidate> fitPictures(const EncoderWish& wish, const EncoderKind& kind, const AVCodec& codec,
                                     const PlaneFormat& wanted) {
  Candidate candidate{&kind, &codec, {}, wish.format, {}};
  if (const auto exact = ChoosePixelFormat(codec, wish.format, wanted, kind.evenSizes)) {
    candidate.pictures = *exact;
    remarkOnPictures(wanted, exact->planes, kind, &candidate.remarks);
    return candidate;
  }
  if (isClipsOwn(wish, kind) && hasTenBitsOnly(kind) && wanted.bits == 12) {
    PlaneFormat fewer = wanted;
    fewer.bits = 10;
    if (const auto near = ChoosePixelFormat(codec, wish.format, fewer, kind.evenSizes)) {
      candidate.pictures = *near;
      candidate.remarks.push_back(std::string("encoded from 10 of its 12 bits, since FFmpeg's encoder for ") +
                                  kind.label + " takes no more; --codec ffv1 or hevc keeps all");
      return candidate;
    }
  }
  const bool otherEncoder = std::any_of(EncoderKinds().begin(), EncoderKinds().end(), [&](const EncoderKind& other) {
    const AVCodec* its = avcodec_find_encoder_by_name(other.encoder);
    return other.id == kind.id && its && ChoosePixelFormat(*its, wish.format, wanted, other.evenSizes);
  });
  if (wanted.rgb && !otherEncoder && kind.codec == wish.options.codec) {
    candidate.format.matrix = AVCOL_SPC_BT709;
    candidate.format.range = AVCOL_RANGE_MPEG;
    candidate.format.pixelFormat = wanted.bits > 8 ? AV_PIX_FMT_YUV444P10 : AV_PIX_FMT_YUV444P;
    PlaneFormat mixed = *PlaneFormatOf(candidate.format);
    mixed.bits = wanted.bits;
    mixed.alpha = wanted.alpha;
    if (const auto other = ChoosePixelFormat(codec, candidate.format, mixed, kind.evenSizes)) {
      candidate.pictures = *other;
      candidate.remarks.push_back(std::string("converted from RGB to Y'CbCr (BT.709), since FFmpeg's encoder for ") +
                                  kind.label + " takes no RGB of that depth");
      return candidate;
    }
  }
  return std::nullopt;
}

std::optional<Candidate> fitAlphaAndPictures(const EncoderWish& wish, const EncoderKind& kind, const AVCodec& codec,
                                             const Container& container) {
  PlaneFormat wanted = wish.planes;
  wanted.alpha = wish.options.alpha || wish.planes.alpha;
  std::optional<Candidate> candidate;
  if (!wanted.alpha || container.holdsOpacityOf(kind.id)) candidate = fitPictures(wish, kind, codec, wanted);
  if (candidate || wish.options.alpha || !wanted.alpha) return candidate;
  wanted.alpha = false;
  candidate = fitPictures(wish, kind, codec, wanted);
  if (candidate)
    candidate->remarks.emplace_back("the clip's opacity is left out; --alpha chooses a codec that keeps it");
  return candidate;
}

/// Whether the rows don't go into macroblocks and chroma of the two fields apart, which only this codec asks for.
bool lacksRows(const EncoderKind& kind, const PlaneFormat& planes) {
  return kind.id == AV_CODEC_ID_H264 && planes.interlaced && planes.halfHeight && planes.height % 4 != 0;
}

Fault judge(const EncoderWish& wish, const EncoderKind& kind, const Container& container, Candidate* candidate) {
  const AVCodec* codec = avcodec_find_encoder_by_name(kind.encoder);
  if (!codec) return Fault::Missing;
  if (!container.holds(kind.id)) return Fault::Container;
  if (wish.options.lossless && kind.lossless == EncoderKind::Lossless::Never) return Fault::Lossless;
  std::optional<Candidate> fit = fitAlphaAndPictures(wish, kind, *codec, container);
  if (!fit) return Fault::Pictures;
  if (lacksRows(kind, fit->pictures.planes)) return Fault::Rows;
  if (wish.format.interlaced() && !kind.fields && wish.options.codec.empty()) return Fault::Fields;
  if (wish.format.interlaced() && !kind.fields)
    fit->remarks.push_back(std::string(kind.label) + " can't say that its frames hold two fields each");
  *candidate = std::move(*fit);
  return Fault::None;
}

/// In the order in which they are to be tried.
std::vector<const EncoderKind*> kindsToTry(const EncoderWish& wish) {
  std::vector<const EncoderKind*> kinds;
  const auto add = [&](auto wanted) {
    for (const EncoderKind& kind : EncoderKinds())
      if (wanted(kind) && std::find(kinds.begin(), kinds.end(), &kind) == kinds.end()) kinds.push_back(&kind);
  };
  const std::string& named = wish.options.codec;
  if (!named.empty()) {
    add([&](const EncoderKind& kind) { return named == kind.codec; });
    return kinds;
  }
  add([&](const EncoderKind& kind) { return isClipsOwn(wish, kind); });
  if (wish.options.alpha)
    add([](const EncoderKind& kind) { return kind.id == AV_CODEC_ID_PRORES; });  // editors take it
  add([](const EncoderKind&) { return true; });
  return kinds;
}

/// "--codec ffv1 or hevc", or another kind of file, or nothing.
std::string remedyFor(EncoderWish wish) {
  wish.options.codec.clear();
  std::vector<std::string> codecs;
  std::string elsewhere;
  for (const EncoderKind& kind : EncoderKinds()) {
    Candidate ignored;
    if (judge(wish, kind, *wish.container, &ignored) == Fault::None && ignored.remarks.empty()) {
      if (codecs.empty() || codecs.back() != kind.codec) codecs.emplace_back(kind.codec);
    } else if (elsewhere.empty()) {
      for (const std::string& ending : Container::EndingsFor(kind.id))
        if (elsewhere.empty() && judge(wish, kind, Container("film" + ending), &ignored) == Fault::None &&
            ignored.remarks.empty())
          elsewhere = "a name that ends in " + ending + " with --codec " + kind.codec;
    }
  }
  if (!codecs.empty()) return "; use --codec " + AnyOf(codecs);
  return elsewhere.empty() ? "; convert the clip to 8 or 10 bits first" : "; use " + elsewhere;
}

std::string wishedPictures(const EncoderWish& wish) {
  PlaneFormat planes = wish.planes;
  planes.alpha = wish.options.alpha;
  return DescribePlanes(planes);
}

[[noreturn]] void failForWished(const EncoderWish& wish, const EncoderKind& kind, Fault fault) {
  const std::string label = kind.label;
  switch (fault) {
    case Fault::Missing:
      throw Failure(wish.out + ": this FFmpeg has no encoder " + kind.encoder + " for " + label + remedyFor(wish));
    case Fault::Container: {
      const std::vector<std::string> endings = Container::EndingsFor(kind.id);
      throw Failure(wish.out + ": " + wish.container->ending() + " files can't hold " + label +
                        (endings.empty() ? remedyFor(wish) : "; use a name that ends in " + AnyOf(endings)),
                    kUsage);
    }
    case Fault::Lossless:
      throw Failure(wish.out + ": " + label + " can't be lossless" + remedyFor(wish), kUsage);
    case Fault::Rows:
      throw Failure(wish.out + ": " + label + " holds fields in 4:2:0 only where the height is a multiple of 4, not " +
                        std::to_string(wish.format.height) + remedyFor(wish) +
                        ", or, if the clip isn't interlaced at all, --fields none",
                    kUsage);
    default:
      if (wish.options.alpha && !wish.container->holdsOpacityOf(kind.id))
        throw Failure(wish.out + ": " + wish.container->ending() + " files have no place for the opacity of " + label +
                          remedyFor(wish),
                      kUsage);
      throw Failure(
          wish.out + ": no encoder for " + label + " takes pictures of " + wishedPictures(wish) + remedyFor(wish),
          kUsage);
  }
}

[[noreturn]] void failForAll(const EncoderWish& wish) {
  const char* how = wish.options.lossless ? " without loss" : "";
  throw Failure(wish.out + ": no codec that " + wish.container->ending() + " files can hold keeps pictures of " +
                    wishedPictures(wish) + how + remedyFor(wish),
                kUsage);
}

/// Says why the clip's own codec isn't used.
void remarkOnCodec(const EncoderWish& wish, const EncoderKind& kind, Fault ownFault, bool ownRefused,
                   std::vector<std::string>* remarks) {
  if (!wish.source || !wish.options.codec.empty() || wish.source->codec_id == kind.id) return;
  const std::string own = avcodec_get_name(wish.source->codec_id);
  std::string reason = "there is no encoder for " + own + " here";
  if (ownFault == Fault::Container) reason = wish.container->ending() + " files can't hold " + own;
  if (ownFault == Fault::Lossless) reason = own + " can't be lossless";
  if (ownFault == Fault::Pictures) reason = "no encoder for " + own + " takes " + wishedPictures(wish);
  if (ownFault == Fault::Rows) reason = own + " holds fields in 4:2:0 only in heights that are multiples of 4";
  if (ownFault == Fault::Fields) reason = "FFmpeg's encoder for " + own + " can't tell of fields";
  if (ownRefused) reason = "FFmpeg's encoder for " + own + " refuses these pictures";
  remarks->insert(remarks->begin(), std::string("written as ") + kind.label + ", since " + reason);
}

void checkQualityAndSpeed(const EncoderWish& wish, const EncoderKind& kind) {
  const EncoderOptions& options = wish.options;
  const std::string label = kind.label;
  if (options.crf && kind.worstCrf == 0)
    throw Failure(wish.out + ": " + label + " has no --crf; leave it out, or choose another --codec, such as h264",
                  kUsage);
  if (options.crf && (*options.crf < 0 || *options.crf > kind.worstCrf))
    throw Failure(
        wish.out + ": --crf goes from 0 to " + std::to_string(static_cast<int>(kind.worstCrf)) + " with " + label,
        kUsage);
  if (options.preset.empty() || HasSpeed(kind, options.preset)) return;
  if (!kind.speeds) throw Failure(wish.out + ": " + label + " has no speeds for --preset; leave it out", kUsage);
  std::vector<std::string> words = SpeedWords();
  words.emplace_back(kind.speeds);
  throw Failure(wish.out + ": --preset " + options.preset + " is unknown to the encoder for " + label + "; it has " +
                    AnyOf(words),
                kUsage);
}

bool hasSettings(const EncoderOptions& options) { return !options.extras.empty() || !options.codec.empty(); }

}  // namespace

ChosenEncoder ChooseEncoder(const EncoderWish& wish) {
  const std::vector<const EncoderKind*> kinds = kindsToTry(wish);
  if (kinds.empty())
    throw Failure("--codec " + wish.options.codec + " is unknown; it may be " + AnyOf(CodecNames()), kUsage);
  Fault furthest = Fault::None, ownFault = Fault::Missing;
  const EncoderKind* furthestKind = kinds.front();
  bool ownRefused = false;
  int error = 0;
  for (const EncoderKind* kind : kinds) {
    Candidate candidate;
    const Fault fault = judge(wish, *kind, *wish.container, &candidate);
    if (isClipsOwn(wish, *kind)) ownFault = std::max(ownFault, fault);
    if (fault != Fault::None) {
      if (fault > furthest) furthestKind = kind;
      furthest = std::max(furthest, fault);
      continue;
    }
    checkQualityAndSpeed(wish, *kind);
    CodecContext context = OpenEncoder(wish, candidate, &error);
    if (context) {
      remarkOnCodec(wish, *kind, ownFault, ownRefused, &candidate.remarks);
      return {kind, std::move(context), candidate.pictures.planes, std::move(candidate.remarks)};
    }
    ownRefused |= isClipsOwn(wish, *kind);
    if (hasSettings(wish.options))
      throw Failure(wish.out + ": the encoder for " + kind->label + " refuses these settings or a picture of " +
                        std::to_string(wish.format.width) + " x " + std::to_string(wish.format.height) +
                        " pixels; check --encoder-option, or choose another --codec (" + ErrorText(error) + ")",
                    kUsage);
  }
  if (!wish.options.codec.empty()) failForWished(wish, *furthestKind, furthest);
  failForAll(wish);
}

}  // namespace film
