// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_NUMERICS_SPARSE_PRODUCTS_H_
#define QUORVEL_NUMERICS_SPARSE_PRODUCTS_H_

#include "quorvel/sparse.h"

namespace quorvel {

// matrix' * matrix as its half with position <= line, and marked so. O(half the multiplications + lines + positions)
sSparseMatrix upperNormal(const sSparseMatrix& matrix);

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_SPARSE_PRODUCTS_H_
