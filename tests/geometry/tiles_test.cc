// SPDX-License-Identifier: Apache-2.0
// Mirrors, turns and borders are moves of samples: each is held against the source place of every destination sample.
#include <algorithm>

#include <quorvel/geometry.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

struct Size {
  unsigned width, height;
  std::size_t room(unsigned pitch) const {
    return width == 0 || height == 0 ? 0 : std::size_t{height - 1} * pitch + width;
  }
};

// The destination, rows `pitch` apart, where origin(x, y) says where each sample comes from; what lies between rows is
// kept.
template <typename T>
void gather(const std::vector<T>& src, unsigned srcPitch, std::vector<T>& dst, unsigned pitch, Size out,
            auto&& origin) {
  for (unsigned y = 0; y < out.height; ++y) {
    for (unsigned x = 0; x < out.width; ++x) {
      const Size at = origin(x, y);
      dst[y * pitch + x] = src[at.height * srcPitch + at.width];
    }
  }
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

template <typename T>
using Turn = int (*)(const T*, unsigned, unsigned, unsigned, T*, unsigned);
constexpr Turn<std::uint8_t> kTurns8[] = {tileTurn90_8_8, tileTurn180_8_8, tileTurn270_8_8};
constexpr Turn<std::uint16_t> kTurns16[] = {tileTurn90_16_16, tileTurn180_16_16, tileTurn270_16_16};

template <typename T>
void proveTurns(const Turn<T> (&turns)[3], Size size, unsigned srcPad, unsigned dstPad) {
  const Guard guard = (size.width + size.height) % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin;
  const unsigned srcPitch = size.width + srcPad;
  const std::vector<T> in = samples<T>(size.room(srcPitch), Pattern::Structured);
  for (std::size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << ", pads " << srcPad << ", " << dstPad
                                    << ", " << sizeof(T) * 8 << " bits, turned by " << 90 * (i + 1));
    const Size out = i == 1 ? size : Size{size.height, size.width};
    const unsigned lastX = size.width - 1, lastY = size.height - 1, dstPitch = out.width + dstPad;
    const auto origin = [=](unsigned x, unsigned y) {
      return i == 0 ? Size{y, lastY - x} : i == 1 ? Size{lastX - x, lastY - y} : Size{lastX - y, x};
    };
    prove(
        guard, turns[i],
        [&](const auto& src, unsigned, unsigned, unsigned, auto& dst, unsigned) {
          gather(src, srcPitch, dst, dstPitch, out, origin);
        },
        in, srcPitch, size.width, size.height, room<T>(out.room(dstPitch)), dstPitch);
    if (i != 1) continue;
    prove(
        guard, [&](T* tile) { return turns[i](tile, srcPitch, size.width, size.height, tile, srcPitch); },
        [&](auto& tile) { gather(in, srcPitch, tile, srcPitch, size, origin); }, in);
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
      const unsigned srcPitch = size.width + pad, dstPitch = out.width + pad, place = top * dstPitch + left;
      const auto widen = [&](const auto& src, unsigned pitch, auto& dst) {
        if (size.width == 0 || size.height == 0) return -1;
        gather(src, pitch, dst, dstPitch, out, [=](unsigned x, unsigned y) {
          return Size{std::clamp(x, left, left + size.width - 1) - left,
                      std::clamp(y, top, top + size.height - 1) - top};
        });
        return 0;
      };
      const auto call = [&](T* src, unsigned pitch, T* dst) {
        return border(src, pitch, size.width, size.height, dst, dstPitch, left, top, right, bottom);
      };
      prove(Guard::AfterEnd, call, widen, samples<T>(size.room(srcPitch), Pattern::Random), srcPitch,
            room<T>(out.room(dstPitch)));
      // In its place already.
      prove(
          Guard::AfterEnd, [&](T* dst) { return call(dst + place, dstPitch, dst); },
          [&](auto& dst) {
            const auto from = dst.begin() + std::min<std::ptrdiff_t>(place, std::ssize(dst));
            return widen(std::vector<T>(from, dst.end()), dstPitch, dst);
          },
          samples<T>(out.room(dstPitch), Pattern::Random));
    }
  }
}

TEST(Tiles, BordersRepeatTheEdges) {
  proveBorder<std::uint8_t>(tileBorder_8_8);
  proveBorder<std::uint16_t>(tileBorder_16_16);
}

}  // namespace
}  // namespace quorvel::test
