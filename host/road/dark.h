// SPDX-License-Identifier: Apache-2.0
// What a sensor gives in the dark, measured on frames taken with the lens closed, and taken off other frames.
#ifndef QUORVEL_HOST_ROAD_DARK_H_
#define QUORVEL_HOST_ROAD_DARK_H_

#include <array>
#include <cstdint>
#include <vector>

#include "host/io/image.h"

namespace quorvel::host {

// A site that gives far more than its fellows in the dark.
struct HotPixel {
  unsigned x = 0, y = 0;
  int level = 0;  // its mean, in counts

  bool operator==(const HotPixel&) const = default;
};

struct DarkCalibration {
  unsigned width = 0, height = 0;  // of the frames
  unsigned frames = 0;             // how many were measured
  std::array<int, 4> black{};      // level of the sites G, R, B, G
  std::array<double, 4> noise{};   // standard deviation of one frame's samples about it, hot pixels left out
  std::vector<HotPixel> hot;       // row by row

  bool operator==(const DarkCalibration&) const = default;
};

// Takes in dark frames one by one; memory does not grow with their number.
class DarkStudy {
 public:
  // All frames have one size; false, with nothing taken in, for a frame of another.
  bool add(const RawFrame& frame);
  // After at least one frame.
  DarkCalibration result() const;

 private:
  unsigned width_ = 0, height_ = 0, frames_ = 0;
  std::vector<std::uint32_t> sums_;                       // of every sample
  std::array<std::vector<std::uint64_t>, 4> histograms_;  // of every site, over all frames
};

// The frame with the calibration's black levels, and each hot pixel replaced by the mean of its nearest neighbours of
// the same colour that are not hot. The sizes are equal.
RawFrame calibrated(RawFrame frame, const DarkCalibration& calibration);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_DARK_H_
