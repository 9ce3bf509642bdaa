// SPDX-License-Identifier: Apache-2.0
// What the transforms share with the client and with each other. None of it is locked: the host writes it before it
// transforms on several threads.
#ifndef QUORVEL_CODEC_DCT_H_
#define QUORVEL_CODEC_DCT_H_

#include <cstdint>

namespace quorvel {

// The client's tables, sized as it has always been told. A cache line's alignment keeps vectors from lying across two.
struct TransformTables {
  alignas(64) std::uint64_t forwardLeft[64];
  alignas(64) std::uint64_t forwardLeft8[128];  // eight copies
  alignas(64) std::int16_t inverseRight[256];
  alignas(64) std::int16_t forwardRight[384];
  alignas(64) std::uint64_t inverseLeft[64];
  alignas(64) std::uint64_t inverseLeft8[128];
  alignas(64) float forwardFloat[256];
  alignas(64) float inverseFloat[256];
  alignas(64) float forwardScale[64];
  alignas(64) float inverseScale[64];
};
extern TransformTables transformTables;

// What the forward transforms of 12-bit samples subtract.
extern std::uint16_t levelShift;

// Read by getNullPercent. Nothing in the library counts.
struct CoefficientCounters {
  std::uint64_t seen, zero;
};
extern CoefficientCounters coefficientCounters;

}  // namespace quorvel

#endif  // QUORVEL_CODEC_DCT_H_
