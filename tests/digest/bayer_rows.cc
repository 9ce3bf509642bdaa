// SPDX-License-Identifier: Apache-2.0
#include "tests/digest/digest.h"

namespace quorvel::test {
namespace {

void addRows(Routines& routines, unsigned n) { CALL(correctBayerFocus, 700, n, 1.31, -0.155); }

void addImages(Routines& routines, unsigned width, unsigned height) {
  const unsigned stride = width + 5;
  for (const auto method : {bayerBilinear, bayerGradient, bayerVariableGradients, bayerNone, bayerSeparate}) {
    CALL(rgbFromBayer, width, height, stride, method);
    CALL(rgbFromBayerP, width, height, stride, method);
  }
  CALL(rgbFromGray, width, height, stride);
  CALL(rgbFromGrayBayer, width, height, stride);
  CALL(laplasian2T1_green2, width, width + 4);
  for (const int edges : {0, 1, 2, 3}) CALL(laplasian2T1_NOTgreen, width, edges & 1, edges >> 1);
  CALL(calcBayerFocusCoef, width, stride, 3, 2, width - 1, height);
  CALL(calcBayerHistogramm16_32, stride, width, height);
  CALL(rgbToBayer, width, height, stride);
  CALL(turnBayer180, width, height, 3, 2, width - 2, height - 2);
  for (const int sameScale : {0, 1}) CALL(convertBayerGammaTo8, sameScale, 2.2, stride, width, height);
  CALL(calcBayerGRHistogramm16_32, width);
  for (const unsigned skip : {0u, 3u}) CALL(calcBayerGRHistogrammSkip16_32, width, skip);
  CALL(copy9_1_9x, width / 8, 9 * stride, 2);
  CALL(compressBayer_x2, width, height);
  CALL(compressBayer_x2Step, width, height);
  CALL(compressBayer_x4Step, width, height);
  CALL(compressBayer_x8, width, height);
  CALL(bayerReweightFor_x2, width, height);
  CALL(bayerReweightFor_x4, width, height);
  CALL(bayerReweightFor_x4_from_x2, stride, width, height);
  CALL(rgbToBayer_x4, width, height, width / 4 + 3);
}

void addLumaChroma(Routines& routines, unsigned width, unsigned height) {
  const unsigned pitch = width + 4, columns = width / 2;
  for (const int offset : {2048, 100, -300}) {
    CALL(BayerRGBToYCbCrPlanesApprox16slow, pitch, width, height, offset);
    CALL(BayerRGBToYCbCrPlanesApprox16slowCorrect, pitch, width, height, offset);
    CALL(BayerRGBToYCbCrPlanesApprox18slow, pitch, width, height, offset);
    CALL(BayerRGBToYUVplanesApprox16slow, pitch, width, height, offset);
    CALL(BayerRGBToYYCbCrPlanesApprox16slow, pitch, width, height, offset);
    CALL(BayerRGBToYYCbCrPlanes12_4slow, pitch, width, height, offset);
    CALL(BayerRGBToYYCbCrPlanes12_6slow, pitch, width, height, offset);
    CALL(BayerRGBToYdYCbCrPlanes12_4slow, pitch, width, height, offset);
    CALL(BayerRGBToYdYCbCrPlanes12_6slow, pitch, width, height, offset);
    CALL(BayerRGBToYdYCbCrPlanesFlt, pitch, width, height, offset);
    CALL(YCbCrPlanesToBayerRGBApprox16slow, offset, columns, height, pitch);
    CALL(YCbCrPlanesToBayerRGBApprox16slowCorrect, offset, columns, height, pitch);
    CALL(YCbCrPlanesToBayerRGBApprox16slowForPreview, offset, columns, height, pitch);
    CALL(YYCbCrPlanesToBayerRGBApprox16slow, offset, columns, height, pitch);
    CALL(YYCbCrPlanesToBayerRGBfrom12_4slow, offset, columns, height, pitch);
    CALL(YdYCbCrPlanesToBayerRGBfrom12_4slow, offset, columns, height, pitch);
    CALL(YUVplanesToBayerRGBApprox16slow, offset, columns, height, pitch);
    CALL(RGB8ToYCbCrPlanesFlt, pitch, width, height, offset);
    CALL(RGBA8ToYCbCrPlanesFlt, pitch, width, height, offset);
    CALL(RGBAToYCbCrPlanesFlt, pitch, width, height, offset);
    CALL(GrayToYFlt, pitch, width, height, offset);
    CALL(GrayToY8Flt, pitch, width, height, offset);
  }
  CALL(ABC16toFlt, width * height);
}

// Float planes of the range that pictures have: the numbers of `content` are far beyond it.
void addFloatPlanes(Routines& routines) {
  constexpr unsigned kWidth = 61, kHeight = 8, kPitch = 67;
  const auto plane = [](std::uint32_t seed) {
    std::vector<float> values;
    for (const std::uint16_t v : content<std::uint16_t>(seed)) values.push_back(static_cast<float>(v) / 8 - 256);
    return values;
  };
  const auto row = [&](const char* name, auto&& call) {
    routines[name] = [=](Digest& d) {
      std::vector<std::uint16_t> out(kRoom);
      const auto y = plane(1), yd = plane(2), cb = plane(3), cr = plane(4);
      const int status = call(y.data(), yd.data(), cb.data(), cr.data(), out.data());
      d.add(&status, 1);
      d.add(out.data(), out.size());
    };
  };
  const auto bytes = [](std::uint16_t* out) { return reinterpret_cast<std::uint8_t*>(out); };
  row("YdYCbCrPlanesToBayerRGBFlt", [](auto* y, auto* yd, auto* cb, auto* cr, auto* out) {
    return YdYCbCrPlanesToBayerRGBFlt(y, yd, cb, cr, 300.5f, kWidth, kHeight, out, 2 * kPitch);
  });
  row("YCbCrPlanesToRGB8Flt", [=](auto* y, auto*, auto* cb, auto* cr, auto* out) {
    return YCbCrPlanesToRGB8Flt(y, cb, cr, bytes(out), kPitch, kWidth, kHeight, 100.25f);
  });
  row("YCbCrPlanesToRGB8FltSSE", [=](auto* y, auto*, auto* cb, auto* cr, auto* out) {
    return YCbCrPlanesToRGB8FltSSE(y, cb, cr, bytes(out), kPitch, kWidth, kHeight, 100.25f, kPitch);
  });
  row("YCbCrPlanesToRGB8Flt_SSE", [=](auto* y, auto*, auto* cb, auto* cr, auto* out) {
    return YCbCrPlanesToRGB8Flt_SSE(y, cb, cr, bytes(out), kWidth, 128);
  });
  row("YCbCrPlanesToRGB8Flt_SSEasm", [=](auto* y, auto*, auto* cb, auto* cr, auto* out) {
    return YCbCrPlanesToRGB8Flt_SSEasm(y, cb, cr, bytes(out), kWidth / 4, 128);
  });
  routines["getRGBtoYCbCr_coefI16"] = [](Digest& d) { d.add(getRGBtoYCbCr_coefI16(), 9); };
}

void addRecords(Routines& routines) {
  routines["calcBayerBlack"] = [](Digest& d) {
    const auto frame = content<std::int16_t>(7);
    BayerBlack black;
    calcBayerBlack(frame.data(), 100, 0, 3, 2, 77, 41, &black);
    d.add(black.level, 4);
  };
}

}  // namespace

void addBayer(Routines& routines) {
  for (const unsigned n : {1024u, 333u, 77u, 8u}) addRows(routines, n);
  addImages(routines, 64, 20);
  addImages(routines, 37, 11);
  for (const double smear : {0.5, 1.3, 2.7, 3.3, 4.0}) CALL(calcBayerFocusForSmear, smear);
  CALL(transpone_9x8_MMX);
  addLumaChroma(routines, 60, 20);
  addLumaChroma(routines, 37, 11);
  addFloatPlanes(routines);
  addRecords(routines);
}

}  // namespace quorvel::test
