// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include <cstring>

#include "tests/support/prove.h"
#include "tests/support/reference/layout.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

// Three planes that a routine is to fill.
template <typename T>
struct ThreePlanes {
  ThreePlanes(std::size_t n, Guard guard) : p0(n, guard), p1(n, guard), p2(n, guard) {}
  GuardedBuffer<T> p0, p1, p2;

  testing::AssertionResult areChannelsOf(const std::vector<T>& pixels, std::size_t channels) {
    const std::array planes = {&p0, &p1, &p2};
    for (std::size_t c = 0; c < 3; ++c) {
      const auto result = holds(*planes[c], reference::channel(pixels, channels, c));
      if (!result) return testing::AssertionFailure() << "plane " << c << ": " << result.message();
    }
    return testing::AssertionSuccess();
  }
  bool untouched() const { return p0.untouched() && p1.untouched() && p2.untouched(); }
};

TEST(Deinterleave, TakesPixelsApart) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const Bytes rgb = samples<std::uint8_t>(3 * n, pattern), rgbx = samples<std::uint8_t>(4 * n, pattern);
    const Words rgb16 = samples<std::uint16_t>(3 * n, pattern);
    std::vector<std::uint32_t> packed(n);
    if (n != 0) std::memcpy(packed.data(), rgbx.data(), rgbx.size());
    GuardedBuffer<std::uint8_t> src(rgb, guard);
    GuardedBuffer<std::uint32_t> src4(packed, guard);
    GuardedBuffer<std::uint16_t> src16(rgb16, guard);
    ThreePlanes<std::uint8_t> plain(n, guard), paired(n, guard), four(n, guard);
    ThreePlanes<std::uint16_t> wide(n, guard);
    copy8_1_3(src.data(), plain.p0.data(), plain.p1.data(), plain.p2.data(), n);
    EXPECT_TRUE(plain.areChannelsOf(rgb, 3));
    EXPECT_EQ(copy8_3_toPlane(src.data(), paired.p0.data(), paired.p1.data(), paired.p2.data(), n), n < 2 ? -1 : 0);
    EXPECT_TRUE(n < 2 ? paired.untouched() : paired.areChannelsOf(rgb, 3));
    EXPECT_EQ(copy8_4_toPlane(src4.data(), four.p0.data(), four.p1.data(), four.p2.data(), n), n < 2 ? -1 : 0);
    EXPECT_TRUE(n < 2 ? four.untouched() : four.areChannelsOf(rgbx, 4));
    EXPECT_EQ(copy16_3_toPlane(src16.data(), wide.p0.data(), wide.p1.data(), wide.p2.data(), n), n < 4 ? -1 : 0);
    EXPECT_TRUE(n < 4 ? wide.untouched() : wide.areChannelsOf(rgb16, 3));
    for (int c = 0; c < 3; ++c) {
      GuardedBuffer<std::uint8_t> one(n, guard);
      copy8_1_1(c, src.data(), one.data(), n);
      EXPECT_TRUE(holds(one, reference::channel(rgb, 3, static_cast<std::size_t>(c)))) << "channel " << c;
    }
  });
}

TEST(Deinterleave, OneChannelOfWordsGoesByBytesInGroupsAndByWordsBehindThem) {
  proveRows(rowLengths(0, 40), [](unsigned n, Pattern pattern, Guard guard) {
    const unsigned whole = n / 8 * 8;
    for (int channel = 0; channel <= 5; ++channel) {
      const auto c = static_cast<unsigned>(channel);
      // Just the words that the rule names: up to the last group's last word, or the last remaining pixel's.
      const unsigned groupEnd = whole == 0 ? 0 : (6 * (whole - 1) + c + 3) / 2, restEnd = 3 * (n - 1) + c + 1;
      const Words in = samples<std::uint16_t>(n == whole ? groupEnd : std::max(groupEnd, restEnd), pattern);
      Words expected(n);
      for (unsigned i = 0; i < n; ++i) {
        const unsigned byte = i < whole ? 6 * i + c : 2 * (3 * i + c);
        expected[i] = static_cast<std::uint16_t>(byte % 2 == 0 ? in[byte / 2]
                                                               : in[byte / 2] / 256 + in[byte / 2 + 1] % 256 * 256);
      }
      GuardedBuffer<std::uint16_t> src(in, guard), dst(n, guard);
      copy16_1_1(channel, src.data(), dst.data(), n);
      EXPECT_TRUE(holds(dst, expected)) << "channel " << channel;
    }
  });
}

TEST(Deinterleave, TilesAreRowsOfALargerImage) {
  for (const unsigned width : {0u, 2u, 16u, 62u, 130u, 1000u}) {
    for (const unsigned padding : {0u, 1u, 7u, 300u}) {
      onEveryTarget([=] {
        // The last case is large enough to be streamed, row by row.
        const unsigned height = width == 1000 ? 1500 : 5, stride = 3 * width + padding;
        const Bytes image = samples<std::uint8_t>(height * stride - (width == 0 ? 0 : padding), Pattern::Random);
        Bytes pixels;
        for (unsigned y = 0; y < height; ++y) {
          const auto row = image.begin() + static_cast<std::ptrdiff_t>(y) * stride;
          pixels.insert(pixels.end(), row, row + 3 * width);
        }
        GuardedBuffer<std::uint8_t> src(image);
        ThreePlanes<std::uint8_t> bytes(width * height, Guard::AfterEnd);
        ThreePlanes<std::uint16_t> words(width * height, Guard::AfterEnd);
        EXPECT_EQ(
            copy8_3_toPlane_tile(src.data(), bytes.p0.data(), bytes.p1.data(), bytes.p2.data(), stride, width, height),
            0);
        EXPECT_EQ(
            copy8_16_3_toPlane(src.data(), words.p0.data(), words.p1.data(), words.p2.data(), stride, width, height),
            0);
        EXPECT_TRUE(bytes.areChannelsOf(pixels, 3)) << width << " + " << padding;
        EXPECT_TRUE(words.areChannelsOf(Words(pixels.begin(), pixels.end()), 3)) << width << " + " << padding;
      });
    }
  }
  ThreePlanes<std::uint8_t> bytes(10, Guard::AfterEnd);
  ThreePlanes<std::uint16_t> words(10, Guard::AfterEnd);
  EXPECT_EQ(copy8_3_toPlane_tile(nullptr, bytes.p0.data(), bytes.p1.data(), bytes.p2.data(), 15, 5, 2), -1);
  EXPECT_EQ(copy8_16_3_toPlane(nullptr, words.p0.data(), words.p1.data(), words.p2.data(), 15, 5, 2), -1);
  EXPECT_TRUE(bytes.untouched() && words.untouched());
}

TEST(Deinterleave, FieldsOfTwelveByteRecords) {
  constexpr unsigned kRecords = 37;
  const Bytes in = samples<std::uint8_t>(12 * kRecords, Pattern::Random);
  GuardedBuffer<std::uint8_t> src(in);
  for (int offset = -1; offset <= 13; ++offset) {
    for (unsigned size = 0; size <= 13; ++size) {
      const bool fits = offset >= 0 && static_cast<unsigned>(offset) + size <= 12;
      Bytes expected;
      for (unsigned i = 0; fits && i < 12 * kRecords; ++i) {
        const unsigned place = i % 12, first = static_cast<unsigned>(offset);
        if (place >= first && place < first + size) expected.push_back(in[i]);
      }
      const auto check = [&](auto& dst, int result) {
        EXPECT_EQ(result, fits ? 0 : -1) << offset << ", " << size;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(dst.data());
        EXPECT_TRUE(fits ? std::equal(expected.begin(), expected.end(), bytes) && dst.surroundingsIntact()
                         : dst.untouched())
            << offset << ", " << size;
      };
      GuardedBuffer<std::uint8_t> bytes(size * kRecords);
      check(bytes, copy1_12N(offset, size, src.data(), bytes.data(), kRecords));
      GuardedBuffer<std::uint32_t> words(kRecords);
      if (size == 4) check(words, copy1_12DW(offset, src.data(), words.data(), kRecords));
      GuardedBuffer<std::uint64_t> doubles(kRecords);
      if (size == 8) check(doubles, copy1_12QW(offset, src.data(), doubles.data(), kRecords));
    }
  }
}

}  // namespace
}  // namespace quorvel::test
