// SPDX-License-Identifier: Apache-2.0
// Fitted transformations as files: JSON, described in docs/transform.md.
#ifndef QUORVEL_HOST_IO_TRANSFORM_FILE_H_
#define QUORVEL_HOST_IO_TRANSFORM_FILE_H_

#include "host/io/files.h"
#include "host/road/mapping.h"

namespace quorvel::host {

// The mapping of an output of this size. Throws DataError for a file that is none, or whose transformation shows
// nothing.
Mapping readTransform(const fs::path& file, Size output);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_TRANSFORM_FILE_H_
