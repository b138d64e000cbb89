#pragma once

#include <memory>

#include "plugin/KeyedCoder.h"
#include "rendering/AGCStorage.h"

/// The measured gains of a clip as the host's project keeps them: stored parameter 303.
class SerialisedAGC : public KeyedCodable {
 public:
  SerialisedAGC() = default;
  explicit SerialisedAGC(const KeyedCoder& coder);

  void encodeWithCoder(KeyedCoder& coder) const override;
  std::shared_ptr<const KeyedCodable> decodedWithCoder(const KeyedCoder& coder) const override;

  const AGCStorage* data() const { return &_agc; }
  void setData(const AGCStorage& agc);

 private:
  AGCStorage _agc;
};
