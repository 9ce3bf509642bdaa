// SPDX-License-Identifier: Apache-2.0
// Stands in for a debugger while it lives: counts the stops and lets the process go on.
#ifndef QUORVEL_TESTS_SUPPORT_COUNTED_BREAKS_H_
#define QUORVEL_TESTS_SUPPORT_COUNTED_BREAKS_H_

#ifdef _WIN32
#include <windows.h>
#undef far  // words of older compilers that it takes from everyone
#undef near
#else
#include <csignal>
#endif

namespace quorvel::test {

class CountedBreaks {
 public:
  CountedBreaks(const CountedBreaks&) = delete;
  CountedBreaks& operator=(const CountedBreaks&) = delete;
  int count() const { return breaks; }

#ifdef _WIN32
  CountedBreaks() : handler_(AddVectoredExceptionHandler(1, stopped)) { breaks = 0; }
  ~CountedBreaks() { RemoveVectoredExceptionHandler(handler_); }

 private:
  static LONG CALLBACK stopped(EXCEPTION_POINTERS* stop) {
    if (stop->ExceptionRecord->ExceptionCode != EXCEPTION_BREAKPOINT) return EXCEPTION_CONTINUE_SEARCH;
    breaks = breaks + 1;
#ifdef _WIN64
    stop->ContextRecord->Rip += 1;  // the one byte of the instruction
#else
    stop->ContextRecord->Eip += 1;
#endif
    return EXCEPTION_CONTINUE_EXECUTION;
  }
  static inline volatile int breaks = 0;
  void* handler_;
#else
  CountedBreaks() : previous_(std::signal(SIGTRAP, [](int) { breaks = breaks + 1; })) { breaks = 0; }
  ~CountedBreaks() { std::signal(SIGTRAP, previous_); }

 private:
  static inline volatile std::sig_atomic_t breaks = 0;
  void (*previous_)(int);
#endif
};

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_COUNTED_BREAKS_H_
