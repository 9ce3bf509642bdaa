// SPDX-License-Identifier: Apache-2.0
// The markers of JPEG files: the byte behind 0xFF.
#ifndef QUORVEL_HOST_IO_JPEG_MARKERS_H_
#define QUORVEL_HOST_IO_JPEG_MARKERS_H_

namespace quorvel::host {

inline constexpr unsigned kBaseline = 0xC0, kExtended = 0xC1, kCodes = 0xC4, kArithmetic = 0xCC, kLastFrame = 0xCF,
                          kFirstRestart = 0xD0, kStartOfImage = 0xD8, kEndOfImage = 0xD9, kScan = 0xDA,
                          kQuantiser = 0xDB, kRestartInterval = 0xDD, kJfif = 0xE0, kAdobe = 0xEE;

constexpr bool isRestart(unsigned marker) { return marker >= kFirstRestart && marker < kStartOfImage; }

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_JPEG_MARKERS_H_
