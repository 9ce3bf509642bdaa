// SPDX-License-Identifier: Apache-2.0
// The remembered answers of the processor queries, and the one place where the processor is asked. Both are open to the
// rest of the library: some routines read a remembered answer without asking, and tests play any processor through
// them.
#ifndef QUORVEL_RUNTIME_CAPABILITIES_H_
#define QUORVEL_RUNTIME_CAPABILITIES_H_

#include <atomic>
#include <cstdint>

namespace quorvel {

// The remembered answer of a query: -1 until it is first asked, then the answer for the life of the process. Unlocked
// on purpose, and relaxed: two threads that fill a cell at once store the same word, and nothing else hangs on it.
class CapabilityCell {
 public:
  CapabilityCell() = default;
  CapabilityCell(const CapabilityCell& other) : answer_(std::int32_t{other}) {}
  CapabilityCell& operator=(const CapabilityCell& other) { return *this = std::int32_t{other}; }
  CapabilityCell& operator=(std::int32_t answer) {
    answer_.store(answer, std::memory_order_relaxed);
    return *this;
  }
  operator std::int32_t() const { return answer_.load(std::memory_order_relaxed); }

 private:
  std::atomic<std::int32_t> answer_{-1};
};

struct CapabilityCells {
  CapabilityCell sse, sse2, now3d;
  CapabilityCell now3dMirror;  // filled together with now3d, for older code; nothing in the library reads it
  CapabilityCell extended3dNow, commonEmmx, emmxAmd, extended3dAmd;
};
static_assert(sizeof(CapabilityCells) == 8 * sizeof(std::int32_t));

extern CapabilityCells capabilityCells;

struct CpuidRegisters {
  std::uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;
};

// Where the queries get their answers from: the machine's own instruction, unless a test puts another processor here.
struct Processor {
  bool (*hasCpuid)();
  CpuidRegisters (*cpuid)(std::uint32_t leaf);
};

extern Processor processor;

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_CAPABILITIES_H_
