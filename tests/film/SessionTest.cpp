#include "film/Session.h"

#include <csignal>

#include "film/CommandLineFixture.h"
#include "film/Interrupt.h"

namespace film {
namespace {

class SessionDeathTest : public CommandLineTest {
 protected:
  SessionDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  static int analyse(const std::string& name, const char* again) {
    const char* const argv[] = {"orvane", "analyse", name.c_str(), "--progress", "none", again};
    return Main(again ? 6 : 5, argv);
  }
  /// Cancels a second analysis at its start, in a process of its own.
  [[noreturn]] void cancelTheSecond() const {
    if (analyse(clip, nullptr) != 0) std::_Exit(3);
    const std::string stored = ReadAll(document);
    CatchInterrupts();
    std::raise(SIGINT);
    const int status = analyse(clip, "--again");
    std::_Exit(ReadAll(document) == stored ? status : 4);
  }
};

TEST_F(SessionDeathTest, ACancelledAnalysisCostsNoWholeOne) {
  EXPECT_EXIT(cancelTheSecond(), testing::ExitedWithCode(130), "cancelled; the analysis of before is kept in ");
}

}  // namespace
}  // namespace film
