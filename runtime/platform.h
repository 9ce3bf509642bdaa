// SPDX-License-Identifier: Apache-2.0
// The services that the runtime takes from the operating system, one implementation file a system.
#ifndef QUORVEL_RUNTIME_PLATFORM_H_
#define QUORVEL_RUNTIME_PLATFORM_H_

#include <cstdint>

namespace quorvel {

// A counter that never runs backwards, and its ticks per second.
std::int64_t performanceCounter();
std::int64_t performanceFrequency();

void sleepMilliseconds(unsigned ms);

struct PhysicalMemory {
  std::uint64_t totalBytes, availableBytes;
};
PhysicalMemory physicalMemory();

// Sounds the machine's beeper, where it has one.
void beep(unsigned hertz, unsigned ms);

// Sets the scheduling class of the process and returns the previous one, or -1 where it cannot be read or set.
int setPriorityClass(int priorityClass);

// The system time in units of 100 nanoseconds since the first of January 1601, UTC.
std::uint64_t systemFileTime();

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_PLATFORM_H_
