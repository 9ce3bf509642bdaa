// SPDX-License-Identifier: Apache-2.0
// Frames put together anew: from planes, turned round, and as far as their levels choose how planes become bytes.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/remosaic.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <limits>

#include "bayer/demosaic.h"
#include "quorvel/bayer.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Rows of the frame from row `y` on, all of them one after the other where nothing lies between.
void mosaicRows(const std::uint16_t* const* planes, std::size_t width, std::size_t y, std::size_t rows,
                std::uint16_t* dst) {
  const std::uint16_t* const r = planes[0] + y * width;
  const std::uint16_t* const g = planes[1] + y * width;
  const std::uint16_t* const b = planes[2] + y * width;
  const auto body = [=](auto d, std::size_t row, std::size_t x, const auto& out) HWY_ATTR {
    const std::size_t at = row * width + x;
    const bool lower = (y + row) % 2 != 0;
    const auto place = hn::Add(hn::Iota(d, 0), hn::Set(d, (x + lower) % 2));
    const auto green = hn::Eq(hn::And(place, hn::Set(d, 1)), hn::Zero(d));
    hn::StoreU(hn::IfThenElse(green, hn::LoadU(d, g + at), hn::LoadU(d, (lower ? b : r) + at)), d, out[0]);
  };
  writeRows<std::uint16_t, 1>(rows, width, std::array{dst}, std::array{reads<1>(g, width)}, body);
}

// Limits of the samples at even places and at odd ones, which come in and go out.
void widenLimits(const std::uint16_t* HWY_RESTRICT row, std::size_t width, std::uint16_t* HWY_RESTRICT least,
                 std::uint16_t* HWY_RESTRICT most) {
  const hn::ScalableTag<std::uint16_t> d;
  auto least0 = hn::Set(d, least[0]), most0 = hn::Set(d, most[0]);
  auto least1 = hn::Set(d, least[1]), most1 = hn::Set(d, most[1]);
  const std::size_t pairs = width / 2, lanes = hn::Lanes(d);
  std::size_t i = 0;
  for (; i + lanes <= pairs; i += lanes) {
    hn::Vec<decltype(d)> even, odd;
    hn::LoadInterleaved2(d, row + 2 * i, even, odd);
    least0 = hn::Min(least0, even), most0 = hn::Max(most0, even);
    least1 = hn::Min(least1, odd), most1 = hn::Max(most1, odd);
  }
  least[0] = hn::GetLane(hn::MinOfLanes(d, least0)), most[0] = hn::GetLane(hn::MaxOfLanes(d, most0));
  least[1] = hn::GetLane(hn::MinOfLanes(d, least1)), most[1] = hn::GetLane(hn::MaxOfLanes(d, most1));
  for (std::size_t x = 2 * i; x < width; ++x) {
    least[x % 2] = std::min(least[x % 2], row[x]);
    most[x % 2] = std::max(most[x % 2], row[x]);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "quorvel/geometry.h"
#include "quorvel/pixel.h"

namespace quorvel {
namespace {

HWY_EXPORT(mosaicRows);
HWY_EXPORT(widenLimits);

constexpr int kOutsideFrame = -1;

enum Colour { kRed, kGreen, kBlue };

struct Levels {
  std::uint16_t least = std::numeric_limits<std::uint16_t>::max(), most = 0;

  void take(std::uint16_t from, std::uint16_t to) { least = std::min(least, from), most = std::max(most, to); }
};

std::array<Levels, 3> levelsOf(const BayerFrame& frame) {
  std::array<Levels, 3> levels;
  for (std::size_t y = 0; y < frame.height; ++y) {
    const std::array places = y % 2 == 0 ? std::array{kGreen, kRed} : std::array{kBlue, kGreen};
    std::uint16_t least[2], most[2];
    for (std::size_t p = 0; p < 2; ++p) least[p] = levels[places[p]].least, most[p] = levels[places[p]].most;
    HWY_DYNAMIC_DISPATCH(widenLimits)(frame.row(y), frame.width, least, most);
    for (std::size_t p = 0; p < 2; ++p) levels[places[p]].take(least[p], most[p]);
  }
  // A colour without a sample, as in a frame of a single row, has the one level 0.
  for (Levels& colour : levels) colour.least = std::min(colour.least, colour.most);
  return levels;
}

// The aligned side of a rectangle on an axis of `extent` samples: first and last sample.
struct Side {
  std::uint64_t first, last;
};

Side wholeCells(unsigned from, unsigned to, unsigned extent) {
  const unsigned even = to & ~1u;
  return {from + std::uint64_t{from & 1}, even == extent ? std::uint64_t{extent} - 1 : std::uint64_t{even} + 1};
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int rgbToBayer(const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b, std::uint16_t* dst,
               unsigned width, unsigned height, unsigned pitch) {
  if (width == 0) return 0;
  const std::uint16_t* const planes[3] = {r, g, b};
  const auto mosaic = HWY_DYNAMIC_DISPATCH(mosaicRows);
  if (width == pitch) {
    mosaic(planes, width, 0, height, dst);
  } else {
    for (std::size_t y = 0; y < height; ++y) mosaic(planes, width, y, 1, dst + y * pitch);
  }
  return 0;
}

int turnBayer180(std::uint16_t* samples, unsigned width, unsigned height, unsigned x0, unsigned y0, unsigned x1,
                 unsigned y1) {
  if (width == 0 || height == 0) return 0;
  const Side columns = wholeCells(x0, x1, width), rows = wholeCells(y0, y1, height);
  if (columns.first > columns.last || rows.first > rows.last) return 0;
  if (columns.last >= width || rows.last >= height) return kOutsideFrame;
  // Opposite rows change places in registers: no scratch row is needed, and so none can be missing.
  std::uint16_t* const first = samples + static_cast<std::size_t>(rows.first) * width + columns.first;
  return tileTurn180_16_16(first, width, static_cast<unsigned>(columns.last - columns.first + 1),
                           static_cast<unsigned>(rows.last - rows.first + 1), first, width);
}

void convertBayerGammaTo8(int sameScale, double gamma, const std::uint16_t* samples, unsigned pitch,
                          const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b, unsigned width,
                          unsigned height, std::uint8_t* outR, std::uint8_t* outG, std::uint8_t* outB, int* maximum) {
  static CGammaTblB_DLL table;
  const std::array<Levels, 3> levels = levelsOf({samples, width, height, pitch});
  const int common = std::max({levels[kRed].most, levels[kGreen].most, levels[kBlue].most});
  *maximum = common;
  const std::array planes = {r, g, b};
  const std::array outputs = {outR, outG, outB};
  for (std::size_t c = 0; c < planes.size(); ++c) {
    table.genGamma(gamma, levels[c].least, sameScale == 0 ? common : levels[c].most, 255);
    table.convert16_8(reinterpret_cast<const std::int16_t*>(planes[c]), outputs[c], width * height);
  }
}

#endif
