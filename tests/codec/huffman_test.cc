// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <memory>
#include <numeric>
#include <queue>

#include "tests/support/prove.h"
#include "tests/support/reference/huffman.h"

namespace quorvel::test {
namespace {

using reference::Blocks;
using reference::Bytes;

// A definition with both tables. They are large, and so not on the stack.
struct Tables {
  explicit Tables(const HuffmanDefinition& d) : definition(d) {
    EXPECT_EQ(makeDerivedTable(d.counts, d.symbols, encode.get()), 0);
    EXPECT_EQ(makeDecodeTable(d.counts, d.symbols, decode.get()), 0);
    for (unsigned s = 0; s < 256; ++s) {  // a host's own table may hold anything above its codes
      for (const unsigned codes : {0u, 0x10200u}) encode->entries[codes + s] |= ~0u << encode->entries[256 + s];
    }
  }
  HuffmanDefinition definition;
  std::unique_ptr<c_derived_tbl> encode = std::make_unique<c_derived_tbl>();
  std::unique_ptr<c_decode_tbl> decode = std::make_unique<c_decode_tbl>();
};

HuffmanDefinition optimal(const std::array<std::uint32_t, 256>& frequencies) {
  HuffmanDefinition d{};
  makeOptimalTable(frequencies.data(), d.counts, d.symbols);
  return d;
}

// All symbols: by frequency, where small ones are short; the other way round, where nearly all are long; and with codes
// of about 8 bits, the code of all ones among them.
std::vector<HuffmanDefinition> definitions() {
  std::array<std::uint32_t, 256> falling, rising;
  for (unsigned s = 0; s < 256; ++s) {
    falling[s] = 1 + static_cast<std::uint32_t>(std::uint64_t{1} << 30 >> (s / 16 + 2 * (s % 16)));
    rising[255 - s] = falling[s];
  }
  HuffmanDefinition flat = {{0, 0, 0, 0, 0, 0, 1, 253, 2}, {}};
  std::iota(std::begin(flat.symbols), std::end(flat.symbols), static_cast<unsigned char>(0));
  return {optimal(falling), optimal(rising), flat};
}

struct Stream {
  CHuffman_state state{};
  explicit Stream(void* at) { state.word = static_cast<std::uint64_t*>(at); }
};

bool sameState(const CHuffman_state& a, const CHuffman_state& b) { return std::memcmp(&a, &b, sizeof(a)) == 0; }

using WordEncoder = decltype(&encodeHuffmanPeltoBlockSlow);
using WordDecoder = decltype(&decodeHuffmanPeltoBlockSlow);
constexpr WordEncoder kPeltoEncoders[] = {encodeHuffmanPeltoBlockSlow, encodeHuffmanPeltoBlockFast,
                                          encodeHuffmanPeltoBlock};
constexpr WordDecoder kPeltoDecoders[] = {decodeHuffmanPeltoBlockSlow, decodeHuffmanPeltoBlockFast,
                                          decodeHuffmanPeltoBlockSuperFast, decodeHuffmanPeltoBlock};
constexpr decltype(&encodeHuffmanBlock8) kByteEncoders[] = {encodeHuffmanBlock8, encodeHuffmanBlock8BigCache,
                                                            encodeHuffmanBlock8BigCache12};

void provePelto(const Blocks& blocks, const Tables& tables) {
  const unsigned n = static_cast<unsigned>(blocks.size() / 64);
  const std::string bits = reference::peltoBits(blocks, tables.definition);
  const Bytes expected = reference::inWords(bits);
  for (const auto encode : kPeltoEncoders) {
    GuardedBuffer<std::uint8_t> out(expected.size());
    Stream to(out.data());
    for (unsigned b = 0; b < n; ++b) ASSERT_EQ(encode(2, &to.state, &blocks[64 * b], tables.encode.get()), 0);
    flushHuffmanPeltoBlockSlow(&to.state, tables.encode.get());
    ASSERT_TRUE(holds(out, expected));
    ASSERT_EQ(to.state.byteCount, static_cast<int>((bits.size() + 15) / 16 * 2));
    ASSERT_EQ(reinterpret_cast<std::uint8_t*>(to.state.word), out.data() + to.state.byteCount);
  }
  GuardedBuffer<std::uint8_t> in(expected);
  std::vector<CHuffman_state> states;
  for (const auto decode : kPeltoDecoders) {
    GuardedBuffer<std::int16_t> out(blocks.size());
    Stream from(in.data());
    for (unsigned b = 0; b < n; ++b) {
      ASSERT_EQ(decode(1, &from.state, out.data() + 64 * b, tables.decode.get()), 0);
      if (decode == kPeltoDecoders[0]) states.push_back(from.state);
      ASSERT_TRUE(sameState(from.state, states[b]));
    }
    ASSERT_TRUE(holds(out, blocks));
  }
  CCoefStatInfo stat;
  CHuffmanProgress progress;
  const c_decode_tbl* table = tables.decode.get();
  const auto all = [&](auto&& decode) {
    GuardedBuffer<std::int16_t> out(blocks.size());
    ASSERT_EQ(decode(in.data(), out.data()), 0);
    ASSERT_TRUE(holds(out, blocks));
  };
  all([&](auto* from, auto* to) { return decodeHuffmanPeltoFastAll(from, to, n, table); });
  all([&](auto* from, auto* to) { return decodeHuffmanPeltoFastAllAsm(from, to, n, table); });
  all([&](auto* from, auto* to) { return decodeHuffmanPeltoFastAllWithStat(from, to, n, table, &stat); });
  GuardedBuffer<std::uint8_t> exact(Bytes(expected.begin(), expected.begin() + (bits.size() + 7) / 8));
  all([&](auto*, auto* to) {
    return decodeHuffmanPeltoFastAllBounded(exact.data(), static_cast<unsigned>(exact.size()), to, n, table, &progress);
  });
  EXPECT_EQ(progress.blocks, n);
  decltype(stat.categories) categories{};
  for (unsigned i = 0; i < blocks.size(); ++i) {
    ++categories[i % 64][reference::category(blocks[i] - (i % 64 == 0 && i != 0 ? blocks[i - 64] : 0))];
  }
  EXPECT_EQ(std::memcmp(stat.categories, categories, sizeof(categories)), 0);
  EXPECT_EQ(stat.zeros + stat.nonZeros, blocks.size());
  if (expected.empty()) return;
  const unsigned shorter = static_cast<unsigned>(bits.size() - 1) / 8;  // a byte less than the last symbol needs
  Blocks out(blocks.size(), 1);
  GuardedBuffer<std::uint8_t> cut(Bytes(expected.begin(), expected.begin() + shorter));
  ASSERT_EQ(decodeHuffmanPeltoFastAllBounded(cut.data(), shorter, out.data(), n, table, &progress), -2);
  ASSERT_LE(progress.bits, 8 * shorter);
  out.resize(64 * progress.blocks);
  ASSERT_TRUE(sameSamples(Blocks(blocks.begin(), blocks.begin() + 64 * progress.blocks), out));
}

void proveJpeg(const Blocks& blocks, const Tables& dc, const Tables& ac, unsigned components) {
  const unsigned n = static_cast<unsigned>(blocks.size() / 64);
  const std::string bits = reference::jpegBits(blocks, components, dc.definition, ac.definition);
  const Bytes words = reference::inWords(bits), bytes = reference::inStuffedBytes(bits);
  const auto component = [&](unsigned b) { return static_cast<int>(b % components); };
  GuardedBuffer<std::uint8_t> out(words.size());
  Stream to(out.data());
  for (unsigned b = 0; b < n; ++b) {
    ASSERT_EQ(encodeHuffmanBlock(component(b), &to.state, &blocks[64 * b], dc.encode.get(), ac.encode.get()), 0);
  }
  flushHuffmanPeltoBlockSlow(&to.state, ac.encode.get());
  ASSERT_TRUE(holds(out, words));
  for (const auto encode : kByteEncoders) {
    GuardedBuffer<std::uint8_t> stuffed(bytes.size());
    Stream at(stuffed.data());
    for (unsigned b = 0; b < n; ++b) {
      ASSERT_EQ(encode(component(b), &at.state, &blocks[64 * b], dc.encode.get(), ac.encode.get()), 0);
    }
    flushHuffmanBlock8(&at.state);
    ASSERT_TRUE(holds(stuffed, bytes));
    ASSERT_EQ(at.state.byteCount, static_cast<int>(bytes.size()));
  }
  Bytes segment = bytes;  // followed by what ends it
  segment.insert(segment.end(), {0xFF, 0xD9});
  GuardedBuffer<std::uint8_t> src(segment), inPlace(segment), scanned((bits.size() + 7) / 8);
  unsigned at[2], produced[2];
  EXPECT_EQ(scanJpegData_(src.data(), static_cast<unsigned>(segment.size()), at[0], scanned.data(), produced[0]), 0xD9);
  EXPECT_EQ(scanJpegData(inPlace.data(), static_cast<unsigned>(segment.size()), at[1], produced[1]), 0xD9);
  ASSERT_EQ(at[0], bytes.size());
  ASSERT_EQ(produced[0], scanned.size());
  ASSERT_TRUE(scanned.surroundingsIntact());
  ASSERT_EQ(Bytes(inPlace.data(), inPlace.data() + produced[1]), scanned.copy());
  ASSERT_EQ(at[1], at[0]);
  Bytes unstuffed = reference::inWords(bits + std::string(8 * scanned.size() - bits.size(), '1'));
  unstuffed.resize(scanned.size());
  ASSERT_EQ(scanned.copy(), unstuffed);

  GuardedBuffer<std::uint8_t> in(words);
  const auto pre = std::make_unique<CPreDecoder>();
  Stream from(in.data()), ahead(nullptr);
  startPreDecoder(pre.get(), src.data(), static_cast<unsigned>(segment.size()), &ahead.state);
  GuardedBuffer<std::int16_t> one(blocks.size()), two(blocks.size()), all(blocks.size()), bounded(blocks.size());
  for (unsigned b = 0; b < n; ++b) {
    ASSERT_EQ(decodeHuffmanBlock(component(b), &from.state, one.data() + 64 * b, dc.decode.get(), ac.decode.get()), 0);
    ASSERT_EQ(decode_HuffmanBlock(component(b), &ahead.state, two.data() + 64 * b, dc.decode.get(), ac.decode.get(),
                                  pre.get()),
              0);
  }
  const c_decode_tbl* tables[8];
  for (unsigned i = 0; i < 8; ++i) tables[i] = (i % 2 == 0 ? dc : ac).decode.get();
  CHuffmanProgress progress;
  const int parts = static_cast<int>(components);
  ASSERT_EQ(decodeHuffmanFastAll(in.data(), all.data(), n, tables, parts), 0);
  ASSERT_EQ(
      decodeHuffmanFastAllBounded(scanned.data(), produced[0], bounded.data(), n, tables, parts, 1, 1, 1, &progress),
      0);
  for (auto* decoded : {&one, &two, &all, &bounded}) ASSERT_TRUE(holds(*decoded, blocks));
  EXPECT_EQ(progress.bits, bits.size());
  const unsigned shorter = static_cast<unsigned>(bits.size() - 1) / 8;
  EXPECT_EQ(decodeHuffmanFastAllBounded(scanned.data(), shorter, bounded.data(), n, tables, parts, 1, 1, 1, &progress),
            -2);
  EXPECT_LT(progress.blocks, n);
}

TEST(Huffman, StreamsAreTheModelsAndComeBack) {
  struct Kind {
    unsigned blocks, percent, size;
  };
  for (const HuffmanDefinition& definition : definitions()) {
    Tables tables(definition);
    for (const Kind& k : {Kind{1, 0, 1}, {1, 100, 15}, {3, 2, 3}, {40, 3, 2}, {70, 12, 6}, {9, 60, 10}, {33, 90, 15}}) {
      SCOPED_TRACE(testing::Message() << k.blocks << " blocks, " << k.percent << " %, " << k.size << " bits");
      for (unsigned seed = 0; seed < 3; ++seed) {
        if (seed == 2) releaseBigCache(tables.encode.get());  // the same streams are made without it
        for (int mode = 0; mode < 2 && seed == 0; ++mode) ASSERT_EQ(prepareBigCache(tables.encode.get(), mode), 0);
        const Blocks blocks = reference::blocksOf(k.blocks, k.percent, k.size, seed);
        onEveryTarget([&] {
          provePelto(blocks, tables);
          proveJpeg(blocks, tables, tables, 1 + seed);
        });
        if (testing::Test::HasFailure()) return;
      }
    }
    for (int size = 1; size <= 8; ++size) {  // the longest symbols among those that one look-up gives
      Blocks mixed(std::size_t{64} * 9);
      for (std::size_t i = 0; i < mixed.size(); ++i) {
        mixed[i] = static_cast<std::int16_t>(i % 4 == 1 ? 32767 : (1 << size) - 1);
      }
      onEveryTarget([&] { proveJpeg(mixed, tables, tables, 1); });
    }
  }
}

// A value that runs into a block that nobody asked for stays in the stream, which may end before it.
TEST(Huffman, ValuesBehindTheLastBlockAreNotWaitedFor) {
  const Tables tables(definitions()[0]);
  const auto codes = reference::codesOf(tables.definition);
  const c_decode_tbl* table = tables.decode.get();
  unsigned wholeWords = 0;
  for (unsigned filled = 1; filled < 50; ++filled) {
    for (int size = 1; size <= 15; ++size) {
      Blocks blocks(128);
      for (unsigned i = 0; i < filled; ++i) blocks[i] = static_cast<std::int16_t>(1 << i * filled % 11);
      blocks[64] = static_cast<std::int16_t>(blocks[0] - (1 << (size - 1)));
      const std::string bits = reference::peltoBits(blocks, tables.definition);
      const std::size_t behind = 3 * codes.at(0xF0).size() + codes.at(0x00).size();  // the zeros of the second block
      const std::size_t end = bits.size() - behind - static_cast<std::size_t>(size);
      if (end % 8 != 0 || (64 - filled) % 16 == 0) continue;  // with no zeros pending no symbol runs over
      const Bytes words = reference::inWords(bits.substr(0, end));
      const Blocks expected(blocks.begin(), blocks.begin() + 64);
      const auto prove = [&](std::size_t length, auto&& decode) {
        GuardedBuffer<std::uint8_t> in(Bytes(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(length)));
        GuardedBuffer<std::int16_t> out(64);
        ASSERT_EQ(decode(in.data(), out.data()), 0) << filled << " and " << size;
        ASSERT_TRUE(holds(out, expected));
      };
      prove(end / 8, [&](auto* in, auto* out) {
        CHuffmanProgress progress;
        const int status =
            decodeHuffmanPeltoFastAllBounded(in, static_cast<unsigned>(end / 8), out, 1, table, &progress);
        return progress.bits == end ? status : 1;
      });
      if (end % 64 != 0) continue;
      ++wholeWords;
      prove(words.size(), [&](auto* in, auto* out) { return decodeHuffmanPeltoFastAll(in, out, 1, table); });
      for (const auto decode : kPeltoDecoders) {
        prove(words.size(), [&](auto* in, auto* out) {
          Stream from(in);
          const int status = decode(0, &from.state, out, table);
          return from.state.pendingSize == size ? status : 1;
        });
      }
    }
  }
  EXPECT_GT(wholeWords, 3u);
}

TEST(Huffman, FieldsHaveTheirPlaces) {
  std::uint64_t words[3] = {};
  Stream to(words), from(words);
  const int ones = -1, value = 0x1555, fourteen = 14;
  for (const unsigned n : {32u, 28u}) encodeInsertBits(&to.state, &ones, n);
  EXPECT_EQ(to.state.accumulator, ~std::uint64_t{0} << 4);
  encodeInsertBits(&to.state, &value, 13);  // 4 bits in the first word, 9 in the next
  EXPECT_EQ(words[0], 0x5FFFFFFFFFFFFFFFu);
  EXPECT_EQ(to.state.accumulator, std::uint64_t{0x155} << 55);
  encodeInsertBits(&to.state, &fourteen, 4);
  encodeInsertBits(&to.state, &fourteen, 0);
  EXPECT_EQ(to.state.bitCount, 13);
  EXPECT_EQ(encodeInsertBits(&to.state, &ones, 33), -1);
  encodeInsertBits(&to.state, &ones, 4);
  flushHuffmanPeltoBlockSlow(&to.state, nullptr);
  EXPECT_EQ(to.state.byteCount, 8 + 4) << "17 bits are two units";
  int out = 7;
  for (const auto& [n, expected] : {std::pair(32, 7), {28, -1}, {0, 0}, {13, value - 0x2000}, {4, -2}, {4, -1}}) {
    EXPECT_EQ(decodeGetBits(&from.state, &out, n), 0);
    EXPECT_EQ(out, expected) << n;
  }
  EXPECT_EQ(decodeGetBits(&from.state, &out, 33), -1);
  EXPECT_EQ(decodeGetBits(&from.state, &out, -1), -1);
  const auto data = samples<std::int16_t>(100, Pattern::Random);
  for (const int bits : {1, 7, 16, 31}) {
    std::vector<std::uint64_t> packed(64);
    std::vector<std::int16_t> unpacked(100), expected;
    for (const std::int16_t v : data) {
      const int up = std::max(0, 16 - bits);
      expected.push_back(static_cast<std::int16_t>(static_cast<std::int16_t>(v << up) >> up));
    }
    Stream in(packed.data()), back(packed.data());
    encodePackData(&in.state, data.data(), 100, bits);
    EXPECT_EQ(64 * (in.state.byteCount / 8) + in.state.bitCount, 100 * bits);
    flushHuffmanPeltoBlockSlow(&in.state, nullptr);
    decodePackData(&back.state, unpacked.data(), 100, bits);
    EXPECT_EQ(unpacked, expected) << bits;
  }
  genBSR_Table();
  EXPECT_EQ(getBSR_Table()[0], -1);
  for (int v = 1; v < 65536; ++v) ASSERT_EQ(getBSR_Table()[v], reference::category(v));
}

TEST(Huffman, ScansStopWhereTheyShould) {
  const auto scan = [](Bytes in, int marker, unsigned position, const Bytes& out) {
    Bytes made(in.size());
    unsigned at, produced;
    EXPECT_EQ(scanJpegData_(in.data(), static_cast<unsigned>(in.size()), at, made.data(), produced), marker);
    EXPECT_EQ(at, position);
    made.resize(produced);
    EXPECT_EQ(made, out);
  };
  scan({}, 0, 0, {});
  scan({0xFF, 0, 0x12}, 0, 3, {0xFF, 0x48});
  scan({0x12, 0xFF, 0xD9}, 0xD9, 1, {0x48});
  scan({0x12, 0xFF}, 0, 2, {0x48, 0xFF});
  scan({0xFF, 0xFF, 0xD0}, 0xFF, 0, {});
}

TEST(Huffman, RefusesWhatHasNoSymbolAndNoTable) {
  const Tables t(definitions()[0]);
  const auto dc = t.encode.get();
  std::uint64_t words[64] = {};
  for (const auto& [place, value, last] : {std::tuple(0, 0, 32768), {0, -32768, 0}, {0, 32767, -1}, {9, -32768, 0}}) {
    Blocks block(64);
    block[place] = static_cast<std::int16_t>(value);
    Stream at(words);
    at.state.lastDC[1] = last;
    const Stream before = at;
    for (const auto encode : kPeltoEncoders) EXPECT_EQ(encode(1, &at.state, block.data(), dc), -1);
    for (const auto encode : kByteEncoders) EXPECT_EQ(encode(1, &at.state, block.data(), dc, dc), -1);
    EXPECT_EQ(encodeHuffmanBlock(1, &at.state, block.data(), dc, dc), -1);
    EXPECT_EQ(encodeHuffmanBlock(4, &at.state, block.data(), dc, dc), -1);
    for (const auto decode : kPeltoDecoders) EXPECT_EQ(decode(4, &at.state, block.data(), t.decode.get()), -1);
    EXPECT_TRUE(sameState(at.state, before.state));
  }
  Blocks block(64);
  block[0] = -32768;  // no difference to the last one
  Stream at(words);
  at.state.lastDC[3] = -32768;
  EXPECT_EQ(encodeHuffmanPeltoBlock(3, &at.state, block.data(), dc), 0);
  at.state.pendingRun = 64;
  for (const auto decode : kPeltoDecoders) EXPECT_EQ(decode(0, &at.state, block.data(), t.decode.get()), -1);
  const c_decode_tbl* tables[] = {t.decode.get(), t.decode.get()};
  const auto* stream = reinterpret_cast<std::uint8_t*>(words);
  for (const int components : {0, 5}) EXPECT_EQ(decodeHuffmanFastAll(stream, &block[0], 1, tables, components), -1);
  EXPECT_EQ(decodeHuffmanFastAll_(stream, &block[0], 1, tables, 1, 0, 1, 1), -1);

  const auto refused = [&](HuffmanDefinition d, bool decoderToo) {
    const auto encode = std::make_unique<c_derived_tbl>();
    const auto decode = std::make_unique<c_decode_tbl>();
    EXPECT_EQ(makeDerivedTable(d.counts, d.symbols, encode.get()), -1);
    EXPECT_EQ(makeDecodeTable(d.counts, d.symbols, decode.get()), decoderToo ? -1 : 0);
  };
  refused({{3}, {1, 2, 3}}, true);
  refused({{1, 3}, {1, 2, 3, 4}}, true);
  refused({{0, 0, 0, 0, 0, 0, 0, 0, 255, 2}, {}}, true);  // 257 symbols
  refused({{1, 1}, {5, 5}}, false);
}

TEST(Huffman, OptimalTablesCostNoMoreThanHuffmansOwn) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    std::array<std::uint32_t, 256> frequencies{};
    const auto chosen = samples<std::uint32_t>(seed < 2 ? seed : 256, Pattern::Random, seed, 0, 1u << seed % 24);
    std::copy(chosen.begin(), chosen.end(), frequencies.begin());
    if (seed == 59) {  // Fibonacci's numbers make the deepest trees
      for (unsigned i = 0; i < 40; ++i) frequencies[i] = i < 2 ? 1 : frequencies[i - 1] + frequencies[i - 2];
      std::fill(frequencies.begin() + 40, frequencies.end(), 0);
    }
    const HuffmanDefinition d = optimal(frequencies);
    std::priority_queue<std::uint64_t, std::vector<std::uint64_t>, std::greater<>> weights;
    weights.push(0);
    std::uint64_t cost = 0, least = 0;
    double kraft = 0;
    std::size_t symbols = 0, longest = 0;
    for (const auto& [symbol, code] : reference::codesOf(d)) {
      EXPECT_NE(code.find('0'), std::string::npos);
      EXPECT_GT(frequencies[symbol], 0u);
      cost += std::uint64_t{frequencies[symbol]} * code.size();
      weights.push(frequencies[symbol]);
      kraft += 1.0 / (1 << code.size());
      longest = std::max(longest, code.size());
      ++symbols;
    }
    EXPECT_EQ(symbols, 256u - static_cast<unsigned>(std::count(frequencies.begin(), frequencies.end(), 0u)));
    EXPECT_LT(kraft, 1);
    while (weights.size() > 1) {
      const std::uint64_t a = weights.top();
      weights.pop();
      const std::uint64_t b = weights.top();
      weights.pop();
      least += a + b;
      weights.push(a + b);
    }
    EXPECT_LE(longest, 16u);
    EXPECT_TRUE(longest < 16 ? cost == least : cost >= least && cost <= least + least / 100) << seed;
    if (seed == 59) {
      EXPECT_GT(cost, least);
    }
  }
}

TEST(Huffman, StandardTablesAreComplete) {
  for (const HuffmanDefinition* ac : {&kLuminanceAC, &kChrominanceAC}) {
    const auto codes = reference::codesOf(*ac);
    EXPECT_EQ(codes.size(), 162u);
    for (const auto& [symbol, code] : codes) EXPECT_TRUE((symbol & 15) != 0 ? (symbol & 15) <= 10 : symbol % 0xF0 == 0);
  }
  const auto codes = reference::codesOf(kLuminanceAC), chroma = reference::codesOf(kChrominanceAC);
  EXPECT_EQ(codes.at(0x00), "1010");
  EXPECT_EQ(codes.at(0xF0), "11111111001");
  EXPECT_EQ(codes.at(0x51), "1111010");
  EXPECT_EQ(codes.at(0xFA), "1111111111111110");
  EXPECT_EQ(chroma.at(0xF0), "1111111010");
  EXPECT_EQ(chroma.at(0x11), "1011");
  EXPECT_EQ(reference::codesOf(kLuminanceDC).at(11), "111111110");
  EXPECT_EQ(reference::codesOf(kChrominanceDC).at(11), "11111111110");
}

TEST(Huffman, SizesFollowTheModelOfEvents) {
  Blocks block(64);
  std::uint32_t* counters = getPeltoCategoryStat();
  std::fill_n(counters, 8, 0u);
  const std::int16_t values[] = {-1, 1, 0, 2, -3, 0, 0, 4, 8, 63, 64, 16383, 16384, -32768, 7};
  std::copy(std::begin(values), std::end(values), block.begin());  // 49 zeros follow: nine runs of 5 and one of 4
  CHuffman_state state{};
  state.bitCount = 5;
  EXPECT_EQ(encodePeltoBlock(0, &state, block.data(), nullptr, nullptr), 0);
  EXPECT_EQ(Blocks(counters, counters + 8), (Blocks{11, 1, 1, 2, 2, 3, 2, 2}));
  const int bits = 5 + 11 * 5 + 3 + 3 + 2 * 3 + 2 * 5 + 3 * 6 + 2 * 10 + 2 * 18;
  EXPECT_EQ(state.bitCount, bits % 8);
  EXPECT_EQ(state.byteCount, bits / 8);
  EXPECT_EQ(decodePeltoBlock(0, &state, block.data(), nullptr, nullptr), 0);
  EXPECT_EQ(block, Blocks(64, 1));
}

}  // namespace
}  // namespace quorvel::test
