// SPDX-License-Identifier: Apache-2.0
// Plain model of the luminance/chroma planes: a cell at a time, in 64 bits or as floats, from the rules.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_LUMA_CHROMA_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_LUMA_CHROMA_H_

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace quorvel::reference {

struct RawCell {
  std::int64_t g1, r, b, g2;
};

template <typename T>
struct PlaneCell {
  T y1, y2, cb, cr;
};

inline std::int64_t rounded(std::int64_t v, int s) {
  const std::int64_t half = std::int64_t{1} << (s - 1);
  return v >= 0 ? (v + half) >> s : -((half - v) >> s);
}

inline std::int64_t sizeOf(std::int64_t off) { return off < 0 ? -off : off; }

// In units of 1 / `unit` step, and within what T holds.
template <typename T>
T clampedPlane(std::int64_t v, std::int64_t off, std::int64_t unit) {
  const std::int64_t high = sizeOf(off) * unit - 1, low = -sizeOf(off) * unit;
  v = std::max(std::min(v, high), low);
  return static_cast<T>(std::clamp<std::int64_t>(v, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

inline std::int64_t clampedSample(std::int64_t v, std::int64_t off) {
  return std::max<std::int64_t>(std::min({v, 2 * sizeOf(off) - 1, std::int64_t{65535}}), 0);
}

// scaleBits: fraction bits of the weights; shift: how many of them go. A shift without rounding where `rounds` is not
// set.
struct IntegerVariant {
  std::int64_t weights[9];
  int scaleBits, shift;
  bool rounds = true, difference = false;
};

inline const IntegerVariant kApprox16 = {{19595, 38470, 7471, -11056, -21712, 32768, 32768, -27440, -5328}, 16, 16};
inline const IntegerVariant kApprox18 = {{39191, 76939, 14942, -22112, -43424, 65536, 65536, -54880, -10656}, 17, 17};
inline const IntegerVariant k12_4 = {{4899, 9617, 1868, -2764, -5428, 8192, 8192, -6860, -1332}, 14, 10};
inline const IntegerVariant k12_6 = {
    {5016388, 9848226, 1912603, -2830316, -5558292, 8388608, 8388608, -7024620, -1363988}, 24, 18, false};

template <typename T>
PlaneCell<T> toPlanes(const RawCell& c, const IntegerVariant& v, int off) {
  const auto value = [&](std::int64_t sum) {
    return clampedPlane<T>(v.rounds ? rounded(sum, v.shift) : sum >> v.shift, off, 1 << (v.scaleBits - v.shift));
  };
  const auto sum = [&](const std::int64_t* w, std::int64_t g) { return w[0] * c.r + w[1] * g + w[2] * c.b; };
  const std::int64_t level = off * (std::int64_t{1} << v.scaleBits);
  const std::int64_t half = (c.g2 - c.g1) * (std::int64_t{1} << (v.scaleBits - 1));
  return {value(sum(v.weights, c.g1) - level), v.difference ? value(half) : value(sum(v.weights, c.g2) - level),
          value(sum(v.weights + 3, c.g1)), value(sum(v.weights + 6, c.g1))};
}

inline PlaneCell<std::int16_t> toYuv(const RawCell& c, int off) {
  const auto clamped = [off](std::int64_t v) { return clampedPlane<std::int16_t>(v, off, 1); };
  const std::int64_t mean = (c.g1 + c.g2) >> 1;
  return {clamped(((3 * c.g1 - c.g2 + c.r + c.b) >> 2) - off), clamped(((3 * c.g2 - c.g1 + c.r + c.b) >> 2) - off),
          clamped(c.b - mean), clamped(c.r - mean)};
}

inline PlaneCell<float> toFloats(const RawCell& c, float off) {
  const auto g = static_cast<float>(c.g1), r = static_cast<float>(c.r), b = static_cast<float>(c.b);
  return {0.299f * r + 0.587f * g + 0.114f * b - off, 0.5f * static_cast<float>(c.g2 - c.g1),
          -0.1687f * r - 0.3313f * g + 0.5f * b, 0.5f * r - 0.4187f * g - 0.0813f * b};
}

using Planes16 = PlaneCell<std::int16_t>;

enum class Second { Luminance, First };

template <Second kSecond>
RawCell from16(const Planes16& p, int off) {
  const auto clamped = [off](std::int64_t v) { return clampedSample(v, off); };
  const std::int64_t l = p.y1 + std::int64_t{std::max(off, 0)};
  const std::int64_t g1 = clamped(l + rounded(std::int64_t{-22554} * p.cb - std::int64_t{46802} * p.cr, 16));
  const std::int64_t step = kSecond == Second::First ? 0 : rounded((p.y2 - p.y1) * std::int64_t{111646}, 16);
  return {g1, clamped(l + rounded(std::int64_t{91881} * p.cr, 16)),
          clamped(l + rounded(std::int64_t{116130} * p.cb, 16)), clamped(g1 + step)};
}

template <bool kDifference>
RawCell from12_4(const Planes16& p, int off) {
  const auto sample = [off](std::int64_t v) { return clampedSample(rounded(v, 18), off); };
  const std::int64_t l = (p.y1 + 16 * std::int64_t{std::max(off, 0)}) * 16384;
  const std::int64_t green = l - 5638 * p.cb - 11700 * p.cr, g1 = sample(green);
  const std::int64_t g2 = kDifference ? sample(green + p.y2 * std::int64_t{32768})
                                      : clampedSample(g1 + rounded((p.y2 - p.y1) * std::int64_t{27911}, 18), off);
  return {g1, sample(l + 22970 * p.cr), sample(l + 29032 * p.cb), g2};
}

inline RawCell fromYuv(const Planes16& p, int off) {
  const int half = (p.y1 - p.y2) & 1;  // that the mean of the greens dropped
  const std::int64_t t = ((p.cb + p.cr - half) >> 2) - std::int64_t{off};
  const std::int64_t g1 = clampedSample(p.y1 - t, off), g2 = clampedSample(p.y2 - t, off), m = (g1 + g2) >> 1;
  return {g1, clampedSample(p.cr + m, off), clampedSample(p.cb + m, off), g2};
}

// v + 0.5 truncated and held in [0, high]; no number gives 0.
inline std::int64_t sampleOf(float v, float high) {
  const float up = v + 0.5f;
  return up > 0 ? static_cast<std::int64_t>(std::min(up, std::max(high, 0.0f))) : 0;
}

struct FloatColour {
  float r, g, b;
};

inline FloatColour colourOf(float y, float cb, float cr, float off) {
  const float l = y + off;
  return {l + 1.402f * cr, l - 0.34414f * cb - 0.71414f * cr, l + 1.772f * cb};
}

inline RawCell fromFloats(const PlaneCell<float>& p, float off) {
  const FloatColour c = colourOf(p.y1, p.cb, p.cr, off);
  const auto sample = [off](float v) { return sampleOf(v, std::min(std::trunc(2 * std::fabs(off) - 1), 65535.0f)); };
  const std::int64_t g1 = sample(c.g);
  return {g1, sample(c.r), sample(c.b), sample(static_cast<float>(g1) + 2 * p.y2)};
}

inline PlaneCell<float> pixelToFloats(float r, float g, float b, float off) {
  return {0.299f * r + 0.587f * g + 0.114f * b - off, 0, 0.5f * b - (0.3313f * g + 0.1687f * r),
          0.5f * r - 0.4187f * g - 0.0813f * b};
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_LUMA_CHROMA_H_
