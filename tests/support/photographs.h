// SPDX-License-Identifier: Apache-2.0
// Photographs of the package libjxl-testdata, in the samples of the sensor.
#ifndef QUORVEL_TESTS_SUPPORT_PHOTOGRAPHS_H_
#define QUORVEL_TESTS_SUPPORT_PHOTOGRAPHS_H_

#include <cstdint>
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

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_PHOTOGRAPHS_H_
