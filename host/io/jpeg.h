// SPDX-License-Identifier: Apache-2.0
// Baseline JPEG files: grey, and three colours of one resolution. Transform, quantiser and entropy coder are the
// library's; here are markers and tables.
#ifndef QUORVEL_HOST_IO_JPEG_H_
#define QUORVEL_HOST_IO_JPEG_H_

#include <array>
#include <string>
#include <vector>

#include "host/io/bytes.h"
#include "host/io/files.h"
#include "host/io/image.h"

namespace quorvel::host {

struct JpegOptions {
  int quality = 90;       // 1 to 100, as usual: the tables of the standard's annex are scaled by it
  bool optimize = false;  // codes made for the picture instead of the usual ones, for a second pass over it
};

// The file of a picture of 8 bits with sides of at most 65535.
std::vector<std::uint8_t> encodeJpeg(const Picture& picture, const JpegOptions& options);

enum class JpegColour { Grey, YCbCr, Rgb };

struct JpegComponent {
  std::array<std::uint16_t, 64> steps{};  // quantiser steps in zig-zag order
  std::vector<std::int16_t> blocks;       // 64 quantised coefficients a block, in zig-zag order; blocks row by row
};

struct JpegCoefficients {
  unsigned width = 0, height = 0;
  JpegColour colour = JpegColour::Grey;
  unsigned restartInterval = 0;
  std::vector<JpegComponent> components;

  unsigned columns() const { return (width + 7) / 8; }  // in blocks
  unsigned rows() const { return (height + 7) / 8; }
};

bool looksLikeJpeg(ByteSpan bytes);

// What a file says of itself before its picture data, the components without blocks. Throws DataError as below.
JpegCoefficients readJpegHeader(ByteSpan bytes, const fs::path& file);

// Throws DataError for a file that is damaged or of another kind than is read.
JpegCoefficients readJpegCoefficients(ByteSpan bytes, const fs::path& file);

Picture pictureOf(const JpegCoefficients& coefficients);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_JPEG_H_
