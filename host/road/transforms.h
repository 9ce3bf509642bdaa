// SPDX-License-Identifier: Apache-2.0
// The library's cosine transforms of 8-bit samples with a quantiser as JPEG has it.
#ifndef QUORVEL_HOST_ROAD_TRANSFORMS_H_
#define QUORVEL_HOST_ROAD_TRANSFORMS_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include <quorvel/dct_tables.h>

namespace quorvel::host {

// Fills the library's tables when it is called first.
void prepareTransforms();

// Steps are those of a JPEG file.
class ForwardTransform {
 public:
  explicit ForwardTransform(const QuantizerSteps& steps);

  // Quantised blocks, side by side and in zig-zag order, of eight rows of samples.
  void blockRow(const std::uint8_t* samples, std::size_t pitch, unsigned blocks, std::int16_t* out) const;
  QuantizerSteps zigzagSteps() const;

 private:
  QuantizerSteps steps_;
  Quantizer quantizer_;
};

class InverseTransform {
 public:
  explicit InverseTransform(const QuantizerSteps& zigzagSteps);

  // The way back, into eight rows.
  void blockRow(const std::int16_t* blocks, unsigned count, std::uint8_t* samples, unsigned pitch) const;

 private:
  std::array<float, 64> steps_;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_TRANSFORMS_H_
