#include "numerics/MatchSet.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace Vorn {
namespace {

std::string TemporaryPath(const char* name) { return testing::TempDir() + "orvane_matchset_" + name; }

std::string WriteFile(const char* name, const std::string& text) {
  const std::string path = TemporaryPath(name);
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Pairs (i, 10 i, i + 0.5) for i = 0 ... count - 1.
MatchSet Numbered(int count) {
  MatchSet set;
  for (int i = 0; i < count; ++i) set.AddMatch(i, 10 * i, i + 0.5);
  return set;
}

std::vector<int> FirstsOf(const MatchSet& set) {
  std::vector<int> firsts;
  for (const MatchPair& pair : set.matches) firsts.push_back(pair.first);
  return firsts;
}

/// What `GetMatchedPair` gives at every position that it accepts.
std::vector<int> ReachableFirstsOf(const MatchSet& set) {
  std::vector<int> firsts;
  MatchPair pair;
  for (unsigned int i = 0; set.GetMatchedPair(i, pair); ++i) firsts.push_back(pair.first);
  return firsts;
}

TEST(MatchSet, AddsMatchesAndFindsThemByFirst) {
  MatchSet set = Numbered(3);
  set.AddMatch(1, 99, 7.0);
  EXPECT_EQ(set.numMatches, 4u);
  double score = 0;
  EXPECT_EQ(set.GetMatch(1, &score), 10);  // the first of two
  EXPECT_EQ(score, 1.5);
  EXPECT_EQ(set.GetMatch(2, nullptr), 20);
  score = 77;
  EXPECT_EQ(set.GetMatch(5, &score), -1);
  EXPECT_EQ(score, 77);
}

TEST(MatchSet, UpdatesAnEqualPairAndAddsAnother) {
  MatchSet set = Numbered(2);
  set.AddUpdateMatch(1, 10, 8.0);
  EXPECT_EQ(set.numMatches, 2u);
  EXPECT_EQ(set.GetScore(1), 8.0);
  set.AddUpdateMatch(1, 11, 9.0);
  EXPECT_EQ(set.numMatches, 3u);
  EXPECT_EQ(set.GetScore(1), 8.0);
}

TEST(MatchSet, GivesAndSetsPairsByPosition) {
  MatchSet set = Numbered(2);
  int first = -5, second = -5;
  EXPECT_TRUE(set.GetMatchedPair(1, first, second));
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 10);
  EXPECT_FALSE(set.GetMatchedPair(2, first, second));
  EXPECT_EQ(first, 1);
  set.SetMatchedPair(0, {7, 8, 0.25});
  set.SetMatchedPair(2, {9, 9, 9.0});  // past the end
  MatchPair pair;
  EXPECT_TRUE(set.GetMatchedPair(0, pair));
  EXPECT_EQ(pair.first, 7);
  EXPECT_EQ(pair.second, 8);
  EXPECT_EQ(pair.score, 0.25);
  EXPECT_EQ(set.matches.size(), 2u);
}

TEST(MatchSet, ScoresAreThoseOfTheFirstPair) {
  MatchSet set = Numbered(2);
  set.AddMatch(0, 5, 9.0);
  set.SetScore(0, 4.0);
  set.SetScore(8, 4.0);  // no such pair
  EXPECT_EQ(set.GetScore(0), 4.0);
  EXPECT_EQ(set.matches[2].score, 9.0);
  EXPECT_EQ(set.GetScore(8), 0.0);
}

TEST(MatchSet, CountsPositiveScores) {
  MatchSet set;
  for (const double score : {1.0, 0.0, -1.0, 1e-9, std::nan("")}) set.AddMatch(0, 0, score);
  EXPECT_EQ(set.Count(), 2u);
}

TEST(MatchSet, RemovalLeavesTheCountAndTheStaleLastEntry) {
  MatchSet set = Numbered(3);
  set.Remove(0);
  EXPECT_EQ(FirstsOf(set), (std::vector<int>{1, 2}));
  EXPECT_EQ(set.numMatches, 3u);
  EXPECT_EQ(set.Count(), 3u);
  MatchPair pair;
  ASSERT_TRUE(set.GetMatchedPair(2, pair));
  EXPECT_EQ(pair.first, 2);
  EXPECT_EQ(pair.second, 20);
  EXPECT_EQ(pair.score, 2.5);
  EXPECT_FALSE(set.GetMatchedPair(3, pair));
}

TEST(MatchSet, StalePositionsHoldWhatLastStoodThere) {
  MatchSet set = Numbered(4);
  set.Remove(3);
  EXPECT_EQ(ReachableFirstsOf(set), (std::vector<int>{0, 1, 2, 3}));
  EXPECT_EQ(set.GetMatch(3), 30);   // looks through numMatches entries
  EXPECT_EQ(set.GetScore(3), 0.0);  // looks at the live ones
  set.Remove(0);
  EXPECT_EQ(ReachableFirstsOf(set), (std::vector<int>{1, 2, 2, 3}));
  set.Remove(5);
  set.Remove(2);  // past the last live pair
  EXPECT_EQ(FirstsOf(set), (std::vector<int>{1, 2}));
  set.AddMatch(8, 80, 1.0);  // takes the position behind the live pairs
  EXPECT_EQ(set.numMatches, 5u);
  EXPECT_EQ(FirstsOf(set), (std::vector<int>{1, 2, 8}));
  EXPECT_EQ(ReachableFirstsOf(set), (std::vector<int>{1, 2, 8, 3, -1}));  // the last was never written
  set.SetMatchedPair(4, {9, 90, 1.0});
  EXPECT_EQ(ReachableFirstsOf(set), (std::vector<int>{1, 2, 8, 3, 9}));
  EXPECT_EQ(FirstsOf(set), (std::vector<int>{1, 2, 8}));
}

TEST(MatchSet, RemovesAllPairsOfSomeFirsts) {
  MatchSet set = Numbered(5);
  set.AddMatch(1, 99, 1.0);
  set.RemoveIndexA({1, 3, 77, 1});
  EXPECT_EQ(FirstsOf(set), (std::vector<int>{0, 2, 4}));
  EXPECT_EQ(set.numMatches, 6u);
  EXPECT_EQ(ReachableFirstsOf(set), (std::vector<int>{0, 2, 4, 1, 1, 1}));
  MatchSet empty;
  empty.RemoveIndexA({1});
  EXPECT_TRUE(empty.matches.empty());
}

TEST(MatchSet, SortsByScoreEitherWay) {
  MatchSet set;
  set.AddMatch(1, 0, 0.5);
  set.AddMatch(2, 0, 2.0);
  set.AddMatch(3, 0, -1.0);
  set.AddMatch(4, 0, 1.0);
  set.SortMatches(true);
  EXPECT_EQ(FirstsOf(set), (std::vector<int>{2, 4, 1, 3}));
  set.SortMatches(false);
  EXPECT_EQ(FirstsOf(set), (std::vector<int>{3, 1, 4, 2}));
  EXPECT_TRUE((MatchPair{0, 0, 2.0} < MatchPair{0, 0, 1.0}));
  EXPECT_FALSE((MatchPair{0, 0, 1.0} < MatchPair{0, 0, 1.0}));
}

TEST(MatchSet, SortingSurvivesScoresThatArentNumbers) {
  MatchSet set;
  for (int i = 0; i < 100; ++i) set.AddMatch(i, 0, i % 3 == 0 ? std::nan("") : i % 7);
  set.SortMatches(true);
  EXPECT_EQ(set.matches.size(), 100u);
}

TEST(MatchSet, ClearForgetsEverything) {
  MatchSet set = Numbered(3);
  set.Remove(0);
  set.Clear();
  EXPECT_EQ(set.numMatches, 0u);
  EXPECT_TRUE(set.matches.empty());
  set.AddMatch(6, 60, 1.0);
  EXPECT_EQ(ReachableFirstsOf(set), (std::vector<int>{6}));
}

TEST(MatchSet, SavesAKeywordTwoCountsAndThePairs) {
  MatchSet set;
  set.AddMatch(1, 2, 0.5);
  set.AddMatch(3, 4, 0.0);
  set.AddMatch(-5, 6, 1234567.0);
  const std::string path = TemporaryPath("save");
  ASSERT_TRUE(set.Save(path.c_str()));
  EXPECT_EQ(ReadFile(path), "MATCHES\n3\n2\n1 2 0.5\n3 4 0\n-5 6 1.23457e+06\n");
  EXPECT_FALSE(set.Save("/nonexistent/matches"));
  MatchSet loaded = Numbered(9);
  ASSERT_TRUE(loaded.Load(path.c_str()));
  EXPECT_EQ(loaded.numMatches, 3u);
  EXPECT_EQ(FirstsOf(loaded), (std::vector<int>{1, 3, -5}));
  EXPECT_EQ(loaded.GetScore(1), 0.5);
}

TEST(MatchSet, LoadsWhateverTheSecondCountSays) {
  MatchSet set;
  ASSERT_TRUE(set.Load(WriteFile("second", "MATCHES\n1 77\n4 5 6\n").c_str()));
  EXPECT_EQ(set.numMatches, 1u);
  EXPECT_EQ(set.GetMatch(4), 5);
}

TEST(MatchSet, AShortFileGivesThePairsThatItHolds) {
  for (const char* text :
       {"MATCHES\n5\n5\n1 2 3\n4 5 6\n7 8", "MATCHES\n4000000000\n0\n1 2 3\n4 5 6\nx 1 1\n7 8 9\n"}) {
    MatchSet set;
    EXPECT_TRUE(set.Load(WriteFile("short", text).c_str()));
    EXPECT_EQ(FirstsOf(set), (std::vector<int>{1, 4}));
    EXPECT_EQ(set.numMatches, 2u);
  }
}

TEST(MatchSet, OtherFilesAreRefusedAndTheSetStays) {
  MatchSet set = Numbered(2);
  EXPECT_FALSE(set.Load("/nonexistent/matches"));
  EXPECT_FALSE(set.Load(WriteFile("other", "POINTS\n0\n").c_str()));
  EXPECT_FALSE(set.Load(WriteFile("empty", "").c_str()));
  EXPECT_EQ(set.numMatches, 2u);
}

}  // namespace
}  // namespace Vorn
