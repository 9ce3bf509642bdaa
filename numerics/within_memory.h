// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_NUMERICS_WITHIN_MEMORY_H_
#define QUORVEL_NUMERICS_WITHIN_MEMORY_H_

#include <new>

#include "quorvel/errors.h"

namespace quorvel {

// Does the work, and reports memory that cannot be had as the interface does.
template <typename Work>
decltype(auto) withinMemory(Work&& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    throw CMatErrorM(matErrorMemory, "incMemory");
  }
}

// The same for routines that answer with a code.
template <typename Work>
int codeWithinMemory(Work&& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return matErrorMemory;
  } catch (const CMatErrorM& error) {
    return error.code;
  }
}

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_WITHIN_MEMORY_H_
