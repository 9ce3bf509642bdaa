// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_NUMERICS_MINIMUM_DEGREE_H_
#define QUORVEL_NUMERICS_MINIMUM_DEGREE_H_

#include <vector>

#include "numerics/sparse_lines.h"

namespace quorvel {

// An order of elimination that keeps the factor of a symmetric matrix sparse: element k is the unknown eliminated in
// step k. Takes the pattern of the entries with row <= column, each once.
std::vector<int> minimumDegreeOrder(const sSparseMatrix& upper);

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_MINIMUM_DEGREE_H_
