// SPDX-License-Identifier: Apache-2.0
// The weight tables of the resampling methods, one entry for each of the 256 pairs of phases.
#ifndef QUORVEL_GEOMETRY_RESAMPLE_WEIGHTS_H_
#define QUORVEL_GEOMETRY_RESAMPLE_WEIGHTS_H_

#include <cstdint>

namespace quorvel {

inline constexpr int kPhases = 16, kPhasePairs = kPhases * kPhases;

// Weights of the samples top left, top right, bottom left, bottom right. Kernels compute the plain ones in their lanes;
// the tables serve whoever wants an entry, and the weights of an exponent that has no such formula.
extern std::int16_t signedBilinear[kPhasePairs][4];     // sum 32768, the largest one less
extern std::uint16_t unsignedBilinear[kPhasePairs][4];  // sum 65536, the largest one less
extern std::uint8_t byteBilinear[kPhasePairs][4];       // sum 256, the largest wraps to 0

// Builds the signed table if that has not been done; null where it is the plain one, the table where it is not.
const std::int16_t* bentBilinear();

// The sixteen-tap table; filled with a default where no generator has been called.
const std::int16_t (*cubicTaps())[16];

// What the surface fits come to for a sample: its weight in 1/512, of six samples and of eight in the order of their
// rows (eight words each, the unused ones 0), and of the four samples of the bilinear method.
struct SurfaceTaps {
  std::int16_t bilinear[kPhasePairs][8], six[kPhasePairs][8], eight[kPhasePairs][8];
};
const SurfaceTaps& surfaceTaps();

// Cubic convolution with parameter -0.5 of four samples in 1/16384, by one phase f. No rounding is needed: the kernel's
// polynomials have whole coefficients on this scale, and the sum is 16384.
constexpr std::int32_t cubicConvolution(int tap, int f) {
  switch (tap) {
    case 0:
      return -2 * f * (16 - f) * (16 - f);
    case 1:
      return (6 * f - 160) * f * f + 16384;
    case 2:
      return ((128 - 6 * f) * f + 512) * f;
    default:
      return -2 * f * f * (16 - f);
  }
}

}  // namespace quorvel

#endif  // QUORVEL_GEOMETRY_RESAMPLE_WEIGHTS_H_
