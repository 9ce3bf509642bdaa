// SPDX-License-Identifier: Apache-2.0
// What the fuzz targets share: an input whose first byte chooses the routine and the tables, and buffers that are as
// long as the routines may touch and no longer, so that the address sanitizer sees what goes beyond.
#ifndef QUORVEL_FUZZ_FUZZ_H_
#define QUORVEL_FUZZ_FUZZ_H_

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include <quorvel/huffman.h>
#include <quorvel/huffman_tables.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quorvel::fuzz {

inline constexpr unsigned kBlocks = 8;

inline void require(bool holds) {
  if (!holds) std::abort();
}

struct Input {
  unsigned routine, table;
  std::vector<std::uint8_t> stream;
  Input(const std::uint8_t* data, std::size_t size)
      : routine(size == 0 ? 0 : data[0] >> 3), table(size == 0 ? 0 : data[0] & 7) {
    if (size > 1) stream.assign(data + 1, data + size);
  }
  // The stream with as much behind it as a decoder can read that is not told its length.
  std::vector<std::uint64_t> endless() const {
    std::vector<std::uint64_t> words(stream.size() / 8 + kBlocks * 32 + 2);
    if (!stream.empty()) std::memcpy(words.data(), stream.data(), stream.size());
    return words;
  }
};

// Decoder's tables: the typical ones, one with all symbols and codes of all lengths, and one that has a single code.
inline const c_decode_tbl& table(unsigned which) {
  static const auto made = [] {
    std::vector<c_decode_tbl> tables(8);
    HuffmanDefinition all;
    std::uint32_t frequencies[256];
    for (unsigned s = 0; s < 256; ++s) frequencies[s] = 1 + (1u << 24 >> (s / 16 + s % 16));
    makeOptimalTable(frequencies, all.counts, all.symbols);
    const HuffmanDefinition one = {{1}, {0x35}};
    const HuffmanDefinition* const definitions[] = {&kLuminanceDC, &kLuminanceAC,   &all, &one,
                                                    &all,          &kChrominanceAC, &all, &all};
    for (std::size_t i = 0; i < tables.size(); ++i) {
      require(makeDecodeTable(definitions[i]->counts, definitions[i]->symbols, &tables[i]) == 0);
    }
    return tables;
  }();
  return made[which % 8];
}

}  // namespace quorvel::fuzz

#endif  // QUORVEL_FUZZ_FUZZ_H_
