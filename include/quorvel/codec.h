// SPDX-License-Identifier: Apache-2.0
/// @file
/// The transform codec: blocks of 8 x 8 samples to coefficients and back.
///
/// A block is 64 coefficients in row-major order unless "zig-zag" is said. No pointer is tested for null, nothing is
/// allocated, and the inputs are never changed. Buffers are aligned to their elements; more is not needed.
#ifndef QUORVEL_CODEC_H_
#define QUORVEL_CODEC_H_

#include <quorvel/huffman.h>
#include <quorvel/types.h>

extern "C" {

/// @name Transforms: the client's tables
/// The library owns the coefficient tables and never fills them: they are zero until the client has written them,
/// before any thread calls a transform, and they are read on every call. `quorvel/dct_tables.h` fills them all. A
/// four-copy table holds every coefficient four times over, in one 64-bit word; in an eight-copy table two such words
/// make an entry. The copies must be equal: which of them is read is not said.
///
/// The plain contents are the orthonormal basis times 65536,
/// C[k][j] = round(32768 * c(k) * cos((2j + 1) * k * pi / 16)) with c(0) = sqrt(1/2) and c(k) = 1 elsewhere.
/// @{

/// 64 words, four copies: C[k][j] at 8k + j, the left factor of the forward transforms.
QUORVEL_API std::uint64_t* getFDCT64();
/// 128 words, eight copies: the same for `calcFDCT16_bq_SSE2`.
QUORVEL_API std::uint64_t* getFDCT64_2();
/// Room for 256 values, of which the first 64 are C[m][c] at 8m + c, the right factor of the inverse transforms.
QUORVEL_API std::int16_t* getFDCT16();
/// Room for 384 values, of which the first 64 are C[c][m] at 8m + c, the right factor of the forward transforms.
QUORVEL_API std::int16_t* getIDCT16();
/// 64 words, four copies: C[j][k] at 8k + j, the left factor of the inverse transforms.
QUORVEL_API std::uint64_t* getIDCT64();
/// 128 words, eight copies: the same for `calcIDCT_SSE2`.
QUORVEL_API std::uint64_t* getIDCT64_2();
/// 256 floats: the left factor of `calcFDCTf_bq` and `calcFDCTf_wq`, row by row, then at 64 the right one. Plain are
/// the orthonormal basis and its transpose.
QUORVEL_API float* getFDCTf();
/// 256 floats: room for the two factors of an inverse, for the client to pass to `calcIDCTFlt_SSE`.
QUORVEL_API float* getIDCTf();
/// 64 floats: room for the scales that the client passes to the forward float transforms.
QUORVEL_API float* getFDCTfn();
/// 64 floats: room for the steps that the client passes to the inverse float transforms.
QUORVEL_API float* getIDCTfn();

/// Sets the level that the forward transforms of 12-bit samples subtract, for all later calls; 2048 at first. The
/// inverse transforms always add 2048.
QUORVEL_API void setJpegSubWord(std::uint16_t level);

/// Reciprocals of 64 quantiser steps: recip[i] = (65536 / steps[i] + 0.99) without its fraction. Returns 0, or 1 at the
/// first step below 3, from which on nothing is written: its reciprocal would not fit the quantiser's signed product.
QUORVEL_API int genQuantizeTable(const std::uint16_t* steps, std::uint16_t* recip);

/// @}
/// @name Transforms: forward, 16 bits
/// With L the left and D the right factor, X the level-shifted samples, all in 16 bits that wrap around, and
/// hi(a, b) = (a * b) >> 16:
/// T[k][c] = sum over j of hi(X[j][c], L[k][j]), plus 4; Y[r][c] = sum over m of hi(T[r][m], D[m][c]), plus 4.
///
/// Quantised members then write q = s * hi(s * Y + bias, recip) with s = -1 for Y < 0 and 1 elsewhere. Half a step as
/// bias rounds to nearest.
///
/// `stride` is the distance of rows in bytes, even for 16-bit samples. `work` is 512 bytes of scratch, which may be
/// left as they are. `dst` may be `src` where it has room for both. All return `dst`.
/// @{

/// 12-bit samples: X = (s - level) << 1 and Y >> 1, so that with the plain tables Y is the orthonormal transform of
/// s - 2048. Not quantised.
///
/// Black blocks lie at the edge of these 16 bits: where all samples are 0 the sums wrap, and Y[0] comes out as 16382 in
/// place of -16386; where all are 1 nothing wraps. A level below 2048 moves the edge to the white blocks.
QUORVEL_API std::int16_t* calcFDCT16_w(const std::uint16_t* src, unsigned stride, std::uint16_t* dst,
                                       std::int64_t* work);
/// The same, quantised.
QUORVEL_API std::uint16_t* calcFDCT16_wq(const std::uint16_t* src, unsigned stride, const std::uint16_t* bias,
                                         const std::uint16_t* recip, std::uint16_t* dst, std::int64_t* work);
/// 8-bit samples, quantised: X = (s - 128) << 3, so that with the plain tables Y is 8 times the orthonormal transform
/// of s - 128.
///
/// A block of 64 equal samples p is not transformed if `isCommonEMMX` has been asked before and its answer was 1. Then
/// with v = 8 * (p - 128) the first coefficient is ((8 * |v| + (bias[0] & 255)) * recip[0]) >> 16 with the sign of v,
/// and all others are 0. The full transform differs from that by 1, seldom 2, for some samples p under
/// many quantisers: results repeat only where `isCommonEMMX` was asked in both runs, or in neither.
QUORVEL_API std::uint16_t* calcFDCT16_bq(const std::uint8_t* src, unsigned stride, const std::uint16_t* bias,
                                         const std::uint16_t* recip, std::uint16_t* dst, std::int64_t* work);
/// `calcFDCT16_bq` with the left factor from `getFDCT64_2`.
QUORVEL_API std::uint16_t* calcFDCT16_bq_SSE2(const std::uint8_t* src, unsigned stride, const std::uint16_t* bias,
                                              const std::uint16_t* recip, std::uint16_t* dst, std::int64_t* work);
/// `calcFDCT16_bq`.
QUORVEL_API std::uint16_t* calcFDCT16_bq_SSE2var(const std::uint8_t* src, unsigned stride, const std::uint16_t* bias,
                                                 const std::uint16_t* recip, std::uint16_t* dst, std::int64_t* work);

/// A strip of `blocks` blocks side by side, block i beginning at src + 8 * i: what `calcFDCT16_bq` writes for each of
/// them goes to dst + 64 * i, bit for bit, in row-major order or, if `zigzag` is not 0, in zig-zag order. One call for
/// many blocks is what makes the transform fast. `dst` must not overlap the samples.
QUORVEL_API std::uint16_t* calcFDCT16_bq_strip(const std::uint8_t* src, unsigned stride, unsigned blocks,
                                               const std::uint16_t* bias, const std::uint16_t* recip,
                                               std::uint16_t* dst, int zigzag);
/// The same with what `calcFDCT16_wq` writes.
QUORVEL_API std::uint16_t* calcFDCT16_wq_strip(const std::uint16_t* src, unsigned stride, unsigned blocks,
                                               const std::uint16_t* bias, const std::uint16_t* recip,
                                               std::uint16_t* dst, int zigzag);

/// @}
/// @name Transforms: inverse, 16 bits
/// The arithmetic of the forward transforms with the factors of `getIDCT64` and `getFDCT16`. X is the coefficient times
/// its step, of which the low 16 bits are taken. With the plain tables 2 * X's orthonormal inverse appears before the
/// last shift; see `quorvel/dct_tables.h` for the steps that undo a forward transform.
///
/// Rows of 8 samples are written `stride` bytes apart, even where samples have 16 bits. `temp` (64 words) and `work`
/// (512 bytes) are scratch, which may be left as it is. All return `out`.
/// @{

/// X = coefficient << 1, not dequantised; the constants are 4 in both passes, then y is the sum >> 1. Writes y + 2048
/// limited to 0..4095; a y below -4096 comes out as 4095.
QUORVEL_API std::uint16_t* calcIDCT16_w(const std::uint16_t* coefs, std::uint16_t* out, unsigned stride,
                                        std::uint16_t* temp, std::int64_t* work);
/// The same with dequantised coefficients for X.
QUORVEL_API std::uint16_t* calcIDCT16_wq(const std::uint16_t* coefs, std::uint16_t* out, unsigned stride,
                                         const std::uint16_t* steps, std::uint16_t* temp, std::int64_t* work);
/// To 8-bit samples in 16-bit words: the first pass adds no constant, y is the second's sum + 1, >> 1. Writes y + 128
/// limited to 0..255; a y below -256 comes out as 255. These constants leave the results one to two levels too dark on
/// the average, with the plain tables more in the first column of busy blocks; `InverseTables` has better ones, and
/// `calcIDCTFlt_strip` is exact.
QUORVEL_API std::uint16_t* calcIDCT16_bq(const std::uint16_t* coefs, std::uint16_t* out, unsigned stride,
                                         const std::uint16_t* steps, std::uint16_t* temp, std::int64_t* work);
/// `calcIDCT16_bq` with the left factor from `getIDCT64_2`.
QUORVEL_API std::uint16_t* calcIDCT_SSE2(const std::uint16_t* coefs, std::uint16_t* out, unsigned stride,
                                         const std::uint16_t* steps, std::uint16_t* temp, std::int64_t* work);

/// `blocks` blocks, block i at coefs + 64 * i, in zig-zag order if `zigzag` is not 0, to a strip of samples side by
/// side, block i at out + 8 * i: the samples of `calcIDCT16_bq`, as bytes. The steps are in row-major order.
QUORVEL_API std::uint8_t* calcIDCT16_bq_strip(const std::uint16_t* coefs, unsigned blocks, const std::uint16_t* steps,
                                              std::uint8_t* out, unsigned stride, int zigzag);
/// The same with the samples of `calcIDCT16_wq`.
QUORVEL_API std::uint16_t* calcIDCT16_wq_strip(const std::uint16_t* coefs, unsigned blocks, const std::uint16_t* steps,
                                               std::uint16_t* out, unsigned stride, int zigzag);

/// @}
/// @name Transforms in floats
/// Y = left * X * right, each product a sum of eight in the order of the index, rounded after every operation, so that
/// the bits are the same everywhere. The units are those of the 16-bit partners. `work` is 64 floats of scratch, which
/// may be left as they are.
/// @{

/// 8-bit samples, X = 8 * (s - 128), factors from `getFDCTf`: dst[i] is Y[i] * scale[i] rounded to the nearest whole
/// number, halves away from zero. With 1 / step as scale it is what `calcFDCT16_bq` approximates. Returns `dst`.
QUORVEL_API float* calcFDCTf_bq(const std::uint8_t* src, unsigned stride, const float* scale, float* dst, float* work);
/// 12-bit samples: X = s - level, which wraps in the 16 bits of `calcFDCT16_wq`. Returns `dst`.
QUORVEL_API float* calcFDCTf_wq(const std::uint16_t* src, unsigned stride, const float* scale, float* dst, float* work);
/// As `calcFDCTf_bq` with the factors given, 64 floats each, and without the rounding. Returns `dst`.
QUORVEL_API float* calcFDCTFlt_SSE(const std::uint8_t* src, unsigned stride, const float* left, const float* right,
                                   const float* scale, float* dst, float* work);
/// `calcFDCTFlt_SSE`.
QUORVEL_API float* calcFDCTFlt_3DNow(const std::uint8_t* src, unsigned stride, const float* left, const float* right,
                                     const float* scale, float* dst, float* work);
/// X = coefs[i] * quant[i]; writes Y rounded to the nearest whole number, halves away from zero, plus 128, limited to
/// 0..255, in rows `stride` bytes apart. Nothing is halved: where the factors are an orthonormal inverse, `quant` is in
/// sample levels. All factors are finite. Returns `out`.
QUORVEL_API std::uint8_t* calcIDCTFlt_SSE(const std::int16_t* coefs, const float* quant, const float* left,
                                          const float* right, std::uint8_t* out, unsigned stride, float* work);
/// `calcIDCTFlt_SSE`.
QUORVEL_API std::uint8_t* calcIDCTFlt_SSE2(const std::int16_t* coefs, const float* quant, const float* left,
                                           const float* right, std::uint8_t* out, unsigned stride, float* work);

/// `blocks` blocks, block i at coefs + 64 * i, in zig-zag order if `zigzag` is not 0, to a strip of samples side by
/// side, block i at out + 8 * i, each as by `calcIDCTFlt_SSE`. `quant` is in row-major order. Returns `out`.
QUORVEL_API std::uint8_t* calcIDCTFlt_strip(const std::int16_t* coefs, unsigned blocks, const float* quant,
                                            const float* left, const float* right, std::uint8_t* out, unsigned stride,
                                            int zigzag);

/// dst[i] is src[i] * k, rounded towards zero after 0.375 has been added in the direction of the sample's sign where
/// mask[i * maskStep] is not 0, and not rounded elsewhere. A `maskStep` of 0 has one mask byte for all. `n` may be 0.
QUORVEL_API void mulFltOkrug0375V(float* dst, const std::int16_t* src, float k, unsigned n, const unsigned char* mask,
                                  unsigned maskStep);
/// `mulFltOkrug0375V`.
QUORVEL_API void mulFltOkrug0375Vasm(float* dst, const std::int16_t* src, float k, unsigned n,
                                     const unsigned char* mask, unsigned maskStep);
/// The way back: dst[i] is src[i] / k rounded to the nearest whole number, halves away from zero, and limited to
/// -32768..32767; if `err` is not null, err[i] is src[i] - dst[i] * k. `k` is not 0 and the values are finite. `err`
/// may be `src`. `mode` is accepted for the sake of its callers and changes nothing.
QUORVEL_API void deMulFltOkrugV(const float* src, std::int16_t* dst, float* err, float k, unsigned n, int mode);

/// @}
/// @name Products of matrices
/// Row-major; the product must not overlap the factors.
/// @{

/// The product of two 8 x 8 matrices, each element a sum in the order of the index, rounded after every operation.
QUORVEL_API void matrMul8x8Flt(const float* a, const float* b, float* product);
/// `matrMul8x8Flt`.
QUORVEL_API void matrMul8x8Flt_SSE(const float* a, const float* b, float* product);
/// `matrMul8x8Flt`.
QUORVEL_API void matrMul8x8Flt_3DNow(const float* a, const float* b, float* product);
/// product[k][c] = sum over j of (left[k][j] * right[j][c]) >> 16, in 16 bits that wrap around; `left` in four copies.
QUORVEL_API void matrMul8x8_I16_MMX(const std::uint64_t* left, const std::int16_t* right, std::int16_t* product);
/// `matrMul8x8_I16_MMX`.
QUORVEL_API void matrMul8x8w_SSE(const std::uint64_t* left, const std::int16_t* right, std::int16_t* product);
/// The same for 4 x 4 matrices.
QUORVEL_API void matrMul4x4_I16_MMX(const std::uint64_t* left, const std::int16_t* right, std::int16_t* product);

/// @}
/// @name Coefficients of a block
/// @{

/// The 64 coefficients of a row-major block in zig-zag order, by which the diagonals follow one another from low to
/// high frequencies. `zigzag` must not overlap the block.
QUORVEL_API void zigzagBlock(const std::int16_t* rowMajor, std::int16_t* zigzag);
/// The way back.
QUORVEL_API void dezigzagBlock(const std::int16_t* zigzag, std::int16_t* rowMajor);

/// Classes of the 64 coefficients by their absolute values, two bits each: 0 for 0, 1 for 1..2, 2 for 3..130, 3 for all
/// above. The class of coefficient i lies in bits 2 * (i mod 16) and the next of out[i / 16]. Returns 0.
QUORVEL_API int pack64Coefs(const std::int16_t* coefs, std::uint32_t* out);
/// The index of the highest bit that is set in `v`. Undefined for 0.
QUORVEL_API int signBits64(unsigned v);
/// The largest absolute value, up to 32768, of the first `n` coefficients; 0 for n < 1.
QUORVEL_API int calc64_MaxAbs(const std::int16_t* coefs, int n);
/// How many of the coefficients that the library has counted were zero, in per cent; 0.0 where none were counted. No
/// routine counts any.
QUORVEL_API double getNullPercent();

/// @}

}  // extern "C"

#endif  // QUORVEL_CODEC_H_
