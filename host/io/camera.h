// SPDX-License-Identifier: Apache-2.0
// Raw files of cameras, unpacked by LibRaw and taken no further: no black subtracted, no colour touched, no turn
// applied.
#ifndef QUORVEL_HOST_IO_CAMERA_H_
#define QUORVEL_HOST_IO_CAMERA_H_

#include "host/io/files.h"
#include "host/io/mosaic.h"

namespace quorvel::host {

// The visible part of the sensor with its black levels, white level and as-shot balance. Sensors whose pattern is not a
// 2x2 one of red, blue and two greens are refused.
Mosaic readCameraRaw(const fs::path& file);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_CAMERA_H_
