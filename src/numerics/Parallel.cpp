#include "numerics/Parallel.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <numeric>
#include <system_error>
#include <thread>

namespace Vorn {
namespace {

constexpr int mostHelpers = 255;  // of the pool, whatever processor count is asked for

/// One call's work, on the caller's stack. `next` is shared without a lock; the rest changes under the pool's lock.
struct Batch {
  std::atomic<size_t> next{0};
  void (*body)(void* context, size_t index) = nullptr;
  void* context = nullptr;
  size_t count = 0, grain = 1;  // items, and how many of them are taken at a time
  int helperLimit = 0;
  int helpers = 0;  // pool threads at work in it
  std::exception_ptr failure;
  std::condition_variable deserted;  // the last helper left

  bool hasWork() const { return next.load(std::memory_order_relaxed) < count; }
};

class Pool {
 public:
  void run(Batch& batch) {
    open(batch);
    work(batch);
    close(batch);
    if (batch.failure) std::rethrow_exception(batch.failure);
  }

  /// Ends the threads; later calls are done by their callers alone.
  void stop() {
    {
      const std::lock_guard<std::mutex> guard(lock);
      stopping = true;
    }
    workAdded.notify_all();
    if (getpid() != owner) return;  // threads don't survive a fork, and waiting for one that is gone never ends
    for (std::thread& thread : threads) thread.join();
    threads.clear();
  }

 private:
  void open(Batch& batch) {
    {
      const std::lock_guard<std::mutex> guard(lock);
      addThreads(batch.helperLimit);
      openBatches.push_back(&batch);
    }
    if (batch.helperLimit == 1)
      workAdded.notify_one();
    else
      workAdded.notify_all();
  }

  void close(Batch& batch) {
    std::unique_lock<std::mutex> guard(lock);
    openBatches.erase(std::find(openBatches.begin(), openBatches.end(), &batch));
    batch.deserted.wait(guard, [&] { return batch.helpers == 0; });
  }

  /// Takes indices until none is left. A few at a time, so that many small items don't fight for the counter.
  void work(Batch& batch) {
    try {
      while (batch.hasWork()) {
        const size_t first = batch.next.fetch_add(batch.grain, std::memory_order_relaxed);
        const size_t end = std::min(first + batch.grain, batch.count);
        for (size_t index = first; index < end; ++index) batch.body(batch.context, index);
      }
    } catch (...) {
      batch.next.store(batch.count, std::memory_order_relaxed);
      const std::lock_guard<std::mutex> guard(lock);
      if (!batch.failure) batch.failure = std::current_exception();
    }
  }

  void help() {
    std::unique_lock<std::mutex> guard(lock);
    Batch* batch = nullptr;
    const auto called = [&] { return stopping || (batch = batchToJoin()) != nullptr; };
    while (true) {
      workAdded.wait(guard, called);
      if (stopping) return;
      ++batch->helpers;
      guard.unlock();
      work(*batch);
      guard.lock();
      // Under the lock: the batch is gone as soon as its caller has it.
      if (--batch->helpers == 0) batch->deserted.notify_one();
    }
  }

  /// The latest batch first: an inner call ends before the outer one's item can.
  Batch* batchToJoin() const {
    for (auto batch = openBatches.rbegin(); batch != openBatches.rend(); ++batch)
      if ((*batch)->helpers < (*batch)->helperLimit && (*batch)->hasWork()) return *batch;
    return nullptr;
  }

  void addThreads(int wanted) {
    try {
      while (!stopping && static_cast<int>(threads.size()) < wanted) threads.emplace_back([this] { help(); });
    } catch (const std::system_error&) {
      // The system gives no more threads: the caller and those that there are do the work.
    }
  }

  std::mutex lock;
  std::condition_variable workAdded;
  std::vector<std::thread> threads;
  std::vector<Batch*> openBatches;
  bool stopping = false;
  const pid_t owner = getpid();
};

/// The pool outlives every static object, which may still call in while the program ends; only its threads are stopped
/// then (or when a plug-in that holds this library is unloaded).
Pool& ThePool() {
  static Pool& pool = *new Pool;
  static const struct Stopper {
    ~Stopper() { pool.stop(); }
  } stopper;
  return pool;
}

int OnlineProcessors() {
  static const int online = static_cast<int>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)));
  return online;
}

std::atomic<int> processorCount{0};  // 0: as many as are online

}  // namespace

int ProcessorCount() {
  const int count = processorCount.load(std::memory_order_relaxed);
  return count > 0 ? count : OnlineProcessors();
}

void SetProcessorCount(int n) { processorCount.store(std::max(n, 0), std::memory_order_relaxed); }

int StripeCountFor(int width, int height) {
  if (width < 1 || height < 1) return 1;
  const long long common = std::gcd(4LL * width, static_cast<long long>(height));
  int count = OnlineProcessors();
  while (common % count != 0) --count;
  return count;
}

void ApplyInParallel(int count, void* context, void (*body)(void* context, size_t index)) {
  const int threads = std::min({ProcessorCount(), count, mostHelpers + 1});
  if (threads <= 1) {
    for (int index = 0; index < count; ++index) body(context, static_cast<size_t>(index));
    return;
  }
  Batch batch;
  batch.body = body;
  batch.context = context;
  batch.count = static_cast<size_t>(count);
  batch.grain = std::max<size_t>(1, batch.count / (static_cast<size_t>(threads) * 16));
  batch.helperLimit = threads - 1;
  ThePool().run(batch);
}

void loop_function(void* loop, size_t index) { (*static_cast<ParallelLoop*>(loop))(static_cast<int>(index)); }

void parallel_for(ParallelLoop& loop, int first, int last) {
  if (last > first) ApplyInParallel(last - first, &loop, loop_function);
}

void ParallelWrapper(void* record) {
  const auto& stripe = *static_cast<const ParallelStripe*>(record);
  stripe.body(stripe.context, stripe.start, stripe.end);
}

void parallel_for(void* context, int first, int last, void (*body)(void* context, int start, int end)) {
  const int processors = ProcessorCount();
  const int size = static_cast<int>((static_cast<long long>(last) - first + 1) / processors);
  if (size < 1) return;
  std::vector<ParallelStripe> stripes;
  stripes.reserve(static_cast<size_t>(processors));
  for (int i = 0; i < processors; ++i) stripes.push_back({body, context, i * size, i * size + size});
  RunInParallel(stripes, [](ParallelStripe& stripe) { ParallelWrapper(&stripe); });
}

}  // namespace Vorn
