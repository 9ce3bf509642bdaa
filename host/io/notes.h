// SPDX-License-Identifier: Apache-2.0
// What a plain image file cannot say about a raw frame, as lines of text in its comments: levels, white balance,
// pattern, regions. Lines that are not ours are left to whoever wrote them.
#ifndef QUORVEL_HOST_IO_NOTES_H_
#define QUORVEL_HOST_IO_NOTES_H_

#include <string>
#include <string_view>

#include "host/io/mosaic.h"

namespace quorvel::host {

// Lines such as "quorvel black 256,252,259,255", each ended by a line feed.
// A phase is told where it is not the library's own.
std::string notesOf(const RawFrame& frame, Phase phase = Phase::GRBG);

// Takes one line; returns whether it set the white level. Throws DataError for a line of ours that makes no sense.
bool applyNote(std::string_view line, Mosaic& mosaic, const fs::path& file);

// Takes a text of several lines.
bool applyNotes(std::string_view text, Mosaic& mosaic, const fs::path& file);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_NOTES_H_
