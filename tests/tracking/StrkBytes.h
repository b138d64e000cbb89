#pragma once

#include <string>
#include <vector>

#include "analysis/FileBytes.h"

// The bytes of strk files, put together by hand.
namespace strk {

inline std::string Int(int v) { return {static_cast<char>(v & 255), static_cast<char>((v >> 8) & 255)}; }

inline std::string Chunk(const std::string& tag, const std::string& body) {
  return tag + Long(static_cast<long>(body.size())) + body + std::string(body.size() % 2, '\0');
}

inline std::string List(const std::string& type, const std::string& body) { return Chunk("LIST", type + body); }

inline std::string Conf(int window, int levels, int range, long largestId, int flag, float minevalue) {
  return Chunk("CONF",
               Int(2) + Int(window) + Int(levels) + Int(range) + Long(largestId) + Int(flag) + Float(minevalue));
}

inline std::string Point(long id, float x, float y, int status) { return Long(id) + Float(x) + Float(y) + Int(status); }

/// A frame's record of `count` points, whose bytes are `points`.
inline std::string Record(long frame, long count, const std::string& points) {
  return Chunk("00TB", Long(frame) + Long(count) + points);
}

inline std::string Range(long first, long last) { return Chunk("RANG", Long(first) + Long(last)); }

inline std::string Entry(int flag, long frame, long offset, long size) {
  return "00TB" + Long(flag) + Long(frame) + Long(offset) + Long(size);
}

inline std::string File(const std::string& magic, const std::string& chunks) {
  return "RIFF" + Long(static_cast<long>(magic.size() + chunks.size())) + magic + chunks;
}

/// Frames 5 and 6 with three and one points, frame 7 without any.
inline std::string Small() {
  const std::string five =
      Record(5, 3, Point(7, 1.5F, 2.5F, 1) + Point(9, -3.25F, 4.0F, 1) + Point(2, 10.0F, 20.0F, 0));
  const std::string six = Record(6, 1, Point(9, -3.0F, 4.5F, 0));
  return File("STRK", Conf(13, 4, 15, 9, 0, 0.5F) + Chunk("COMM", std::string("odd\0", 4)) + List("DATA", five + six) +
                          List("MRNG", Range(5, 7)) + Chunk("INDX", Entry(0, 5, 4, 50) + Entry(0, 6, 62, 22)));
}

}  // namespace strk
