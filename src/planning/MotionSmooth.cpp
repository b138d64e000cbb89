#include "planning/MotionSmooth.h"

#include <algorithm>
#include <cmath>
#include <iostream>

using Vorn::HomographySet;
using Vorn::Matrix;

namespace {

constexpr int outlierRun = 4;  // so many frames on either side must all differ from a jolt

Matrix Zero() {
  Matrix m(3, 3);
  m.Clear();
  return m;
}

void AddWeighted(const Matrix& m, double weight, Matrix& sum) {
  for (int k = 0; k < 9; ++k) sum.data[k] += m.data[k] * weight;
}

/// Clears `out` and gives it what the frames of `in` are about.
void StartOutput(const HomographySet& in, HomographySet& out) {
  out.Clear();
  out.originLocation = in.originLocation;
  out.SetRanges(in.range);
}

/// The frame scaled so that its element (2,2) is 1; the identity and false where the set has none.
bool NormalisedFrame(const HomographySet& in, int frame, Matrix& m) {
  const bool found = in.Get(frame, m);
  m = m / m(2, 2);
  return found;
}

/// A frame outside the stretch, mirrored at its ends without repeating the end frame, as often as it takes.
int Mirrored(int frame, int first, int last) {
  if (first == last) return first;
  while (frame < first || frame > last) frame = frame < first ? 2 * first - frame : 2 * last - frame;
  return frame;
}

/// Whether two motions agree in translation, rotation with scale, and perspective.
bool AreSimilar(const Matrix& a, const Matrix& b) {
  constexpr double linear = 0.20000000298023224, translation = 40.0, perspective = 0.05000000074505806;
  constexpr double limits[8] = {linear, linear, translation, linear, linear, translation, perspective, perspective};
  for (int k = 0; k < 8; ++k)
    if (std::fabs(a.data[k] - b.data[k]) > limits[k]) return false;
  return true;
}

/// How many frames from `frame` in steps of `step` differ from it before the first of at most `reach` that doesn't.
int UnlikeRun(const HomographySet& in, int frame, int step, int reach) {
  Matrix own, other;
  in.Get(frame, own);
  int count = 0;
  while (count < reach) {
    in.Get(frame + (count + 1) * step, other);
    if (AreSimilar(own, other)) break;
    ++count;
  }
  return count;
}

}  // namespace

void MotionSmooth::SetSigma(double newSigma) {
  sigma = newSigma;
  kernel.clear();
}

bool MotionSmooth::Smooth(const HomographySet& in, MotionSmoothingType type, HomographySet& out) {
  return Smooth(in, type, out, in.start, in.end);
}

bool MotionSmooth::Smooth(const HomographySet& in, MotionSmoothingType type, HomographySet& out, int first, int last) {
  if (first < in.start || last > in.end) {
    std::cerr << "Smoothing: invalid range\n";
    return false;
  }
  HomographySet normalised, repaired;
  Matrix m;
  for (int frame = first; frame <= last; ++frame) {
    NormalisedFrame(in, frame, m);
    normalised.Set(frame, m);
  }
  StartOutput(in, out);
  if (!robust) return apply(normalised, type, first, last, out);
  robustPreFilter(normalised, first, last, repaired);
  return apply(repaired, type, first, last, out);
}

bool MotionSmooth::Smooth(const HomographySet& in, MotionSmoothingType type, HomographySet& out,
                          const std::vector<MotionInterval>& intervals) {
  StartOutput(in, out);
  if (intervals.empty()) return false;

  int lowest = intervals.front().begin_frame, highest = intervals.front().end_frame;
  for (const MotionInterval& interval : intervals) {
    lowest = std::min(lowest, interval.begin_frame);
    highest = std::max(highest, interval.end_frame);
  }
  HomographySet normalised;
  Matrix m;
  for (int frame = lowest; frame <= highest; ++frame) {
    if (!NormalisedFrame(in, frame, m)) return false;
    normalised.Set(frame, m);
  }

  // The first interval only opens a run: a broken one leaves its frames to the caller. Meant.
  int first = intervals.front().begin_frame, last = intervals.front().end_frame;
  bool open = intervals.front().motion_type != MotionBroken;
  for (size_t i = 1; i < intervals.size(); ++i) {
    const MotionInterval& interval = intervals[i];
    if (interval.motion_type == MotionBroken) {
      if (open) filter(normalised, type, first, last, out);
      open = false;
      for (int frame = interval.begin_frame; frame <= interval.end_frame; ++frame)
        out.Set(frame, Matrix::GetIdentity(3));
    } else {
      if (!open) first = interval.begin_frame;
      last = interval.end_frame;
      open = true;
    }
  }
  if (open) filter(normalised, type, first, last, out);
  return true;
}

void MotionSmooth::filter(const HomographySet& normalised, MotionSmoothingType type, int first, int last,
                          HomographySet& out) {
  const bool filters = type == GaussSmoothing || type == GaussInverseSmoothing;  // a copy is not repaired
  if (robust && filters) {
    HomographySet repaired;
    robustPreFilter(normalised, first, last, repaired);
    apply(repaired, type, first, last, out);
  } else {
    apply(normalised, type, first, last, out);
  }
}

bool MotionSmooth::apply(const HomographySet& in, MotionSmoothingType type, int first, int last, HomographySet& out) {
  if (type == GaussSmoothing) return gaussFilter(in, first, last, strength, out);
  if (type == GaussInverseSmoothing) return gaussInverseFilter(in, first, last, strength, out);
  return copyFilter(in, first, last, out);
}

void MotionSmooth::computeGaussKernel(double width) {
  const int half = static_cast<int>(3.0 * width);
  kernel.resize(2 * half + 1);
  double sum = 0.0;
  for (int k = 0; k <= 2 * half; ++k) {
    const double distance = k - half;
    kernel[k] = std::exp(-(distance * distance) / (2.0 * width * width));
    sum += kernel[k];
  }
  for (double& value : kernel) value /= sum;
}

bool MotionSmooth::copyFirstFrame(const HomographySet& in, int first, HomographySet& out) const {
  const Matrix* m = nullptr;
  if (!in.Get(first, m)) return false;
  out.Set(first, *m);
  return true;
}

bool MotionSmooth::gaussFilter(const HomographySet& in, int first, int last, float mix, HomographySet& out) {
  if (kernel.empty()) computeGaussKernel(sigma);
  if (!filterFirstFrame && !copyFirstFrame(in, first, out)) return false;
  for (int frame = filterFirstFrame ? first : first + 1; frame <= last; ++frame) {
    Matrix sum = Zero();
    if (!weightedMean(in, frame, first, last, sum)) return false;
    if (mix != 1.0f) {
      const Matrix* own = nullptr;
      if (!in.Get(frame, own)) return false;
      sum = sum * static_cast<double>(mix) + *own * static_cast<double>(1.0f - mix);
    }
    out.Set(frame, sum);
  }
  return true;
}

bool MotionSmooth::weightedMean(const HomographySet& in, int frame, int first, int last, Matrix& sum) const {
  const int half = static_cast<int>(3.0 * sigma);
  for (int k = 0; k <= 2 * half; ++k) {
    const Matrix* m = nullptr;
    if (!in.Get(Mirrored(frame - half + k, first, last), m)) return false;
    AddWeighted(*m, tap(k), sum);
  }
  return true;
}

bool MotionSmooth::gaussInverseFilter(const HomographySet& in, int first, int last, float mix, HomographySet& out) {
  if (kernel.empty()) computeGaussKernel(sigma);
  if (!filterFirstFrame && !copyFirstFrame(in, first, out)) return false;
  for (int frame = filterFirstFrame ? first : first + 1; frame <= last; ++frame) {
    const Matrix* own = nullptr;
    if (!in.Get(frame, own)) return false;
    Matrix sum = Zero();
    AddWeighted(*own, tap(static_cast<int>(3.0 * sigma)), sum);
    if (!weightedAccumulatedMean(in, frame, first, sum)) return false;
    if (mix != 1.0f) sum = sum * static_cast<double>(mix) + *own * static_cast<double>(1.0f - mix);
    out.Set(frame, sum);
  }
  return true;
}

/// Adds the motions accumulated back and forth from the frame. Beyond the set's end `Get` gives the identity.
bool MotionSmooth::weightedAccumulatedMean(const HomographySet& in, int frame, int first, Matrix& sum) const {
  const int half = static_cast<int>(3.0 * sigma);
  Matrix m, product = Matrix::GetIdentity(3);
  for (int j = 1; j <= half; ++j) {
    int back = frame - j + 1;
    if (back < first) back = 2 * first - back;
    in.Get(back, m);
    product = product * m;
    Matrix inverse = product;
    if (!inverse.Inverse()) {
      std::cerr << "Error: Smoothing couldn't invert matrix\n";
      return false;
    }
    AddWeighted(inverse, tap(half - j), sum);
  }
  product = Matrix::GetIdentity(3);
  for (int j = 1; j <= half; ++j) {
    in.Get(frame + j, m);
    product = m * product;
    AddWeighted(product, tap(half + j), sum);
  }
  return true;
}

bool MotionSmooth::copyFilter(const HomographySet& in, int first, int last, HomographySet& out) const {
  for (int frame = first; frame <= last; ++frame) {
    const Matrix* m = nullptr;
    if (!in.Get(frame, m)) return false;
    if (out.Index(frame) < 0) out.Set(frame, *m);
  }
  return true;
}

void MotionSmooth::robustPreFilter(const HomographySet& in, int first, int last, HomographySet& out) const {
  std::vector<int> outliers;
  for (int frame = first + 1; frame < last; ++frame)
    if (isOutlier(in, frame, last)) outliers.push_back(frame);
  out = in;
  for (const int frame : outliers) fixOutlierHomography(frame, 0, last, out);
}

bool MotionSmooth::isOutlier(const HomographySet& in, int frame, int last) const {
  const int window = static_cast<int>(sigma);
  // Limited by the frame's number and not by the stretch's start: a late stretch looks at frames before it. Meant.
  const int back = std::min(frame, window);
  const int ahead = frame + window < last ? window : last - frame;
  if (back < outlierRun || ahead < outlierRun) return false;  // such a run can't be reached
  return UnlikeRun(in, frame, -1, back) >= outlierRun && UnlikeRun(in, frame, 1, ahead) >= outlierRun;
}

void MotionSmooth::fixOutlierHomography(int frame, int /*unused*/, int last, HomographySet& set) const {
  if (frame >= last) return;
  Matrix jolt, next;
  set.Get(frame, jolt);
  set.Get(frame + 1, next);
  const Matrix shared = Matrix::GetIdentity(3) * 0.5 + (next * jolt) * 0.5;
  set.Set(frame, shared);
  set.Set(frame + 1, shared);
}
