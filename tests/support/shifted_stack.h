// SPDX-License-Identifier: Apache-2.0
// Calls as 32-bit Windows programs make them: its stack is aligned to 4 bytes and no more, and so a routine that keeps
// vectors there has to see to their alignment itself.
#ifndef QUORVEL_TESTS_SUPPORT_SHIFTED_STACK_H_
#define QUORVEL_TESTS_SUPPORT_SHIFTED_STACK_H_

#include <cstdint>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <vector>

namespace quorvel::test {

#ifdef __i386__

// Pushes `count` words on a stack whose top is then `shift` bytes below a multiple of 16, and calls `routine`.
extern "C" std::uint64_t callOnShiftedStack(void (*routine)(), const std::uint32_t* words, std::uint32_t count,
                                            std::uint32_t shift) __asm__("callOnShiftedStack");
// The same where a number comes back: on the stack of x87, which would be full after a few if they stayed there.
extern "C" double callForNumberOnShiftedStack(void (*routine)(), const std::uint32_t* words, std::uint32_t count,
                                              std::uint32_t shift) __asm__("callOnShiftedStack");
__asm__(R"(
.ifndef callOnShiftedStack
.text
callOnShiftedStack:
  pushl %ebp
  movl %esp, %ebp
  pushl %esi
  pushl %edi
  movl 12(%ebp), %esi
  movl 16(%ebp), %ecx
  leal 0(,%ecx,4), %eax
  subl %eax, %esp
  andl $-16, %esp
  subl 20(%ebp), %esp
  movl %esp, %edi
  cld
  rep movsl
  call *8(%ebp)
  leal -8(%ebp), %esp
  popl %edi
  popl %esi
  popl %ebp
  ret
.endif
)");

inline constexpr unsigned kStackShifts[] = {0, 4, 8, 12};

template <typename Result, typename... Parameters>
Result callShifted(unsigned shift, Result (*routine)(Parameters...), const std::tuple<Parameters...>& arguments) {
  std::vector<std::uint32_t> words;
  const auto push = [&words](auto value) {
    std::uint32_t own[(sizeof value + 3) / 4] = {};
    std::memcpy(own, &value, sizeof value);
    words.insert(words.end(), std::begin(own), std::end(own));
  };
  std::apply([&push](auto... values) { (push(values), ...); }, arguments);
  const auto call = [&](auto* caller) {
    return static_cast<Result>(
        caller(reinterpret_cast<void (*)()>(routine), words.data(), static_cast<std::uint32_t>(words.size()), shift));
  };
  if constexpr (std::is_floating_point_v<Result>) {
    return call(callForNumberOnShiftedStack);
  } else {
    return call(callOnShiftedStack);
  }
}

#else  // elsewhere callers align their stack, or break its rules

inline constexpr unsigned kStackShifts[] = {0};

template <typename Result, typename... Parameters>
Result callShifted(unsigned, Result (*routine)(Parameters...), const std::tuple<Parameters...>& arguments) {
  return std::apply(routine, arguments);
}

#endif

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_SHIFTED_STACK_H_
