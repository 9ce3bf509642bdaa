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

extern "C" {

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

}  // extern "C"

#endif  // QUORVEL_PIXEL_H_
