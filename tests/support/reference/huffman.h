// SPDX-License-Identifier: Apache-2.0
// Huffman block streams as rows of bits, first bit first, and the blocks that try them.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_HUFFMAN_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_HUFFMAN_H_

#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <quorvel/huffman.h>
#include <quorvel/huffman_tables.h>

namespace quorvel::test::reference {

using Blocks = std::vector<std::int16_t>;
using Bytes = std::vector<std::uint8_t>;

// The codes as text.
inline std::map<int, std::string> codesOf(const HuffmanDefinition& d) {
  std::map<int, std::string> codes;
  unsigned code = 0, at = 0;
  for (unsigned length = 1; length <= 16; ++length, code <<= 1) {
    for (unsigned i = 0; i < d.counts[length - 1]; ++i, ++code) {
      std::string& text = codes[d.symbols[at++]];
      for (unsigned bit = length; bit-- > 0;) text += code >> bit & 1 ? '1' : '0';
    }
  }
  return codes;
}

inline int category(int v) {
  int s = 0;
  for (v = std::abs(v); v != 0; v /= 2) ++s;
  return s;
}

// Extra bits, the lowest or the highest first.
inline std::string extraBits(int v, bool lowestFirst) {
  const int s = category(v), e = v > 0 ? v : v + (1 << s) - 1;
  std::string text;
  for (int bit = 0; bit < s; ++bit) text += e >> (lowestFirst ? bit : s - 1 - bit) & 1 ? '1' : '0';
  return text;
}

inline std::string peltoBits(const Blocks& blocks, const HuffmanDefinition& d) {
  auto codes = codesOf(d);
  std::string bits;
  int run = 0;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const int v = i % 64 == 0 && i != 0 ? blocks[i] - blocks[i - 64] : blocks[i];
    if (v == 0) {
      if (++run == 16) bits += codes[0xF0], run = 0;
    } else {
      bits += codes[run << 4 | category(v)] + extraBits(v, true), run = 0;
    }
  }
  return run != 0 ? bits + codes[0] : bits;
}

// Block i belongs to component i mod `components`.
inline std::string jpegBits(const Blocks& blocks, std::size_t components, const HuffmanDefinition& dc,
                            const HuffmanDefinition& ac) {
  auto dcCodes = codesOf(dc), acCodes = codesOf(ac);
  std::string bits;
  for (std::size_t b = 0; b < blocks.size(); b += 64) {
    const int diff = blocks[b] - (b < 64 * components ? 0 : blocks[b - 64 * components]);
    bits += dcCodes[category(diff)] + extraBits(diff, false);
    int last = 63;
    while (last > 0 && blocks[b + last] == 0) --last;
    for (int i = 1, run = 0; i <= last; ++i) {
      const int v = blocks[b + i];
      if (v == 0) {
        ++run;
        continue;
      }
      for (; run >= 16; run -= 16) bits += acCodes[0xF0];
      bits += acCodes[run << 4 | category(v)] + extraBits(v, false), run = 0;
    }
    if (last < 63) bits += acCodes[0];
  }
  return bits;
}

// The internal order, zeros to the end of the last word.
inline Bytes inWords(const std::string& bits) {
  Bytes bytes((bits.size() + 63) / 64 * 8);
  for (std::size_t i = 0; i < bits.size(); ++i) bytes[i / 8] |= static_cast<std::uint8_t>((bits[i] - '0') << i % 8);
  return bytes;
}

// JPEG's bytes, ones to the end of the last byte.
inline Bytes inStuffedBytes(std::string bits) {
  bits.append((8 - bits.size() % 8) % 8, '1');
  Bytes bytes;
  for (std::size_t i = 0; i < bits.size(); i += 8) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(bits.substr(i, 8), nullptr, 2)));
    if (bytes.back() == 0xFF) bytes.push_back(0);
  }
  return bytes;
}

// `n` blocks whose coefficients are not 0 with a probability of `percent`, at most 2^size - 1, small ones often.
inline Blocks blocksOf(unsigned n, unsigned percent, unsigned size, unsigned seed) {
  std::minstd_rand engine(seed + 1);
  const auto pick = [&](unsigned below) { return static_cast<int>((engine() >> 8) % below); };
  Blocks blocks(64 * n);
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (static_cast<unsigned>(pick(100)) >= percent) continue;
    const int v = pick(1u << (1 + pick(size)));
    blocks[i] = static_cast<std::int16_t>(pick(2) != 0 ? v : -v);
    if (i % 64 == 0) blocks[i] /= 2;  // so that differences have a category, too
  }
  return blocks;
}

}  // namespace quorvel::test::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_HUFFMAN_H_
