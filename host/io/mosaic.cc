// SPDX-License-Identifier: Apache-2.0
#include "host/io/mosaic.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <string>
#include <utility>

namespace quorvel::host {
namespace {

// Drops the first rows and columns until the library's pattern begins. Levels move with their sites.
void cropToPhase(Mosaic& mosaic) {
  const unsigned left = mosaic.phase == Phase::RGGB || mosaic.phase == Phase::GBRG;
  const unsigned top = mosaic.phase == Phase::BGGR || mosaic.phase == Phase::GBRG;
  if (left == 0 && top == 0) return;
  RawFrame& frame = mosaic.frame;
  const unsigned width = frame.width - left, height = frame.height - top;
  for (unsigned y = 0; y < height; ++y) {
    const std::uint16_t* row = frame.samples.data() + std::size_t{y + top} * frame.width + left;
    std::copy(row, row + width, frame.samples.data() + std::size_t{y} * width);
  }
  frame.width = width;
  frame.height = height;
  frame.samples.resize(std::size_t{width} * height);
  const std::array<int, 4> black = frame.black;
  for (unsigned site = 0; site < 4; ++site) frame.black[site] = black[site ^ (top * 2 + left)];
  for (Region& region : frame.regions) {
    region.x -= std::min(region.x, left);
    region.y -= std::min(region.y, top);
  }
  mosaic.phase = Phase::GRBG;
}

void reduceTo12Bits(RawFrame& frame) {
  const int excess = static_cast<int>(std::bit_width(static_cast<unsigned>(frame.white))) - 12;
  const auto reduced = [excess](int v) {
    return excess > 0 ? std::min(kFullScale, (v + (1 << (excess - 1))) >> excess) : std::min(kFullScale, v);
  };
  for (std::uint16_t& sample : frame.samples) sample = static_cast<std::uint16_t>(reduced(sample));
  for (int& level : frame.black) level = reduced(level);
  frame.white = reduced(frame.white);
}

}  // namespace

std::optional<Phase> phaseFromLetters(std::string_view letters) {
  std::string upper(letters);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  constexpr std::array<std::pair<const char*, Phase>, 4> kPhases = {
      {{"GRBG", Phase::GRBG}, {"RGGB", Phase::RGGB}, {"BGGR", Phase::BGGR}, {"GBRG", Phase::GBRG}}};
  for (const auto& [name, phase] : kPhases) {
    if (upper == name) return phase;
  }
  return std::nullopt;
}

const char* lettersOf(Phase phase) {
  constexpr std::array kLetters = {"GRBG", "RGGB", "BGGR", "GBRG"};
  return kLetters[static_cast<std::size_t>(phase)];
}

RawFrame normalised(Mosaic mosaic, const fs::path& file) {
  if (mosaic.frame.width < 3 || mosaic.frame.height < 3) {
    throw DataError(file, "is smaller than 3 x 3 samples, too small for a mosaic");
  }
  cropToPhase(mosaic);
  reduceTo12Bits(mosaic.frame);
  return std::move(mosaic.frame);
}

bool fitsFullScale(const RawFrame& frame) {
  return std::none_of(frame.samples.begin(), frame.samples.end(), [](std::uint16_t v) { return v > kFullScale; });
}

int whiteOfSamples(const std::vector<std::uint16_t>& samples) {
  const bool deep = std::any_of(samples.begin(), samples.end(), [](std::uint16_t v) { return v > kFullScale; });
  return deep ? 65535 : kFullScale;
}

}  // namespace quorvel::host
