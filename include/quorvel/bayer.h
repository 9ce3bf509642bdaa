// SPDX-License-Identifier: Apache-2.0
/// @file
/// Raw frames of the colour sensor.
///
/// A Bayer frame is a raster of unsigned 16-bit samples, rows `pitch` samples apart (samples, not bytes). The colour
/// phase is fixed: even rows hold G R G R..., odd rows B G B G..., so sample (0, 0) is green, (0, 1) red, (1, 0) blue
/// and (1, 1) green. No pointer is tested for null.
#ifndef QUORVEL_BAYER_H_
#define QUORVEL_BAYER_H_

#include <quorvel/types.h>

extern "C" {

/// @name Demosaicing
/// @{

/// Fills in the colours that a photosite does not see. `src` is a frame of `width` x `height` samples; `r`, `g` and `b`
/// are planes of `width` x `height` samples whose rows follow each other without a gap.
///
/// Any size works, odd ones included, and nothing outside the frame is read. Methods 1 and 2 take 12-bit samples
/// (0..4095) and clip what they compute to that range; they need two rows and two columns, and treat a frame of a
/// single row or column as method 0 does. In such a frame the plane of a colour that was not seen at all is 0.
///
/// Returns 0; -2, with nothing written, for methods 4, 6 and above; -1, with nothing written, where the work rows of a
/// frame wider than 1696 samples cannot be allocated. Method 3 raises a debugger break and returns 0.
///
/// Method 1 is the edge-directed interpolation with Laplacian correction of Hamilton and Adams (US patent 5629734);
/// method 2 the variable number of gradients of Chang, Cheung and Pang (SPIE 3650, 1999).
QUORVEL_API int rgbFromBayer(const std::uint16_t* src, unsigned width, unsigned height, unsigned pitch,
                             std::uint16_t* r, std::uint16_t* g, std::uint16_t* b, fromBayerMethod method);

/// Demosaics into one interleaved picture of R, G, B samples, 3 x `width` a row. `workRows` has room for three rows of
/// `width` samples. Returns 0; -1 where the width or the height is odd; -2 for any method other than 0.
QUORVEL_API int rgbFromBayerP(const std::uint16_t* src, unsigned width, unsigned height, unsigned pitch,
                              std::uint16_t* rgb, std::uint16_t* workRows, fromBayerMethod method);

/// Writes each sample unchanged into all three planes (rows without a gap). Returns 0.
QUORVEL_API int rgbFromGray(const std::uint16_t* src, unsigned width, unsigned height, unsigned pitch, std::uint16_t* r,
                            std::uint16_t* g, std::uint16_t* b);
/// The same routine under its second name.
QUORVEL_API int rgbFromGrayBayer(const std::uint16_t* src, unsigned width, unsigned height, unsigned pitch,
                                 std::uint16_t* r, std::uint16_t* g, std::uint16_t* b);

/// Green of one row whose green samples stand at the even positions of `work`, by method 1. `work` is a row of `count`
/// 12-bit samples; the sample before it, the two samples after its last odd position, and the rows up to two above and
/// below, `stride` samples apart, can be read. Writes `count` samples. For a row of the other phase pass it shifted by
/// one sample and complete the first and the last sample. Returns 0, or -1 where work rows cannot be allocated.
QUORVEL_API int laplasian2T1_green2(const std::uint16_t* work, unsigned count, unsigned stride, std::uint16_t* green);

/// Red and blue of a G/R row and the B/G row after it, by method 1. `work` is the G/R row among work rows that are
/// `width` + 4 samples apart, from one row above to two below, with one sample on either side that can be read.
/// `green` is the same row of the green plane, `red` and `blue` the rows to write; rows of all three planes are `width`
/// samples apart. With `topEdge` set there is no green row above: `green` itself stands for it; with `bottomEdge` set
/// the second row stands for the one below. Returns 0, or -1 where work rows cannot be allocated.
QUORVEL_API int laplasian2T1_NOTgreen(const std::uint16_t* work, unsigned width, std::uint16_t* red,
                                      const std::uint16_t* green, std::uint16_t* blue, int topEdge, int bottomEdge);

/// @}
/// @name Surface preparation
/// @{

/// Transposes 8 records of 9 bytes into 9 rows of 8 bytes: dst[8c + r] = src[9r + c].
QUORVEL_API void transpone_9x8_MMX(const std::uint8_t* src, std::uint8_t* dst);

/// Gathers the rows that `transpone_9x8_MMX` made of `blocks` blocks, which follow each other in `src`, into `planes`
/// planes: the 8 bytes of row p of block k go to dst[p x planeStride + 8k]. A block is `planes` rows of 8 bytes.
QUORVEL_API void copy9_1_9x(const std::uint8_t* src, std::uint8_t* dst, unsigned blocks, unsigned planeStride,
                            unsigned planes);

/// Times the two routines above over surfaces of 34560000 bytes and prints nanoseconds a byte, ten times.
QUORVEL_API void prepareBayerSurface();

/// @}
/// @name Reduction
/// Bayer frames made smaller that stay Bayer frames. A reduced sample belongs in the middle of the source sites that it
/// stands for, or, after re-weighting, that far from the first green of its cell; the weights put it there. Any sample
/// values are taken, sums do not wrap, and means are truncated. Nothing outside the frames is read or written.
/// @{

/// Reduces a frame of `width` x `height` samples, whose rows follow each other without a gap, by 2: every 4 x 4 block
/// becomes a cell of `dst`, whose rows are `width` / 2 samples apart. With s(row, column) in the block the cell is
///   G = (s(0,0) + s(0,2) + s(1,1) + s(2,0)) >> 2,   R = (s(0,1) + 2 s(0,3) + s(2,1)) >> 2,
///   B = (s(1,0) + 2 s(3,0) + s(3,2)) >> 2,          G = (s(1,3) + s(2,2) + s(3,1) + s(3,3)) >> 2.
/// Only whole blocks are taken, and only their cells are written: a frame with fewer than 4 rows or columns gives none.
/// The buffers do not overlap. Returns 0.
QUORVEL_API int compressBayer_x2(const std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst);

/// Reduces by 8: 16 x 16 blocks become cells of `dst`, whose rows are `width` / 8 samples apart. Every sample is the
/// mean of its colour over its own 8 x 8 sites, weighted so that it lies exactly in the middle of them. Otherwise as
/// `compressBayer_x2`.
QUORVEL_API int compressBayer_x8(const std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst);

/// Reduces a frame that `bayerReweightFor_x2` has prepared by 2: takes the first cell of every 4 x 4 block as it is.
/// Otherwise as `compressBayer_x2`.
QUORVEL_API int compressBayer_x2Step(const std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst);

/// Reduces a frame that `bayerReweightFor_x4` or `bayerReweightFor_x4_from_x2` has prepared by 4: takes the first cell
/// of every 8 x 8 block as it is, to rows that are `width` / 4 samples apart. Otherwise as `compressBayer_x2`.
QUORVEL_API int compressBayer_x4Step(const std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst);

/// Prepares a frame for `compressBayer_x2Step`, in place or into a second buffer of the same shape (rows without a
/// gap). At row y and column x of a sample
///   the first green stays,   R = (3 R + R(y, x+2)) >> 2,   B = (3 B + B(y+2, x)) >> 2,
///   the second G = ((8 G + 2 G(y+2, x+2) + G(y+2, x) + G(y, x+2)) x 341) >> 12,
/// which loses 1/1024 of the second green, rounded up. The last column pair, the last B/G row, and an odd last column
/// or row keep their samples: they are left alone in place, and copied to a second buffer.
QUORVEL_API void bayerReweightFor_x2(const std::uint16_t* src, std::uint16_t* dst, unsigned width, unsigned height);

/// Prepares a frame for `compressBayer_x4Step`, in place or into a second buffer: the first green stays, and
///   R = (R(y, x+2) + R(y, x+4)) >> 1,   B = (B(y+2, x) + B(y+4, x)) >> 1,
///   the second G = (G(y+2, x+2) + G(y+2, x+4) + G(y+4, x+2) + G(y+4, x+4)) >> 2.
/// The last two column pairs, the last two B/G rows, and an odd last column or row keep their samples.
QUORVEL_API void bayerReweightFor_x4(const std::uint16_t* src, std::uint16_t* dst, unsigned width, unsigned height);

/// The same for a frame that `bayerReweightFor_x2` has prepared. Its rows are `pitch` samples apart, those of `dst`
/// follow each other without a gap; both may be one buffer where `pitch` is `width`. The first green stays, and
///   R = (3 R(y, x+2) + R(y, x+4)) >> 2,   B = (3 B(y+2, x) + B(y+4, x)) >> 2,
///   the second G = (9 G(y+2, x+2) + 3 G(y+2, x+4) + 3 G(y+4, x+2) + G(y+4, x+4)) >> 4.
/// What keeps its samples is as in `bayerReweightFor_x4`. The results lie at the same places as those of that routine,
/// and are a little softer.
QUORVEL_API void bayerReweightFor_x4_from_x2(const std::uint16_t* src, unsigned pitch, std::uint16_t* dst,
                                             unsigned width, unsigned height);

/// Makes a Bayer frame of a quarter of the size from colour planes of `width` x `height` samples, whose rows follow
/// each other without a gap: every sample is the mean of its colour over its own 4 x 4 pixels. Only whole cells are
/// made, from 8 x 8 pixels each; rows of `dst` are `pitch` samples apart. Returns 0.
QUORVEL_API int rgbToBayer_x4(const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b,
                              std::uint16_t* dst, unsigned width, unsigned height, unsigned pitch);

/// @}
}  // extern "C"

#endif  // QUORVEL_BAYER_H_
