// SPDX-License-Identifier: Apache-2.0
// COM guards: who initialises, who counts, and who undoes it. The oddities of the count are described in the header.
#include "quorvel/guards.h"
#include "runtime/com.h"

namespace quorvel {

// Made by the first guard, and so still there when the last one is destroyed, even if both are static objects.
ComState& comState() {
  static ComState state;
  return state;
}

namespace {

class ComLock {
 public:
  ComLock() {
    state.lock.lock();
    ++state.nesting;
  }
  ComLock(const ComLock&) = delete;
  ComLock& operator=(const ComLock&) = delete;
  ~ComLock() {
    --state.nesting;
    state.lock.unlock();
  }

  ComState& state = comState();
};

constexpr std::int32_t kNoCallMade = -1;

// Makes one of the two initialisations for `guard` and counts it. The lock is held.
void initialise(CComMultithread& guard, ComState& state, bool multithreaded) {
  guard.result = multithreaded ? comCalls.initialiseMultithreaded() : comCalls.initialiseSingleThreaded();
  if (!guard.isValid()) return;
  ++state.count;
  state.multithreaded = multithreaded;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

CComMultithread::CComMultithread() : result(kNoCallMade) {
  const ComLock lock;
  if (lock.state.count == 0) initialise(*this, lock.state, true);
}

CComMultithread::CComMultithread(int withSecurity) : result(kNoCallMade) {
  const ComLock lock;
  if (lock.state.count > 0 && lock.state.multithreaded == 1) return;
  initialise(*this, lock.state, true);
  if (isValid() && withSecurity) initSecuruty();
}

CComMultithread::CComMultithread(const CComMultithread& other) = default;

CComMultithread& CComMultithread::operator=(const CComMultithread& other) = default;

CComMultithread::~CComMultithread() { close(); }

int CComMultithread::isValid() { return result == 0 || result == 1; }

int CComMultithread::initSecuruty() {
  constexpr int kDone = 0, kRefused = 3;
  const ComLock lock;
  return comCalls.initialiseSecurity() >= 0 ? kDone : kRefused;
}

void CComMultithread::close() {
  const ComLock lock;
  --lock.state.count;
  if (!isValid()) return;
  comCalls.uninitialise();
  result = kNoCallMade;
}

CComNormal::CComNormal() {
  const ComLock lock;
  if (lock.state.count == 0) initialise(*this, lock.state, false);
}

CComNormal::CComNormal(const CComNormal& other) = default;

CComNormal& CComNormal::operator=(const CComNormal& other) = default;

CComNormal::~CComNormal() = default;
