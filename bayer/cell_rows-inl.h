// SPDX-License-Identifier: Apache-2.0
// Rows whose destinations have strides of their own, at each address and with each gap between the rows: what
// writeRows of simd/streaming-inl.h is for dense ones.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_BAYER_CELL_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_BAYER_CELL_ROWS_INL_H_
#undef QUORVEL_BAYER_CELL_ROWS_INL_H_
#else
#define QUORVEL_BAYER_CELL_ROWS_INL_H_
#endif

#include <hwy/highway.h>

#include "bayer/luma_chroma.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Calls body(d, row, i, out) so that the lanes of the calls cover cells 0..width-1 of every row once and in order; a
// cell is kPerCell samples of each output, and out[k] is where output k takes those from cell i on. The body must have
// read what it needs of its lanes before it writes. Without `apart` the outputs may lie over each other, and what the
// calls write remains in their order.
template <typename Lane, std::size_t kPerCell, typename T, std::size_t kOutputs, std::size_t kSources, typename Body>
HWY_INLINE void writeCellRows(std::size_t rows, std::size_t width, const StridedRows<T, kOutputs>& dst, bool apart,
                              const std::array<Source, kSources>& sources, Body&& body) {
  constexpr std::size_t kCellBytes = kPerCell * sizeof(T);
  // Cells from..from+count-1 of a row, the first of which goes to `to`.
  const auto make = [&](std::size_t row, std::size_t from, std::size_t count, const auto& to) HWY_ATTR {
    forLanes<Lane>(count, [&](auto d, std::size_t i) HWY_ATTR {
      std::array<T*, kOutputs> out;
      for (std::size_t k = 0; k < kOutputs; ++k) out[k] = to[k] + kPerCell * i;
      body(d, row, from + i, out);
    });
  };
  std::array<T*, kOutputs> to;
  if (!kTargetStreams || !apart || rows * width * kCellBytes * kOutputs < kStreamedBytes) {
    for (std::size_t row = 0; row < rows; ++row) {
      for (std::size_t k = 0; k < kOutputs; ++k) to[k] = dst.row(k, row);
      make(row, 0, width, to);
    }
    return;
  }
  std::array<StreamedOutput<kPixelsPerBlock * kCellBytes>, kOutputs> streams;
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t k = 0; k < kOutputs; ++k) streams[k].begin(dst.row(k, row));
    // A short block first, so that in the blocks after it vectors do not lie across two lines.
    std::size_t count = pixelsToLine(streams[0].pending(), kCellBytes);
    for (std::size_t x = 0; x < width; x += count, count = kPixelsPerBlock) {
      count = std::min(count, width - x);
      for (const Source& source : sources) {
        source.fetch(row, std::min(x + kPixelsAhead, width), std::min(x + kPixelsAhead + count, width));
      }
      for (std::size_t k = 0; k < kOutputs; ++k) to[k] = reinterpret_cast<T*>(streams[k].room());
      make(row, x, count, to);
      for (auto& stream : streams) stream.push(count * kCellBytes);
    }
    for (auto& stream : streams) stream.end();
  }
  hwy::FlushStream();
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
