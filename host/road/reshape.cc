// SPDX-License-Identifier: Apache-2.0
#include "host/road/reshape.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include <quorvel/quorvel.h>

namespace quorvel::host {
namespace {

// The top left part of a frame, all sites at the highest of their black levels and none above white.
RawFrame levelled(const RawFrame& frame, unsigned width, unsigned height) {
  const int common = *std::max_element(frame.black.begin(), frame.black.end());
  RawFrame result = frame;
  result.width = width;
  result.height = height;
  result.black.fill(common);
  result.samples.resize(std::size_t{width} * height);
  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < width; ++x) {
      const int lift = common - frame.black[(y & 1) * 2 + (x & 1)];
      const int sample = frame.samples[std::size_t{y} * frame.width + x] + lift;
      result.samples[std::size_t{y} * width + x] = static_cast<std::uint16_t>(std::min(sample, frame.white));
    }
  }
  return result;
}

}  // namespace

std::optional<RawFrame> reduced(const RawFrame& frame, unsigned factor) {
  const unsigned block = 2 * factor;
  if (frame.width < block || frame.height < block) return std::nullopt;
  RawFrame whole = levelled(frame, frame.width / block * block, frame.height / block * block);
  RawFrame result = whole;
  result.width = whole.width / factor;
  result.height = whole.height / factor;
  result.samples.resize(std::size_t{result.width} * result.height);
  for (Region& r : result.regions) r = {r.name, r.x / factor, r.y / factor, r.width / factor, r.height / factor};
  std::erase_if(result.regions, [&](const Region& r) {
    return r.width == 0 || r.height == 0 || r.x + r.width > result.width || r.y + r.height > result.height;
  });

  std::uint16_t *from = whole.samples.data(), *to = result.samples.data();
  if (factor == 2) {
    compressBayer_x2(from, whole.width, whole.height, to);
  } else if (factor == 4) {
    bayerReweightFor_x4(from, from, whole.width, whole.height);
    compressBayer_x4Step(from, whole.width, whole.height, to);
  } else {
    compressBayer_x8(from, whole.width, whole.height, to);
  }
  return result;
}

std::optional<RawFrame> turned(const RawFrame& frame) {
  const unsigned width = frame.width & ~1u, height = frame.height & ~1u;
  if (width < 4 || height < 4) return std::nullopt;
  std::vector<std::uint16_t> samples = frame.samples;
  if (turnBayer180(samples.data(), frame.width, frame.height, 0, 0, width - 1, height - 1) != 0) {
    throw std::logic_error("the library refused to turn a frame");
  }
  // What was last is first now: the pattern begins as it did one row and one column further in.
  RawFrame result = frame;
  result.width = width - 1;
  result.height = height - 1;
  result.samples.resize(std::size_t{result.width} * result.height);
  for (unsigned y = 0; y < result.height; ++y) {
    const std::uint16_t* row = samples.data() + std::size_t{y + 1} * frame.width + 1;
    std::copy(row, row + result.width, result.samples.data() + std::size_t{y} * result.width);
  }
  std::erase_if(result.regions, [&](Region& r) {
    if (r.x + r.width > result.width || r.y + r.height > result.height) return true;
    r.x = result.width - r.x - r.width;
    r.y = result.height - r.y - r.height;
    return false;
  });
  return result;
}

}  // namespace quorvel::host
