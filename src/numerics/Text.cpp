#include "numerics/Text.h"

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <sstream>

namespace Vorn {

std::string GetExtension(const char* name) {
  const std::string text(name);
  const size_t dot = text.rfind('.');
  return dot == std::string::npos ? std::string() : text.substr(dot + 1);
}

std::string ToLower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
  return text;
}

std::vector<std::string>& split(const std::string& s, char delimiter, std::vector<std::string>& out) {
  out.clear();
  std::istringstream stream(s);
  for (std::string piece; std::getline(stream, piece, delimiter);) out.push_back(piece);
  return out;
}

std::string PrintIndexedFilename(const char* name, int index, int digits) {
  const std::string text(name);
  const size_t dot = text.rfind('.');
  if (dot == std::string::npos || dot == 0) return text + std::to_string(index);
  std::ostringstream result;
  result << text.substr(0, dot);
  if (digits >= 0) result << std::setw(digits) << std::setfill('0') << std::internal;
  result << index << text.substr(dot);
  return result.str();
}

std::string GetMemorySize(long bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " B";
  const auto value = static_cast<float>(bytes);
  std::ostringstream text;
  text << std::fixed << std::setprecision(2);
  if (bytes < 1048576)
    text << value * 0.0009765625F << " KB";
  else if (bytes < 1073741824)
    text << value * 0.00000095367431640625F << " MB";
  else
    text << value * 0.000000000931322574615478515625F << " GB";
  return text.str();
}

}  // namespace Vorn
