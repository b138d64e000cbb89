// Times each stage of a 1920x1080 frame's road on one processor and on all, after checking that both give the same
// result. The best of five runs counts, since noise only adds time; the ratio is what compares between machines.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <list>
#include <memory>
#include <vector>

#include "analysis/FrameLuma.h"
#include "analysis/TrackerEstimator.h"
#include "imaging/ArrayPyramid.h"
#include "imaging/FastArray.h"
#include "imaging/Sobel.h"
#include "numerics/Log.h"
#include "numerics/Parallel.h"
#include "numerics/Random.h"
#include "plugin/FxPlug.h"
#include "rendering/OutputRenderer.h"
#include "rendering/VideoCompleter.h"
#include "tracking/KLTTracker.h"

using namespace Vorn;

namespace {

constexpr int width = 1920, height = 1080, rowBytes = width * 16, levels = 5, clipFrames = 12;

double ShakeX(int frame) { return 4.0 * std::sin(frame * 1.9) + 2.0 * std::cos(frame * 0.8); }
double ShakeY(int frame) { return 3.0 * std::cos(frame * 1.4); }

/// Texture with corners everywhere and detail at all sizes, 0 to 1.
float Scene(double x, double y) {
  double value = 0.5;
  for (const double scale : {5.0, 9.0, 17.0, 41.0})
    value += 0.06 * std::sin(x / scale + 0.7 * std::sin(y / (scale * 3.1))) +
             0.06 * std::cos(y / (scale * 0.9) + 0.6 * std::cos(x / (scale * 2.7)));
  return static_cast<float>(value);
}

std::vector<float> Frame(int number) {
  std::vector<float> pixels(static_cast<size_t>(width) * height * 4);
  ApplyInParallel(height, [&](int y) {
    float* pixel = &pixels[static_cast<size_t>(y) * width * 4];
    for (int x = 0; x < width; ++x, pixel += 4) {
      pixel[0] = 1.0f;
      pixel[1] = pixel[2] = pixel[3] = Scene(x - ShakeX(number), y - ShakeY(number));
    }
  });
  return pixels;
}

std::uint64_t Hash(const void* data, size_t bytes, std::uint64_t seed = 1469598103934665603u) {
  const auto* byte = static_cast<const unsigned char*>(data);
  for (size_t i = 0; i < bytes; ++i) seed = (seed ^ byte[i]) * 1099511628211u;
  return seed;
}

std::uint64_t Hash(const FastArray& array) {
  std::uint64_t hash = 1469598103934665603u;
  for (int y = 0; y < array.height; ++y)
    hash = Hash(array.data + static_cast<size_t>(y) * array.stride, static_cast<size_t>(array.width) * sizeof(float),
                hash);
  return hash;
}

struct Timing {
  double ms = 1e30;
  std::uint64_t hash = 0;
};

/// `work` returns the hash of its result.
Timing BestOfFive(int processors, const std::function<void()>& work, const std::function<std::uint64_t()>& result) {
  SetProcessorCount(processors);
  Timing best;
  for (int run = 0; run < 5; ++run) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
    best.ms = std::min(best.ms, elapsed.count());
  }
  best.hash = result();
  return best;
}

bool Report(const char* stage, const std::function<void()>& work, const std::function<std::uint64_t()>& result) {
  const int processors = StripeCountFor(width, height);
  const Timing one = BestOfFive(1, work, result), all = BestOfFive(processors, work, result);
  std::printf("%-34s %8.2f ms on 1, %8.2f ms on %d, speed-up %.2f\n", stage, one.ms, all.ms, processors,
              one.ms / all.ms);
  if (one.hash == all.hash) return true;
  std::printf("  the processor count changes the result\n");
  return false;
}

bool Pictures(const std::vector<float>& frame) {
  FastArray luma(width, height), gradient(width, height);
  bool same = Report(
      "luma", [&] { LumaFromARGBSF(frame.data(), rowBytes, false, luma); }, [&] { return Hash(luma); });
  ArrayPyramid pyramid(luma, levels, true);
  same &= Report(
      "pyramid, 5 levels", [&] { pyramid.Generate(luma, true); }, [&] { return Hash(pyramid[levels - 1]); });
  same &= Report(
      "gradient, one axis", [&] { Sobel().Filter(luma, gradient, 0, 1.0); }, [&] { return Hash(gradient); });
  return same;
}

std::uint64_t Hash(const std::list<Point2D>& points) {
  std::uint64_t hash = 1469598103934665603u;
  for (const Point2D& point : points) {
    const double place[2] = {point.x, point.y};
    hash = Hash(place, sizeof place, hash);
  }
  return hash;
}

bool Tracking(const std::vector<float>& first, const std::vector<float>& second) {
  FastArray luma[2] = {FastArray(width, height), FastArray(width, height)};
  LumaFromARGBSF(first.data(), rowBytes, false, luma[0]);
  LumaFromARGBSF(second.data(), rowBytes, false, luma[1]);
  ArrayPyramid previous(luma[0], levels, true), current(luma[1], levels, true);
  std::list<Point2D> points;
  std::vector<FeatureStorage::TrackStatus> statuses;
  const auto start = [&](KLTTracker& tracker) {
    tracker.SetOptions(4608, 15, levels, 200.0f, 80, false);
    tracker.Initialise(width, height);
    points.clear();
    statuses.clear();
    tracker.Start(previous, points, statuses, false);
  };
  KLTTracker detector;
  bool same = Report(
      "corner selection", [&] { start(detector); }, [&] { return Hash(points); });

  KLTTracker tracker;
  const Matrix still = Matrix::GetIdentity(3);
  const int processors = StripeCountFor(width, height);
  for (const bool verify : {false, true}) {
    double best[2] = {1e30, 1e30};
    std::uint64_t hash[2];
    for (const int all : {0, 1})
      for (int run = 0; run < 5; ++run) {
        SetProcessorCount(all ? processors : 1);
        start(tracker);
        const auto begin = std::chrono::steady_clock::now();
        tracker.Track(current, previous, still, points, statuses, verify, true);
        const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
        best[all] = std::min(best[all], elapsed.count());
        hash[all] = Hash(points);
      }
    std::printf("%-34s %8.2f ms on 1, %8.2f ms on %d, speed-up %.2f  (%zu features)\n",
                verify ? "tracking, all verified" : "tracking, doubtful ones verified", best[0], best[1], processors,
                best[0] / best[1], points.size());
    same &= hash[0] == hash[1];
  }
  return same;
}

/// The whole analysis of one frame, as the plug-in drives it.
void Analysis(const std::vector<std::vector<float>>& clip) {
  for (const int processors : {1, StripeCountFor(width, height)}) {
    SetProcessorCount(processors);
    SetRandomSeed(1);
    TrackerEstimator estimator;
    estimator.setFBPolicy(3, 5);
    estimator.setRange(0, clipFrames - 1);
    estimator.setAxesInverted(false);
    estimator.setAnalysisWidth(width, height);
    estimator.setTrackOptionsWindow(15, -1, 200.0f, 80, 0.2f, 25);
    estimator.setMotionOptions(false, true, 5, 2.0f);
    double total = 0.0, worst = 0.0;
    for (int frame = 0; frame < clipFrames; ++frame) {
      const auto begin = std::chrono::steady_clock::now();
      estimator.processFrame(frame, 0, clip[frame].data(), width, height, rowBytes);
      const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
      if (frame == 0) continue;
      total += elapsed.count();
      worst = std::max(worst, elapsed.count());
    }
    std::printf("%-34s %8.2f ms a frame on %d, worst %.2f ms\n", "analysis, whole frame", total / (clipFrames - 1),
                processors, worst);
  }
}

bool Rendering(std::vector<float> frame) {
  std::vector<float> output(frame.size());
  HomographySet motion;
  Matrix turn = Matrix::GetIdentity(3);
  turn(0, 0) = turn(1, 1) = std::cos(0.01);
  turn(1, 0) = std::sin(0.01);
  turn(0, 1) = -turn(1, 0);
  turn(0, 2) = 7.3;
  motion.Set(0, turn);
  motion.AppendRange(0, 0);
  OutputRenderer renderer;
  renderer.setWidth(width, height);
  renderer.setInvertedAxes(false);
  renderer.setCompensatingMotion(motion);
  const Rectangle border(60, 40, 1859, 1039);
  bool same = true;
  for (const bool highQuality : {false, true}) {
    renderer.setHighQuality(highQuality);
    renderer.setBorder(&border);
    same &= Report(
        highQuality ? "render, Zoom, Lanczos" : "render, Zoom",
        [&] {
          renderer.processFrame(0.0f, 0, frame.data(), output.data(), width, height, rowBytes, width, height, rowBytes);
        },
        [&] { return Hash(output.data(), output.size() * sizeof(float)); });
  }
  return same;
}

constexpr double panSpeed = 30.0;  // pixels a frame

/// A frame of a camera that pans, as an image that its host keeps.
class PannedImage : public FxImage {
 public:
  explicit PannedImage(std::vector<float>& samples) : pixels(samples) {}
  int imageType() const override { return bitmapType; }
  FxImageInfo imageInfo() const override { return {}; }
  void* dataPtr() const override { return pixels.data(); }
  int rowBytes() const override { return ::rowBytes; }
  int width() const override { return ::width; }
  int height() const override { return ::height; }
  int field() const override { return 0; }
  bool isLasting() const override { return true; }

 private:
  std::vector<float>& pixels;
};

class PannedClip : public FxTemporalImageAPI {
 public:
  explicit PannedClip(std::vector<std::vector<float>>& panned) : frames(panned) {}
  bool getSourceBitmap(std::unique_ptr<FxImage>*, const FxRenderInfo&, double) override { return false; }
  bool getInputBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo&, double atTime) override {
    *bitmap = std::make_unique<PannedImage>(frames[static_cast<size_t>(atTime)]);
    return true;
  }

 private:
  std::vector<std::vector<float>>& frames;
};

/// A frame of which the correction leaves 8% empty, two thirds of that to be borrowed and the rest to be grown in.
bool Completion(std::vector<std::vector<float>>& clip) {
  const int middle = clipFrames / 2;
  HomographySet motion, correction;
  Matrix step = Matrix::GetIdentity(3), shift = step;
  for (int frame = 0; frame < clipFrames; ++frame) {
    ApplyInParallel(height, [&](int y) {
      float* pixel = &clip[frame][static_cast<size_t>(y) * width * 4];
      for (int x = 0; x < width; ++x, pixel += 4) pixel[1] = pixel[2] = pixel[3] = Scene(x + panSpeed * frame, y);
    });
    step(0, 2) = frame == 0 ? 0.0 : -panSpeed;
    motion.Set(frame, step);
  }
  motion.AppendRange(0, clipFrames - 1);
  shift(0, 2) = 104.3;
  shift(1, 2) = 28.6;
  correction.Set(middle, shift);
  PannedClip host(clip);
  VideoCompleter completer{FxRenderInfo{}};
  completer.setSequence(&host);
  completer.setSequenceLength(clipFrames);
  completer.setAnalysisWidth(width, height);
  completer.setGlobalMotion(motion);
  OutputRenderer renderer;
  renderer.setWidth(width, height);
  renderer.setInvertedAxes(false);
  renderer.setRenderMode(RenderComplete);
  renderer.setCompleter(&completer);
  renderer.setCompensatingMotion(correction);
  renderer.setGoodFrames({0u, static_cast<unsigned>(clipFrames - 1)});
  const Rectangle border(0, 0, width - 1, height - 1);
  renderer.setBorder(&border);
  std::vector<float> output(clip[middle].size());
  const bool same = Report(
      "render, Complete, 8% empty",
      [&] {
        renderer.processFrame(static_cast<float>(middle), 0, clip[middle].data(), output.data(), width, height,
                              rowBytes, width, height, rowBytes);
      },
      [&] { return Hash(output.data(), output.size() * sizeof(float)); });
  std::printf("  %.1f%% were empty, of which %.1f%% were borrowed\n",
              100.0 * completer.completable / (static_cast<double>(width) * height),
              100.0 * completer.completed / std::max(completer.completable, 1));
  return same;
}

}  // namespace

int main() {
  SetLogSink([](const std::string&) {});
  std::vector<std::vector<float>> clip;
  clip.reserve(clipFrames);
  for (int frame = 0; frame < clipFrames; ++frame) clip.push_back(Frame(frame));
  std::printf("One frame of 1920x1080, best of five:\n");
  bool same = Pictures(clip[0]);
  same &= Tracking(clip[0], clip[1]);
  Analysis(clip);
  same &= Rendering(clip[0]);
  same &= Completion(clip);
  return same ? 0 : 1;
}
