// SPDX-License-Identifier: Apache-2.0
// The tables of the surface fits. A quadratic surface is eight coefficients, each a whole linear form of the samples (a
// row of a matrix), times eight weights of the pair of phases; the sum of the products is 512 times the surface.
//
// Six samples determine their surface. In the terms of Newton's divided differences the coefficients are differences of
// the samples and all weights are whole numbers: the fit is exact.
//
// Eight samples lie symmetrically about the point (1/2, 1/2). From there, with u = x - 1/2 and v = y - 1/2, the best
// surface in the sense of least squares has the constant, the squares and the mixed term as simple fractions of the
// samples, and slopes in 1/18. The slopes' rows come in 16/9 of that, rounded, and the two coefficients that are left
// of eight carry most of what the rounding takes. Squares are halves for odd phases; one is rounded up and the other
// down, as their errors meet in the same samples. A sample's weight is within 3.2/512 of the best one.
//
// In both matrices all rows but the constant's sum to 0, and equal samples give exactly 512 times the sample. Rows are
// short enough for 8-bit samples to stay within 16 bits in every coefficient and in every half of its sum. So nothing
// saturates on the way, and the resampling kernels may use the weights of the samples themselves, which are the
// products of both tables: the results are the same.
#include <array>
#include <atomic>

#include "geometry/resample_weights.h"
#include "quorvel/geometry.h"

namespace quorvel {
namespace {

constexpr int kTerms = 8, kSamples = 8;
using Matrix = std::array<std::array<std::int16_t, kSamples>, kTerms>;
using Weights = std::array<int, kTerms>;

// Samples (column, row): (0,0) (1,0) (2,0) (0,1) (1,1) (0,2).
constexpr Matrix kSix = {{{1, 0, 0, 0, 0, 0, 0, 0},
                          {-1, 1, 0, 0, 0, 0, 0, 0},
                          {-1, 0, 0, 1, 0, 0, 0, 0},
                          {1, -2, 1, 0, 0, 0, 0, 0},
                          {1, -1, 0, -1, 1, 0, 0, 0},
                          {1, 0, 0, -2, 0, 1, 0, 0}}};
constexpr Weights weightsOfSix(int fx, int fy) {
  return {512, 32 * fx, 32 * fy, fx * (fx - 16), 2 * fx * fy, fy * (fy - 16)};
}

// Samples: (1,-1) (0,0) (1,0) (2,0) (-1,1) (0,1) (1,1) (0,2). Rows: constant, u, v, u^2, uv, v^2, rest of u, rest of v.
constexpr Matrix kEight = {{{-1, 2, 8, -1, -1, 8, 2, -1},
                            {-2, -5, 2, 9, -9, -2, 5, 2},
                            {-9, -5, -2, 2, -2, 2, 5, 9},
                            {0, 1, -2, 1, 1, -2, 1, 0},
                            {0, 1, -1, 0, 0, -1, 1, 0},
                            {1, 1, -2, 0, 0, -2, 1, 1},
                            {2, -3, -2, -1, 1, 2, 3, -2},
                            {1, -3, 2, -2, 2, -2, 3, -1}}};
constexpr Weights weightsOfEight(int fx, int fy) {
  const int u = fx - 8, v = fy - 8;  // both in 1/16
  const auto ninth = [](int n) { return n >= 5 ? 1 : n <= -5 ? -1 : 0; };
  return {32, u, v, (u * u + 1) / 2, 2 * u * v, v * v / 2, ninth(u), ninth(v)};
}

// The same fit without rounding: the weights of the samples.
std::array<double, kSamples> bestOfEight(int fx, int fy) {
  constexpr double kColumn[] = {1, 0, 1, 2, -1, 0, 1, 0}, kRow[] = {-1, 0, 0, 0, 1, 1, 1, 2};
  const double u = (fx - 8) / 16.0, v = (fy - 8) / 16.0;
  std::array<double, kSamples> weights;
  for (std::size_t j = 0; j < kSamples; ++j) {
    const double su = kColumn[j] - 0.5, sv = kRow[j] - 0.5;
    weights[j] = kEight[0][j] / 16.0 + (u * (2 * su + sv) + v * (su + 2 * sv)) / 9 +
                 (kEight[3][j] * u * u + kEight[5][j] * v * v) / 4 + kEight[4][j] * u * v;
  }
  return weights;
}

int product(const Matrix& matrix, const Weights& weights, std::size_t sample) {
  int sum = 0;
  for (std::size_t k = 0; k < kTerms; ++k) sum += matrix[k][sample] * weights[k];
  return sum;
}

// The library's own tables. Threads that meet them unbuilt may all build them: they write the same.
alignas(16) std::int16_t ownMatrices[2 * kTerms * kSamples], ownSix[kPhasePairs * kTerms],
    ownEight[kPhasePairs * kTerms];
float ownExact[2 * kPhasePairs * kSamples];
std::atomic<bool> built = false;
alignas(16) SurfaceTaps taps;

}  // namespace

const SurfaceTaps& surfaceTaps() {
  GenParaboloicWeightTable();
  return taps;
}

}  // namespace quorvel

using namespace quorvel;

void genParaboloicWeightTable(std::int16_t* matrixTable, std::int16_t* six, std::int16_t* eight, float* exact) {
  for (std::size_t i = 0; i < kTerms * kSamples; ++i) {
    matrixTable[i] = kSix[i / kSamples][i % kSamples];
    matrixTable[kTerms * kSamples + i] = kEight[i / kSamples][i % kSamples];
  }
  for (int entry = 0; entry < kPhasePairs; ++entry) {
    const int fx = entry % kPhases, fy = entry / kPhases;
    const Weights ofSix = weightsOfSix(fx, fy), ofEight = weightsOfEight(fx, fy);
    const auto best = bestOfEight(fx, fy);
    for (std::size_t k = 0; k < kTerms; ++k) {
      const std::size_t at = static_cast<std::size_t>(entry) * kTerms + k;
      six[at] = static_cast<std::int16_t>(ofSix[k]);
      eight[at] = static_cast<std::int16_t>(ofEight[k]);
      exact[at + static_cast<std::size_t>(entry) * kSamples] = static_cast<float>(product(kSix, ofSix, k) / 512.0);
      exact[at + static_cast<std::size_t>(entry + 1) * kSamples] = static_cast<float>(best[k]);
    }
  }
}

void GenParaboloicWeightTable() {
  if (built.load(std::memory_order_acquire)) return;
  genParaboloicWeightTable(ownMatrices, ownSix, ownEight, ownExact);
  for (int entry = 0; entry < kPhasePairs; ++entry) {
    const int fx = entry % kPhases, fy = entry / kPhases;
    const int corners[] = {(16 - fx) * (16 - fy), fx * (16 - fy), (16 - fx) * fy, fx * fy};
    for (std::size_t j = 0; j < kSamples; ++j) {
      taps.bilinear[entry][j] = static_cast<std::int16_t>(j < 4 ? 2 * corners[j] : 0);
      taps.six[entry][j] = static_cast<std::int16_t>(product(kSix, weightsOfSix(fx, fy), j));
      taps.eight[entry][j] = static_cast<std::int16_t>(product(kEight, weightsOfEight(fx, fy), j));
    }
  }
  built.store(true, std::memory_order_release);
}
