#include "numerics/RIFF.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Vorn {
namespace {

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

File FileOf(const std::string& bytes) {
  File file(tmpfile(), fclose);
  fwrite(bytes.data(), 1, bytes.size(), file.get());
  rewind(file.get());
  return file;
}

std::string BytesOf(FILE* file) {
  rewind(file);
  std::string bytes;
  for (int byte = fgetc(file); byte != EOF; byte = fgetc(file)) bytes += static_cast<char>(byte);
  return bytes;
}

TEST(RIFF, LongIsReadLowByteFirst) {
  long v = 0;
  EXPECT_TRUE(readLong(FileOf("\x01\x02\x03\x04").get(), v));
  EXPECT_EQ(v, 0x04030201);
}

TEST(RIFF, LongIsReadWithoutSignExtension) {
  long v = 0;
  EXPECT_TRUE(readLong(FileOf("\xff\xff\xff\xff").get(), v));
  EXPECT_EQ(v, 4294967295L);
}

TEST(RIFF, LongAtTheEndOfTheFileFailsAndLeavesTheValue) {
  long v = 77;
  EXPECT_FALSE(readLong(FileOf("").get(), v));
  EXPECT_FALSE(readLong(FileOf("\x01\x02\x03").get(), v));
  EXPECT_EQ(v, 77);
}

TEST(RIFF, LongIsWrittenWithItsLowFourBytes) {
  const File file = FileOf("");
  EXPECT_TRUE(writeLong(file.get(), 0x1122334455667788));
  EXPECT_TRUE(writeLong(file.get(), -2));
  EXPECT_EQ(BytesOf(file.get()), "\x88\x77\x66\x55\xfe\xff\xff\xff");
}

TEST(RIFF, IntHasSixteenBitsAndNoSign) {
  int v = 0;
  EXPECT_TRUE(readInt(FileOf("\xfe\xff").get(), v));
  EXPECT_EQ(v, 65534);
  EXPECT_FALSE(readInt(FileOf("\x01").get(), v));
  EXPECT_EQ(v, 65534);
}

TEST(RIFF, IntIsWrittenWithItsLowTwoBytes) {
  const File file = FileOf("");
  EXPECT_TRUE(writeInt(file.get(), 70000));  // 0x11170
  EXPECT_EQ(BytesOf(file.get()), "\x70\x11");
}

TEST(RIFF, WritingToAReadOnlyFileFails) {
  const File file(fopen("/dev/null", "rb"), fclose);
  EXPECT_FALSE(writeLong(file.get(), 1));
  EXPECT_FALSE(writeInt(file.get(), 1));
}

TEST(RIFF, ChunkHeaderHoldsTheTagInFileOrderAndTheLength) {
  RIFFChunkHeader h;
  EXPECT_TRUE(readRIFFChunkHeader(FileOf(std::string("CONF\x08\0\0\0", 8)).get(), h));
  EXPECT_EQ(h.tag, 'C' + 256L * ('O' + 256L * ('N' + 256L * 'F')));
  EXPECT_EQ(h.tag, Tag("CONF"));
  EXPECT_EQ(h.length, 8);
}

TEST(RIFF, ChunkHeaderCutShortChangesNothing) {
  RIFFChunkHeader h{5, 6};
  EXPECT_FALSE(readRIFFChunkHeader(FileOf("CONF\x08\x01\x01").get(), h));
  EXPECT_EQ(h.tag, 5);
  EXPECT_EQ(h.length, 6);
}

TEST(RIFF, BytesLeftCountsFromThePositionAndKeepsIt) {
  const File file = FileOf("abcdefg");
  fseek(file.get(), 3, SEEK_SET);
  EXPECT_EQ(BytesLeft(file.get()), 4);
  EXPECT_EQ(fgetc(file.get()), 'd');
}

TEST(RIFF, EvenForEitherSign) {
  EXPECT_TRUE(isEven(0));
  EXPECT_TRUE(isEven(-4));
  EXPECT_FALSE(isEven(7));
  EXPECT_FALSE(isEven(-7));
}

TEST(RIFF, SwapEndianSwapsNeighbouringBytes) {
  char data[] = "abcdef";
  swapEndian(data, 4);
  EXPECT_STREQ(data, "badcef");
}

}  // namespace
}  // namespace Vorn
