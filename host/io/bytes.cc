// SPDX-License-Identifier: Apache-2.0
#include "host/io/bytes.h"

#include <array>

namespace quorvel::host {
namespace {

// Row k holds what a byte does to the checksum when k bytes follow it, so that four bytes go in at a time.
constexpr auto kCrc = [] {
  std::array<std::array<std::uint32_t, 256>, 4> table{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t c = i;
    for (int bit = 0; bit < 8; ++bit) c = c >> 1 ^ (c & 1 ? 0xEDB88320u : 0u);
    table[0][i] = c;
  }
  for (std::size_t k = 1; k < 4; ++k) {
    for (std::size_t i = 0; i < 256; ++i) {
      const std::uint32_t c = table[k - 1][i];
      table[k][i] = c >> 8 ^ table[0][c & 255];
    }
  }
  return table;
}();

}  // namespace

std::uint32_t crc32(ByteSpan bytes, std::uint32_t before) {
  std::uint32_t c = ~before;
  for (; bytes.size() >= 4; bytes = bytes.subspan(4)) {
    c ^= bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
    c = kCrc[3][c & 255] ^ kCrc[2][c >> 8 & 255] ^ kCrc[1][c >> 16 & 255] ^ kCrc[0][c >> 24];
  }
  for (const std::uint8_t b : bytes) c = c >> 8 ^ kCrc[0][(c ^ b) & 255];
  return ~c;
}

}  // namespace quorvel::host
