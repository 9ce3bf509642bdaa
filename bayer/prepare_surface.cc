// SPDX-License-Identifier: Apache-2.0
// Surfaces of nine interleaved byte components: the 9 x 8 transpose, the gather of its rows into planes, and the
// routine that times both.
#include <cstdio>
#include <cstring>
#include <vector>

#include "quorvel/bayer.h"
#include "quorvel/runtime.h"

void transpone_9x8_MMX(const std::uint8_t* src, std::uint8_t* dst) {
  for (int component = 0; component < 9; ++component) {
    for (int record = 0; record < 8; ++record) dst[8 * component + record] = src[9 * record + component];
  }
}

void copy9_1_9x(const std::uint8_t* src, std::uint8_t* dst, unsigned blocks, unsigned planeStride, unsigned planes) {
  constexpr std::size_t kRow = 8;
  for (std::size_t p = 0; p < planes; ++p) {
    for (std::size_t k = 0; k < blocks; ++k) {
      std::memcpy(dst + p * planeStride + kRow * k, src + kRow * (planes * k + p), kRow);
    }
  }
}

void prepareBayerSurface() {
  constexpr unsigned kPlanes = 9, kPlane = 3'840'000, kSurface = kPlanes * kPlane;
  constexpr unsigned kBlocks = 16, kBlock = 8 * kPlanes, kRounds = kSurface / (kBlocks * kBlock);
  const auto patterned = [](unsigned bytes) {
    std::vector<std::uint8_t> buffer(bytes);
    for (unsigned i = 0; i < bytes; ++i) buffer[i] = static_cast<std::uint8_t>(i);
    return buffer;
  };
  const std::vector<std::uint8_t> source = patterned(kSurface);
  std::vector<std::uint8_t> planes = patterned(kSurface);
  const std::vector<std::uint8_t> spare = patterned(kSurface);  // takes the room that a third surface takes in a host
  std::vector<std::uint8_t> blocks = patterned(kBlocks * kBlock);

  for (int pass = 0; pass < 10; ++pass) {
    const unsigned start = timeMks();
    for (unsigned round = 0; round < kRounds; ++round) {
      const std::uint8_t* records = source.data() + std::size_t{round} * kBlocks * kBlock;
      for (unsigned k = 0; k < kBlocks; ++k) transpone_9x8_MMX(records + k * kBlock, blocks.data() + k * kBlock);
      copy9_1_9x(blocks.data(), planes.data() + std::size_t{round} * kBlocks * 8, kBlocks, kPlane, kPlanes);
    }
    const double microseconds = timeMks() - start;
    std::printf("\ntranspone9_8: %lf ns/byte", microseconds * 1000 / kSurface);
  }
}
