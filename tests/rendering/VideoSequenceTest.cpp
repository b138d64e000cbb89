#include "rendering/VideoSequence.h"

#include <gtest/gtest.h>

namespace Vorn {
namespace {

/// Frames 10 to 19, each an image as wide as its number.
class Counted : public VideoSequence {
 public:
  Counted() {
    start = 10;
    end = 19;
  }

  bool ReadFrame(int frame, Image*& image) override {
    ++reads;
    if (frame < start || frame > end) return false;
    image = new Image(frame, 1, L8);
    return true;
  }

  int reads = 0;
};

TEST(VideoSequence, TellsItsRangeAndCodec) {
  const Counted sequence;
  EXPECT_EQ(sequence.codec, "none");
  EXPECT_EQ(sequence.GetStart(), 10);
  EXPECT_EQ(sequence.GetEnd(), 19);
  EXPECT_EQ(sequence.GetLength(), 10);
}

TEST(VideoSequence, ReadsAFrameOnceAndThenFromTheCache) {
  Counted sequence;
  Image *first = nullptr, *second = nullptr;
  EXPECT_EQ(sequence.GetFrame(12, first), 1);
  EXPECT_EQ(sequence.GetFrame(12, second), 1);
  EXPECT_EQ(sequence.reads, 1);
  ASSERT_EQ(first, second);
  EXPECT_EQ(first->width, 12);
}

TEST(VideoSequence, FrameThatCannotBeReadGivesZero) {
  Counted sequence;
  Image* image = nullptr;
  EXPECT_EQ(sequence.GetFrame(20, image), 0);
  EXPECT_EQ(sequence.reads, 1);
}

TEST(VideoSequence, CacheThatCannotTakeAFrameGivesTwoWithoutReading) {
  Counted sequence;
  sequence.cache->SetPolicy(CacheRetained);
  sequence.cache->Resize(1);
  Image* image = nullptr;
  EXPECT_EQ(sequence.GetFrame(10, image), 1);
  Image* other = nullptr;
  EXPECT_EQ(sequence.GetFrame(11, other), 2);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(sequence.reads, 1);
}

TEST(VideoSequence, FrameThatWasReadButNotStoredIsTheCallers) {
  Counted sequence;
  sequence.cache->Resize(0);  // by age a place is promised, but there is no entry to give up
  Image* image = nullptr;
  EXPECT_EQ(sequence.GetFrame(15, image), 2);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width, 15);
  delete image;
}

TEST(VideoSequence, KeepsAHundredFrames) {
  class Endless : public Counted {
   public:
    Endless() { end = 1000; }
  } sequence;
  Image* image = nullptr;
  for (int frame = 10; frame <= 110; ++frame) ASSERT_EQ(sequence.GetFrame(frame, image), 1);
  EXPECT_EQ(sequence.reads, 101);
  EXPECT_EQ(sequence.GetFrame(11, image), 1);
  EXPECT_EQ(sequence.reads, 101);
  EXPECT_EQ(sequence.GetFrame(10, image), 1);
  EXPECT_EQ(sequence.reads, 102);
}

}  // namespace
}  // namespace Vorn
