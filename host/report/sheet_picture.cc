// SPDX-License-Identifier: Apache-2.0
// The sheet as one picture: the frame small on top with the methods' figures beside it, below a row of crops a region.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "host/report/sheet.h"

namespace quorvel::host {
namespace {

struct Ink {
  std::uint8_t r, g, b;
};
constexpr Ink kGround = {20, 23, 26}, kText = {232, 230, 225}, kDim = {154, 163, 168}, kMark = {224, 182, 74};
constexpr unsigned kGap = 12, kZoom = 3, kLetter = 2;  // kLetter: pixels a dot of a letter

// Five columns of seven dots, the lowest bit on top: space, figures, point, capital letters.
constexpr std::string_view kLetters = " .0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::uint8_t kDots[][5] = {
    {0x00, 0x00, 0x00, 0x00, 0x00}, {0x00, 0x60, 0x60, 0x00, 0x00}, {0x3E, 0x51, 0x49, 0x45, 0x3E},
    {0x00, 0x42, 0x7F, 0x40, 0x00}, {0x42, 0x61, 0x51, 0x49, 0x46}, {0x21, 0x41, 0x45, 0x4B, 0x31},
    {0x18, 0x14, 0x12, 0x7F, 0x10}, {0x27, 0x45, 0x45, 0x45, 0x39}, {0x3C, 0x4A, 0x49, 0x49, 0x30},
    {0x01, 0x71, 0x09, 0x05, 0x03}, {0x36, 0x49, 0x49, 0x49, 0x36}, {0x06, 0x49, 0x49, 0x29, 0x1E},
    {0x7E, 0x11, 0x11, 0x11, 0x7E}, {0x7F, 0x49, 0x49, 0x49, 0x36}, {0x3E, 0x41, 0x41, 0x41, 0x22},
    {0x7F, 0x41, 0x41, 0x22, 0x1C}, {0x7F, 0x49, 0x49, 0x49, 0x41}, {0x7F, 0x09, 0x09, 0x09, 0x01},
    {0x3E, 0x41, 0x49, 0x49, 0x7A}, {0x7F, 0x08, 0x08, 0x08, 0x7F}, {0x00, 0x41, 0x7F, 0x41, 0x00},
    {0x20, 0x40, 0x41, 0x3F, 0x01}, {0x7F, 0x08, 0x14, 0x22, 0x41}, {0x7F, 0x40, 0x40, 0x40, 0x40},
    {0x7F, 0x02, 0x0C, 0x02, 0x7F}, {0x7F, 0x04, 0x08, 0x10, 0x7F}, {0x3E, 0x41, 0x41, 0x41, 0x3E},
    {0x7F, 0x09, 0x09, 0x09, 0x06}, {0x3E, 0x41, 0x51, 0x21, 0x5E}, {0x7F, 0x09, 0x19, 0x29, 0x46},
    {0x46, 0x49, 0x49, 0x49, 0x31}, {0x01, 0x01, 0x7F, 0x01, 0x01}, {0x3F, 0x40, 0x40, 0x40, 0x3F},
    {0x1F, 0x20, 0x40, 0x20, 0x1F}, {0x3F, 0x40, 0x38, 0x40, 0x3F}, {0x63, 0x14, 0x08, 0x14, 0x63},
    {0x07, 0x08, 0x70, 0x08, 0x07}, {0x61, 0x51, 0x49, 0x45, 0x43}};

using Bytes = std::vector<std::uint8_t>;

class Canvas {
 public:
  Canvas(unsigned width, unsigned height) : width_(width), height_(height), bytes_(std::size_t{3} * width * height) {
    for (unsigned y = 0; y < height; ++y) {
      for (unsigned x = 0; x < width; ++x) dot(x, y, kGround);
    }
  }

  void dot(unsigned x, unsigned y, Ink ink) {
    if (x >= width_ || y >= height_) return;
    std::uint8_t* at = &bytes_[3 * (std::size_t{y} * width_ + x)];
    at[0] = ink.r, at[1] = ink.g, at[2] = ink.b;
  }

  void write(unsigned x, unsigned y, std::string_view text, Ink ink) {
    for (const char c : text) {
      const auto letter = kLetters.find(static_cast<char>(std::toupper(static_cast<unsigned char>(c))));
      for (unsigned dx = 0; dx < 5 * kLetter; ++dx) {
        for (unsigned dy = 0; dy < 7 * kLetter; ++dy) {
          const unsigned column = kDots[letter == std::string_view::npos ? 0 : letter][dx / kLetter];
          if (column >> (dy / kLetter) & 1) dot(x + dx, y + dy, ink);
        }
      }
      x += 6 * kLetter;
    }
  }

  Picture picture() && { return {width_, height_, 255, std::move(bytes_)}; }

 private:
  unsigned width_, height_;
  Bytes bytes_;
};

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
  const unsigned cell = span * kZoom, line = 7 * kLetter;
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
