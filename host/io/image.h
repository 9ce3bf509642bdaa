// SPDX-License-Identifier: Apache-2.0
// The values that go down the road: a raw frame, its colour planes, a finished picture.
#ifndef QUORVEL_HOST_IO_IMAGE_H_
#define QUORVEL_HOST_IO_IMAGE_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quorvel::host {

// The library's samples have 12 bits.
inline constexpr int kFullScale = 4095;

// What one file may hold. The library counts samples in 32 bits, and three of them make a pixel; a 32-bit process has
// room for the planes of less.
inline constexpr std::uint64_t kMaxSide = 65535, kMaxPixels = std::uint64_t{1} << (sizeof(void*) > 4 ? 29 : 27);

// Whether an image of this size can be worked on at all.
constexpr bool sizeIsSane(std::uint64_t width, std::uint64_t height) {
  return width >= 1 && height >= 1 && width <= kMaxSide && height <= kMaxSide && width * height <= kMaxPixels;
}

// Factors of red, green and blue that make grey neutral.
using Gains = std::array<double, 3>;

// A part of the frame that is worth a closer look.
struct Region {
  std::string name;
  unsigned x = 0, y = 0, width = 0, height = 0;

  bool operator==(const Region&) const = default;
};

// A frame as the library takes it: 12-bit samples, even rows G R G R, odd rows B G B G.
struct RawFrame {
  unsigned width = 0, height = 0;
  std::vector<std::uint16_t> samples;  // row-major, rows packed
  std::array<int, 4> black{};          // of the sites G, R (even rows), B, G (odd rows)
  int white = kFullScale;              // the level at which the sensor is full
  std::optional<Gains> asShot;
  std::vector<Region> regions;
};

// Red, green and blue of every pixel, linear, in sensor counts above black.
struct Planes {
  Planes() = default;
  Planes(unsigned w, unsigned h) : width(w), height(h) {
    for (auto& plane : colour) plane.resize(std::size_t{w} * h);
  }

  unsigned width = 0, height = 0;
  std::array<std::vector<std::uint16_t>, 3> colour;
};

// A picture of interleaved R G B samples, or of grey ones, of 8 or 16 bits.
struct Picture {
  unsigned width = 0, height = 0;
  unsigned maximum = 255;  // the sample value that means white
  std::variant<std::vector<std::uint8_t>, std::vector<std::uint16_t>> samples;
  unsigned channels = 3;  // or 1: grey

  bool is16() const { return samples.index() == 1; }
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_IMAGE_H_
