// SPDX-License-Identifier: Apache-2.0
// The reader of JPEG files, up to the picture.
#include "fuzz/host_seeds.h"
#include "host/io/jpeg.h"

using namespace quorvel::host;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const Picture picture = pictureOf(readJpegCoefficients({data, size}, "input"));
    if (std::get<0>(picture.samples).size() != std::size_t{picture.channels} * picture.width * picture.height) abort();
  } catch (const DataError&) {
  }
  return 0;
}

std::vector<Seed> quorvel::fuzz::makeSeeds() {
  std::vector<Seed> seeds;
  for (const unsigned channels : {1u, 3u}) {
    for (const auto& [width, height] : {std::pair{1u, 1u}, {40u, 20u}}) {
      Picture picture{width, height, 255, std::vector<std::uint8_t>(channels * width * height), channels};
      unsigned i = 0;
      for (std::uint8_t& v : std::get<0>(picture.samples)) v = static_cast<std::uint8_t>(++i * i * 2654435761u >> 24);
      for (const JpegOptions options : {JpegOptions{10, false}, {75, true}, {100, false}}) {
        seeds.push_back(encodeJpeg(picture, options));
      }
      // A restart interval of 2 blocks, though the data have none: the reader has to miss them.
      Seed restarts = seeds.back();
      const std::uint8_t interval[] = {0xFF, 0xDD, 0, 4, 0, 2};
      restarts.insert(restarts.begin() + 2, std::begin(interval), std::end(interval));
      seeds.push_back(restarts);
    }
  }
  return seeds;
}
