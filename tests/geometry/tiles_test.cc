// SPDX-License-Identifier: Apache-2.0
// Mirrors, turns and borders are moves of samples: each is held against the source place of every destination sample.
#include <algorithm>
#include <functional>
#include <string>

#include <quorvel/geometry.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

struct Size {
  unsigned width, height;
};

// Where the sample of destination column x, row y comes from, in a source of the given size.
using Origin = std::function<Size(int x, int y, Size source)>;

// The destination, rows `pitch` apart, where `origin` says each sample comes from; what lies between rows is kept.
template <typename T>
void gather(const std::vector<T>& src, unsigned srcPitch, Size source, std::vector<T>& dst, unsigned pitch, Size out,
            const Origin& origin) {
  for (unsigned y = 0; y < out.height; ++y) {
    for (unsigned x = 0; x < out.width; ++x) {
      const Size at = origin(static_cast<int>(x), static_cast<int>(y), source);
      dst[y * pitch + x] = src[at.height * srcPitch + at.width];
    }
  }
}

std::size_t roomOf(Size size, unsigned pitch) {
  return size.width == 0 || size.height == 0 ? 0 : std::size_t{size.height - 1} * pitch + size.width;
}

template <typename T>
void proveMirror(int (*mirror)(const T*, T*, unsigned)) {
  proveRows(rowLengths(), [=](unsigned n, Pattern pattern, Guard guard) {
    const std::vector<T> in = samples<T>(n, pattern), expected(in.rbegin(), in.rend());
    GuardedBuffer<T> src(in, guard), dst(n, guard);
    EXPECT_EQ(mirror(src.data(), dst.data(), n), 0);
    EXPECT_TRUE(holds(dst, expected));
    EXPECT_EQ(mirror(src.data(), src.data(), n), 0);
    EXPECT_TRUE(holds(src, expected)) << "in place";
  });
}

TEST(Tiles, MirrorsRowsBetweenBuffersAndInPlace) {
  proveMirror(tileMirrorX8_8_EMMX);
  proveMirror(tileMirrorX16_16_EMMX);
}

template <typename T>
using Turn = int (*)(const T*, unsigned, unsigned, unsigned, T*, unsigned);

const Origin kQuarter = [](int x, int y, Size s) { return Size{static_cast<unsigned>(y), s.height - 1 - x}; };
const Origin kHalf = [](int x, int y, Size s) { return Size{s.width - 1 - x, s.height - 1 - y}; };
const Origin kThreeQuarters = [](int x, int y, Size s) { return Size{s.width - 1 - y, static_cast<unsigned>(x)}; };

template <typename T>
void proveTurn(Turn<T> turn, const Origin& origin, bool swapsSides, Size size, unsigned srcPad, unsigned dstPad,
               Guard guard) {
  const Size out = swapsSides ? Size{size.height, size.width} : size;
  const unsigned srcPitch = size.width + srcPad, dstPitch = out.width + dstPad;
  const std::vector<T> in = samples<T>(roomOf(size, srcPitch), Pattern::Structured);
  std::vector<T> expected(roomOf(out, dstPitch), T{0x5A});
  GuardedBuffer<T> src(in, guard), dst(expected, guard);
  gather(in, srcPitch, size, expected, dstPitch, out, origin);
  ASSERT_EQ(turn(src.data(), srcPitch, size.width, size.height, dst.data(), dstPitch), 0);
  ASSERT_TRUE(holds(dst, expected)) << size.width << " x " << size.height << ", pads " << srcPad << ", " << dstPad;
  if (swapsSides) return;
  std::vector<T> inPlace = in;
  gather(in, srcPitch, size, inPlace, srcPitch, out, origin);
  ASSERT_EQ(turn(src.data(), srcPitch, size.width, size.height, src.data(), srcPitch), 0);
  ASSERT_TRUE(holds(src, inPlace)) << size.width << " x " << size.height << " in place, pad " << srcPad;
}

template <typename T>
void proveTurns(const std::vector<Turn<T>>& turns, Size size, unsigned srcPad, unsigned dstPad) {
  const Guard guard = (size.width + size.height) % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin;
  const Origin* const origins[] = {&kQuarter, &kHalf, &kThreeQuarters};
  for (std::size_t i = 0; i < turns.size(); ++i) {
    SCOPED_TRACE(testing::Message() << sizeof(T) * 8 << " bits, turned by " << 90 * (i + 1));
    proveTurn<T>(turns[i], *origins[i], i != 1, size, srcPad, dstPad, guard);
    if (testing::Test::HasFatalFailure()) return;
  }
}

const std::vector<Turn<std::uint8_t>> kTurns8 = {tileTurn90_8_8, tileTurn180_8_8, tileTurn270_8_8};
const std::vector<Turn<std::uint16_t>> kTurns16 = {tileTurn90_16_16, tileTurn180_16_16, tileTurn270_16_16};

TEST(Tiles, TurnsEverySizeBetweenPaddedRows) {
  onEveryTarget([] {
    for (unsigned height = 0; height <= 70; ++height) {
      for (unsigned width = 0; width <= 70; ++width) {
        const unsigned srcPad = width % 3 * 5, dstPad = height % 3 * 7;
        proveTurns(kTurns8, {width, height}, srcPad, dstPad);
        proveTurns(kTurns16, {width, height}, srcPad, dstPad);
        if (testing::Test::HasFailure()) return;
      }
    }
  });
}

// From here on results go past the caches, where their lines are whole ones.
TEST(Tiles, TurnsLargeTilesOnBothRoads) {
  onEveryTarget([] {
    for (const unsigned dstPad : {0u, 32u, 3u}) {
      proveTurns(kTurns8, {2112, 2048}, 1, dstPad);
      proveTurns(kTurns16, {1504, 1472}, 1, dstPad);
      proveTurns(kTurns16, {1475, 1504}, 0, dstPad);
    }
  });
}

template <typename T, typename Routine>
void proveBorder(Routine border) {
  for (unsigned c = 0; c < 3 * 3 * 3 * 3 * 2; ++c) {
    const unsigned left = c % 3 * 4, top = c / 3 % 3, right = c / 9 % 3 * 7, bottom = c / 27 % 3, pad = c / 81 * 3;
    for (const Size size : {Size{1, 1}, {1, 4}, {5, 1}, {37, 3}}) {
      const Size out = {left + size.width + right, top + size.height + bottom};
      const unsigned srcPitch = size.width + pad, dstPitch = out.width + pad;
      const std::vector<T> in = samples<T>(roomOf(size, srcPitch), Pattern::Random);
      std::vector<T> expected(roomOf(out, dstPitch), T{0x5A});
      GuardedBuffer<T> src(in), dst(expected), placed(expected);
      gather(in, srcPitch, size, expected, dstPitch, out, [=](int x, int y, Size s) {
        const auto within = [](int at, unsigned before, unsigned extent) {
          return static_cast<unsigned>(std::clamp(at - static_cast<int>(before), 0, static_cast<int>(extent) - 1));
        };
        return Size{within(x, left, s.width), within(y, top, s.height)};
      });
      ASSERT_EQ(border(src.data(), srcPitch, size.width, size.height, dst.data(), dstPitch, left, top, right, bottom),
                0);
      ASSERT_TRUE(holds(dst, expected)) << c;
      T* const place = placed.data() + top * dstPitch + left;
      for (unsigned i = 0; i < size.width * size.height; ++i) {
        place[i / size.width * dstPitch + i % size.width] = in[i / size.width * srcPitch + i % size.width];
      }
      ASSERT_EQ(border(place, dstPitch, size.width, size.height, placed.data(), dstPitch, left, top, right, bottom), 0);
      ASSERT_TRUE(holds(placed, expected)) << c << " in its place";
    }
  }
  GuardedBuffer<T> dst(4);
  EXPECT_EQ(border(dst.data(), 1, 0, 1, dst.data(), 2, 1, 0, 1, 0), -1);
  EXPECT_EQ(border(dst.data(), 1, 1, 0, dst.data(), 2, 1, 0, 0, 2), -1);
  EXPECT_TRUE(dst.untouched());
}

TEST(Tiles, BordersRepeatTheEdges) {
  proveBorder<std::uint8_t>(tileBorder_8_8);
  proveBorder<std::uint16_t>(tileBorder_16_16);
}

}  // namespace
}  // namespace quorvel::test
