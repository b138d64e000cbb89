#include "numerics/Text.h"

#include <gmock/gmock.h>

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Text, ExtensionIsWhatFollowsTheLastDot) {
  EXPECT_EQ(GetExtension("archive.tar.gz"), "gz");
  EXPECT_EQ(GetExtension("noext"), "");
  EXPECT_EQ(GetExtension("ends."), "");
  EXPECT_EQ(GetExtension(".hidden"), "hidden");
  EXPECT_EQ(GetExtension(""), "");
}

TEST(Text, ToLowerLeavesWhatIsNoCapital) { EXPECT_EQ(ToLower("FrAme_12.TIF"), "frame_12.tif"); }

TEST(Text, SplitEmptiesItsOutputAndReturnsIt) {
  std::vector<std::string> out = {"old"};
  EXPECT_EQ(&split("a,b", ',', out), &out);
  EXPECT_THAT(out, ElementsAre("a", "b"));
}

TEST(Text, SplitKeepsEmptyPiecesButNotATrailingOne) {
  std::vector<std::string> out;
  EXPECT_THAT(split(",a,,b,", ',', out), ElementsAre("", "a", "", "b"));
  EXPECT_THAT(split("", ',', out), IsEmpty());
  EXPECT_THAT(split("a,,", ',', out), ElementsAre("a", ""));
}

TEST(Text, IndexGoesInFrontOfTheLastDot) {
  EXPECT_EQ(PrintIndexedFilename("frame.tif", 12, 4), "frame0012.tif");
  EXPECT_EQ(PrintIndexedFilename("a.b.tif", 12, 3), "a.b012.tif");
  EXPECT_EQ(PrintIndexedFilename("frame.tif", 12345, 4), "frame12345.tif");
  EXPECT_EQ(PrintIndexedFilename("frame.", 7, 2), "frame07.");
}

TEST(Text, NegativeDigitsGiveThePlainIndex) { EXPECT_EQ(PrintIndexedFilename("frame.tif", 12, -1), "frame12.tif"); }

TEST(Text, IndexGoesUnpaddedToTheEndOfANameWithoutExtension) {
  EXPECT_EQ(PrintIndexedFilename("frame", 12, 4), "frame12");
  EXPECT_EQ(PrintIndexedFilename(".tif", 12, 4), ".tif12");
}

TEST(Text, MemorySizeTakesTheLargestUnit) {
  EXPECT_EQ(GetMemorySize(0), "0 B");
  EXPECT_EQ(GetMemorySize(1023), "1023 B");
  EXPECT_EQ(GetMemorySize(1024), "1.00 KB");
  EXPECT_EQ(GetMemorySize(1536), "1.50 KB");
  EXPECT_EQ(GetMemorySize(1048575), "1024.00 KB");
  EXPECT_EQ(GetMemorySize(1048576), "1.00 MB");
  EXPECT_EQ(GetMemorySize(1073741824), "1.00 GB");
  EXPECT_EQ(GetMemorySize(3489660928), "3.25 GB");
}

}  // namespace
}  // namespace Vorn
