// SPDX-License-Identifier: Apache-2.0
// The library's cosine transforms of 8-bit samples with a quantiser as JPEG has it.
#ifndef QUORVEL_HOST_ROAD_TRANSFORMS_H_
#define QUORVEL_HOST_ROAD_TRANSFORMS_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace quorvel::host {

// Fills the library's tables when it is called first.
void prepareTransforms();

using JpegSteps = std::array<std::uint16_t, 64>;  // 1 to 255, row by row

// The usual steps of a quality from 1 to 100.
JpegSteps jpegSteps(int quality, bool chroma);

class ForwardTransform {
 public:
  explicit ForwardTransform(const JpegSteps& steps);

  // Quantised blocks, side by side and in zig-zag order, of eight rows of samples.
  void blockRow(const std::uint8_t* samples, std::size_t pitch, unsigned blocks, std::int16_t* out) const;
  JpegSteps zigzagSteps() const;

 private:
  JpegSteps steps_;
  std::array<std::uint16_t, 64> bias_, reciprocals_;
  int scaledFirst_;
};

class InverseTransform {
 public:
  explicit InverseTransform(const JpegSteps& zigzagSteps);

  // The way back, into eight rows.
  void blockRow(const std::int16_t* blocks, unsigned count, std::uint8_t* samples, unsigned pitch) const;

 private:
  std::array<float, 64> steps_;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_TRANSFORMS_H_
