// SPDX-License-Identifier: Apache-2.0
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <quorvel/errors.h>
#include <quorvel/geometry.h>

#include "tests/support/guarded_buffer.h"
#include "tests/support/played_processor.h"

namespace quorvel::test {
namespace {

// Every position and size on and around a small raster, from and to rows with and without padding, with the switch set
// and not, against the rule sample by sample. Buffers are just as large as the caller guarantees.
template <typename T, typename Routine>
void proveInsertion(Routine insert) {
  constexpr unsigned kWidth = 4, kHeight = 3, kCases = (kWidth + 3) * (kHeight + 2) * 6 * 6 * 8;
  for (unsigned c = 0; c < kCases; ++c) {
    unsigned rest = c;
    const auto pick = [&rest](unsigned choices) { return std::exchange(rest, rest / choices) % choices; };
    const unsigned width = pick(kWidth + 3), height = pick(kHeight + 2), x = pick(6) - 1, y = pick(6) - 1;
    const unsigned srcPitch = width + 3 * pick(2), dstPitch = kWidth + pick(2), ignored = pick(2);
    const bool negative = static_cast<int>(x) < 0 || static_cast<int>(y) < 0;
    std::vector<T> samples(height == 0 ? 0 : (height - 1) * srcPitch + width);
    std::iota(samples.begin(), samples.end(), static_cast<T>(std::numeric_limits<T>::max() - 20));
    const unsigned overhang = ignored && !negative && x + width > kWidth ? x + width - kWidth : 0;
    std::vector<T> expected((kHeight - 1) * dstPitch + kWidth + overhang, T{0x33});
    GuardedBuffer<T> src(samples), dst(expected, (x + y) % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin);

    int status = 0;
    if (negative) {
      status = static_cast<int>(x) < 0 ? -1 : -2;
    } else if (x + width > kWidth && !ignored) {
      status = -4;
    } else if (y + height > kHeight) {
      status = -5;
    }
    for (unsigned i = 0; status == 0 && i < width * height; ++i) {
      expected[(y + i / width) * dstPitch + x + i % width] = samples[i / width * srcPitch + i % width];
    }
    ASSERT_EQ(ignoreError(ignored ? -5 : 0), 0);
    ASSERT_EQ(insert(src.data(), srcPitch, width, height, dst.data(), dstPitch, kWidth, kHeight, x, y), status) << c;
    ASSERT_EQ(dst.copy(), expected) << c;
    ASSERT_TRUE(dst.surroundingsIntact()) << c;
  }
  ignoreError(0);
}

TEST(InsertSubTile, CopiesInsideAndRefusesOutside) {
  proveInsertion<std::uint8_t>(insertSubTileX);
  proveInsertion<std::uint16_t>(insertSubTileX16);
}

TEST(InsertSubTile, SumsOfOffsetAndExtentDoNotWrap) {
  constexpr unsigned kMost = std::numeric_limits<unsigned>::max();
  EXPECT_EQ(insertSubTileX(nullptr, 0, kMost, 1, nullptr, 0, kMost, kMost, 1, 0), -4);
  EXPECT_EQ(insertSubTileX(nullptr, 0, 1, kMost, nullptr, 0, kMost, kMost, 0, 1), -5);
}

TEST(InsertSubTile, LeavesTheAnswerThatTheTransformsRead) {
  const PlayedProcessor unasked;
  const std::uint8_t src[1] = {};
  std::uint8_t dst[1];
  insertSubTileX(src, 1, 1, 1, dst, 1, 1, 1, 1, 0);
  EXPECT_EQ(capabilityCells.commonEmmx, -1) << "it was refused";
  insertSubTileX(src, 1, 1, 1, dst, 1, 1, 1, 0, 0);
  EXPECT_NE(capabilityCells.commonEmmx, -1);
}

}  // namespace
}  // namespace quorvel::test
