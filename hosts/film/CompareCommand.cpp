#include <cstdio>
#include <optional>

#include "film/Commands.h"
#include "film/Comparison.h"
#include "film/Fields.h"
#include "film/Interrupt.h"
#include "film/OutputFile.h"
#include "film/RunFiles.h"
#include "film/Summary.h"

namespace film {
namespace {

ClipContents scan(const std::string& path, const std::string& fields, int threads) {
  ClipContents contents = ScanClip(path, {.threads = threads, .progress = [](int) { return !Interrupted(); }});
  if (!contents.warning.empty()) std::fprintf(stderr, "orvane: %s\n", contents.warning.c_str());
  const std::optional<AVFieldOrder> wanted = FieldOrderOf(fields);
  contents.format.fieldOrder = wanted ? *wanted : DetectFieldOrder(path);
  contents.planes.interlaced = contents.format.interlaced();
  return contents;
}

std::string sizeText(const VideoFormat& format) {
  return std::to_string(format.width) + " x " + std::to_string(format.height);
}

void checkComparable(const ClipContents& a, const ClipContents& b) {
  if (a.identity.frames != b.identity.frames)
    throw Failure(a.path + " has " + std::to_string(a.identity.frames) + " frames and " + b.path + " has " +
                  std::to_string(b.identity.frames) + "; only clips of as many frames can be compared");
  if (a.format.width != b.format.width || a.format.height != b.format.height)
    throw Failure(a.path + " is " + sizeText(a.format) + " and " + b.path + " is " + sizeText(b.format) +
                  "; only clips of one size can be compared, scale one of them first");
}

CompareLayout layoutNamed(const std::string& name) {
  if (name == "split") return CompareLayout::Split;
  return name == "difference" ? CompareLayout::Difference : CompareLayout::Side;
}

}  // namespace

ExitStatus Compare(const CompareOptions& options, const RenderOptions& render, ProgressStyle style) {
  CheckOutput(render.out, render.force);
  const OutputFile trial(render.out);
  FrameSource first(scan(options.a, options.fields, render.encoder.threads), render.encoder.threads);
  FrameSource second(scan(options.b, options.fields, render.encoder.threads), render.encoder.threads);
  const ClipContents &a = first.contents(), &b = second.contents();
  checkComparable(a, b);
  const int turns = QuarterTurns(options.a);
  if (turns != QuarterTurns(options.b))
    throw Failure(options.b + ": it is shown turned another way than " + options.a + "; turn one of them first");

  const CompareLayout layout = layoutNamed(options.layout);
  const ClipContents compared = ComparedContents(a, layout, turns);
  MovieWriter movie(render.out, compared, MovieSpan{a.firstTime, true, std::nullopt}, render.encoder);
  for (const std::string& note : movie.notes())
    std::fprintf(stderr, "orvane: %s: %s\n", render.out.c_str(), note.c_str());
  PicturePool pool(compared.format.width, compared.format.height);
  Progress progress(style, ProgressStream(style), "Comparing", a.identity.frames);
  for (int number = 0; number < a.identity.frames; ++number) {
    if (Interrupted()) return Cancelled("nothing was written to " + render.out);
    const SharedPicture left = first.fetch(number), right = second.fetch(number);
    if (!left || !right)
      throw Failure((left ? options.b : options.a) + ": frame " + std::to_string(number) +
                    " can't be read any more; was the file changed? Try again");
    SharedPicture picture = pool.take();
    ComparePictures(*left, *right, layout, turns, picture.get());
    movie.write(std::move(picture));
    progress.update(number + 1);
  }
  movie.finish();
  return kDone;
}

}  // namespace film
