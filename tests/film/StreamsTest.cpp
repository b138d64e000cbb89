#include "film/Streams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "film/CommandLine.h"

namespace film {
namespace {

/// Each test takes the streams of a process of its own.
class StreamsDeathTest : public testing::Test {
 protected:
  StreamsDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  [[noreturn]] static void runWithout(std::initializer_list<int> streams) {
    for (const int stream : streams) close(stream);
    OpenMissingStreams();
    for (int stream = 0; stream <= STDERR_FILENO; ++stream)
      if (fcntl(stream, F_GETFD) < 0) std::_Exit(3);
    const int next = open("/dev/null", O_RDONLY);
    std::_Exit(next > STDERR_FILENO ? 0 : 4);
  }
  [[noreturn]] static void listParameters(const char* target) {
    if (!std::freopen(target, "w", stdout)) std::_Exit(3);
    const char* const argv[] = {"orvane", "parameters", "--json"};
    std::_Exit(Main(3, argv));
  }
  [[noreturn]] static void printToNobody() {
    std::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) std::_Exit(3);
    close(ends[0]);
    std::printf("words");
    CheckPrinted();
    std::_Exit(0);
  }
};

TEST_F(StreamsDeathTest, NoFileTakesTheNumberOfAClosedStream) {
  EXPECT_EXIT(runWithout({0, 1, 2}), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(runWithout({1}), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(runWithout({}), testing::ExitedWithCode(0), "");
}

TEST_F(StreamsDeathTest, WhatAFullDiskSwallowedIsToldOf) {
  EXPECT_EXIT(listParameters("/dev/full"), testing::ExitedWithCode(1), "standard output: the disk is full");
  EXPECT_EXIT(listParameters("/dev/null"), testing::ExitedWithCode(0), "");
}

TEST_F(StreamsDeathTest, AReaderMayGoAway) { EXPECT_EXIT(printToNobody(), testing::ExitedWithCode(0), ""); }

}  // namespace
}  // namespace film
