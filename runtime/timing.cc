// SPDX-License-Identifier: Apache-2.0
// Time from the performance counter, busy waits, the clock estimate, and the size of the memory.
#include "runtime/timing.h"

#include <algorithm>
#include <limits>

#include "quorvel/runtime.h"
#include "runtime/platform.h"

namespace {

// Set once on first use, unlocked: every thread computes the same value.
std::int32_t millisecondDivisor = 0;
std::uint64_t microsecondFactor = 0;
constexpr std::uint32_t kNoBaseYet = std::numeric_limits<std::uint32_t>::max();
std::uint32_t delayBase = kNoBaseYet;

}  // namespace

unsigned timeMS() {
  // 8 x 125 = 1000: counter x 1000 / frequency, without the overflow of the larger product.
  if (millisecondDivisor == 0) millisecondDivisor = static_cast<std::int32_t>(quorvel::performanceFrequency() / 125);
  return static_cast<unsigned>(quorvel::performanceCounter() * 8 / millisecondDivisor);
}

unsigned timeMks() {
  constexpr std::int64_t kMicrosecondsIn20Bits = std::int64_t{1'000'000} << 20;
  if (microsecondFactor == 0) {
    microsecondFactor = static_cast<std::uint64_t>(kMicrosecondsIn20Bits / quorvel::performanceFrequency());
  }
  return static_cast<unsigned>(static_cast<std::uint64_t>(quorvel::performanceCounter()) * microsecondFactor >> 20);
}

unsigned timeCounter() { return static_cast<unsigned>(quorvel::performanceCounter() >> 4); }

void delayMsek(int ms) {
  if (delayBase == kNoBaseYet) delayBase = timeMS();
  // Times are taken relative to the base, so that a wrap of the millisecond count during the wait does no harm.
  const std::uint32_t target = static_cast<std::uint32_t>(ms) - delayBase + timeMS();
  while (timeMS() - delayBase < target) {
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
