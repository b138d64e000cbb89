#include "imaging/FastArray.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "imaging/Image.h"
#include "numerics/Matrix.h"

namespace Vorn {
namespace {

using testing::ElementsAre;

/// Element (x, y) is 10 y + x, so that every value tells where it came from.
FastArray Numbered(int width, int height) {
  FastArray array(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) array(x, y) = static_cast<float>(10 * y + x);
  return array;
}

std::vector<float> Elements(const FastArray& array) {
  std::vector<float> elements;
  for (int y = 0; y < array.height; ++y)
    for (int x = 0; x < array.width; ++x) elements.push_back(array(x, y));
  return elements;
}

class FastArrayFile : public testing::Test {
 protected:
  void TearDown() override { std::filesystem::remove(path); }
  void write(const std::string& bytes) const { std::ofstream(path, std::ios::binary) << bytes; }
  std::string read() const {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  const std::string path = testing::TempDir() + "FastArrayFile" + std::to_string(getpid()) +
                           testing::UnitTest::GetInstance()->current_test_info()->name() + ".fary";
};

std::string Bytes(const std::vector<float>& values) {
  std::string bytes(values.size() * sizeof(float), '\0');
  std::memcpy(bytes.data(), values.data(), bytes.size());
  return bytes;
}

TEST(FastArray, IsEmptyWhenConstructed) {
  const FastArray array;
  EXPECT_EQ(array.data, nullptr);
  EXPECT_EQ(array.width, 0);
  EXPECT_EQ(array.height, 0);
  EXPECT_EQ(array.stride, 0);
  EXPECT_FALSE(array.isView);
}

TEST(FastArray, OwningArrayIsTight) {
  const FastArray array(5, 3);
  EXPECT_EQ(array.width, 5);
  EXPECT_EQ(array.height, 3);
  EXPECT_EQ(array.stride, 5);
  EXPECT_EQ(array.Length(), 15);
  EXPECT_FALSE(array.isView);
}

TEST(FastArray, ViewSharesItsParentsMemory) {
  FastArray parent = Numbered(4, 4);
  const FastArray view(parent, 1, 1, 3, 3);
  EXPECT_EQ(view.width, 2);
  EXPECT_EQ(view.height, 2);
  EXPECT_EQ(view.stride, 4);
  EXPECT_TRUE(view.isView);
  EXPECT_EQ(view.data, &parent(1, 1));
  EXPECT_THAT(Elements(view), ElementsAre(11, 12, 21, 22));
}

TEST(FastArray, CopyIntoAViewChangesTheParent) {
  FastArray parent = Numbered(4, 4);
  FastArray view(parent, 1, 1, 3, 3);
  FastArray source(2, 2);
  source.Clear(-1);
  EXPECT_TRUE(view.Copy(source));
  EXPECT_THAT(Elements(parent), ElementsAre(0, 1, 2, 3, 10, -1, -1, 13, 20, -1, -1, 23, 30, 31, 32, 33));
}

TEST(FastArray, AssigningToAViewDetachesIt) {
  FastArray parent = Numbered(4, 4);
  FastArray view(parent, 1, 1, 3, 3);
  FastArray source(2, 2);
  source.Clear(-1);
  view = source;
  EXPECT_FALSE(view.isView);
  EXPECT_EQ(view.stride, 2);
  EXPECT_THAT(Elements(view), ElementsAre(-1, -1, -1, -1));
  EXPECT_EQ(parent(1, 1), 11);
}

TEST(FastArray, CopyOfAViewOwnsItsMemoryAndIsTight) {
  FastArray parent = Numbered(4, 4);
  const FastArray view(parent, 2, 1, 4, 3);
  FastArray copy(view);  // NOLINT(performance-unnecessary-copy-initialization)
  parent.Clear(0);
  EXPECT_FALSE(copy.isView);
  EXPECT_EQ(copy.stride, 2);
  EXPECT_THAT(Elements(copy), ElementsAre(12, 13, 22, 23));
}

TEST(FastArray, MayBeAssignedAViewOfItself) {
  FastArray array = Numbered(4, 4);
  const FastArray view(array, 1, 2, 4, 4);
  array = view;
  EXPECT_EQ(array.width, 3);
  EXPECT_THAT(Elements(array), ElementsAre(21, 22, 23, 31, 32, 33));
}

TEST(FastArray, ResizeToTheSameSizeKeepsTheContents) {
  FastArray array = Numbered(3, 2);
  const float* before = array.data;
  EXPECT_TRUE(array.Resize(3, 2));
  EXPECT_EQ(array.data, before);
  EXPECT_EQ(array(2, 1), 12);
}

TEST(FastArray, ResizeDetachesAViewEvenToItsOwnSize) {
  FastArray parent = Numbered(4, 4);
  FastArray view(parent, 0, 0, 2, 2);
  EXPECT_TRUE(view.Resize(2, 2));
  EXPECT_FALSE(view.isView);
  EXPECT_EQ(view.stride, 2);
  view.Clear(9);
  EXPECT_EQ(parent(0, 0), 0);
}

TEST(FastArray, NegativeSizesCountAsZero) {
  FastArray array(-3, 4);
  EXPECT_EQ(array.Length(), 0);
  EXPECT_TRUE(array.Resize(2, -1));
  EXPECT_EQ(array.height, 0);
}

TEST(FastArray, CopyWithoutMemoryTellsWhichSideLacksIt) {
  FastArray empty, full = Numbered(2, 2);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(full.Copy(empty));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "FastArray: Cannot copy from NULL source\n");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(empty.Copy(full));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "FastArray: Cannot copy to NULL target\n");
}

TEST(FastArray, CopyOfTheSameMemoryIsDoneAtOnce) {
  FastArray array = Numbered(4, 4);
  FastArray view(array, 0, 0, 2, 2);
  EXPECT_TRUE(array.Copy(view));  // though the sizes differ
  EXPECT_EQ(array(3, 3), 33);
}

TEST(FastArray, CopyBetweenTightArraysTakesTheTargetsSize) {
  FastArray target(2, 2);
  EXPECT_TRUE(target.Copy(Numbered(3, 3)));
  EXPECT_THAT(Elements(target), ElementsAre(0, 1, 2, 10));
}

TEST(FastArray, CopyBetweenTightArraysEndsWithTheSource) {
  FastArray target(3, 2);
  target.Clear(-1);
  EXPECT_TRUE(target.Copy(Numbered(2, 2)));
  EXPECT_THAT(Elements(target), ElementsAre(0, 1, 10, 11, -1, -1));
}

TEST(FastArray, CopyFromRowsOfAnotherArrayGoesOnBehindThem) {
  FastArray source = Numbered(2, 3), target(2, 2);
  EXPECT_TRUE(target.Copy(FastArray(source, 0, 0, 2, 1)));
  EXPECT_THAT(Elements(target), ElementsAre(0, 1, 10, 11));
}

TEST(FastArray, CopyWithAViewOfAnotherSizeFailsSilently) {
  FastArray parent = Numbered(4, 4);
  FastArray view(parent, 1, 1, 3, 3);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(view.Copy(Numbered(3, 2)));
  EXPECT_FALSE(view.Copy(Numbered(2, 3)));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(parent(1, 1), 11);
}

TEST(FastArray, CopyOutOfAViewIsRowByRow) {
  FastArray parent = Numbered(4, 4);
  FastArray target(2, 2);
  EXPECT_TRUE(target.Copy(FastArray(parent, 2, 2, 4, 4)));
  EXPECT_THAT(Elements(target), ElementsAre(22, 23, 32, 33));
}

TEST(FastArray, ClearLeavesWhatLiesOutsideAView) {
  for (const float value : {0.0F, 7.5F}) {
    FastArray parent = Numbered(3, 3);
    FastArray view(parent, 1, 1, 3, 2);
    view.Clear(value);
    EXPECT_THAT(Elements(parent), ElementsAre(0, 1, 2, 10, value, value, 20, 21, 22));
    parent.Clear(value);
    EXPECT_THAT(Elements(parent), testing::Each(value));
  }
}

TEST(FastArray, FreeKeepsTheStride) {
  FastArray array = Numbered(3, 2);
  array.Free();
  EXPECT_EQ(array.data, nullptr);
  EXPECT_EQ(array.width, 0);
  EXPECT_EQ(array.height, 0);
  EXPECT_EQ(array.stride, 3);
}

TEST(FastArray, FreeingAViewLeavesItsParent) {
  FastArray parent = Numbered(3, 2);
  FastArray view(parent, 0, 0, 2, 2);
  view.Free();
  EXPECT_EQ(view.data, nullptr);
  EXPECT_EQ(parent(2, 1), 12);
}

TEST(FastArray, MatrixRowsBecomeArrayRows) {
  Matrix matrix(2, 3);
  for (unsigned r = 0; r < 2; ++r)
    for (unsigned c = 0; c < 3; ++c) matrix(r, c) = 10.0 * r + c + 1e-12;
  FastArray array;
  EXPECT_TRUE(array.ConvertFromMatrix(matrix));
  EXPECT_EQ(array.width, 3);
  EXPECT_EQ(array.height, 2);
  EXPECT_THAT(Elements(array), ElementsAre(1e-12F, 1, 2, 10, 11, 12));
}

std::vector<int> LumaCodes(const Image& image) {
  std::vector<int> codes;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) codes.push_back(image(x, y).Luma());
  return codes;
}

TEST(FastArray, ValuesOnTheImagesScaleAreClampedAndTruncated) {
  FastArray array(3, 2);
  const float values[] = {-3.5F, 0.9F, 100.7F, 254.99F, 255.5F, std::numeric_limits<float>::quiet_NaN()};
  std::copy(std::begin(values), std::end(values), array.data);
  Image image;
  array.ConvertToImage(image, 255);
  EXPECT_EQ(image.type, L8);
  EXPECT_EQ(image.width, 3);
  EXPECT_EQ(image.height, 2);
  EXPECT_THAT(LumaCodes(image), ElementsAre(0, 0, 100, 254, 255, 0));
}

TEST(FastArray, ValuesOnAnotherScaleAreStretchedToTheImages) {
  FastArray array(5, 1);
  const float values[] = {-1.0F, 0.5F, 1.0F, 2.0F, 1e30F};
  std::copy(std::begin(values), std::end(values), array.data);
  Image image;
  array.ConvertToImage(image, 1);
  EXPECT_THAT(LumaCodes(image), ElementsAre(0, 127, 255, 255, 255));
}

TEST_F(FastArrayFile, HoldsSizesAsTextAndThenTheFloats) {
  EXPECT_TRUE(Numbered(3, 2).Save(path.c_str()));
  EXPECT_EQ(read(), "FARY\n3 2 3\n" + Bytes({0, 1, 2, 10, 11, 12}));
}

TEST_F(FastArrayFile, OfATightArrayComesBack) {
  const FastArray saved = Numbered(5, 4);
  ASSERT_TRUE(saved.Save(path.c_str()));
  FastArray loaded;
  EXPECT_TRUE(loaded.Load(path.c_str()));
  EXPECT_EQ(loaded.width, 5);
  EXPECT_EQ(loaded.height, 4);
  EXPECT_EQ(loaded.stride, 5);
  EXPECT_EQ(Elements(loaded), Elements(saved));
}

TEST_F(FastArrayFile, OfAViewHoldsTheParentsColumnsAndComesBackSheared) {
  FastArray parent = Numbered(4, 4);
  ASSERT_TRUE(FastArray(parent, 1, 0, 3, 3).Save(path.c_str()));
  EXPECT_EQ(read(), "FARY\n2 3 4\n" + Bytes({1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23, 30}));
  FastArray loaded;
  EXPECT_TRUE(loaded.Load(path.c_str()));
  EXPECT_THAT(Elements(loaded), ElementsAre(1, 2, 3, 10, 11, 12));
}

TEST_F(FastArrayFile, OfAViewAtTheParentsEndIsFilledWithZeros) {
  FastArray parent = Numbered(3, 2);
  ASSERT_TRUE(FastArray(parent, 1, 1, 3, 2).Save(path.c_str()));
  EXPECT_EQ(read(), "FARY\n2 1 3\n" + Bytes({11, 12, 0}));
}

TEST_F(FastArrayFile, OfLentMemoryHoldsIt) {
  float lent[] = {1, 2, 3, 4};
  FastArray array;
  array.data = lent;
  array.width = array.stride = array.height = 2;
  array.isView = true;
  ASSERT_TRUE(array.Save(path.c_str()));
  EXPECT_EQ(read(), "FARY\n2 2 2\n" + Bytes({1, 2, 3, 4}));
}

TEST_F(FastArrayFile, IsKnownByTheFirstFourLettersAlone) {
  write("FARYtale\n1 1 1\n" + Bytes({5}));
  FastArray array;
  EXPECT_TRUE(array.Load(path.c_str()));
  EXPECT_THAT(Elements(array), ElementsAre(5));
}

TEST_F(FastArrayFile, IsRefusedWithAnotherMagicOrWithoutSizes) {
  FastArray array = Numbered(2, 1);
  for (const char* bytes :
       {"FARX\n1 1 1\n....", "FAR\n1 1 1\n....", "FARY\n1 one 1\n....", "FARY\n1 1", "FARY\n-1 2 1\n", ""}) {
    write(bytes);
    EXPECT_FALSE(array.Load(path.c_str())) << bytes;
  }
  EXPECT_THAT(Elements(array), ElementsAre(0, 1));
}

TEST_F(FastArrayFile, CutShortFailsAndKeepsTheRowsThatWereThere) {
  write("FARY\n2 3 2\n" + Bytes({1, 2, 3, 4, 5}));
  FastArray array;
  EXPECT_FALSE(array.Load(path.c_str()));
  EXPECT_EQ(array.width, 2);
  EXPECT_EQ(array.height, 3);
  EXPECT_EQ(array(1, 0), 2);
  EXPECT_EQ(array(0, 1), 3);
  EXPECT_EQ(array(1, 1), 4);
  EXPECT_EQ(array(0, 2), 5);
  EXPECT_EQ(array(1, 2), 0);
}

TEST_F(FastArrayFile, ThatClaimsTerabytesTakesNoMemory) {
  write("FARY\n999999 999999 999999\n" + Bytes({1, 2}));
  FastArray array = Numbered(2, 1);
  EXPECT_FALSE(array.Load(path.c_str()));
  EXPECT_THAT(Elements(array), ElementsAre(0, 1));
}

TEST_F(FastArrayFile, ThatIsntThereFailsToLoadAndOneThatCantBeMadeToSave) {
  FastArray array = Numbered(1, 1);
  EXPECT_FALSE(array.Load((path + ".none").c_str()));
  EXPECT_FALSE(array.Save((path + ".none/file").c_str()));
}

}  // namespace
}  // namespace Vorn
