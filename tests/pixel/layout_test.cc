// SPDX-License-Identifier: Apache-2.0
// Samples that change places: planes into pixels, pixels into planes, pixels into other pixels.
#include <quorvel/pixel.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

// A routine that moves the channels of all its sources, counted through, into its destinations in the given orders. A
// channel of -1 is 0 in every pixel. Fewer pixels than `least` are refused.
template <typename T, std::size_t kSources, std::size_t kTargets, typename Routine>
void proveMove(Routine routine, const unsigned (&channels)[kSources], const std::vector<int> (&orders)[kTargets],
               unsigned least = 0) {
  proveRows(rowLengthsAndStreamed(3), [&](unsigned n, Pattern pattern, Guard guard) {
    const auto model = [&](auto&... arguments) {
      std::array<std::vector<T>*, kSources + kTargets> buffers;
      std::size_t count = 0;
      const auto collect = [&]<typename A>(A& argument) {
        if constexpr (!std::is_arithmetic_v<A>) buffers[count++] = &argument;
      };
      (collect(arguments), ...);
      if (n < least) return -1;
      for (std::size_t t = 0; t < kTargets; ++t) {
        for (std::size_t k = 0; k < orders[t].size(); ++k) {
          auto channel = static_cast<unsigned>(std::max(orders[t][k], 0));
          std::size_t source = 0;
          while (channel >= channels[source]) channel -= channels[source++];
          for (std::size_t i = 0; i < n; ++i) {
            const T sample = (*buffers[source])[channels[source] * i + channel];
            (*buffers[kSources + t])[orders[t].size() * i + k] = orders[t][k] < 0 ? T{0} : sample;
          }
        }
      }
      return 0;
    };
    [&]<std::size_t... kS, std::size_t... kT>(std::index_sequence<kS...>, std::index_sequence<kT...>) {
      prove(guard, routine, model, samples<T>(channels[kS] * n, pattern, kS + 1)..., room<T>(orders[kT].size() * n)...,
            n);
    }
    (std::make_index_sequence<kSources>(), std::make_index_sequence<kTargets>());
  });
}

using Byte = std::uint8_t;
using Word = std::uint16_t;

TEST(Layout, WeavesPlanes) {
  proveMove<Byte>(copy8_3_1, {1, 1, 1}, {{0, 1, 2}});
  proveMove<Byte>(copy8_4_1, {1, 1, 1}, {{0, 1, 2, -1}});
  proveMove<Word>(copy16_3_1, {1, 1, 1}, {{0, 1, 2}});
}

TEST(Layout, ReordersPixelsAndJoinsAFourthChannel) {
  const auto toFour = [](auto routine) {
    return [=](auto* pixels, auto* alpha, auto* dst, unsigned n) { routine(pixels, alpha, n, dst); };
  };
  proveMove<Byte>(copy8_3to4, {3}, {{2, 1, 0, -1}});
  proveMove<Byte>(copy8_3to4_rgb, {3}, {{0, 1, 2, -1}});
  proveMove<Byte>([](auto* src, auto* dst, unsigned n) { copy8rgba_to8rgb(src, n, dst); }, {4}, {{0, 1, 2}});
  proveMove<Byte>(toFour(copy8rgb_8a_to8rgba), {3, 1}, {{0, 1, 2, 3}});
  proveMove<Byte>(toFour(copy8rgba_replace_8a_SSE), {4, 1}, {{0, 1, 2, 4}});
}

TEST(Layout, TakesPixelsApart) {
  const auto fromWords = [](auto* src, auto... rest) {
    return copy8_4_toPlane(reinterpret_cast<std::uint32_t*>(src), rest...);
  };
  proveMove<Byte>(copy8_1_3, {3}, {{0}, {1}, {2}});
  proveMove<Byte>(copy8_3_toPlane, {3}, {{0}, {1}, {2}}, 2);
  proveMove<Word>(copy16_3_toPlane, {3}, {{0}, {1}, {2}}, 4);
  proveMove<Byte>(fromWords, {4}, {{0}, {1}, {2}}, 2);
  for (const int c : {0, 1, 2}) {
    proveMove<Byte>([c](auto* src, auto* dst, unsigned n) { copy8_1_1(c, src, dst, n); }, {3}, {{c}});
  }
}

TEST(Layout, ReplacesTheFourthChannelByWordsAndInPlace) {
  const auto model = [](const Bytes& pixels, const auto& alpha, unsigned n, Bytes& out) {
    out = pixels;
    for (std::size_t i = 0; i < n; ++i) out[4 * i + 3] = static_cast<std::uint8_t>(std::min<unsigned>(alpha[i], 255));
  };
  const auto inPlace = [](auto routine) {
    return [=](auto&& pixels, auto&& alpha, unsigned n) { routine(pixels, alpha, n, pixels); };
  };
  proveRows(rowLengthsAndStreamed(4), [&](unsigned n, Pattern pattern, Guard guard) {
    const Bytes rgba = samples<std::uint8_t>(4 * n, pattern), alpha = samples<std::uint8_t>(n, pattern, 3);
    // Words around the limit as often as far above it.
    const Words wide = samples<std::uint16_t>(n, pattern, 6, 0, n % 2 == 0 ? 300 : 65535);
    prove(guard, copy8rgba_replace_16a_SSE, model, rgba, wide, n, room<std::uint8_t>(4 * n));
    prove(guard, inPlace(copy8rgba_replace_8a_SSE_), inPlace(model), rgba, alpha, n);
    prove(guard, inPlace(copy8rgba_replace_16a_SSE_), inPlace(model), rgba, wide, n);
  });
}

TEST(Layout, TilesAreRowsOfALargerImage) {
  const auto model = [](const Bytes& pixels, auto& d0, auto& d1, auto& d2, unsigned stride, unsigned width,
                        unsigned height) {
    if (width % 2 != 0) return -1;
    for (unsigned i = 0; i < width * height; ++i) {
      const std::uint8_t* pixel = &pixels[i / width * stride + i % width * 3];
      d0[i] = pixel[0], d1[i] = pixel[1], d2[i] = pixel[2];
    }
    return 0;
  };
  onEveryTarget([&] {
    for (const unsigned width : {0u, 2u, 5u, 16u, 62u, 130u, 1000u}) {
      for (const unsigned padding : {0u, 1u, 7u, 300u}) {
        // The last case is large enough to be streamed, row by row.
        const unsigned height = width == 1000 ? 1500 : 5, stride = 3 * width + padding;
        const Bytes image = samples<std::uint8_t>(height * stride - (width == 0 ? 0 : padding), Pattern::Random);
        const auto proveTile = [&](auto routine, const auto& plane) {
          prove(Guard::AfterEnd, routine, model, image, plane, plane, plane, stride, width, height);
        };
        SCOPED_TRACE(testing::Message() << width << " + " << padding);
        proveTile(copy8_3_toPlane_tile, room<std::uint8_t>(width * height));
        proveTile(copy8_16_3_toPlane, room<std::uint16_t>(width * height));
      }
    }
  });
}

TEST(Layout, OneChannelOfWordsGoesByBytesInGroupsAndByWordsBehindThem) {
  std::vector<unsigned> lengths = rowLengthsAndStreamed(2);
  std::erase_if(lengths, [](unsigned n) { return n > 40 && n <= kLongestRow; });
  proveRows(lengths, [](unsigned n, Pattern pattern, Guard guard) {
    const unsigned whole = n / 8 * 8;
    for (int channel = 0; channel <= (n > kLongestRow ? 1 : 5); ++channel) {
      const auto c = static_cast<unsigned>(channel);
      // Just the words that the rule names: up to the last group's last word, or the last remaining pixel's.
      const unsigned groupEnd = whole == 0 ? 0 : (6 * (whole - 1) + c + 3) / 2, restEnd = 3 * (n - 1) + c + 1;
      const auto model = [=](int, const Words& in, Words& out, unsigned count) {
        for (unsigned i = 0; i < count; ++i) {
          const unsigned byte = i < whole ? 6 * i + c : 2 * (3 * i + c), word = in[byte / 2];
          out[i] = static_cast<std::uint16_t>(byte % 2 == 0 ? word : word / 256 + in[byte / 2 + 1] % 256u * 256);
        }
      };
      prove(guard, copy16_1_1, model, channel,
            samples<std::uint16_t>(n == whole ? groupEnd : std::max(groupEnd, restEnd), pattern),
            room<std::uint16_t>(n), n);
    }
  });
}

TEST(Layout, FieldsOfTwelveByteRecords) {
  constexpr unsigned kRecords = 37;
  const auto model = [](int offset, unsigned size, const Bytes& in, Bytes& out, unsigned n) {
    if (offset < 0 || static_cast<unsigned>(offset) + size > 12) return -1;
    for (unsigned i = 0; i < size * n; ++i) out[i] = in[i / size * 12 + static_cast<unsigned>(offset) + i % size];
    return 0;
  };
  const Bytes records = samples<std::uint8_t>(12 * kRecords, Pattern::Random);
  for (int offset = -1; offset <= 13; ++offset) {
    for (unsigned size = 0; size <= 13; ++size) {
      SCOPED_TRACE(testing::Message() << offset << ", " << size);
      prove(Guard::AfterEnd, copy1_12N, model, offset, size, records, room<std::uint8_t>(size * kRecords), kRecords);
    }
  }
}

// Red above green above blue, five bits each but for green, where the routine says so.
TEST(Layout, MakesColourWords) {
  const auto model = [](bool bmp) {
    return [=](const Bytes& in, Words& out, unsigned n, int greenBits) {
      if (greenBits != 5 && greenBits != 6) return -1;
      for (std::size_t i = 0; i < n; ++i) {
        const std::uint8_t* p = &in[(bmp ? 4 : 3) * i];
        const unsigned green = p[1] * (1u << greenBits) / 256;
        out[i] = static_cast<std::uint16_t>(((p[bmp ? 2 : 0] / 8u << greenBits) + green) * 32 + p[bmp ? 0 : 2] / 8u);
      }
      return 0;
    };
  };
  proveRows(rowLengthsAndStreamed(2), [&](unsigned n, Pattern pattern, Guard guard) {
    const Bytes rgb = samples<std::uint8_t>(3 * n, pattern), bgrx = samples<std::uint8_t>(4 * n, pattern);
    const auto fromRgb = [](auto* src, auto* dst, unsigned count, int greenBits) {
      return (greenBits == 5 ? RGBtoHiColor555_MMX : RGBtoHiColor565_MMX)(src, dst, count);
    };
    for (const int bits : {5, 6}) prove(guard, fromRgb, model(false), rgb, room<std::uint16_t>(n), n, bits);
    for (const int bits : {4, 5, 6})
      prove(guard, BMP32toHiColor_MMX, model(true), bgrx, room<std::uint16_t>(n), n, bits);
  });
}

TEST(Layout, SpreadsRowsOfBits) {
  const auto model = [](const Bytes& bits, Bytes& out, unsigned stride, unsigned width, unsigned height) {
    for (unsigned i = 0; i < width * height; ++i) {
      out[i] = bits[i / width * stride + i % width / 8] & 0x80 >> i % width % 8 ? 255 : 0;
    }
  };
  for (unsigned width = 0; width <= 40; ++width) {
    const unsigned rowBytes = (width + 7) / 8, stride = rowBytes + 2;
    prove(Guard::AfterEnd, convertBit1To8, model, samples<std::uint8_t>(2 * stride + rowBytes, Pattern::Random, width),
          room<std::uint8_t>(3 * width), stride, width, 3u);
  }
}

}  // namespace
}  // namespace quorvel::test
