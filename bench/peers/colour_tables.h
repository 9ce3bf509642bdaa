// SPDX-License-Identifier: Apache-2.0
// Colour tables in other libraries, over the same grid and filled by the same function. All work on pixels of three
// bytes and on one thread.
#ifndef QUORVEL_BENCH_PEERS_COLOUR_TABLES_H_
#define QUORVEL_BENCH_PEERS_COLOUR_TABLES_H_

#include <array>
#include <cstdint>
#include <functional>

namespace quorvel::bench {

// What colours become, on the scale of 0 to 1.
using ColourMove = std::function<std::array<double, 3>(std::array<double, 3>)>;
using ConvertPixels = std::function<void(const std::uint8_t* src, std::uint8_t* dst, unsigned width, unsigned height)>;

// A device link of 8 bits whose table Little CMS interpolates over tetrahedra.
ConvertPixels lcmsDeviceLink(unsigned levels, const ColourMove& move);

// OpenColorIO's Lut3D, tetrahedral.
ConvertPixels ocioLut3D(unsigned levels, const ColourMove& move);

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_COLOUR_TABLES_H_
