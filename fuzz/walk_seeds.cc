// SPDX-License-Identifier: Apache-2.0
// Seeds of the fuzz targets: valid streams of both kinds, cut and damaged, and bytes of any kind. Without an argument
// each is given to the entry point; with one they are written into that directory, to start a fuzzer with.
#include <cstdio>
#include <fstream>
#include <random>
#include <string>

#include "fuzz/fuzz.h"

using namespace quorvel::fuzz;

namespace {

using Seed = std::vector<std::uint8_t>;

std::vector<Seed> makeSeeds() {
  std::minstd_rand engine(1);
  const auto pick = [&](unsigned below) { return static_cast<unsigned>(engine() >> 8) % below; };
  const auto encoder = std::make_unique<c_derived_tbl>();
  std::vector<Seed> seeds = {{}, {0}, Seed(300, 0xFF), Seed(300, 0)};
  for (unsigned i = 0; i < 64; ++i) {
    const HuffmanDefinition& definition = i % 2 == 0 ? kLuminanceAC : kChrominanceAC;
    require(makeDerivedTable(definition.counts, definition.symbols, encoder.get()) == 0);
    std::vector<std::uint64_t> words(2 * 64 * kBlocks);
    CHuffman_state state{};
    state.word = words.data();
    for (unsigned b = 0; b < kBlocks; ++b) {
      std::int16_t block[64] = {};
      for (unsigned n = pick(40); n > 0; --n)
        block[pick(64)] = static_cast<std::int16_t>(static_cast<int>(pick(255)) - 127);
      if (i % 4 < 2) {
        encodeHuffmanPeltoBlock(0, &state, block, encoder.get());
      } else {
        encodeHuffmanBlock8(0, &state, block, encoder.get(), encoder.get());
      }
    }
    i % 4 < 2 ? flushHuffmanPeltoBlockSlow(&state, encoder.get()) : flushHuffmanBlock8(&state);
    Seed seed(1 + static_cast<std::size_t>(state.byteCount));
    std::memcpy(seed.data() + 1, words.data(), seed.size() - 1);
    seed[0] = static_cast<std::uint8_t>(i % 2 == 0 ? 1 | 1 << 3 : 5 | 5 << 3);
    seeds.push_back(seed);
    for (unsigned damage = 0; damage < 8; ++damage) seed[pick(static_cast<unsigned>(seed.size()))] ^= 1u << pick(8);
    seeds.push_back(seed);
    seed.resize(pick(static_cast<unsigned>(seed.size())));
    seeds.push_back(seed);
    Seed any(1 + pick(400));
    for (auto& byte : any) byte = static_cast<std::uint8_t>(pick(4) == 0 ? 0xFF : pick(256));
    seeds.push_back(any);
  }
  return seeds;
}

}  // namespace

int main(int argc, char** argv) {
  const auto seeds = makeSeeds();
  for (std::size_t i = 0; i < seeds.size(); ++i) {
    if (argc > 1) {
      std::ofstream file(std::string(argv[1]) + "/seed-" + std::to_string(i), std::ios::binary);
      file.write(reinterpret_cast<const char*>(seeds[i].data()), static_cast<std::streamsize>(seeds[i].size()));
    } else {
      LLVMFuzzerTestOneInput(seeds[i].data(), seeds[i].size());
    }
  }
  std::printf("%zu seeds\n", seeds.size());
  return 0;
}
