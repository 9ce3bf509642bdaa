// SPDX-License-Identifier: Apache-2.0
// Pictures as PNG.
#ifndef QUORVEL_HOST_IO_PNG_H_
#define QUORVEL_HOST_IO_PNG_H_

#include "host/io/files.h"
#include "host/io/image.h"

namespace quorvel::host {

void writePng(OutputFile& out, const Picture& picture);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_PNG_H_
