// SPDX-License-Identifier: Apache-2.0
// How an output raster is walked: rows, and runs of pixels short enough for their source to be addressed in 32 bits.
#ifndef QUORVEL_GEOMETRY_RESAMPLE_WALK_H_
#define QUORVEL_GEOMETRY_RESAMPLE_WALK_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace quorvel {

// A position and its step, 16.16, modulo 2^32.
struct Position {
  std::uint32_t x, y;
  Position& operator+=(const Position& step) {
    x += step.x;
    y += step.y;
    return *this;
  }
};
inline Position operator*(const Position& step, std::size_t n) {
  const auto times = static_cast<std::uint32_t>(n);
  return {step.x * times, step.y * times};
}
inline Position operator+(Position position, const Position& step) { return position += step; }
inline int wholePart(std::uint32_t position) { return static_cast<std::int32_t>(position) >> 16; }

// The pixels of one output row, or some of them, and the source that they are made from.
struct Line {
  const std::uint8_t* src;
  std::ptrdiff_t pitch;  // in bytes
  int rowMask;           // of a ring, -1 where there is none
  Position at, step;
  std::uintptr_t ahead = 0;  // bytes from a sample to one that a row of output soon to come needs

  const std::uint8_t* row(int y) const { return src + (y & rowMask) * pitch; }
};

inline constexpr int kBadPitch = -2, kUnhandledMethod = -3;
inline int ringMask(int rows) { return rows > 0 ? rows - 1 : -1; }

// The arguments that all entry points have in common.
template <typename In, typename Out>
struct Mapping {
  const In* src;
  int x, y, dxColumn, dyColumn, dxRow, dyRow, ddx, ddy;
  unsigned srcPitch;
  int srcRows;
  Out* dst;
  unsigned width;
  int rows, dstPitch;

  // Calls body(line, count, dst) for pieces that cover every output row, prepare(line) having been called for the row.
  // The pieces of a strip of columns come one below the other: each row of a strip finds most of its source in the
  // caches, as the strip above it lies in few rows of the source.
  template <typename Prepare, typename Body>
  void forRows(Prepare&& prepare, Body&& body) const {
    const auto position = [](int px, int py) {
      return Position{static_cast<std::uint32_t>(px), static_cast<std::uint32_t>(py)};
    };
    // Between 2 and 8 rows measured alike; the more of them, the surer the samples are there in time.
    constexpr std::int64_t kRowsAhead = 8;
    const auto whole = [](int step) { return static_cast<std::uintptr_t>(kRowsAhead * step / 65536); };
    const Line first = {reinterpret_cast<const std::uint8_t*>(src),
                        static_cast<std::ptrdiff_t>(srcPitch),
                        ringMask(srcRows),
                        position(x, y) * 4096,
                        position(dxColumn, dyColumn),
                        whole(dyRow) * srcPitch + whole(dxRow) * sizeof(In)};
    const Position nextRow = position(dxRow, dyRow), nextStep = position(ddx, ddy);
    const std::size_t strip = stripWidth();
    for (std::size_t column = 0; column < width; column += strip) {
      const std::size_t count = std::min(strip, width - column);
      Line row = first;
      Out* out = dst + column;
      for (int j = 0; j < rows; ++j, out += dstPitch) {
        Line line = row;
        prepare(line);
        line.at += line.step * column;
        body(line, count, out);
        row.at += nextRow;
        row.step += nextStep;
      }
    }
  }

 private:
  // As many columns as make a strip cross kSourceRows rows, whose pages an address cache of the first level holds.
  // Where that is less than kWide, the strip that measured best, of 64 to 4096 columns, from 10 to 90 degrees, with
  // sources beyond the second-level cache: wider ones lose up to six times, narrower ones little.
  std::size_t stripWidth() const {
    constexpr std::int64_t kSourceRows = 80, kWide = 1024, kStrip = 128;
    const auto steepness = [this](int row) { return std::abs(dyColumn + row * static_cast<std::int64_t>(ddy)); };
    const std::int64_t steepest = std::max({steepness(0), steepness(rows - 1), std::int64_t{1}});
    const std::int64_t level = (kSourceRows << 16) / steepest / kStrip * kStrip;
    return static_cast<std::size_t>(std::min<std::int64_t>(level < kWide ? kStrip : level, width));
  }
};

// Where y is after n - 1 steps, without the wrap.
inline std::int64_t lastY(const Line& line, std::size_t n) {
  return static_cast<std::int32_t>(line.at.y) +
         static_cast<std::int64_t>(n - 1) * static_cast<std::int32_t>(line.step.y);
}

// The rows of n pixels, `above` and `below` more included; `apart` where they are not one block of rows, because y
// wraps or the ring ends in between.
struct RowSpan {
  std::int64_t first, last;
  bool apart;

  RowSpan(const Line& line, std::size_t n, int above, int below) {
    const std::int64_t end = lastY(line, n), begin = static_cast<std::int32_t>(line.at.y);
    first = (std::min(begin, end) >> 16) - above;
    last = (std::max(begin, end) >> 16) + below;
    const bool wraps = end != static_cast<std::int32_t>(end);
    apart = wraps || ((first ^ last) & ~static_cast<std::int64_t>(line.rowMask)) != 0;
  }
};

}  // namespace quorvel

#endif  // QUORVEL_GEOMETRY_RESAMPLE_WALK_H_
