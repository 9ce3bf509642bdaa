// SPDX-License-Identifier: Apache-2.0
// Holding an exported routine against its plain model.
#ifndef QUORVEL_TESTS_SUPPORT_PROVE_H_
#define QUORVEL_TESTS_SUPPORT_PROVE_H_

#include <algorithm>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/samples.h"
#include "tests/support/targets.h"

namespace quorvel::test {

// Passes where both agree in every element; reports the first that differs, and its neighbourhood's index alone, where
// a whole buffer would drown it.
template <typename T>
testing::AssertionResult sameSamples(const std::vector<T>& expected, const std::vector<T>& actual) {
  if (expected.size() != actual.size()) {
    return testing::AssertionFailure() << "expected " << expected.size() << " samples, got " << actual.size();
  }
  const auto [e, a] = std::mismatch(expected.begin(), expected.end(), actual.begin());
  if (e == expected.end()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "sample " << e - expected.begin() << " of " << expected.size() << ": expected "
                                     << +*e << ", got " << +*a;
}

// Passes where the buffer holds what the model made and nothing beside it was written.
template <typename T>
testing::AssertionResult holds(GuardedBuffer<T>& actual, const std::vector<T>& expected) {
  if (!actual.surroundingsIntact()) return testing::AssertionFailure() << "wrote beside the buffer";
  return sameSamples(expected, actual.copy());
}

// Runs check(n, pattern, guard) for every row length, every kind of samples and both sides of the guard page, on every
// vector target. The check makes its buffers with `guard`, so that reading or writing too far faults on either side.
template <typename Check>
void proveRows(const std::vector<unsigned>& lengths, Check&& check) {
  onEveryTarget([&] {
    for (const unsigned n : lengths) {
      for (const Pattern pattern : kAllPatterns) {
        for (const Guard guard : {Guard::AfterEnd, Guard::BeforeBegin}) {
          SCOPED_TRACE(testing::Message() << "length " << n << ", " << pattern << " samples, guard "
                                          << (guard == Guard::AfterEnd ? "after" : "before"));
          check(n, pattern, guard);
          if (testing::Test::HasFailure()) return;
        }
      }
    }
  });
}

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_PROVE_H_
