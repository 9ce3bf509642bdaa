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
}  // extern "C"

#endif  // QUORVEL_BAYER_H_
