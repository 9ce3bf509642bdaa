// SPDX-License-Identifier: Apache-2.0
// TIFF: mosaics of one sample a pixel with notes in the image description, and grey or RGB
// pictures.
#ifndef QUORVEL_HOST_IO_TIFF_H_
#define QUORVEL_HOST_IO_TIFF_H_

#include "host/io/files.h"
#include "host/io/mosaic.h"

namespace quorvel::host {

Mosaic readTiff(const fs::path& file);
Picture readTiffPicture(const fs::path& file);
void writeTiff(OutputFile& out, const RawFrame& frame, Phase phase = Phase::GRBG);
void writeTiff(OutputFile& out, const Picture& picture);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_TIFF_H_
