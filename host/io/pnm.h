// SPDX-License-Identifier: Apache-2.0
// Portable any-map files: mosaics and grey pictures as binary PGM (P5), colour pictures as binary PPM (P6), 8 or 16
// bits, comments with notes.
#ifndef QUORVEL_HOST_IO_PNM_H_
#define QUORVEL_HOST_IO_PNM_H_

#include "host/io/files.h"
#include "host/io/mosaic.h"

namespace quorvel::host {

Mosaic readPgm(const fs::path& file);
void writePgm(OutputFile& out, const RawFrame& frame, Phase phase = Phase::GRBG);

// The linear planes of a PPM file, sample values unchanged.
Planes readPpm(const fs::path& file);
// A picture of either kind; and it goes out as the kind that it is.
Picture readPnmPicture(const fs::path& file);
void writePpm(OutputFile& out, const Picture& picture);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_PNM_H_
