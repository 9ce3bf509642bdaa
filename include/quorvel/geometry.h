// SPDX-License-Identifier: Apache-2.0
/// @file
/// Tiles: rasters put together from parts; and resampling: rasters read along a geometric mapping.
///
/// A raster is a run of rows whose starts lie a pitch apart; pitches are counted in samples, not bytes, where nothing
/// else is said. No pointer is tested for null.
#ifndef QUORVEL_GEOMETRY_H_
#define QUORVEL_GEOMETRY_H_

#include <quorvel/mapping.h>
#include <quorvel/types.h>

extern "C" {

/// @name Sub-tiles
/// @{

/// Copies a tile of `width` x `height` 8-bit samples from `src`, rows `srcPitch` samples apart, into a raster `dst` of
/// `dstWidth` x `dstHeight` samples, rows `dstPitch` samples apart, so that the tile's first sample comes to column `x`
/// of row `y`. A tile without samples is only tested. To copy a part of a raster, point `src` at its first sample.
///
/// Returns 0, or with nothing written, the first of these that holds:
/// -1 the tile begins left of the raster (x < 0); -2 above it (y < 0); -4 ends right of it (x + width > dstWidth);
/// -5 ends below it (y + height > dstHeight). There is no -3, elsewhere the word for an unhandled method. A call that
/// is not refused asks `isCommonEMMX`, whose answer is remembered from then on.
///
/// While `ignoreError` is set, -4 is not tested and whole rows are copied, from the first row to the last. The caller
/// then guarantees that the memory of `dst` reaches from its start to sample (y + height - 1) * dstPitch + x + width;
/// what exceeds `dstPitch` lands at the start of the raster's next row. Source and destination must not overlap.
QUORVEL_API int insertSubTileX(const std::uint8_t* src, unsigned srcPitch, unsigned width, unsigned height,
                               std::uint8_t* dst, unsigned dstPitch, unsigned dstWidth, unsigned dstHeight, int x,
                               int y);
/// The same for 16-bit samples.
QUORVEL_API int insertSubTileX16(const std::uint16_t* src, unsigned srcPitch, unsigned width, unsigned height,
                                 std::uint16_t* dst, unsigned dstPitch, unsigned dstWidth, unsigned dstHeight, int x,
                                 int y);

/// @}
/// @name Mirrors, turns and borders
/// Every processor does these; nothing is asked of it. Where a routine works in place, that is said; otherwise source
/// and destination must not overlap. A row or tile without samples does nothing and gives 0, except where it says so.
/// @{

/// Mirrors a row of `n` 16-bit samples: sample i goes to place n - 1 - i. `dst` may be `src`. Returns 0.
QUORVEL_API int tileMirrorX16_16_EMMX(const std::uint16_t* src, std::uint16_t* dst, unsigned n);
/// The same for 8-bit samples.
QUORVEL_API int tileMirrorX8_8_EMMX(const std::uint8_t* src, std::uint8_t* dst, unsigned n);

/// Turns a tile of `width` x `height` samples clockwise, as it is seen with row 0 on top. The destination is of
/// `height` x `width` samples: its sample (x, y) is source sample (y, height - 1 - x). Returns 0.
QUORVEL_API int tileTurn90_8_8(const std::uint8_t* src, unsigned srcPitch, unsigned width, unsigned height,
                               std::uint8_t* dst, unsigned dstPitch);
/// The same for 16-bit samples.
QUORVEL_API int tileTurn90_16_16(const std::uint16_t* src, unsigned srcPitch, unsigned width, unsigned height,
                                 std::uint16_t* dst, unsigned dstPitch);
/// Turns it by half: the destination's sample (x, y) is source sample (width - 1 - x, height - 1 - y). `dst` may be
/// `src`, with the same pitch. Returns 0.
QUORVEL_API int tileTurn180_8_8(const std::uint8_t* src, unsigned srcPitch, unsigned width, unsigned height,
                                std::uint8_t* dst, unsigned dstPitch);
/// The same for 16-bit samples.
QUORVEL_API int tileTurn180_16_16(const std::uint16_t* src, unsigned srcPitch, unsigned width, unsigned height,
                                  std::uint16_t* dst, unsigned dstPitch);
/// Turns it anticlockwise. The destination is of `height` x `width` samples: its sample (x, y) is source sample
/// (width - 1 - y, x). Returns 0.
QUORVEL_API int tileTurn270_8_8(const std::uint8_t* src, unsigned srcPitch, unsigned width, unsigned height,
                                std::uint8_t* dst, unsigned dstPitch);
/// The same for 16-bit samples.
QUORVEL_API int tileTurn270_16_16(const std::uint16_t* src, unsigned srcPitch, unsigned width, unsigned height,
                                  std::uint16_t* dst, unsigned dstPitch);

/// Copies a tile of `width` x `height` samples and gives it a border that repeats its edges: the destination is of
/// left + `width` + right by top + `height` + bottom samples, and each is the source sample nearest to it. A tile that
/// lies where it is to come, at dst + top * dstPitch + left with the same pitch, is left there and only gets its
/// border. Returns 0, or -1 with nothing written for a tile without samples, which has no edge.
QUORVEL_API int tileBorder_8_8(const std::uint8_t* src, unsigned srcPitch, unsigned width, unsigned height,
                               std::uint8_t* dst, unsigned dstPitch, unsigned left, unsigned top, unsigned right,
                               unsigned bottom);
/// The same for 16-bit samples.
QUORVEL_API int tileBorder_16_16(const std::uint16_t* src, unsigned srcPitch, unsigned width, unsigned height,
                                 std::uint16_t* dst, unsigned dstPitch, unsigned left, unsigned top, unsigned right,
                                 unsigned bottom);

/// @}

/// @name Resampling: methods, weights and settings
///
/// Positions in a source raster are 16.16 fixed point and wrap modulo 2^32. Of a position's fraction the upper four
/// bits count: the phase, 0..15. A pair of phases has the index fx + 16 * fy.
///
/// The weight tables below belong to the whole process. Every routine that needs one builds it on its first call.
/// Generators overwrite theirs without a lock: call them before several threads resample.
/// @{

/// How a sample between samples is made: 0 bilinear, 1 a quadratic surface through six samples, 2 a quadratic surface
/// for eight samples, 3 and 4 sixteen taps, 6 four taps of a column, 7 four taps of a column, then of a row. See
/// `GeoParab8_8MMX`.
typedef int Geometry_Method;

/// The name of a method, for display: a static text, "Invalid Geometry method" for a number that is none.
QUORVEL_API const char* getRasterMethodName(Geometry_Method method);

/// Sets the depth of samples for `GeoY6_16_16MMX` and `GeoRowY6_16_16MMX`: results are limited to 0..2^bits - 1.
/// 1..16 bits; what lies outside counts as the nearer end. It is 16 until it is first set.
QUORVEL_API void setNbitForGeo(int bits);

/// Fills a caller's table of bilinear weights: for each of the 256 pairs of phases the weights of the samples top left,
/// top right, bottom left and bottom right, 1024 words in all. A weight is (16 - fx) * (16 - fy), fx * (16 - fy) and so
/// on times 256 and at most 65535 where `unsignedWeights` is not zero, times 128 and at most 32767 where it is zero.
QUORVEL_API void genWeightTable16_16(std::uint16_t* table, int unsignedWeights);

/// Fills the library's own bilinear tables of both kinds, and one of bytes without a scale. Returns at once where the
/// signed table begins with 32767 and the unsigned one with 65535.
QUORVEL_API void genWeightTable16_16_static();

/// Fills the library's signed bilinear table, unless it has been filled before. With `exponent` 1 it is the table of
/// `genWeightTable16_16`. Any other positive exponent p bends the way from one sample to the next: a phase of t = f /
/// 16 counts as t^p / (t^p + (1 - t)^p), so that for p > 1 results keep closer to the nearest sample, and for p < 1
/// they are softer; the four weights of a pair still sum to 32768, but for the one that is stored as 32767.
QUORVEL_API void genWeightTable16_16_power(double exponent);

/// Fills the table of the sixteen-tap kernel with nearest neighbours: 1 for the sample at the least distance, the first
/// one by rows and then columns where several are, 0 for the others.
QUORVEL_API void doNearestNeiborhoodCC();

/// Fills the table of the sixteen-tap kernel with cubic convolution that depends on direction. A sample at distance r
/// and at (dx, dy) from the position gets K(a, r) in the direction of rows and K(b, r) in that of columns, blended by
/// dx : dy; K(c, r) is the kernel of cubic convolution with its parameter c. The sixteen weights are then divided by
/// their sum. Until a generator is called, the table is that of a = b = -0.5. A weight has the room for 2 - 1/16384:
/// parameters from about -0.87 upwards keep all within it; of stronger ones the largest weights are limited, which
/// darkens, and below -1.5 the sums of 16-bit samples no longer fit 32 bits.
QUORVEL_API void genParaboloicWeightTableXY(double a, double b);
/// The same with the directions of the blend exchanged, for frames whose motion was compensated along their columns.
QUORVEL_API void genParaboloicWeightTable_MoveCompensXY(double a, double b);

/// The table of the sixteen-tap kernel: 256 pairs of phases by 16 weights in 1/16384, row by row from the sample one
/// left of and one above the position's own; and the same weights before they were rounded, the halves away from zero.
QUORVEL_API const std::int16_t* getCubicTable16();
QUORVEL_API const float* getCubicTable16f();

/// Fills the tables of the surface fits. `matrices`: two matrices of 8 x 8, for six and for eight samples; a row of a
/// matrix times the samples is a coefficient of the surface. `six`, `eight`: for each of the 256 pairs of phases the
/// weights of the eight coefficients; the sum of the products is 512 times the surface, and for equal samples exactly
/// 512 times the sample. `exact`: for each pair of phases the weights of the six, then of the eight samples (8 each)
/// before anything was rounded. Sizes: 128 and 2048 words, 2048 words, 4096 floats.
QUORVEL_API void genParaboloicWeightTable(std::int16_t* matrices, std::int16_t* six, std::int16_t* eight, float* exact);
/// Fills the library's own tables of the surface fits, on the first call of the process.
QUORVEL_API void GenParaboloicWeightTable();

/// @}
/// @name Resampling: along a mapping
///
/// Pixel i of output row j is read at X = 4096 * x + j * dxRow + i * (dxColumn + j * ddx) and Y likewise: a mapping
/// that is bilinear in the output's columns and rows. `x` and `y` are in 1/16 pixel, all steps 16.16.
///
/// `srcPitch` is in bytes, a multiple of 8 below 8 * 32768. `srcRows`, where positive, is a power of two up to 32768
/// and makes the source a ring of that many rows; otherwise rows are numbered from the source pointer, with a sign, and
/// so are columns. `dstPitch` is in bytes for 8-bit output and in samples for 16-bit output. Nothing outside the
/// neighbourhoods is used, and the caller sees to it that they are in the source: for bilinear methods one sample right
/// of and one below each position, for six samples two and two, for all others one left and above, two right and below.
/// 16-bit source samples are signed words, and so below 32768. Source and destination must not overlap.
///
/// Returns 0, -2 for a source pitch that is no multiple of 8, or -3 for a method that the routine does not handle;
/// nothing is written then. With fewer than one output row it returns 0 at once. Several threads may resample at a
/// time.
/// @{

/// Bilinear, in 8 bits. Results are truncated, and the weight of a sample that is met exactly is 32767 of 32768: there
/// the result is the sample less one, but for 0. The method is not looked at.
QUORVEL_API int Geo8_8MMX(const std::uint8_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow,
                          int ddx, int ddy, unsigned srcPitch, int srcRows, std::uint8_t* dst, unsigned width, int rows,
                          int dstPitch, Geometry_Method method);
/// Bilinear, in 16 bits. Twice the result, rounded up, is limited to 32767, so that results are at most 16383; a sample
/// that is met exactly comes out as it is. The column is the position's upper half without a sign. The method is not
/// looked at.
QUORVEL_API int Geo16_16MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow,
                            int ddx, int ddy, unsigned srcPitch, int srcRows, std::uint16_t* dst, unsigned width,
                            int rows, int dstPitch, Geometry_Method method);
/// As `Geo16_16MMX`, with columns that have a sign, and each result looked up in `table`, which has an entry for every
/// result that the samples can give: 16384 suffice.
QUORVEL_API int GeoGamma16_8MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow,
                                int dyRow, int ddx, int ddy, unsigned srcPitch, int srcRows, std::uint8_t* dst,
                                unsigned width, int rows, int dstPitch, const std::uint8_t* table);

/// A group of output pixels that are made from the same two source rows with the same phase. See `GeoLn`.
struct GroupEl {
  unsigned topRow, bottomRow;  ///< the source rows, with a sign
  unsigned yPhaseBase;         ///< 16 * the phase
  unsigned count;              ///< output pixels; 0 once they are made
};

/// Bilinear as `GeoLn` does it, for samples below 16384. Where y changes by no more than an eighth of a pixel over a
/// row, the row is made at the y of its first pixel.
QUORVEL_API int GeoQGamma16_8MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow,
                                 int dyRow, int ddx, int ddy, unsigned srcPitch, int srcRows, std::uint8_t* dst,
                                 unsigned width, int rows, int dstPitch, const std::uint8_t* table);
/// The same as `GeoLn16_16` does it, for any 16-bit samples. `groups` is room that the routine may write in, `width`
/// records.
QUORVEL_API int GeoQGamma16_16MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow,
                                  int dyRow, int ddx, int ddy, unsigned srcPitch, int srcRows, std::uint16_t* dst,
                                  unsigned width, int rows, int dstPitch, GroupEl* groups);

/// Bilinear along a line of constant x step, the pixels of one group after those of the other; x (16.16) goes on from
/// group to group. Each sample is doubled and multiplied by its weight of the signed table, of the product the upper
/// 16 bits are kept, and the sum of the four is looked up in `table`. Samples are below 16384. `pitchBytes` may be any
/// even number. The counts of the groups are 0 afterwards. Returns 0.
QUORVEL_API int GeoLn(const std::uint16_t* src, int x, GroupEl* groups, unsigned groupCount, std::uint8_t* dst,
                      int step, const std::uint8_t* table, unsigned pitchBytes);
/// The same for any 16-bit samples and without a table: weights are those of the unsigned table, of each product the
/// upper 16 bits are kept, and the result is the sum of the four. `pitch8` is in units of 8 bytes.
QUORVEL_API int GeoLn16_16(const std::uint16_t* src, int x, GroupEl* groups, unsigned groupCount, std::uint16_t* dst,
                           int step, unsigned pitch8);

/// By the method, in 8 bits; results are limited to 0..255:
/// 0 bilinear, truncated, that gives back a sample met exactly;
/// 1 the quadratic surface through the samples of row y at x, x + 1, x + 2, of row y + 1 at x, x + 1, of row y + 2 at
/// x; 2 the quadratic surface that fits best the samples of row y - 1 at x + 1, of row y at x..x + 2, of row y + 1 at
///   x - 1..x + 1, of row y + 2 at x;
/// 3, 4 sixteen taps with the table above, truncated;
/// 6 cubic convolution (parameter -0.5) of four samples of column x, rounded to nearest; the phase of x does not count;
/// 7 the same in columns x - 1..x + 2, and then of the four results along the row.
/// 1 and 2 are truncated. Any other method returns -3, method 8 even where the pitch would give -2.
QUORVEL_API int GeoParab8_8MMX(const std::uint8_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow,
                               int ddx, int ddy, unsigned srcPitch, int srcRows, std::uint8_t* dst, unsigned width,
                               int rows, int dstPitch, Geometry_Method method);
/// The same in 16 bits; results are limited to 0..32767.
QUORVEL_API int GeoParab16_16MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow,
                                 int dyRow, int ddx, int ddy, unsigned srcPitch, int srcRows, std::uint16_t* dst,
                                 unsigned width, int rows, int dstPitch, Geometry_Method method);
/// `GeoParab16_16MMX` on three planes, with the sizes and steps of a coefficient record.
QUORVEL_API int GeoParab16_16_2_MMX(const std::uint16_t* const* src, const GeoCoef4* coefficients, unsigned srcPitch,
                                    int srcRows, std::uint16_t* const* dst, int dstPitch, Geometry_Method method);

/// The sixteen-tap kernel alone: `count` pixels from position (*x, *y) on, which afterwards are those of the next
/// pixel. `step` is (x, y); `rowMask` (-1 where the source is no ring) and `pitch`, in bytes, stand twice.
/// Returns `dst` + `count`.
QUORVEL_API std::uint8_t* makeCubicConv16(const std::uint8_t* src, unsigned count, int* x, int* y, const int step[2],
                                          const int rowMask[2], const int pitch[2], std::uint8_t* dst);

/// Cubic convolution (parameter -0.5) of four samples of a column, for a displacement of rows alone: pixel i of output
/// row j is read in column i at Y = 4096 * y + j * yStepRow + i * yStepColumn, rounded to nearest and limited by the
/// depth `bits`, which is set as `setNbitForGeo` does. The four samples begin one row above the position; all 16 bits
/// of a sample count. `srcPitch` is in bytes, `dstPitch` in samples. Returns 0, -2 or -3 (any method but 6) as above.
QUORVEL_API int GeoY6_16_16MMX(const std::uint16_t* src, int bits, int y, int yStepColumn, int yStepRow,
                               unsigned srcPitch, int srcRows, std::uint16_t* dst, unsigned width, int rows,
                               int dstPitch, Geometry_Method method);
/// One row of it: `y` is 16.16, `rowMask` -1 where the source is no ring. `lastOfBand` marks the last row of a band of
/// columns and changes nothing here. Returns 0.
QUORVEL_API int GeoRowY6_16_16MMX(const std::uint16_t* src, int y, int yStep, unsigned srcPitch, int rowMask,
                                  std::uint16_t* dst, unsigned width, int lastOfBand);

/// @}

}  // extern "C"

#endif  // QUORVEL_GEOMETRY_H_
