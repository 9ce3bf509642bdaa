// SPDX-License-Identifier: Apache-2.0
#include <quorvel/codec.h>

#include "codec/dct.h"
#include "tests/support/prove.h"
#include "tests/support/reference/dct.h"

namespace quorvel::test {
namespace {

using Shorts = std::vector<std::int16_t>;

TEST(Coefficients, BlocksAreReorderedClassifiedAndMultipliedLikeTheModels) {
  proveRows({64}, [](unsigned n, Pattern pattern, Guard guard) {
    for (const std::int16_t range : {2, 140, 32767}) {
      const Shorts in = samples<std::int16_t>(n, pattern, 1, static_cast<std::int16_t>(-range - 1), range);
      GuardedBuffer<std::int16_t> src(in, guard), zigzag(n, guard), back(n, guard), product(n, guard), small(16, guard);
      Shorts reordered(n);
      std::vector<std::uint32_t> classes(4);
      for (unsigned i = 0; i < n; ++i) {
        const int a = std::abs(in[i]);
        classes[i / 16] |= static_cast<std::uint32_t>((a > 0) + (a > 2) + (a > 130)) << 2 * (i % 16);
        reordered[i] = in[reference::kZigzag[i]];
      }
      zigzagBlock(src.data(), zigzag.data());
      EXPECT_TRUE(holds(zigzag, reordered));
      dezigzagBlock(zigzag.data(), back.data());
      EXPECT_TRUE(holds(back, in));
      GuardedBuffer<std::uint32_t> out(4, guard);
      EXPECT_EQ(pack64Coefs(src.data(), out.data()), 0);
      EXPECT_TRUE(holds(out, classes));

      std::vector<std::uint64_t> copies(n);
      Shorts expected(n), expected4(16);
      std::ranges::transform(reordered, copies.begin(),
                             [](std::int16_t v) { return static_cast<std::uint16_t>(v) * 0x0001000100010001u; });
      GuardedBuffer<std::uint64_t> left(copies, guard), left4(std::vector(copies.begin(), copies.begin() + 16), guard);
      GuardedBuffer<std::int16_t> right4(Shorts(in.begin(), in.begin() + 16), guard);
      for (int i = 0; i < 64; ++i) expected[i] = reference::element(reordered.data(), in.data(), 8, i / 8, i % 8);
      for (int i = 0; i < 16; ++i) expected4[i] = reference::element(reordered.data(), in.data(), 4, i / 4, i % 4);
      for (const auto routine : {matrMul8x8_I16_MMX, matrMul8x8w_SSE}) {
        routine(left.data(), src.data(), product.data());
        EXPECT_TRUE(holds(product, expected));
      }
      matrMul4x4_I16_MMX(left4.data(), right4.data(), small.data());
      EXPECT_TRUE(holds(small, expected4));
    }
  });
}

TEST(Coefficients, RunsAreScaledAndSearchedLikeTheModels) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const Shorts in = samples<std::int16_t>(n, pattern);
    GuardedBuffer<std::int16_t> src(in, guard);
    int largest = 0;
    for (const std::int16_t v : in) largest = std::max(largest, std::abs(v));
    EXPECT_EQ(calc64_MaxAbs(src.data(), static_cast<int>(n)), largest);

    for (const unsigned step : {1u, 0u, 3u}) {
      const float k = step == 3 ? -0.125f : 0.0437f;
      const auto maskBytes = samples<std::uint8_t>(n == 0 ? 0 : (n - 1) * step + 1, Pattern::Random, 2, 0, 1);
      GuardedBuffer<std::uint8_t> mask(maskBytes, guard);
      std::vector<float> expected(n);
      for (unsigned i = 0; i < n; ++i) {
        const float scaled = in[i] * k;
        expected[i] = maskBytes[i * step] == 0 ? scaled : std::trunc(scaled + (in[i] < 0 ? -0.375f : 0.375f));
      }
      for (const auto routine : {mulFltOkrug0375V, mulFltOkrug0375Vasm}) {
        GuardedBuffer<float> dst(n, guard);
        routine(dst.data(), src.data(), k, n, mask.data(), step);
        EXPECT_TRUE(holds(dst, expected));
      }
    }

    std::vector<float> values(n), error(n);
    Shorts whole(n);
    for (const float k : {0.75f, 0.02f}) {  // the second goes beyond 16 bits
      for (unsigned i = 0; i < n; ++i) {
        values[i] = i % 4 == 0 ? in[i] * 0.375f : static_cast<float>(in[i]) / 37;
        whole[i] = static_cast<std::int16_t>(std::clamp(std::round(values[i] / k), -32768.0f, 32767.0f));
        error[i] = values[i] - whole[i] * k;
      }
      GuardedBuffer<float> from(values, guard), err(n, guard);
      GuardedBuffer<std::int16_t> dst(n, guard), alone(n, guard);
      deMulFltOkrugV(from.data(), dst.data(), err.data(), k, n, 0);
      deMulFltOkrugV(from.data(), alone.data(), nullptr, k, n, 1);
      EXPECT_TRUE(holds(dst, whole) && holds(alone, whole) && holds(err, error));
      deMulFltOkrugV(from.data(), dst.data(), from.data(), k, n, 0);
      EXPECT_TRUE(holds(from, error));
    }
  });
}

TEST(Coefficients, HandComputedValuesPinTheRules) {
  Shorts coefs = {0, 2, -3, 130, 131, -32768};
  coefs.resize(64);
  std::array<std::uint32_t, 4> classes;
  pack64Coefs(coefs.data(), classes.data());
  EXPECT_EQ(classes, (std::array<std::uint32_t, 4>{0b11'11'10'10'01'00, 0, 0, 0}));
  EXPECT_EQ(calc64_MaxAbs(coefs.data(), 0), 0);
  EXPECT_EQ(calc64_MaxAbs(coefs.data(), -1), 0);
  EXPECT_EQ(calc64_MaxAbs(coefs.data(), 5), 131);
  EXPECT_EQ(calc64_MaxAbs(coefs.data(), 6), 32768);
  EXPECT_EQ(signBits64(1), 0);
  EXPECT_EQ(signBits64(0x80000001u), 31);
  EXPECT_EQ(getNullPercent(), 0.0);
  coefficientCounters = {8, 3};
  EXPECT_EQ(getNullPercent(), 37.5);
  coefficientCounters = {};
}

}  // namespace
}  // namespace quorvel::test
