#include "film/IndexedReader.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/imgutils.h>
}

#include <functional>
#include <random>

#include "film/Clips.h"
#include "film/Failure.h"
#include "film/FrameSource.h"
#include "film/MadeClips.h"

namespace film {
namespace {

/// A kind of file and how one is made in a folder.
struct Kind {
  const char* name;
  const char* file;
  const char* options;
  bool seekable = true;  ///< the container leads to its access points
  const char* cut = "";  ///< if not empty, the file is a copy of the clip with these options
};

void PrintTo(const Kind& kind, std::ostream* stream) { *stream << kind.name; }

const Kind kinds[] = {
    {"H264LongGroups", "a.mp4", "-c:v libx264 -g 60 -bf 3"},
    {"H264OpenGroups", "a.mkv", "-c:v libx264 -x264-params open-gop=1:bframes=3:keyint=24:min-keyint=24:scenecut=0"},
    {"H264OpenGroupsTransportStream", "a.ts",
     "-c:v libx264 -x264-params open-gop=1:bframes=3:keyint=24:min-keyint=24:scenecut=0"},
    {"H264IntraRefresh", "a.mp4", "-c:v libx264 -x264-params intra-refresh=1:keyint=20:bframes=0"},
    {"H264Interlaced", "a.ts", "-c:v libx264 -flags +ildct+ilme -g 30 -bf 2"},
    {"H264Fragments", "a.mp4", "-c:v libx264 -g 20 -movflags frag_keyframe+empty_moov"},
    {"H264Flv", "a.flv", "-c:v libx264 -g 30 -bf 2"},
    {"H264Raw", "a.h264", "-c:v libx264 -g 30 -bf 2"},
    {"HevcOpenGroups", "a.mp4",
     "-c:v libx265 -preset ultrafast -x265-params "
     "open-gop=1:bframes=4:b-adapt=0:keyint=24:min-keyint=24:scenecut=0:log-level=none"},
    {"HevcTransportStream", "a.ts",
     "-c:v libx265 -preset ultrafast -x265-params open-gop=1:bframes=3:keyint=20:min-keyint=20:log-level=none"},
    {"VariableRate", "a.mp4",
     "-vf select='not(eq(mod(n\\,7)\\,3))*not(between(n\\,50\\,70))' -fps_mode vfr -c:v libx264 -g 30 -bf 3"},
    {"EditList", "b.mp4", "-c:v libx264 -g 48 -bf 3", true, "-ss 1.3 -i"},
    {"CutMatroska", "b.mkv", "-c:v libx264 -x264-params open-gop=1:bframes=3:keyint=24:scenecut=0", true, "-ss 1.3 -i"},
    {"LateStart", "a.mov", "-c:v libx264 -g 30 -bf 2 -output_ts_offset 7.3"},
    {"ClockTurnsOver", "a.ts", "-c:v libx264 -g 30 -bf 2 -output_ts_offset 95441"},
    {"ProgramStream", "a.mpg", "-c:v mpeg2video -g 12 -bf 2"},
    {"Vob", "a.vob", "-c:v mpeg2video -g 15 -bf 2"},
    {"CutProgramStream", "b.mpg", "-c:v mpeg2video -g 15 -bf 2", true, "-ss 1.3 -i"},
    {"Mpeg2TransportStream", "a.ts", "-c:v mpeg2video -g 15 -bf 2"},
    {"Mpeg4Avi", "a.avi", "-c:v mpeg4 -g 30 -bf 2"},
    {"MotionJpegAvi", "a.avi", "-c:v mjpeg -pix_fmt yuvj420p"},
    {"ProRes", "a.mov", "-c:v prores_ks"},
    {"Ffv1", "a.mkv", "-c:v ffv1 -level 3 -g 10"},
    {"Vp9", "a.webm", "-c:v libvpx-vp9 -g 40 -lag-in-frames 16 -auto-alt-ref 1 -deadline good -cpu-used 5"},
    {"Vp8", "a.webm", "-c:v libvpx -g 40 -lag-in-frames 16 -auto-alt-ref 1 -deadline good -cpu-used 5"},
    {"Av1", "a.mkv", "-c:v libaom-av1 -g 40 -cpu-used 8 -lag-in-frames 16"},
    {"Theora", "a.ogv", "-c:v libtheora -g 30"},
    {"Wmv", "a.wmv", "-c:v wmv2 -g 30"},
};

std::vector<unsigned char> SamplesOf(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  std::vector<unsigned char> samples(av_image_get_buffer_size(format, frame.width, frame.height, 1));
  av_image_copy_to_buffer(samples.data(), static_cast<int>(samples.size()), frame.data, frame.linesize, format,
                          frame.width, frame.height, 1);
  return samples;
}

struct Expected {
  std::int64_t time;
  std::vector<unsigned char> samples;
};

/// What a plain run from the start gives.
std::vector<Expected> FramesInOrder(const std::string& path) {
  std::vector<Expected> frames;
  ClipReader reader(path, 1);
  CodedFrame coded;
  while (reader.next(&coded))
    if (!coded.damaged || !frames.empty()) frames.push_back({coded.time, SamplesOf(*coded.frame)});
  return frames;
}

class IndexedReaderTest : public testing::TestWithParam<Kind> {
 protected:
  void SetUp() override {
    const Kind& kind = GetParam();
    RouteLibavMessages();
    if (*kind.cut) {
      const std::string whole = folder / ("whole-" + std::string(kind.file));
      MakeClip(whole, 120, kind.options);
      RunFfmpeg(std::string(kind.cut) + " '" + whole + "' -c copy '" + (folder / kind.file) + "'");
    } else {
      MakeClip(folder / kind.file, 120, kind.options);
    }
  }
  TestFolder folder;
};

TEST_P(IndexedReaderTest, AnyFrameIsTheOneThatComesInOrder) {
  const std::string path = folder / GetParam().file;
  const std::vector<Expected> expected = FramesInOrder(path);
  const ClipContents contents = ScanClip(path, ScanOptions{1});
  ASSERT_EQ(contents.identity.frames, static_cast<int>(expected.size()));
  ASSERT_GT(expected.size(), 70u);
  IndexedReader reader(contents, 2);
  std::mt19937 random(1);
  CodedFrame coded;
  for (int request = 0; request < 200; ++request) {
    const int number = static_cast<int>(random() % expected.size());
    ASSERT_TRUE(reader.read(number, &coded)) << number;
    ASSERT_EQ(coded.time, expected[number].time) << number;
    ASSERT_TRUE(SamplesOf(*coded.frame) == expected[number].samples) << number;
    EXPECT_EQ(coded.number, number);
  }
  EXPECT_FALSE(reader.read(static_cast<int>(expected.size()), &coded));
  EXPECT_FALSE(reader.read(-1, &coded));
  if (GetParam().seekable) {
    EXPECT_LE(reader.restarts(), 5) << reader.jumps();
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, IndexedReaderTest, testing::ValuesIn(kinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

class OneKindTest : public testing::Test {
 protected:
  OneKindTest() {
    RouteLibavMessages();
    MakeClip(path, 120, "-c:v libx264 -x264-params open-gop=1:bframes=3:keyint=24:min-keyint=24:scenecut=0");
    expected = FramesInOrder(path);
    contents = ScanClip(path, ScanOptions{1});
  }
  /// Reads some frames here and there with an index that was altered.
  void expectFramesWith(const std::function<void(FrameIndex*)>& alter) {
    FrameIndex altered = *contents.index;
    alter(&altered);
    ClipContents other = contents;
    other.index = std::make_shared<FrameIndex>(altered);
    IndexedReader reader(other, 1);
    CodedFrame coded;
    for (int number : {70, 71, 30, 119, 0, 100, 23, 24, 25, 26, 27}) {
      ASSERT_TRUE(reader.read(number, &coded)) << number;
      EXPECT_TRUE(SamplesOf(*coded.frame) == expected[number].samples) << number;
    }
  }
  TestFolder folder;
  std::string path = folder / "a.mp4";
  std::vector<Expected> expected;
  ClipContents contents;
};

TEST_F(OneKindTest, FramesInOrderAreDecodedOnce) {
  IndexedReader reader(contents, 1);
  CodedFrame coded;
  for (int number = 0; number < 120; ++number) {
    ASSERT_TRUE(reader.read(number, &coded));
    EXPECT_TRUE(SamplesOf(*coded.frame) == expected[number].samples) << number;
  }
  EXPECT_EQ(reader.restarts(), 0);
  EXPECT_LE(reader.jumps(), 1);
}

TEST_F(OneKindTest, AShortWayAheadIsNoJump) {
  IndexedReader reader(contents, 1);
  CodedFrame coded;
  ASSERT_TRUE(reader.read(50, &coded));
  const int jumps = reader.jumps();
  ASSERT_TRUE(reader.read(60, &coded));
  EXPECT_EQ(reader.jumps(), jumps);
  EXPECT_EQ(reader.startFor(65), 61);
  EXPECT_EQ(reader.startFor(119), 96);  // groups begin at every 24th frame
}

TEST_F(OneKindTest, WrongAccessPointsAreNoticed) {
  expectFramesWith([](FrameIndex* index) {
    for (AccessPoint& point : index->points) point.packet += 2;
  });
  expectFramesWith([](FrameIndex* index) {
    for (AccessPoint& point : index->points) ++point.check;
  });
  expectFramesWith([](FrameIndex* index) {
    for (AccessPoint& point : index->points) point.time += 100000;
  });
  expectFramesWith([](FrameIndex* index) { index->points.clear(); });
  expectFramesWith([](FrameIndex* index) {  // every packet's place is taken for that of the first
    for (AccessPoint& point : index->points) point = {point.packet, index->points[0].time, -1, point.check};
  });
}

TEST_F(OneKindTest, WithoutPacketNumbersFramesAreCountedFromTheStart) {
  expectFramesWith([](FrameIndex* index) {
    for (size_t n = 1; n < index->frames.size(); ++n) index->frames[n].packet = -1;
  });
}

TEST_F(OneKindTest, WhereSamplesDifferFromTheIndexTheRunFromTheStartDecides) {
  expectFramesWith([](FrameIndex* index) {
    for (IndexedFrame& frame : index->frames) ++frame.check;
  });
}

TEST_F(OneKindTest, AFileThatWasReplacedGivesNoFrameOrFails) {
  IndexedReader reader(contents, 1);
  CodedFrame coded;
  ASSERT_TRUE(reader.read(100, &coded));
  MakeClip(path, 30, "-c:v libx264", "80x48");
  IndexedReader other(contents, 1);
  try {
    EXPECT_FALSE(other.read(100, &coded));
  } catch (const Failure&) {
    SUCCEED();
  }
}

}  // namespace
}  // namespace film
