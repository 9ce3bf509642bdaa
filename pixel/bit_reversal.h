// SPDX-License-Identifier: Apache-2.0
// Bytes with their bits in reverse order, for the bit writers and for binary images.
#ifndef QUORVEL_PIXEL_BIT_REVERSAL_H_
#define QUORVEL_PIXEL_BIT_REVERSAL_H_

#include <array>
#include <cstdint>

namespace quorvel {

using ByteTable = std::array<std::uint8_t, 256>;

// bitReversal[0][i] is i with its 8 bits in reverse order. For k from 1 to 9, bitReversal[k][i] is that shifted right
// by 9 - k: the low k - 1 bits of i reversed. They are constants of the program, so no thread can meet them unfinished.
extern const std::array<ByteTable, 10> bitReversal;

}  // namespace quorvel

#endif  // QUORVEL_PIXEL_BIT_REVERSAL_H_
