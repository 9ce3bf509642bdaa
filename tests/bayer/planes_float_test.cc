// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>

#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/luma_chroma.h"

namespace quorvel::test {
namespace {

// A routine that makes planes of pictures, of pixels of so many samples. Grey ones have a first plane only.
template <typename Sample, typename Routine>
void proveOfPicture(Routine routine, unsigned samplesPerPixel, unsigned width, unsigned height, Pattern pattern,
                    Guard guard) {
  const unsigned pitch = width + height % 3;
  const auto call = [=](const Sample* in, float* y, float* cb, float* cr, float offset) {
    if constexpr (std::is_invocable_v<Routine, const Sample*, unsigned, unsigned, unsigned, float*, float>) {
      return routine(in, pitch, width, height, y, offset);
    } else {
      return routine(in, pitch, width, height, y, cb, cr, offset);
    }
  };
  const auto model = [=](const std::vector<Sample>& in, Floats& y, Floats& cb, Floats& cr, float offset) {
    for (unsigned i = 0; i < width * height; ++i) {
      const Sample* p = &in[samplesPerPixel * (i / width * pitch + i % width)];
      y[i] = p[0] - offset;
      if (samplesPerPixel == 1) continue;
      const auto cell = reference::pixelToFloats(p[0], p[1], p[2], offset);
      y[i] = cell.y1, cb[i] = cell.cb, cr[i] = cell.cr;
    }
  };
  const Floats plane = room<float>(width * height);
  prove(guard, call, model,
        samples<Sample>(samplesPerPixel * (height == 0 ? 0 : pitch * (height - 1) + width), pattern), plane, plane,
        plane, 2047.75f);
}

TEST(FloatPlanes, OfPicturesEqualTheModel) {
  const auto check = [](unsigned width, unsigned height, Pattern pattern, Guard guard) {
    proveOfPicture<std::uint8_t>(RGB8ToYCbCrPlanesFlt, 3, width, height, pattern, guard);
    proveOfPicture<std::uint8_t>(RGBA8ToYCbCrPlanesFlt, 4, width, height, pattern, guard);
    proveOfPicture<std::uint16_t>(RGBAToYCbCrPlanesFlt, 4, width, height, pattern, guard);
    proveOfPicture<std::uint16_t>(GrayToYFlt, 1, width, height, pattern, guard);
    proveOfPicture<std::uint8_t>(GrayToY8Flt, 1, width, height, pattern, guard);
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
  const auto model = [=](const Floats& y, const Floats& cb, const Floats& cr, Bytes& out) {
    const float level = planePitch == 0 ? offset : std::round(offset);
    const float high = std::min(2 * std::fabs(std::round(offset)) - 1, 255.0f);
    for (unsigned i = 0; i < width * height; ++i) {
      const std::size_t at = std::size_t{i / width} * from + i % width;
      const auto c = reference::colourOf(y[at], cb[at], cr[at], level);
      std::uint8_t* to = &out[3 * (i / width * pitch + i % width)];
      for (const float v : {c.r, c.g, c.b}) *to++ = static_cast<std::uint8_t>(reference::sampleOf(v, high));
    }
  };
  const auto routine = [=](auto* y, auto* cb, auto* cr, auto* out) {
    return planePitch == 0 ? YCbCrPlanesToRGB8Flt(y, cb, cr, out, pitch, width, height, offset)
                           : YCbCrPlanesToRGB8FltSSE(y, cb, cr, out, pitch, width, height, offset, planePitch);
  };
  SCOPED_TRACE(testing::Message() << "offset " << offset << ", plane pitch " << planePitch);
  prove(guard, routine, model, plane(1), plane(2), plane(3),
        room<std::uint8_t>(height == 0 ? 0 : 3 * (pitch * (height - 1) + width)));
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

TEST(FloatPlanes, CompactFloatsDecode) {
  constexpr unsigned kPlane = 4096;
  const auto model = [](const std::vector<std::uint16_t>& in, unsigned n, Floats& out) {
    if (n > kPlane) return -1;
    for (unsigned i = 0; i < 3 * n; ++i) {
      const int word = in[i], bits = i % 3 == 2 ? 14 : 12, code = word >> bits, mantissa = word % (1 << bits);
      const double power = i % 3 == 2 ? std::pow(10.0, code - 1) / 8192 : std::pow(10.0, code - 11) / 2048;
      const int value = mantissa < 1 << (bits - 1) ? mantissa : mantissa - (1 << bits);
      out[i % 3 * kPlane + i / 3] = static_cast<float>(value) * static_cast<float>(power);
    }
    return 0;
  };
  proveRows({0, 1, 2, 3, 7, 8, 31, 33, 4095, 4096}, [&](unsigned n, Pattern pattern, Guard guard) {
    prove(guard, ABC16toFlt, model, samples<std::uint16_t>(3 * n, pattern), n,
          room<float>(n == 0 ? 0 : 2 * kPlane + n));
  });
  prove(Guard::AfterEnd, ABC16toFlt, model, std::vector<std::uint16_t>(3), kPlane + 1, room<float>(1));
}

}  // namespace
}  // namespace quorvel::test
