// SPDX-License-Identifier: Apache-2.0
// Time from the performance counter, busy waits, the clock estimate, and the size of the memory.
#include "runtime/timing.h"

#include <algorithm>
#include <atomic>
#include <limits>

#include "quorvel/runtime.h"
#include "runtime/platform.h"

namespace {

// Set once on first use, unlocked and relaxed: every thread computes the same value. Of two that set the base of waits
// at once each may keep its own for that one wait, which is as long either way.
std::atomic<std::int32_t> millisecondDivisor{0};
std::atomic<std::uint64_t> microsecondFactor{0};
constexpr std::uint32_t kNoBaseYet = std::numeric_limits<std::uint32_t>::max();
std::atomic<std::uint32_t> delayBase{kNoBaseYet};
static_assert(decltype(microsecondFactor)::is_always_lock_free);

// What the cell holds, after storing what `compute` gives if it holds `none`.
template <typename T, typename Compute>
T onceSet(std::atomic<T>& cell, T none, Compute compute) {
  T value = cell.load(std::memory_order_relaxed);
  if (value == none) {
    value = compute();
    cell.store(value, std::memory_order_relaxed);
  }
  return value;
}

}  // namespace

unsigned timeMS() {
  // 8 x 125 = 1000: counter x 1000 / frequency, without the overflow of the larger product.
  const std::int32_t divisor =
      onceSet(millisecondDivisor, 0, [] { return static_cast<std::int32_t>(quorvel::performanceFrequency() / 125); });
  return static_cast<unsigned>(quorvel::performanceCounter() * 8 / divisor);
}

unsigned timeMks() {
  constexpr std::int64_t kMicrosecondsIn20Bits = std::int64_t{1'000'000} << 20;
  const std::uint64_t factor = onceSet(microsecondFactor, std::uint64_t{0}, [] {
    return static_cast<std::uint64_t>(kMicrosecondsIn20Bits / quorvel::performanceFrequency());
  });
  return static_cast<unsigned>(static_cast<std::uint64_t>(quorvel::performanceCounter()) * factor >> 20);
}

unsigned timeCounter() { return static_cast<unsigned>(quorvel::performanceCounter() >> 4); }

void delayMsek(int ms) {
  const std::uint32_t base = onceSet(delayBase, kNoBaseYet, timeMS);
  // Times are taken relative to the base: the millisecond count may wrap during the wait, the time since the base may
  // not. Where that does, after 49.7 days, or where a negative wait takes the target below 0, the comparison is with a
  // target on the other side of the wrap; the header says what a host then sees.
  const std::uint32_t target = static_cast<std::uint32_t>(ms) - base + timeMS();
  while (timeMS() - base < target) {
  }
}

int frequencyMHzByIncEAX() {
  constexpr unsigned kIncrements = 99, kPasses = 1000, kIncrementsATrial = 100001;
  // The compiler must not know the 1: recent processors add a constant while they rename registers, several to a clock.
  unsigned one = 1, counter = 0;
  __asm__ volatile("" : "+r"(one));
  unsigned best = 0;
  for (int trial = 0; trial < 5; ++trial) {
    const unsigned start = timeMks();
    for (unsigned pass = 0; pass < kPasses; ++pass) {
#pragma GCC unroll 99
      for (unsigned i = 0; i < kIncrements; ++i) {
        counter += one;
        __asm__ volatile("" : "+r"(counter));  // each increment waits for the one before, from pass to pass
      }
    }
    const unsigned elapsed = std::max(timeMks() - start, 1u);  // a counter too coarse to see the trial
    best = std::max(best, kIncrementsATrial / elapsed);
    quorvel::sleepMilliseconds(10);
  }
  return static_cast<int>(best);
}

void checkPhysicalMemory(std::uint64_t& total, std::uint64_t& avail) {
  const quorvel::PhysicalMemory memory = quorvel::physicalMemory();
  const auto kilobytes = [](std::uint64_t bytes) {
    return std::min<std::uint64_t>(bytes >> 10, std::numeric_limits<std::uint32_t>::max());
  };
  total = kilobytes(memory.totalBytes);
  avail = kilobytes(memory.availableBytes);
}

namespace quorvel {

void delayMicroseconds(unsigned us) {
  const unsigned start = timeMks();
  while (timeMks() - start < us) {
  }
}

std::uint64_t systemFileTimeSeconds() { return systemFileTime() / 10'000'000; }

}  // namespace quorvel
