// SPDX-License-Identifier: Apache-2.0
// Pictures as PNG.
#ifndef QUORVEL_HOST_IO_PNG_H_
#define QUORVEL_HOST_IO_PNG_H_

#include "host/io/files.h"
#include "host/io/image.h"

namespace quorvel::host {

// Grey or colour; transparency is left out.
Picture readPng(const fs::path& file);
void writePng(OutputFile& out, const Picture& picture);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_PNG_H_
