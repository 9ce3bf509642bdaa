// SPDX-License-Identifier: Apache-2.0
// Holding an exported routine against its plain model.
#ifndef QUORVEL_TESTS_SUPPORT_PROVE_H_
#define QUORVEL_TESTS_SUPPORT_PROVE_H_

#include <algorithm>
#include <type_traits>
#include <utility>
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
  const auto same = [](const T& x, const T& y) { return x == y || (x != x && y != y); };  // what is no number, too
  const auto [e, a] = std::mismatch(expected.begin(), expected.end(), actual.begin(), same);
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

// An argument as a routine gets it: a vector as a pointer into guarded memory, everything else as it is.
template <typename T>
struct Argument {
  Argument(const T& v, Guard) : value(v) {}
  T passed() const { return value; }
  testing::AssertionResult is(const T&) const { return testing::AssertionSuccess(); }
  T value;
};

template <typename T>
struct Argument<std::vector<T>> {
  Argument(const std::vector<T>& contents, Guard guard) : memory(contents, guard) {}
  T* passed() { return memory.data(); }
  testing::AssertionResult is(const std::vector<T>& expected) { return holds(memory, expected); }
  GuardedBuffer<T> memory;
};

// What nobody answers counts as 0, which routines answer that have done their work.
template <typename Call>
auto answerOf(Call&& call) {
  if constexpr (std::is_void_v<decltype(call())>) {
    call();
    return 0;
  } else {
    return call();
  }
}

// Gives the same arguments to a routine, vectors as pointers into guarded memory, and to its model, which changes the
// vectors themselves. Both have to answer the same and to leave the same behind, in what they fill and in what they
// only read. The unmapped page is on the given side of the first argument, on the other side of the second, and so on:
// no two buffers begin at the same place in a cache line.
template <typename Routine, typename Model, typename... Arguments>
void prove(Guard guard, Routine&& routine, Model&& model, Arguments... arguments) {
  const auto sideOf = [guard](std::size_t place) {
    return (guard == Guard::AfterEnd) == (place % 2 == 0) ? Guard::AfterEnd : Guard::BeforeBegin;
  };
  const auto compare = [&](auto&&... given) {
    const auto answer = answerOf([&] { return routine(given.passed()...); });
    EXPECT_EQ(answer, answerOf([&] { return model(arguments...); }));
    unsigned place = 0;
    const auto same = [&place](auto& argument, const auto& expected) {
      EXPECT_TRUE(argument.is(expected)) << "argument " << place;
      ++place;
    };
    (same(given, arguments), ...);
  };
  [&]<std::size_t... kPlaces>(std::index_sequence<kPlaces...>) {
    compare(Argument<Arguments>(arguments, sideOf(kPlaces))...);
  }
  (std::index_sequence_for<Arguments...>());
}

// Runs check(n, pattern, guard) for every row length, every kind of samples and both sides of the guard page, on every
// vector target. The check makes its buffers with `guard`, so that reading or writing too far faults on either side.
// Longer rows, whose results go past the caches, are for one kind of samples only.
template <typename Check>
void proveRows(const std::vector<unsigned>& lengths, Check&& check) {
  onEveryTarget([&] {
    for (const unsigned n : lengths) {
      for (const Pattern pattern : kAllPatterns) {
        if (n > kLongestRow && pattern != Pattern::Random) continue;
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
