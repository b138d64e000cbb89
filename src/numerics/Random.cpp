#include "numerics/Random.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <random>

namespace Vorn {
namespace {

std::mutex sequenceLock;
std::optional<std::minstd_rand> fixedSequence;

}  // namespace

unsigned SeedFromClock() {
  const std::lock_guard<std::mutex> guard(sequenceLock);
  if (fixedSequence) return static_cast<unsigned>((*fixedSequence)());
  return static_cast<unsigned>(std::chrono::system_clock::now().time_since_epoch().count());
}

void SetRandomSeed(unsigned n) {
  const std::lock_guard<std::mutex> guard(sequenceLock);
  fixedSequence.emplace(n);
}

}  // namespace Vorn
