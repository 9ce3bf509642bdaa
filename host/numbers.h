// SPDX-License-Identifier: Apache-2.0
// Numbers from text, strictly: the whole text, inside the range, nothing that is not a number.
#ifndef QUORVEL_HOST_NUMBERS_H_
#define QUORVEL_HOST_NUMBERS_H_

#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <type_traits>

#include "host/io/image.h"

namespace quorvel::host {

// White balance factors beyond these are mistakes.
inline constexpr double kMinGain = 0.01, kMaxGain = 100;

template <typename T>
std::optional<T> parseNumber(std::string_view text, T low, T high) {
  T value{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || text.empty()) return std::nullopt;
  if (!(value >= low && value <= high)) return std::nullopt;  // refuses "nan" as well
  return value;
}

// N numbers with commas between them.
template <typename T, std::size_t N>
std::optional<std::array<T, N>> parseList(std::string_view text, T low, T high) {
  std::array<T, N> values{};
  for (std::size_t i = 0; i < N; ++i) {
    const auto comma = text.find(',');
    if ((comma == std::string_view::npos) != (i + 1 == N)) return std::nullopt;
    const auto value = parseNumber<T>(text.substr(0, comma), low, high);
    if (!value) return std::nullopt;
    values[i] = *value;
    text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
  }
  return values;
}

// NAME=X,Y,WIDTH,HEIGHT, where the name is of lower-case letters, digits and hyphens: it becomes part of file names.
inline std::optional<Region> parseRegion(std::string_view text) {
  const auto equals = text.find('=');
  if (equals == std::string_view::npos || equals == 0) return std::nullopt;
  const std::string_view name = text.substr(0, equals);
  if (name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") != std::string_view::npos) return std::nullopt;
  const auto box = parseList<unsigned, 4>(text.substr(equals + 1), 0, kMaxSide);
  if (!box || (*box)[2] == 0 || (*box)[3] == 0) return std::nullopt;
  return Region{std::string(name), (*box)[0], (*box)[1], (*box)[2], (*box)[3]};
}

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_NUMBERS_H_
