// SPDX-License-Identifier: Apache-2.0
#include "host/io/notes.h"

#include <fmt/format.h>

#include "host/numbers.h"

namespace quorvel::host {
namespace {

constexpr std::string_view kMark = "quorvel ";

bool apply(std::string_view key, std::string_view value, Mosaic& mosaic) {
  RawFrame& frame = mosaic.frame;
  if (key == "black") {
    const auto levels = parseList<int, 4>(value, 0, 65535);
    if (!levels) return false;
    frame.black = *levels;
  } else if (key == "white") {
    const auto white = parseNumber<int>(value, 1, 65535);
    if (!white) return false;
    frame.white = *white;
  } else if (key == "as-shot") {
    frame.asShot = parseList<double, 3>(value, kMinGain, kMaxGain);
    if (!frame.asShot) return false;
  } else if (key == "phase") {
    const auto phase = phaseFromLetters(value);
    if (!phase) return false;
    mosaic.phase = *phase;
  } else if (key == "region") {
    const auto region = parseRegion(value);
    if (!region) return false;
    frame.regions.push_back(*region);
  }
  return true;  // a key of a later version does no harm
}

}  // namespace

std::string notesOf(const RawFrame& frame, Phase phase) {
  std::string notes = fmt::format("quorvel black {}\nquorvel white {}\n", fmt::join(frame.black, ","), frame.white);
  if (frame.asShot) notes += fmt::format("quorvel as-shot {:.6g}\n", fmt::join(*frame.asShot, ","));
  if (phase != Phase::GRBG) notes += fmt::format("quorvel phase {}\n", lettersOf(phase));
  for (const Region& r : frame.regions) {
    notes += fmt::format("quorvel region {}={},{},{},{}\n", r.name, r.x, r.y, r.width, r.height);
  }
  return notes;
}

bool applyNote(std::string_view line, Mosaic& mosaic, const fs::path& file) {
  const auto start = line.find_first_not_of(" \t");
  if (start == std::string_view::npos || !line.substr(start).starts_with(kMark)) return false;
  const std::string_view note =
      line.substr(start + kMark.size(), line.find_last_not_of(" \t\r") + 1 - start - kMark.size());
  const auto space = note.find(' ');
  const std::string_view key = note.substr(0, space);
  if (space == std::string_view::npos || !apply(key, note.substr(space + 1), mosaic)) {
    throw DataError(file, fmt::format("its note '{}' makes no sense", note));
  }
  return key == "white";
}

bool applyNotes(std::string_view text, Mosaic& mosaic, const fs::path& file) {
  bool white = false;
  while (!text.empty()) {
    const auto end = text.find('\n');
    white |= applyNote(text.substr(0, end), mosaic, file);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return white;
}

}  // namespace quorvel::host
