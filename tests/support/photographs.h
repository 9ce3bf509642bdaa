// SPDX-License-Identifier: Apache-2.0
// Photographs of the package libjxl-testdata, as they would have looked to the sensor.
#ifndef QUORVEL_TESTS_SUPPORT_PHOTOGRAPHS_H_
#define QUORVEL_TESTS_SUPPORT_PHOTOGRAPHS_H_

#include <cmath>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <png.h>

namespace quorvel::test {

struct Photograph {
  unsigned width, height;
  std::vector<std::uint16_t> rgb;  // interleaved, 8-bit values in the upper bits of 12
};

inline std::optional<Photograph> loadPhotograph(const std::string& name) {
  const std::filesystem::path file = std::filesystem::path("/usr/share/libjxl-testdata") / name;
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, file.c_str())) return std::nullopt;
  image.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr)) return std::nullopt;
  Photograph photo{image.width, image.height, std::vector<std::uint16_t>(bytes.size())};
  for (std::size_t i = 0; i < bytes.size(); ++i) photo.rgb[i] = static_cast<std::uint16_t>(bytes[i] << 4);
  return photo;
}

// What the sensor keeps of it: one colour a site, G R / B G.
inline std::vector<std::uint16_t> mosaicOf(const Photograph& photo) {
  std::vector<std::uint16_t> frame(std::size_t{photo.width} * photo.height);
  for (unsigned y = 0; y < photo.height; ++y) {
    for (unsigned x = 0; x < photo.width; ++x) {
      const std::size_t site = std::size_t{y} * photo.width + x;
      const unsigned colour = (x + y) % 2 == 0 ? 1 : y % 2 == 0 ? 0 : 2;
      frame[site] = photo.rgb[3 * site + colour];
    }
  }
  return frame;
}

// Peak signal-to-noise ratio over all three colours, peak 4095, with a border of 8 pixels left out.
inline double colourPsnr(const Photograph& photo, const std::vector<std::uint16_t> (&planes)[3]) {
  constexpr unsigned kBorder = 8;
  double squares = 0;
  std::size_t count = 0;
  for (unsigned y = kBorder; y < photo.height - kBorder; ++y) {
    for (unsigned x = kBorder; x < photo.width - kBorder; ++x) {
      const std::size_t site = std::size_t{y} * photo.width + x;
      for (unsigned c = 0; c < 3; ++c, ++count) {
        const double difference = static_cast<double>(planes[c][site]) - photo.rgb[3 * site + c];
        squares += difference * difference;
      }
    }
  }
  return 10 * std::log10(4095.0 * 4095.0 * static_cast<double>(count) / squares);
}

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_PHOTOGRAPHS_H_
