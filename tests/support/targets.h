// SPDX-License-Identifier: Apache-2.0
// Running one check on every vector target that this build contains and this machine can execute.
#ifndef QUORVEL_TESTS_SUPPORT_TARGETS_H_
#define QUORVEL_TESTS_SUPPORT_TARGETS_H_

#include <gtest/gtest.h>
#include <hwy/highway.h>

namespace quorvel::test {

// Steers the kernels' dispatch to one target while it lives.
class UseTarget {
 public:
  explicit UseTarget(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(target);
  }
  UseTarget(const UseTarget&) = delete;
  UseTarget& operator=(const UseTarget&) = delete;
  ~UseTarget() {
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  }
};

// Stops at the first target whose check fails: the others would repeat the same report.
template <typename Check>
void onEveryTarget(Check&& check) {
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    SCOPED_TRACE(hwy::TargetName(target));
    const UseTarget use(target);
    check();
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_TARGETS_H_
