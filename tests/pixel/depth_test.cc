// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>

#include <quorvel/pixel.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

// Proves routine(src, dst, n), which makes one sample of each, against rule(sample, index, n). Other counts than whole
// groups are refused.
template <typename In, typename Out, typename Routine, typename Rule>
void proveConversion(const std::vector<unsigned>& lengths, unsigned group, Routine&& routine, Rule&& rule) {
  const auto model = [&](const std::vector<In>& in, std::vector<Out>& out, unsigned n) {
    if (n % group != 0) return -1;
    for (unsigned i = 0; i < n; ++i) out[i] = static_cast<Out>(rule(in[i], i, n));
    return 0;
  };
  proveRows(lengths, [&](unsigned n, Pattern pattern, Guard guard) {
    prove(guard, routine, model, samples<In>(n, pattern), room<Out>(n), n);
  });
}

// (v + half) >> bits, where the sum wraps at 16 bits in groups.
TEST(Depth, RoundedShiftsSaturateInGroupsAndWrapInTheRemainder) {
  for (const int bits : {4, 6}) {
    proveConversion<std::uint16_t, std::uint8_t>(
        rowLengthsAndStreamed(1), 1, bits == 4 ? conv12to8MMX : conv14to8MMX, [=](int v, unsigned i, unsigned n) {
          const int sum = v + (1 << bits) / 2;
          return i < n % 8 ? sum >> bits & 0xFF : std::min((sum & 0xFFFF) >> bits, 255);
        });
  }
}

TEST(Depth, ShiftsByAnyNumberOfBits) {
  for (const int shift : {0, 1, 2, 4, 7, 8, 15, 16, 31, 32, -1}) {
    SCOPED_TRACE(shift);
    const std::vector<unsigned> lengths = shift == 4 ? rowLengthsAndStreamed(2) : std::vector<unsigned>{1, 15, 40, 129};
    const bool allOut = shift < 0 || shift > 15;
    const auto shifts = [=](auto routine) {
      return [=](auto* src, auto* dst, unsigned n) { return routine(src, dst, n, shift); };
    };
    const auto widened = [=](int v, unsigned, unsigned) { return allOut ? 0 : v * (1 << shift); };
    const auto widenSigned = [](auto* src, auto* dst, unsigned n, int bits) {
      return conv8stoN_MMX(reinterpret_cast<const char*>(src), dst, n, bits);
    };
    proveConversion<std::uint16_t, std::uint8_t>(
        lengths, 1, shifts(convNto8MMX), [=](int v, unsigned, unsigned) { return allOut ? 0 : v >> shift & 0xFF; });
    proveConversion<std::uint8_t, std::uint16_t>(lengths, 1, shifts(conv8toN_MMX), widened);
    proveConversion<std::int8_t, std::int16_t>(lengths, 1, shifts(widenSigned), widened);
  }
  proveConversion<std::uint8_t, std::uint16_t>(rowLengths(), 1, conv8to12MMX,
                                               [](int v, unsigned, unsigned) { return v << 4; });
}

TEST(Depth, WholeGroupsWithoutAShift) {
  const auto limited = [](int least, int most) {
    return [=](int v, unsigned, unsigned) { return std::clamp(v, least, most); };
  };
  for (const int finish : {0, 1}) {
    const auto finishes = [=](auto routine) {
      return [=](auto* src, auto* dst, unsigned n) { return routine(src, dst, n, finish); };
    };
    proveConversion<std::uint16_t, std::uint8_t>(rowLengths(), 8, finishes(conv12to8MMX11), limited(0, 255));
    proveConversion<std::uint8_t, std::uint16_t>(rowLengths(), 8, finishes(conv8to12MMX11), limited(0, 255));
  }
  proveConversion<std::int32_t, std::int16_t>(rowLengths(), 4, conv32to16lowMMX, limited(-32768, 32767));
}

// ((v - low, not below 0) * factor) >> 16 of 16-bit values with a sign, limited to a byte.
TEST(Depth, TilesKeepTheirRowsApart) {
  const struct {
    std::uint16_t low;
    double gain;
    std::int16_t factor;  // the gain in 1/1024, its low 16 bits
  } cases[] = {{0, 1.0, 1024},
               {100, 4.0, 4096},
               {4000, 31.9999, 32767},
               {0, 32.0, -32768},
               {7, -1.0, -1024},
               {0, 64.0, 0},
               {65535, 16.0, 16384},
               {3, 0.0009, 0},
               {0, std::nan(""), 0},
               {0, 1e300, 0},
               {0, -std::numeric_limits<double>::infinity(), 0}};
  for (const auto& c : cases) {
    const auto model = [&](std::uint16_t low, double, const Words& in, unsigned width, unsigned height, unsigned stride,
                           Bytes& out) {
      for (unsigned i = 0; i < width * height; ++i) {
        const int above = static_cast<std::int16_t>(std::max(in[i / width * stride + i % width] - low, 0));
        out[i] = static_cast<std::uint8_t>(std::clamp(above * c.factor >> 16, 0, 255));
      }
    };
    onEveryTarget([&] {
      for (const unsigned width : {1u, 7u, 8u, 33u, 100u}) {
        for (const unsigned stride : {width, width + 5}) {
          SCOPED_TRACE(testing::Message() << "gain " << c.gain << ", width " << width);
          prove(Guard::AfterEnd, convTileNto8MMX, model, c.low, c.gain,
                samples<std::uint16_t>(2 * stride + width, Pattern::Random, width), width, 3u, stride,
                room<std::uint8_t>(3 * width));
        }
      }
    });
  }
}

TEST(Depth, FourthComponentAndTheBitsSeen) {
  const auto model = [](const Words& in, unsigned n, Bytes& out) {
    int seen = 0;
    for (std::size_t i = 0; i < n; ++i) seen |= in[4 * i + 3], out[i] = static_cast<std::uint8_t>(in[4 * i + 3]);
    return seen;
  };
  proveRows(rowLengths(), [&](unsigned n, Pattern pattern, Guard guard) {
    Words in = samples<std::uint16_t>(4 * n, pattern);
    if (pattern == Pattern::Structured && n > 0) {  // a single sample that does not fit, at a place of its own
      for (std::size_t i = 0; i < n; ++i) in[4 * i + 3] &= 0x7F;
      in[4 * (n * 5 / 7) + 3] = 0x8001;
    }
    prove(guard, copy16rgba_to8_MMX, model, in, n, room<std::uint8_t>(n));
  });
}

}  // namespace
}  // namespace quorvel::test
