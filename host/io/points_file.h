// SPDX-License-Identifier: Apache-2.0
// Measured places as CSV files, described in docs/transform.md.
#ifndef QUORVEL_HOST_IO_POINTS_FILE_H_
#define QUORVEL_HOST_IO_POINTS_FILE_H_

#include <string>
#include <string_view>
#include <vector>

#include "host/io/files.h"
#include "host/road/mapping.h"

namespace quorvel::host {

// A place of the output, and the place of the source that belongs there.
struct TiePoint {
  std::size_t line;  // of the file, from 1 on
  Place output, source;
  double weight;  // 0: not fitted, only compared
};

// Where a photo shows a point.
struct Sighting {
  std::size_t line;
  std::size_t photo, point;  // indices of their names
  Place place;
};

struct Sightings {
  std::vector<std::string> photos, points;  // in the order in which the file names them
  std::vector<Sighting> all;
};

// Throw DataError with the line that is wrong: not the fields that it should have, not numbers within a million,
// or what an earlier line has measured already.
std::vector<TiePoint> readTiePoints(const fs::path& file);
Sightings readSightings(const fs::path& file);

// Text of a file as messages show it: no longer than a line, and without anything that a terminal would obey.
std::string shown(std::string_view text);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_POINTS_FILE_H_
