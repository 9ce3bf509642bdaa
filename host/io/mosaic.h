// SPDX-License-Identifier: Apache-2.0
// A mosaic as files hold it, with any start of the 2x2 pattern and up to 16 bits, and its way to the library's form.
#ifndef QUORVEL_HOST_IO_MOSAIC_H_
#define QUORVEL_HOST_IO_MOSAIC_H_

#include <optional>
#include <string_view>

#include "host/error.h"
#include "host/io/image.h"

namespace quorvel::host {

// The colours of the first two sites of the first two rows. The first is the library's own.
enum class Phase { GRBG, RGGB, BGGR, GBRG };

// From "RGGB" and the like, in letters of either case.
std::optional<Phase> phaseFromLetters(std::string_view letters);

const char* lettersOf(Phase phase);

struct Mosaic {
  RawFrame frame;  // its levels belong to its own sites, and its samples may exceed 12 bits
  Phase phase = Phase::GRBG;
};

// Brings a mosaic to the library's form. A pattern that starts otherwise loses its first row, its first column or both,
// which makes the next site the first. Samples deeper than 12 bits are rounded to 12, levels with them; shallower ones
// stay as they are, because the white level says what full means. Throws DataError where nothing would be left.
RawFrame normalised(Mosaic mosaic, const fs::path& file);

// Whether no sample has more than 12 bits.
bool fitsFullScale(const RawFrame& frame);

// The white level of samples whose file does not tell it: they are 12-bit unless one of them cannot be.
int whiteOfSamples(const std::vector<std::uint16_t>& samples);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_MOSAIC_H_
