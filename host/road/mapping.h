// SPDX-License-Identifier: Apache-2.0
// From places in an output to places in its source, and the cutting of the output into blocks that the library follows.
#ifndef QUORVEL_HOST_ROAD_MAPPING_H_
#define QUORVEL_HOST_ROAD_MAPPING_H_

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include <quorvel/quorvel.h>

namespace quorvel::host {

// In pixels: (0, 0) is a picture's upper left corner, and the centre of its first pixel is (0.5, 0.5).
struct Place {
  double x, y;
};

struct Size {
  unsigned width, height;
};

// Nothing where the output shows no place of the source's plane: beyond the horizon of a projective mapping.
using Mapping = std::function<std::optional<Place>(Place)>;

// Bilinear in the output, whose corners are given their places: upper left, upper right, lower left, lower right.
Mapping quadMapping(const std::array<double, 8>& corners, Size output);
// Whether the corners lie on one line, so that there is nothing to see.
bool isDegenerate(const std::array<double, 8>& corners);

// (a x + b y + c, d x + e y + f) / (g x + h y + i), of the nine numbers row by row. The side of the horizon on which
// the output's centre lies is the one that is seen.
Mapping projectiveMapping(const std::array<double, 9>& matrix, Size output);
// Whether the matrix takes the plane to a line or a point, or the output's centre lies on the horizon.
bool isDegenerate(const std::array<double, 9>& matrix, Size output);

// Polynomials in x and y for the place's x and y: coefficients of 1, x, y, x^2, x y, y^2 for order 2, then of x^3,
// x^2 y, x y^2, y^3 for order 3, first all for x and then all for y.
Mapping polynomialMapping(int order, std::vector<double> coefficients);
constexpr std::size_t polynomialTerms(int order) { return order == 2 ? 6 : 10; }

// A part of the output that one coefficient record leads through. Positions of the record are of samples, counted from
// sample (originX, originY) of the source, which has two samples to spare on each side; they are positive.
struct WarpBlock {
  unsigned x, y, width, height;
  int originX, originY;
  unsigned windowWidth, windowHeight;  // of the samples from the origin on that the block can ask for
  GeoCoef4 coef;
  bool inside;  // no pixel comes from outside the source
};

// What a record may deviate from its mapping within a block, in pixels. The resampler takes positions at whole 1/16
// pixels, and so do the starts of records; together a place is met within 3/32 pixel, and on average
// exactly.
inline constexpr double kWarpTolerance = 1.0 / 64;

// Covers the output with blocks that are as large as the tolerance and the library's number ranges allow; parts that
// come from outside the source as a whole go to `outside` (x, y, width, height).
void cutIntoBlocks(const Mapping& mapping, Size output, Size source, const std::function<void(const WarpBlock&)>& block,
                   const std::function<void(unsigned, unsigned, unsigned, unsigned)>& outside);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_MAPPING_H_
