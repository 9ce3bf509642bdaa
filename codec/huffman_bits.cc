// SPDX-License-Identifier: Apache-2.0
// Fields of given widths, and the table of categories.
#include "codec/huffman_bits.h"

#include <array>
#include <limits>

namespace quorvel {
namespace {

constexpr unsigned kLongestField = 32;

std::uint64_t fieldOf(int value, unsigned bits) { return static_cast<std::uint32_t>(value) & lowBits(bits); }

int signExtended(std::uint64_t field, unsigned bits) {
  const std::uint64_t sign = std::uint64_t{1} << bits >> 1;
  return static_cast<int>(static_cast<std::int64_t>(field ^ sign) - static_cast<std::int64_t>(sign));
}

using Categories = std::array<signed char, std::numeric_limits<std::uint16_t>::max() + std::size_t{1}>;

const Categories& categories() {
  static const Categories table = [] {
    Categories made;
    for (unsigned v = 0; v < made.size(); ++v)
      made[v] = static_cast<signed char>(v == 0 ? -1 : static_cast<int>(std::bit_width(v)));
    return made;
  }();
  return table;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int genBSR_Table() {
  categories();
  return 0;
}

const signed char* getBSR_Table() { return categories().data(); }

int encodeInsertBits(CHuffman_state* state, const int* value, unsigned n) {
  if (n > kLongestField) return kOutOfRange;
  WordWriter writer(*state);
  writer.put(fieldOf(*value, n), n);
  writer.end(*state);
  return 0;
}

int decodeGetBits(CHuffman_state* state, int* out, int n) {
  const auto bits = static_cast<unsigned>(n);
  if (bits > kLongestField) return kOutOfRange;
  BitReader<false> reader(*state);
  std::uint64_t field;
  reader.take(bits, field);
  if (bits < kLongestField) *out = signExtended(field, bits);
  reader.end(*state);
  return 0;
}

int encodePackData(CHuffman_state* state, const std::int16_t* data, unsigned count, int bits) {
  const auto n = static_cast<unsigned>(bits);
  if (n > kLongestField) return kOutOfRange;
  WordWriter writer(*state);
  for (unsigned i = 0; i < count; ++i) writer.put(fieldOf(data[i], n), n);
  writer.end(*state);
  return 0;
}

int decodePackData(CHuffman_state* state, std::int16_t* data, unsigned count, int bits) {
  const auto n = static_cast<unsigned>(bits);
  if (n > kLongestField) return kOutOfRange;
  BitReader<false> reader(*state);
  for (unsigned i = 0; i < count; ++i) {
    std::uint64_t field;
    reader.take(n, field);
    if (n < kLongestField) data[i] = static_cast<std::int16_t>(signExtended(field, n));
  }
  reader.end(*state);
  return 0;
}
