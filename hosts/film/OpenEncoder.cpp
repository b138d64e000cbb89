#include "film/OpenEncoder.h"

#include <cstdint>
#include <new>
#include <string>

#include "film/EncoderExtras.h"

namespace film {
namespace {

/// Constant rates for the encoders that know no other: the nearest that it has.
AVRational countedRate(const AVCodec& codec, AVRational rate) {
  if (codec.supported_framerates)
    return codec.supported_framerates[av_find_nearest_q_idx(rate, codec.supported_framerates)];
  av_reduce(&rate.num, &rate.den, rate.num, rate.den, 60000);
  return rate;
}

CodecContext makeContext(const EncoderWish& wish, const Candidate& candidate) {
  CodecContext context(avcodec_alloc_context3(candidate.codec));
  if (!context) throw std::bad_alloc();
  const VideoFormat& format = candidate.format;
  const bool counts = candidate.kind->countsFrames;
  context->width = format.width;
  context->height = format.height;
  context->pix_fmt = candidate.pictures.pixelFormat;
  context->framerate = counts ? countedRate(*candidate.codec, wish.frameRate) : wish.frameRate;
  context->time_base = counts ? av_inv_q(context->framerate) : wish.timeBase;
  context->thread_count = wish.options.threads;
  context->sample_aspect_ratio = format.sampleAspect;
  context->color_range = format.range;
  context->color_primaries = format.primaries;
  context->color_trc = format.transfer;
  context->colorspace = candidate.pictures.planes.rgb ? AVCOL_SPC_RGB : format.matrix;
  context->chroma_sample_location = format.siting;
  context->field_order = format.fieldOrder;
  if (!wish.container->tellsTimes()) context->max_b_frames = wish.delay;
  if (format.interlaced() && candidate.kind->fields)
    context->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
  if (wish.options.exact) context->flags |= AV_CODEC_FLAG_BITEXACT;
  if (wish.container->format().flags & AVFMT_GLOBALHEADER) context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  return context;
}

bool fileTakes(const EncoderWish& wish, const AVCodecContext& context) {
  AVCodecParameters* parameters = avcodec_parameters_alloc();
  const bool taken = parameters && avcodec_parameters_from_context(parameters, &context) >= 0 &&
                     wish.container->takes(*parameters, wish.timeBase, wish.frameRate, nullptr);
  avcodec_parameters_free(&parameters);
  return taken;
}

/// Files in which nothing is decoded before time 0: pictures that are decoded earlier than they are shown, since others
/// refer to them, would make the whole film late.
bool beginsAtZero(const Container& container) {
  const std::string name = container.format().name;
  return name == "flv" || name == "nut";
}

}  // namespace

CodecContext OpenEncoder(const EncoderWish& wish, const Candidate& candidate, int* error) {
  const EncoderTask task{candidate.format, candidate.pictures.planes, wish.source, wish.options};
  for (const std::int64_t rate : candidate.kind->bitRates(task)) {
    CodecContext context = makeContext(wish, candidate);
    context->bit_rate = rate;
    candidate.kind->configure(task, *context);
    if (beginsAtZero(*wish.container)) context->max_b_frames = 0;
    ApplyExtras(wish.out, *candidate.kind, wish.options.extras, *context);
    *error = avcodec_open2(context.get(), candidate.codec, nullptr);
    if (*error >= 0 && fileTakes(wish, *context)) return context;
  }
  return nullptr;
}

}  // namespace film
