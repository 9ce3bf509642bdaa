// SPDX-License-Identifier: Apache-2.0
// What all table classes do with their cells.
#ifndef QUORVEL_COLOUR_TABLES_H_
#define QUORVEL_COLOUR_TABLES_H_

#include <algorithm>
#include <type_traits>

#include "quorvel/colour.h"

namespace quorvel {

// Room for `count` cells in one run; null where there is none.
template <typename Cell>
Cell* roomFor(TPtrAllocXYZ<Cell>& table, unsigned count) {
  // The caller's memory is used where it suffices, and never released here.
  if (table.isExternal() && table.totalMax() < count) table.clrExternalMemory();
  return table.realloc(count, 1u, 1u);
}

template <typename Cell, typename Make>
void fillCells(TPtrAllocXYZ<Cell>& table, unsigned count, Make&& make) {
  Cell* cells = roomFor(table, count);
  if (cells == nullptr) return;
  for (unsigned i = 0; i < count; ++i) cells[i] = make(i);
}

// The buffer's readers are not declared to be such.
template <typename Cell>
const Cell* cellsOf(const TPtrAllocXYZ<Cell>& table) {
  return const_cast<TPtrAllocXYZ<Cell>&>(table).get();
}

// Whatever `from` holds, in memory of the copy's own, with the cursor at its start.
template <typename Cell>
void copyCells(const TPtrAllocXYZ<Cell>& from, TPtrAllocXYZ<Cell>& to) {
  if (&from == &to) return;
  to.clrExternalMemory2();
  to.free();
  auto& source = const_cast<TPtrAllocXYZ<Cell>&>(from);
  Cell* cells = source.get() == nullptr ? nullptr : to.alloc(source.total());
  if (cells != nullptr) std::copy_n(source.get(), source.total(), cells);
  unsigned nx = 0, ny = 0, nz = 0;
  if (cells != nullptr) source.getDimXY(&nx, &ny, &nz);
  // A block that has shrunk may still have the shape of its better days.
  if (to.setDimXY(nx, ny, nz) == 0) to.setDimXY(to.total(), 1, 1);
  to.reset();
}

inline bool holdsRows(const TMatrix<float>& matrix, unsigned rows) {
  return matrix.columns() == 3 && matrix.rows() >= rows;
}

// Limited to 0..most first, so that the truncation is defined for every float; NaN gives 0.
inline std::uint32_t truncated(float value, float most) {
  return value > 0 ? static_cast<std::uint32_t>(std::min(value, most)) : 0;
}

}  // namespace quorvel

#endif  // QUORVEL_COLOUR_TABLES_H_
