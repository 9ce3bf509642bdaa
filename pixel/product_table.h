// SPDX-License-Identifier: Apache-2.0
// The products of all pairs of bytes.
#ifndef QUORVEL_PIXEL_PRODUCT_TABLE_H_
#define QUORVEL_PIXEL_PRODUCT_TABLE_H_

#include <cstdint>

namespace quorvel {

// a * b at index 256 * a + b once `genMulTable8_8` has run, zeros before.
extern std::uint16_t productTable[256 * 256];

}  // namespace quorvel

#endif  // QUORVEL_PIXEL_PRODUCT_TABLE_H_
