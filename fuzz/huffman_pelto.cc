// SPDX-License-Identifier: Apache-2.0
// Decoders of the library's own streams, which must also agree with each other.
#include "fuzz/fuzz.h"

using namespace quorvel::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input(data, size);
  const c_decode_tbl& decode = table(input.table);
  std::vector<std::int16_t> blocks(64 * kBlocks), others(64 * kBlocks);
  CHuffmanProgress progress;
  const int bounded = decodeHuffmanPeltoFastAllBounded(input.stream.data(), static_cast<unsigned>(input.stream.size()),
                                                       blocks.data(), kBlocks, &decode, &progress);
  require(bounded >= -2 && bounded <= 0 && progress.bits <= 8 * input.stream.size());
  require((progress.blocks == kBlocks) == (bounded == 0));

  std::vector<std::uint64_t> words = input.endless();
  CHuffman_state state{}, slow{};
  state.word = slow.word = words.data();
  others = blocks;
  state.pendingRun = slow.pendingRun = static_cast<int>(input.routine);
  state.pendingSize = slow.pendingSize = static_cast<int>(input.routine % 16);
  for (unsigned b = 0; b < kBlocks; ++b) {
    const int status = decodeHuffmanPeltoBlockFast(0, &state, &blocks[64 * b], &decode);
    require(status == decodeHuffmanPeltoBlockSlow(0, &slow, &others[64 * b], &decode));
    require(std::memcmp(&state, &slow, sizeof(state)) == 0 && blocks == others);
    if (status != 0) break;
  }
  CCoefStatInfo stat;
  const auto* stream = reinterpret_cast<const std::uint8_t*>(words.data());
  const int all = decodeHuffmanPeltoFastAllWithStat(stream, blocks.data(), kBlocks, &decode, &stat);
  require(all == decodeHuffmanPeltoFastAll(stream, others.data(), kBlocks, &decode) && blocks == others);
  return 0;
}
