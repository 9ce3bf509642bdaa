// SPDX-License-Identifier: Apache-2.0
#include "tests/digest/digest.h"

namespace quorvel::test {

void addRuntime(Routines& routines) {
  for (const std::uint32_t x : {0u, 1u, 0x80000000u, 0x12345678u, 0xFFFF0001u}) {
    CALL(log2i, x);
    CALL(log2n, x);
    CALL(lowBit, x);
  }
}

}  // namespace quorvel::test
