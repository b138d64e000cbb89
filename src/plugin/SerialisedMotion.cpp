#include "plugin/SerialisedMotion.h"

#include <algorithm>

#include "plugin/KeyedFormat.h"

using Vorn::HomographySet;
using Vorn::Matrix;
using Vorn::Range;

namespace {

/// The entries of a similarity that are kept; the two others follow from them.
constexpr int quasiAffineEntries[4][2] = {{0, 0}, {1, 0}, {0, 2}, {1, 2}};

std::string MotionKey(int frame, int entry) { return IndexedKey("frame", frame) + IndexedKey("h", entry); }
std::string QuasiAffineKey(int frame, int entry) { return IndexedKey("qa", frame) + IndexedKey("q", entry); }

void EncodeFrame(const HomographySet& motion, const HomographySet& quasiAffine, int frame, KeyedCoder& coder) {
  Matrix m;
  motion.Get(frame, m);
  for (int k = 0; k < 9; ++k) coder.encodeFloat(static_cast<float>(m(k / 3, k % 3)), MotionKey(frame, k));
  quasiAffine.Get(frame, m);
  for (int k = 0; k < 4; ++k) {
    const auto [row, column] = quasiAffineEntries[k];
    coder.encodeFloat(static_cast<float>(m(row, column)), QuasiAffineKey(frame, k));
  }
}

Matrix Similarity(double q0, double q1, double q2, double q3) {
  Matrix m(3, 3);
  m(0, 0) = q0, m(0, 1) = -q1, m(0, 2) = q2;
  m(1, 0) = q1, m(1, 1) = q0, m(1, 2) = q3;
  m(2, 0) = 0.0, m(2, 1) = 0.0, m(2, 2) = 1.0;
  return m;
}

void EncodeConfidence(const MotionConfidenceSet& confidence, KeyedCoder& coder) {
  coder.encodeInteger(confidence.start, "conf_start");
  coder.encodeInteger(confidence.end, "conf_end");
  if (confidence.number == 0) return;  // the frame -1 of an empty set is no frame
  for (int frame = confidence.start; frame <= confidence.end; ++frame)
    coder.encodeFloat(confidence.Get(frame), IndexedKey("conf_val", frame));
}

void DecodeConfidence(const KeyedCoder& coder, MotionConfidenceSet& confidence) {
  const long first = coder.decodeIntegerForKey("conf_start"), last = coder.decodeIntegerForKey("conf_end");
  const bool isEmpty = first == -1 && last == -1;
  if (isEmpty || !IsSpanOfFrames(first, last, coder.numberOfValues())) return;  // turned round, or damaged
  for (int frame = static_cast<int>(first); frame <= last; ++frame)
    confidence.Set(frame, coder.decodeFloatForKey(IndexedKey("conf_val", frame)));
}

}  // namespace

SerialisedMotion::SerialisedMotion(const KeyedCoder& coder) {
  width = static_cast<int>(coder.decodeIntegerForKey("width"));
  height = static_cast<int>(coder.decodeIntegerForKey("height"));
  const std::vector<Range> ranges = DecodeRanges(coder);
  decodeSpan(coder, ranges);
  for (const Range& range : ranges) motion.AppendRange(range.first, range.last);
  quasiAffineMotion.SetRanges(motion.range);
  for (const Range& range : ranges)
    for (int frame = range.first; frame <= range.last; ++frame) decodeFrame(coder, frame);
  DecodeConfidence(coder, confidence);
}

void SerialisedMotion::encodeWithCoder(KeyedCoder& coder) const {
  coder.encodeInteger(width, "width");
  coder.encodeInteger(height, "height");
  coder.encodeInteger(motion.start, "start");
  coder.encodeInteger(motion.end, "end");
  EncodeRanges(motion.range, coder);
  for (const Range& range : motion.range.data)
    for (int frame = range.first; frame <= range.last; ++frame) EncodeFrame(motion, quasiAffineMotion, frame, coder);
  EncodeConfidence(confidence, coder);
}

std::shared_ptr<const KeyedCodable> SerialisedMotion::decodedWithCoder(const KeyedCoder& coder) const {
  return std::make_shared<SerialisedMotion>(coder);
}

/// Takes the stored `start` and `end`, unless they ask planning to walk more frames than the archive can have.
void SerialisedMotion::decodeSpan(const KeyedCoder& coder, const std::vector<Range>& ranges) {
  const long start = coder.decodeIntegerForKey("start"), end = coder.decodeIntegerForKey("end");
  long lowest = start, highest = end;
  for (const Range& range : ranges) {
    lowest = std::min<long>(lowest, range.first);
    highest = std::max<long>(highest, range.last);
  }
  if (start > end || !IsSpanOfFrames(lowest, highest, MostFramesOf(coder))) return;
  motion.start = quasiAffineMotion.start = static_cast<int>(start);
  motion.end = quasiAffineMotion.end = static_cast<int>(end);
}

void SerialisedMotion::decodeFrame(const KeyedCoder& coder, int frame) {
  Matrix m(3, 3);
  for (int k = 0; k < 9; ++k) m(k / 3, k % 3) = coder.decodeFloatForKey(MotionKey(frame, k));
  motion.Set(frame, m);
  const auto q = [&](int k) { return static_cast<double>(coder.decodeFloatForKey(QuasiAffineKey(frame, k))); };
  quasiAffineMotion.Set(frame, Similarity(q(0), q(1), q(2), q(3)));
}

void SerialisedMotion::setMotion(const HomographySet& newMotion, const HomographySet& rotation,
                                 const MotionConfidenceSet& newConfidence) {
  motion = newMotion;
  quasiAffineMotion = rotation;
  confidence = newConfidence;
}

void SerialisedMotion::getAnalysisWidth(int* analysisWidth, int* analysisHeight) const {
  *analysisWidth = width;
  *analysisHeight = height;
}

void SerialisedMotion::setAnalysisWidth(int analysisWidth, int analysisHeight) {
  width = analysisWidth;
  height = analysisHeight;
}
