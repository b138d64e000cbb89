#include "film/MemoryFile.h"

#include <gtest/gtest.h>

#include <fstream>

namespace film {
namespace {

TEST(MemoryFile, HoldsWhatIsWrittenUnderItsName) {
  const MemoryFile memory;
  EXPECT_EQ(memory.contents(), "");
  const std::string bytes("a\0b\n", 4);
  std::ofstream(memory.path(), std::ios::binary) << bytes;
  EXPECT_EQ(memory.contents(), bytes);
  std::ofstream(memory.path(), std::ios::binary) << "c";  // as for any file, opening it to write empties it
  EXPECT_EQ(memory.contents(), "c");
}

TEST(MemoryFile, TwoAreApart) {
  const MemoryFile one, other;
  std::ofstream(one.path()) << "one";
  EXPECT_EQ(other.contents(), "");
}

}  // namespace
}  // namespace film
