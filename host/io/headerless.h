// SPDX-License-Identifier: Apache-2.0
// Samples and nothing else: 16-bit little-endian words, or the library's 12-bit packing as one stream over all rows.
#ifndef QUORVEL_HOST_IO_HEADERLESS_H_
#define QUORVEL_HOST_IO_HEADERLESS_H_

#include "host/io/files.h"
#include "host/io/mosaic.h"

namespace quorvel::host {

// The size comes from the caller, and the file must hold just as many samples.
Mosaic readRaw16(const fs::path& file, unsigned width, unsigned height);
Mosaic readRaw12(const fs::path& file, unsigned width, unsigned height);

void writeRaw16(OutputFile& out, const RawFrame& frame);
void writeRaw12(OutputFile& out, const RawFrame& frame);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_HEADERLESS_H_
