// SPDX-License-Identifier: Apache-2.0
// What is measured on one frame: its focus, place by place, and how often each level occurs.
#ifndef QUORVEL_HOST_ROAD_MEASURE_H_
#define QUORVEL_HOST_ROAD_MEASURE_H_

#include <array>
#include <cstdint>
#include <vector>

#include "host/io/image.h"

namespace quorvel::host {

// The focus measure over a grid of equal fields that covers a rectangle. Higher is sharper; the measure is of the
// picture's own contrast, so it compares frames of one scene and fields of like content.
struct FocusGrid {
  Region area;
  unsigned columns = 0, rows = 0;
  std::vector<double> fields;  // row by row; 0 where there is no light

  double least() const;
  double greatest() const;
  double mean() const;
};
// `across` fields in a row, and as many rows as make the fields about square. The area lies inside the frame.
FocusGrid focusGrid(const RawFrame& frame, const Region& area, unsigned across);

// How often each level occurs, for red, green (both kinds of sites) and blue.
struct Histogram {
  std::array<std::vector<std::uint32_t>, 3> counts;  // kFullScale + 1 levels

  struct Summary {
    std::uint64_t samples = 0;
    int least = 0, median = 0, greatest = 0;
    double mean = 0;
    double saturated = 0;  // share of the samples at or above the level of a full sensor
  };
  Summary summary(std::size_t colour, int white) const;
};
Histogram histogramOf(const RawFrame& frame);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_MEASURE_H_
