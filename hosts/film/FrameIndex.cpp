#include "film/FrameIndex.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace film {

void PacketLog::add(const AVPacket& packet) {
  const std::uint32_t check = CheckOf(packet);
  if (packet.flags & AV_PKT_FLAG_KEY) points.push_back({count, packet.dts, packet.pos, check});
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
  ByteCheck check;
  check.add(packet.data, static_cast<std::size_t>(packet.size));
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
