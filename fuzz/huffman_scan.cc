// SPDX-License-Identifier: Apache-2.0
// The scan of JPEG data, whose two forms must agree, and must give all bytes before a marker.
#include "fuzz/fuzz.h"

using namespace quorvel::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::uint8_t> in(data, data + size);
  std::vector<std::uint8_t> out(size), inPlace = in;
  const auto length = static_cast<unsigned>(size);
  unsigned position, produced, positionInPlace, producedInPlace;
  const int marker = scanJpegData_(in.data(), length, position, out.data(), produced);
  require(scanJpegData(inPlace.data(), length, positionInPlace, producedInPlace) == marker);
  require(position == positionInPlace && produced == producedInPlace && position <= length && produced <= position);
  require(produced == 0 || std::memcmp(out.data(), inPlace.data(), produced) == 0);
  unsigned stuffed = 0;
  for (unsigned i = 0; i + 1 < position; ++i) stuffed += in[i] == 0xFF;
  require(position == produced + stuffed);
  require(marker == 0 ? position == length : in[position] == 0xFF && in[position + 1] == marker);
  return 0;
}
