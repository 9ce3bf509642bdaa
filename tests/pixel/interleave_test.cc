// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "tests/support/prove.h"
#include "tests/support/reference/layout.h"

namespace quorvel::test {
namespace {

template <typename T>
using Planes = std::vector<std::vector<T>>;

template <typename T>
Planes<T> threePlanes(unsigned n, Pattern pattern) {
  return {samples<T>(n, pattern, 1), samples<T>(n, pattern, 2), samples<T>(n, pattern, 3)};
}

TEST(Interleave, WeavesThreePlanes) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const auto bytes = threePlanes<std::uint8_t>(n, pattern);
    const auto words = threePlanes<std::uint16_t>(n, pattern);
    GuardedBuffer<std::uint8_t> b0(bytes[0], guard), b1(bytes[1], guard), b2(bytes[2], guard);
    GuardedBuffer<std::uint16_t> w0(words[0], guard), w1(words[1], guard), w2(words[2], guard);
    GuardedBuffer<std::uint8_t> three(3 * n, guard), four(4 * n, guard);
    GuardedBuffer<std::uint16_t> wide(3 * n, guard);
    copy8_3_1(b0.data(), b1.data(), b2.data(), three.data(), n);
    copy8_4_1(b0.data(), b1.data(), b2.data(), four.data(), n);
    copy16_3_1(w0.data(), w1.data(), w2.data(), wide.data(), n);
    EXPECT_TRUE(holds(three, reference::weave(bytes)));
    EXPECT_TRUE(
        holds(four, reference::weave<std::uint8_t>({bytes[0], bytes[1], bytes[2], {std::vector<std::uint8_t>(n)}})));
    EXPECT_TRUE(holds(wide, reference::weave(words)));
  });
}

TEST(Interleave, JoinsAndReplacesTheFourthChannel) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const auto rgb = threePlanes<std::uint8_t>(n, pattern);
    const auto old = samples<std::uint8_t>(n, pattern, 4), alpha = samples<std::uint8_t>(n, pattern, 5);
    // Words around the limit as often as far above it.
    const auto wide = samples<std::uint16_t>(n, pattern, 6, 0, n % 2 == 0 ? 300 : 65535);
    std::vector<std::uint8_t> limited;
    for (const std::uint16_t w : wide) limited.push_back(static_cast<std::uint8_t>(w > 255 ? 255 : w));

    const auto before = reference::weave<std::uint8_t>({rgb[0], rgb[1], rgb[2], old});
    const auto withBytes = reference::weave<std::uint8_t>({rgb[0], rgb[1], rgb[2], alpha});
    const auto withWords = reference::weave<std::uint8_t>({rgb[0], rgb[1], rgb[2], limited});
    GuardedBuffer<std::uint8_t> src3(reference::weave(rgb), guard), src4(before, guard), a8(alpha, guard);
    GuardedBuffer<std::uint16_t> a16(wide, guard);
    GuardedBuffer<std::uint8_t> joined(4 * n, guard), replaced(4 * n, guard), replaced16(4 * n, guard);
    copy8rgb_8a_to8rgba(src3.data(), a8.data(), n, joined.data());
    copy8rgba_replace_8a_SSE(src4.data(), a8.data(), n, replaced.data());
    copy8rgba_replace_16a_SSE(src4.data(), a16.data(), n, replaced16.data());
    EXPECT_TRUE(holds(joined, withBytes));
    EXPECT_TRUE(holds(replaced, withBytes));
    EXPECT_TRUE(holds(replaced16, withWords));

    copy8rgba_replace_8a_SSE_(src4.data(), a8.data(), n);
    EXPECT_TRUE(holds(src4, withBytes));
    copy8rgba_replace_16a_SSE_(src4.data(), a16.data(), n);
    EXPECT_TRUE(holds(src4, withWords));
  });
}

}  // namespace
}  // namespace quorvel::test
