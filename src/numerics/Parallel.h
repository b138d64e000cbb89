#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace Vorn {

// The one place that knows about threads. Work is spread over a pool of standard threads, and the caller works too:
// every call returns when all of its work is done, with everything that the work wrote visible to the caller. Calls may
// come from several threads at once and from inside a work item: a call never depends on a pool thread being free, and
// while it waits it waits only for items that are already running, so calls can't deadlock. Work items must not wait
// for one another. Which thread takes which item, and in which order, isn't promised, except that with a processor
// count of 1 the caller does all items itself in the order of their indices. If an item throws, items that haven't
// begun are dropped and the first exception reaches the caller.

/// How many processors work is spread over, and the number of stripes everywhere: the number of online processors
/// unless `SetProcessorCount` set another. At least 1.
int ProcessorCount();

/// Makes `n` the processor count from the next call on; below 1 brings back the number of online processors. More than
/// there are is allowed. Safe to call from any thread.
void SetProcessorCount(int n);

/// The largest count, at most the number of online processors, that divides both `height` and four times `width` (both
/// in pixels). Stripes of that count leave no row and no lane out. 1 if a size isn't positive.
int StripeCountFor(int width, int height);

/// Calls `body(context, index)` once for each index from 0 to `count` - 1. Nothing happens if `count` isn't positive.
void ApplyInParallel(int count, void* context, void (*body)(void* context, size_t index));

/// Calls `body(index)`, with an int, once for each index from 0 to `count` - 1. The calls are concurrent: `body` is
/// shared, and what it changes must be apart for each index or behind a lock of its own.
///
///     ApplyInParallel(height, [&](int row) { ConvertRow(source + row * stride, width, target + row * width); });
template <typename Body>
void ApplyInParallel(int count, Body&& body) {
  using Plain = std::remove_reference_t<Body>;
  auto* address = const_cast<void*>(static_cast<const void*>(&body));
  ApplyInParallel(count, address,
                  [](void* context, size_t index) { (*static_cast<Plain*>(context))(static_cast<int>(index)); });
}

/// Hands out one work order each, as `work(order)` with an `Order&`, and waits for all of them: for stripes that carry
/// more than an index. The orders stay the caller's, so that it can gather from them what the stripes found.
///
///     std::vector<WarpStripe> stripes(ProcessorCount());
///     ...
///     RunInParallel(stripes, [](WarpStripe& stripe) { stripe.warper->warpRows(stripe); });
template <typename Order, typename Work>
void RunInParallel(std::vector<Order>& orders, Work&& work) {
  ApplyInParallel(static_cast<int>(orders.size()), [&](int index) { work(orders[index]); });
}

/// Cuts 0 to `count` - 1 into at most `ProcessorCount()` stripes of nearly equal length and calls `body(first, end)`
/// once for each, `end` excluded. No index is left out whatever the processor count: for work whose result must not
/// depend on it. No allocation.
template <typename Body>
void ForEachStripe(int count, Body&& body) {
  const int stripes = std::min(count, ProcessorCount());
  const auto bound = [=](int k) { return static_cast<int>(static_cast<long long>(count) * k / stripes); };
  ApplyInParallel(stripes, [&](int k) { body(bound(k), bound(k + 1)); });
}

/// A loop body as an object: it holds its arguments as members and handles one index, usually one image row.
class ParallelLoop {
 public:
  virtual void operator()(int index) = 0;
  virtual ~ParallelLoop() = default;

 protected:
  ParallelLoop() = default;
  ParallelLoop(const ParallelLoop&) = default;
  ParallelLoop& operator=(const ParallelLoop&) = default;
};

/// The index form: `loop(index)` for each index from 0 to `last` - `first` - 1. `first` does not offset the index, by
/// design: callers pass 0. Nothing happens if the range is empty or turned round.
void parallel_for(ParallelLoop& loop, int first, int last);

/// One stripe's work order of the stripe form.
struct ParallelStripe {
  void (*body)(void* context, int start, int end);
  void* context;
  int start, end;
};

/// The stripe form: `body(context, start, end)` for each of P = `ProcessorCount()` stripes of s = (`last` - `first` +
/// 1) / P indices, in integer division. By design the stripes begin at 0 whatever `first` is, `end` is `start` + s for
/// the body to take as excluded or not, and the remainder of the division goes to no stripe: the caller gives a range
/// that is a multiple of P or does the tail itself. With fewer indices than processors nothing is called.
void parallel_for(void* context, int first, int last, void (*body)(void* context, int start, int end));

/// What runs one index of the index form: `loop` is the `ParallelLoop*`.
void loop_function(void* loop, size_t index);

/// What runs one stripe of the stripe form: `record` is the `ParallelStripe*`.
void ParallelWrapper(void* record);

}  // namespace Vorn
