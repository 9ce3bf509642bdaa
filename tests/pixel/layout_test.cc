// SPDX-License-Identifier: Apache-2.0
// Samples that change places: planes into pixels, pixels into planes, pixels into other pixels.
#include <quorvel/pixel.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

std::uint8_t byteOf(unsigned v) { return static_cast<std::uint8_t>(v); }

// Model of what makes pixels: out of planes where every source is one, or of the `channels` of another picture. A
// channel of -1 is 0 in every pixel.
template <typename T>
void weave(const std::vector<const std::vector<T>*>& sources, std::size_t channels, const std::vector<int>& order,
           std::vector<T>& out, unsigned n) {
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t k = 0; k < order.size(); ++k) {
      const auto wanted = static_cast<std::size_t>(order[k]);
      const std::size_t source = sources.size() == 1 ? 0 : wanted, at = sources.size() == 1 ? channels * i + wanted : i;
      out[order.size() * i + k] = order[k] < 0 ? T{0} : (*sources[source])[at];
    }
  }
}

// Model of what takes the first three of `channels` apart, from rows `stride` samples apart; `refused` says for which
// widths it does not.
template <typename Refused>
auto apart(unsigned channels, Refused refused) {
  return [=](const auto& pixels, auto& d0, auto& d1, auto& d2, unsigned stride, unsigned width, unsigned height) {
    if (refused(width)) return -1;
    for (unsigned i = 0; i < width * height; ++i) {
      const auto* pixel = &pixels[i / width * stride + i % width * channels];
      d0[i] = pixel[0], d1[i] = pixel[1], d2[i] = pixel[2];
    }
    return 0;
  };
}
auto below(unsigned least) {
  return [=](unsigned n) { return n < least; };
}
bool isOdd(unsigned n) { return n % 2 != 0; }

TEST(Layout, WeavesPlanes) {
  const auto weave3 = [](const auto& a, const auto& b, const auto& c, auto& out, unsigned n) {
    weave({&a, &b, &c}, 1, {0, 1, 2}, out, n);
  };
  const auto weave3AndZero = [](const auto& a, const auto& b, const auto& c, auto& out, unsigned n) {
    weave({&a, &b, &c}, 1, {0, 1, 2, -1}, out, n);
  };
  proveRows(rowLengthsAndStreamed(3), [&](unsigned n, Pattern pattern, Guard guard) {
    const auto bytes = [=](unsigned seed) { return samples<std::uint8_t>(n, pattern, seed); };
    const auto words = [=](unsigned seed) { return samples<std::uint16_t>(n, pattern, seed); };
    prove(guard, copy8_3_1, weave3, bytes(1), bytes(2), bytes(3), room<std::uint8_t>(3 * n), n);
    prove(guard, copy8_4_1, weave3AndZero, bytes(1), bytes(2), bytes(3), room<std::uint8_t>(4 * n), n);
    prove(guard, copy16_3_1, weave3, words(1), words(2), words(3), room<std::uint16_t>(3 * n), n);
  });
}

TEST(Layout, JoinsAndReplacesTheFourthChannel) {
  const auto joined = [](unsigned channels) {
    return [=](const auto& pixels, const auto& alpha, unsigned n, Bytes& out) {
      for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t k = 0; k < 3; ++k) out[4 * i + k] = pixels[channels * i + k];
        out[4 * i + 3] = byteOf(std::min<unsigned>(alpha[i], 255));
      }
    };
  };
  // The one form into another buffer, the other in place.
  const auto inPlace = [](auto routine) {
    return [=](auto&& pixels, auto&& alpha, unsigned n) { routine(pixels, alpha, n, pixels); };
  };
  proveRows(rowLengthsAndStreamed(4), [&](unsigned n, Pattern pattern, Guard guard) {
    const Bytes rgb = samples<std::uint8_t>(3 * n, pattern), rgba = samples<std::uint8_t>(4 * n, pattern, 2);
    const Bytes alpha = samples<std::uint8_t>(n, pattern, 3), out = room<std::uint8_t>(4 * n);
    // Words around the limit as often as far above it.
    const Words wide = samples<std::uint16_t>(n, pattern, 6, 0, n % 2 == 0 ? 300 : 65535);
    prove(guard, copy8rgb_8a_to8rgba, joined(3), rgb, alpha, n, out);
    prove(guard, copy8rgba_replace_8a_SSE, joined(4), rgba, alpha, n, out);
    prove(guard, copy8rgba_replace_16a_SSE, joined(4), rgba, wide, n, out);
    prove(guard, inPlace(copy8rgba_replace_8a_SSE_), inPlace(joined(4)), rgba, alpha, n);
    prove(guard, inPlace(copy8rgba_replace_16a_SSE_), inPlace(joined(4)), rgba, wide, n);
  });
}

TEST(Layout, ReordersPixels) {
  const auto reordered = [](std::size_t channels, std::vector<int> order) {
    return [=](const Bytes& in, Bytes& out, unsigned n) { weave({&in}, channels, order, out, n); };
  };
  proveRows(rowLengthsAndStreamed(3), [&](unsigned n, Pattern pattern, Guard guard) {
    const Bytes three = samples<std::uint8_t>(3 * n, pattern), four = samples<std::uint8_t>(4 * n, pattern);
    prove(guard, copy8_3to4, reordered(3, {2, 1, 0, -1}), three, room<std::uint8_t>(4 * n), n);
    prove(guard, copy8_3to4_rgb, reordered(3, {0, 1, 2, -1}), three, room<std::uint8_t>(4 * n), n);
    prove(
        guard, [](auto* src, auto* dst, unsigned count) { copy8rgba_to8rgb(src, count, dst); }, reordered(4, {0, 1, 2}),
        four, room<std::uint8_t>(3 * n), n);
  });
}

TEST(Layout, TakesPixelsApart) {
  proveRows(rowLengthsAndStreamed(3), [](unsigned n, Pattern pattern, Guard guard) {
    const auto proveFlat = [&](auto routine, unsigned channels, unsigned least, auto out) {
      prove(
          guard,
          [=](auto* src, auto* d0, auto* d1, auto* d2, unsigned, unsigned count, unsigned) {
            return answerOf([&] { return routine(src, d0, d1, d2, count); });
          },
          apart(channels, below(least)), samples<typename decltype(out)::value_type>(channels * n, pattern), out, out,
          out, 0u, n, n == 0 ? 0u : 1u);
    };
    proveFlat(copy8_1_3, 3, 0, room<std::uint8_t>(n));
    proveFlat(copy8_3_toPlane, 3, 2, room<std::uint8_t>(n));
    proveFlat(copy16_3_toPlane, 3, 4, room<std::uint16_t>(n));
    proveFlat([](const auto* src,
                 auto... rest) { return copy8_4_toPlane(reinterpret_cast<const std::uint32_t*>(src), rest...); },
              4, 2, room<std::uint8_t>(n));
    for (int c = 0; c < 3; ++c) {
      prove(
          guard, copy8_1_1,
          [](int channel, const Bytes& in, Bytes& out, unsigned count) { weave({&in}, 3, {channel}, out, count); }, c,
          samples<std::uint8_t>(3 * n, pattern), room<std::uint8_t>(n), n);
    }
  });
}

TEST(Layout, TilesAreRowsOfALargerImage) {
  onEveryTarget([] {
    for (const unsigned width : {0u, 2u, 5u, 16u, 62u, 130u, 1000u}) {
      for (const unsigned padding : {0u, 1u, 7u, 300u}) {
        // The last case is large enough to be streamed, row by row.
        const unsigned height = width == 1000 ? 1500 : 5, stride = 3 * width + padding;
        const Bytes image = samples<std::uint8_t>(height * stride - (width == 0 ? 0 : padding), Pattern::Random);
        const Bytes bytes = room<std::uint8_t>(width * height);
        const Words words = room<std::uint16_t>(width * height);
        SCOPED_TRACE(testing::Message() << width << " + " << padding);
        prove(Guard::AfterEnd, copy8_3_toPlane_tile, apart(3, isOdd), image, bytes, bytes, bytes, stride, width,
              height);
        prove(Guard::AfterEnd, copy8_16_3_toPlane, apart(3, isOdd), image, words, words, words, stride, width, height);
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
  const auto asWords = [](int offset, unsigned size, const std::uint8_t* src, std::uint8_t* dst, unsigned n) {
    return size == 4 ? copy1_12DW(offset, src, reinterpret_cast<std::uint32_t*>(dst), n)
                     : copy1_12QW(offset, src, reinterpret_cast<std::uint64_t*>(dst), n);
  };
  const Bytes records = samples<std::uint8_t>(12 * kRecords, Pattern::Random);
  for (int offset = -1; offset <= 13; ++offset) {
    for (unsigned size = 0; size <= 13; ++size) {
      SCOPED_TRACE(testing::Message() << offset << ", " << size);
      prove(Guard::AfterEnd, copy1_12N, model, offset, size, records, room<std::uint8_t>(size * kRecords), kRecords);
      if (size != 4 && size != 8) continue;
      prove(Guard::AfterEnd, asWords, model, offset, size, records, room<std::uint8_t>(size * kRecords), kRecords);
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
