#include "film/SampleClip.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "film/Failure.h"
#include "film/MovieWriter.h"
#include "film/SampleMotion.h"
#include "film/SampleScene.h"
#include "film/SampleSound.h"
#include "numerics/Parallel.h"

namespace film {
namespace {

constexpr int ticksAFrame = 512;

ClipContents sampleContents() {
  ClipContents contents;
  contents.format.width = sampleWidth;
  contents.format.height = sampleHeight;
  contents.format.pixelFormat = AV_PIX_FMT_YUV420P;
  contents.format.range = AVCOL_RANGE_MPEG;
  contents.format.primaries = AVCOL_PRI_BT709;
  contents.format.transfer = AVCOL_TRC_BT709;
  contents.format.matrix = AVCOL_SPC_BT709;
  contents.format.siting = AVCHROMA_LOC_LEFT;
  contents.format.sampleAspect = {1, 1};
  contents.planes = *PlaneFormatOf(contents.format);
  contents.frameRate = {sampleRate, 1};
  contents.identity = {sampleWidth, sampleHeight, sampleFrames, 1, sampleRate * ticksAFrame, "", ""};
  return contents;
}

EncoderOptions sampleEncoder() {
  EncoderOptions options;
  options.crf = 16.0;
  options.preset = "veryfast";
  options.threads = 2;  // a fixed number: the encoder's decisions depend on it
  options.exact = true;
  return options;
}

void filmFrame(const SampleScene& scene, const SamplePose& pose, FloatPicture* picture) {
  const double c = std::cos(pose.roll) / pose.zoom, s = std::sin(pose.roll) / pose.zoom;
  Vorn::ApplyInParallel(sampleHeight, [&](int row) {
    float* argb = picture->samples.data() + static_cast<size_t>(row) * sampleWidth * 4;
    const double y = row - sampleCentreY;
    for (int column = 0; column < sampleWidth; ++column, argb += 4) {
      const double x = column - sampleCentreX;
      const SampleScene::Colour colour = scene.at(pose.x + c * x + s * y, pose.y - s * x + c * y);
      argb[0] = 1.0f;
      argb[1] = colour.r;
      argb[2] = colour.g;
      argb[3] = colour.b;
    }
  });
}

std::string truthText() {
  nlohmann::ordered_json truth;
  truth["width"] = sampleWidth;
  truth["height"] = sampleHeight;
  truth["fps"] = sampleRate;
  truth["frames"] = sampleFrames;
  truth["origin"] = {sampleCentreX, sampleCentreY};
  truth["cut"] = nullptr;
  for (int frame = 0; frame < sampleFrames; ++frame) {
    truth["motion"].push_back(SampleMotionAt(frame, true));
    truth["intended"].push_back(SampleMotionAt(frame, false));
  }
  return truth.dump(1) + "\n";
}

}  // namespace

void WriteSampleClip(const std::string& path, const std::string& truthPath,
                     const std::function<bool(int frames)>& progress) {
  MovieWriter movie(path, sampleContents(), MovieSpan{}, sampleEncoder());
  SampleSound(movie).write(static_cast<double>(sampleFrames) / sampleRate);
  const SampleScene scene;
  PicturePool pool(sampleWidth, sampleHeight);
  for (int frame = 0; frame < sampleFrames; ++frame) {
    SharedPicture picture = pool.take();
    filmFrame(scene, SamplePoseAt(frame, true), picture.get());
    picture->time = static_cast<std::int64_t>(frame) * ticksAFrame;
    picture->duration = ticksAFrame;
    movie.write(std::move(picture));
    if (progress && !progress(frame + 1)) throw Failure("cancelled", kCancelled);
  }
  movie.finish();
  if (!truthPath.empty()) OutputFile::write(truthPath, truthText());
}

}  // namespace film
