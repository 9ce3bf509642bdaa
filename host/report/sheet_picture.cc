// SPDX-License-Identifier: Apache-2.0
// The sheet as one picture: the frame small on top with the methods' figures beside it, below a row of crops a region.
#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "host/report/canvas.h"
#include "host/report/sheet.h"

namespace quorvel::host {
namespace {

constexpr Ink kMark = {224, 182, 74};
constexpr unsigned kZoom = 3;

using Bytes = std::vector<std::uint8_t>;

// Means of factor x factor pixels.
void drawSmaller(Canvas& canvas, unsigned x0, unsigned y0, const Picture& picture, unsigned factor) {
  const auto& samples = std::get<Bytes>(picture.samples);
  for (unsigned y = 0; y < picture.height / factor; ++y) {
    for (unsigned x = 0; x < picture.width / factor; ++x) {
      unsigned sum[3] = {};
      for (unsigned dy = 0; dy < factor; ++dy) {
        const std::uint8_t* from = &samples[3 * ((std::size_t{y} * factor + dy) * picture.width + x * factor)];
        for (unsigned i = 0; i < 3 * factor; ++i) sum[i % 3] += from[i];
      }
      const auto mean = [n = factor * factor](unsigned s) { return static_cast<std::uint8_t>((s + n / 2) / n); };
      canvas.dot(x0 + x, y0 + y, {mean(sum[0]), mean(sum[1]), mean(sum[2])});
    }
  }
}

void drawLarger(Canvas& canvas, unsigned x0, unsigned y0, const Picture& picture, const Region& region) {
  const auto& samples = std::get<Bytes>(picture.samples);
  for (unsigned y = 0; y < region.height * kZoom; ++y) {
    for (unsigned x = 0; x < region.width * kZoom; ++x) {
      const std::uint8_t* from =
          &samples[3 * (std::size_t{region.y + y / kZoom} * picture.width + region.x + x / kZoom)];
      canvas.dot(x0 + x, y0 + y, {from[0], from[1], from[2]});
    }
  }
}

}  // namespace

Picture sheetPicture(const Sheet& sheet) {
  // All crops are as large as the smallest region, about its middle, so that the columns are even.
  unsigned span = 64;
  for (const Region& r : sheet.regions) span = std::min({span, r.width, r.height});
  const auto columns = static_cast<unsigned>(sheet.entries.size()),
             rows = static_cast<unsigned>(std::min<std::size_t>(sheet.regions.size(), 3));
  const unsigned cell = span * kZoom, line = kLine;
  const unsigned width = std::max(kGap + columns * (cell + kGap), 480u);
  const Picture& whole = sheet.entries.back().picture;
  const unsigned factor = std::max({1u, (whole.width * 2 + width - 1) / width, (whole.height + 255) / 256});
  const unsigned top = std::max(whole.height / factor, (columns + 2) * 2 * line);
  Canvas canvas(width, kGap + top + kGap + line + kGap + rows * (cell + kGap));

  drawSmaller(canvas, kGap, kGap, whole, factor);
  const unsigned beside = kGap + whole.width / factor + 2 * kGap;
  canvas.write(beside, kGap, fmt::format("{} x {}", whole.width, whole.height), kText);
  double best = 0;
  for (const SheetEntry& e : sheet.entries) best = std::max(best, e.quality ? e.quality->all : 0);
  unsigned y = kGap + 3 * line;
  for (const SheetEntry& e : sheet.entries) {
    if (!e.quality) continue;
    canvas.write(beside, y, fmt::format("{:<9} {:.2f} dB", e.name, e.quality->all),
                 e.quality->all == best ? kMark : kDim);
    y += 2 * line;
  }
  for (unsigned c = 0; c < columns; ++c) {
    const unsigned x = kGap + c * (cell + kGap);
    canvas.write(x, kGap + top + kGap, sheet.entries[c].name, kText);
    for (unsigned r = 0; r < rows; ++r) {
      Region middle = sheet.regions[r];
      middle.x += (middle.width - span) / 2;
      middle.y += (middle.height - span) / 2;
      middle.width = middle.height = span;
      drawLarger(canvas, x, kGap + top + kGap + line + kGap + r * (cell + kGap), sheet.entries[c].picture, middle);
    }
  }
  return std::move(canvas).picture();
}

}  // namespace quorvel::host
