// SPDX-License-Identifier: Apache-2.0
// The operating system's services on POSIX systems.
#include <cerrno>
#include <csignal>
#include <ctime>

#include <sys/resource.h>
#include <unistd.h>

#include "runtime/debugger.h"
#include "runtime/platform.h"

namespace quorvel {
namespace {

// 16 MHz: both factors that timeMS and timeMks derive from the frequency are then exact, which a counter in
// nanoseconds (1048.576 rounded down to 1048) would miss by half a millisecond every second.
constexpr std::int64_t kTicksPerSecond = 16'000'000;

std::int64_t nanoseconds(clockid_t clock, std::int64_t* seconds) {
  timespec now{};
  clock_gettime(clock, &now);
  *seconds = now.tv_sec;
  return now.tv_nsec;
}

}  // namespace

std::int64_t performanceCounter() {
  std::int64_t seconds = 0;
  const std::int64_t ns = nanoseconds(CLOCK_MONOTONIC, &seconds);
  return seconds * kTicksPerSecond + ns * (kTicksPerSecond / 1'000'000) / 1000;
}

std::int64_t performanceFrequency() { return kTicksPerSecond; }

void sleepMilliseconds(unsigned ms) {
  timespec left{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1'000'000};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

PhysicalMemory physicalMemory() {
  const auto pageSize = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  return {static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * pageSize,
          static_cast<std::uint64_t>(sysconf(_SC_AVPHYS_PAGES)) * pageSize};
}

void beep(unsigned, unsigned) {}  // no beeper that a library may assume

int setPriorityClass(int priorityClass) {
  errno = 0;
  const int previous = getpriority(PRIO_PROCESS, 0);
  if (previous == -1 && errno != 0) return -1;
  return setpriority(PRIO_PROCESS, 0, priorityClass) == 0 ? previous : -1;
}

std::uint64_t systemFileTime() {
  constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
  std::int64_t seconds = 0;
  const std::int64_t ns = nanoseconds(CLOCK_REALTIME, &seconds);
  return static_cast<std::uint64_t>((seconds + kSecondsFrom1601To1970) * 10'000'000 + ns / 100);
}

void debuggerBreak() { std::raise(SIGTRAP); }

}  // namespace quorvel
