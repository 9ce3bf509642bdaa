// SPDX-License-Identifier: Apache-2.0
/// @file
/// The words that every header of the interface shares: the export mark, the small records, and the integer vocabulary.
///
/// One vocabulary holds on all platforms: a 64-bit integer is `std::int64_t`, a "long" is `std::int32_t` and an
/// "unsigned long" is `std::uint32_t`, whatever the compiler's own `long` may be.
#ifndef QUORVEL_TYPES_H_
#define QUORVEL_TYPES_H_

#include <cstddef>
#include <cstdint>

#if defined(QUORVEL_STATIC)
#define QUORVEL_API
#elif defined(_WIN32)
#if defined(QUORVEL_BUILDING)
#define QUORVEL_API __declspec(dllexport)
#else
#define QUORVEL_API __declspec(dllimport)
#endif
#else
#define QUORVEL_API __attribute__((visibility("default")))
#endif

// For the short members of exported templates that hosts call for every element. Hosts emit no code of such templates,
// and a DLL exports no code that is inline: what is inline has to be so in hosts that do not optimise, too.
#define QUORVEL_INLINE [[gnu::always_inline]]

/// A point of two coordinates, passed by value or by pointer.
template <typename T>
struct TPoInt {
  T x, y;
};

/// How one colour channel goes from sensor levels to output values. See `convertRGBGammaTo8`.
struct ConversionChannel {
  int lowLevel;   ///< input level at and below which the output is 0
  int highLevel;  ///< input level at and above which the output is `maxOut`
  double gamma;   ///< the curve between them is the power 1 / gamma
  int mode;       ///< takes part in the test for a change, not in the curve
  int maxOut;     ///< output value of full scale (255 for 8-bit output)
};

/// The three channels of a conversion, in memory order.
struct ConversionParam {
  ConversionChannel red, green, blue;
};

/// Weights of the 16-bit grey conversion in 1/32768, each repeated for the four lanes of a group.
/// Filled by `convertCoef_RGB_to_Gray`.
struct RGB_to_Gray {
  std::int16_t red[4], green[4], blue[4];
};

/// The mean black level of the four sample phases of a Bayer frame: phase (column & 1) + 2 * (row & 1), so green of the
/// G/R rows, red, blue, green of the B/G rows. Filled by `calcBayerBlack`.
struct BayerBlack {
  int level[4];
};

/// A cell of a colour table: gain and offset of each channel.
struct KxB {
  std::int16_t k[4], b[4];
};

/// How `rgbFromBayer` fills in the two colours that a photosite does not see.
enum fromBayerMethod : int {
  bayerBilinear = 0,           ///< means of the nearest neighbours; any 16-bit samples
  bayerGradient = 1,           ///< along the smaller gradient, with Laplacian correction; 12-bit samples
  bayerVariableGradients = 2,  ///< variable number of gradients over 5x5 samples; 12-bit samples
  bayerReserved = 3,           ///< stops in a debugger; writes nothing
  bayerNone = 4,               ///< not supported
  bayerSeparate = 5            ///< each sample into its own plane, 0 elsewhere; any 16-bit samples
};

#endif  // QUORVEL_TYPES_H_
