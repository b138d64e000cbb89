#pragma once

namespace Vorn {

/// The seed that the solvers start their generators from. From the clock, so that runs differ, unless a fixed
/// sequence was asked for.
unsigned SeedFromClock();

/// Makes `SeedFromClock` return the sequence that belongs to `n` from its beginning: a run on one processor then
/// repeats exactly. Safe to call from any thread.
void SetRandomSeed(unsigned n);

}  // namespace Vorn
