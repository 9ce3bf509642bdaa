// SPDX-License-Identifier: Apache-2.0
#include "host/road/block_stream.h"

#include <algorithm>

namespace quorvel::host {
namespace {

// What a block of an own stream takes at most, and at least: a run of 16 zeros has one code.
constexpr std::size_t kMostBytesOfBlock = 256, kLeastBitsOfBlock = kBlock / 16;

// Calls code(block, state) for each block of a plane. The state's prediction is what makes the first value a
// difference; without it the value is coded as it is.
template <typename Code>
void forEachBlock(const std::vector<std::int16_t>& blocks, CHuffman_state& state, FirstValue first, Code code) {
  for (std::size_t at = 0; at < blocks.size(); at += kBlock) {
    if (first == FirstValue::AsItIs) state.lastDC[0] = 0;
    code(&blocks[at], &state);
  }
}

// Gaps between cells are small: 7 bits a byte, the lowest first, the highest bit set where more follow.
void appendNumber(std::vector<std::uint8_t>& bytes, unsigned value) {
  for (; value >= 128; value >>= 7) bytes.push_back(static_cast<std::uint8_t>(value | 128));
  bytes.push_back(static_cast<std::uint8_t>(value));
}

std::uint64_t takeNumber(ByteReader& in) {
  std::uint64_t value = 0;
  for (unsigned shift = 0; shift < 35; shift += 7) {
    const auto byte = in.take<std::uint8_t>();
    value |= std::uint64_t{byte & 127u} << shift;
    if (byte < 128) break;
  }
  return value;
}

}  // namespace

void SymbolCounts::add(const Strip& strip) {
  for (std::size_t plane = 0; plane < kPlanes; ++plane) {
    CHuffman_state state{};
    forEachBlock(strip.blocks[plane], state, first_, [&](const std::int16_t* block, CHuffman_state* s) {
      countHuffmanPeltoSymbols(0, s, block, counts_[plane].data());
    });
    if (state.pendingRun != 0) ++counts_[plane][0];
  }
}

CodeDefinitions SymbolCounts::best() const {
  CodeDefinitions codes{};
  for (std::size_t plane = 0; plane < kPlanes; ++plane) {
    makeOptimalTable(counts_[plane].data(), codes[plane].counts, codes[plane].symbols);
  }
  return codes;
}

StripEncoder::StripEncoder(const CodeDefinitions& codes, FirstValue first)
    : tables_(std::make_unique<std::array<c_derived_tbl, kPlanes>>()), first_(first) {
  for (std::size_t plane = 0; plane < kPlanes; ++plane) {
    makeDerivedTable(codes[plane].counts, codes[plane].symbols, &(*tables_)[plane]);
  }
}

std::vector<std::uint8_t> StripEncoder::encode(const Strip& strip) const {
  std::vector<std::uint8_t> lengths, streams;
  for (std::size_t plane = 0; plane < kPlanes; ++plane) {
    std::vector<std::uint64_t> words(strip.blocks[plane].size() / kBlock * kMostBytesOfBlock / 8 + 1);
    CHuffman_state state{};
    state.word = words.data();
    forEachBlock(strip.blocks[plane], state, first_, [&](const std::int16_t* block, CHuffman_state* s) {
      encodeHuffmanPeltoBlockFast(0, s, block, &(*tables_)[plane]);
    });
    flushHuffmanPeltoBlockSlow(&state, &(*tables_)[plane]);
    const auto length = static_cast<std::uint32_t>(state.byteCount);
    append(lengths, length);
    append(streams, {reinterpret_cast<const std::uint8_t*>(words.data()), length});
  }
  std::vector<std::uint8_t> apart;
  unsigned next = 0;
  for (const CellApart& kept : strip.apart) {
    appendNumber(apart, kept.cell - next);
    for (const std::uint16_t sample : kept.samples) append(apart, sample);
    next = kept.cell + 1;
  }
  append(lengths, static_cast<std::uint32_t>(apart.size()));
  append(lengths, streams);
  append(lengths, apart);
  return lengths;
}

std::optional<StripDecoder> StripDecoder::make(const CodeDefinitions& codes, FirstValue first) {
  StripDecoder decoder(first);
  for (std::size_t plane = 0; plane < kPlanes; ++plane) {
    if (makeDecodeTable(codes[plane].counts, codes[plane].symbols, &(*decoder.tables_)[plane]) != 0) {
      return std::nullopt;
    }
  }
  return decoder;
}

std::optional<Strip> StripDecoder::decode(ByteSpan bytes, std::size_t blocks, std::size_t cells) const {
  ByteReader in(bytes);
  std::array<std::uint32_t, kPlanes + 1> lengths{};
  for (std::uint32_t& length : lengths) length = in.take<std::uint32_t>();
  Strip strip;
  for (std::size_t plane = 0; plane < kPlanes; ++plane) {
    const ByteSpan stream = in.take(lengths[plane]);
    // Before any memory is taken for the blocks: so many cannot be in so few bytes. The last one may be cut short.
    if (in.failed() || blocks > 1 + stream.size() * 8 / kLeastBitsOfBlock) return std::nullopt;
    std::vector<std::uint64_t> words((stream.size() + 7) / 8);  // the decoder wants them to begin at a word
    std::copy(stream.begin(), stream.end(), reinterpret_cast<std::uint8_t*>(words.data()));
    auto& values = strip.blocks[plane];
    values.resize(blocks * kBlock);
    CHuffmanProgress progress{};
    const int status = decodeHuffmanPeltoFastAllBounded(reinterpret_cast<const std::uint8_t*>(words.data()),
                                                        static_cast<unsigned>(stream.size()), values.data(),
                                                        static_cast<unsigned>(blocks), &(*tables_)[plane], &progress);
    if (status != 0 || progress.blocks != blocks || (progress.bits + 15) / 16 * 2 != stream.size()) return std::nullopt;
    if (first_ == FirstValue::AsItIs) {  // take back what the decoder has added up
      for (std::size_t at = values.size() - kBlock; at > 0; at -= kBlock) {
        values[at] = static_cast<std::int16_t>(values[at] - values[at - kBlock]);
      }
    }
  }
  ByteReader apart(in.take(lengths[kPlanes]));
  for (std::uint64_t next = 0; !apart.rest().empty();) {
    CellApart kept;
    const std::uint64_t cell = next + takeNumber(apart);
    for (std::uint16_t& sample : kept.samples) sample = apart.take<std::uint16_t>();
    if (apart.failed() || cell >= cells) return std::nullopt;
    kept.cell = static_cast<unsigned>(cell);
    strip.apart.push_back(kept);
    next = cell + 1;
  }
  if (in.failed() || !in.rest().empty()) return std::nullopt;
  return strip;
}

}  // namespace quorvel::host
