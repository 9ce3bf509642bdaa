// SPDX-License-Identifier: Apache-2.0
// The library's own block stream, written and read one coefficient and one symbol at a time: what the fast routines are
// measured by, and the end of a stream.
#include <algorithm>

#include "codec/huffman_tables.h"

namespace quorvel {
namespace {

constexpr unsigned kFullRun = 16;
constexpr int kLargestValue = 32767;  // the largest of category 15

void put(WordWriter& writer, const c_derived_tbl& table, unsigned symbol) {
  const unsigned length = table.entries[kLengths + symbol];
  writer.put(codeIn(table.entries + kInternalCodes, symbol, length), length);
}

// The next symbol, read a bit at a time until the code is one of its length, or -1.
int readSymbol(BitReader<false>& reader, const c_decode_tbl& table) {
  std::int32_t code = 0;
  for (unsigned length = 1; length <= 16; ++length) {
    std::uint64_t bit;
    reader.take(1, bit);
    code = code << 1 | static_cast<std::int32_t>(bit);
    if (code <= table.maxCode[length]) return table.symbols[code + table.valueOffset[length]];
  }
  return -1;
}

std::int16_t readValue(BitReader<false>& reader, unsigned size) {
  std::uint64_t extra;
  reader.take(size, extra);
  return static_cast<std::int16_t>(valueOf(static_cast<std::uint32_t>(extra), size));
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int encodeHuffmanPeltoBlockSlow(int component, CHuffman_state* state, const std::int16_t* block,
                                const c_derived_tbl* table) {
  if (static_cast<unsigned>(component) >= kComponents) return kOutOfRange;
  const int difference = block[0] - state->lastDC[component];
  for (unsigned i = 0; i < 64; ++i) {
    const int v = i == 0 ? difference : block[i];
    if (v < -kLargestValue || v > kLargestValue) return kOutOfRange;
  }
  state->lastDC[component] = block[0];
  WordWriter writer(*state);
  const auto putSymbol = [&](unsigned symbol) { put(writer, *table, symbol); };
  auto run = static_cast<unsigned>(state->pendingRun);
  for (unsigned i = 0; i < 64; ++i) {
    const int v = i == 0 ? difference : block[i];
    if (v == 0) {
      if (++run == kFullRun) {
        putSymbol(kFullRunSymbol);
        run = 0;
      }
      continue;
    }
    const Coded coded = codeValue(v);
    putSymbol(run << 4 | coded.size);
    writer.put(coded.extra, coded.size);
    run = 0;
  }
  state->pendingRun = static_cast<int>(run);
  writer.end(*state);
  return 0;
}

int flushHuffmanPeltoBlockSlow(CHuffman_state* state, const c_derived_tbl* table) {
  WordWriter writer(*state);
  if (state->pendingRun != 0) put(writer, *table, kEndSymbol);
  writer.end(*state);
  // The whole word is written, so that whoever reads by words finds zeros after the last bit.
  const unsigned units = (static_cast<unsigned>(state->bitCount) + 15) / 16;
  if (units != 0) {
    const std::uint64_t last = state->accumulator >> (64 - state->bitCount);
    auto* at = reinterpret_cast<std::uint8_t*>(state->word);
    std::memcpy(at, &last, sizeof(last));
    state->word = reinterpret_cast<std::uint64_t*>(at + 2 * units);
    state->byteCount += static_cast<int>(2 * units);
  }
  state->accumulator = 0;
  state->bitCount = 0;
  state->pendingRun = 0;
  return 0;
}

int decodeHuffmanPeltoBlockSlow(int component, CHuffman_state* state, std::int16_t* block, const c_decode_tbl* table) {
  auto position = static_cast<unsigned>(state->pendingRun);
  const auto pending = static_cast<unsigned>(state->pendingSize);
  if (static_cast<unsigned>(component) >= kComponents || position > 63 || pending > 15) return kOutOfRange;
  std::fill_n(block, 64, std::int16_t{0});
  BitReader<false> reader(*state);
  state->pendingRun = state->pendingSize = 0;
  if (pending != 0) block[position++] = readValue(reader, pending);
  while (position < 64) {
    const BitReader<false> good = reader;
    const int symbol = readSymbol(reader, *table);
    if (symbol < 0) {
      good.end(*state);
      return kBadCode;
    }
    const unsigned run = static_cast<unsigned>(symbol) >> 4, size = symbol & 15;
    if (symbol == static_cast<int>(kFullRunSymbol)) {
      position += kFullRun;
      continue;
    }
    if (symbol == static_cast<int>(kEndSymbol)) {
      position = 64;
      continue;
    }
    if (size != 0) position += run;
    if (position >= 64) {  // the value is the next block's
      state->pendingSize = static_cast<int>(size);
      break;
    }
    block[position++] = readValue(reader, size);
  }
  state->pendingRun = static_cast<int>(position - 64);
  block[0] = static_cast<std::int16_t>(block[0] + state->lastDC[component]);
  state->lastDC[component] = block[0];
  reader.end(*state);
  return 0;
}
