// SPDX-License-Identifier: Apache-2.0
// Reversed rows, which half turns are made of too.
#ifndef QUORVEL_GEOMETRY_TILE_MIRROR_H_
#define QUORVEL_GEOMETRY_TILE_MIRROR_H_

#include <cstddef>
#include <cstdint>

namespace quorvel {

// dst[i] = src[n - 1 - i]; the rows do not overlap.
void mirrorRow(const std::uint8_t* src, std::uint8_t* dst, std::size_t n);
void mirrorRow(const std::uint16_t* src, std::uint16_t* dst, std::size_t n);

// a[i] takes what b[n - 1 - i] was and the other way round; the rows do not overlap.
void exchangeMirrored(std::uint8_t* a, std::uint8_t* b, std::size_t n);
void exchangeMirrored(std::uint16_t* a, std::uint16_t* b, std::size_t n);

// In place: the two halves of a row change places, and a sample in the middle stays.
template <typename T>
void mirrorInPlace(T* row, std::size_t n) {
  exchangeMirrored(row, row + (n - n / 2), n / 2);
}

}  // namespace quorvel

#endif  // QUORVEL_GEOMETRY_TILE_MIRROR_H_
