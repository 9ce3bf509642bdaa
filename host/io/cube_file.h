// SPDX-License-Identifier: Apache-2.0
// Colour tables as grading programs exchange them: .cube files with a 1D table, a 3D table, or a 1D table before a 3D
// one.
#ifndef QUORVEL_HOST_IO_CUBE_FILE_H_
#define QUORVEL_HOST_IO_CUBE_FILE_H_

#include <string>
#include <vector>

#include "host/io/files.h"
#include "host/road/colour.h"

namespace quorvel::host {

// What such a file says. Either table may be missing.
struct CubeFile {
  struct Table {
    unsigned size = 0;  // entries, or entries an axis
    Rgb least = {0, 0, 0}, greatest = {1, 1, 1};
    std::vector<Rgb> entries;
  };
  std::string title;
  Table line;  // 1D, a column for each channel
  Table cube;  // 3D, red varying fastest; interpolated over tetrahedra

  // A colour on the scale of 0 to 1 through what there is. Beyond the tables' ranges their edges hold.
  Rgb operator()(Rgb colour) const;
};

// Throws DataError, with the line that is wrong.
CubeFile readCube(const fs::path& file);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_CUBE_FILE_H_
