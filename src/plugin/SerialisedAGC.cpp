#include "plugin/SerialisedAGC.h"

#include "plugin/KeyedFormat.h"

using Vorn::Range;

SerialisedAGC::SerialisedAGC(const KeyedCoder& coder) {
  const std::vector<Range> ranges = DecodeRanges(coder);
  for (const Range& range : ranges) _agc.AddRange(range.first, range.last);
  for (const Range& range : ranges)
    for (int frame = range.first; frame <= range.last; ++frame)
      _agc.SetGain(frame, coder.decodeFloatForKey(IndexedKey("gain", frame)));
}

void SerialisedAGC::encodeWithCoder(KeyedCoder& coder) const {
  EncodeRanges(_agc.range, coder);
  for (const Range& range : _agc.range.data)
    for (int frame = range.first; frame <= range.last; ++frame) {
      float gain = 1.0f;
      _agc.GetGain(frame, gain);
      coder.encodeFloat(gain, IndexedKey("gain", frame));
    }
}

std::shared_ptr<const KeyedCodable> SerialisedAGC::decodedWithCoder(const KeyedCoder& coder) const {
  return std::make_shared<SerialisedAGC>(coder);
}

void SerialisedAGC::setData(const AGCStorage& agc) {
  _agc.gains = agc.gains;
  _agc.range = agc.range;
  _agc.numberFrames = agc.numberFrames;
  _agc.version = agc.version;
}
