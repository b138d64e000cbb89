#include "film/IndexedReader.h"

#include <algorithm>

namespace film {
namespace {

constexpr int jumpCost = 8;     // frames that could be decoded in the time that a jump takes
constexpr int outOfOrder = 32;  // frames that may come before one that they follow, right after a jump; a decoder
                                // holds no more than that
constexpr int none = -1;

}  // namespace

IndexedReader::IndexedReader(const ClipContents& clip, int decoderThreads)
    : path(clip.path), format(clip.format), index(clip.index), threads(decoderThreads) {
  byPacket.reserve(frames().size());
  for (size_t n = 0; n < frames().size(); ++n) byPacket.emplace_back(frames()[n].packet, static_cast<int>(n));
  std::sort(byPacket.begin(), byPacket.end());
  findServedFrames();
}

// Pictures that follow an access point in the file and stand before it in time refer to what lies before it. Where the
// point itself isn't shown, which of the frames behind it do so is left to the check.
void IndexedReader::findServedFrames() {
  auto frame = byPacket.begin();
  int lastBefore = none;
  for (const AccessPoint& point : index->points) {
    for (; frame != byPacket.end() && frame->first < point.packet; ++frame)
      lastBefore = std::max(lastBefore, frame->second);
    const bool shown = frame != byPacket.end() && frame->first == point.packet;
    serves.push_back(shown ? frame->second : lastBefore + 1);
  }
}

bool IndexedReader::read(int number, CodedFrame* coded) {
  if (number < 0 || number >= static_cast<int>(frames().size())) return false;
  if (!(goesOnTo(number) && decodeTo(number, coded)) && !jumpTo(number, coded)) return false;
  CheckSameFormat(path, format, *coded->frame, number);
  coded->number = number;
  coded->time = frames()[number].time;
  coded->duration = frames()[number].duration;
  return true;
}

int IndexedReader::startFor(int number) const {
  if (goesOnTo(number)) return upcoming;
  const int point = pointFor(number, static_cast<int>(serves.size()));
  return point == none ? 0 : serves[point];
}

bool IndexedReader::goesOnTo(int number) const {
  if (!reader || upcoming == none || upcoming > number) return false;
  const int point = pointFor(number, static_cast<int>(serves.size()));
  return point == none ? fromStart : serves[point] - upcoming <= jumpCost;
}

bool IndexedReader::decodeTo(int number, CodedFrame* coded) {
  while (reader->next(coded)) {
    const int found = numberOf(*coded);
    if (found == none) continue;
    if (found > number + outOfOrder) break;
    upcoming = found + 1;
    if (found == number && (fromStart || CheckOf(*coded->frame) == frames()[number].check)) return true;
    if (found == number) break;
  }
  upcoming = none;
  return false;
}

int IndexedReader::numberOf(const CodedFrame& coded) const {
  if (fromStart) {
    // What came out before the first whole frame wasn't counted either.
    const IndexedFrame& first = frames().front();
    return upcoming > 0 || (coded.packet == first.packet && coded.time == first.time) ? upcoming : none;
  }
  if (upcoming >= 0 && upcoming < static_cast<int>(frames().size()) && frames()[upcoming].packet == coded.packet)
    return upcoming;
  // Several where a picture is shown again.
  auto frame = std::lower_bound(byPacket.begin(), byPacket.end(), std::pair(coded.packet, 0));
  int found = none;
  for (; frame != byPacket.end() && frame->first == coded.packet; ++frame)
    if (found == none || frames()[frame->second].time == coded.time) found = frame->second;
  return found;
}

bool IndexedReader::jumpTo(int number, CodedFrame* coded) {
  int step = 1, point = pointFor(number, static_cast<int>(serves.size()));
  // A file that is yet to be opened stands at its first packet.
  if (!reader && point != none && index->points[point].packet == 0) point = none;
  for (; point != none; point = pointFor(number, point - step + 1), step *= 2) {
    ++jumpCount;
    if (beginAt(index->points[point]) && decodeTo(number, coded)) return true;
    serves[point] = number + 1;
  }
  beginAtStart();
  return decodeTo(number, coded);
}

/// The last access point of the first `before` from which the frame may be had.
int IndexedReader::pointFor(int number, int before) const {
  const std::vector<AccessPoint>& points = index->points;
  const auto behind = std::upper_bound(points.begin(), points.end(), frames()[number].packet,
                                       [](int packet, const AccessPoint& point) { return packet < point.packet; });
  int point = std::min(before, static_cast<int>(behind - points.begin())) - 1;
  while (point >= 0 && serves[point] > number) --point;
  return std::max(point, none);
}

bool IndexedReader::beginAt(const AccessPoint& point) {
  fromStart = false;
  upcoming = none;
  if (!reader) reader = std::make_unique<ClipReader>(path, threads);
  if (reader->seek(point)) return true;
  // Where the container doesn't lead there, reading all that comes before does.
  ++restartCount;
  reader = std::make_unique<ClipReader>(path, threads);
  return reader->skipTo(point);
}

void IndexedReader::beginAtStart() {
  if (reader) ++restartCount;
  reader = std::make_unique<ClipReader>(path, threads);
  fromStart = true;
  upcoming = 0;
}

}  // namespace film
