// SPDX-License-Identifier: Apache-2.0
// Pictures and float planes: interleaved colours to Y, Cb, Cr and back, grey to Y, and compact floats.
#include <cmath>

#include "bayer/luma_chroma.h"
#include "quorvel/bayer.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/planes_float.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "bayer/luma_chroma-inl.h"

#ifndef QUORVEL_BAYER_PLANES_FLOAT_TYPES_
#define QUORVEL_BAYER_PLANES_FLOAT_TYPES_
namespace quorvel {

template <typename Sample>
struct Picture {
  const Sample* samples;
  std::size_t pitch, width, height;  // in pixels
};

struct FloatPlanes {
  const float *y, *cb, *cr;
  std::size_t pitch;
};

constexpr std::size_t kCompactPlane = 4096;

// What the codes of compact floats multiply by: 2^-11 * 10^(e - 11) and 2^-13 * 10^(c - 1).
template <int kFractionBits, typename... Powers>
constexpr std::array<float, sizeof...(Powers)> compactScales(Powers... powers) {
  return {static_cast<float>(powers / (1 << kFractionBits))...};
}
constexpr auto kScales12 =
    compactScales<11>(1e-11, 1e-10, 1e-9, 1e-8, 1e-7, 1e-6, 1e-5, 1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4);
constexpr auto kScales14 = compactScales<13>(1e-1, 1e0, 1e1, 1e2);

}  // namespace quorvel
#endif

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

template <class DF, typename Sample>
HWY_INLINE hn::Vec<DF> floatsOf(DF df, hn::Vec<hn::Rebind<Sample, DF>> v) {
  return hn::ConvertTo(df, hn::PromoteTo(hn::RebindToSigned<DF>(), v));
}

// kSamples a pixel, of which the first three are R, G, B.
template <std::size_t kSamples, typename Sample>
HWY_INLINE void colourToPlanes(const Picture<Sample>& in, float* y, float* cb, float* cr, float offset) {
  const std::array<Source, 1> source = {reads<kSamples>(in.samples, kSamples * in.pitch)};
  writeRows<float, 1>(in.height, in.width, std::array{y, cb, cr}, source,
                      [&](auto df, std::size_t row, std::size_t i, const auto& to) HWY_ATTR {
                        const hn::Rebind<Sample, decltype(df)> ds;
                        const Sample* pixels = in.samples + kSamples * (row * in.pitch + i);
                        hn::Vec<decltype(ds)> rs, gs, bs;
                        if constexpr (kSamples == 3) {
                          hn::LoadInterleaved3(ds, pixels, rs, gs, bs);
                        } else {
                          hn::Vec<decltype(ds)> unused;
                          hn::LoadInterleaved4(ds, pixels, rs, gs, bs, unused);
                        }
                        using DF = decltype(df);
                        const auto r = floatsOf<DF, Sample>(df, rs), g = floatsOf<DF, Sample>(df, gs),
                                   b = floatsOf<DF, Sample>(df, bs);
                        const auto times = [=](float k, auto v) HWY_ATTR { return hn::Mul(hn::Set(df, k), v); };
                        hn::StoreU(luminanceOf(df, r, g, b, offset), df, to[0]);
                        hn::StoreU(hn::Sub(times(0.5f, b), hn::Add(times(0.3313f, g), times(0.1687f, r))), df, to[1]);
                        hn::StoreU(hn::Sub(hn::Sub(times(0.5f, r), times(0.4187f, g)), times(0.0813f, b)), df, to[2]);
                      });
}

HWY_FLATTEN void rgb8ToPlanes(const Picture<std::uint8_t>& in, float* y, float* cb, float* cr, float offset) {
  colourToPlanes<3>(in, y, cb, cr, offset);
}

HWY_FLATTEN void rgba8ToPlanes(const Picture<std::uint8_t>& in, float* y, float* cb, float* cr, float offset) {
  colourToPlanes<4>(in, y, cb, cr, offset);
}

HWY_FLATTEN void rgba16ToPlanes(const Picture<std::uint16_t>& in, float* y, float* cb, float* cr, float offset) {
  colourToPlanes<4>(in, y, cb, cr, offset);
}

HWY_FLATTEN void planesToRgb8(const FloatPlanes& in, std::uint8_t* rgb, std::size_t pitch, std::size_t width,
                              std::size_t height, float offset) {
  // A bound above a byte's saturates: wrapped, the lightest pixels would turn dark.
  const float high = largestSample(2 * std::fabs(std::round(offset)) - 1, 255);
  const std::array<Source, 3> sources = {reads<1>(in.y, in.pitch), reads<1>(in.cb, in.pitch),
                                         reads<1>(in.cr, in.pitch)};
  writeStridedRows<float, 3>(
      height, width, StridedRows<std::uint8_t, 1>{{rgb}, {3 * pitch}}, true, sources,
      [&](auto df, std::size_t row, std::size_t i, const auto& to) HWY_ATTR {
        const auto load = [=](const float* plane) HWY_ATTR { return hn::LoadU(df, plane + row * in.pitch + i); };
        const auto colour = colourOf(df, load(in.y), load(in.cb), load(in.cr), offset);
        const hn::Rebind<std::uint8_t, decltype(df)> d8;
        const auto byte = [=](auto v) HWY_ATTR { return hn::DemoteTo(d8, sampleOf(df, v, high)); };
        hn::StoreInterleaved3(byte(colour.r), byte(colour.g), byte(colour.b), d8, to[0]);
      });
}

template <typename Sample>
HWY_INLINE void greyToPlane(const Picture<Sample>& in, float* y, float offset) {
  writeRows<float, 1>(in.height, in.width, std::array{y}, std::array{reads<1>(in.samples, in.pitch)},
                      [&](auto df, std::size_t row, std::size_t i, const auto& to) HWY_ATTR {
                        const hn::Rebind<Sample, decltype(df)> ds;
                        const auto grey = hn::LoadU(ds, in.samples + row * in.pitch + i);
                        const auto value = floatsOf<decltype(df), Sample>(df, grey);
                        hn::StoreU(hn::Sub(value, hn::Set(df, offset)), df, to[0]);
                      });
}

HWY_FLATTEN void grey16ToPlane(const Picture<std::uint16_t>& in, float* y, float offset) { greyToPlane(in, y, offset); }
HWY_FLATTEN void grey8ToPlane(const Picture<std::uint8_t>& in, float* y, float offset) { greyToPlane(in, y, offset); }

// A code above a mantissa in two's complement, which take a sample together.
template <int kMantissaBits, class DF, class V16>
HWY_INLINE hn::Vec<DF> fromCompact(DF df, V16 packed, const float* scales) {
  const hn::RebindToSigned<DF> d32;
  const auto word = hn::PromoteTo(d32, packed);
  const auto mantissa = hn::ShiftRight<32 - kMantissaBits>(hn::ShiftLeft<32 - kMantissaBits>(word));
  const auto scale = hn::GatherIndex(df, scales, hn::ShiftRight<kMantissaBits>(word));
  return hn::Mul(hn::ConvertTo(df, mantissa), scale);
}

HWY_FLATTEN void compactToFloat(const std::uint16_t* triplets, std::size_t count, float* out) {
  forLanes<float>(count, [=](auto df, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::uint16_t, decltype(df)> ds;
    hn::Vec<decltype(ds)> a, b, c;
    hn::LoadInterleaved3(ds, triplets + 3 * i, a, b, c);
    hn::StoreU(fromCompact<12>(df, a, kScales12.data()), df, out + i);
    hn::StoreU(fromCompact<12>(df, b, kScales12.data()), df, out + kCompactPlane + i);
    hn::StoreU(fromCompact<14>(df, c, kScales14.data()), df, out + 2 * kCompactPlane + i);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(rgb8ToPlanes);
HWY_EXPORT(rgba8ToPlanes);
HWY_EXPORT(rgba16ToPlanes);
HWY_EXPORT(planesToRgb8);
HWY_EXPORT(grey16ToPlane);
HWY_EXPORT(grey8ToPlane);
HWY_EXPORT(compactToFloat);

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int RGB8ToYCbCrPlanesFlt(const std::uint8_t* rgb, unsigned pitch, unsigned width, unsigned height, float* y, float* cb,
                         float* cr, float offset) {
  HWY_DYNAMIC_DISPATCH(rgb8ToPlanes)({rgb, pitch, width, height}, y, cb, cr, offset);
  return 0;
}

int RGBA8ToYCbCrPlanesFlt(const std::uint8_t* rgba, unsigned pitch, unsigned width, unsigned height, float* y,
                          float* cb, float* cr, float offset) {
  HWY_DYNAMIC_DISPATCH(rgba8ToPlanes)({rgba, pitch, width, height}, y, cb, cr, offset);
  return 0;
}

int RGBAToYCbCrPlanesFlt(const std::uint16_t* rgba, unsigned pitch, unsigned width, unsigned height, float* y,
                         float* cb, float* cr, float offset) {
  HWY_DYNAMIC_DISPATCH(rgba16ToPlanes)({rgba, pitch, width, height}, y, cb, cr, offset);
  return 0;
}

int YCbCrPlanesToRGB8Flt(const float* y, const float* cb, const float* cr, std::uint8_t* rgb, unsigned pitch,
                         unsigned width, unsigned height, float offset) {
  HWY_DYNAMIC_DISPATCH(planesToRgb8)({y, cb, cr, width}, rgb, pitch, width, height, offset);
  return 0;
}

int YCbCrPlanesToRGB8FltSSE(const float* y, const float* cb, const float* cr, std::uint8_t* rgb, unsigned pitch,
                            unsigned width, unsigned height, float offset, unsigned planePitch) {
  // A row takes its offset as an integer.
  HWY_DYNAMIC_DISPATCH(planesToRgb8)({y, cb, cr, planePitch}, rgb, pitch, width, height, std::round(offset));
  return 0;
}

int YCbCrPlanesToRGB8Flt_SSE(const float* y, const float* cb, const float* cr, std::uint8_t* rgb, unsigned count,
                             int offset) {
  return YCbCrPlanesToRGB8Flt(y, cb, cr, rgb, count, count, 1, static_cast<float>(offset));
}

int YCbCrPlanesToRGB8Flt_SSEasm(const float* y, const float* cb, const float* cr, std::uint8_t* rgb, unsigned groups,
                                int offset) {
  return YCbCrPlanesToRGB8Flt_SSE(y, cb, cr, rgb, 4 * groups, offset);
}

int GrayToYFlt(const std::uint16_t* grey, unsigned pitch, unsigned width, unsigned height, float* y, float offset) {
  HWY_DYNAMIC_DISPATCH(grey16ToPlane)({grey, pitch, width, height}, y, offset);
  return 0;
}

int GrayToY8Flt(const std::uint8_t* grey, unsigned pitch, unsigned width, unsigned height, float* y, float offset) {
  HWY_DYNAMIC_DISPATCH(grey8ToPlane)({grey, pitch, width, height}, y, offset);
  return 0;
}

int ABC16toFlt(const std::uint16_t* triplets, unsigned count, float* out) {
  if (count > kCompactPlane) return -1;
  HWY_DYNAMIC_DISPATCH(compactToFloat)(triplets, count, out);
  return 0;
}

#endif
