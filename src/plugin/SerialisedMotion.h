#pragma once

#include <memory>
#include <vector>

#include "analysis/HomographySet.h"
#include "analysis/MotionConfidenceSet.h"
#include "plugin/KeyedCoder.h"

/// The measured motion of a clip as the host's project keeps it: stored parameter 101.
///
/// Matrices are narrowed to single precision by the coder, and of a quasi-affine matrix only the four numbers of a
/// similarity are kept, so that a reloaded motion isn't bit-equal to the fresh one.
class SerialisedMotion : public KeyedCodable {
 public:
  SerialisedMotion() = default;
  explicit SerialisedMotion(const KeyedCoder& coder);

  void encodeWithCoder(KeyedCoder& coder) const override;
  std::shared_ptr<const KeyedCodable> decodedWithCoder(const KeyedCoder& coder) const override;

  const Vorn::HomographySet* getMotion() const { return &motion; }
  const Vorn::HomographySet* getQAMotion() const { return &quasiAffineMotion; }
  const MotionConfidenceSet* getConfidence() const { return &confidence; }
  /// Copies the three sets; `rotation` is the quasi-affine motion.
  void setMotion(const Vorn::HomographySet& motion, const Vorn::HomographySet& rotation,
                 const MotionConfidenceSet& confidence);

  /// Pixels of the analysed frames.
  void getAnalysisWidth(int* width, int* height) const;
  void setAnalysisWidth(int width, int height);

 private:
  void decodeSpan(const KeyedCoder& coder, const std::vector<Vorn::Range>& ranges);
  void decodeFrame(const KeyedCoder& coder, int frame);

  Vorn::HomographySet motion;
  Vorn::HomographySet quasiAffineMotion;
  MotionConfidenceSet confidence;
  int width = 0, height = 0;
};
