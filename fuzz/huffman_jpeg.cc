// SPDX-License-Identifier: Apache-2.0
// Decoders of JPEG's entropy-coded data, with any pair of tables.
#include "fuzz/fuzz.h"

using namespace quorvel::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input(data, size);
  const c_decode_tbl* const tables[] = {&table(input.table), &table(input.routine), &table(input.routine), &table(2)};
  const auto length = static_cast<unsigned>(input.stream.size());
  const int components = 1 + static_cast<int>(input.routine & 1);
  std::vector<std::int16_t> blocks(64 * kBlocks), others(64 * kBlocks);
  CHuffmanProgress progress;
  const int bounded = decodeHuffmanFastAllBounded(input.stream.data(), length, blocks.data(), kBlocks, tables,
                                                  components, 1 + (input.routine >> 1 & 3), 1, 1, &progress);
  require(bounded >= -2 && bounded <= 0 && progress.bits <= 8 * input.stream.size());
  require((progress.blocks == kBlocks) == (bounded == 0));

  std::vector<std::uint64_t> words = input.endless();
  const auto* stream = reinterpret_cast<const std::uint8_t*>(words.data());
  const int all = decodeHuffmanFastAll(stream, blocks.data(), kBlocks, tables, 1);
  CHuffman_state state{};
  state.word = words.data();
  int status = 0;
  for (unsigned b = 0; b < kBlocks && status == 0; ++b) {
    status = decodeHuffmanBlock(0, &state, &others[64 * b], tables[0], tables[1]);
  }
  require(status == all && (status != 0 || blocks == others));

  const auto pre = std::make_unique<CPreDecoder>();
  startPreDecoder(pre.get(), input.stream.data(), length, &state);
  while (decode_HuffmanBlock(3, &state, blocks.data(), tables[0], tables[1], pre.get()) == 0) {
    require(pre->position <= length);
  }
  return 0;
}
