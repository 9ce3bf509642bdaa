// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>

#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/luma_chroma.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Floats = std::vector<float>;

template <typename Sample>
void proveColour(int (*routine)(const Sample*, unsigned, unsigned, unsigned, float*, float*, float*, float),
                 unsigned samplesPerPixel, unsigned width, unsigned height, Pattern pattern, Guard guard) {
  const unsigned pitch = width + height % 3;
  constexpr float kOffset = 128.25f;
  const auto in = samples<Sample>(samplesPerPixel * (height == 0 ? 0 : pitch * (height - 1) + width), pattern);
  Floats y, cb, cr;
  for (unsigned i = 0; i < width * height; ++i) {
    const Sample* p = &in[samplesPerPixel * (i / width * pitch + i % width)];
    const auto cell = reference::pixelToFloats(p[0], p[1], p[2], kOffset);
    y.push_back(cell.y1), cb.push_back(cell.cb), cr.push_back(cell.cr);
  }
  GuardedBuffer<Sample> src(in, guard);
  GuardedBuffer<float> outY(y.size(), guard), outCb(y.size(), guard), outCr(y.size(), guard);
  EXPECT_EQ(routine(src.data(), pitch, width, height, outY.data(), outCb.data(), outCr.data(), kOffset), 0);
  EXPECT_TRUE(holds(outY, y) && holds(outCb, cb) && holds(outCr, cr));
}

template <typename Sample>
void proveGrey(int (*routine)(const Sample*, unsigned, unsigned, unsigned, float*, float), unsigned width,
               unsigned height, Pattern pattern, Guard guard) {
  const unsigned pitch = width + height % 3;
  const auto in = samples<Sample>(height == 0 ? 0 : pitch * (height - 1) + width, pattern);
  Floats y;
  for (unsigned i = 0; i < width * height; ++i) y.push_back(in[i / width * pitch + i % width] - 2047.75f);
  GuardedBuffer<Sample> src(in, guard);
  GuardedBuffer<float> out(y.size(), guard);
  EXPECT_EQ(routine(src.data(), pitch, width, height, out.data(), 2047.75f), 0);
  EXPECT_TRUE(holds(out, y));
}

TEST(FloatPlanes, OfPicturesEqualTheModel) {
  const auto check = [](unsigned width, unsigned height, Pattern pattern, Guard guard) {
    proveColour(RGB8ToYCbCrPlanesFlt, 3, width, height, pattern, guard);
    proveColour(RGBA8ToYCbCrPlanesFlt, 4, width, height, pattern, guard);
    proveColour(RGBAToYCbCrPlanesFlt, 4, width, height, pattern, guard);
    proveGrey(GrayToYFlt, width, height, pattern, guard);
    proveGrey(GrayToY8Flt, width, height, pattern, guard);
  };
  proveRows(rowLengths(0, 67), [&](unsigned n, Pattern pattern, Guard guard) { check(n, n % 4, pattern, guard); });
  onEveryTarget([&] { check(1021, 1100, Pattern::Random, Guard::AfterEnd); });
}

// Rows of the planes `planePitch` apart, or dense with 0.
void proveRgb8(unsigned width, unsigned height, float offset, unsigned planePitch, Guard guard) {
  const unsigned pitch = width + height % 3, from = planePitch == 0 ? width : planePitch;
  const auto plane = [&](unsigned seed) {
    Floats values;
    const std::size_t n = height == 0 ? 0 : from * (height - 1) + width;
    for (const std::int16_t v : samples<std::int16_t>(n, Pattern::Random, seed, -400, 400)) values.push_back(v / 2.0f);
    if (n > 5) values[n - 5] = std::numeric_limits<float>::quiet_NaN(), values[n - 3] = -1e30f, values[n - 2] = 1e30f;
    return values;
  };
  GuardedBuffer<float> y(plane(1), guard), cb(plane(2), guard), cr(plane(3), guard);
  GuardedBuffer<std::uint8_t> out(height == 0 ? 0 : 3 * (pitch * (height - 1) + width), guard);
  Bytes expected = out.copy();
  const float level = planePitch == 0 ? offset : std::round(offset);
  const float high = std::min(2 * std::fabs(std::round(offset)) - 1, 255.0f);
  for (unsigned i = 0; i < width * height; ++i) {
    const std::size_t at = std::size_t{i / width} * from + i % width;
    const auto c = reference::colourOf(y.data()[at], cb.data()[at], cr.data()[at], level);
    std::uint8_t* to = &expected[3 * (i / width * pitch + i % width)];
    for (const float v : {c.r, c.g, c.b}) *to++ = static_cast<std::uint8_t>(reference::sampleOf(v, high));
  }
  EXPECT_EQ(planePitch == 0
                ? YCbCrPlanesToRGB8Flt(y.data(), cb.data(), cr.data(), out.data(), pitch, width, height, offset)
                : YCbCrPlanesToRGB8FltSSE(y.data(), cb.data(), cr.data(), out.data(), pitch, width, height, offset,
                                          planePitch),
            0);
  EXPECT_TRUE(holds(out, expected)) << "offset " << offset << ", plane pitch " << planePitch;
}

TEST(FloatPlanes, BackToBytesEqualTheModel) {
  constexpr float kOffsets[] = {128, 0, 90.5f, -128, 127.4f, 2048};
  proveRows(rowLengths(0, 67), [&](unsigned n, Pattern pattern, Guard guard) {
    const float offset = kOffsets[(n + static_cast<unsigned>(pattern)) % std::size(kOffsets)];
    proveRgb8(n, n % 4, offset, 0, guard);
    proveRgb8(n, n % 4, offset, n + 3, guard);
  });
  onEveryTarget([&] { proveRgb8(1021, 1501, 128, 0, Guard::AfterEnd); });
}

TEST(FloatPlanes, RowFormsEqualTheFrameForm) {
  const Floats y(23, 20.5f), cb(23, -30.25f), cr(23, 44.0f);
  Bytes frame(69), row(69), groups(69, 7);
  YCbCrPlanesToRGB8Flt(y.data(), cb.data(), cr.data(), frame.data(), 23, 23, 1, 128);
  EXPECT_EQ(YCbCrPlanesToRGB8Flt_SSE(y.data(), cb.data(), cr.data(), row.data(), 23, 128), 0);
  EXPECT_EQ(YCbCrPlanesToRGB8Flt_SSEasm(y.data(), cb.data(), cr.data(), groups.data(), 5, 128), 0);
  EXPECT_EQ(frame, row);
  std::fill(frame.begin() + 60, frame.end(), std::uint8_t{7});  // beyond the whole groups
  EXPECT_EQ(frame, groups);
  EXPECT_EQ(row[0], 210);  // 148.5 + 61.688
  EXPECT_EQ(row[1], 127);  // 148.5 + 10.410 - 31.422
  EXPECT_EQ(row[2], 95);   // 148.5 - 53.603
}

TEST(FloatPlanes, CompactFloatsDecode) {
  constexpr unsigned kPlane = 4096;
  proveRows({0, 1, 2, 3, 7, 8, 31, 33, 4095, 4096}, [](unsigned n, Pattern pattern, Guard guard) {
    GuardedBuffer<std::uint16_t> in(samples<std::uint16_t>(3 * n, pattern), guard);
    GuardedBuffer<float> out(n == 0 ? 0 : 2 * kPlane + n, guard);
    Floats expected = out.copy();
    for (unsigned i = 0; i < 3 * n; ++i) {
      const int word = in.data()[i], bits = i % 3 == 2 ? 14 : 12, code = word >> bits, mantissa = word % (1 << bits);
      const double power = i % 3 == 2 ? std::pow(10.0, code - 1) / 8192 : std::pow(10.0, code - 11) / 2048;
      const int value = mantissa < 1 << (bits - 1) ? mantissa : mantissa - (1 << bits);
      expected[i % 3 * kPlane + i / 3] = static_cast<float>(value) * static_cast<float>(power);
    }
    EXPECT_EQ(ABC16toFlt(in.data(), n, out.data()), 0);
    EXPECT_TRUE(holds(out, expected));
  });
  // 1.0 in both forms, and their most negative values.
  const std::uint16_t ones[] = {0xB7FF, 0xC0CD, 0x6000, 0xF800, 0x0800, 0xE000};
  Floats out(2 * kPlane + 2);
  ABC16toFlt(ones, 2, out.data());
  EXPECT_EQ(out[0], 2047 / 2048.0f);
  EXPECT_FLOAT_EQ(out[kPlane], 205 / 204.8f);
  EXPECT_EQ(out[2 * kPlane], -1.0f);
  EXPECT_EQ(out[1], -10000.0f);
  EXPECT_FLOAT_EQ(out[kPlane + 1], -1e-11f);
  EXPECT_EQ(out[2 * kPlane + 1], -100.0f);
  GuardedBuffer<float> refused(1);
  EXPECT_EQ(ABC16toFlt(ones, kPlane + 1, refused.data()), -1);
  EXPECT_TRUE(refused.untouched());
}

}  // namespace
}  // namespace quorvel::test
