// SPDX-License-Identifier: Apache-2.0
// Puts another processor in place of the machine's while it lives, with every capability cell unasked.
#ifndef QUORVEL_TESTS_SUPPORT_PLAYED_PROCESSOR_H_
#define QUORVEL_TESTS_SUPPORT_PLAYED_PROCESSOR_H_

#include <cstring>
#include <map>
#include <string_view>

#include "runtime/capabilities.h"

namespace quorvel::test {

class PlayedProcessor {
 public:
  PlayedProcessor() : machine_(processor), cells_(capabilityCells) {
    current = this;
    capabilityCells = {};
    processor = {[] { return current->hasCpuid; },
                 [](std::uint32_t leaf) {
                   ++current->asked;
                   return current->leaves[leaf];
                 }};
  }
  PlayedProcessor(const PlayedProcessor&) = delete;
  PlayedProcessor& operator=(const PlayedProcessor&) = delete;
  ~PlayedProcessor() {
    processor = machine_;
    capabilityCells = cells_;
    current = nullptr;
  }

  void setVendor(std::string_view twelve) {
    std::memcpy(&leaves[0].ebx, twelve.data(), 4);
    std::memcpy(&leaves[0].edx, twelve.data() + 4, 4);
    std::memcpy(&leaves[0].ecx, twelve.data() + 8, 4);
  }

  bool hasCpuid = true;
  std::map<std::uint32_t, CpuidRegisters> leaves;  // leaves that are not set answer zeros
  int asked = 0;                                   // how often any leaf was read

 private:
  static inline PlayedProcessor* current = nullptr;
  Processor machine_;
  CapabilityCells cells_;
};

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_PLAYED_PROCESSOR_H_
