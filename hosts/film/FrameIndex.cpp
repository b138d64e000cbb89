#include "film/FrameIndex.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace film {

void PacketLog::add(const AVPacket& packet) {
  const std::uint32_t check = CheckOf(packet);
  if (packet.pos >= 0) position = packet.pos;
  const std::int64_t time = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
  if (packet.flags & AV_PKT_FLAG_KEY) points.push_back({count, time, position, check});
  for (const std::int64_t part : {std::int64_t{check}, packet.pts, packet.dts, std::int64_t{packet.flags}})
    all.add(part);
  ++count;
}

void PacketLog::finish(FrameIndex* index) const {
  index->packets = count;
  index->packetsCheck = all.value();
  index->points = points;
}

std::uint32_t CheckOf(const AVPacket& packet) {
  const std::uint8_t *begin = packet.data, *end = begin + packet.size;
  while (begin < end && *begin == 0) ++begin;
  while (begin < end && end[-1] == 0) --end;
  ByteCheck check;
  check.add(begin, static_cast<std::size_t>(end - begin));
  return check.shortValue();
}

std::uint32_t CheckOf(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
  ByteCheck check;
  for (int plane = 0; description && plane < 4 && frame.data[plane]; ++plane) {
    const int rowBytes = av_image_get_linesize(format, frame.width, plane);
    if (rowBytes <= 0) break;
    const bool chroma = plane == 1 || plane == 2;
    const int rows = chroma ? AV_CEIL_RSHIFT(frame.height, description->log2_chroma_h) : frame.height;
    for (int row = 0; row < rows; ++row)
      check.add(frame.data[plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[plane],
                static_cast<std::size_t>(rowBytes));
  }
  return check.shortValue();
}

}  // namespace film
