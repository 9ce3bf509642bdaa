// SPDX-License-Identifier: Apache-2.0
// Surfaces of nine interleaved byte components: the 9 x 8 transpose, the gather of its rows into planes, and the
// routine that times both.
#include <cstdio>
#include <cstring>

#include "quorvel/bayer.h"
#include "quorvel/runtime.h"
#include "runtime/plain_memory.h"

using quorvel::PlainMemory;
using quorvel::plainMemory;

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
    PlainMemory<std::uint8_t[]> buffer(plainMemory<std::uint8_t>(bytes));
    for (unsigned i = 0; buffer != nullptr && i < bytes; ++i) buffer[i] = static_cast<std::uint8_t>(i);
    return buffer;
  };
  const auto source = patterned(kSurface), planes = patterned(kSurface), blocks = patterned(kBlocks * kBlock);
  const auto spare = patterned(kSurface);  // takes the room that a third surface takes in a host
  if (source == nullptr || planes == nullptr || blocks == nullptr || spare == nullptr) return;

  for (int pass = 0; pass < 10; ++pass) {
    const unsigned start = timeMks();
    for (unsigned round = 0; round < kRounds; ++round) {
      const std::uint8_t* records = source.get() + std::size_t{round} * kBlocks * kBlock;
      for (unsigned k = 0; k < kBlocks; ++k) transpone_9x8_MMX(records + k * kBlock, blocks.get() + k * kBlock);
      copy9_1_9x(blocks.get(), planes.get() + std::size_t{round} * kBlocks * 8, kBlocks, kPlane, kPlanes);
    }
    const double microseconds = timeMks() - start;
    std::printf("\ntranspone9_8: %lf ns/byte", microseconds * 1000 / kSurface);
  }
}
