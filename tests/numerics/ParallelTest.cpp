#include "numerics/Parallel.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

namespace Vorn {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

class Parallel : public testing::Test {
 protected:
  void TearDown() override { SetProcessorCount(0); }
};

struct RecordingLoop : ParallelLoop {
  void operator()(int index) override {
    const std::lock_guard<std::mutex> guard(lock);
    seen.push_back(index);
  }
  std::mutex lock;
  std::vector<int> seen;
};

struct RecordedStripes {
  std::mutex lock;
  std::vector<std::pair<int, int>> seen;
  static void Record(void* context, int start, int end) {
    auto& self = *static_cast<RecordedStripes*>(context);
    const std::lock_guard<std::mutex> guard(self.lock);
    self.seen.emplace_back(start, end);
  }
};

TEST_F(Parallel, ProcessorCountIsTheNumberOfOnlineProcessorsUnlessSet) {
  EXPECT_EQ(ProcessorCount(), sysconf(_SC_NPROCESSORS_ONLN));
  SetProcessorCount(5);
  EXPECT_EQ(ProcessorCount(), 5);
  SetProcessorCount(0);
  EXPECT_EQ(ProcessorCount(), sysconf(_SC_NPROCESSORS_ONLN));
}

TEST_F(Parallel, StripeCountIsTheLargestThatLeavesNothingOut) {
  const int online = static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
  for (const auto& [width, height] : std::vector<std::pair<int, int>>{{1920, 1080}, {101, 77}, {7, 6}, {9, 12}}) {
    int largest = 1;
    for (int count = 1; count <= online; ++count)
      if (height % count == 0 && 4 * width % count == 0) largest = count;
    EXPECT_EQ(StripeCountFor(width, height), largest) << width << "x" << height;
  }
  EXPECT_EQ(StripeCountFor(100, 77 * 13), 1);
  EXPECT_EQ(StripeCountFor(0, 10), 1);
}

TEST_F(Parallel, IndexFormRunsNothingOnAnEmptyRange) {
  RecordingLoop loop;
  parallel_for(loop, 0, 0);
  parallel_for(loop, 3, 1);
  EXPECT_THAT(loop.seen, IsEmpty());
}

TEST_F(Parallel, IndexFormDoesNotOffsetByFirst) {
  SetProcessorCount(2);
  RecordingLoop loop;
  parallel_for(loop, 3, 7);
  EXPECT_THAT(loop.seen, UnorderedElementsAre(0, 1, 2, 3));
}

TEST_F(Parallel, LoopFunctionCallsTheObjectWithTheIndex) {
  RecordingLoop loop;
  loop_function(static_cast<ParallelLoop*>(&loop), 4);
  EXPECT_THAT(loop.seen, ElementsAre(4));
}

TEST_F(Parallel, StripeFormLeavesTheRemainderOut) {
  SetProcessorCount(4);
  RecordedStripes stripes;
  parallel_for(&stripes, 0, 6, RecordedStripes::Record);
  EXPECT_THAT(stripes.seen, UnorderedElementsAre(Pair(0, 1), Pair(1, 2), Pair(2, 3), Pair(3, 4)));
}

TEST_F(Parallel, StripeFormBeginsAtZeroWhateverFirstIs) {
  SetProcessorCount(2);
  RecordedStripes stripes;
  parallel_for(&stripes, 10, 15, RecordedStripes::Record);
  EXPECT_THAT(stripes.seen, UnorderedElementsAre(Pair(0, 3), Pair(3, 6)));
}

TEST_F(Parallel, StripeFormDoesNothingWithFewerItemsThanProcessors) {
  SetProcessorCount(4);
  RecordedStripes stripes;
  parallel_for(&stripes, 0, 2, RecordedStripes::Record);
  parallel_for(&stripes, 5, -5, RecordedStripes::Record);
  EXPECT_THAT(stripes.seen, IsEmpty());
}

TEST_F(Parallel, EveryIndexRunsOnceForAnyProcessorCount) {
  for (const int processors : {1, 2, 3, 8}) {
    SetProcessorCount(processors);
    for (const int count : {1, 2, 7, 1000}) {
      std::vector<int> runs(count);  // each index writes its own element, so a race would be a double run
      ApplyInParallel(count, [&](int index) { ++runs[index]; });
      EXPECT_THAT(runs, Each(1)) << count << " on " << processors;
    }
  }
}

TEST_F(Parallel, NothingRunsForACountBelowOne) {
  int runs = 0;
  ApplyInParallel(0, [&](int) { ++runs; });
  ApplyInParallel(-3, [&](int) { ++runs; });
  ForEachStripe(0, [&](int, int) { ++runs; });
  EXPECT_EQ(runs, 0);
}

TEST_F(Parallel, OnOneProcessorTheCallerRunsAllInOrder) {
  SetProcessorCount(1);
  std::vector<int> order;
  std::set<std::thread::id> threads;
  ApplyInParallel(5, [&](int index) {
    order.push_back(index);
    threads.insert(std::this_thread::get_id());
  });
  EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4));
  EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id()));
}

TEST_F(Parallel, TwoProcessorsWorkAtTheSameTime) {
  SetProcessorCount(2);
  std::atomic<int> inside{0};
  std::atomic<bool> met{false};
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  ApplyInParallel(2, [&](int) {  // each waits for the other: it takes two threads to meet before the deadline
    if (++inside == 2) met = true;
    while (!met && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  });
  EXPECT_TRUE(met);
}

TEST_F(Parallel, WorkOrdersAreEachHandedOutOnce) {
  struct Order {
    int first, end;
    long sum;
  };
  SetProcessorCount(3);
  std::vector<Order> orders = {{0, 10, 0}, {10, 20, 0}, {20, 31, 0}};
  RunInParallel(orders, [](Order& order) {
    for (int i = order.first; i < order.end; ++i) order.sum += i;
  });
  EXPECT_EQ(orders[0].sum, 45);
  EXPECT_EQ(orders[1].sum, 145);
  EXPECT_EQ(orders[2].sum, 275);
}

TEST_F(Parallel, StripesCoverEveryIndexOnceForAnyProcessorCount) {
  for (const int processors : {1, 2, 3, 7, 16}) {
    SetProcessorCount(processors);
    for (const int count : {1, 5, 16, 1081}) {
      std::vector<int> covered(count);
      std::atomic<int> stripes{0};
      ForEachStripe(count, [&](int first, int end) {
        ++stripes;
        for (int i = first; i < end; ++i) ++covered[i];
      });
      EXPECT_THAT(covered, Each(1)) << count << " on " << processors;
      EXPECT_EQ(stripes, std::min(count, processors));
    }
  }
}

TEST_F(Parallel, CallsFromInsideWorkItemsComplete) {
  SetProcessorCount(4);
  std::atomic<int> runs{0};
  ApplyInParallel(6, [&](int) { ApplyInParallel(6, [&](int) { ApplyInParallel(6, [&](int) { ++runs; }); }); });
  EXPECT_EQ(runs, 216);
}

TEST_F(Parallel, CallsFromSeveralThreadsAtOnceComplete) {
  SetProcessorCount(3);
  std::vector<long> sums(4);
  std::vector<std::thread> callers;
  callers.reserve(sums.size());
  for (long& sum : sums)
    callers.emplace_back([&sum] {
      for (int round = 0; round < 50; ++round) {
        std::vector<int> parts(20);
        ApplyInParallel(20, [&](int i) {
          std::atomic<int> inner{0};
          ForEachStripe(i, [&](int first, int end) { inner += end - first; });
          parts[i] = inner;
        });
        for (const int part : parts) sum += part;  // everything written must be visible here
      }
    });
  for (std::thread& caller : callers) caller.join();
  EXPECT_THAT(sums, Each(50 * 190));
}

TEST_F(Parallel, TheProcessorCountMayChangeBetweenCalls) {
  std::atomic<int> runs{0};
  for (const int processors : {4, 1, 6, 2}) {
    SetProcessorCount(processors);
    ApplyInParallel(9, [&](int) { ++runs; });
  }
  EXPECT_EQ(runs, 36);
}

TEST_F(Parallel, AnExceptionReachesTheCallerAndThePoolGoesOn) {
  SetProcessorCount(2);
  EXPECT_THROW(ApplyInParallel(100,
                               [](int index) {
                                 if (index == 7) throw std::runtime_error("seven");
                               }),
               std::runtime_error);
  std::atomic<int> runs{0};
  ApplyInParallel(100, [&](int) { ++runs; });
  EXPECT_EQ(runs, 100);
}

}  // namespace
}  // namespace Vorn
