// SPDX-License-Identifier: Apache-2.0
// Compressed raw frames, .qvb; docs/format.md describes the file. Whatever happens to a file is noticed, and a damaged
// place costs the strips that it touches, no more.
#ifndef QUORVEL_HOST_IO_QVB_H_
#define QUORVEL_HOST_IO_QVB_H_

#include <string>

#include "host/io/bytes.h"
#include "host/io/files.h"
#include "host/io/mosaic.h"
#include "host/road/block_stream.h"

namespace quorvel::host {

enum class QvbForm : std::uint8_t { Transformed = 0, Lossless = 1 };

// What holds for the whole file.
struct QvbHeader {
  QvbForm form = QvbForm::Transformed;
  int quality = 0;  // 1 to 100, 0 for Lossless
  Phase phase = Phase::GRBG;
  int shift = 2048;  // of the luminances
  CellGrid grid;
  Steps steps{};      // Transformed alone
  std::string notes;  // levels, balance and regions, as in the notes of other formats
  CodeDefinitions codes{};

  FirstValue firstValue() const { return form == QvbForm::Lossless ? FirstValue::AsItIs : FirstValue::Difference; }
};

bool looksLikeQvb(ByteSpan bytes);

// A frame in the library's form with a loss that `quality`, 1 to 100, decides, and a mosaic of any kind without any.
std::vector<std::uint8_t> compressed(const RawFrame& frame, int quality);
std::vector<std::uint8_t> compressedLossless(const Mosaic& mosaic);

// Rows of the frame, the end excluded.
struct RowRange {
  unsigned first = 0, end = 0;
};

struct ExpandedFrame {
  QvbHeader header;
  Mosaic mosaic;
  std::vector<RowRange> lost;  // neighbouring strips are one range; their samples are black
  bool damaged = false;        // also where nothing is lost: the file is not as it was written
};

// The header of a file, from its beginning or, where that is damaged, from the copy at its end.
// Throws DataError where there is neither.
QvbHeader readQvbHeader(ByteSpan bytes, const fs::path& file);

// Throws DataError for a file that is none or of which nothing can be read, and for frames that cannot be worked on.
ExpandedFrame expanded(ByteSpan bytes, const fs::path& file);

// "rows 64 to 127, 256 to 319"
std::string textOf(const std::vector<RowRange>& lost);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_QVB_H_
