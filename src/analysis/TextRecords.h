#pragma once

#include <istream>
#include <string_view>

namespace Vorn {

/// Reads `keyword` and the newline (or the end) behind it, the head of the line-based text formats. False if the first
/// line is any other, of which no more than the keyword's length is read.
inline bool FirstLineIs(std::istream& stream, std::string_view keyword) {
  for (const char c : keyword)
    if (stream.get() != std::char_traits<char>::to_int_type(c)) return false;
  const int next = stream.get();
  return next == '\n' || next == std::char_traits<char>::eof();
}

}  // namespace Vorn
