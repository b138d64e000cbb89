#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

/// A file name of this test's own in the temporary folder; the file goes away with the object.
class TemporaryFile {
 public:
  TemporaryFile() : path(::testing::TempDir() + "orvane_" + testName()) { std::remove(path.c_str()); }
  ~TemporaryFile() { std::remove(path.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const char* Path() const { return path.c_str(); }
  bool Exists() const { return std::ifstream(path).good(); }
  void Write(const std::string& bytes) const { std::ofstream(path, std::ios::binary) << bytes; }
  std::string Read() const {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  static std::string testName() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    return std::string(info->test_suite_name()) + "_" + info->name();
  }

  std::string path;
};

// The bytes of little-endian numbers, written out so that tests owe nothing to the code's own writers.
inline std::string Long(long v) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>((v >> shift) & 255);
  return bytes;
}
inline std::string Float(float v) { return Long(std::bit_cast<std::int32_t>(v)); }
inline std::string Double(double v) {
  const auto bits = std::bit_cast<std::int64_t>(v);
  return Long(bits & 0xffffffff) + Long((bits >> 32) & 0xffffffff);
}
