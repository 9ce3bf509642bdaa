// SPDX-License-Identifier: Apache-2.0
// Resampling by a rotation about the middle with a scale of 1.01, out of a square source that holds all its positions.
#include <cmath>
#include <numbers>
#include <string>

#include <quorvel/geometry.h>

#include "bench/harness.h"
#include "bench/peers/warp.h"

namespace quorvel::bench {
namespace {

constexpr unsigned kSide = 5224;  // the frame's diagonal and more, a multiple of 8

struct Rotation {
  double m[6];
  int x, y, dxColumn, dyColumn, dxRow, dyRow;

  explicit Rotation(double degrees) {
    const double angle = degrees * std::numbers::pi / 180, c = 1.01 * std::cos(angle), s = 1.01 * std::sin(angle);
    const double middle[] = {kWidth / 2.0, kHeight / 2.0};
    const double matrix[] = {c, -s, kSide / 2.0 - c * middle[0] + s * middle[1],
                             s, c,  kSide / 2.0 - s * middle[0] - c * middle[1]};
    std::copy(std::begin(matrix), std::end(matrix), m);
    const auto fixed = [](double v, double scale) { return static_cast<int>(std::lround(v * scale)); };
    x = fixed(m[2], 16), y = fixed(m[5], 16);
    dxColumn = fixed(c, 65536), dyColumn = fixed(s, 65536), dxRow = fixed(-s, 65536), dyRow = fixed(c, 65536);
  }
};

// All routines have their arguments in one order; `last` is the sixteenth.
template <typename In, typename Out, typename Routine, typename Last>
void contest(const std::string& name, double degrees, const std::shared_ptr<Samples<In>>& src, Routine routine,
             Last last, [[maybe_unused]] bool hasPeer, [[maybe_unused]] bool cubic = false) {
  const Rotation r(degrees);
  const auto out = buffer<Out>(kSamples);
  Contest c(name + " " + std::to_string(static_cast<int>(degrees)), kSamples * (sizeof(In) + sizeof(Out)));
  c.quorvel([=] {
    routine(src->data(), r.x, r.y, r.dxColumn, r.dyColumn, r.dxRow, r.dyRow, 0, 0, kSide * sizeof(In), 0, out->data(),
            kWidth, kHeight, kWidth, last);
  });
#ifdef QUORVEL_PEER_OPENCV
  if (hasPeer) c.peer("OpenCV", [=] { opencvWarp(src->data(), kSide, r.m, kWidth, kHeight, cubic); });
#endif
}

}  // namespace

void registerGeometryResampleContests() {
  const auto bytes = randomSamples<std::uint8_t>(std::size_t{kSide} * kSide, 255);
  const auto words = randomSamples<std::uint16_t>(std::size_t{kSide} * kSide, 4095);
  const auto table = randomSamples<std::uint8_t>(16384, 255);
  const auto groups = buffer<GroupEl>(kWidth);
  for (const double degrees : {0.0, 1.0, 10.0, 45.0, 90.0}) {
    contest<std::uint8_t, std::uint8_t>("Geo8_8MMX", degrees, bytes, Geo8_8MMX, 0, true);
    contest<std::uint16_t, std::uint16_t>("Geo16_16MMX", degrees, words, Geo16_16MMX, 0, true);
  }
  for (const double degrees : {1.0, 45.0}) {
    const auto* const entries = table->data();
    contest<std::uint16_t, std::uint8_t>(
        "GeoGamma16_8MMX", degrees, words, [keep = table](auto... a) { return GeoGamma16_8MMX(a...); }, entries, false);
    contest<std::uint16_t, std::uint8_t>(
        "GeoQGamma16_8MMX", degrees, words, [keep = table](auto... a) { return GeoQGamma16_8MMX(a...); }, entries,
        false);
    contest<std::uint16_t, std::uint16_t>(
        "GeoQGamma16_16MMX", degrees, words, [keep = groups](auto... a) { return GeoQGamma16_16MMX(a...); },
        groups->data(), false);
    for (const int method : {0, 1, 2, 3, 6, 7}) {
      const std::string suffix = " m" + std::to_string(method);
      contest<std::uint8_t, std::uint8_t>("GeoParab8_8MMX" + suffix, degrees, bytes, GeoParab8_8MMX, method,
                                          method == 3, true);
      contest<std::uint16_t, std::uint16_t>("GeoParab16_16MMX" + suffix, degrees, words, GeoParab16_16MMX, method,
                                            method == 3, true);
    }
  }
  Contest("GeoY6_16_16MMX", kSamples * 4).quorvel([=, out = buffer<std::uint16_t>(kSamples)] {
    GeoY6_16_16MMX(words->data(), 12, 64, 1155, 66181, kSide * 2, 0, out->data(), kWidth, kHeight, kWidth, 6);
  });
}

}  // namespace quorvel::bench
