// SPDX-License-Identifier: Apache-2.0
#include "host/road/transforms.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <quorvel/dct_tables.h>
#include <quorvel/quorvel.h>

namespace quorvel::host {

void prepareTransforms() {
  static std::once_flag once;
  std::call_once(once, [] { fillTransformTables(); });
}

ForwardTransform::ForwardTransform(const QuantizerSteps& steps) : steps_(steps), quantizer_(makeQuantizer8(steps)) {
  // One less than half: what a nearly flat part leaves in some coefficients is just half of the smallest step.
  for (std::uint16_t& bias : quantizer_.bias) --bias;
}

void ForwardTransform::blockRow(const std::uint8_t* samples, std::size_t pitch, unsigned blocks,
                                std::int16_t* out) const {
  calcFDCT16_bq_strip(samples, static_cast<unsigned>(pitch), blocks, quantizer_.bias.data(), quantizer_.recip.data(),
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
    const int v = 8 * (first[0] - 128), q = (std::abs(v) + steps_[0] / 2) / steps_[0];
    std::fill_n(block, 64, std::int16_t{0});
    block[0] = static_cast<std::int16_t>(v < 0 ? -q : q);
  }
}

QuantizerSteps ForwardTransform::zigzagSteps() const {
  QuantizerSteps zigzag;
  zigzagBlock(reinterpret_cast<const std::int16_t*>(steps_.data()), reinterpret_cast<std::int16_t*>(zigzag.data()));
  return zigzag;
}

InverseTransform::InverseTransform(const QuantizerSteps& zigzagSteps) {
  std::array<std::int16_t, 64> steps;
  dezigzagBlock(reinterpret_cast<const std::int16_t*>(zigzagSteps.data()), steps.data());
  for (std::size_t i = 0; i < steps.size(); ++i) steps_[i] = static_cast<std::uint16_t>(steps[i]);
}

void InverseTransform::blockRow(const std::int16_t* blocks, unsigned count, std::uint8_t* samples,
                                unsigned pitch) const {
  calcIDCTFlt_strip(blocks, count, steps_.data(), getIDCTf(), getIDCTf() + 64, samples, pitch, 1);
}

}  // namespace quorvel::host
