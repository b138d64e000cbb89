#include "analysis/MotionConfidenceSet.h"

#include <algorithm>
#include <fstream>
#include <iostream>

#include "analysis/TextRecords.h"

bool MotionConfidenceSet::Load(const char* path) {
  Clear();
  std::ifstream stream(path);
  if (!stream || !Vorn::FirstLineIs(stream, "MCONF")) return false;
  start = 100000000;  // above any frame, so that the first pair lowers it
  int frame = 0;
  for (float c = 0; stream >> frame >> c;) {
    append(frame, c);
    start = std::min(start, frame);
    end = std::max(end, frame);
  }
  if (index.empty()) {
    std::cerr << "MotionConfidenceSet::Load() - Error reading confidence indices\n";
    start = -1;
    return false;
  }
  return true;
}

bool MotionConfidenceSet::Save(const char* path) const {
  std::ofstream stream(path);
  if (!stream) return false;
  stream << "MCONF\n";
  for (size_t i = 0; i < index.size(); ++i) stream << index[i] << ' ' << confidence[i] << '\n';
  return true;
}

void MotionConfidenceSet::Clear() {
  number = 0;
  start = end = -1;
  index.clear();
  confidence.clear();
  positions.Clear();
}

float MotionConfidenceSet::Get(int frame) const {
  if (frame < start || frame > end) return defaultConfidence;
  const long long expected = static_cast<long long>(frame) - start;  // where frames that arrive in order lie
  if (expected < static_cast<long long>(index.size()) && index[expected] == frame) return confidence[expected];
  const int position = find(frame);
  return position < 0 ? defaultConfidence : confidence[position];
}

/// The first position that holds `frame`, or -1. A list that was changed from outside is searched from the start.
int MotionConfidenceSet::find(int frame) const {
  if (positions.Count() == index.size()) return positions.Find(frame);
  const auto found = std::ranges::find(index, frame);
  return found == index.end() ? -1 : static_cast<int>(found - index.begin());
}

void MotionConfidenceSet::Set(int frame, float c) {
  const int position = find(frame);
  if (position >= 0) {
    confidence[position] = c;
    return;
  }
  append(frame, c);
  if (start == -1 || start > frame) start = frame;
  if (end < frame) end = frame;
}

void MotionConfidenceSet::append(int frame, float c) {
  index.push_back(frame);
  confidence.push_back(c);
  positions.Append(frame);
  ++number;
}
