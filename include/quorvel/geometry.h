// SPDX-License-Identifier: Apache-2.0
/// @file
/// Tiles: rasters put together from parts.
///
/// A raster is a run of rows whose starts lie a pitch apart; pitches are counted in samples, not bytes. No pointer is
/// tested for null.
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
/// -5 ends below it (y + height > dstHeight). -3, the library's word for a processor without a suitable unit, is never
/// given: every processor copies. A call that is not refused asks `isCommonEMMX`, whose answer is remembered from then
/// on.
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

}  // extern "C"

#endif  // QUORVEL_GEOMETRY_H_
