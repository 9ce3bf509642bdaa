// SPDX-License-Identifier: Apache-2.0
// The gain/offset table: a straight line for each channel of each cell. A channel's output depends on its own sample
// alone, so of the cell's corners only the four at the channel's next level say anything about its gain.
#include <algorithm>
#include <array>

#include "colour/tables.h"

namespace quorvel {
namespace {

constexpr unsigned kLevels = 64, kCells = kLevels * kLevels * kLevels;
constexpr int kLeast = -32768, kMost = 32767;

using Place = std::array<unsigned, 3>;

// The sum of the rises of channel c from a cell's grid point to the first `neighbours` corners at its next level.
int riseToNext(const CCubeI16& cube, const Place& at, unsigned c, int neighbours) {
  // Towards the next level, at the last one towards the previous.
  Place beyond = at;
  for (unsigned& level : beyond) level += level + 1 < kLevels ? 1u : -1u;
  const int here = cube.cell(at[0], at[1], at[2])[c];
  const unsigned one = c == 0 ? 1 : 0, other = c == 2 ? 1 : 2;
  int sum = 0;
  for (int i = 0; i < neighbours; ++i) {
    Place corner = at;
    corner[c] = beyond[c];
    if (i & 1) corner[one] = beyond[one];
    if (i & 2) corner[other] = beyond[other];
    sum += cube.cell(corner[0], corner[1], corner[2])[c] - here;
  }
  return at[c] + 1 < kLevels ? sum : -sum;
}

int dividedRounded(int dividend, int divisor) { return (dividend + (dividend < 0 ? -divisor : divisor) / 2) / divisor; }

// Gain and offset of one channel: `target` is the output at the grid point in 1/8, `first` and `last` the least and the
// greatest sample of the cell. Where `first` is 0 every gain leaves the offset within 16 bits.
void place(int gain, int target, int first, int last, std::int16_t* k, std::int16_t* b) {
  gain = std::clamp(gain, kLeast / last, kMost / last);
  if (first != 0) gain = std::clamp(gain, -((kMost - target) / first), (target - kLeast) / first);
  *k = static_cast<std::int16_t>(gain);
  *b = static_cast<std::int16_t>(target - gain * first);
}

// For samples of `bits` bits. A level is 64 steps of the cube's 12 bits, and gains are in 1/8.
template <int kBits>
void fitCells(const CCubeI16& cube, int neighbours, TPtrAllocXYZ<KxB>& table) {
  if (cube.data() == nullptr) return;
  constexpr int kStep = (1 << kBits) / static_cast<int>(kLevels);
  neighbours = std::clamp(neighbours, 0, 4);
  fillCells(table, kCells, [&](unsigned i) {
    const Place at = {i % kLevels, i / kLevels % kLevels, i / kLevels / kLevels};
    KxB cell{};
    for (unsigned c = 0; c < 3; ++c) {
      const int gain = neighbours == 0 ? 8 : dividedRounded(riseToNext(cube, at, c, neighbours), 8 * neighbours);
      const int value = cube.cell(at[0], at[1], at[2])[c];
      const int target = kBits == 8 ? value >> 1 : std::clamp(value * 8, kLeast, kMost & ~7);
      const int first = kStep * static_cast<int>(at[c]);
      place(gain, target, first, first + kStep - 1, &cell.k[c], &cell.b[c]);
    }
    return cell;
  });
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

ColorConvTableKxB::ColorConvTableKxB() = default;
ColorConvTableKxB::ColorConvTableKxB(const ColorConvTableKxB& other) : TPtrAllocXYZ(), ColorTableFile() {
  *this = other;
}
ColorConvTableKxB& ColorConvTableKxB::operator=(const ColorConvTableKxB& other) {
  copyCells(other, *this);
  return *this;
}
ColorConvTableKxB::~ColorConvTableKxB() = default;

void ColorConvTableKxB::convertFrom(TMatrix<float>& matrix) {
  if (!holdsRows(matrix, kCells)) return;
  CCubeI16 cube;
  if (cube.data() == nullptr) return;
  for (unsigned i = 0; i < 3 * kCells; ++i) {
    cube.data()[i] = static_cast<std::int16_t>(truncated(matrix.data()[i] * 16, kMost));
  }
  convertFrom(cube, 4);
}

void ColorConvTableKxB::convertTo(TMatrix<float>&) {}

unsigned ColorConvTableKxB::rowsNeeded() const { return kCells; }

void ColorConvTableKxB::convertFrom(const CCubeI16& cube, int neighbours) { fitCells<8>(cube, neighbours, *this); }

void ColorConvTableKxB::convertFrom12(const CCubeI16& cube, int neighbours) { fitCells<12>(cube, neighbours, *this); }

void ColorConvTableKxB::genDefault() {
  fillCells(*this, kCells, [](unsigned) { return KxB{{8, 8, 8, 0}, {0, 0, 0, 0}}; });
}
