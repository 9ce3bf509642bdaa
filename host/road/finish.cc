// SPDX-License-Identifier: Apache-2.0
// From linear colour planes to a picture. White balance costs no step of its own: a channel's factor moves the level at
// which its curve is full.
#include <algorithm>
#include <cmath>

#include "host/road/road.h"

namespace quorvel::host {
namespace {

// Bands of about this many pixels stay in the cache between the curve and the interleaving.
constexpr std::size_t kBand = 1 << 15;

// The level at which each channel is full. The weakest factor is taken as 1: below it a saturated sensor would not give
// white.
std::array<int, 3> fullLevels(const Tone& tone) {
  const double least = *std::min_element(tone.gains.begin(), tone.gains.end());
  std::array<int, 3> levels{};
  for (std::size_t c = 0; c < 3; ++c) {
    levels[c] = std::max(1, static_cast<int>(std::lround(tone.white * least / tone.gains[c])));
  }
  return levels;
}

// Calls band(first pixel, pixels).
template <typename Band>
void forBands(std::size_t pixels, Band&& band) {
  for (std::size_t from = 0; from < pixels; from += kBand) {
    band(from, static_cast<unsigned>(std::min(kBand, pixels - from)));
  }
}

std::vector<std::uint8_t> finish8(const Planes& planes, const std::array<int, 3>& full, double gamma) {
  const auto channel = [gamma](int level) { return ConversionChannel{0, level, gamma, 0, 255}; };
  const ConversionParam wanted = {channel(full[0]), channel(full[1]), channel(full[2])};
  ConversionParam last{};  // never wanted, so that the first band builds the tables and the others find them built
  CGammaTblB_DLL red, green, blue;
  CGammaTblB_DLL* tables[3] = {&red, &green, &blue};
  const std::size_t pixels = planes.colour[0].size();
  std::vector<std::uint8_t> picture(3 * pixels), band(3 * std::min(kBand, pixels));
  const auto& [r, g, b] = planes.colour;
  forBands(pixels, [&](std::size_t from, unsigned n) {
    std::uint8_t *r8 = band.data(), *g8 = r8 + n, *b8 = g8 + n;
    convertRGBGammaTo8(&wanted, r.data() + from, g.data() + from, b.data() + from, n, 1, r8, g8, b8, tables, &last);
    copy8_3_1(r8, g8, b8, picture.data() + 3 * from, n);
  });
  return picture;
}

// The library's 8-bit curve with the range of 16 bits.
std::vector<std::uint16_t> table16(int full, double gamma) {
  std::vector<std::uint16_t> table(kFullScale + 1);
  for (int i = 0; i <= kFullScale; ++i) {
    table[static_cast<std::size_t>(i)] =
        i >= full ? 65535
                  : static_cast<std::uint16_t>(std::pow(static_cast<double>(i) / full, 1 / gamma) * 65535 + 0.5);
  }
  return table;
}

std::vector<std::uint16_t> finish16(const Planes& planes, const std::array<int, 3>& full, double gamma) {
  const std::size_t pixels = planes.colour[0].size();
  std::vector<std::uint16_t> picture(3 * pixels), band(3 * std::min(kBand, pixels));
  std::array<std::vector<std::uint16_t>, 3> tables;
  for (std::size_t c = 0; c < 3; ++c) tables[c] = table16(full[c], gamma);
  forBands(pixels, [&](std::size_t from, unsigned n) {
    for (std::size_t c = 0; c < 3; ++c) {
      // Samples of 12 bits are the same signed and unsigned.
      const auto* samples = reinterpret_cast<const std::int16_t*>(planes.colour[c].data() + from);
      gamma16_16(samples, band.data() + c * n, tables[c].data(), n);
    }
    copy16_3_1(band.data(), band.data() + n, band.data() + 2 * std::size_t{n}, picture.data() + 3 * from, n);
  });
  return picture;
}

}  // namespace

Gains greyWorld(const Planes& planes, int white) {
  std::array<double, 3> sum{};
  for (std::size_t i = 0; i < planes.colour[0].size(); ++i) {
    const bool saturated =
        std::any_of(planes.colour.begin(), planes.colour.end(), [&](const auto& plane) { return plane[i] >= white; });
    if (saturated) continue;
    for (std::size_t c = 0; c < 3; ++c) sum[c] += planes.colour[c][i];
  }
  if (sum[0] <= 0 || sum[1] <= 0 || sum[2] <= 0) return {1, 1, 1};  // nothing to judge by
  return {sum[1] / sum[0], 1, sum[1] / sum[2]};
}

Picture finish(const Planes& planes, const Tone& tone) {
  Picture picture;
  picture.width = planes.width;
  picture.height = planes.height;
  const std::array<int, 3> full = fullLevels(tone);
  if (tone.bits == 16) {
    picture.maximum = 65535;
    picture.samples = finish16(planes, full, tone.gamma);
  } else {
    picture.samples = finish8(planes, full, tone.gamma);
  }
  return picture;
}

}  // namespace quorvel::host
