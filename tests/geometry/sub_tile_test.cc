// SPDX-License-Identifier: Apache-2.0
#include <limits>
#include <utility>

#include <quorvel/errors.h>
#include <quorvel/geometry.h>

#include "tests/support/played_processor.h"
#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

// Every position and size on and around a small raster, from and to rows with and without padding, with the switch set
// and not, against the rule sample by sample. Buffers are just as large as the caller guarantees.
template <typename T, typename Routine>
void proveInsertion(Routine insert) {
  constexpr unsigned kWidth = 4, kHeight = 3, kCases = (kWidth + 3) * (kHeight + 2) * 6 * 6 * 8;
  for (unsigned c = 0; c < kCases && !testing::Test::HasFailure(); ++c) {
    unsigned rest = c;
    const auto pick = [&rest](unsigned choices) { return std::exchange(rest, rest / choices) % choices; };
    const unsigned width = pick(kWidth + 3), height = pick(kHeight + 2);
    const int x = static_cast<int>(pick(6)) - 1, y = static_cast<int>(pick(6)) - 1;
    const unsigned srcPitch = width + 3 * pick(2), dstPitch = kWidth + pick(2), ignored = pick(2);
    const unsigned toX = static_cast<unsigned>(std::max(x, 0)), toY = static_cast<unsigned>(std::max(y, 0));
    const unsigned overhang = ignored && x >= 0 && y >= 0 && toX + width > kWidth ? toX + width - kWidth : 0;
    const auto model = [&](const auto& src, unsigned, unsigned, unsigned, auto& dst, unsigned, unsigned, unsigned, int,
                           int) {
      if (x < 0 || y < 0) return x < 0 ? -1 : -2;
      if (toX + width > kWidth && !ignored) return -4;
      if (toY + height > kHeight) return -5;
      for (unsigned i = 0; i < width * height; ++i) {
        dst[(toY + i / width) * dstPitch + toX + i % width] = src[i / width * srcPitch + i % width];
      }
      return 0;
    };
    SCOPED_TRACE(c);
    ASSERT_EQ(ignoreError(ignored ? -5 : 0), 0);
    prove(c % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin, insert, model,
          samples<T>(height == 0 ? 0 : (height - 1) * srcPitch + width, Pattern::Structured), srcPitch, width, height,
          room<T>((kHeight - 1) * dstPitch + kWidth + overhang), dstPitch, kWidth, kHeight, x, y);
  }
  ignoreError(0);
}

TEST(InsertSubTile, CopiesInsideAndRefusesOutside) {
  proveInsertion<std::uint8_t>(insertSubTileX);
  proveInsertion<std::uint16_t>(insertSubTileX16);
  constexpr unsigned kMost = std::numeric_limits<unsigned>::max();  // sums of offset and extent do not wrap
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
