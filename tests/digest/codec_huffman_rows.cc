// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include <quorvel/huffman_tables.h>

#include "tests/digest/digest.h"

namespace quorvel::test {
namespace {

constexpr unsigned kBlocks = 32;

struct Tables {
  Tables() {
    // Symbols of all kinds, and codes that the look-ups do not decide.
    std::uint32_t frequencies[256];
    for (unsigned s = 0; s < 256; ++s) frequencies[s] = 1 + (1u << 24 >> (s / 16 + s % 16));
    makeOptimalTable(frequencies, definition.counts, definition.symbols);
    makeDerivedTable(definition.counts, definition.symbols, &encode);
    makeDecodeTable(definition.counts, definition.symbols, &decode);
    for (const int mode : {0, 1}) prepareBigCache(&encode, mode);
  }
  ~Tables() { releaseBigCache(&encode); }
  HuffmanDefinition definition;
  c_derived_tbl encode{};
  c_decode_tbl decode{};
};

// Few of the coefficients are not 0, and these of all sizes.
std::vector<std::int16_t> blocks() {
  auto values = content<std::int16_t>(1);
  values.resize(64 * kBlocks);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<std::int16_t>(values[i] % 5 == 0 ? (values[i] - 2048) * 8 >> values[i] % 15 : 0);
  }
  return values;
}

// The stream and the state that coding all blocks leaves; `code` is called with a state and a block.
template <typename Code>
std::vector<std::uint64_t> coded(Digest& d, Code&& code) {
  std::vector<std::uint64_t> words(kRoom);
  const auto in = blocks();
  CHuffman_state state{};
  state.word = words.data();
  for (unsigned b = 0; b < kBlocks; ++b) {
    const int status = code(&state, in.data() + 64 * b);
    d.add(&status, 1);
  }
  d.add(words.data(), words.size());
  d.add(&state.accumulator, 1);
  for (const int field : {state.bitCount, state.byteCount, state.lastDC[0], state.pendingRun}) d.add(&field, 1);
  return words;
}

// What decoders make of bytes of all values.
template <typename Decode>
void decoded(Digest& d, Decode&& decode) {
  const auto data = content<std::uint64_t>(3);
  std::vector<std::int16_t> out(64 * kBlocks);
  CHuffman_state state{};
  state.word = const_cast<std::uint64_t*>(data.data());
  const int status = decode(&state, reinterpret_cast<const std::uint8_t*>(data.data()), out.data());
  d.add(&status, 1);
  d.add(out.data(), out.size());
  for (const int field : {state.bitCount, state.byteCount, state.pendingRun, state.pendingSize}) d.add(&field, 1);
}

}  // namespace

void addHuffman(Routines& routines) {
  const auto t = std::make_shared<Tables>();
#define ROW(routine, ...) routines[#routine] = [=](Digest& d) { __VA_ARGS__; }
#define ENCODER(routine, ...) \
  ROW(routine, coded(d, [&](auto* state, auto* block) { return routine(0, state, block, __VA_ARGS__); }))
#define DECODER(routine, ...)                                                                                        \
  ROW(routine, decoded(d, [&](auto* state, auto*, auto* out) {                                                       \
        int status = 0;                                                                                              \
        for (unsigned b = 0; b < kBlocks && status == 0; ++b) status = routine(0, state, out + 64 * b, __VA_ARGS__); \
        return status;                                                                                               \
      }))
#define ALL(routine, ...) ROW(routine, decoded(d, [&](auto*, auto* in, auto* out) { return routine(in, __VA_ARGS__); }))
  ENCODER(encodeHuffmanPeltoBlockSlow, &t->encode);
  ENCODER(encodeHuffmanPeltoBlockFast, &t->encode);
  ENCODER(encodeHuffmanPeltoBlock, &t->encode);
  ENCODER(encodeHuffmanBlock, &t->encode, &t->encode);
  ENCODER(encodeHuffmanBlock8, &t->encode, &t->encode);
  ENCODER(encodeHuffmanBlock8BigCache, &t->encode, &t->encode);
  ENCODER(encodeHuffmanBlock8BigCache12, &t->encode, &t->encode);
  ENCODER(encodePeltoBlock, &t->encode, &t->encode);
  DECODER(decodeHuffmanPeltoBlockSlow, &t->decode);
  DECODER(decodeHuffmanPeltoBlockFast, &t->decode);
  DECODER(decodeHuffmanPeltoBlockSuperFast, &t->decode);
  DECODER(decodeHuffmanPeltoBlock, &t->decode);
  DECODER(decodeHuffmanBlock, &t->decode, &t->decode);
  DECODER(decodePeltoBlock, &t->encode, &t->encode);
  ALL(decodeHuffmanPeltoFastAll, out, kBlocks, &t->decode);
  ALL(decodeHuffmanPeltoFastAllAsm, out, kBlocks, &t->decode);
  const c_decode_tbl* const pairs[] = {&t->decode, &t->decode, &t->decode, &t->decode};
  ALL(decodeHuffmanFastAll, out, kBlocks, pairs, 2);
  ALL(decodeHuffmanFastAll_, out, kBlocks, pairs, 2, 4, 1, 1);
  ROW(decodeHuffmanPeltoFastAllWithStat, decoded(d, [&](auto*, auto* in, auto* out) {
        CCoefStatInfo stat;
        const int status = decodeHuffmanPeltoFastAllWithStat(in, out, kBlocks, &t->decode, &stat);
        for (const std::uint64_t count : {stat.zeros, stat.nonZeros}) d.add(&count, 1);
        d.add(stat.categories[0], 64 * 16);
        return status;
      }));
  const auto progressed = [](Digest& d, auto&& decode) {
    for (const unsigned length : {0u, 1u, 100u, 1003u}) {
      decoded(d, [&](auto*, auto* in, auto* out) {
        CHuffmanProgress progress;
        const int status = decode(in, length, out, &progress);
        d.add(&progress.blocks, 1);
        d.add(&progress.bits, 1);
        return status;
      });
    }
  };
  ROW(decodeHuffmanPeltoFastAllBounded, progressed(d, [&](auto* in, unsigned length, auto* out, auto* progress) {
        return decodeHuffmanPeltoFastAllBounded(in, length, out, kBlocks, &t->decode, progress);
      }));
  ROW(decodeHuffmanFastAllBounded, progressed(d, [&](auto* in, unsigned length, auto* out, auto* progress) {
        return decodeHuffmanFastAllBounded(in, length, out, kBlocks, pairs, 2, 4, 1, 1, progress);
      }));
  routines["startPreDecoder"] = routines["decode_HuffmanBlock"] = [=](Digest& d) {
    decoded(d, [&](auto* state, auto* in, auto* out) {
      const auto pre = std::make_unique<CPreDecoder>();
      startPreDecoder(pre.get(), in, kRoom, state);
      int status = 0;
      for (unsigned b = 0; b < kBlocks && status == 0; ++b) {
        status = decode_HuffmanBlock(0, state, out + 64 * b, &t->decode, &t->decode, pre.get());
      }
      return status;
    });
  };
  ROW(flushHuffmanPeltoBlockSlow, coded(d, [&](auto* state, auto* block) {
        encodeHuffmanPeltoBlock(0, state, block, &t->encode);
        return flushHuffmanPeltoBlockSlow(state, &t->encode);
      }));
  ROW(flushHuffmanBlock8, coded(d, [&](auto* state, auto* block) {
        encodeHuffmanBlock8(0, state, block, &t->encode, &t->encode);
        return flushHuffmanBlock8(state);
      }));
  ROW(encodeInsertBits, coded(d, [](auto* state, auto* block) {
        const int value = block[0] * 12345;
        return encodeInsertBits(state, &value, static_cast<unsigned>(block[1] & 31) + 1);
      }));
  ROW(encodePackData, coded(d, [](auto* state, auto* block) { return encodePackData(state, block, 64, 11); }));
  ROW(decodeGetBits, decoded(d, [&](auto* state, auto*, auto* out) {
        for (int n = 0, value = 0; n <= 32; ++n)
          decodeGetBits(state, &value, n), *out++ = static_cast<std::int16_t>(value);
        return 0;
      }));
  ROW(decodePackData, decoded(d, [](auto* state, auto*, auto* out) { return decodePackData(state, out, 999, 13); }));
  ROW(countHuffmanPeltoSymbols, std::uint32_t counts[256] = {};
      coded(d, [&](auto* state, auto* block) { return countHuffmanPeltoSymbols(0, state, block, counts); });
      d.add(counts, 256));
  ROW(countHuffmanSymbols, std::uint32_t counts[512] = {};
      coded(d, [&](auto* state, auto* block) { return countHuffmanSymbols(0, state, block, counts, counts + 256); });
      d.add(counts, 512));
  ROW(getPeltoCategoryStat, std::fill_n(getPeltoCategoryStat(), 8, 0u);
      coded(d, [&](auto* state, auto* block) { return encodePeltoBlock(0, state, block, nullptr, nullptr); });
      d.add(getPeltoCategoryStat(), 8));
  ROW(makeOptimalTable, d.add(t->definition.counts, 16); d.add(t->definition.symbols, 256));
  for (const char* name : {"makeDerivedTable", "prepareBigCache", "releaseBigCache"}) {
    routines[name] = [=](Digest& d) {  // the last words tell where the rest is kept
      d.add(t->encode.entries, 0x10200 - 8);
      d.add(t->encode.entries + 0x10200, 256);
    };
  }
  ROW(makeDecodeTable, d.add(t->decode.pelto, 4096); d.add(t->decode.jpeg, 4096); d.add(t->decode.maxCode, 17));
  routines["genBSR_Table"] = routines["getBSR_Table"] = [](Digest& d) { d.add(getBSR_Table(), 65536); };
  ROW(genBigCacheTable, std::vector<CTblElem> cache(1 << 15); genBigCacheTable(cache.data(), &t->encode, 0);
      d.add(&cache[0].length, 5 * cache.size()));
  const auto scanned = [](Digest& d, auto&& scan) {
    auto data = content<std::uint8_t>(5), out = content<std::uint8_t>(6);
    unsigned numbers[3];
    for (unsigned from = 0; from < kRoom; from += numbers[0] + 2) {
      numbers[2] = static_cast<unsigned>(scan(data.data() + from, kRoom - from, numbers[0], out.data(), numbers[1]));
      d.add(numbers, 3);
      d.add(out.data(), out.size());
    }
    d.add(data.data(), data.size());
  };
  ROW(scanJpegData_, scanned(d, scanJpegData_));
  ROW(scanJpegData, scanned(d, [](auto* data, unsigned length, unsigned& at, auto*, unsigned& produced) {
        return scanJpegData(data, length, at, produced);
      }));
}

}  // namespace quorvel::test
