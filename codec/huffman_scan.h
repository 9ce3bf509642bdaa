// SPDX-License-Identifier: Apache-2.0
// The scan of JPEG data, shared with the pre-decoder.
#ifndef QUORVEL_CODEC_HUFFMAN_SCAN_H_
#define QUORVEL_CODEC_HUFFMAN_SCAN_H_

#include <cstddef>
#include <cstdint>

namespace quorvel {

struct ScanResult {
  int marker;  // its second byte, or 0 at the end of the data
  std::size_t position, produced;
};

// As scanJpegData_ describes it.
ScanResult scanEntropyCoded(const std::uint8_t* data, std::size_t length, std::uint8_t* out);

}  // namespace quorvel

#endif  // QUORVEL_CODEC_HUFFMAN_SCAN_H_
