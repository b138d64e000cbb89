#pragma once

#include <memory>
#include <vector>

#include "planning/MotionInterval.h"
#include "plugin/KeyedCoder.h"

/// The events of a clip and their fits as the host's project keeps them: stored parameter 204.
/// Each axis has one fit for each event, at the same index.
class SerialisedEvents : public KeyedCodable {
 public:
  SerialisedEvents() = default;
  explicit SerialisedEvents(const KeyedCoder& coder);

  void encodeWithCoder(KeyedCoder& coder) const override;
  std::shared_ptr<const KeyedCodable> decodedWithCoder(const KeyedCoder& coder) const override;

  const std::vector<MotionInterval>* eventsX() const { return &intervalsX; }
  const std::vector<MotionInterval>* eventsY() const { return &intervalsY; }
  const std::vector<MotionFixParams>* filtersX() const { return &mfpX; }
  const std::vector<MotionFixParams>* filtersY() const { return &mfpY; }
  void setEventsX(const std::vector<MotionInterval>& eventsX, const std::vector<MotionInterval>& eventsY);
  void setFiltersX(const std::vector<MotionFixParams>& filtersX, const std::vector<MotionFixParams>& filtersY);

  /// Whether both axes have events; without them a render finds new ones.
  bool hasEvents() const { return !intervalsX.empty() && !intervalsY.empty(); }

 private:
  std::vector<MotionInterval> intervalsX, intervalsY;
  std::vector<MotionFixParams> mfpX, mfpY;
};
