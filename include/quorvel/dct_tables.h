// SPDX-License-Identifier: Apache-2.0
/// @file
/// The contents of the transform tables, and quantisers to go with them. Header-only.
///
/// The forward transforms of 8-bit samples yield 8 times the orthonormal coefficients, those of 12-bit samples the
/// orthonormal coefficients themselves; an inverse with the plain tables expects twice the orthonormal ones, and
/// `calcIDCT16_w` doubles on its own. So the steps of an inverse with the plain tables are a quarter of the forward
/// ones for 8-bit samples and twice them for `calcIDCT16_wq`. All numbers here are the same bits on every platform.
#ifndef QUORVEL_DCT_TABLES_H_
#define QUORVEL_DCT_TABLES_H_

#include <array>

#include <quorvel/codec.h>

namespace quorvel {

/// The orthonormal basis of 8 points: the value of frequency `k` at point `j`, both 0..7. Its rows are orthogonal and
/// of length 1.
constexpr double cosineBasis(unsigned k, unsigned j) {
  // cos(n * pi / 16) for n = 0..8; written out, since libraries of mathematics differ in last bits.
  constexpr double kCosine[9] = {1.0,
                                 0.98078528040323044913,
                                 0.92387953251128675613,
                                 0.83146961230254523708,
                                 0.70710678118654752440,
                                 0.55557023301960222474,
                                 0.38268343236508977173,
                                 0.19509032201612826785,
                                 0.0};
  if (k == 0) return kCosine[4] / 2;
  const unsigned turn = (2 * j + 1) * k % 32;                    // in 1/32 of a full circle
  const unsigned half = turn <= 16 ? turn : 32 - turn;           // the cosine is even
  return (half <= 8 ? kCosine[half] : -kCosine[16 - half]) / 2;  // and turns its sign at a quarter
}

/// What the inverse transforms of 16 bits are to undo.
enum class InverseTables {
  Plain,          ///< as said above; `calcIDCT16_w` undoes `calcFDCT16_w`
  ForwardsSteps8  ///< right factor quartered: `calcIDCT16_bq` undoes `calcFDCT16_bq` with the same steps, and comes
                  ///< nearer to the samples, since the first pass truncates in finer units
};

/// Fills all ten tables of the transforms. The float scales and steps are set to 1; see `fillFloatScales`.
inline void fillTransformTables(InverseTables kind = InverseTables::Plain) {
  const auto fixed = [](double v) { return static_cast<std::int16_t>(v * 65536 + (v < 0 ? -0.5 : 0.5)); };
  const auto copies = [](std::int16_t v) { return static_cast<std::uint16_t>(v) * 0x0001000100010001u; };
  const double scale = kind == InverseTables::Plain ? 1.0 : 0.25;
  for (unsigned row = 0; row < 8; ++row) {
    for (unsigned column = 0; column < 8; ++column) {
      const unsigned i = 8 * row + column;
      const double basis = cosineBasis(row, column), transposed = cosineBasis(column, row);
      getFDCT64()[i] = getFDCT64_2()[2 * i] = getFDCT64_2()[2 * i + 1] = copies(fixed(basis));
      getIDCT16()[i] = fixed(transposed);
      getIDCT64()[i] = getIDCT64_2()[2 * i] = getIDCT64_2()[2 * i + 1] = copies(fixed(transposed));
      getFDCT16()[i] = fixed(basis * scale);
      getFDCTf()[i] = getIDCTf()[64 + i] = static_cast<float>(basis);
      getFDCTf()[64 + i] = getIDCTf()[i] = static_cast<float>(transposed);
      getFDCTfn()[i] = getIDCTfn()[i] = 1.0f;
    }
  }
}

/// 64 quantiser steps in units of the orthonormal coefficients, row-major, as JPEG data states them.
using QuantizerSteps = std::array<std::uint16_t, 64>;

/// A quantiser for the 16-bit transforms.
struct Quantizer {
  QuantizerSteps forward;  ///< steps of the forward transform's own units
  QuantizerSteps recip;    ///< their reciprocals
  QuantizerSteps bias;     ///< half of each: quotients are rounded to the nearest
  QuantizerSteps inverse;  ///< steps for the inverse
  bool valid;              ///< false where a forward step is below 3, and then nothing else may be used
};

/// The quantiser for `forwardScale` times the orthonormal coefficients, whose inverse expects `inverseScale` times
/// them. Steps times these scales fit 16 bits.
inline Quantizer makeQuantizer(const QuantizerSteps& steps, unsigned forwardScale, unsigned inverseScale) {
  Quantizer q{};
  for (unsigned i = 0; i < 64; ++i) {
    q.forward[i] = static_cast<std::uint16_t>(steps[i] * forwardScale);
    q.bias[i] = q.forward[i] / 2;
    q.inverse[i] = static_cast<std::uint16_t>(steps[i] * inverseScale);
  }
  q.valid = genQuantizeTable(q.forward.data(), q.recip.data()) == 0;
  return q;
}

/// For `calcFDCT16_bq` and `calcIDCT16_bq`. Steps from 1 on.
inline Quantizer makeQuantizer8(const QuantizerSteps& steps, InverseTables kind = InverseTables::Plain) {
  return makeQuantizer(steps, 8, kind == InverseTables::Plain ? 2 : 8);
}
/// For `calcFDCT16_wq` and `calcIDCT16_wq` with the plain tables. Steps from 3 on.
inline Quantizer makeQuantizer12(const QuantizerSteps& steps) { return makeQuantizer(steps, 1, 2); }

/// Scales and steps for the float transforms in `getFDCTfn` and `getIDCTfn`. `forwardScale` is 8 for the transforms of
/// 8-bit samples and 1 for `calcFDCTf_wq`.
inline void fillFloatScales(const QuantizerSteps& steps, unsigned forwardScale) {
  for (unsigned i = 0; i < 64; ++i) {
    getFDCTfn()[i] = 1.0f / static_cast<float>(steps[i] * forwardScale);
    getIDCTfn()[i] = static_cast<float>(steps[i]);
  }
}

/// The example tables of the JPEG standard, row-major: its step for quality 50.
inline constexpr QuantizerSteps kJpegLuminanceSteps = {16, 11, 10, 16, 24,  40,  51,  61,   //
                                                       12, 12, 14, 19, 26,  58,  60,  55,   //
                                                       14, 13, 16, 24, 40,  57,  69,  56,   //
                                                       14, 17, 22, 29, 51,  87,  80,  62,   //
                                                       18, 22, 37, 56, 68,  109, 103, 77,   //
                                                       24, 35, 55, 64, 81,  104, 113, 92,   //
                                                       49, 64, 78, 87, 103, 121, 120, 101,  //
                                                       72, 92, 95, 98, 112, 100, 103, 99};
inline constexpr QuantizerSteps kJpegChrominanceSteps = {17, 18, 24, 47, 99, 99, 99, 99,  //
                                                         18, 21, 26, 66, 99, 99, 99, 99,  //
                                                         24, 26, 56, 99, 99, 99, 99, 99,  //
                                                         47, 66, 99, 99, 99, 99, 99, 99,  //
                                                         99, 99, 99, 99, 99, 99, 99, 99,  //
                                                         99, 99, 99, 99, 99, 99, 99, 99,  //
                                                         99, 99, 99, 99, 99, 99, 99, 99,  //
                                                         99, 99, 99, 99, 99, 99, 99, 99};

/// A table scaled to a quality of 1..100 in the customary way: in per cent, 5000 / quality below 50 and
/// 200 - 2 * quality from there on; steps limited to 1..255, as baseline JPEG data has them. Qualities outside are
/// limited.
constexpr QuantizerSteps jpegSteps(const QuantizerSteps& base, int quality) {
  const int q = quality < 1 ? 1 : quality > 100 ? 100 : quality;
  const int percent = q < 50 ? 5000 / q : 200 - 2 * q;
  QuantizerSteps steps{};
  for (unsigned i = 0; i < 64; ++i) {
    const int step = (base[i] * percent + 50) / 100;
    steps[i] = static_cast<std::uint16_t>(step < 1 ? 1 : step > 255 ? 255 : step);
  }
  return steps;
}

}  // namespace quorvel

#endif  // QUORVEL_DCT_TABLES_H_
