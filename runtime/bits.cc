// SPDX-License-Identifier: Apache-2.0
// Positions of bits in a 32-bit word.
#include <bit>

#include "quorvel/runtime.h"

int log2i(unsigned x) { return static_cast<int>(std::bit_width(x)); }

int log2n(unsigned x) { return log2i(x) - 1; }

int lowBit(unsigned x) { return x == 0 ? -1 : std::countr_zero(x); }
