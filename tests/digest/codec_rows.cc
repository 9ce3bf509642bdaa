// SPDX-License-Identifier: Apache-2.0
#include <quorvel/dct_tables.h>

#include "tests/digest/digest.h"

namespace quorvel::test {
namespace {

// The transforms return their destination, which is another one on every system.
template <auto kRoutine, typename = decltype(kRoutine)>
struct WithoutResult;
template <auto kRoutine, typename Result, typename... Parameters>
struct WithoutResult<kRoutine, Result (*)(Parameters...)> {
  static void call(Parameters... parameters) { kRoutine(parameters...); }
};

// Every call begins with the client's usual tables, whatever was called before.
#define TRANSFORM(routine, ...)                                               \
  routines[#routine] = [=](Digest& d) {                                       \
    fillTransformTables();                                                    \
    digestCall(d, &WithoutResult<&routine>::call __VA_OPT__(, ) __VA_ARGS__); \
  }

void addTransforms(Routines& routines) {
  TRANSFORM(calcFDCT16_w, 24);
  TRANSFORM(calcFDCT16_wq, 24);
  TRANSFORM(calcFDCT16_bq, 11);
  TRANSFORM(calcFDCT16_bq_SSE2, 11);
  TRANSFORM(calcFDCT16_bq_SSE2var, 11);
  TRANSFORM(calcFDCT16_bq_strip, 89, 11, 1);
  TRANSFORM(calcFDCT16_wq_strip, 178, 11, 1);
  TRANSFORM(calcIDCT16_w, 24);
  TRANSFORM(calcIDCT16_wq, 24);
  TRANSFORM(calcIDCT16_bq, 24);
  TRANSFORM(calcIDCT_SSE2, 24);
  TRANSFORM(calcIDCT16_bq_strip, 11, 89, 1);
  TRANSFORM(calcIDCT16_wq_strip, 11, 178, 1);
  routines["setJpegSubWord"] = [](Digest& d) {
    fillTransformTables();
    setJpegSubWord(100);
    digestCall(d, &WithoutResult<&calcFDCT16_w>::call, 24);
    setJpegSubWord(2048);
  };
#define TABLE(getter, count)          \
  routines[#getter] = [](Digest& d) { \
    fillTransformTables();            \
    d.add(getter(), count);           \
  }
  TABLE(getFDCT64, 64);
  TABLE(getFDCT64_2, 128);
  TABLE(getFDCT16, 64);
  TABLE(getIDCT16, 64);
  TABLE(getIDCT64, 64);
  TABLE(getIDCT64_2, 128);
  TABLE(getFDCTf, 128);
  TABLE(getIDCTf, 128);
  TABLE(getFDCTfn, 64);
  TABLE(getIDCTfn, 64);
}

// Floats of a size at which no sum overflows.
void addFloats(Routines& routines) {
  const auto floats = [](std::uint32_t seed) {
    std::vector<float> values;
    for (const std::uint16_t v : content<std::uint16_t>(seed)) values.push_back((v - 2048) / 300.0f);
    return values;
  };
  const auto a = floats(1), b = floats(2), scale = floats(3);
  const auto bytes = content<std::uint8_t>(4);
  const auto words = content<std::uint16_t>(5);
  std::vector<std::int16_t> coefs;
  for (const std::uint16_t v : content<std::uint16_t>(6)) coefs.push_back(static_cast<std::int16_t>(v % 31 - 15));
  const auto row = [&](const char* name, auto&& call) {
    routines[name] = [=](Digest& d) {
      fillTransformTables();
      std::vector<float> out(kRoom);
      call(out.data());
      d.add(out.data(), out.size());
    };
  };
  row("calcFDCTf_bq", [=](float* out) { calcFDCTf_bq(bytes.data(), 11, scale.data(), out, nullptr); });
  row("calcFDCTf_wq", [=](float* out) { calcFDCTf_wq(words.data(), 24, scale.data(), out, nullptr); });
  for (const auto& [name, routine] :
       {std::pair("calcFDCTFlt_SSE", &calcFDCTFlt_SSE), std::pair("calcFDCTFlt_3DNow", &calcFDCTFlt_3DNow)}) {
    row(name, [=](float* out) { routine(bytes.data(), 11, a.data(), b.data(), scale.data(), out, nullptr); });
  }
  for (const auto& [name, routine] :
       {std::pair("matrMul8x8Flt", &matrMul8x8Flt), std::pair("matrMul8x8Flt_SSE", &matrMul8x8Flt_SSE),
        std::pair("matrMul8x8Flt_3DNow", &matrMul8x8Flt_3DNow)}) {
    row(name, [=](float* out) { routine(a.data(), b.data(), out); });
  }
  for (const auto& [name, routine] :
       {std::pair("calcIDCTFlt_SSE", &calcIDCTFlt_SSE), std::pair("calcIDCTFlt_SSE2", &calcIDCTFlt_SSE2)}) {
    row(name, [=](float* out) {
      routine(coefs.data(), scale.data(), a.data(), b.data(), reinterpret_cast<std::uint8_t*>(out), 11, nullptr);
    });
  }
  row("calcIDCTFlt_strip", [=](float* out) {
    calcIDCTFlt_strip(coefs.data(), 5, scale.data(), a.data(), b.data(), reinterpret_cast<std::uint8_t*>(out), 43, 1);
  });
  row("deMulFltOkrugV",
      [=](float* out) { deMulFltOkrugV(a.data(), reinterpret_cast<std::int16_t*>(out + 2000), out, 0.37f, 1003, 0); });
}

}  // namespace

void addCodec(Routines& routines) {
  addTransforms(routines);
  addFloats(routines);
  for (const unsigned n : {1003u, 64u, 5u}) {
    CALL(mulFltOkrug0375V, 0.37f, n, 1);
    CALL(mulFltOkrug0375Vasm, 0.37f, n, 3);
    CALL(calc64_MaxAbs, n);
    CALL(signBits64, n);
  }
  CALL(genQuantizeTable);
  CALL(zigzagBlock);
  CALL(dezigzagBlock);
  CALL(pack64Coefs);
  for (const auto& [name, routine] :
       {std::pair("matrMul8x8_I16_MMX", &matrMul8x8_I16_MMX), std::pair("matrMul8x8w_SSE", &matrMul8x8w_SSE),
        std::pair("matrMul4x4_I16_MMX", &matrMul4x4_I16_MMX)}) {
    routines[name] = [=](Digest& d) {  // of copies that are equal, as they have to be
      auto left = content<std::uint64_t>(1);
      for (std::uint64_t& word : left) word = (word & 0xFFFF) * 0x0001000100010001u;
      std::vector<std::int16_t> product(64);
      routine(left.data(), content<std::int16_t>(2).data(), product.data());
      d.add(product.data(), product.size());
    };
  }
  CALL(getNullPercent);
}

}  // namespace quorvel::test
