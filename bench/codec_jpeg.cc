// SPDX-License-Identifier: Apache-2.0
// Whole JPEG files, from pixels to bytes and back, as the program makes and reads them: grey, quality 90.
#include <filesystem>

#include "bench/harness.h"
#include "host/io/formats.h"
#include "host/io/jpeg.h"
#ifdef QUORVEL_PEER_JPEG
#include "bench/peers/jpeg.h"
#endif

namespace quorvel::bench {
namespace {

constexpr host::JpegOptions kOptions = {90, false};

// The green of a photograph of the package libjxl-testdata, repeated in mirror images up to the frame that all figures
// are measured on; waves where the package or libpng is missing.
host::Picture photograph() {
  host::Picture picture{kWidth, kHeight, 255, std::vector<std::uint8_t>(kSamples), 1};
  auto& grey = std::get<0>(picture.samples);
  const char* const file = "/usr/share/libjxl-testdata/external/wesaturate/500px/u76c0g_bliznaca_srgb8.png";
  host::Picture tile;
  try {
    tile = host::readPicture(file);
  } catch (const host::DataError&) {
    for (std::size_t i = 0; i < kSamples; ++i) grey[i] = static_cast<std::uint8_t>((i / kWidth * i % kWidth) >> 6);
    return picture;
  }
  const auto& pixels = std::get<0>(tile.samples);
  const auto mirrored = [](unsigned at, unsigned size) {
    const unsigned in = at % (2 * size);
    return in < size ? in : 2 * size - 1 - in;
  };
  for (unsigned y = 0; y < kHeight; ++y) {
    const std::size_t row = std::size_t{mirrored(y, tile.height)} * tile.width;
    for (unsigned x = 0; x < kWidth; ++x) {
      grey[std::size_t{y} * kWidth + x] = pixels[(row + mirrored(x, tile.width)) * tile.channels + (tile.channels > 1)];
    }
  }
  return picture;
}

}  // namespace

void registerJpegContests() {
  const auto picture = std::make_shared<host::Picture>(photograph());
  const auto file = std::make_shared<std::vector<std::uint8_t>>(host::encodeJpeg(*picture, kOptions));
  Contest encode("encodeJpegGrey", kSamples + file->size());
  encode.quorvel([=] { benchmark::DoNotOptimize(host::encodeJpeg(*picture, kOptions)); });
  Contest decode("decodeJpegGrey", kSamples + file->size());
  decode.quorvel([=] { benchmark::DoNotOptimize(host::readJpeg(*file, "photograph")); });
#ifdef QUORVEL_PEER_JPEG
  encode.peer("libjpeg-turbo", [=] {
    benchmark::DoNotOptimize(
        peerEncodeJpeg(std::get<0>(picture->samples).data(), {kWidth, kHeight, 1, kOptions.quality}));
  });
  decode.peer("libjpeg-turbo", [=, pixels = std::make_shared<std::vector<std::uint8_t>>()] {
    pixels->clear();
    peerDecodeJpeg(*file, *pixels);
  });
#endif
}

}  // namespace quorvel::bench
