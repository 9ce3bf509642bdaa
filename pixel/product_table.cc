// SPDX-License-Identifier: Apache-2.0
#include "pixel/product_table.h"

#include "quorvel/pixel.h"

namespace quorvel {

std::uint16_t productTable[256 * 256];

}  // namespace quorvel

void genMulTable8_8() {
  for (unsigned a = 0; a < 256; ++a) {
    for (unsigned b = 0; b < 256; ++b) quorvel::productTable[256 * a + b] = static_cast<std::uint16_t>(a * b);
  }
}
