#include <cerrno>
#include <functional>

#include "film/Commands.h"
#include "film/MemoryFile.h"
#include "film/OutputFile.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedMotion.h"

namespace film {
namespace {

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

}  // namespace

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

}  // namespace film
