// SPDX-License-Identifier: Apache-2.0
// The remembered answers of the processor queries, and the one place where the processor is asked. Both are open to the
// rest of the library: some routines read a remembered answer without asking, and tests play any processor through
// them.
#ifndef QUORVEL_RUNTIME_CAPABILITIES_H_
#define QUORVEL_RUNTIME_CAPABILITIES_H_

#include <cstdint>

namespace quorvel {

// One cell a cached query: -1 until it is first asked, then its answer for the life of the process. Unlocked on
// purpose: two threads that fill a cell at once store the same aligned word.
struct CapabilityCells {
  std::int32_t sse = -1;
  std::int32_t sse2 = -1;
  std::int32_t now3d = -1;
  std::int32_t now3dMirror = -1;  // kept in step with now3d for older code; nothing in the library reads it
  std::int32_t extended3dNow = -1;
  std::int32_t commonEmmx = -1;
  std::int32_t emmxAmd = -1;
  std::int32_t extended3dAmd = -1;
};

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
