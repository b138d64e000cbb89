#include <cerrno>
#include <cstdio>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "film/Commands.h"
#include "film/Failure.h"
#include "film/FrameNumbers.h"
#include "film/MemoryFile.h"
#include "film/OutputFile.h"
#include "film/ProjectPackage.h"
#include "film/StoredFormat.h"
#include "film/Warnings.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedMotion.h"

namespace film {
namespace {

using Writer = std::function<bool(const char* path)>;

/// The library's writers don't tell of a full disk, so their bytes go through memory.
std::string bytesOf(const std::string& path, const Writer& writer) {
  const MemoryFile memory;
  if (!writer(memory.path().c_str())) FailToWrite(path, EIO);
  return memory.contents();
}

void writeWith(const std::string& path, const Writer& writer) {
  if (!path.empty()) OutputFile::write(path, bytesOf(path, writer));
}

template <class Stored>
const Stored& storedObject(Session& session, ParameterId id) {
  const auto* object = dynamic_cast<const Stored*>(session.effect().parameters().find(id)->custom.get());
  if (!object) throw Failure(session.documentPath() + ": holds no stored object " + std::to_string(id));
  return *object;
}

/// The files of a package, and the index that names them.
class PackageContents {
 public:
  explicit PackageContents(std::string packageName) : package(std::move(packageName)) {}

  void add(std::optional<std::string> ProjectFile::*path, const char* name, const Writer& writer) {
    index.*path = name;
    files.push_back({name, bytesOf(package, writer)});
  }

  ProjectFile index;
  std::vector<PackageFile> files;

 private:
  std::string package;
};

void writePackage(const std::string& package, const SerialisedMotion& motion, AGCStorage& gains,
                  const MotionProcessorFCPX& planner, bool force) {
  PackageContents contents(package);
  contents.index.sized = true;
  motion.getAnalysisWidth(&contents.index.width, &contents.index.height);
  contents.add(&ProjectFile::motion, package_names::motion,
               [&](const char* path) { return motion.getMotion()->Save(path); });
  if (!motion.getQAMotion()->hset.empty())
    contents.add(&ProjectFile::rotation, package_names::rotation,
                 [&](const char* path) { return motion.getQAMotion()->Save(path); });
  contents.add(&ProjectFile::confidence, package_names::confidence,
               [&](const char* path) { return motion.getConfidence()->Save(path); });
  contents.add(&ProjectFile::events, package_names::events, [&](const char* path) { return planner.lcf->Save(path); });
  if (!gains.gains.empty())
    contents.add(&ProjectFile::gains, package_names::gains, [&](const char* path) { return gains.Save(path); });
  WritePackage(package, contents.index, contents.files, force);
}

/// An import trusts every frame that it brings.
void tellUncertainFrames(const Session& session, const std::string& package, const MotionConfidenceSet& confidence) {
  const std::vector<int> frames = FramesOf(session.contents(), LowConfidenceNumbers(confidence));
  const ProgressStyle style = session.progressStyle();
  if (frames.empty() || (style != ProgressStyle::Bar && style != ProgressStyle::Lines)) return;
  std::fprintf(stderr, "orvane: %s: %s of low confidence will count as certain once imported\n",
               OnOneLine(package).c_str(), CountedFrames(frames).c_str());
}

}  // namespace

ExitStatus Export(const SessionOptions& options, const ExportOptions& files) {
  const std::string package = files.package.empty() ? "" : PackageName(files.package);
  for (const std::string& file :
       {files.motion, files.rotation, files.confidence, files.events, files.gains, files.compensation, files.design})
    CheckExportReplaceable(file);
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
  if (package.empty()) return kDone;
  writePackage(package, motion, gains, planner, files.force);
  tellUncertainFrames(session, package, *motion.getConfidence());
  return kDone;
}

}  // namespace film
