// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_NUMERICS_WITHIN_MEMORY_H_
#define QUORVEL_NUMERICS_WITHIN_MEMORY_H_

#include <new>
#include <stdexcept>

#include "quorvel/errors.h"

namespace quorvel {

// Does the work, and reports memory that cannot be had as the interface does. More than a container could ever hold is
// a failure of the same kind.
template <typename Work>
decltype(auto) withinMemory(Work&& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    throw CMatErrorM(matErrorMemory, "incMemory");
  } catch (const std::length_error&) {
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
  } catch (const std::length_error&) {
    return matErrorMemory;
  } catch (const CMatErrorM& error) {
    return error.code;
  }
}

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_WITHIN_MEMORY_H_
