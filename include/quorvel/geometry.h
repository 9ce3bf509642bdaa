// SPDX-License-Identifier: Apache-2.0
/// @file
/// Tiles: rasters put together from parts.
///
/// A raster is a run of rows whose starts lie a pitch apart; pitches are counted in samples, not bytes. No pointer is
/// tested for null.
#ifndef QUORVEL_GEOMETRY_H_
#define QUORVEL_GEOMETRY_H_

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

}  // extern "C"

#endif  // QUORVEL_GEOMETRY_H_
