// SPDX-License-Identifier: Apache-2.0
// The table of the sixteen-tap kernel. A generator says what weight a sample has by its place relative to the position;
// here the weights are made for all pairs of phases, brought to the sum 1, and rounded.
#include <algorithm>
#include <atomic>
#include <cmath>

#include "geometry/resample_weights.h"
#include "quorvel/geometry.h"

namespace quorvel {
namespace {

constexpr int kSide = 4, kTaps = kSide * kSide;
constexpr double kOne = 16384;

std::int16_t taps[kPhasePairs][kTaps];
float exactTaps[kPhasePairs][kTaps];
std::atomic<bool> filled = false;

// weigh(dx, dy, weights) gives the sixteen weights of a position whose distances from the columns and rows of samples
// are dx[0..3] and dy[0..3], with a sign.
template <typename Weigh>
void fill(Weigh&& weigh) {
  for (int entry = 0; entry < kPhasePairs; ++entry) {
    double dx[kSide], dy[kSide], weights[kTaps], sum = 0;
    for (int k = 0; k < kSide; ++k) {
      dx[k] = 1 + (entry % kPhases) / 16.0 - k;
      dy[k] = 1 + (entry / kPhases) / 16.0 - k;
    }
    weigh(dx, dy, weights);
    for (const double w : weights) sum += w;
    for (int k = 0; k < kTaps; ++k) {
      const double w = weights[k] / sum;
      exactTaps[entry][k] = static_cast<float>(w);
      taps[entry][k] = static_cast<std::int16_t>(std::clamp(std::round(w * kOne), -32768.0, 32767.0));
    }
  }
  filled.store(true, std::memory_order_release);
}

// Cubic convolution with parameter c at distance r >= 0.
double kernel(double c, double r) {
  if (r < 1) return ((c + 2) * r - (c + 3)) * r * r + 1;
  if (r < 2) return c * (((r - 5) * r + 8) * r - 4);
  return 0;
}

// alongX counts for samples that lie beside the position, alongY for those above and below.
void fillDirected(double alongX, double alongY) {
  fill([=](const double* dx, const double* dy, double* weights) {
    for (int k = 0; k < kTaps; ++k) {
      const double x = std::abs(dx[k % kSide]), y = std::abs(dy[k / kSide]), sum = x + y;
      const double tx = sum == 0 ? 0.5 : x / sum, ty = sum == 0 ? 0.5 : y / sum;
      const double r = std::sqrt(x * x + y * y);
      weights[k] = ty * kernel(alongY, r) + tx * kernel(alongX, r);
    }
  });
}

void fillDefault() {
  if (!filled.load(std::memory_order_acquire)) fillDirected(-0.5, -0.5);
}

}  // namespace

const std::int16_t (*cubicTaps())[kTaps] {
  fillDefault();
  return taps;
}

}  // namespace quorvel

using namespace quorvel;

void doNearestNeiborhoodCC() {
  fill([](const double* dx, const double* dy, double* weights) {
    int nearest = 0;
    double least = 10;
    for (int k = 0; k < kTaps; ++k) {
      const double x = dx[k % kSide], y = dy[k / kSide], r = std::sqrt(x * x + y * y);
      if (r < least) nearest = k, least = r;
      weights[k] = 0;
    }
    weights[nearest] = 1;
  });
}

void genParaboloicWeightTableXY(double a, double b) { fillDirected(a, b); }

void genParaboloicWeightTable_MoveCompensXY(double a, double b) { fillDirected(b, a); }

const std::int16_t* getCubicTable16() { return cubicTaps()[0]; }

const float* getCubicTable16f() {
  fillDefault();
  return exactTaps[0];
}
