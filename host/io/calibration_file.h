// SPDX-License-Identifier: Apache-2.0
// Dark calibrations as files: JSON, so that other programs can read and make them.
//
//     {"kind": "quorvel dark calibration", "version": 1, "width": W, "height": H, "frames": N,
//      "black": [G, R, B, G], "noise": [G, R, B, G], "hot": [[x, y, level], ...]}
#ifndef QUORVEL_HOST_IO_CALIBRATION_FILE_H_
#define QUORVEL_HOST_IO_CALIBRATION_FILE_H_

#include <string>

#include "host/io/files.h"
#include "host/road/dark.h"

namespace quorvel::host {

std::string calibrationText(const DarkCalibration& calibration);

// Throws DataError for a file that is none, or says what cannot be.
DarkCalibration readCalibration(const fs::path& file);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_CALIBRATION_FILE_H_
