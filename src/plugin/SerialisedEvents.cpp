#include "plugin/SerialisedEvents.h"

#include <algorithm>
#include <string>

#include "plugin/KeyedFormat.h"

namespace {

/// The fields of one event on one axis; `axis` is the keys' first letter. Writing and reading are the same walk.
template <class Visitor>
void VisitEvent(char axis, int index, Visitor&& visit) {
  const auto key = [axis, index](const char* field) { return axis + IndexedKey(field, index); };
  visit.Int(key("begin_frame"), &MotionInterval::begin_frame);
  visit.Int(key("end_frame"), &MotionInterval::end_frame);
  visit.Int(key("motion_type"), &MotionInterval::motion_type);
  visit.Bool(key("cut"), &MotionInterval::cut);
  visit.Int(key("comp_type"), &MotionFixParams::comp_type);
  visit.Float(key("gradient"), &MotionFixParams::gradient);
  visit.Float(key("gradient_in"), &MotionFixParams::gradient_in);
  visit.Int(key("ease_in"), &MotionFixParams::ease_in);
  visit.Int(key("linear_period"), &MotionFixParams::linear_period);
  visit.Int(key("ease_out"), &MotionFixParams::ease_out);
  visit.Float(key("start_pos"), &MotionFixParams::start_pos);
  visit.Float(key("end_pos"), &MotionFixParams::end_pos);
}

struct EventWriter {
  KeyedCoder& coder;
  const MotionInterval& event;
  const MotionFixParams& fit;

  void Int(const std::string& key, int MotionInterval::*field) { coder.encodeInt(event.*field, key); }
  void Int(const std::string& key, int MotionFixParams::*field) { coder.encodeInt(fit.*field, key); }
  void Bool(const std::string& key, bool MotionInterval::*field) { coder.encodeBool(event.*field, key); }
  void Float(const std::string& key, float MotionFixParams::*field) {
    coder.encodeDouble(static_cast<double>(fit.*field), key);
  }
};

struct EventReader {
  const KeyedCoder& coder;
  MotionInterval& event;
  MotionFixParams& fit;

  void Int(const std::string& key, int MotionInterval::*field) { event.*field = coder.decodeIntForKey(key); }
  void Int(const std::string& key, int MotionFixParams::*field) { fit.*field = coder.decodeIntForKey(key); }
  void Bool(const std::string& key, bool MotionInterval::*field) { event.*field = coder.decodeBoolForKey(key); }
  void Float(const std::string& key, float MotionFixParams::*field) {
    fit.*field = static_cast<float>(coder.decodeDoubleForKey(key));
  }
};

void EncodeAxis(char axis, const std::vector<MotionInterval>& events, const std::vector<MotionFixParams>& fits,
                KeyedCoder& coder) {
  for (size_t i = 0; i < events.size(); ++i) {
    const MotionFixParams fit = i < fits.size() ? fits[i] : MotionFixParams{};
    VisitEvent(axis, static_cast<int>(i), EventWriter{coder, events[i], fit});
  }
}

void DecodeAxis(char axis, long count, const KeyedCoder& coder, std::vector<MotionInterval>& events,
                std::vector<MotionFixParams>& fits) {
  for (int i = 0; i < std::min(count, coder.numberOfValues()); ++i) {  // a damaged count can't run away
    MotionInterval event{};
    MotionFixParams fit{};
    VisitEvent(axis, i, EventReader{coder, event, fit});
    events.push_back(event);
    fits.push_back(fit);
  }
}

}  // namespace

SerialisedEvents::SerialisedEvents(const KeyedCoder& coder) {
  DecodeAxis('x', coder.decodeIntForKey("number_horizontal"), coder, intervalsX, mfpX);
  DecodeAxis('y', coder.decodeIntForKey("number_vertical"), coder, intervalsY, mfpY);
}

void SerialisedEvents::encodeWithCoder(KeyedCoder& coder) const {
  coder.encodeInt(static_cast<int>(intervalsX.size()), "number_horizontal");
  coder.encodeInt(static_cast<int>(intervalsY.size()), "number_vertical");
  EncodeAxis('x', intervalsX, mfpX, coder);
  EncodeAxis('y', intervalsY, mfpY, coder);
}

std::shared_ptr<const KeyedCodable> SerialisedEvents::decodedWithCoder(const KeyedCoder& coder) const {
  return std::make_shared<SerialisedEvents>(coder);
}

void SerialisedEvents::setEventsX(const std::vector<MotionInterval>& eventsX,
                                  const std::vector<MotionInterval>& eventsY) {
  intervalsX = eventsX;
  intervalsY = eventsY;
}

void SerialisedEvents::setFiltersX(const std::vector<MotionFixParams>& filtersX,
                                   const std::vector<MotionFixParams>& filtersY) {
  mfpX = filtersX;
  mfpY = filtersY;
}
