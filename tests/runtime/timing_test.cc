// SPDX-License-Identifier: Apache-2.0
#include "runtime/timing.h"

#include <chrono>
#include <ctime>

#include <gtest/gtest.h>
#include <quorvel/runtime.h>

#include "runtime/platform.h"

namespace quorvel {
namespace {

// The three clocks are read in a row and have to tell one time: the differences over a wait agree with each other and
// with the system's steady clock. Bounds are wide above, where a busy machine may add time, and tight below.
TEST(Timing, ClocksAgreeOverAWait) {
  const auto steadyStart = std::chrono::steady_clock::now();
  const unsigned ms = timeMS(), us = timeMks(), counter = timeCounter();
  delayMsek(40);
  const unsigned msTaken = timeMS() - ms, usTaken = timeMks() - us, counterTaken = timeCounter() - counter;
  const double steadyTaken =
      std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - steadyStart).count();
  const double counterUs = counterTaken * 16.0 * 1e6 / static_cast<double>(performanceFrequency());
  EXPECT_GE(msTaken, 40u);
  EXPECT_GE(usTaken, 39000u);
  EXPECT_NEAR(usTaken, msTaken * 1000.0, 5000);
  EXPECT_NEAR(usTaken, counterUs, 5000);
  EXPECT_NEAR(usTaken, steadyTaken, 5000);
}

TEST(Timing, WaitsAreAsLongAsAskedAndNoWaitReturnsAtOnce) {
  unsigned start = timeMks();
  for (int i = 0; i < 100; ++i) delayMsek(0);
  EXPECT_LT(timeMks() - start, 50000u);
  start = timeMks();
  delayMicroseconds(3000);
  EXPECT_GE(timeMks() - start, 3000u);
}

TEST(Timing, FileTimeCountsFrom1601) {
  constexpr std::uint64_t kFrom1601 = 11'644'473'600;
  EXPECT_NEAR(static_cast<double>(systemFileTimeSeconds() - kFrom1601), static_cast<double>(std::time(nullptr)), 2);
}

TEST(Timing, ClockEstimateIsAProcessorsClock) {
  const int mhz = frequencyMHzByIncEAX();
  EXPECT_GT(mhz, 50);
  EXPECT_LT(mhz, 7000) << "increments ran beside each other";
}

TEST(Timing, MemoryIsInKilobytes) {
  std::uint64_t total = 0, available = 0;
  checkPhysicalMemory(total, available);
  EXPECT_GT(total, 64u << 10) << "less than 64 MiB: wrong unit";
  EXPECT_LE(available, total);
  EXPECT_EQ(total >> 32, 0u);
}

}  // namespace
}  // namespace quorvel
