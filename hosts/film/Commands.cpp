#include "film/Commands.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>

#include "film/Interrupt.h"
#include "film/MemoryFile.h"
#include "film/OutputFile.h"
#include "film/Report.h"
#include "film/SampleClip.h"
#include "film/SampleMotion.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedMotion.h"

namespace film {
namespace {

std::FILE* progressStream(ProgressStyle style) { return style == ProgressStyle::Json ? stdout : stderr; }

struct Span {
  int first, last;
};

Span spanOf(const RenderOptions& render, const ClipContents& clip) {
  const int end = clip.identity.frames - 1;
  const Span span{render.from.value_or(0), render.to.value_or(end)};
  if (span.first < 0 || span.first > end || span.last < 0 || span.last > end)
    throw Failure(clip.path + ": --from and --to must lie within its frames, 0 to " + std::to_string(end), kUsage);
  if (span.first > span.last) throw Failure("--from must not lie behind --to", kUsage);
  return span;
}

MovieSpan movieSpan(const Span& span, const ClipContents& clip, std::int64_t firstTime) {
  MovieSpan movie;
  movie.firstTime = firstTime;
  movie.whole = span.first == 0 && span.last == clip.identity.frames - 1;
  movie.seconds = (span.last - span.first + 1) / av_q2d(clip.frameRate);
  return movie;
}

/// Renders a span of frames into a file; the frames a second, or nothing when the user cancelled.
std::optional<double> renderSpan(Session& session, const RenderOptions& render, const Span& span) {
  Progress progress(session.progressStyle(), progressStream(session.progressStyle()), "Rendering",
                    span.last - span.first + 1);
  SharedPicture picture = session.effect().render(span.first);
  MovieWriter movie(render.out, session.contents(), movieSpan(span, session.contents(), picture->time), render.encoder);
  for (const std::string& note : movie.notes())
    std::fprintf(stderr, "orvane: %s: %s\n", render.out.c_str(), note.c_str());
  for (int number = span.first; number <= span.last; ++number) {
    if (Interrupted()) return std::nullopt;
    if (!picture) picture = session.effect().render(number);
    movie.write(std::move(picture));
    picture = nullptr;
    progress.update(number - span.first + 1);
  }
  movie.finish();
  progress.finish();
  return progress.rate();
}

void printSummary(Session& session, const std::string& what, int frames, double rate) {
  if (session.progressStyle() == ProgressStyle::None) return;
  const double zoom = ZoomOf(session.effect(), session.contents());
  if (session.progressStyle() == ProgressStyle::Json) {
    const nlohmann::ordered_json line{{"done", what},
                                      {"frames", frames},
                                      {"events", EventText(session.effect())},
                                      {"zoom", std::round(zoom * 1000) / 1000},
                                      {"fps", std::round(rate * 100) / 100}};
    std::printf("%s\n", line.dump().c_str());
  } else {
    std::printf("%s: %d %s, %s, zoom %.3f, %.1f frames a second\n", what.c_str(), frames,
                frames == 1 ? "frame" : "frames", EventText(session.effect()).c_str(), zoom, rate);
  }
}

ExitStatus cancelled(const std::string& kept) {
  std::fprintf(stderr, "orvane: cancelled; %s\n", kept.c_str());
  return kCancelled;
}

ExitStatus renderAndTell(Session& session, const RenderOptions& render, const Span& span) {
  const std::optional<double> rate = renderSpan(session, render, span);
  if (!rate) return cancelled("nothing was written to " + render.out);
  printSummary(session, render.out, span.last - span.first + 1, *rate);
  return kDone;
}

std::string keptAnalysis(const Session& session) {
  return "what was analysed by then is kept in " + session.documentPath();
}

using Writer = std::function<bool(const char* path)>;

/// The library's writers don't tell of a full disk, so their bytes go through memory.
void writeWith(const std::string& path, const Writer& writer) {
  if (path.empty()) return;
  const MemoryFile memory;
  if (!writer(memory.path().c_str())) FailToWrite(path, EIO);
  OutputFile::write(path, memory.contents());
}

template <class Stored>
const Stored& storedObject(Session& session, ParameterId id) {
  const auto* object = dynamic_cast<const Stored*>(session.effect().parameters().find(id)->custom.get());
  if (!object) throw Failure(session.documentPath() + ": holds no stored object " + std::to_string(id));
  return *object;
}

/// Whether two names lead to the same file, be it there already or not.
bool sameFile(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::error_code error;
  if (fs::exists(a, error) && fs::exists(b, error)) return fs::equivalent(a, b, error);
  return fs::absolute(a, error).lexically_normal() == fs::absolute(b, error).lexically_normal();
}

}  // namespace

void CheckFilesDiffer(const std::vector<std::string>& files) {
  for (size_t later = 1; later < files.size(); ++later)
    for (size_t i = 0; i < later; ++i)
      if (!files[i].empty() && !files[later].empty() && sameFile(files[i], files[later]))
        throw Failure(
            files[later] + ": the same run needs this name for another file, which would be lost; choose another name",
            kUsage);
}

void CheckOutput(const std::string& out, bool force) {
  std::error_code error;
  if (std::filesystem::is_directory(out, error))
    throw Failure(out + ": this is a folder; give the name of a file in it");
  if (!force && std::filesystem::exists(out, error))
    throw Failure(out + ": exists already; replace it with --force or choose another name");
}

ExitStatus Analyse(const SessionOptions& options) {
  Session session(options);
  session.checkDocumentCanBeWritten();
  session.applySettings();
  if (!session.needsAnalysis()) {
    if (options.progress == ProgressStyle::Bar || options.progress == ProgressStyle::Lines)
      std::printf("%s: analysed before; --again analyses it anew\n", options.clip.c_str());
    return kDone;
  }
  const std::optional<double> rate = session.analyse();
  if (!rate) return cancelled(keptAnalysis(session));
  session.effect().showFirstFrame();
  printSummary(session, options.clip, session.contents().identity.frames, *rate);
  return kDone;
}

ExitStatus Render(const SessionOptions& options, const RenderOptions& render) {
  CheckOutput(render.out, render.force);
  const OutputFile trial(render.out);  // a folder that can't be written to is told at once
  Session session(options);
  session.requireAnalysis();
  const Span span = spanOf(render, session.contents());
  session.applySettings();
  if (session.needsAnalysis())
    std::fprintf(stderr,
                 "orvane: %s: only part of it is analysed, the rest is rendered as it is; `orvane analyse` on it "
                 "analyses all\n",
                 options.clip.c_str());
  return renderAndTell(session, render, span);
}

ExitStatus Stabilise(const SessionOptions& options, const RenderOptions& render) {
  CheckOutput(render.out, render.force);
  const OutputFile trial(render.out);
  Session session(options);
  const Span span = spanOf(render, session.contents());
  if (session.needsAnalysis()) {
    session.checkDocumentCanBeWritten();
    // What couldn't be encoded is told now and not after the analysis.
    const MovieWriter trialMovie(render.out, session.contents(), MovieSpan{}, render.encoder);
  }
  session.applySettings();
  if (session.needsAnalysis() && !session.analyse()) return cancelled(keptAnalysis(session));
  return renderAndTell(session, render, span);
}

ExitStatus Show(const SessionOptions& options, bool json) {
  Session session(options);
  if (session.effect().holdsAnalysis()) session.effect().showFirstFrame();
  const nlohmann::ordered_json description = DescribeEffect(session);
  std::printf("%s", json ? (description.dump(1) + "\n").c_str() : TextOf(description).c_str());
  return kDone;
}

ExitStatus Export(const SessionOptions& options, const ExportOptions& files) {
  Session session(options);
  session.requireAnalysis();
  session.effect().showFirstFrame();
  const MotionProcessorFCPX& planner = *session.effect().plugIn().ObjC_MP;
  const auto& motion = storedObject<SerialisedMotion>(session, kMotionStorage);
  AGCStorage gains = *storedObject<SerialisedAGC>(session, kAGCStorage).data();  // saving sorts it
  writeWith(files.motion, [&](const char* path) { return motion.getMotion()->Save(path); });
  writeWith(files.rotation, [&](const char* path) { return motion.getQAMotion()->Save(path); });
  writeWith(files.confidence, [&](const char* path) { return motion.getConfidence()->Save(path); });
  writeWith(files.events, [&](const char* path) { return planner.lcf->Save(path); });
  writeWith(files.gains, [&](const char* path) { return gains.Save(path); });
  writeWith(files.compensation, [&](const char* path) { return planner.compensatingMotion()->Save(path); });
  writeWith(files.design, [&](const char* path) { return planner.designMotion()->Save(path); });
  return kDone;
}

ExitStatus ShowParameters(bool json) {
  const nlohmann::ordered_json parameters = DescribeDeclaredParameters();
  std::printf("%s", json ? (parameters.dump(1) + "\n").c_str() : TableOf(parameters).c_str());
  return kDone;
}

ExitStatus Sample(const std::string& out, const std::string& truth, bool force, ProgressStyle progressStyle) {
  CheckOutput(out, force);
  if (!truth.empty()) CheckOutput(truth, force);
  Progress progress(progressStyle, progressStream(progressStyle), "Drawing", sampleFrames);
  WriteSampleClip(out, truth, [&](int frames) {
    progress.update(frames);
    return !Interrupted();
  });
  return kDone;
}

}  // namespace film
