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
/// `width` samples. Returns 0; -1 where the width or the height is odd, or where frames wider than 1696 find no memory
/// for their rows; -2 for any method other than 0.
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
/// @name Calibration
/// @{

/// Mean black level of each sample phase over the `width` x `height` samples from column `x0` of row `y0` on. Samples
/// have a sign; `x0` and `y0` may be odd, since a phase is that of the frame. Means are rounded to nearest, halves away
/// from zero. A rectangle holds at least 2 x 2 samples: a phase without any gives 0. `size` is not used.
QUORVEL_API void calcBayerBlack(const std::int16_t* samples, unsigned pitch, unsigned size, unsigned x0, unsigned y0,
                                unsigned width, unsigned height, BayerBlack* black);

/// Weights that undo a vertical smear of `smear` samples: `a` is the fraction of light that a sample spreads to each of
/// its two neighbours of the same colour, above and below; b = 1 / (1 - 2a) and c = -ab weigh the sample and its
/// neighbours in `correctBayerFocus`, and b + 2c = 1. Smears s up to 1 give a = 0, b = 1, c = 0; up to 2, s^2/12 - s/8
/// + 1/24 for a; up to 3, s^2/60 + s/8 - 0.19166666666666668; up to 3.5, (s - 2)/s.
///
/// Returns 0; 1 for a smear above 3.5 or one that is no number, with a = 0, and b and c left as they are.
QUORVEL_API int calcBayerFocusForSmear(double smear, double* a, double* b, double* c);

/// Corrects the smear of one row of `count` samples: sample * b + (sample two rows above + sample two rows below) * c.
/// `src` points at the row itself, and the rows two above and below it, `pitch` samples a row, can be read; `dst` may
/// be `src`.
///
/// The weights are taken in 1/65536, truncated (beyond 32 bits the nearest 32-bit integer, NaN as 0), and the sum is of
/// 32 bits, which wrap: 12-bit samples with the weights of any smear stay far inside. The result is v = sum >> 16,
/// limited to 0..4095 by bit 12 of v alone: where it is set, a negative v gives 0 and any other 4095; where it is
/// clear, the low 16 bits of v are stored as they are. So v from -4096 to 8191 is clipped rightly, -8192 to -4097 and
/// 8192 to 12287 for instance are not clipped at all. Returns 0.
QUORVEL_API int correctBayerFocus(const std::uint16_t* src, std::uint16_t* dst, unsigned pitch, unsigned count,
                                  double b, double c);

/// How sharp a frame is within columns x0..x1-1 of rows y0..y1-1: 10 (D / S)^2. The rectangle is widened to whole cells
/// of 2 x 2 samples, as far as the frame's `width` has whole cells; the rows y0 rounded down to even to y1 rounded up
/// to even can be read. S is the sum of its green samples; D is the sum of the absolute differences of every two green
/// samples that are diagonal neighbours and both inside it, each pair counted once. Both are exact below 2^53.
///
/// Returns 0; -1 for an empty rectangle, or one without a whole cell in the frame; -2 where S is 0. The result is then
/// 0.
QUORVEL_API int calcBayerFocusCoef(const std::uint16_t* source, unsigned width, unsigned pitch, unsigned x0,
                                   unsigned y0, unsigned x1, unsigned y1, double* result);

/// @}
/// @name Histograms
/// A histogram has a counter of 32 bits for each of the 65536 values of a sample. Counters are added to, and wrap.
/// @{

/// Counts the samples of a frame by colour, both greens into one histogram. Rows are taken in pairs: the last one of an
/// odd height is not counted. Returns 0; -1, with nothing counted, where the width is odd or `samples` is not aligned
/// to a sample.
QUORVEL_API int calcBayerHistogramm16_32(const std::uint16_t* samples, unsigned pitch, unsigned width, unsigned height,
                                         std::uint32_t* r, std::uint32_t* g, std::uint32_t* b);

/// Counts the samples of one row, those at even places into one histogram and those at odd places into another, which
/// may be the same. Returns 0; -1, with nothing counted, where `count` is odd or `row` is not aligned to a sample.
QUORVEL_API int calcBayerGRHistogramm16_32(const std::uint16_t* row, unsigned count, std::uint32_t* even,
                                           std::uint32_t* odd);
/// The same for every (`skip` + 1)-th pair of neighbours alone, the row's first pair included: a skip of 0 counts all.
QUORVEL_API int calcBayerGRHistogrammSkip16_32(const std::uint16_t* row, unsigned count, std::uint32_t* even,
                                               std::uint32_t* odd, unsigned skip);

/// @}
/// @name Re-mosaicing
/// @{

/// Makes a frame of three planes, whose rows of `width` samples follow each other without a gap: each site takes the
/// sample of its own colour, and nothing is interpolated. Rows of the frame are `pitch` samples apart. Any size works.
/// Returns 0.
QUORVEL_API int rgbToBayer(const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b, std::uint16_t* dst,
                           unsigned width, unsigned height, unsigned pitch);

/// Turns a part of a frame by 180 degrees, in place; rows of the frame follow each other without a gap. The part is
/// that of whole cells: columns from x0, rounded up to even, to x1 rounded down to even and 1 more, both included;
/// where the even value is the width, to the last column. Rows likewise. Each green comes to a green site, but red
/// comes to blue sites and blue to red ones.
///
/// Returns 0, also where the part is empty; -1, with nothing written, where it reaches beyond the frame, as it does at
/// the last column of an odd width. No memory is allocated.
QUORVEL_API int turnBayer180(std::uint16_t* samples, unsigned width, unsigned height, unsigned x0, unsigned y0,
                             unsigned x1, unsigned y1);

/// Converts three planes of `width` x `height` samples 0..4095, fewer than 2^32 each and without a gap between rows, to
/// bytes, each by the table of `CGammaTblB_DLL` for the given gamma from its colour's lowest level to the highest one,
/// to 0..255. The levels are those of the Bayer frame, of the same size, that the planes were made from: the lowest is
/// always the colour's own, the highest is its own where `sameScale` is not 0 and else that of all three. The highest
/// of all is stored in `maximum`. A colour that the frame has no sample of counts as 0 throughout.
///
/// The table is the process's own, made on first use: not for two threads at once.
QUORVEL_API void convertBayerGammaTo8(int sameScale, double gamma, const std::uint16_t* samples, unsigned pitch,
                                      const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b,
                                      unsigned width, unsigned height, std::uint8_t* outR, std::uint8_t* outG,
                                      std::uint8_t* outB, int* maximum);

/// @}
/// @name Luminance and chroma planes
/// A cell of a frame is two samples of a row and the two below: G1 R over B G2. It becomes two luminances, one for each
/// green, and one Cb and Cr, computed from G1, R and B. A last row or column without a partner is left out; with
/// `height` below 2 nothing is written. Every routine of this section returns 0 unless it says otherwise.
///
/// Planes have a value a cell and rows without a gap: `width` / 2 values, `height` / 2 rows. Where there is a single
/// plane `y`, its rows hold the first luminances of the row's cells and after them the second ones, twice as many.
///
/// `offset` is the level shift of the luminance, 2048 for 12-bit samples: it is subtracted from the luminance, and all
/// integer results are clamped to [-offset, offset - 1], in their unit. Integer results are exact for any 16-bit
/// samples, and saturate where the range exceeds their type. A negative offset is subtracted as it is, and its range is
/// that of its magnitude; with offset 0 every integer result is 0. An integer offset beyond +-33423360 counts as that.
/// @{

/// Planes of whole steps, from weights of 16 fraction bits; rounded to nearest, halves away from zero.
QUORVEL_API int BayerRGBToYCbCrPlanesApprox16slow(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                                  unsigned height, std::int16_t* y, std::int16_t* cb, std::int16_t* cr,
                                                  int offset);
/// The same routine under its second name.
QUORVEL_API int BayerRGBToYCbCrPlanesApprox16slowCorrect(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                                         unsigned height, std::int16_t* y, std::int16_t* cb,
                                                         std::int16_t* cr, int offset);
/// The same with the weights of `getRGBtoYCbCr_coefI16`, read anew at every call. Exact while the magnitudes of each
/// row of them add up to less than 2^26, which is 512 times those of the table as it is made.
QUORVEL_API int BayerRGBToYCbCrPlanesApprox18slow(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                                  unsigned height, std::int16_t* y, std::int16_t* cb, std::int16_t* cr,
                                                  int offset);
/// The nine weights of `BayerRGBToYCbCrPlanesApprox18slow`, rows Y, Cb, Cr, columns R, G, B, scale 2^17. They may be
/// changed, though not while that routine runs.
QUORVEL_API std::int32_t* getRGBtoYCbCr_coefI16();

/// The reversible form, by additions and shifts: with G = (G1 + G2) >> 1, U = B - G, V = R - G, and the luminance of a
/// green is ((3 x it - the other green + R + B) >> 2) - offset. `YUVplanesToBayerRGBApprox16slow` restores the frame
/// bit for bit where nothing was clamped.
///
/// The columns run to `pitch`, not to `width`, an odd last one left out: pass both alike. With a smaller pitch the last
/// cells of each row are left out; with a larger one every plane has to have room for (pitch - width) / 2 values more,
/// and each row's surplus is written over what follows it before the next row is.
QUORVEL_API int BayerRGBToYUVplanesApprox16slow(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                                unsigned height, std::int16_t* y, std::int16_t* u, std::int16_t* v,
                                                int offset);

/// As `BayerRGBToYCbCrPlanesApprox16slow`, with the second luminances in a plane of their own.
QUORVEL_API int BayerRGBToYYCbCrPlanesApprox16slow(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                                   unsigned height, std::int16_t* y1, std::int16_t* y2,
                                                   std::int16_t* cb, std::int16_t* cr, int offset);
/// Planes in units of 1/16 step, from weights of 14 fraction bits; rounded to nearest, halves away from zero.
QUORVEL_API int BayerRGBToYYCbCrPlanes12_4slow(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                               unsigned height, std::int16_t* y1, std::int16_t* y2, std::int16_t* cb,
                                               std::int16_t* cr, int offset);
/// Planes in units of 1/64 step, from weights of 24 fraction bits; rounded down. The luminance weights sum to 2^24 + 1.
QUORVEL_API int BayerRGBToYYCbCrPlanes12_6slow(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                               unsigned height, std::int32_t* y1, std::int32_t* y2, std::int32_t* cb,
                                               std::int32_t* cr, int offset);
/// As `BayerRGBToYYCbCrPlanes12_4slow`, with half the green difference, 8 (G2 - G1), in place of the second luminance.
QUORVEL_API int BayerRGBToYdYCbCrPlanes12_4slow(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                                unsigned height, std::int16_t* y, std::int16_t* yd, std::int16_t* cb,
                                                std::int16_t* cr, int offset);
/// As `BayerRGBToYYCbCrPlanes12_6slow`, with half the green difference, 32 (G2 - G1), in place of the second luminance.
QUORVEL_API int BayerRGBToYdYCbCrPlanes12_6slow(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                                unsigned height, std::int32_t* y, std::int32_t* yd, std::int32_t* cb,
                                                std::int32_t* cr, int offset);
/// The same as floats, without any clamp: weights 0.299, 0.587, 0.114; -0.1687, -0.3313, 0.5; 0.5, -0.4187, -0.0813,
/// terms added in the order R, G, B, the offset last; yd is 0.5 (G2 - G1).
QUORVEL_API int BayerRGBToYdYCbCrPlanesFlt(const std::uint16_t* samples, unsigned pitch, unsigned width,
                                           unsigned height, float* y, float* yd, float* cb, float* cr, float offset);

/// Back into a frame, with planes laid out as above for `columns` cells a row and `rows` rows of the frame, `pitch`
/// samples apart in `out`. `max(offset, 0)` is added to the luminance, and every sample is clamped to
/// [0, 2 |offset| - 1], at most 65535. Exact for any planes. The second green starts from the first one as clamped and
/// adds the difference of the luminances divided by the weight of green.
QUORVEL_API int YCbCrPlanesToBayerRGBApprox16slow(const std::int16_t* y, const std::int16_t* cb, const std::int16_t* cr,
                                                  int offset, unsigned columns, unsigned rows, std::uint16_t* out,
                                                  unsigned pitch);
/// The same routine under its second name.
QUORVEL_API int YCbCrPlanesToBayerRGBApprox16slowCorrect(const std::int16_t* y, const std::int16_t* cb,
                                                         const std::int16_t* cr, int offset, unsigned columns,
                                                         unsigned rows, std::uint16_t* out, unsigned pitch);
/// The same with the first green in both places; the second luminances are not looked at.
QUORVEL_API int YCbCrPlanesToBayerRGBApprox16slowForPreview(const std::int16_t* y, const std::int16_t* cb,
                                                            const std::int16_t* cr, int offset, unsigned columns,
                                                            unsigned rows, std::uint16_t* out, unsigned pitch);
/// The same from two luminance planes.
QUORVEL_API int YYCbCrPlanesToBayerRGBApprox16slow(const std::int16_t* y1, const std::int16_t* y2,
                                                   const std::int16_t* cb, const std::int16_t* cr, int offset,
                                                   unsigned columns, unsigned rows, std::uint16_t* out, unsigned pitch);
/// The same from planes in units of 1/16 step.
QUORVEL_API int YYCbCrPlanesToBayerRGBfrom12_4slow(const std::int16_t* y1, const std::int16_t* y2,
                                                   const std::int16_t* cb, const std::int16_t* cr, int offset,
                                                   unsigned columns, unsigned rows, std::uint16_t* out, unsigned pitch);
/// The same from a luminance and half the green difference: the second green is the first one, before it is rounded
/// and clamped, and yd / 8 steps.
QUORVEL_API int YdYCbCrPlanesToBayerRGBfrom12_4slow(const std::int16_t* y, const std::int16_t* yd,
                                                    const std::int16_t* cb, const std::int16_t* cr, int offset,
                                                    unsigned columns, unsigned rows, std::uint16_t* out,
                                                    unsigned pitch);
/// The same from floats: the offset is added as it is, 0.5 is added to each result, which is truncated and clamped to
/// [0, 2 |offset| - 1] (what is no number gives 0). The second green is the first one as written and twice yd.
QUORVEL_API int YdYCbCrPlanesToBayerRGBFlt(const float* y, const float* yd, const float* cb, const float* cr,
                                           float offset, unsigned columns, unsigned rows, std::uint16_t* out,
                                           unsigned pitch);
/// Undoes `BayerRGBToYUVplanesApprox16slow`, the offset added as it is: with t = ((U + V - h) >> 2) - offset, where h
/// is 1 where y1 - y2 is odd and 0 elsewhere, the greens are y1 - t and y2 - t, clamped, and m = (G1 + G2) >> 1 of
/// these is added to V for R and to U for B.
QUORVEL_API int YUVplanesToBayerRGBApprox16slow(const std::int16_t* y, const std::int16_t* u, const std::int16_t* v,
                                                int offset, unsigned columns, unsigned rows, std::uint16_t* out,
                                                unsigned pitch);

/// @}
/// @name Float planes of pictures
/// Arithmetic of 32-bit floats, rounded after every operation. Planes have rows without a gap. Every routine of this
/// section returns 0 unless it says otherwise.
/// @{

/// Interleaved R, G, B bytes, rows `pitch` pixels apart: Y = 0.299 R + 0.587 G + 0.114 B - offset, Cb = 0.5 B -
/// (0.3313 G + 0.1687 R), Cr = 0.5 R - 0.4187 G - 0.0813 B.
QUORVEL_API int RGB8ToYCbCrPlanesFlt(const std::uint8_t* rgb, unsigned pitch, unsigned width, unsigned height, float* y,
                                     float* cb, float* cr, float offset);
/// The same from four bytes a pixel, of which the last is not used.
QUORVEL_API int RGBA8ToYCbCrPlanesFlt(const std::uint8_t* rgba, unsigned pitch, unsigned width, unsigned height,
                                      float* y, float* cb, float* cr, float offset);
/// The same from four 16-bit samples a pixel.
QUORVEL_API int RGBAToYCbCrPlanesFlt(const std::uint16_t* rgba, unsigned pitch, unsigned width, unsigned height,
                                     float* y, float* cb, float* cr, float offset);

/// Back into interleaved bytes, rows `pitch` pixels apart: with L = Y + offset, R = L + 1.402 Cr, G = L - 0.34414 Cb -
/// 0.71414 Cr, B = L + 1.772 Cb, each rounded to nearest with halves away from zero and clamped to 0 at the lower end
/// (what is no number gives 0) and to 2 |offset| - 1 with the offset rounded, at most 255, at the upper one.
QUORVEL_API int YCbCrPlanesToRGB8Flt(const float* y, const float* cb, const float* cr, std::uint8_t* rgb,
                                     unsigned pitch, unsigned width, unsigned height, float offset);
/// The same from planes with rows `planePitch` floats apart, through `YCbCrPlanesToRGB8Flt_SSE`: the offset is rounded
/// to nearest, halves away from zero, before it is used.
QUORVEL_API int YCbCrPlanesToRGB8FltSSE(const float* y, const float* cb, const float* cr, std::uint8_t* rgb,
                                        unsigned pitch, unsigned width, unsigned height, float offset,
                                        unsigned planePitch);
/// The same for one row of `count` pixels.
QUORVEL_API int YCbCrPlanesToRGB8Flt_SSE(const float* y, const float* cb, const float* cr, std::uint8_t* rgb,
                                         unsigned count, int offset);
/// The same for one row of 4 x `groups` pixels.
QUORVEL_API int YCbCrPlanesToRGB8Flt_SSEasm(const float* y, const float* cb, const float* cr, std::uint8_t* rgb,
                                            unsigned groups, int offset);

/// Grey samples as floats, less the offset. Rows of the picture are `pitch` samples apart.
QUORVEL_API int GrayToYFlt(const std::uint16_t* grey, unsigned pitch, unsigned width, unsigned height, float* y,
                           float offset);
/// The same from bytes.
QUORVEL_API int GrayToY8Flt(const std::uint8_t* grey, unsigned pitch, unsigned width, unsigned height, float* y,
                            float offset);

/// Decodes `count` triplets of compact floats into three planes, 4096 floats apart in `out`. The first two samples of a
/// triplet are m x 2^-11 x 10^(e - 11), e in the upper 4 bits and m, in two's complement, in the lower 12; the third is
/// m x 2^-13 x 10^(c - 1), c in the upper 2 bits and m in the lower 14. Returns -1, with nothing written, where `count`
/// exceeds 4096, the room of a plane.
QUORVEL_API int ABC16toFlt(const std::uint16_t* triplets, unsigned count, float* out);

/// @}
}  // extern "C"

#endif  // QUORVEL_BAYER_H_
