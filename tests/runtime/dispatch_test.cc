// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <quorvel/runtime.h>

#include "runtime/dispatch.h"
#include "tests/support/played_processor.h"

namespace quorvel::test {
namespace {

using Routine = int (*)(int*);

template <int kName>
int variant(int* called) {
  *called = kName;
  return 0;
}

constexpr int kSse = 1, k3dNow = 2, kPlain = 3;

TEST(Dispatch, TakesTheFirstFittingVariantAndRefusesWithoutOne) {
  const struct {
    int sse, now3d;
    bool plain;
    int result, called;
  } cases[] = {{1, 1, false, 0, kSse},
               {0, 1, false, 0, k3dNow},
               {1, 0, true, 0, kSse},
               {0, 0, true, 0, kPlain},
               {0, 0, false, -3, 0}};
  for (const auto& c : cases) {
    PlayedProcessor played;
    capabilityCells.sse = c.sse;
    capabilityCells.now3d = c.now3d;
    int called = 0;
    const Variant<Routine> last = {c.plain ? nullptr : is3DNow, variant<kPlain>};
    EXPECT_EQ(dispatch<Routine>({{isSSE, variant<kSse>}, {is3DNow, variant<k3dNow>}, last}, &called), c.result);
    EXPECT_EQ(called, c.called);
  }
}

TEST(Dispatch, RemembersOnlyTheChoiceThatMayBeRemembered) {
  PlayedProcessor played;
  RememberedVariant<Routine> remembered;
  const auto call = [&] {
    int called = 0;
    remembered.dispatch({{is3DNow, variant<k3dNow>}, {isSSE, variant<kSse>, true}}, &called);
    return called;
  };
  capabilityCells.now3d = 1;
  capabilityCells.sse = 1;
  EXPECT_EQ(call(), k3dNow);
  capabilityCells.now3d = 0;
  EXPECT_EQ(call(), kSse) << "the 3DNow! choice is made anew on each call";
  capabilityCells.now3d = 1;
  capabilityCells.sse = 0;
  EXPECT_EQ(call(), kSse) << "the SSE choice stays";
}

}  // namespace
}  // namespace quorvel::test
