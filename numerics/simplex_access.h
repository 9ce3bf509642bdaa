// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_NUMERICS_SIMPLEX_ACCESS_H_
#define QUORVEL_NUMERICS_SIMPLEX_ACCESS_H_

#include "numerics/tableau.h"
#include "quorvel/numerics.h"

namespace quorvel {

// The way of the driver of normal equations into the program: a tableau of the type that it computes in.
struct SimplexAccess {
  template <typename T>
  static Tableau<T>& fresh(CSimplexProgram& program, int rows, int columns);
};

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_SIMPLEX_ACCESS_H_
