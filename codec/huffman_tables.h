// SPDX-License-Identifier: Apache-2.0
// The parts of the Huffman tables that are the coders' own: entries of the decoder's look-up, and where the encoder's
// table keeps its look-ups of pairs.
#ifndef QUORVEL_CODEC_HUFFMAN_TABLES_H_
#define QUORVEL_CODEC_HUFFMAN_TABLES_H_

#include "codec/huffman_bits.h"

namespace quorvel {

inline constexpr unsigned kEndSymbol = 0x00, kFullRunSymbol = 0xF0;

// An entry of the look-up. Byte 0: bits to take, code and value; byte 1: zeros before the value; upper half: the value.
// A full run is 15 zeros and a value of 0. Or, if byte 0 says so: byte 1 is the code's length, 0 where it is longer
// than the index or undefined, byte 2 the symbol. More bits than there can be: so one comparison finds both what needs
// more steps and what needs more data.
inline constexpr unsigned kLookUpBits = 12, kSymbolOnly = 255;
inline constexpr unsigned kEndOfBlock = 64;  // in byte 1

constexpr std::uint32_t lookedUp(unsigned bits, unsigned run, int value) {
  return bits | run << 8 | static_cast<std::uint32_t>(value) << 16;
}
constexpr std::uint32_t symbolOnly(unsigned length, unsigned symbol) {
  return kSymbolOnly | length << 8 | symbol << 16;
}

// How a JPEG picture interleaves its blocks.
struct JpegUnit {
  unsigned components;
  int blocks[kComponents];  // in a row, of each component
};

// Look-ups of pairs. The small one begins at kBigCache; behind it stand its mark and where the large one lies. That
// also tells whose it is, as a table may have been copied.
inline constexpr unsigned kBigCacheBits = 11, kBigCacheBits12 = 15;
inline constexpr std::size_t kBigCacheEntries12 = std::size_t{16} << kBigCacheBits12;
struct KeptCache {
  const c_derived_tbl* owner;
  const CTblElem* cache;
};
inline constexpr unsigned kBigCacheKept = kInternalCodes - 8, kBigCacheMark = kInternalCodes - 1;
inline constexpr std::uint32_t kPrepared = 0x51434831;

static_assert(sizeof(CTblElem) == 5);
static_assert(kBigCache * 4 + (5 * 16 << kBigCacheBits) <= kBigCacheKept * 4);
static_assert(sizeof(KeptCache) <= (kBigCacheMark - kBigCacheKept) * 4);

}  // namespace quorvel

#endif  // QUORVEL_CODEC_HUFFMAN_TABLES_H_
