// SPDX-License-Identifier: Apache-2.0
#include "host/road/transforms.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <quorvel/dct_tables.h>
#include <quorvel/quorvel.h>

namespace quorvel::host {
namespace {

// The forward transform gives 8 times the orthonormal coefficients.
constexpr std::uint16_t kScale = 8;

}  // namespace

void prepareTransforms() {
  static std::once_flag once;
  std::call_once(once, [] { fillDctTables(); });
}

ForwardTransform::ForwardTransform(const JpegSteps& steps) : steps_(steps) {
  JpegSteps scaled;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    scaled[i] = static_cast<std::uint16_t>(kScale * steps[i]);
    // One less than half: what a flat part leaves in some coefficients is just half of the smallest step.
    bias_[i] = static_cast<std::uint16_t>(scaled[i] / 2 - 1);
  }
  scaledFirst_ = scaled[0];
  genQuantizeTable(scaled.data(), reciprocals_.data());
}

void ForwardTransform::blockRow(const std::uint8_t* samples, std::size_t pitch, unsigned blocks,
                                std::int16_t* out) const {
  calcFDCT16_bq_strip(samples, static_cast<unsigned>(pitch), blocks, bias_.data(), reciprocals_.data(),
                      reinterpret_cast<std::uint16_t*>(out), 1);
  // Flat blocks are made here. The transform's rounding would show in them at the smallest steps, and whether it knows
  // a shorter way for them depends on the processor.
  for (unsigned i = 0; i < blocks; ++i) {
    const std::uint8_t* first = samples + std::size_t{8} * i;
    std::uint64_t row, other;
    std::memcpy(&row, first, sizeof row);
    if (row != 0x0101010101010101u * first[0]) continue;
    unsigned y = 1;
    do {
      std::memcpy(&other, first + y * pitch, sizeof other);
    } while (other == row && ++y < 8);
    if (y < 8) continue;
    std::int16_t* block = out + std::size_t{64} * i;
    const int v = 8 * kScale * (first[0] - 128), q = (std::abs(v) + scaledFirst_ / 2) / scaledFirst_;
    std::fill_n(block, 64, std::int16_t{0});
    block[0] = static_cast<std::int16_t>(v < 0 ? -q : q);
  }
}

JpegSteps ForwardTransform::zigzagSteps() const {
  JpegSteps zigzag;
  zigzagBlock(reinterpret_cast<const std::int16_t*>(steps_.data()), reinterpret_cast<std::int16_t*>(zigzag.data()));
  return zigzag;
}

InverseTransform::InverseTransform(const JpegSteps& zigzagSteps) {
  std::array<std::int16_t, 64> steps;
  dezigzagBlock(reinterpret_cast<const std::int16_t*>(zigzagSteps.data()), steps.data());
  for (std::size_t i = 0; i < steps.size(); ++i) steps_[i] = static_cast<std::uint16_t>(steps[i]);
}

void InverseTransform::blockRow(const std::int16_t* blocks, unsigned count, std::uint8_t* samples,
                                unsigned pitch) const {
  const float* left = getIDCTf();
  const float* right = left + 64;
  float work[64];
  std::int16_t block[64];
  for (unsigned i = 0; i < count; ++i) {
    dezigzagBlock(blocks + std::size_t{64} * i, block);
    calcIDCTFlt_SSE2(block, steps_.data(), left, right, samples + std::size_t{8} * i, pitch, work);
  }
}

}  // namespace quorvel::host
