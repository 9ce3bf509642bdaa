// SPDX-License-Identifier: Apache-2.0
// What the digest of all routines is made of. Each room names its routines in a file of its own: CALL where scalars say
// all that a routine needs, a function of its own where a routine takes records or more room.
#ifndef QUORVEL_TESTS_DIGEST_DIGEST_H_
#define QUORVEL_TESTS_DIGEST_DIGEST_H_

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <quorvel/quorvel.h>

#include "tests/support/shifted_stack.h"

namespace quorvel::test {

// FNV-1a, bytes in the order in which little-endian memory has them.
class Digest {
 public:
  template <typename T>
  void add(const T* values, std::size_t count) {
    static_assert(std::is_arithmetic_v<T>);
    const auto* bytes = reinterpret_cast<const unsigned char*>(values);
    for (std::size_t i = 0; i < count * sizeof(T); ++i) value_ = (value_ ^ bytes[i]) * 0x100000001B3u;
  }
  std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_ = 0xCBF29CE484222325u;
};

// Elements of every buffer, and where in it a pointer points: some routines read the rows above theirs.
inline constexpr std::size_t kRoom = 1 << 14, kBefore = 1 << 12;

// Words are samples of 12 bits, everything else uses its whole range.
template <typename T>
std::vector<T> content(std::uint32_t seed) {
  std::minstd_rand engine(seed + 1);
  std::vector<T> values(kRoom);
  for (T& v : values) {
    const auto bits = static_cast<std::uint64_t>(engine()) << 20 ^ engine() >> 7;
    v = static_cast<T>(sizeof(T) == 2 ? bits & 0xFFF : bits);
  }
  return values;
}

// How far the stack is from its best alignment in the calls below.
inline unsigned stackShift = 0;

// Calls a routine with buffers for its pointers and the scalars that are given, in order, for everything else, and
// takes in what it returned and everything that it may have written.
template <typename Result, typename... Parameters, typename... Scalars>
void digestCall(Digest& digest, Result (*routine)(Parameters...), Scalars... scalars) {
  [[maybe_unused]] std::array<std::vector<char>, sizeof...(Parameters)> buffers;
  [[maybe_unused]] const auto given = std::make_tuple(scalars...);
  std::size_t position = 0;
  const auto argument = [&]<typename P, std::size_t kScalar>() -> P {
    if constexpr (std::is_pointer_v<P>) {
      using Element = std::remove_const_t<std::remove_pointer_t<P>>;
      const auto values = content<Element>(static_cast<std::uint32_t>(position));
      buffers[position].resize(kRoom * sizeof(Element));
      std::memcpy(buffers[position].data(), values.data(), buffers[position].size());
      return reinterpret_cast<P>(buffers[position++].data()) + kBefore;
    } else {
      ++position;
      return static_cast<P>(std::get<kScalar>(given));
    }
  };
  constexpr std::array<bool, sizeof...(Parameters)> kPointers = {std::is_pointer_v<Parameters>...};
  const auto call = [&]<std::size_t... kAt>(std::index_sequence<kAt...>) {
    [[maybe_unused]] constexpr auto scalarsBefore = [kPointers](std::size_t at) {
      std::size_t count = 0;
      for (std::size_t i = 0; i < at; ++i) count += !kPointers[i];
      return count;
    };
    // Braces, because they fix the order in which the arguments are made.
    std::tuple<Parameters...> arguments{argument.template operator()<Parameters, scalarsBefore(kAt)>()...};
    if constexpr (std::is_void_v<Result>) {
      callShifted(stackShift, routine, arguments);
    } else {
      const Result result = callShifted(stackShift, routine, arguments);
      digest.add(&result, 1);
    }
  };
  call(std::index_sequence_for<Parameters...>());
  constexpr std::array<bool, sizeof...(Parameters)> kWritten = {std::is_pointer_v<Parameters> &&
                                                                !std::is_const_v<std::remove_pointer_t<Parameters>>...};
  for (std::size_t i = 0; i < buffers.size(); ++i) {
    if (kWritten[i]) digest.add(buffers[i].data(), buffers[i].size());
  }
}

using Routines = std::map<std::string, std::function<void(Digest&)>>;

#define CALL(routine, ...)                                           \
  routines[#routine] = [=, before = routines[#routine]](Digest& d) { \
    if (before) before(d);                                           \
    digestCall(d, routine __VA_OPT__(, ) __VA_ARGS__);               \
  }

void addRuntime(Routines& routines);
void addPixel(Routines& routines);
void addBayer(Routines& routines);
void addCodec(Routines& routines);
void addColour(Routines& routines);
void addGeometry(Routines& routines);
void addNumerics(Routines& routines);
void addCodec(Routines& routines);
void addHuffman(Routines& routines);

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_DIGEST_DIGEST_H_
