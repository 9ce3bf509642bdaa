// SPDX-License-Identifier: Apache-2.0
// Mirrors, turns and borders are moves of samples: each is held against the source place of every destination sample.
#include <algorithm>

#include <quorvel/geometry.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

struct Size {
  unsigned width, height;
};

// Where the sample of destination column x, row y comes from, in a source of the given size.
using Origin = Size (*)(unsigned x, unsigned y, Size source);

// The destination, rows `pitch` apart, where `origin` says each sample comes from; what lies between rows is kept.
template <typename T>
void gather(const std::vector<T>& src, unsigned srcPitch, Size source, std::vector<T>& dst, unsigned pitch, Size out,
            auto&& origin) {
  for (unsigned y = 0; y < out.height; ++y) {
    for (unsigned x = 0; x < out.width; ++x) {
      const Size at = origin(x, y, source);
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
    const std::vector<T> in = samples<T>(n, pattern);
    prove(
        guard, mirror, [](const auto& src, auto& dst, unsigned) { dst.assign(src.rbegin(), src.rend()); }, in,
        room<T>(n), n);
    prove(
        guard, [=](T* row) { return mirror(row, row, n); }, [](auto& row) { std::reverse(row.begin(), row.end()); },
        in);
  });
}

TEST(Tiles, MirrorsRowsBetweenBuffersAndInPlace) {
  proveMirror(tileMirrorX8_8_EMMX);
  proveMirror(tileMirrorX16_16_EMMX);
}

constexpr Origin kTurns[] = {[](unsigned x, unsigned y, Size s) {
                               return Size{y, s.height - 1 - x};
                             },
                             [](unsigned x, unsigned y, Size s) {
                               return Size{s.width - 1 - x, s.height - 1 - y};
                             },
                             [](unsigned x, unsigned y, Size s) {
                               return Size{s.width - 1 - y, x};
                             }};

template <typename T>
using Turn = int (*)(const T*, unsigned, unsigned, unsigned, T*, unsigned);
constexpr Turn<std::uint8_t> kTurns8[] = {tileTurn90_8_8, tileTurn180_8_8, tileTurn270_8_8};
constexpr Turn<std::uint16_t> kTurns16[] = {tileTurn90_16_16, tileTurn180_16_16, tileTurn270_16_16};

template <typename T>
void proveTurns(const Turn<T> (&turns)[3], Size size, unsigned srcPad, unsigned dstPad) {
  const Guard guard = (size.width + size.height) % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin;
  for (std::size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << ", pads " << srcPad << ", " << dstPad
                                    << ", " << sizeof(T) * 8 << " bits, turned by " << 90 * (i + 1));
    const Size out = i == 1 ? size : Size{size.height, size.width};
    const unsigned srcPitch = size.width + srcPad;
    const auto model = [&](const auto& src, unsigned, unsigned, unsigned, auto& dst, unsigned pitch) {
      gather(src, srcPitch, size, dst, pitch, out, kTurns[i]);
    };
    const std::vector<T> in = samples<T>(roomOf(size, srcPitch), Pattern::Structured);
    prove(guard, turns[i], model, in, srcPitch, size.width, size.height, room<T>(roomOf(out, out.width + dstPad)),
          out.width + dstPad);
    if (i != 1) continue;
    prove(
        guard, [&](T* tile) { return turns[i](tile, srcPitch, size.width, size.height, tile, srcPitch); },
        [&](auto& tile) { gather(in, srcPitch, size, tile, srcPitch, size, kTurns[i]); }, in);
  }
}

TEST(Tiles, TurnsEverySizeBetweenPaddedRows) {
  onEveryTarget([] {
    for (unsigned height = 0; height <= 70; ++height) {
      for (unsigned width = 0; width <= 70 && !HasFailure(); ++width) {
        proveTurns(kTurns8, {width, height}, width % 3 * 5, height % 3 * 7);
        proveTurns(kTurns16, {width, height}, width % 3 * 5, height % 3 * 7);
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
    for (const Size size : {Size{1, 1}, {1, 4}, {5, 1}, {37, 3}, {0, 1}, {1, 0}}) {
      SCOPED_TRACE(testing::Message() << c << ", " << size.width << " x " << size.height);
      const Size out = {left + size.width + right, top + size.height + bottom};
      const unsigned dstPitch = out.width + pad;
      const auto widen = [&](const auto& src, unsigned srcPitch, auto& dst) {
        if (size.width == 0 || size.height == 0) return -1;
        gather(src, srcPitch, size, dst, dstPitch, out, [=](unsigned x, unsigned y, Size s) {
          return Size{std::clamp(x, left, left + s.width - 1) - left, std::clamp(y, top, top + s.height - 1) - top};
        });
        return 0;
      };
      const auto call = [&](T* src, unsigned srcPitch, T* dst) {
        return border(src, srcPitch, size.width, size.height, dst, dstPitch, left, top, right, bottom);
      };
      prove(Guard::AfterEnd, call, widen, samples<T>(roomOf(size, size.width + pad), Pattern::Random), size.width + pad,
            room<T>(roomOf(out, dstPitch)));
      // In its place already.
      prove(
          Guard::AfterEnd, [&](T* dst) { return call(dst + top * dstPitch + left, dstPitch, dst); },
          [&](auto& dst) {
            const auto place = dst.begin() + std::min<std::ptrdiff_t>(top * dstPitch + left, std::ssize(dst));
            return widen(std::vector<T>(place, dst.end()), dstPitch, dst);
          },
          samples<T>(roomOf(out, dstPitch), Pattern::Random));
    }
  }
}

TEST(Tiles, BordersRepeatTheEdges) {
  proveBorder<std::uint8_t>(tileBorder_8_8);
  proveBorder<std::uint16_t>(tileBorder_16_16);
}

}  // namespace
}  // namespace quorvel::test
