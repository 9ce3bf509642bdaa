// SPDX-License-Identifier: Apache-2.0
// Colour correction: from chart measurements or any map of colours to the library's tables, and pictures through them.
#ifndef QUORVEL_HOST_ROAD_COLOUR_H_
#define QUORVEL_HOST_ROAD_COLOUR_H_

#include <functional>
#include <optional>

#include <quorvel/quorvel.h>

#include "host/io/image.h"

namespace quorvel::host {

using Rgb = std::array<double, 3>;
using Matrix3 = std::array<double, 9>;  // by rows
using Patches = std::vector<Rgb>;

// A map of colours on the scale of 8 bits.
using ColourMap = std::function<Rgb(Rgb)>;

inline constexpr unsigned kTableLevels = 64, kTableCells = kTableLevels * kTableLevels * kTableLevels;

// What the library's table files hold: three values for each cell.
struct ColourTable {
  TMatrix<float> cells;

  const float* at(unsigned c0, unsigned c1, unsigned c2) const {
    return cells.row(c0 + kTableLevels * (c1 + kTableLevels * c2));
  }
};

// The map's table. The library adds to a cell's value what a sample has beyond its level, so a cell takes the value
// with which the samples in its middle come out right: half the error of one that is right at its darkest sample.
// Values are limited to 0..252, so that no sum reaches into the next channel.
ColourTable tableOf(const ColourMap& map);

// A picture through a table of the library's with 64 levels; one of 16 bits through one of 12, which its samples are
// rounded down to.
Picture throughTable(Picture picture, const ColourTable& table);

// How far a table moves colours, in steps of 8 bits.
struct TableSummary {
  double meanMove = 0, greatestMove = 0;  // Euclidean
  std::array<float, 3> least{}, greatest{};
  unsigned limited = 0;  // cells with a value at an end of the range
};
TableSummary summaryOf(const ColourTable& table);

// Linear planes through a matrix for balanced colours, before they are balanced: with the gains taken into it.
void throughMatrix(Planes& planes, const Matrix3& matrix, const Gains& gains);

// The least-squares matrix from measured to reference colours; nothing where the measured ones do not span three
// dimensions.
std::optional<Matrix3> leastSquares(const Patches& measured, const Patches& reference);

Rgb operator*(const Matrix3& m, const Rgb& c);

// The matrix, and around each patch as much of what it leaves over as `strength`, 0 to 1, says: the residuals are
// interpolated by bells about the patches, as wide as the patches' mean distance, and fade away from them.
class ChartCorrection {
 public:
  ChartCorrection(Patches measured, const Patches& reference, const Matrix3& matrix, double strength);
  Rgb operator()(Rgb colour) const;

 private:
  double bell(const Rgb& a, const Rgb& b) const;

  Patches centres_, weights_;
  Matrix3 matrix_;
  double width_ = 1;
};

// Root mean square distance of two lists of equal length.
double meanError(const Patches& a, const Patches& b);

// Means over the middles of `columns` x `rows` equal fields of a rectangle inside an 8-bit picture.
Patches patchMeans(const Picture& picture, const Region& area, unsigned columns, unsigned rows);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_COLOUR_H_
