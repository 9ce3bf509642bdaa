// SPDX-License-Identifier: Apache-2.0
// Bilinear weights: the plain products of the phases, and their bent kin.
#include "geometry/resample_weights.h"

#include <algorithm>
#include <cmath>

#include "quorvel/geometry.h"

namespace quorvel {

std::int16_t signedBilinear[kPhasePairs][4];
std::uint16_t unsignedBilinear[kPhasePairs][4];
std::uint8_t byteBilinear[kPhasePairs][4];

namespace {

bool signedIsPlain = true;  // of a signed table that has been filled

constexpr int kSignedLimit = 32767, kUnsignedLimit = 65535;

// Calls store(entry, k, weight) with the product of phases that belongs to weight k, sum 256.
template <typename Store>
void forProducts(Store&& store) {
  for (int entry = 0; entry < kPhasePairs; ++entry) {
    const int fx = entry % kPhases, fy = entry / kPhases;
    const int x[2] = {kPhases - fx, fx}, y[2] = {kPhases - fy, fy};
    for (int k = 0; k < 4; ++k) store(entry, k, x[k % 2] * y[k / 2]);
  }
}

template <typename Weight>
void fillScaled(Weight* table, int scale, int limit) {
  forProducts([=](int entry, int k, int product) {
    table[4 * entry + k] = static_cast<Weight>(std::min(product * scale, limit));
  });
}

// Weights are rounded in a way that keeps the sum: along y first, then both halves along x.
void fillBent(double exponent) {
  const auto bent = [exponent](int f, int whole) {
    const double near1 = std::pow(f, exponent), near0 = std::pow(kPhases - f, exponent);
    return static_cast<int>(std::lround(whole * (near1 / (near0 + near1))));
  };
  for (int entry = 0; entry < kPhasePairs; ++entry) {
    const int bottom = bent(entry / kPhases, 32768), top = 32768 - bottom;
    const int right[2] = {bent(entry % kPhases, top), bent(entry % kPhases, bottom)};
    const int weights[4] = {top - right[0], right[0], bottom - right[1], right[1]};
    for (int k = 0; k < 4; ++k)
      signedBilinear[entry][k] = static_cast<std::int16_t>(std::min(weights[k], kSignedLimit));
  }
}

}  // namespace

const std::int16_t* bentBilinear() {
  genWeightTable16_16_power(1.0);
  return signedIsPlain ? nullptr : signedBilinear[0];
}

}  // namespace quorvel

using namespace quorvel;

void genWeightTable16_16(std::uint16_t* table, int unsignedWeights) {
  if (unsignedWeights != 0) {
    fillScaled(table, 256, kUnsignedLimit);
  } else {
    fillScaled(table, 128, kSignedLimit);
  }
}

void genWeightTable16_16_static() {
  if (signedBilinear[0][0] == kSignedLimit && unsignedBilinear[0][0] == kUnsignedLimit) return;
  fillScaled(unsignedBilinear[0], 256, kUnsignedLimit);
  fillScaled(signedBilinear[0], 128, kSignedLimit);
  signedIsPlain = true;
  forProducts([](int entry, int k, int product) { byteBilinear[entry][k] = static_cast<std::uint8_t>(product); });
}

void genWeightTable16_16_power(double exponent) {
  if (signedBilinear[0][0] != 0) return;
  if (exponent == 1.0) {
    fillScaled(signedBilinear[0], 128, kSignedLimit);
  } else {
    signedIsPlain = false;
    fillBent(exponent);
  }
}
