// SPDX-License-Identifier: Apache-2.0
/// @file
/// Mappings: the records that lead from the pixels of an output to positions in a source, and what follows from them.
///
/// A mapping that is bilinear in the output's columns and rows is a `GeoCoef4`. The resampling routines follow it in
/// 16.16 fixed point: position (0, 0) is the source's first sample, (1, 0) the sample to its right, and all arithmetic
/// on positions wraps modulo 2^32. Starts are given in 1/16 pixel, steps in 1/65536 pixel.
#ifndef QUORVEL_MAPPING_H_
#define QUORVEL_MAPPING_H_

#include <quorvel/types.h>

/// Where the corners of an output block lie in the source, in source pixels: the block's origin (x0, y0), the corner
/// one block further along the row (x1, y1), the one a block further down the column (x2, y2), the opposite one.
struct Geo4Rect {
  double x0, y0, x1, y1, x2, y2, x3, y3;
};
/// The same in single precision.
struct Geo4RectF {
  float x0, y0, x1, y1, x2, y2, x3, y3;
};

/// A mapping from output pixel (column i, row j) to the source position
///     X = 4096 x + j dxRow + i (dxColumn + j ddx),    Y = 4096 y + j dyRow + i (dyColumn + j ddy)   in 1/65536 pixel.
struct GeoCoef4 {
  int x, y;                ///< position of the first pixel, 1/16 pixel
  int columns, rows;       ///< size of the output
  int dxColumn, dyColumn;  ///< steps from a pixel to the next in row 0, 16.16
  int dxRow, dyRow;        ///< steps from the start of a row to the start of the next, 16.16
  int ddx, ddy;            ///< what a row adds to the steps between its pixels, 16.16
  int rowRun;              ///< about how many pixels of row 0 lead through 16 pixels of height, negative where y falls;
                           ///< -32768..32767, and 32768 for everything below, see `calcGeo`
};

/// The walk of `convGeo`.
struct Xparam {
  int dx, dy;            ///< steps from a pixel to the next, 16.16
  unsigned pitch, rows;  ///< the source: `rows` rows, a power of two up to 32768, `pitch` samples apart
};

extern "C" {

/// @name Coefficients of a mapping
/// These three have no way to fail and return 0. A value that leaves 32 bits keeps its lowest 32 (a coefficient wraps,
/// as positions do); one that is not a number, or of 2^63 and more, becomes 0.
/// @{

/// The mapping of a block of which `rect` gives the corners. `sx` and `sy` are the reciprocals of the block's size in
/// pixels; `n` and `m`, the columns and rows to produce, are only stored. Every coefficient is computed in double
/// precision and truncated towards zero, the start to 1/16 pixel. Output pixel (0, 0) is taken at corner (x0, y0).
///
/// `rowRun` is 16 n / (y1 - y0), truncated: 32767 where the two are equal or the quotient is larger, and +32768
/// (the bits of a 16-bit -32768, widened without its sign) where it is below -32768.
QUORVEL_API int calcGeo(const Geo4Rect* rect, unsigned n, unsigned m, double sx, double sy, GeoCoef4* coef);
/// The same for corners of cells: `rect` says where the block's outline lies, and the start is moved by half a step
/// along the row and half a step down the column, less half a pixel, onto the centre of the first cell. A rectangle
/// of a source's own size maps every pixel onto itself.
QUORVEL_API int calcGeo2(const Geo4Rect* rect, unsigned n, unsigned m, double sx, double sy, GeoCoef4* coef);
/// `calcGeo` in single precision throughout.
QUORVEL_API int calcGeoF(const Geo4RectF* rect, unsigned n, unsigned m, float sx, float sy, GeoCoef4* coef);

/// @}
/// @name Bilinear resampling out of a ring of rows
/// The source is a ring of rows, as a camera fills it line by line: below its last row lies its first. A position has
/// 16 phases on each axis, fx and fy; the sample (s00), its neighbours to the right and below (s01, s10) and the one
/// opposite (s11) give
///     ((16 - fx)(16 - fy) s00 + fx (16 - fy) s01 + (16 - fx) fy s10 + fx fy s11) >> 8,
/// truncated, at phase (0, 0) thus the sample itself, and then no other is read. Columns are neither clipped nor
/// wrapped: the caller guarantees that those that are met lie in their row, with one more to the right unless the
/// phase is (0, 0). Output rows follow each other without a gap.
///
/// Return 0; -1, with nothing written, where the start x is negative; -2 where the start y is.
/// @{

/// Produces `rows` rows of `width` 8-bit pixels out of 64 rows that lie 8192 samples apart. The start (x0, y0) is in
/// 1/16 pixel, the steps (dx, dy) between pixels and (rowDx, rowDy) between the starts of rows are 16.16.
QUORVEL_API int convGeo8_8(const std::uint8_t* ring, std::uint8_t* dst, int x0, int y0, unsigned width, int dx, int dy,
                           int rowDx, int rowDy, int rows);
/// The same for 16-bit samples, of which the whole range may be used. `ddx` and `ddy` have no effect.
QUORVEL_API int convGeo16_16(const std::uint16_t* ring, std::uint16_t* dst, int x0, int y0, unsigned width, int dx,
                             int dy, int rowDx, int rowDy, int ddx, int ddy, int rows);
/// One run of `n` pixels by the same rule, out of a ring of any size: `walk` gives the steps and the source's shape.
/// A source that is no ring may have its rows rounded up to a power of two, as long as y stays inside. Returns -1 also
/// for a number of rows that is no power of two, or above 32768, and for a source of 2^30 samples or more.
QUORVEL_API int convGeo(const std::uint16_t* src, std::uint16_t* dst, int x0, int y0, const Xparam* walk, unsigned n);

/// @}
/// @name Positions of a mapping
/// @{

/// The source positions, 16.16 and wrapped, of the first `n` pixels of output row `row`. Returns 0.
QUORVEL_API int linearCoor(const GeoCoef4* coef, int row, TPoInt<std::int32_t>* positions, unsigned n);

/// Which pixels of output row `row` remain when those are excluded that a source of `width` x `height` samples cannot
/// give by bilinear interpolation: pixels whose sample, or its neighbour to the right, below or opposite, is not there.
/// They are one run, because a row's positions lie on a line. Returns its length, with the run's first pixel in
/// `first`; 0, and `first` 0, where none remains. Positions count as they are before they wrap.
QUORVEL_API int calcExclude(const GeoCoef4* coef, int row, unsigned width, unsigned height, unsigned* first);
/// The same for any rectangle of positions, 16.16: `low` belongs to it, `high` does not. For other neighbourhoods.
QUORVEL_API int calcExclude2(const GeoCoef4* coef, int row, const TPoInt<std::int32_t>* low,
                             const TPoInt<std::int32_t>* high, unsigned* first);

/// @}
/// @name Triangles
/// A mapping given by triangles of tie points, or the ground below a picture, is laid into a raster triangle by
/// triangle. `corners` are three positions in 1/16 pixel, in any order of turning, within -2^27..2^27; sample (x, y)
/// lies at (16 x, 16 y). A sample belongs to the triangle that it lies in, and on an edge to the one on the edge's
/// right or, for level edges, below it: triangles that share an edge neither overlap nor leave a gap. What lies outside
/// the raster of `width` x `height` samples, rows `pitch` samples apart, is left out.
///
/// Return the number of samples written, or -1, with nothing written, for a corner out of range.
/// @{

/// Fills a triangle with one value.
QUORVEL_API int fillTriangle(std::uint8_t* raster, unsigned pitch, unsigned width, unsigned height,
                             const TPoInt<std::int32_t>* corners, std::uint8_t value);
/// Fills it with the plane through the heights `z` of its three corners, computed in double precision and rounded.
QUORVEL_API int fillTriangleZ(float* raster, unsigned pitch, unsigned width, unsigned height,
                              const TPoInt<std::int32_t>* corners, const float* z);

/// @}

}  // extern "C"

#endif  // QUORVEL_MAPPING_H_
