#include "film/ClipDescription.h"

#include <gtest/gtest.h>

namespace film {
namespace {

class Words {
 public:
  explicit Words(std::initializer_list<const char*> keys) {
    for (const char* key : keys) av_dict_set(&dictionary, key, "x", 0);
  }
  ~Words() { av_dict_free(&dictionary); }
  AVDictionary* dictionary = nullptr;
};

TEST(ClipDescription, KeysOfPhonesNeedAPlaceOfTheirOwn) {
  EXPECT_TRUE(NeedsOwnKeys(Words({"title", "com.apple.quicktime.model"}).dictionary, Container("a.mov")));
  EXPECT_TRUE(NeedsOwnKeys(Words({"com.android.version"}).dictionary, Container("a.mp4")));
  EXPECT_TRUE(NeedsOwnKeys(Words({"make"}).dictionary, Container("a.mp4")));
  EXPECT_FALSE(NeedsOwnKeys(Words({"title", "make", "creation_time"}).dictionary, Container("a.mov")));
  EXPECT_FALSE(NeedsOwnKeys(Words({"title", "album_artist"}).dictionary, Container("a.mp4")));
}

TEST(ClipDescription, ATimeCodeGoesOnWithThePart) {
  EXPECT_EQ(TimeCodeAfter("01:00:00:20", {25, 1}, 10), "01:00:01:05");
  // Two numbers are left out at each full minute but the tenth.
  EXPECT_EQ(TimeCodeAfter("00:00:59;29", {30000, 1001}, 1), "00:01:00;02");
}

TEST(ClipDescription, CodesThatDropFramesCountByNtscsRates) {
  EXPECT_EQ(TimeCodeRate("01:00:00;10", {175, 6}).num, 30000);
  EXPECT_EQ(TimeCodeRate("01:00:00;10", {30, 1}).den, 1);
  EXPECT_EQ(TimeCodeRate("01:00:00:10", {25, 1}).num, 25);
  EXPECT_EQ(TimeCodeRate("noon", {25, 1}).num, 0);
}

TEST(ClipDescription, ChaptersAreCutToThePart) {
  const OutputFormat source(avformat_alloc_context()), target(avformat_alloc_context());
  source->chapters = static_cast<AVChapter**>(av_calloc(3, sizeof(AVChapter*)));
  for (int i = 0; i < 3; ++i) {
    source->chapters[i] = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
    source->chapters[i]->id = i;
    source->chapters[i]->time_base = {1, 1000};
    source->chapters[i]->start = 1000 * i;
    source->chapters[i]->end = 1000 * (i + 1);
  }
  source->nb_chapters = 3;
  CopyChapters(*source, {1.5, 2.5, 1.5}, *target);
  ASSERT_EQ(target->nb_chapters, 2u);
  EXPECT_EQ(target->chapters[0]->start, 0);
  EXPECT_EQ(target->chapters[0]->end, 500);
  EXPECT_EQ(target->chapters[1]->id, 2);
  EXPECT_EQ(target->chapters[1]->start, 500);
  EXPECT_EQ(target->chapters[1]->end, 1000);
}

}  // namespace
}  // namespace film
