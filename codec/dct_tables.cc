// SPDX-License-Identifier: Apache-2.0
// The client's transform tables, and the reciprocals of its quantiser steps.
#include "codec/dct.h"
#include "quorvel/codec.h"

namespace quorvel {

TransformTables transformTables;
std::uint16_t levelShift = 2048;

}  // namespace quorvel

using namespace quorvel;

std::uint64_t* getFDCT64() { return transformTables.forwardLeft; }
std::uint64_t* getFDCT64_2() { return transformTables.forwardLeft8; }
std::int16_t* getFDCT16() { return transformTables.inverseRight; }  // named for what it holds, not for who reads it
std::int16_t* getIDCT16() { return transformTables.forwardRight; }
std::uint64_t* getIDCT64() { return transformTables.inverseLeft; }
std::uint64_t* getIDCT64_2() { return transformTables.inverseLeft8; }
float* getFDCTf() { return transformTables.forwardFloat; }
float* getIDCTf() { return transformTables.inverseFloat; }
float* getFDCTfn() { return transformTables.forwardScale; }
float* getIDCTfn() { return transformTables.inverseScale; }

void setJpegSubWord(std::uint16_t level) { levelShift = level; }

int genQuantizeTable(const std::uint16_t* steps, std::uint16_t* recip) {
  for (int i = 0; i < 64; ++i) {
    if (steps[i] <= 2) return 1;
    recip[i] = static_cast<std::uint16_t>(65536.0 / steps[i] + 0.99);
  }
  return 0;
}
