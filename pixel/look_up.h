// SPDX-License-Identifier: Apache-2.0
// Bytes looked up in a table by 16-bit samples, the inner step of every gamma conversion: dst[i] = table[src[i]].
#ifndef QUORVEL_PIXEL_LOOK_UP_H_
#define QUORVEL_PIXEL_LOOK_UP_H_

#include <cstddef>
#include <cstdint>

namespace quorvel {

// By the way that is faster on this processor, which the first call of 16384 samples or more finds out on its own
// samples.
void lookUpBytes(const std::uint16_t* src, std::uint8_t* dst, const std::uint8_t* table, std::size_t n);

// The two ways. Their results are the same; on targets without gathers the second is the first.
void lookUpBytesByWords(const std::uint16_t* src, std::uint8_t* dst, const std::uint8_t* table, std::size_t n);
// May also read, without using them, bytes of the aligned 32-bit words in which the table's bytes lie.
void lookUpBytesByGathers(const std::uint16_t* src, std::uint8_t* dst, const std::uint8_t* table, std::size_t n);

}  // namespace quorvel

#endif  // QUORVEL_PIXEL_LOOK_UP_H_
