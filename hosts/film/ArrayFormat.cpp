#include "film/DescribeValues.h"
#include "film/Failure.h"
#include "imaging/FastArray.h"

namespace film {
namespace {

/// A picture that breaks off isn't told in part: rows that were never read would look like any others.
Description describe(const std::string& path) {
  Vorn::FastArray array(0, 0);
  if (!array.Load(path.c_str()))
    throw Failure(path +
                  ": this begins as a plane of numbers (FARY) and is damaged or was cut short; get a whole copy");
  Spread spread;
  Description values = Description::array();
  for (int y = 0; y < array.height; ++y) {
    Description row = Description::array();
    for (int x = 0; x < array.width; ++x) {
      spread.add(array(x, y));
      row.push_back(NumberOf(array(x, y)));
    }
    values.push_back(std::move(row));
  }
  return {{"format", "FARY"},       {"complete", true},        {"width", array.width},
          {"height", array.height}, {"spread", spread.json()}, {"values", std::move(values)}};
}

std::string lines(const Description& d) {
  return Line("plane of numbers", d["width"].dump() + " x " + d["height"].dump()) +
         Line("values", SpreadText(d["spread"]));
}

}  // namespace

StoredFormat ArrayFormat() {
  return {"FARY",
          "a plane of numbers",
          [](std::string_view head) { return head.starts_with("FARY") && head.find('\n') != std::string_view::npos; },
          describe,
          lines,
          "values"};
}

}  // namespace film
