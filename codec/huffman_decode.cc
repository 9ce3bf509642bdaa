// SPDX-License-Identifier: Apache-2.0
// The block decoders. The next 12 bits look up code and value at once; what they do not decide, because a code or its
// extra bits are longer or because the next word is needed, is resolved apart. So a symbol costs one look-up and one
// shift after the other.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/huffman_decode.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "codec/huffman_scan.h"
#include "codec/huffman_tables.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

struct Symbol {
  unsigned bits;  // to take from the stream, the value's too
  unsigned run;   // zeros before the value, or kEndOfBlock
  int value;
  int status;

  // Of `bits`, those before the value.
  unsigned codeBits() const { return bits - codeValue(value).size; }
};

HWY_INLINE Symbol lookedUpSymbol(std::uint32_t entry) {
  return {entry & 0xFF, entry >> 8 & 0xFF, static_cast<std::int16_t>(entry >> 16), 0};
}

inline constexpr unsigned kLongestCode = 16;
inline constexpr unsigned kUndefined = 255;  // bits of what is no symbol: more than there can be

// What the low bits of `view` are, if enough of them are data.
template <bool kJpeg>
HWY_INLINE Symbol interpret(std::uint64_t view, const c_decode_tbl& table) {
  const std::uint32_t entry = (kJpeg ? table.jpeg : table.pelto)[view & lowBits(kLookUpBits)];
  if ((entry & 0xFF) != kSymbolOnly) return lookedUpSymbol(entry);
  unsigned length = entry >> 8 & 0xFF, symbol = entry >> 16;
  if (length == 0) {
    const std::uint32_t code = reverseBits(static_cast<std::uint32_t>(view) & 0xFFFF, kLongestCode);
    const auto prefix = [&](unsigned n) { return static_cast<std::int32_t>(code >> (kLongestCode - n)); };
    length = kLookUpBits + 1;
    while (length <= kLongestCode && prefix(length) > table.maxCode[length]) ++length;
    if (length > kLongestCode) return {kUndefined, 0, 0, 0};
    symbol = table.symbols[prefix(length) + table.valueOffset[length]];
  }
  const unsigned run = symbol >> 4, size = symbol & 15;
  if (symbol == kFullRunSymbol) return {length, 15, 0, 0};
  if (symbol == kEndSymbol) return {length, kEndOfBlock, 0, 0};
  if (size == 0) return {kJpeg ? kUndefined : length, 0, 0, 0};
  auto extra = static_cast<std::uint32_t>(view >> length & lowBits(size));
  if (kJpeg) extra = reverseBits(extra, size);
  return {length + size, run, valueOf(extra, size), 0};
}

// The symbol that the look-up alone did not give. The reader comes by value, so that it can live in registers. The next
// word is not looked at unless the symbol cannot be told without it: it may lie beyond the stream. A value behind
// `room` zeros or more stays in the stream, and so may be still to come.
template <bool kJpeg, bool kBounded>
HWY_NOINLINE Symbol resolve(BitReader<kBounded> reader, const c_decode_tbl* table, std::size_t room) {
  unsigned valid = reader.count();
  const auto complete = [&](const Symbol& symbol) {
    return symbol.bits <= valid || (symbol.bits != kUndefined && symbol.run >= room && symbol.codeBits() <= valid);
  };
  Symbol symbol = interpret<kJpeg>(reader.bits(), *table);
  if (complete(symbol)) return symbol;
  if (symbol.bits != kUndefined || valid < kLongestCode) symbol = interpret<kJpeg>(reader.ahead(valid), *table);
  if (!complete(symbol)) symbol.status = symbol.bits == kUndefined && valid >= kLongestCode ? kBadCode : kDataEnd;
  return symbol;
}

template <bool kJpeg, bool kBounded>
HWY_INLINE Symbol next(const BitReader<kBounded>& reader, const c_decode_tbl& table, std::size_t room) {
  const std::uint32_t entry = (kJpeg ? table.jpeg : table.pelto)[reader.bits() & lowBits(kLookUpBits)];
  if (HWY_UNLIKELY((entry & 0xFF) > reader.count())) return resolve<kJpeg>(reader, &table, room);
  return lookedUpSymbol(entry);
}

// What the look-up alone did not give, from as many bits as any symbol has.
HWY_NOINLINE Symbol resolveAhead(std::uint64_t view, const c_decode_tbl* table) {
  const Symbol symbol = interpret<true>(view, *table);
  return symbol.bits == kUndefined ? Symbol{0, 0, 0, kBadCode} : symbol;
}

// The symbols of a block, of data that go on for long enough and of any.
class SymbolsAhead {
 public:
  explicit SymbolsAhead(const BitReader<true>& reader) : reader_(reader) {}
  HWY_INLINE Symbol next(const c_decode_tbl& table) {
    if (good_-- == 0) {
      reader_.fill();
      good_ = kSymbolsPerFill - 1;
    }
    const std::uint32_t entry = table.jpeg[reader_.bits() & lowBits(kLookUpBits)];
    if (HWY_LIKELY((entry & 0xFF) != kSymbolOnly)) return lookedUpSymbol(entry);
    reader_.fill();
    return resolveAhead(reader_.bits(), &table);
  }
  HWY_INLINE void advance(unsigned bits) { reader_.advance(bits); }
  HWY_INLINE void end(BitReader<true>& reader) const { reader_.end(reader); }

 private:
  // What a fill is good for, should the first of them be the longest symbol: filling up for each would cost more.
  static constexpr unsigned kSymbolsPerFill = 3;
  static_assert(BlockReader::kLongestSymbol + (kSymbolsPerFill - 1) * kLookUpBits <= BlockReader::kFilled);

  BlockReader reader_;
  unsigned good_ = 0;
};
template <bool kBounded>
class SymbolsInTurn {
 public:
  explicit SymbolsInTurn(BitReader<kBounded>& reader) : reader_(reader) {}
  // In JPEG no value goes beyond its block.
  HWY_INLINE Symbol next(const c_decode_tbl& table) {
    return HWY_NAMESPACE::next<true>(reader_, table, kEndOfBlock + 1);
  }
  HWY_INLINE void advance(unsigned bits) { reader_.advance(bits); }

 private:
  BitReader<kBounded>& reader_;
};

template <typename Symbols>
HWY_INLINE int decodeSymbols(Symbols& symbols, std::int16_t* HWY_RESTRICT block, int& lastDC, const c_decode_tbl& dc,
                             const c_decode_tbl& ac) {
  const Symbol first = symbols.next(dc);
  if (first.status != 0) return first.status;
  if (first.run % kEndOfBlock != 0) return kBadCode;  // symbol 0 is a difference of 0 here; runs there are none
  symbols.advance(first.bits);
  block[0] = static_cast<std::int16_t>(first.value + lastDC);
  for (unsigned i = 1; i < 64; ++i) {
    const Symbol symbol = symbols.next(ac);
    if (HWY_UNLIKELY(symbol.status != 0)) return symbol.status;
    i += symbol.run;
    if (i < 64) {
      block[i] = static_cast<std::int16_t>(symbol.value);
    } else if (symbol.run != kEndOfBlock) {
      return kBadCode;
    }
    symbols.advance(symbol.bits);
  }
  lastDC = block[0];
  return 0;
}

template <bool kBounded>
HWY_INLINE int decodeBaseline(BitReader<kBounded>& reader, std::int16_t* HWY_RESTRICT block, int& lastDC,
                              const c_decode_tbl& dc, const c_decode_tbl& ac) {
  std::memset(block, 0, 64 * sizeof(*block));
  if constexpr (kBounded) {
    if (HWY_LIKELY(BlockReader::fits(reader))) {
      SymbolsAhead symbols(reader);
      const int status = decodeSymbols(symbols, block, lastDC, dc, ac);
      symbols.end(reader);
      return status;
    }
  }
  SymbolsInTurn<kBounded> symbols(reader);
  return decodeSymbols(symbols, block, lastDC, dc, ac);
}

int decodeJpegBlock(int component, CHuffman_state* state, std::int16_t* block, const c_decode_tbl* dc,
                    const c_decode_tbl* ac) {
  BitReader<false> reader(*state);
  const int status = decodeBaseline(reader, block, state->lastDC[component], *dc, *ac);
  reader.end(*state);
  return status;
}

int decodeJpegBlockBounded(int component, CHuffman_state* state, std::int16_t* block, const c_decode_tbl* dc,
                           const c_decode_tbl* ac, const std::uint8_t* end) {
  BitReader<true> reader(*state, end);
  const int status = decodeBaseline(reader, block, state->lastDC[component], *dc, *ac);
  reader.end(*state);
  return status;
}

int decodePelto(int component, CHuffman_state* state, std::int16_t* HWY_RESTRICT block, const c_decode_tbl* table) {
  auto position = static_cast<unsigned>(state->pendingRun);
  std::memset(block, 0, 64 * sizeof(*block));
  BitReader<false> reader(*state);
  if (state->pendingSize != 0) {
    const auto size = static_cast<unsigned>(state->pendingSize);
    std::uint64_t extra;
    reader.take(size, extra);
    block[position++] = static_cast<std::int16_t>(valueOf(static_cast<std::uint32_t>(extra), size));
  }
  state->pendingRun = state->pendingSize = 0;
  while (position < 64) {
    Symbol symbol = next<false>(reader, *table, 64 - position);
    if (HWY_UNLIKELY(symbol.status != 0)) {
      reader.end(*state);
      return symbol.status;
    }
    position += symbol.run;
    if (HWY_LIKELY(position < 64)) {
      block[position++] = static_cast<std::int16_t>(symbol.value);
    } else if (symbol.run == kEndOfBlock) {
      position = 64;
    } else if (symbol.value == 0) {
      ++position;  // the last zero of a full run
    } else {       // the value is the next block's, and so are its bits
      state->pendingSize = static_cast<int>(symbol.bits - symbol.codeBits());
      symbol.bits = symbol.codeBits();
    }
    reader.advance(symbol.bits);
  }
  state->pendingRun = static_cast<int>(position - 64);
  block[0] = static_cast<std::int16_t>(block[0] + state->lastDC[component]);
  state->lastDC[component] = block[0];
  reader.end(*state);
  return 0;
}

// All blocks are one row of coefficients, over which runs go as they are: nothing has to be carried from block to
// block. The row is worked on in pieces that stay in the first-level cache until their prediction is added.
template <bool kBounded>
HWY_INLINE int decodePeltoRow(BitReader<kBounded>& reader, std::int16_t* HWY_RESTRICT row, std::size_t nBlocks,
                              const c_decode_tbl& table, CCoefStatInfo* stat, std::size_t& completed) {
  constexpr std::size_t kPiece = 32 * 64;
  const std::size_t all = nBlocks * 64;
  std::size_t position = 0;
  Symbol symbol = {0, 0, 0, 0};
  bool spilled = false;  // the last symbol's value is still to be stored
  std::int16_t dc = 0;
  for (std::size_t begin = 0; begin < all && symbol.status == 0; begin += kPiece) {
    const std::size_t end = std::min(begin + kPiece, all);
    std::memset(row + begin, 0, (end - begin) * sizeof(*row));
    if (spilled) row[position++] = static_cast<std::int16_t>(symbol.value);
    spilled = false;
    while (position < end) {
      symbol = next<false>(reader, table, all - position);
      if (HWY_UNLIKELY(symbol.status != 0)) break;
      if (HWY_UNLIKELY(symbol.run == kEndOfBlock)) {
        reader.advance(symbol.bits);
        position = (position / 64 + 1) * 64;
        continue;
      }
      position += symbol.run;
      spilled = position >= end;
      if (HWY_UNLIKELY(spilled)) {
        reader.advance(position >= all ? symbol.codeBits() : symbol.bits);
        break;
      }
      reader.advance(symbol.bits);
      row[position++] = static_cast<std::int16_t>(symbol.value);
    }
    completed = std::min(position, end) / 64;
    for (std::int16_t* block = row + begin; block < row + completed * 64; block += 64) {
      if (stat != nullptr) {
        for (unsigned i = 0; i < 64; ++i) {
          const unsigned category = codeValue(block[i]).size;
          ++(category == 0 ? stat->zeros : stat->nonZeros);
          ++stat->categories[i][category];
        }
      }
      block[0] = dc = static_cast<std::int16_t>(block[0] + dc);
    }
    if (symbol.status != 0) std::memset(row + end, 0, (all - end) * sizeof(*row));
  }
  return symbol.status;
}

int decodePeltoAll(const std::uint8_t* stream, std::int16_t* blocks, std::size_t nBlocks, const c_decode_tbl* table,
                   CCoefStatInfo* stat) {
  BitReader<false> reader(stream);
  std::size_t completed = 0;
  return decodePeltoRow(reader, blocks, nBlocks, *table, stat, completed);
}

int decodePeltoAllBounded(const std::uint8_t* stream, std::size_t length, std::int16_t* blocks, std::size_t nBlocks,
                          const c_decode_tbl* table, CHuffmanProgress* progress) {
  BitReader<true> reader(stream, stream + length);
  std::size_t completed = 0;
  const int status = decodePeltoRow(reader, blocks, nBlocks, *table, nullptr, completed);
  *progress = {static_cast<unsigned>(completed), reader.taken(stream)};
  return status;
}

template <bool kBounded>
HWY_INLINE int decodeInterleaved(BitReader<kBounded>& reader, std::int16_t* blocks, std::size_t nBlocks,
                                 const c_decode_tbl* const* tables, const JpegUnit& unit, std::size_t& completed) {
  int lastDC[kComponents] = {};
  unsigned component = 0;
  int left = unit.blocks[0];
  for (completed = 0; completed < nBlocks; ++completed, --left) {
    if (left == 0) {
      component = component + 1 == unit.components ? 0 : component + 1;
      left = unit.blocks[component];
    }
    const int status = decodeBaseline(reader, blocks + 64 * completed, lastDC[component], *tables[2 * component],
                                      *tables[2 * component + 1]);
    if (status != 0) {
      std::memset(blocks + 64 * (completed + 1), 0, 64 * (nBlocks - completed - 1) * sizeof(*blocks));
      return status;
    }
  }
  return 0;
}

int decodeJpegAll(const std::uint8_t* stream, std::int16_t* blocks, std::size_t nBlocks,
                  const c_decode_tbl* const* tables, const JpegUnit& unit) {
  BitReader<false> reader(stream);
  std::size_t completed;
  return decodeInterleaved(reader, blocks, nBlocks, tables, unit, completed);
}

int decodeJpegAllBounded(const std::uint8_t* stream, std::size_t length, std::int16_t* blocks, std::size_t nBlocks,
                         const c_decode_tbl* const* tables, const JpegUnit& unit, CHuffmanProgress* progress) {
  BitReader<true> reader(stream, stream + length);
  std::size_t completed;
  const int status = decodeInterleaved(reader, blocks, nBlocks, tables, unit, completed);
  *progress = {static_cast<unsigned>(completed), reader.taken(stream)};
  return status;
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(decodeJpegAll);
HWY_EXPORT(decodeJpegAllBounded);
HWY_EXPORT(decodeJpegBlock);
HWY_EXPORT(decodeJpegBlockBounded);
HWY_EXPORT(decodePelto);
HWY_EXPORT(decodePeltoAll);
HWY_EXPORT(decodePeltoAllBounded);

bool isComponent(int component) { return static_cast<unsigned>(component) < kComponents; }

// False where a unit has no such form.
bool makeUnit(int components, int n0, int n1, int n2, JpegUnit& unit) {
  if (components < 1 || components > static_cast<int>(kComponents)) return false;
  unit = {static_cast<unsigned>(components), {n0, n1, n2, 1}};
  return std::all_of(unit.blocks, unit.blocks + unit.components, [](int n) { return n >= 1; });
}

// Fills the buffer up when it could run out within a block.
void preDecode(CPreDecoder& pre, CHuffman_state& state) {
  constexpr std::size_t kBlockBytes = 256;  // 64 codes of 16 bits with 15 extra bits each are less
  auto* const buffer = reinterpret_cast<std::uint8_t*>(pre.words);
  const std::size_t rest = pre.filled - static_cast<std::size_t>(reinterpret_cast<std::uint8_t*>(state.word) - buffer);
  std::size_t chunk = pre.length - pre.position;
  if (rest >= kBlockBytes || chunk == 0 || pre.marker != 0) return;
  std::memmove(buffer, state.word, rest);
  state.word = pre.words;
  const std::uint8_t* data = pre.data + pre.position;
  if (chunk > sizeof(pre.words) - rest) {
    chunk = sizeof(pre.words) - rest;
    if (data[chunk - 1] == 0xFF) --chunk;  // it is to be seen together with the byte behind it
  }
  const ScanResult result = scanEntropyCoded(data, chunk, buffer + rest);
  pre.marker = result.marker;
  pre.position += static_cast<unsigned>(result.position);
  pre.filled = static_cast<unsigned>(rest + result.produced);
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int decodeHuffmanPeltoBlockFast(int component, CHuffman_state* state, std::int16_t* block, const c_decode_tbl* table) {
  const bool placed = static_cast<unsigned>(state->pendingRun) < 64 && static_cast<unsigned>(state->pendingSize) < 16;
  if (!isComponent(component) || !placed) return kOutOfRange;
  return HWY_DYNAMIC_DISPATCH(decodePelto)(component, state, block, table);
}

int decodeHuffmanPeltoBlockSuperFast(int component, CHuffman_state* state, std::int16_t* block,
                                     const c_decode_tbl* table) {
  return decodeHuffmanPeltoBlockFast(component, state, block, table);
}

int decodeHuffmanPeltoBlock(int component, CHuffman_state* state, std::int16_t* block, const c_decode_tbl* table) {
  return decodeHuffmanPeltoBlockFast(component, state, block, table);
}

int decodeHuffmanPeltoFastAll(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                              const c_decode_tbl* table) {
  return HWY_DYNAMIC_DISPATCH(decodePeltoAll)(stream, blocks, nBlocks, table, nullptr);
}

int decodeHuffmanPeltoFastAllAsm(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                                 const c_decode_tbl* table) {
  return decodeHuffmanPeltoFastAll(stream, blocks, nBlocks, table);
}

int decodeHuffmanPeltoFastAllWithStat(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                                      const c_decode_tbl* table, CCoefStatInfo* stat) {
  *stat = {};
  return HWY_DYNAMIC_DISPATCH(decodePeltoAll)(stream, blocks, nBlocks, table, stat);
}

int decodeHuffmanPeltoFastAllBounded(const std::uint8_t* stream, unsigned length, std::int16_t* blocks,
                                     unsigned nBlocks, const c_decode_tbl* table, CHuffmanProgress* progress) {
  return HWY_DYNAMIC_DISPATCH(decodePeltoAllBounded)(stream, length, blocks, nBlocks, table, progress);
}

int decodeHuffmanBlock(int component, CHuffman_state* state, std::int16_t* block, const c_decode_tbl* dc,
                       const c_decode_tbl* ac) {
  if (!isComponent(component)) return kOutOfRange;
  return HWY_DYNAMIC_DISPATCH(decodeJpegBlock)(component, state, block, dc, ac);
}

int decode_HuffmanBlock(int component, CHuffman_state* state, std::int16_t* block, const c_decode_tbl* dc,
                        const c_decode_tbl* ac, CPreDecoder* pre) {
  if (pre == nullptr) return decodeHuffmanBlock(component, state, block, dc, ac);
  if (!isComponent(component)) return kOutOfRange;
  preDecode(*pre, *state);
  const auto* end = reinterpret_cast<const std::uint8_t*>(pre->words) + pre->filled;
  return HWY_DYNAMIC_DISPATCH(decodeJpegBlockBounded)(component, state, block, dc, ac, end);
}

void startPreDecoder(CPreDecoder* pre, const std::uint8_t* data, unsigned length, CHuffman_state* state) {
  pre->data = data;
  pre->length = length;
  pre->position = pre->filled = 0;
  pre->marker = 0;
  *state = {};
  state->word = pre->words;
}

int decodeHuffmanFastAll(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                         const c_decode_tbl* const* tables, int nComponents) {
  return decodeHuffmanFastAll_(stream, blocks, nBlocks, tables, nComponents, 1, 1, 1);
}

int decodeHuffmanFastAll_(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                          const c_decode_tbl* const* tables, int nComponents, int n0, int n1, int n2) {
  JpegUnit unit;
  if (!makeUnit(nComponents, n0, n1, n2, unit)) return kOutOfRange;
  return HWY_DYNAMIC_DISPATCH(decodeJpegAll)(stream, blocks, nBlocks, tables, unit);
}

int decodeHuffmanFastAllBounded(const std::uint8_t* stream, unsigned length, std::int16_t* blocks, unsigned nBlocks,
                                const c_decode_tbl* const* tables, int nComponents, int n0, int n1, int n2,
                                CHuffmanProgress* progress) {
  JpegUnit unit;
  *progress = {0, 0};
  if (!makeUnit(nComponents, n0, n1, n2, unit)) return kOutOfRange;
  return HWY_DYNAMIC_DISPATCH(decodeJpegAllBounded)(stream, length, blocks, nBlocks, tables, unit, progress);
}

#endif
