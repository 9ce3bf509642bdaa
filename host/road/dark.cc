// SPDX-License-Identifier: Apache-2.0
#include "host/road/dark.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include <quorvel/quorvel.h>

namespace quorvel::host {
namespace {

// A hot pixel's mean lies this many standard deviations of the means, and this many counts, above its site's middle:
// among ten million pixels noise alone does not come so far.
constexpr double kHotDeviations = 8, kHotCounts = 6;
// Samples farther than this from the middle are not noise and do not count as such.
constexpr double kNoiseDeviations = 8;

unsigned siteOf(unsigned x, unsigned y) { return (y & 1) * 2 + (x & 1); }

// The level below which `share` of all samples lie.
double quantile(const std::vector<std::uint64_t>& histogram, double share) {
  std::uint64_t total = 0;
  for (const std::uint64_t n : histogram) total += n;
  const double wanted = share * static_cast<double>(total);
  double below = 0;
  for (std::size_t level = 0; level < histogram.size(); ++level) {
    const auto here = static_cast<double>(histogram[level]);
    // Inside a level samples are taken to lie evenly, half a count to each side.
    if (here > 0 && below + here >= wanted) return static_cast<double>(level) - 0.5 + (wanted - below) / here;
    below += here;
  }
  return 0;
}

struct Spread {
  double middle = 0, deviation = 0;
};

// First from quartiles, which hot pixels do not move, then from all samples in the range that those allow.
Spread spreadOf(const std::vector<std::uint64_t>& histogram) {
  constexpr double kDeviationsBetweenQuartiles = 1.349;
  const double middle = quantile(histogram, 0.5);
  const double rough = (quantile(histogram, 0.75) - quantile(histogram, 0.25)) / kDeviationsBetweenQuartiles;
  const double reach = kNoiseDeviations * std::max(rough, 0.5);
  double count = 0, sum = 0, squares = 0;
  for (std::size_t level = 0; level < histogram.size(); ++level) {
    const double off = static_cast<double>(level) - middle, n = static_cast<double>(histogram[level]);
    if (std::abs(off) > reach) continue;
    count += n;
    sum += n * off;
    squares += n * off * off;
  }
  if (count == 0) return {middle, 0};
  const double mean = sum / count;
  return {middle, std::sqrt(std::max(0.0, squares / count - mean * mean))};
}

}  // namespace

bool DarkStudy::add(const RawFrame& frame) {
  if (frames_ == 0) {
    width_ = frame.width;
    height_ = frame.height;
    sums_.resize(frame.samples.size());
    for (auto& histogram : histograms_) histogram.resize(kFullScale + 1);
  }
  if (frame.width != width_ || frame.height != height_) return false;
  for (unsigned y = 0; y < height_; ++y) {
    for (unsigned x = 0; x < width_; ++x) {
      const std::size_t at = std::size_t{y} * width_ + x;
      sums_[at] += frame.samples[at];
      ++histograms_[siteOf(x, y)][frame.samples[at]];
    }
  }
  ++frames_;
  return true;
}

DarkCalibration DarkStudy::result() const {
  DarkCalibration result;
  result.width = width_;
  result.height = height_;
  result.frames = frames_;
  std::array<double, 4> middle{}, limit{};
  for (std::size_t site = 0; site < 4; ++site) {
    const Spread spread = spreadOf(histograms_[site]);
    middle[site] = spread.middle;
    result.noise[site] = spread.deviation;
    limit[site] = spread.middle +
                  std::max(kHotDeviations * spread.deviation / std::sqrt(static_cast<double>(frames_)), kHotCounts);
  }
  // The mean frame, without the hot pixels, has the black levels that the library measures.
  std::vector<std::int16_t> mean(sums_.size());
  for (unsigned y = 0; y < height_; ++y) {
    for (unsigned x = 0; x < width_; ++x) {
      const std::size_t at = std::size_t{y} * width_ + x;
      const unsigned site = siteOf(x, y);
      const double level = static_cast<double>(sums_[at]) / frames_;
      const bool hot = level > limit[site];
      if (hot) result.hot.push_back({x, y, static_cast<int>(std::lround(level))});
      mean[at] = static_cast<std::int16_t>(std::lround(hot ? middle[site] : level));
    }
  }
  BayerBlack black{};
  calcBayerBlack(mean.data(), width_, 0, 0, 0, width_, height_, &black);
  std::copy(std::begin(black.level), std::end(black.level), result.black.begin());
  return result;
}

RawFrame calibrated(RawFrame frame, const DarkCalibration& calibration) {
  frame.black = calibration.black;
  std::set<std::pair<unsigned, unsigned>> hot;
  for (const HotPixel& p : calibration.hot) hot.insert({p.x, p.y});
  for (const HotPixel& p : calibration.hot) {
    unsigned sum = 0, count = 0;
    // Rings of same-colour neighbours, two samples further out each time: the first with a good one serves.
    for (unsigned reach = 2; count == 0 && reach <= 6; reach += 2) {
      for (const auto& [dx, dy] : {std::pair(-1, 0), {1, 0}, {0, -1}, {0, 1}}) {
        const unsigned x = p.x + reach * static_cast<unsigned>(dx), y = p.y + reach * static_cast<unsigned>(dy);
        if (x >= frame.width || y >= frame.height || hot.contains({x, y})) continue;  // wrapped below 0: too large
        sum += frame.samples[std::size_t{y} * frame.width + x];
        ++count;
      }
    }
    if (count > 0) {
      frame.samples[std::size_t{p.y} * frame.width + p.x] = static_cast<std::uint16_t>((sum + count / 2) / count);
    }
  }
  return frame;
}

}  // namespace quorvel::host
