// SPDX-License-Identifier: Apache-2.0
// What the demosaicing methods share: the frame, the planes, and one function a method.
#ifndef QUORVEL_BAYER_DEMOSAIC_H_
#define QUORVEL_BAYER_DEMOSAIC_H_

#include <cstddef>
#include <cstdint>

namespace quorvel {

struct BayerFrame {
  const std::uint16_t* samples;
  std::size_t width, height, pitch;

  const std::uint16_t* row(std::size_t y) const { return samples + y * pitch; }
};

// One row of the three planes.
struct RgbRow {
  std::uint16_t *r, *g, *b;
};

// Planes whose rows follow each other without a gap.
struct RgbPlanes {
  std::uint16_t *r, *g, *b;
  std::size_t width;

  RgbRow row(std::size_t y) const { return {r + y * width, g + y * width, b + y * width}; }
};

// In a G/R row (even) the row's own colour is red and the other one blue; in a B/G row (odd) it is the other way round.
struct RowColours {
  std::uint16_t *green, *own, *other;
};

inline RowColours coloursOfRow(const RgbRow& out, std::size_t y) {
  return y % 2 == 0 ? RowColours{out.g, out.r, out.b} : RowColours{out.g, out.b, out.r};
}

constexpr int kOutOfMemory = -1;

// Frames of any size, for the first; of even width and height, with room for one row in `work`, for the second.
int demosaicBilinear(const BayerFrame& frame, const RgbPlanes& out);
int demosaicBilinearInterleaved(const BayerFrame& frame, const RgbRow& work, std::uint16_t* rgb);
// At least two rows and two columns.
int demosaicGradient(const BayerFrame& frame, const RgbPlanes& out);
int demosaicVariableGradients(const BayerFrame& frame, const RgbPlanes& out);
int separateColours(const BayerFrame& frame, const RgbPlanes& out);

}  // namespace quorvel

#endif  // QUORVEL_BAYER_DEMOSAIC_H_
