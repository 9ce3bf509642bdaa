// SPDX-License-Identifier: Apache-2.0
// What stands behind the COM guards: the four calls of the system, and the state that all guards of a process share.
#ifndef QUORVEL_RUNTIME_COM_H_
#define QUORVEL_RUNTIME_COM_H_

#include <cstdint>
#include <mutex>

namespace quorvel {

// Each initialisation gives COM's own status: 0 done, 1 done before, negative refused.
struct ComCalls {
  std::int32_t (*initialiseMultithreaded)();
  std::int32_t (*initialiseSingleThreaded)();
  std::int32_t (*initialiseSecurity)();
  void (*uninitialise)();
};

// The system's calls, one implementation file a system, unless a test puts others here.
extern ComCalls comCalls;

// All guards work on this under its lock, which has to let its owner in again: a constructor that holds it calls
// initSecuruty, which takes it too. std::recursive_mutex is that critical section on every system the library is built
// for (Windows builds use the posix thread model), so that one implementation serves them all.
struct ComState {
  std::recursive_mutex lock;
  std::int32_t count = 0;          // guards that initialised COM, less all that were closed
  std::int32_t multithreaded = 0;  // 1 when the last successful initialisation was the multithreaded one
  std::uint8_t nesting = 0;        // how often the owner of the lock has entered it; marks, and decides nothing
};

ComState& comState();

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_COM_H_
