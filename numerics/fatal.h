// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_NUMERICS_FATAL_H_
#define QUORVEL_NUMERICS_FATAL_H_

#include <cstdio>
#include <cstdlib>

namespace quorvel {

// An index beyond its range is a fault of the host's that no result could tell of: the process stops and says where.
inline void requireIndex(const char* where, const char* what, int index, int size) {
  if (index >= 0 && index < size) return;
  std::fprintf(stderr, "%s: %s %d is not among the %d\n", where, what, index, size);
  std::abort();
}

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_FATAL_H_
