#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "analysis/MultiRange.h"
#include "film/StoredFormat.h"
#include "numerics/Matrix.h"

// What the descriptions of stored files have in common.
namespace film {

/// A number with as many digits as tell it from its neighbours, of its own precision.
Description NumberOf(double value);
Description NumberOf(float value);

/// Spans of frames, as "first" and "last".
Description SpansOf(const Vorn::MultiRange& ranges);
Description SpansOf(int first, int last);
/// "0 to 9, 12 to 20", or "none"; of very many the first ones.
std::string SpanText(const Description& spans);

/// "m02" for row 0, column 2.
std::string EntryName(unsigned int row, unsigned int column);
/// Adds the nine values as "m00" to "m22", row by row.
void AddMatrix(Description& row, const Vorn::Matrix& m);

/// The smallest, the largest and the mean of finite numbers.
class Spread {
 public:
  void add(double value);
  bool empty() const { return count == 0; }
  Description json() const;  ///< "least", "most" and "mean"; null without numbers

 private:
  double least = 0, most = 0, sum = 0;
  long count = 0;
};

/// The first and the last of frame numbers, in any order; -1 and -1 without any, as the library has it. Its own records
/// of negative frames end at -1.
struct FrameSpan {
  int first = -1, last = -1;
  bool empty = true;

  void add(int frame) {
    first = empty ? frame : std::min(first, frame);
    last = empty ? frame : std::max(last, frame);
    empty = false;
  }
};

/// "0.5 to 1 pixels, 0.9 on average", or "none".
std::string SpreadText(const Description& spread, const std::string& unit = "");

/// "label:      value\n", with the values in one column.
std::string Line(const std::string& label, const std::string& value);
/// "--smoothing 40 --events border", or "none".
std::string SettingsText(const Description& settings);
/// A number in six digits.
std::string Short(const Description& number);
std::string Count(size_t count, const char* one, const char* many);

/// Whether a file of lines begins with the line `keyword`, be it with a line end that the format's reader refuses.
bool BeginsWithLine(std::string_view head, std::string_view keyword);
/// Whether a chunked file is of a form.
bool IsChunked(std::string_view head, std::string_view form);

}  // namespace film
