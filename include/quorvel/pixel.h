// SPDX-License-Identifier: Apache-2.0
/// @file
/// Samples from one width, layout or order to another.
///
/// Counts are numbers of samples or pixels, not bytes, unless stated. Buffers do not overlap. Channel 0 is the first
/// byte or word of a pixel. A count below a routine's stated minimum, or not a multiple of what it demands, gives -1
/// from routines that return `int` and nothing from the others, and nothing is read or written; a count of 0 is
/// accepted where no minimum is stated, does nothing and gives 0. No pointer is tested for null.
#ifndef QUORVEL_PIXEL_H_
#define QUORVEL_PIXEL_H_

#include <quorvel/types.h>

namespace quorvel {
class GammaTable;
}

/// A gamma look-up table from 12-bit samples to bytes: 4096 entries.
///
/// Where memory cannot be had there is no table, and `convert16_8` writes nothing.
class QUORVEL_API CGammaTblB_DLL {
 public:
  /// The straight table: gamma 1, levels 0 to 4095 to 0 to 255.
  CGammaTblB_DLL();
  CGammaTblB_DLL(const CGammaTblB_DLL&) = delete;
  CGammaTblB_DLL& operator=(const CGammaTblB_DLL&) = delete;
  ~CGammaTblB_DLL();

  /// Fills the table anew. Index i gives 0 up to and at `lowLevel`, `maxOut` from `highLevel` on, and between them the
  /// integer part of ((i - lowLevel) / (highLevel - lowLevel)) ^ (1 / gamma) * maxOut + 0.5, of which a byte keeps the
  /// low 8 bits. The power is computed far beyond double precision before it is rounded to one, so
  /// that the table is the same on every platform.
  ///
  /// Every parameter is accepted: with highLevel <= lowLevel the table is a step from 0 to `maxOut` above `lowLevel`; a
  /// curve value beyond 32 bits, as a gamma of 0 or below can give, counts as the nearest 32-bit integer, NaN as 0.
  void genGamma(double gamma, int lowLevel, int highLevel, int maxOut);

  /// `gamma16_8` through this table: the caller guarantees samples 0..4095.
  void convert16_8(const std::int16_t* src, std::uint8_t* dst, unsigned n);

 private:
  quorvel::GammaTable* table_;
};

extern "C" {

/// @name Bit depth
/// Where a rule differs between the first n mod 8 samples and the groups of 8 behind them, both are stated.
/// @{

/// 12 bits to 8: (v + 8) >> 4. Groups saturate at 255, where the sum wraps at 16 bits; the first n mod 8 samples keep
/// the low 8 bits instead, so that 4088..4095 give 0 there. Returns 0.
QUORVEL_API int conv12to8MMX(const std::uint16_t* src, std::uint8_t* dst, unsigned n);
/// 14 bits to 8: (v + 32) >> 6, otherwise as `conv12to8MMX`. Returns 0.
QUORVEL_API int conv14to8MMX(const std::uint16_t* src, std::uint8_t* dst, unsigned n);
/// The low 8 bits of v >> `shift`, neither rounded nor saturated; 0 for a shift outside 0..15. Returns 0.
QUORVEL_API int convNto8MMX(const std::uint16_t* src, std::uint8_t* dst, unsigned n, int shift);
/// Unsigned samples limited to 255, without a shift. `n` is a multiple of 8, else -1. `finish` is accepted for the sake
/// of its callers and changes nothing. Returns 0.
QUORVEL_API int conv12to8MMX11(const std::uint16_t* src, std::uint8_t* dst, unsigned n, int finish);

/// Bytes as 16-bit samples. `n` is a multiple of 8, else -1; `finish` as for `conv12to8MMX11`. Returns 0.
QUORVEL_API int conv8to12MMX11(const std::uint8_t* src, std::uint16_t* dst, unsigned n, int finish);
/// v << 4. Returns 0.
QUORVEL_API int conv8to12MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n);
/// The low 16 bits of v << `shift`; 0 for a shift outside 0..15. Returns 0.
QUORVEL_API int conv8toN_MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n, int shift);
/// As `conv8toN_MMX` for bytes with a sign, -128..127 on every platform. Returns 0.
QUORVEL_API int conv8stoN_MMX(const char* src, std::int16_t* dst, unsigned n, int shift);

/// 32-bit samples limited to -32768..32767. `n` is a multiple of 4, else -1. Returns 0.
QUORVEL_API int conv32to16lowMMX(const std::int32_t* src, std::int16_t* dst, unsigned n);

/// A tile of any depth to 8 bits: `height` rows of `width` samples, source rows `srcStride` samples apart, destination
/// rows dense. With w = v - lowLevel, not below 0, and f = gain * 1024 truncated, each the low 16 bits taken as
/// signed: the upper 16 bits of the product w * f, limited to 0..255. So a sample is multiplied by gain / 64, as long
/// as w is below 32768 and the gain below 32. A gain whose product with 1024 fits no 32-bit integer gives a black tile.
/// Returns 0.
QUORVEL_API int convTileNto8MMX(std::uint16_t lowLevel, double gain, const std::uint16_t* src, unsigned width,
                                unsigned height, unsigned srcStride, std::uint8_t* dst);

/// The low byte of the fourth 16-bit component of each of `n` four-component pixels. Returns the bitwise OR of all the
/// components taken: above 255 when any did not fit its byte.
QUORVEL_API int copy16rgba_to8_MMX(const std::uint16_t* src, unsigned n, std::uint8_t* dst);

/// @}
/// @name Gamma
/// Look-ups test no index: the caller guarantees that the samples lie inside the table.
/// @{

/// dst[i] = table[src[i]]; at least 1 sample.
QUORVEL_API void gamma8_8(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* table, unsigned n);
/// dst[i] = table[src[i]]. The first n mod 3 samples are indices with a sign, 0xFFFF lying before the table; all others
/// are without, 0xFFFF being entry 65535.
QUORVEL_API void gamma16_8(const std::int16_t* src, std::uint8_t* dst, const std::uint8_t* table, unsigned n);
/// The same with 16-bit entries, and the first n mod 4 samples with a sign.
QUORVEL_API void gamma16_16(const std::int16_t* src, std::uint16_t* dst, const std::uint16_t* table, unsigned n);

/// Three planes of `width` x `height` samples 0..4095, fewer than 2^32 together, to bytes, each through its own table
/// of `tables` (red, green, blue). A table is generated anew only where the channel's record in `p` differs in any
/// field from the one in `last` (gammas compared as 32-bit floats); then `p` is copied into `last`. The caller keeps
/// `tables` and `last` between calls, and sees to it that at first they agree with each other or that `last` differs
/// from `p`.
QUORVEL_API void convertRGBGammaTo8(const ConversionParam* p, const std::uint16_t* r, const std::uint16_t* g,
                                    const std::uint16_t* b, unsigned width, unsigned height, std::uint8_t* outR,
                                    std::uint8_t* outG, std::uint8_t* outB, CGammaTblB_DLL* const* tables,
                                    ConversionParam* last);
/// The same with tables and last parameters of the process, made on first use. Not for two threads at once.
QUORVEL_API void convertRGBGammaTo8_(const ConversionParam* p, const std::uint16_t* r, const std::uint16_t* g,
                                     const std::uint16_t* b, unsigned width, unsigned height, std::uint8_t* outR,
                                     std::uint8_t* outG, std::uint8_t* outB);

/// @}
/// @name Product table
/// @{

/// Fills the process-wide table of a * b for a, b in 0..255 that the 8-bit resampling routines use. Not for two threads
/// at once.
QUORVEL_API void genMulTable8_8();

/// @}
/// @name 12-bit packing
/// The packed format is a little-endian bit stream: sample k takes bits 12k to 12k + 11, bit 0 of a byte being its
/// lowest. Two samples take three bytes, eight samples twelve.
/// @{

/// Packs `n` samples; the upper 4 bits of each are dropped. Writes 12 bytes for each 8 samples and 2, 3, 5, 6, 8, 9 or
/// 11 bytes for 1 to 7 samples left over. Returns 0.
QUORVEL_API int compr16to12(const std::uint16_t* src, std::uint8_t* dst, unsigned n);

/// Unpacks `n` samples to 0..4095. Reads just the bytes that `compr16to12` writes for `n` samples. Returns 0.
QUORVEL_API int decomp12to16(const std::uint8_t* src, std::uint16_t* dst, unsigned n);

/// As `decomp12to16`, but whole groups of 8 samples are taken as signed: 2048..4095 become -2048..-1 in two's
/// complement. The last n mod 8 samples stay 0..4095.
QUORVEL_API int decomp12to16s(const std::uint8_t* src, std::uint16_t* dst, unsigned n);

/// @}

/// @name Byte and bit order
/// @{

/// The two bytes of `x` swapped.
QUORVEL_API std::uint16_t swap2(std::uint16_t x);

/// The four bytes of `x` in reverse order.
QUORVEL_API std::uint32_t swap4(std::uint32_t x);

/// The eight bytes of `x` in reverse order.
QUORVEL_API std::uint64_t swap8(std::uint64_t x);

/// Reverses in place the order of the four 16-bit words of `*p`; the bytes within a word keep theirs.
QUORVEL_API void swap4wMMX(std::uint64_t* p);

/// Swaps the bytes of `n` words. `dst` may be `src`. Returns 0.
QUORVEL_API int bswap16_MMX(const std::uint16_t* src, std::uint16_t* dst, unsigned n);

/// Sees to it that the bit-reversal tables stand. They are constants of the library, so it may be called from any
/// thread, or not at all. Returns 0.
QUORVEL_API int genLowToBigTable();

/// The low `bits` bits of `x` in reverse order; `bits` is 1 to 16. Bits of `x` above bit 15 are ignored.
QUORVEL_API std::uint32_t lowToBigEndianW(std::uint32_t x, int bits);

/// @}

/// @name Planes into pixels
/// @{

/// Three planes of `n` bytes into `n` pixels of three bytes.
QUORVEL_API void copy8_3_1(const std::uint8_t* s0, const std::uint8_t* s1, const std::uint8_t* s2, std::uint8_t* dst,
                           unsigned n);

/// Three planes of `n` bytes into `n` pixels of four bytes, the fourth of which is 0.
QUORVEL_API void copy8_4_1(const std::uint8_t* s0, const std::uint8_t* s1, const std::uint8_t* s2, std::uint8_t* dst,
                           unsigned n);

/// Three planes of `n` words into `n` pixels of three words.
QUORVEL_API void copy16_3_1(const std::uint16_t* s0, const std::uint16_t* s1, const std::uint16_t* s2,
                            std::uint16_t* dst, unsigned n);

/// `n` pixels of three bytes and a plane of `n` bytes into `n` pixels of four bytes.
QUORVEL_API void copy8rgb_8a_to8rgba(const std::uint8_t* rgb, const std::uint8_t* alpha, unsigned n, std::uint8_t* dst);

/// Copies `n` pixels of four bytes with the fourth replaced by a plane of `n` bytes. `dst` may be `rgba` itself, also
/// of the three routines below.
QUORVEL_API void copy8rgba_replace_8a_SSE(const std::uint8_t* rgba, const std::uint8_t* alpha, unsigned n,
                                          std::uint8_t* dst);

/// As `copy8rgba_replace_8a_SSE`.
QUORVEL_API void copy8rgba_replace_8a_SSE_(const std::uint8_t* rgba, const std::uint8_t* alpha, unsigned n,
                                           std::uint8_t* dst);

/// Copies `n` pixels of four bytes with the fourth replaced by a plane of `n` words. A word of 0..255 keeps its value,
/// as `copy8_16_3_toPlane` makes them; above 255 it gives 255.
QUORVEL_API void copy8rgba_replace_16a_SSE(const std::uint8_t* rgba, const std::uint16_t* alpha, unsigned n,
                                           std::uint8_t* dst);

/// As `copy8rgba_replace_16a_SSE`.
QUORVEL_API void copy8rgba_replace_16a_SSE_(const std::uint8_t* rgba, const std::uint16_t* alpha, unsigned n,
                                            std::uint8_t* dst);

/// @}

/// @name Pixels into planes
/// @{

/// One channel out of `n` pixels of three bytes: dst[i] = src[3i + channel].
QUORVEL_API void copy8_1_1(int channel, const std::uint8_t* src, std::uint8_t* dst, unsigned n);

/// One channel out of `n` pixels of three words. For the pixels of whole groups of 8 `channel` is an offset in *bytes*
/// from the start of the pixel, and may be odd; for the last n mod 8 pixels it is an offset in *words*. Channel 0 is
/// the same in both; pass 0, 2 or 4 together with a multiple of 8 pixels for the three channels.
QUORVEL_API void copy16_1_1(int channel, const std::uint16_t* src, std::uint16_t* dst, unsigned n);

/// `n` pixels of three bytes into three planes.
QUORVEL_API void copy8_1_3(const std::uint8_t* src, std::uint8_t* d0, std::uint8_t* d1, std::uint8_t* d2, unsigned n);

/// As `copy8_1_3` for `n` of at least 2. Returns 0, or -1 for fewer.
QUORVEL_API int copy8_3_toPlane(const std::uint8_t* src, std::uint8_t* d0, std::uint8_t* d1, std::uint8_t* d2,
                                unsigned n);

/// A rectangle of `width` x `height` pixels of three bytes, its rows `srcStride` bytes apart, into three planes without
/// gaps between their rows. Returns 0, or -1 for an odd width.
QUORVEL_API int copy8_3_toPlane_tile(const std::uint8_t* src, std::uint8_t* d0, std::uint8_t* d1, std::uint8_t* d2,
                                     unsigned srcStride, unsigned width, unsigned height);

/// As `copy8_3_toPlane_tile` into planes of words of 0..255.
QUORVEL_API int copy8_16_3_toPlane(const std::uint8_t* src, std::uint16_t* d0, std::uint16_t* d1, std::uint16_t* d2,
                                   unsigned srcStride, unsigned width, unsigned height);

/// `n` pixels of four bytes into three planes; the fourth byte is dropped. Returns 0, or -1 for `n` below 2.
QUORVEL_API int copy8_4_toPlane(const std::uint32_t* src, std::uint8_t* d0, std::uint8_t* d1, std::uint8_t* d2,
                                unsigned n);

/// `n` pixels of three words into three planes. Returns 0, or -1 for `n` below 4.
QUORVEL_API int copy16_3_toPlane(const std::uint16_t* src, std::uint16_t* d0, std::uint16_t* d1, std::uint16_t* d2,
                                 unsigned n);

/// One field out of each of `n` records of 12 bytes (a pixel of three 32-bit samples, or eight packed 12-bit samples):
/// the `size` bytes that start `offset` bytes into the record, one field behind the other. Returns 0, or -1 for a field
/// that does not lie within the record.
QUORVEL_API int copy1_12N(int offset, unsigned size, const std::uint8_t* src, std::uint8_t* dst, unsigned n);

/// As `copy1_12N` for fields of four bytes: `offset` 0, 4 or 8 gives one channel of a pixel of three 32-bit samples.
QUORVEL_API int copy1_12DW(int offset, const std::uint8_t* src, std::uint32_t* dst, unsigned n);

/// As `copy1_12N` for fields of eight bytes.
QUORVEL_API int copy1_12QW(int offset, const std::uint8_t* src, std::uint64_t* dst, unsigned n);

/// @}

/// @name Pixels into pixels
/// @{

/// `n` pixels of three bytes into pixels of four with the channels in reverse order: src[2], src[1], src[0], 0.
QUORVEL_API void copy8_3to4(const std::uint8_t* src, std::uint8_t* dst, unsigned n);

/// `n` pixels of three bytes into pixels of four in the same order: src[0], src[1], src[2], 0.
QUORVEL_API void copy8_3to4_rgb(const std::uint8_t* src, std::uint8_t* dst, unsigned n);

/// `n` pixels of four bytes into pixels of three; the fourth byte is dropped.
QUORVEL_API void copy8rgba_to8rgb(const std::uint8_t* src, unsigned n, std::uint8_t* dst);

/// `n` pixels R, G, B of three bytes into words with red in bits 10 to 14, green in 5 to 9, blue in 0 to 4 and bit 15
/// clear: the upper five bits of each channel. Returns 0.
QUORVEL_API int RGBtoHiColor555_MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n);

/// `n` pixels R, G, B of three bytes into words with red in bits 11 to 15, green in 5 to 10 and blue in 0 to 4: the
/// upper five bits of red and blue, the upper six of green. Returns 0.
QUORVEL_API int RGBtoHiColor565_MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n);

/// `n` pixels B, G, R, x of a 32-bit bitmap into the same words; `greenBits` of 5 or 6 chooses between the two formats.
/// Returns 0, or -1 for any other `greenBits`.
QUORVEL_API int BMP32toHiColor_MMX(const std::uint8_t* src, std::uint16_t* dst, unsigned n, int greenBits);

/// `height` rows of `width` bits, the highest bit of a byte first, each row starting `srcStride` bytes after the
/// previous one, into rows of bytes without gaps: 255 for a set bit, 0 for a clear one. Returns 0.
QUORVEL_API int convertBit1To8(const std::uint8_t* src, std::uint8_t* dst, unsigned srcStride, unsigned width,
                               unsigned height);

/// @}

/// @name Grey
/// @{

/// Grey of `n` pixels R, G, B of three bytes: (R x 19595 >> 16) + (G x 38470 >> 16) + (B x 7471 >> 16). Each product is
/// truncated on its own, so white gives 254.
QUORVEL_API void RGBtoGray8(const std::uint8_t* src, std::uint8_t* dst, unsigned n);

/// Brings three weights to 1/32768 for the conversions below: the integer part of c x 32768 + 0.5. What falls outside
/// 0..32767, as every weight of 1 or more and every negative one of -1.5/32768 or less, is stored as 32767. Returns 0.
QUORVEL_API int convertCoef_RGB_to_Gray(double cr, double cg, double cb, RGB_to_Gray* coef);

/// Grey of three planes of samples below 16384, limited to 4095: each sample is doubled, multiplied by its weight and
/// shifted right by 16 on its own; the sum is taken in 16 bits, as unsigned. Sample i uses weight i mod 4 of a channel.
/// Converts whole groups of four; the last n mod 4 samples of `gray` are left as they are. Returns 0, or -1 for `n`
/// below 4.
QUORVEL_API int convertRGB_to_Gray_MMX(const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b,
                                       std::uint16_t* gray, unsigned n, const RGB_to_Gray* coef);

/// As `convertRGB_to_Gray_MMX` for any `n`, and all samples are converted. Returns 0.
QUORVEL_API int convertToGray(const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b,
                              std::uint16_t* gray, unsigned n, const RGB_to_Gray* coef);

/// @}

/// @name Sums
/// @{

/// Checksum of the `nBytes` / 4 whole words of a buffer. From 0 on, for each word, the sum is shifted left by one, a
/// one shifted out is made good by XOR with 0x04C11DB7, and the word is combined in by XOR. Fewer than 4 bytes give 0.
QUORVEL_API std::uint32_t TstSum32(const std::uint32_t* data, unsigned nBytes);

/// Sum modulo 2^32 of the words of `n` / 4 whole groups of four. The first and the last two words of a group are pairs;
/// a pair whose sum reaches 65536 adds 65536 once more for every later group. Without such a pair it is the plain sum.
/// Fewer than 4 words give 0.
QUORVEL_API std::uint32_t sumWords(const std::uint16_t* p, unsigned n);

/// @}

}  // extern "C"

#endif  // QUORVEL_PIXEL_H_
