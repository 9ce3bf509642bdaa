// SPDX-License-Identifier: Apache-2.0
#include "host/road/transforms.h"

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
    bias_[i] = scaled[i] / 2;
  }
  genQuantizeTable(scaled.data(), reciprocals_.data());
}

void ForwardTransform::blockRow(const std::uint8_t* samples, std::size_t pitch, unsigned blocks,
                                std::int16_t* out) const {
  calcFDCT16_bq_strip(samples, static_cast<unsigned>(pitch), blocks, bias_.data(), reciprocals_.data(),
                      reinterpret_cast<std::uint16_t*>(out), 1);
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
