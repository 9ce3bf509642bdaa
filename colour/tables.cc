// SPDX-License-Identifier: Apache-2.0
// The value tables: the same few steps over grids of 64 or 32 levels with cells of 32 or 64 bits.
#include "colour/tables.h"

namespace quorvel {
namespace {

// What a class of value tables is: levels an axis, bits of an output lane, and the mask that cubes are aligned with.
template <unsigned kTableLevels, unsigned kTableBits, std::uint32_t kCubeMask>
struct ValueTable {
  static constexpr unsigned kLevels = kTableLevels, kCells = kLevels * kLevels * kLevels;
  static constexpr unsigned kLaneBits = kTableBits == 8 ? 8 : 16;
  static constexpr std::uint32_t kStep = (1u << kTableBits) / kLevels;

  template <typename Cell>
  static Cell pack(std::uint32_t v0, std::uint32_t v1, std::uint32_t v2) {
    return static_cast<Cell>(v0 | std::uint64_t{v1} << kLaneBits | std::uint64_t{v2} << 2 * kLaneBits);
  }

  template <typename Cell>
  static void identity(TPtrAllocXYZ<Cell>& table) {
    fillCells(table, kCells, [](unsigned i) {
      return pack<Cell>(kStep * (i % kLevels), kStep * (i / kLevels % kLevels), kStep * (i / kLevels / kLevels));
    });
  }

  template <typename Cell>
  static void fromMatrix(TPtrAllocXYZ<Cell>& table, const TMatrix<float>& matrix) {
    if (!holdsRows(matrix, kCells)) return;
    constexpr float kScale = (1u << kTableBits) / 256, kMost = (1u << kLaneBits) - 1;
    fillCells(table, kCells, [&](unsigned i) {
      const float* row = matrix.row(i);
      return pack<Cell>(truncated(row[0] * kScale, kMost), truncated(row[1] * kScale, kMost),
                        truncated(row[2] * kScale, kMost));
    });
  }

  template <typename Cell>
  static void fromCube(TPtrAllocXYZ<Cell>& table, const TCubeI16<kLevels>& cube) {
    if (cube.data() == nullptr) return;
    constexpr int kShift = 12 - kTableBits;
    const auto value = [](std::int16_t v) { return static_cast<std::uint32_t>(v >> kShift) & kCubeMask; };
    fillCells(table, kCells, [&](unsigned i) {
      const std::int16_t* v = cube.data() + 3 * std::size_t{i};
      return pack<Cell>(value(v[0]), value(v[1]), value(v[2]));
    });
  }
};

using Bytes64 = ValueTable<64, 8, 252>;
using Bytes32 = ValueTable<32, 8, 248>;
using Words64 = ValueTable<64, 12, 0xFFFF>;
using Words32 = ValueTable<32, 12, 0xFFFF>;

}  // namespace
}  // namespace quorvel

using namespace quorvel;

// The members of one class; `Kind` is what it is.
#define QUORVEL_VALUE_TABLE(Class, Kind, Cube)                                           \
  Class::Class() = default;                                                              \
  Class::Class(const Class& other) : TPtrAllocXYZ(), ColorTableFile() { *this = other; } \
  Class& Class::operator=(const Class& other) {                                          \
    copyCells(other, *this);                                                             \
    return *this;                                                                        \
  }                                                                                      \
  Class::~Class() = default;                                                             \
  void Class::convertFrom(TMatrix<float>& matrix) { Kind::fromMatrix(*this, matrix); }   \
  void Class::convertTo(TMatrix<float>&) {}                                              \
  unsigned Class::rowsNeeded() const { return Kind::kCells; }                            \
  void Class::convertFrom(const Cube& cube) { Kind::fromCube(*this, cube); }             \
  void Class::genDefault() { Kind::identity(*this); }

QUORVEL_VALUE_TABLE(ColorConvTable, Bytes64, CCubeI16)
QUORVEL_VALUE_TABLE(ColorConvTable5, Bytes32, CCube5I16)
QUORVEL_VALUE_TABLE(ColorConvTable64, Words64, CCubeI16)
QUORVEL_VALUE_TABLE(ColorConvTable5_64, Words32, CCube5I16)
