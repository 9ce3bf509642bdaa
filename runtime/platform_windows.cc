// SPDX-License-Identifier: Apache-2.0
// The operating system's services on Windows.
#include <windows.h>

#include "runtime/debugger.h"
#include "runtime/platform.h"

namespace quorvel {

std::int64_t performanceCounter() {
  LARGE_INTEGER now{};
  QueryPerformanceCounter(&now);
  return now.QuadPart;
}

std::int64_t performanceFrequency() {
  LARGE_INTEGER ticks{};
  QueryPerformanceFrequency(&ticks);
  return ticks.QuadPart;
}

void sleepMilliseconds(unsigned ms) { Sleep(ms); }

PhysicalMemory physicalMemory() {
  MEMORYSTATUS status{};
  status.dwLength = sizeof status;
  GlobalMemoryStatus(&status);
  return {status.dwTotalPhys, status.dwAvailPhys};
}

void beep(unsigned hertz, unsigned ms) { Beep(hertz, ms); }

int setPriorityClass(int priorityClass) {
  const HANDLE process = GetCurrentProcess();
  const DWORD previous = GetPriorityClass(process);
  if (previous == 0 || !SetPriorityClass(process, static_cast<DWORD>(priorityClass))) return -1;
  return static_cast<int>(previous);
}

std::uint64_t systemFileTime() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return static_cast<std::uint64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
}

void debuggerBreak() { DebugBreak(); }

}  // namespace quorvel
