#include "rendering/VideoCompleter.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "numerics/Geometry.h"
#include "numerics/Log.h"
#include "numerics/Parallel.h"
#include "numerics/SVD.h"
#include "rendering/ParallelBackProjectComplete.h"

using Vorn::HomographySet;
using Vorn::Image;
using Vorn::Matrix;
using Vorn::PixelARGBSF;

namespace {

constexpr int kSmallestSide = 160;  // pixels: smaller frames are left to the other ways
constexpr int kCoverageCapacity = 100;
constexpr double kSeparation = 10.0;  // pixels

Matrix Scale(double x, double y) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 0) = x;
  m(1, 1) = y;
  return m;
}

Matrix InverseOf(const Matrix& m) { return Vorn::SVD(m, false).Inverse(); }

void ScaleMotion(HomographySet& motion, const Matrix& scale, const Matrix& back) {
  for (Vorn::HomographyFrame& entry : motion.hset) entry.matrix = scale * entry.matrix * back;
}

}  // namespace

VideoCompleter::VideoCompleter(const FxRenderInfo& info)
    : enableAGC(true),
      renderInfo(info),
      selfLocking(true),
      extent(100),
      neighbourHood(15),
      doMosaic(true),
      transferPrevious(true),
      expaint(true),
      previousFrameCompleted(-10000),
      maxCacheSize_(50),
      renderMode_(CompleteNearest) {}

void VideoCompleter::setAnalysisWidth(int width, int height) {
  analysisWide = width;
  analysisHigh = height;
}

void VideoCompleter::setOutputTransform(Matrix* transform) {
  scaled = true;
  Hf2m = InverseOf(*transform);
}

void VideoCompleter::setGains(const AGCStorage* gains, int start) {
  frameGains = gains->GetGains();
  gainStart = start;
}

bool VideoCompleter::loadGains(const char* path) {
  AGCStorage gains;
  if (!gains.Load(path)) {
    Vorn::Log("Failed to load gains");
    return false;
  }
  setGains(&gains, gains.GetStart());
  return true;
}

float VideoCompleter::gain(int frame, int ref) const {
  if (frameGains.empty()) return 1.0f;
  const auto of = [this](int f) {
    const long position = static_cast<long>(f) - gainStart;
    return position >= 0 && position < static_cast<long>(frameGains.size()) ? frameGains[position] : 1.0f;
  };
  return of(ref) / of(frame);
}

PixelARGBSF VideoCompleter::compensateGain(PixelARGBSF pixel, int ref, int render) const {
  return enableAGC ? compensateGain(pixel, gain(render, ref)) : pixel;
}

PixelARGBSF VideoCompleter::compensateGain(PixelARGBSF pixel, float amount) {
  const auto y = static_cast<float>(0.2126 * pixel.r + 0.7152 * pixel.g + 0.0722 * pixel.b);
  const auto cb = static_cast<float>((pixel.b - y) / 1.8556), cr = static_cast<float>((pixel.r - y) / 1.5748);
  const float luma = amount * y;
  pixel.r = static_cast<float>(cr * 1.5748 + luma);
  pixel.b = static_cast<float>(cb * 1.8556 + luma);
  pixel.g = static_cast<float>((luma - 0.2126 * pixel.r - 0.0722 * pixel.b) / 0.7152);
  return pixel;
}

bool VideoCompleter::complete(Image* image, Image* matte, Matrix* projection, int number, int low, int high,
                              Vorn::Rectangle* border) {
  srcImage = image;
  srcMatte = matte;
  Matrix toOutput = *projection;
  scaleToImage(image->GetWidth(), toOutput);
  completed = completable = 0;
  background = {};
  frameNumber = number;
  frameWidth = image->GetWidth();
  frameHeight = image->GetHeight();
  if (globalMotion.originLocation == 4) origin = Vorn::FrameCentre(frameWidth, frameHeight);
  layout = std::make_unique<Vorn::Mosaic>(frameWidth, frameHeight);

  const bool inRange = low <= number && number <= high;
  mosaicWork = inRange && frameWidth >= kSmallestSide && frameHeight >= kSmallestSide;
  bool transfer = previous && !outputMotion.hset.empty() && inRange && transferPrevious;
  bool repair = expaint;
  Hback = InverseOf(toOutput);
  Window window;
  mosaicWork = findWindow(number, low, high, window) && mosaicWork;
  if (mosaicWork && doMosaic) borrow(window, *border);

  if (completed == completable && doMosaic) transfer = repair = false;
  if (transfer && previousFrameCompleted == frameNumber - 1) transferFromPrevious();
  if (repair) expainter.Repair(*srcImage, *srcMatte, true);
  if (!outputMotion.hset.empty() && transferPrevious) keepAsPrevious();
  coverer.reset();
  layout.reset();
  previousFrameCompleted = frameNumber;
  emptyCache();
  return repair || completed == completable;
}

/// Brings the matrices from the analysed size to the image's, those of the motion sets for good.
void VideoCompleter::scaleToImage(int width, Matrix& projection) {
  const double a = analysisWide >= 1 ? static_cast<double>(width) / analysisWide : 1.0;
  if (a == 1.0) return;
  const Matrix scale = Scale(a, a), back = Scale(1.0 / a, 1.0 / a);
  Hf2m = scale * Hf2m * back;
  projection = scale * projection * back;
  ScaleMotion(globalMotion, scale, back);
  ScaleMotion(outputMotion, scale, back);
}

/// The frames that may be borrowed from; false if there are none.
bool VideoCompleter::findWindow(int number, int low, int high, Window& window) {
  const int fields = interlace_ != 0 ? 2 : 1;
  const long start = static_cast<long>(sequenceStart_) * fields, length = static_cast<long>(sequenceLength_) * fields;
  const long first = std::max(
      {static_cast<long>(number) - extent, static_cast<long>(low), start, static_cast<long>(globalMotion.start)});
  const bool within = std::labs(first - number) <= extent;
  const long last = std::min(static_cast<long>(high), static_cast<long>(number) + extent);
  long count = last < length + start ? last - first : length + start - first - 1;
  if (first + count > globalMotion.end) count = globalMotion.end - first + 1;
  if (count < 1 || maxCacheSize_ < 2) return false;
  window = {static_cast<int>(first), static_cast<int>(count)};
  fitToCache(number, window);
  if (window.first + window.count > high) window.count = high - window.first;
  neighbourHood = window.count;
  return within;
}

/// Narrows the window to what the cache holds, around the frame in hand.
void VideoCompleter::fitToCache(int number, Window& window) const {
  const int half = maxCacheSize_ / 2;
  while (window.count > maxCacheSize_) {
    const int before = number - window.first, after = window.count + window.first - number;
    if (after > half) --window.count;
    if (before > half || after <= half) ++window.first;
  }
}

/// Fills from the frames of the window.
void VideoCompleter::borrow(const Window& window, const Vorn::Rectangle& border) {
  layout->SetDuration(window.first, window.count, 1);
  HomographySet registration;
  LocalAccumulate(globalMotion, registration, window.first, window.count);
  Matrix here;
  registration.Get(frameNumber, here);
  layout->SetRegistration(registration);
  layout->ReprojectMatrices(here);
  layout->CalculateDimensions();

  coverer = std::make_unique<Vorn::Coverage>(kCoverageCapacity);
  coverer->SetMotion(&registration, frameWidth, frameHeight);
  coverer->Reproject(here);
  coverer->displayTransform = Hback;
  coverer->separation = kSeparation;
  coverer->CalculateCoverage(border, frameNumber, window.first, window.first + window.count - 1, 0.5f);
  loadCoverage();

  const int count = Vorn::ProcessorCount(), size = frameHeight / count;
  std::vector<Stripe> stripes(count);
  for (int i = 0; i < count; ++i) stripes[i] = {this, i * size, (i + 1) * size};
  Vorn::RunInParallel(stripes, [](Stripe& stripe) { CompletionWrapper(&stripe); });
}

void VideoCompleter::CompletionWrapper(void* stripe) {
  const auto* order = static_cast<const Stripe*>(stripe);
  order->completer->CompleteStripe(order->first, order->end);
}

void VideoCompleter::integrateStats(int filled, int total) {
  const std::lock_guard<std::mutex> lock(integrateStatus);
  completed += filled;
  completable += total;
}

void VideoCompleter::transferFromPrevious() {
  if (previous->GetWidth() != frameWidth || previous->GetHeight() != frameHeight) return;
  Matrix motion;
  outputMotion.Get(frameNumber, motion);
  Matrix back = motion;
  back.Inverse();
  if (invertAxes) {
    Matrix flip = Scale(1.0, -1.0);
    if (outputMotion.originLocation != 4) flip(1, 2) = frameHeight;
    back = flip * back * flip;
  }
  ParallelBackProjectComplete loop;
  loop.image = srcImage;
  loop.matte = srcMatte;
  loop.previous = previous.get();
  loop.margin = bestInterpolation_ ? 4 : 1;
  loop.matrix = back;
  loop.gain = gain(frameNumber - 1, frameNumber);  // the other way round than for borrowed pixels, by design
  loop.origin = origin;
  loop.bestInterpolation = bestInterpolation_;
  loop.enableAGC = enableAGC;
  Vorn::parallel_for(loop, 0, frameHeight);
}

void VideoCompleter::keepAsPrevious() {
  if (!previous || previous->GetWidth() != frameWidth || previous->GetHeight() != frameHeight ||
      previous->GetStride() != srcImage->GetStride())
    previous = std::make_unique<Image>(frameWidth, frameHeight, srcImage->GetStride(), Vorn::ARGBSF);
  if (!previous->valid) return previous.reset();
  const size_t rowBytes = sizeof(PixelARGBSF) * frameWidth;
  Vorn::ForEachStripe(frameHeight, [&](int first, int end) {
    for (int y = first; y < end; ++y) std::memcpy(previous->rows[y], srcImage->rows[y], rowBytes);
  });
}

void VideoCompleter::LocalAccumulate(const HomographySet& in, HomographySet& out, int first, int count) const {
  out.Clear();
  out.originLocation = in.originLocation;
  Matrix product = Matrix::GetIdentity(3);
  out.Set(first, product);
  for (int frame = first; frame < first + count; ++frame) {
    Matrix motion;
    in.Get(frame + 1, motion);
    product = product * InverseOf(motion);
    out.Set(frame + 1, product);
  }
  out.AppendRange(first, first + count);
}

void VideoCompleter::getRange(int frame, int count, const std::vector<int>& frames, int& low, int& high) const {
  if (frames.empty()) return;
  std::vector<int> sorted = frames;
  std::sort(sorted.begin(), sorted.end());
  const int size = static_cast<int>(sorted.size());
  const auto distance = [&](int i) {
    return i >= 0 && i < size ? std::abs(static_cast<std::int64_t>(frame) - sorted[i]) : std::int64_t{1000000};
  };
  int first = 0;
  std::int64_t best = 1000000;
  for (int i = 0; i < size; ++i) {
    if (distance(i) >= best) continue;
    best = distance(i);
    first = i;
  }
  int last = first;
  if (count >= 2)
    for (int step = 0; step < std::min(count, size) && (first > 0 || last < size - 1); ++step)
      first > 0 && (last == size - 1 || distance(first - 1) < distance(last + 1)) ? --first : ++last;
  low = sorted[first];
  high = sorted[last];
}
