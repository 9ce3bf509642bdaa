// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include <quorvel/huffman.h>
#include <quorvel/huffman_tables.h>

#include "bench/harness.h"

#if defined(QUORVEL_PEER_JPEG)
#include "bench/peers/huffman_jpeg.h"
#endif

namespace quorvel::bench {
namespace {

constexpr unsigned kBlocks = kSamples / 64;
using Blocks = Samples<std::int16_t>;
using Bytes = Samples<std::uint8_t>;

// The coefficients of a photograph at a good quality, in zig-zag order: two-sided exponential, narrower towards the
// high frequencies, wider where a part of the picture has more detail; about ten of a block are not 0.
std::shared_ptr<Blocks> photograph() {
  auto blocks = buffer<std::int16_t>(kSamples);
  std::minstd_rand engine(7);
  const auto uniform = [&] { return (static_cast<double>(engine()) - 0.5) / 2147483646.0; };
  double dc = 0, detail = 1;
  for (unsigned b = 0; b < kBlocks; ++b) {
    if (b % 16 == 0) detail = 0.2 + 2.4 * uniform() * uniform();
    dc = 0.97 * dc + 60 * (uniform() - 0.5);
    (*blocks)[64 * b] = static_cast<std::int16_t>(dc);
    for (unsigned i = 1; i < 64; ++i) {
      const double width = 12 * detail / std::pow(1 + 0.35 * i, 1.15);
      const double magnitude = -width * std::log(uniform());
      (*blocks)[64 * b + i] = static_cast<std::int16_t>((engine() & 256) != 0 ? magnitude : -magnitude);
    }
  }
  return blocks;
}

struct Tables {
  explicit Tables(const HuffmanDefinition& d) {
    makeDerivedTable(d.counts, d.symbols, encode.get());
    makeDecodeTable(d.counts, d.symbols, decode.get());
    for (const int mode : {0, 1}) prepareBigCache(encode.get(), mode);
  }
  ~Tables() { releaseBigCache(encode.get()); }
  std::unique_ptr<c_derived_tbl> encode = std::make_unique<c_derived_tbl>();
  std::unique_ptr<c_decode_tbl> decode = std::make_unique<c_decode_tbl>();
};

HuffmanDefinition ownDefinition(const Blocks& blocks) {
  std::uint32_t counts[256] = {};
  CHuffman_state state{};
  for (unsigned b = 0; b < kBlocks; ++b) countHuffmanPeltoSymbols(0, &state, &blocks[64 * b], counts);
  ++counts[0];
  HuffmanDefinition definition;
  makeOptimalTable(counts, definition.counts, definition.symbols);
  return definition;
}

// Codes all blocks and returns the bytes that they take.
template <typename Encode, typename Flush>
std::size_t encodeAll(const Blocks& blocks, Bytes& out, Encode&& encode, Flush&& flush) {
  CHuffman_state state{};
  state.word = reinterpret_cast<std::uint64_t*>(out.data());
  for (unsigned b = 0; b < kBlocks; ++b) encode(&state, &blocks[64 * b]);
  flush(&state);
  return static_cast<std::size_t>(state.byteCount);
}

void registerOwnStream(const std::shared_ptr<Blocks>& blocks) {
  const auto tables = std::make_shared<Tables>(ownDefinition(*blocks));
  const auto stream = buffer<std::uint8_t>(kSamples), made = buffer<std::uint8_t>(kSamples);
  const auto decoded = buffer<std::int16_t>(kSamples);
  const auto encoder = [=](auto encode, auto& out) {
    return [=] {
      return encodeAll(
          *blocks, *out, [&](auto* state, auto* block) { encode(0, state, block, tables->encode.get()); },
          [&](auto* state) { flushHuffmanPeltoBlockSlow(state, tables->encode.get()); });
    };
  };
  const std::size_t bytes = encoder(encodeHuffmanPeltoBlockSlow, stream)();
  Contest("encodeHuffmanPeltoBlockFast", kSamples * 2 + bytes)
      .quorvel(encoder(encodeHuffmanPeltoBlockFast, made))
      .peer("slow form", encoder(encodeHuffmanPeltoBlockSlow, made));
  const auto decoder = [=](auto decode) {
    return [=] {
      CHuffman_state state{};
      state.word = reinterpret_cast<std::uint64_t*>(stream->data());
      for (unsigned b = 0; b < kBlocks; ++b) decode(0, &state, decoded->data() + 64 * b, tables->decode.get());
    };
  };
  Contest("decodeHuffmanPeltoFastAll", kSamples * 2 + bytes)
      .quorvel([=] { decodeHuffmanPeltoFastAll(stream->data(), decoded->data(), kBlocks, tables->decode.get()); })
      .peer("block by block", decoder(decodeHuffmanPeltoBlockFast))
      .peer("slow form", decoder(decodeHuffmanPeltoBlockSlow));
}

void registerJpeg(const std::shared_ptr<Blocks>& blocks) {
  const auto dc = std::make_shared<Tables>(kLuminanceDC), ac = std::make_shared<Tables>(kLuminanceAC);
  const auto segment = buffer<std::uint8_t>(kSamples), made = buffer<std::uint8_t>(kSamples);
  const auto scanned = buffer<std::uint8_t>(kSamples);
  const auto decoded = buffer<std::int16_t>(kSamples);
  const auto encoder = [=](auto encode, auto& out) {
    return [=] {
      return encodeAll(
          *blocks, *out, [&](auto* state, auto* block) { encode(0, state, block, dc->encode.get(), ac->encode.get()); },
          [](auto* state) { flushHuffmanBlock8(state); });
    };
  };
  const auto bytes = static_cast<unsigned>(encoder(encodeHuffmanBlock8, segment)());
  const std::size_t moved = kSamples * 2 + std::size_t{bytes};
  Contest encode("encodeHuffmanBlock8", moved);
  encode.quorvel(encoder(encodeHuffmanBlock8, made))
      .peer("BigCache", encoder(encodeHuffmanBlock8BigCache, made))
      .peer("BigCache12", encoder(encodeHuffmanBlock8BigCache12, made));
  const auto scan = [=] {
    unsigned position, produced;
    scanJpegData_(segment->data(), bytes, position, scanned->data(), produced);
    return produced;
  };
  Contest("scanJpegData_", 2 * std::size_t{bytes}).quorvel(scan);
  Contest decode("decodeHuffmanFastAll", moved);
  decode
      .quorvel([=] {
        const unsigned produced = scan();
        const c_decode_tbl* tables[] = {dc->decode.get(), ac->decode.get()};
        CHuffmanProgress progress;
        decodeHuffmanFastAllBounded(scanned->data(), produced, decoded->data(), kBlocks, tables, 1, 1, 1, 1, &progress);
      })
      .peer("pre-decoder", [=, pre = std::make_shared<CPreDecoder>()] {
        CHuffman_state state;
        startPreDecoder(pre.get(), segment->data(), bytes, &state);
        for (unsigned b = 0; b < kBlocks; ++b) {
          decode_HuffmanBlock(0, &state, decoded->data() + 64 * b, dc->decode.get(), ac->decode.get(), pre.get());
        }
      });
#if defined(QUORVEL_PEER_JPEG)
  const auto peer = std::make_shared<JpegCoefficients>(kWidth, kHeight, blocks->data());
  encode.peer("libjpeg-turbo", [=] { peer->encode(); });
  decode.peer("libjpeg-turbo", [=, file = peer->encode()] { JpegCoefficients::decode(file); });
#endif
}

}  // namespace

void registerHuffmanContests() {
  const auto blocks = photograph();
  registerOwnStream(blocks);
  registerJpeg(blocks);
}

}  // namespace quorvel::bench
